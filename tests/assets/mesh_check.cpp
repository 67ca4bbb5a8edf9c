// Objects from the compiled-in templates, and the terrain surface.
#include "tests/assets/mesh_check.h"

#include <algorithm>
#include <cmath>

#include "assets/assets.h"

int TestObjectFromTemplate(const unsigned char* data, unsigned long size, TestObject* out) {
    MeshTemplate t;
    if (!MeshTemplateRead(data, size, &t)) return 0;
    const size_t vertices = static_cast<size_t>(t.numVertices) * t.numFrames;
    out->local.assign(vertices, Vertex3D{});
    out->trans.assign(vertices, Vertex3D{});
    out->polys.assign(t.numPolys, Poly{});
    out->tlist.assign(6 * static_cast<size_t>(t.numPolys), 1.0f);
    out->avgRadius.assign(t.numFrames, 0.0f);
    out->maxRadius.assign(t.numFrames, 0.0f);
    out->obj = Object3D{};
    Object3D& o = out->obj;
    o.numVertices = t.numVertices;
    o.numPolys = t.numPolys;
    o.numFrames = t.numFrames;
    o.totalVertices = static_cast<int32_t>(vertices);
    o.headVlistLocal = out->local.data();
    o.headVlistTrans = out->trans.data();
    o.plist = out->polys.data();
    o.tlist = out->tlist.data();
    o.avgRadius = out->avgRadius.data();
    o.maxRadius = out->maxRadius.data();
    return MeshTemplateCopyTo(&t, &o);
}

std::vector<NamedTemplate> AllMeshTemplates() {
    static const char* const names[kMeshTemplateCount] = {"logo", "lighthouse", "airship",
                                                          "knot", "sun",        "moon"};
    std::vector<NamedTemplate> all;
    for (int i = 0; i < kMeshTemplateCount; ++i)
        all.push_back({names[i], kMeshTemplates[i], kMeshTemplateSizes[i]});
    all.push_back({"balloon", MeshBalloon, MeshBalloon_size});
    return all;
}

double TerrainGroundHeight(double x, double z) {
    constexpr int kSize = 64;
    constexpr double kStep = 6000.0 / (kSize - 1);
    const double gx = (x + 3000.0) / kStep;
    const double gz = (z + 3000.0) / kStep;
    if (gx < 0 || gz < 0 || gx > kSize - 1 || gz > kSize - 1) return -1.0;
    const int c = std::min(static_cast<int>(gx), kSize - 2);
    const int r = std::min(static_cast<int>(gz), kSize - 2);
    const double fx = gx - c;
    const double fz = gz - r;
    const unsigned char* map = TerrainHeightMap + kBitmapHeaderBytes;
    auto h = [&](int cc, int rr) { return 1000.0 * map[rr * kSize + cc] / 255.0; };
    // The cell's triangles: (c,r) (c,r+1) (c+1,r+1) below the diagonal, (c,r) (c+1,r+1)
    // (c+1,r) above it.
    if (fz >= fx)
        return h(c, r) + fx * (h(c + 1, r + 1) - h(c, r + 1)) + fz * (h(c, r + 1) - h(c, r));
    return h(c, r) + fx * (h(c + 1, r) - h(c, r)) + fz * (h(c + 1, r + 1) - h(c + 1, r));
}
