// The triangle as the fillers receive it: the vertex record, the state and attribute
// bits, and the self-contained triangle record that the engine's render list is made of.
// It lives here, below the engine, so that the rasterizer needs nothing above it.
#pragma once
#include <cstdint>

#include "raster/texture.h"

// Vertex attribute bits.
constexpr uint32_t kVertexPosition = 0x1;
constexpr uint32_t kVertexNormal = 0x2;
constexpr uint32_t kVertexTexture = 0x4;

// Polygon / triangle state bits.
constexpr uint32_t kPolyActive = 0x1;
constexpr uint32_t kPolyClipped = 0x2;
constexpr uint32_t kPolyBackFace = 0x4;
constexpr uint32_t kPolyLit = 0x8;

// Polygon / triangle attribute bits.
constexpr uint32_t kAttrTwoSided = 0x1;
constexpr uint32_t kAttrTransparent = 0x2;
constexpr uint32_t kAttrShadeConstant = 0x20;
constexpr uint32_t kAttrShadeFlat = 0x40;
constexpr uint32_t kAttrShadeGouraud = 0x80;
constexpr uint32_t kAttrShadePhong = 0x100;
constexpr uint32_t kAttrTextured = 0x200;
constexpr uint32_t kAttrMipMapped = 0x400;

// Twelve 32-bit fields.
struct Vertex3D {
    float x, y, z, w;      // position; w is 1
    float nx, ny, nz, nw;  // normal, valid when attr has kVertexNormal
    float u, v;            // texture coordinates
    float i;               // intensity slot
    uint32_t attr;         // kVertex* bits
};

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

// Active, not clipped, not back-facing: the records every list pass works on.
inline bool RasterTriProcessable(const RasterTri* tri) {
    return tri && (tri->state & (kPolyActive | kPolyClipped | kPolyBackFace)) == kPolyActive;
}
