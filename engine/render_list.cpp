// The render list: insertion of polygons, objects and whole records.
#include "engine/render_list.h"

static RenderList gRenderList;

RenderList* RenderListMain() {
    return &gRenderList;
}

int RenderListReset(RenderList* list) {
    if (!list) return 0;
    list->numPolys = 0;
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
    list->late[k].poly = nullptr;
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

int RenderListInsertPoly(RenderList* list, const Poly* poly) {
    if (!list || !poly) return 0;
    RasterTri* tri = NextRecord(list);
    if (!tri) return 0;
    if (list->attr & kRenderListLate) {
        list->late[list->numPolys] = {poly, poly->vlist};
    } else {
        RecordWrite(tri, poly, poly->vlist);
    }
    list->numPolys += 1;
    return 1;
}

void RenderListRecordFill(RenderList* list, int32_t k) {
    const RenderListLate& late = list->late[k];
    // Marked with the generation plus one, which a list's zeroed storage never holds.
    const uint32_t mark = list->generation + 1;
    if (!late.poly || list->written[k] == mark) return;
    RecordWrite(&list->polyData[k], late.poly, late.vertices);
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
