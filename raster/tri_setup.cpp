// Triangle setup shared by every filler.
#include "raster/tri_setup.h"

#include <cmath>
#include <utility>

// The sum is formed in single precision, as the renderer's floating-point setting has it.
float TriSetupSnap(float c) {
    return std::trunc(c + 0.5f);
}

int TriSetupPrepare(const RasterDraw& tri, const ClipRectangle& clip, TriSetup* setup) {
    struct {
        float x, y;
    } tv[3];
    for (int k = 0; k < 3; ++k) {
        tv[k].x = TriSetupSnap(tri.x[k]);
        tv[k].y = TriSetupSnap(tri.y[k]);
    }

    const float minX = static_cast<float>(clip.minX), maxX = static_cast<float>(clip.maxX);
    const float minY = static_cast<float>(clip.minY), maxY = static_cast<float>(clip.maxY);
    if (tv[0].y < minY && tv[1].y < minY && tv[2].y < minY) return 0;
    if (tv[0].y > maxY && tv[1].y > maxY && tv[2].y > maxY) return 0;
    if (tv[0].x < minX && tv[1].x < minX && tv[2].x < minX) return 0;
    if (tv[0].x > maxX && tv[1].x > maxX && tv[2].x > maxX) return 0;

    // Sort by y: top, middle, bottom.
    int order[3] = {0, 1, 2};
    if (tv[order[1]].y < tv[order[0]].y) std::swap(order[0], order[1]);
    if (tv[order[2]].y < tv[order[1]].y) std::swap(order[1], order[2]);
    if (tv[order[1]].y < tv[order[0]].y) std::swap(order[0], order[1]);

    constexpr float kFlatTolerance = 0.001f;
    const auto &top = tv[order[0]], &mid = tv[order[1]], &bottom = tv[order[2]];
    if (std::fabs(top.y - mid.y) < kFlatTolerance) {
        setup->shape = TriShape::kFlatTop;
        if (mid.x < top.x) std::swap(order[0], order[1]);
    } else if (std::fabs(mid.y - bottom.y) < kFlatTolerance) {
        setup->shape = TriShape::kFlatBottom;
        if (bottom.x < mid.x) std::swap(order[1], order[2]);
    } else {
        setup->shape = TriShape::kGeneral;
    }

    for (int k = 0; k < 3; ++k) {
        setup->v[k].x = static_cast<int32_t>(tv[order[k]].x);
        setup->v[k].y = static_cast<int32_t>(tv[order[k]].y);
        setup->v[k].index = order[k];
    }
    const TriSetupVertex* v = setup->v;
    if (v[0].x == v[1].x && v[1].x == v[2].x) return 0;
    if (v[0].y == v[1].y && v[1].y == v[2].y) return 0;

    setup->allInsideX = 1;
    for (int k = 0; k < 3; ++k) {
        if (v[k].x < clip.minX || v[k].x > clip.maxX) setup->allInsideX = 0;
    }
    return 1;
}
