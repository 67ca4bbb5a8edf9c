// Two doubles side by side for the per-vertex and per-triangle loops of the engine (the
// compiler's vector extension: SSE2 on x86-64, plain code elsewhere). Each lane does
// exactly the operations of the scalar code it stands for, in the same order, so using
// lanes changes no result. Engine-internal.
#pragma once
#include <cstdint>

#include "engine/math3d.h"
#include "raster/lanes.h"

inline Double2 Splat(double x) {
    return Double2{x, x};
}

// Each lane rounded to float and back: a double sum or difference of two floats so
// rounded is exactly the float operation.
inline Double2 FloatRounded(Double2 x) {
    return __builtin_convertvector(__builtin_convertvector(x, Float2), Double2);
}

// A matrix by column pairs: pair[r][0] = (m[r][0], m[r][1]), pair[r][1] = (m[r][2], m[r][3]).
struct Mat4Lanes {
    Double2 pair[4][2];
};

inline Mat4Lanes Mat4LanesOf(const Mat4& m) {
    Mat4Lanes lanes;
    for (int r = 0; r < 4; ++r) {
        lanes.pair[r][0] = Double2{m.m[r][0], m.m[r][1]};
        lanes.pair[r][1] = Double2{m.m[r][2], m.m[r][3]};
    }
    return lanes;
}

// Mat4MulRow two columns at a time.
inline void Mat4LanesMulRow(double x, double y, double z, double w, const Mat4Lanes& m,
                            float out[4]) {
    for (int half = 0; half < 2; ++half) {
        const Double2 sum = Splat(x) * m.pair[0][half] + Splat(y) * m.pair[1][half] +
                            Splat(z) * m.pair[2][half] + Splat(w) * m.pair[3][half];
        const Float2 narrow = __builtin_convertvector(sum, Float2);
        out[2 * half] = narrow[0];
        out[2 * half + 1] = narrow[1];
    }
}
