// The terrain generator and the checker texture it is dressed with.
#include "engine/terrain.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "display/colour.h"
#include "display/debug_log.h"

int TextureFillChecker(uint16_t* pixels, int32_t width, int32_t height, int32_t cell) {
    if (!pixels || cell < 1) return 0;
    const int32_t side = 2 * cell;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            pixels[y * width + x] = ((x / side + y / side) & 1) ? 0xFFFF : 0x0000;
        }
    }
    return 1;
}

// The object's own texture: a checkerboard (squares of 8 x 8) of the bitmap's size,
// taken as it is for a 16-bit bitmap, repacked through ColourPacker for any other depth
// (the checker is 5.6.5, the other depths' pixels would be converted to the display's).
static Texture* TerrainTextureCreate(const BitmapHeader& header) {
    const int32_t count = header.width * header.height;
    if (header.width < 1 || header.height < 1) return nullptr;
    uint16_t* checker = static_cast<uint16_t*>(std::calloc(count, sizeof(uint16_t)));
    Texture* texture = static_cast<Texture*>(std::calloc(1, sizeof(Texture)));
    uint16_t* texels = static_cast<uint16_t*>(std::calloc(count, sizeof(uint16_t)));
    if (!checker || !texture || !texels) {
        std::free(checker), std::free(texture), std::free(texels);
        return nullptr;
    }
    TextureFillChecker(checker, header.width, header.height, 4);
    for (int32_t i = 0; i < count; ++i) {
        const uint16_t p = checker[i];
        texels[i] = header.bitsPerPixel == 16
                        ? p
                        : ColourPacker(((p >> 11) & 31) << 3, ((p >> 5) & 63) << 2, (p & 31) << 3);
    }
    std::free(checker);
    texture->width = header.width;
    texture->height = header.height;
    texture->texels = texels;
    return texture;
}

static Vec3 PositionOf(const Vertex3D& v) {
    return {v.x, v.y, v.z, 1.0f};
}

static Vec3 FaceNormal(const Object3D& obj, const Poly& poly) {
    const Vec3 p0 = PositionOf(obj.vlistLocal[poly.vert[0]]);
    return Vec3Cross(Vec3Sub(p0, PositionOf(obj.vlistLocal[poly.vert[1]])),
                     Vec3Sub(p0, PositionOf(obj.vlistLocal[poly.vert[2]])));
}

// Every vertex marked kVertexNormal gets the normalised average of the unit normals of
// the polygons that use it (each polygon weighs the same). Normals are directions:
// nw = 0, so that a four-component transform never translates them.
static void ComputeVertexNormals(Object3D* obj) {
    double* sums = static_cast<double*>(std::calloc(obj->numVertices * 3, sizeof(double)));
    if (!sums) {
        DebugLog("\nTerrain generator error (can't allocate memory).");
        return;
    }
    for (int32_t p = 0; p < obj->numPolys; ++p) {
        const Poly& poly = obj->plist[p];
        if (poly.normalLength <= 0.0f) continue;
        const Vec3 n = FaceNormal(*obj, poly);
        for (int32_t vertex : poly.vert) {
            sums[vertex * 3 + 0] += n.x / static_cast<double>(poly.normalLength);
            sums[vertex * 3 + 1] += n.y / static_cast<double>(poly.normalLength);
            sums[vertex * 3 + 2] += n.z / static_cast<double>(poly.normalLength);
        }
    }
    for (int32_t i = 0; i < obj->numVertices; ++i) {
        Vertex3D& v = obj->vlistLocal[i];
        if (!(v.attr & kVertexNormal)) continue;
        Vec3 n = {static_cast<float>(sums[i * 3]), static_cast<float>(sums[i * 3 + 1]),
                  static_cast<float>(sums[i * 3 + 2]), 1.0f};
        Vec3NormalizeTo(n, &n);
        v.nx = n.x, v.ny = n.y, v.nz = n.z, v.nw = 0.0f;
    }
    std::free(sums);
}

