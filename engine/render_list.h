// The render list: the frame's triangles as self-contained records.
#pragma once
#include <cstdint>

#include "engine/object3d.h"

constexpr int32_t kRenderListCapacity = 32768;

// RenderList attribute bits.
constexpr uint32_t kRenderListLate = 0x1;  // see RenderListRecordFill

// Polygons inserted one after the other under kRenderListLate, whose records are still
// to be written: records first .. first + count - 1 come from polys[0 .. count - 1],
// with vertices from `vertices`.
struct RenderListRun {
    int32_t first, count;
    const Poly* polys;
    const Vertex3D* vertices;
};
constexpr int32_t kRenderListRuns = 1024;

struct RenderList {
    uint32_t state;
    uint32_t attr;                                 // kRenderList* bits
    RasterTri* polyPointers[kRenderListCapacity];  // pointer k addresses polyData[k]
    RasterTri polyData[kRenderListCapacity];
    int32_t numPolys;
    // Beside the records, so that insertion touches none of them: where the records left
    // for later come from (a run per object, as a rule), and the generation (one per
    // RenderListReset) in which record k was written, which only the thread that writes
    // the record writes.
    uint32_t generation;
    int32_t runCount;
    RenderListRun runs[kRenderListRuns];
    uint32_t written[kRenderListCapacity];
};

// The frame's render list, static storage allocated with the program.
RenderList* RenderListMain();

// Empties the list (count 0) and starts a new generation; the records keep their
// contents.
int RenderListReset(RenderList* list);
// Appends the polygon with its three vertices (from poly->vlist) copied into both
// vlist and tvlist. Returns 0 when the list already holds kRenderListCapacity.
// With kRenderListLate in list->attr only the polygon and its vertex list are noted
// (in list->runs; with all runs in use the record is written at once) and the record is
// written later by RenderListRecordFill, from the same polygon and vertices, which must
// not change until then.
int RenderListInsertPoly(RenderList* list, const Poly* poly);
// Writes record k as RenderListInsertPoly would have when insertion left it for later,
// once: nothing for other records or when it was written already. The frame's passes over ranges
// (list_ranges.h) and RenderListRemoveBackfaces call it first, so that each record is written by
// the thread that works on it and insertion touches no record.
void RenderListRecordFill(RenderList* list, int32_t k);
// Appends a copy of a whole record and links it to the record before it (the clipper's
// second pieces). Returns 0 when full.
int RenderListInsertTri(RenderList* list, const RasterTri* tri);
// Inserts every active, unclipped, front-facing polygon of an active, visible, unculled
// object, its vertices read from the local list when useLocal != 0, else from the
// transformed list. Returns 0 for an object that is not drawn or when the list fills up.
int RenderListInsertObject(RenderList* list, Object3D* obj, int useLocal);
