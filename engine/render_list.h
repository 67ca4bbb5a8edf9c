// The render list: the frame's triangles as self-contained records.
#pragma once
#include <cstdint>

#include "engine/object3d.h"

constexpr int32_t kRenderListCapacity = 32768;

// The render-list entry and the record every filler receives. On a 32-bit build
// it is 96 words; pointer fields grow on 64-bit builds, the order stays.
struct RasterTri {
    uint32_t state;        // kPolyActive, kPolyClipped, kPolyBackFace, kPolyLit
    uint32_t attr;         // kAttr* bits
    uint32_t color;        // base colour; top byte = alpha
    uint32_t litColor[3];  // 16-bit pixels; flat shading uses litColor[0]
    Texture* texture;      // mip-mapped: level 0 of the level array
    int32_t materialIndex;
    float normalLength;
    uint32_t work[11];    // working space of the render pass
    Vertex3D vlist[3];    // as inserted (world space)
    Vertex3D tvlist[3];   // world -> camera -> perspective -> screen
    RasterTri* next;      // insertion order
    RasterTri* previous;  //
    uint32_t spare[2];
};

struct RenderList {
    uint32_t state;
    uint32_t attr;
    RasterTri* polyPointers[kRenderListCapacity];  // pointer k addresses polyData[k]
    RasterTri polyData[kRenderListCapacity];
    int32_t numPolys;
};

// Active, not clipped, not back-facing: the records every list pass works on.
inline bool RasterTriProcessable(const RasterTri* tri) {
    return tri && (tri->state & (kPolyActive | kPolyClipped | kPolyBackFace)) == kPolyActive;
}

// The frame's render list, static storage allocated with the program.
RenderList* RenderListMain();

// Empties the list (count 0); the records keep their contents.
int RenderListReset(RenderList* list);
// Appends the polygon with its three vertices (from poly->vlist) copied into both
// vlist and tvlist. Returns 0 when the list already holds kRenderListCapacity.
int RenderListInsertPoly(RenderList* list, const Poly* poly);
// Appends a copy of a whole record and links it to the record before it (the clipper's
// second pieces). Returns 0 when full.
int RenderListInsertTri(RenderList* list, const RasterTri* tri);
// Inserts every active, unclipped, front-facing polygon of an active, visible, unculled
// object, its vertices read from the local list when useLocal != 0, else from the
// transformed list. Returns 0 for an object that is not drawn or when the list fills up.
int RenderListInsertObject(RenderList* list, Object3D* obj, int useLocal);
