// The terrain generator: a one-frame object from an 8-bit height map.
#pragma once
#include <cstdint>

#include "engine/math3d.h"
#include "engine/object3d.h"

// An 8-bit height map: `width` columns by `height` rows, row after row.
struct HeightMap {
    int32_t width;
    int32_t height;
    const uint8_t* samples;
};

// The header of the texture bitmap a terrain is dressed with. Its pixels are always
// replaced by a checkerboard; the header gives the size and the conversion to use.
struct BitmapHeader {
    int32_t width;  // a power of two, as every texture
    int32_t height;
    int32_t bitsPerPixel;
};

// Attribute bit set in every terrain polygon.
constexpr uint32_t kAttrTerrain = 0x1000;

// Checkerboard of squares 2 * cell pixels on a side, 0x0000 at the top left, 0xFFFF the
// other colour. A height below 1 writes nothing. Returns 0 for null pixels or cell < 1.
int TextureFillChecker(uint16_t* pixels, int32_t width, int32_t height, int32_t cell);

// Builds obj (cleared first, not destroyed) as a grid of heightMap->width by
// heightMap->height vertices spanning width x depth world units around the origin,
// heights vscale * sample / 255, two triangles per cell with attributes
// polyAttr | kAttrTerrain and colour `color`. With kAttrTextured in polyAttr, a texture name
// and a bitmap header, the object gets its own checker texture (owned by the object)
// spanned by texture coordinates, and white polygons. Polygons with Gouraud or Phong
// shading get vertex normals. rot is not used. Progress goes to DebugLog.
// Returns 0 for a null object or map, or when the object's storage cannot be made.
int Object3DGenerateTerrain(Object3D* obj, float width, float depth, float vscale,
                            const char* heightmapName, const char* textureName, uint32_t color,
                            const Vec3* pos, const Vec3* rot, uint32_t polyAttr,
                            const HeightMap* heightMap, const BitmapHeader* textureBitmap);
