// Vectors, matrices, planes and table sine/cosine of the engine.
// Values are stored as floats; sums and products are formed in double and narrowed
// when stored. Angles are in degrees.
#pragma once
#include <cmath>
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

inline constexpr Mat4 kMat4Identity = {{
    {1.0f, 0.0f, 0.0f, 0.0f},
    {0.0f, 1.0f, 0.0f, 0.0f},
    {0.0f, 0.0f, 1.0f, 0.0f},
    {0.0f, 0.0f, 0.0f, 1.0f},
}};

// Fills SinTable and CosTable; called once at start-up before any rotation.
// Degree d becomes d * 3.1415927f / 180.0f radians, the product formed in double.
void MathTablesInit();

// Table sine and cosine of an angle in degrees, interpolated between whole degrees.
// Any angle is accepted: it is first brought into [0, 360).
float FastSin(float theta);
float FastCos(float theta);

// b - a: the vector from a to b (note the order).
inline Vec3 Vec3Sub(const Vec3& a, const Vec3& b) {
    return {b.x - a.x, b.y - a.y, b.z - a.z, 1.0f};
}

inline Vec3 Vec3Add(const Vec3& a, const Vec3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z, 1.0f};
}

inline Vec3 Vec3Cross(const Vec3& u, const Vec3& v) {
    const double x = static_cast<double>(u.y) * v.z - static_cast<double>(u.z) * v.y;
    const double y = -(static_cast<double>(u.x) * v.z - static_cast<double>(u.z) * v.x);
    const double z = static_cast<double>(u.x) * v.y - static_cast<double>(u.y) * v.x;
    return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z), 1.0f};
}

inline double Vec3Dot(const Vec3& a, const Vec3& b) {
    return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y +
           static_cast<double>(a.z) * b.z;
}

double Vec3Length(const Vec3& v);
// In place; a vector shorter than 1e-5 is left as it is.
void Vec3Normalize(Vec3* v);
// out = v / |v|, or (0, 0, 0) when |v| is below 1e-5. out may be v.
void Vec3NormalizeTo(const Vec3& v, Vec3* out);
// FastDistance of x, y, z as a float.
float Vec3FastLength(const Vec3& v);

// Nearest integer, ties to even (the rounding mode start-up selects). Adding and taking
// away 1.5 * 2^52 rounds any |x| < 2^51 in one step, where a library call would cost
// more than the rest of a lighting term; larger values go to the library.
inline int64_t RoundToInt64(double x) {
    constexpr double kShift = 6755399441055744.0;
    if (x > -2251799813685248.0 && x < 2251799813685248.0) {
        return static_cast<int64_t>((x + kShift) - kShift);
    }
    return static_cast<int64_t>(std::nearbyint(x));
}

// Integer distance estimate: |x|, |y|, |z| scaled by 1024 and rounded, sorted so that
// a <= b <= c, then (c + 11 * (b >> 5) + (a >> 2)) >> 10. Inline for the lighting loop;
// 64-bit so that coordinates beyond 2^21 cannot overflow the scaled sum.
inline int32_t FastDistance(float x, float y, float z) {
    const double sx = std::fabs(static_cast<double>(x)) * 1024.0;
    const double sy = std::fabs(static_cast<double>(y)) * 1024.0;
    const double sz = std::fabs(static_cast<double>(z)) * 1024.0;
    int64_t ax, ay, az;
    constexpr double kShift = 6755399441055744.0;
    if (sx < 2251799813685248.0 && sy < 2251799813685248.0 && sz < 2251799813685248.0) {
        ax = static_cast<int64_t>((sx + kShift) - kShift);
        ay = static_cast<int64_t>((sy + kShift) - kShift);
        az = static_cast<int64_t>((sz + kShift) - kShift);
    } else {
        ax = RoundToInt64(sx), ay = RoundToInt64(sy), az = RoundToInt64(sz);
    }
    const int64_t lo = ax < ay ? ax : ay, hi = ax < ay ? ay : ax;
    const int64_t a = lo < az ? lo : az;
    const int64_t c = hi < az ? az : hi;
    const int64_t b = ax + ay + az - a - c;
    return static_cast<int32_t>((c + 11 * (b >> 5) + (a >> 2)) >> 10);
}

// out[c] = x m[0][c] + y m[1][c] + z m[2][c] + w m[3][c], summed in double: the one
// row-times-matrix of the engine, inline for the per-vertex loops.
inline void Mat4MulRow(double x, double y, double z, double w, const Mat4& m, float out[4]) {
    for (int c = 0; c < 4; ++c) {
        out[c] = static_cast<float>(x * m.m[0][c] + y * m.m[1][c] + z * m.m[2][c] + w * m.m[3][c]);
    }
}

// out[c] = sum over r of v[r] * m[r][c], w included. out may be v.
void Vec4MulMat4(const Vec3& v, const Mat4& m, Vec3* out);
// out = a * b.
void Mat4Mul(const Mat4& a, const Mat4& b, Mat4* out);
// Sixteen values in row order.
void Mat4Init(Mat4* m, float m00, float m01, float m02, float m03, float m10, float m11, float m12,
              float m13, float m20, float m21, float m22, float m23, float m30, float m31,
              float m32, float m33);
// Rx * Ry * Rz of the axes whose angle exceeds 1e-5 in magnitude; the identity when
// none does. Only the participating axes look up their sine and cosine.
void Mat4BuildRotationXYZ(float thetaX, float thetaY, float thetaZ, Mat4* out);

// Copies the point; the normal is normalised (Vec3NormalizeTo) when normalize != 0.
void Plane3Init(Plane3* plane, const Vec3& point, const Vec3& normal, int normalize);
