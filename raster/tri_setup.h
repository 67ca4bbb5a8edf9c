// Triangle setup shared by every filler: snapping, trivial rejection, sorting by height,
// classification and the degeneracy test (the steps before any edge is walked).
#pragma once
#include <cstdint>

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

// Rounding toward zero of c + 0.5, in single precision: half up for non-negative
// coordinates, negative ones toward zero (deliberate).
float TriSetupSnap(float c);

// Snaps x and y of the three screen vertices (TriSetupSnap), rejects a triangle wholly
// outside `clip`, sorts and classifies it and drops it when degenerate. Returns 1 with
// `setup` filled, or 0 when nothing is drawn.
int TriSetupPrepare(const RasterDraw& tri, const ClipRectangle& clip, TriSetup* setup);
