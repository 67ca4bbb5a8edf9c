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
    list->generation += 1;
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

// Notes record k as coming from `poly` for later: on the end of the last run when it
// follows it, else in a new run. Returns 0 when every run is in use.
static int RunExtend(RenderList* list, int32_t k, const Poly* poly) {
    if (list->runCount > 0) {
        RenderListRun& last = list->runs[list->runCount - 1];
        if (last.first + last.count == k && last.polys + last.count == poly &&
            last.vertices == poly->vlist) {
            last.count += 1;
            return 1;
        }
    }
    if (list->runCount == kRenderListRuns) return 0;
    list->runs[list->runCount++] = {k, 1, poly, poly->vlist};
    return 1;
}

int RenderListInsertPoly(RenderList* list, const Poly* poly) {
    if (!list || !poly) return 0;
    RasterTri* tri = NextRecord(list);
    if (!tri) return 0;
    if (!(list->attr & kRenderListLate) || !RunExtend(list, list->numPolys, poly)) {
        RecordWrite(tri, poly, poly->vlist);
    }
    list->numPolys += 1;
    return 1;
}

void RenderListRecordFill(RenderList* list, int32_t k) {
    // The last run that starts at or before k (runs are in record order).
    int32_t low = 0, high = list->runCount;
    while (low < high) {
        const int32_t middle = (low + high) / 2;
        if (list->runs[middle].first <= k) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    if (low == 0) return;
    const RenderListRun& run = list->runs[low - 1];
    // Marked with the generation plus one, which a list's zeroed storage never holds.
    const uint32_t mark = list->generation + 1;
    if (k >= run.first + run.count || list->written[k] == mark) return;
    RecordWrite(&list->polyData[k], run.polys + (k - run.first), run.vertices);
    list->written[k] = mark;
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

int RenderListInsertObject(RenderList* list, Object3D* obj, int useLocal) {
    if (!list || !obj) return 0;
    if (!(obj->state & kObjectActive) || !(obj->state & kObjectVisible) ||
        (obj->state & kObjectCulled)) {
        return 0;
    }
    Vertex3D* vertices = useLocal ? obj->vlistLocal : obj->vlistTrans;
    for (int32_t p = 0; p < obj->numPolys; ++p) {
        Poly* poly = &obj->plist[p];
        if ((poly->state & (kPolyActive | kPolyClipped | kPolyBackFace)) != kPolyActive) continue;
        Vertex3D* own = poly->vlist;
        poly->vlist = vertices;
        const int inserted = RenderListInsertPoly(list, poly);
        poly->vlist = own;
        if (!inserted) return 0;
    }
    return 1;
}
