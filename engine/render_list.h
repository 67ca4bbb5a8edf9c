// The render list: the frame's triangles as self-contained records.
#pragma once
#include <cstdint>

#include "engine/object3d.h"

constexpr int32_t kRenderListCapacity = 32768;

// Polygons inserted one after the other, whose records are still to be written: records
// first .. first + count - 1 come from polys[0 .. count - 1], with vertices from `vertices`.
struct RenderListRun {
    int32_t first, count;
    const Poly* polys;
    const Vertex3D* vertices;
};

struct RenderList {
    uint32_t state;
    uint32_t attr;
    RasterTri* polyPointers[kRenderListCapacity];  // pointer k addresses polyData[k]
    RasterTri polyData[kRenderListCapacity];
    int32_t numPolys;
    // Beside the records, so that insertion touches none of them (the frame's other
    // thread writes and reads them): where the inserted polygons' records come from, a run
    // per object as a rule, at most one per record.
    int32_t runCount;
    RenderListRun runs[kRenderListCapacity];
};

// The frame's render list, static storage allocated with the program.
RenderList* RenderListMain();

// Empties the list (count 0); the records keep their contents.
int RenderListReset(RenderList* list);
// Appends the polygon as a record with its three vertices (from poly->vlist) copied into
// both vlist and tvlist. Returns 0 when the list already holds kRenderListCapacity.
// Insertion notes the polygon and its vertex list; the record itself is written by the
// first pass over the list (RenderListRecordsWrite), so neither may change until then.
int RenderListInsertPoly(RenderList* list, const Poly* poly);
// Inserts every active, unclipped, front-facing polygon of an active, visible, unculled
// object, its vertices read from the local list when useLocal != 0, else from the
// transformed list. Returns 0 for an object that is not drawn or when the list fills up.
int RenderListInsertObject(RenderList* list, Object3D* obj, int useLocal);
// Appends a copy of a whole record, written at once, and links it to the record before it
// (the clipper's second pieces). Returns 0 when full.
int RenderListInsertTri(RenderList* list, const RasterTri* tri);
// Writes the inserted polygons' records among [from, to): the start of the first pass over
// the list after insertion (RenderListRemoveBackfaces), once per record, by the thread
// that takes the records through that pass.
void RenderListRecordsWrite(RenderList* list, int32_t from, int32_t to);
