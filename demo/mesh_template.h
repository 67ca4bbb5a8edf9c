// Mesh templates compiled into the intro, and their copy into Object3D records.
//
// A template is a little-endian block:
//   0   "IVM1"
//   4   u32 vertices per frame, u32 polygons, u32 frames,
//       u32 object state, u32 object attributes
//   24  f32 average radius[frames], f32 maximum radius[frames]
//   then frames x vertices records of 28 bytes: f32 x, y, z, nx, ny, nz, u32 attributes
//   then polygon records of 14 bytes: u32 attributes, u32 colour 0xAARRGGBB,
//        u16 vertex index x 3
// Colours are 8-bit channels, packed with the current ColourPacker when copied; the
// top byte is the polygon's alpha. Positions get w = 1 and normals w = 0 (directions:
// a matrix's translation row leaves them alone). Pointers are not stored; the copy
// sets them.
#pragma once
#include <cstdint>

#include "engine/object3d.h"

struct MeshTemplate {
    int32_t numVertices;  // per frame
    int32_t numPolys;
    int32_t numFrames;
    uint32_t state;
    uint32_t attr;
    const unsigned char* radii;     // average then maximum, numFrames floats each
    const unsigned char* vertices;  // numFrames * numVertices records
    const unsigned char* polys;     // numPolys records
};

// Checks a template block and points `out` at its parts (nothing is allocated).
// Returns 1, or 0 for a null argument, a wrong magic, a count of zero, a size that
// does not match the counts, or a vertex index out of range.
int MeshTemplateRead(const unsigned char* data, unsigned long size, MeshTemplate* out);

// Called after Object3DInit(obj, t->numVertices, t->numPolys, t->numFrames, 0): copies
// state and attributes, both radius arrays, every frame into the local and the
// transformed vertex lists, and the polygons (state active, colour packed, vertex
// list = the object's transformed list, texture-coordinate list = the object's list,
// which is cleared, texture-coordinate indices 3p..3p+2, normal length over the local
// positions), then sets both list heads and the current frame 0. Returns 1, or 0 when
// the object's counts differ from the template's or a list is missing.
int MeshTemplateCopyTo(const MeshTemplate* t, Object3D* obj);
