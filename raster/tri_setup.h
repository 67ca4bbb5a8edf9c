// Triangle setup shared by every filler: snapping, trivial rejection, sorting by height,
// classification and the degeneracy test (the steps before any edge is walked).
#pragma once
#include <cstdint>

#include "display/display.h"
#include "raster/raster_tri.h"

enum class TriShape : int32_t {
    kFlatTop,     // v[0] top left, v[1] top right, v[2] bottom
    kFlatBottom,  // v[0] top, v[1] bottom left, v[2] bottom right
    kGeneral,     // v[0] top, v[1] middle, v[2] bottom
};

struct TriSetupVertex {
    int32_t x, y;   // snapped whole pixels
    int32_t index;  // which vertex of the record (tvlist / litColor slot)
};

struct TriSetup {
    TriSetupVertex v[3];
    TriShape shape;
    int32_t allInsideX;  // all three x within [minX, maxX]: spans need no clipping
};

// Snaps x and y of the three screen vertices (trunc(c + 0.5), written back into the
// record), rejects a triangle wholly outside `clip`, sorts and classifies it and drops it
// when degenerate. Returns 1 with `setup` filled, or 0 when nothing is drawn.
int TriSetupPrepare(RasterTri* tri, const ClipRectangle& clip, TriSetup* setup);
