// Triangle setup shared by every filler: snapping, trivial rejection, sorting by height,
// classification and the degeneracy test (the steps before any edge is walked).
#pragma once
#include <cmath>
#include <cstdint>
#include <utility>

#include "display/display.h"
#include "raster/filler.h"

enum class TriShape : int32_t {
    kFlatTop,     // v[0] top left, v[1] top right, v[2] bottom
    kFlatBottom,  // v[0] top, v[1] bottom left, v[2] bottom right
    kGeneral,     // v[0] top, v[1] middle, v[2] bottom
};

struct TriSetupVertex {
    int32_t x, y;   // snapped whole pixels
    int32_t index;  // which vertex of the triangle (0..2)
};

struct TriSetup {
    TriSetupVertex v[3];
    TriShape shape;
    int32_t allInsideX;  // all three x within [minX, maxX]: spans need no clipping
};

// Rounding toward zero of c + 0.5, in single precision (as the renderer's floating-point
// setting has it): half up for non-negative coordinates, negative ones toward zero
// (deliberate).
[[gnu::always_inline]] inline float TriSetupSnap(float c) {
    return std::trunc(c + 0.5f);
}

// Snaps x and y of the three screen vertices (TriSetupSnap), rejects a triangle wholly
// outside `clip`, sorts and classifies it and drops it when degenerate. Returns 1 with
// `setup` filled, or 0 when nothing is drawn. Inline, so that each build of the fillers
// has its own.
[[gnu::always_inline]] inline int TriSetupPrepare(const RasterDraw& tri, const ClipRectangle& clip,
                                                  TriSetup* setup) {
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
