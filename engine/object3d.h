// Objects with their meshes: vertex, texture-coordinate and polygon lists.
#pragma once
#include <cstdint>

#include "engine/math3d.h"
#include "raster/raster_tri.h"

// Object state bits.
constexpr uint32_t kObjectActive = 0x1;
constexpr uint32_t kObjectVisible = 0x2;
constexpr uint32_t kObjectCulled = 0x4;

struct Poly {
    uint32_t state;
    uint32_t attr;
    uint32_t color;  // top byte doubles as the polygon's alpha
    uint32_t litColor[3];
    Texture* texture;
    int32_t materialIndex;
    Vertex3D* vlist;  // the owning object's transformed vertex list
    float* tlist;     // texture coordinates, two floats each
    int32_t vert[3];
    int32_t text[3];
    float normalLength;
};

struct Object3D {
    int32_t id;     // identification, not read by the engine operations
    char name[64];  //
    uint32_t state;
    uint32_t attr;
    float* avgRadius;  // one per frame
    float* maxRadius;  // one per frame
    Vec3 worldPos;
    Vec3 dir;
    Vec3 ux, uy, uz;
    int32_t numVertices;  // per frame
    int32_t numFrames;
    int32_t totalVertices;
    int32_t currFrame;
    Vertex3D* vlistLocal;  // current frame
    Vertex3D* vlistTrans;  // current frame
    Vertex3D* headVlistLocal;
    Vertex3D* headVlistTrans;
    float* tlist;  // three coordinates of two floats per polygon
    int32_t numPolys;
    Poly* plist;
    Texture* texture;  // the object's own texture (terrain), null when untextured
};

// Which vertex list a transform reads and writes.
constexpr int kTransformLocalOnly = 0;     // local list in place
constexpr int kTransformTransOnly = 1;     // transformed list in place
constexpr int kTransformLocalToTrans = 2;  // local list into the transformed list

// Allocates zero-filled storage for `vertices` per frame times `frames` (local and
// transformed), three texture coordinates per polygon, one radius pair per frame and
// the polygon list; sets the list heads and counts. Destroys obj first when
// destroyFirst != 0. Returns 0 at the first failed allocation, keeping what was made.
int Object3DInit(Object3D* obj, int32_t vertices, int32_t polys, int32_t frames, int destroyFirst);
// Frees whatever the object owns (lists, radii, its texture) and clears the record.
int Object3DDestroy(Object3D* obj);
// Per-frame reset: clears the culled bit and, in every active polygon, the clipped,
// back-face and lit bits.
int Object3DReset(Object3D* obj);
// Gives every active, unclipped, front-facing polygon the pixel value `color`.
int Object3DSetColor(Object3D* obj, uint32_t color);

// Multiplies positions (and the normals of vertices with kVertexNormal) by m as
// four-component rows: normals are therefore stored with nw = 0 to stay untranslated.
// select is one of kTransform*. transformBasis also moves ux, uy, uz; allFrames covers
// every frame from the list heads instead of the current frame only.
int Object3DTransform(Object3D* obj, const Mat4& m, int select, int transformBasis, int allFrames);
// kTransformLocalToTrans: transformed = local moved by the world position (normals and
// the rest copied); any other select moves the transformed list in place.
int Object3DModelToWorld(Object3D* obj, int select, int allFrames);
