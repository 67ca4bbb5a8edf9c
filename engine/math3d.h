// Vectors, matrices, planes and table sine/cosine of the engine.
#pragma once
#include <cstdint>

// x, y, z, w; every operation that produces a vector writes w = 1.
struct Vec3 {
    float x, y, z, w;
};

// Row-major (m[row][col]); vectors are rows multiplied on the left, so the
// translation sits in the fourth row.
struct Mat4 {
    float m[4][4];
};

struct Plane3 {
    float px, py, pz;  // a point on the plane
    float nx, ny, nz;  // its normal
};

// Angle tables indexed by whole degrees 0..360 (361 used of 368 slots).
extern float SinTable[368];
extern float CosTable[368];