int Object3DGenerateTerrain(Object3D* obj, float width, float depth, float vscale,
                            const char* heightmapName, const char* textureName, uint32_t color,
                            const Vec3* pos, const Vec3* /*rot*/, uint32_t polyAttr,
                            const HeightMap* heightMap, const BitmapHeader* textureBitmap) {
    if (!obj || !heightMap || !heightMap->samples) return 0;

    std::memset(static_cast<void*>(obj), 0, sizeof *obj);
    obj->state = kObjectActive | kObjectVisible;
    obj->attr = 0x1;  // single frame
    obj->numFrames = 1;
    obj->currFrame = 0;
    if (pos) obj->worldPos = *pos;
    std::snprintf(obj->name, sizeof obj->name, "Terrain:%s%s", heightmapName ? heightmapName : "",
                  textureName ? textureName : "");

    // A map one sample wide or deep divides by zero here; it is not guarded.
    const int32_t cols = heightMap->width, rows = heightMap->height;
    const float colVstep = static_cast<float>(width / static_cast<double>(cols - 1));
    const float rowVstep = static_cast<float>(depth / static_cast<double>(rows - 1));
    DebugLog("\ncolumns = %d, rows = %d", cols, rows);
    DebugLog("\ncol_vstep = %f, row_vstep = %f", colVstep, rowVstep);

    const int32_t vertices = cols * rows;
    const int32_t polys = 2 * (cols - 1) * (rows - 1);
    if (!Object3DInit(obj, vertices, polys, 1, 0)) {
        // What was allocated stays with the record; Object3DDestroy frees it.
        DebugLog("\nTerrain generator error (can't allocate memory).");
        return 0;
    }

    float colTstep = 0.0f, rowTstep = 0.0f;
    bool textured = false;
    if ((polyAttr & kAttrTextured) && textureName && textureBitmap) {
        obj->texture = TerrainTextureCreate(*textureBitmap);
        if (obj->texture) {
            textured = true;
            obj->attr |= 0x4;
            colTstep =
                static_cast<float>((obj->texture->width - 1) / static_cast<double>(cols - 1));
            rowTstep =
                static_cast<float>((obj->texture->height - 1) / static_cast<double>(rows - 1));
        } else {
            DebugLog("\nTerrain generator error (can't allocate memory).");
        }
    }
    DebugLog("\ncol_tstep=%f, row_tstep=%f", colTstep, rowTstep);
    DebugLog("\nnum_vertices = %d, num_polys = %d", vertices, polys);

    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < cols; ++c) {
            const int32_t i = r * cols + c;
            Vertex3D& v = obj->vlistLocal[i];
            v.x = static_cast<float>(c * static_cast<double>(colVstep) - width / 2.0);
            v.y = static_cast<float>(vscale * static_cast<double>(heightMap->samples[i]) / 255.0);
            v.z = static_cast<float>(r * static_cast<double>(rowVstep) - depth / 2.0);
            v.w = 1.0f;
            v.attr |= kVertexPosition;
            if (textured) {
                // The coordinates also go into the vertex: insertion copies whole vertices.
                obj->tlist[i * 2] = v.u = static_cast<float>(c * static_cast<double>(colTstep));
                obj->tlist[i * 2 + 1] = v.v = static_cast<float>(r * static_cast<double>(rowTstep));
            }
            DebugLog("\nVertex %d: V[%f, %f, %f], T[%f, %f]", i, v.x, v.y, v.z, v.u, v.v);
        }
    }

    double radiusSum = 0.0, radiusMax = 0.0;
    for (int32_t i = 0; i < vertices; ++i) {
        const double radius = Vec3Length(PositionOf(obj->vlistLocal[i]));
        radiusSum += radius;
        if (radius > radiusMax) radiusMax = radius;
    }
    obj->avgRadius[0] = static_cast<float>(radiusSum / vertices);
    obj->maxRadius[0] = static_cast<float>(radiusMax);
    DebugLog("\nObject average radius = %f, max radius = %f", obj->avgRadius[0], obj->maxRadius[0]);

    const uint32_t polyColor = textured ? ColourPacker(255, 255, 255) : color;
    const uint32_t vertexMarks =
        ((polyAttr & (kAttrShadeGouraud | kAttrShadePhong)) ? kVertexNormal : 0) |
        (textured ? kVertexTexture : 0);
    for (int32_t k = 0; k < polys / 2; ++k) {
        const int32_t c = k % (cols - 1), r = k / (cols - 1);
        const int32_t b = r * cols + c;
        const int32_t corners[2][3] = {{b, b + cols, b + cols + 1}, {b, b + cols + 1, b + 1}};
        for (int half = 0; half < 2; ++half) {
            Poly& poly = obj->plist[2 * k + half];
            poly.state = kPolyActive;
            poly.attr = polyAttr | kAttrTerrain;
            poly.color = polyColor;
            poly.vlist = obj->vlistLocal;
            poly.tlist = obj->tlist;
            poly.texture = textured ? obj->texture : nullptr;
            for (int j = 0; j < 3; ++j) {
                poly.vert[j] = poly.text[j] = corners[half][j];
                obj->vlistLocal[corners[half][j]].attr |= vertexMarks;
            }
        }
    }

    for (int32_t p = 0; p < polys; ++p) {
        obj->plist[p].normalLength =
            static_cast<float>(Vec3Length(FaceNormal(*obj, obj->plist[p])));
    }
    ComputeVertexNormals(obj);
    return 1;
}
