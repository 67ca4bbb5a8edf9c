// The render list: insertion of polygons, objects and whole records.
#include "engine/render_list.h"

static RenderList gRenderList;

RenderList* RenderListMain() {
    return &gRenderList;
}

int RenderListReset(RenderList* list) {
    if (!list) return 0;
    list->numPolys = 0;
    list->runCount = 0;
    return 1;
}

// The next storage record with its pointer slot set, or null when the list is full.
static RasterTri* NextRecord(RenderList* list) {
    if (list->numPolys >= kRenderListCapacity) return nullptr;
    const int32_t k = list->numPolys;
    // Written only when it differs, so that the line stays shared with the threads
    // that read it.
    if (list->polyPointers[k] != &list->polyData[k]) list->polyPointers[k] = &list->polyData[k];
    return &list->polyData[k];
}

// Notes the next record as coming from `poly` and `vertices`: on the end of the last run
// when it follows it, else in a new run.
static int InsertNoted(RenderList* list, const Poly* poly, const Vertex3D* vertices) {
    if (!NextRecord(list)) return 0;
    const int32_t k = list->numPolys;
    RenderListRun* last = list->runCount > 0 ? &list->runs[list->runCount - 1] : nullptr;
    if (last && last->first + last->count == k && last->polys + last->count == poly &&
        last->vertices == vertices) {
        last->count += 1;
    } else {
        list->runs[list->runCount++] = {k, 1, poly, vertices};
    }
    list->numPolys = k + 1;
    return 1;
}

int RenderListInsertPoly(RenderList* list, const Poly* poly) {
    return list && poly ? InsertNoted(list, poly, poly->vlist) : 0;
}

int RenderListInsertObject(RenderList* list, Object3D* obj, int useLocal) {
    if (!list || !obj) return 0;
    if (!(obj->state & kObjectActive) || !(obj->state & kObjectVisible) ||
        (obj->state & kObjectCulled)) {
        return 0;
    }
    // The polygons' own vertex-list pointers are not used: the note names the list.
    const Vertex3D* vertices = useLocal ? obj->vlistLocal : obj->vlistTrans;
    for (int32_t p = 0; p < obj->numPolys; ++p) {
        const Poly* poly = &obj->plist[p];
        if ((poly->state & (kPolyActive | kPolyClipped | kPolyBackFace)) != kPolyActive) continue;
        if (!InsertNoted(list, poly, vertices)) return 0;
    }
    return 1;
}

int RenderListInsertTri(RenderList* list, const RasterTri* tri) {
    if (!list || !tri) return 0;
    RasterTri* copy = NextRecord(list);
    if (!copy) return 0;
    const int32_t k = list->numPolys;
    *copy = *tri;
    copy->next = nullptr;
    if (k == 0) {
        copy->previous = nullptr;
    } else {
        copy->previous = &list->polyData[k - 1];
        list->polyData[k - 1].next = copy;
    }
    list->numPolys = k + 1;
    return 1;
}

// The record a polygon makes, its vertices taken from `vertices`.
static void RecordWrite(RasterTri* tri, const Poly* poly, const Vertex3D* vertices) {
    tri->state = poly->state;
    tri->attr = poly->attr;
    tri->color = poly->color;
    tri->litColor[0] = poly->litColor[0];
    tri->litColor[1] = poly->litColor[1];
    tri->litColor[2] = poly->litColor[2];
    tri->texture = poly->texture;
    tri->normalLength = poly->normalLength;
    for (int i = 0; i < 3; ++i) {
        const Vertex3D& vertex = vertices[poly->vert[i]];
        tri->vlist[i] = vertex;
        tri->tvlist[i] = vertex;
    }
}

void RenderListRecordsWrite(RenderList* list, int32_t from, int32_t to) {
    // The first run that ends after `from` (runs are in record order and do not overlap).
    int32_t low = 0, high = list->runCount;
    while (low < high) {
        const int32_t middle = (low + high) / 2;
        const RenderListRun& run = list->runs[middle];
        if (run.first + run.count <= from) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    for (int32_t r = low; r < list->runCount && list->runs[r].first < to; ++r) {
        const RenderListRun& run = list->runs[r];
        const int32_t start = run.first > from ? run.first : from;
        const int32_t end = run.first + run.count < to ? run.first + run.count : to;
        for (int32_t k = start; k < end; ++k)
            RecordWrite(&list->polyData[k], run.polys + (k - run.first), run.vertices);
    }
}
