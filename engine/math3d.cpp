// Engine mathematics: angle tables, vector and matrix operations.
#include "engine/math3d.h"

#include <cmath>
#include <cstdlib>

float SinTable[368];
float CosTable[368];

void MathTablesInit() {
    const double pi = 3.1415927f;
    const double halfTurn = 180.0f;
    for (int d = 0; d <= 360; ++d) {
        const double radians = d * pi / halfTurn;
        SinTable[d] = static_cast<float>(std::sin(radians));
        CosTable[d] = static_cast<float>(std::cos(radians));
    }
}

static float TableLookup(const float* table, float theta) {
    double angle = std::fmod(static_cast<double>(theta), 360.0);
    if (angle < 0) angle += 360.0;
    const int i = static_cast<int>(angle);
    const double f = angle - i;
    return static_cast<float>(table[i] + f * (static_cast<double>(table[i + 1]) - table[i]));
}

float FastSin(float theta) {
    return TableLookup(SinTable, theta);
}
float FastCos(float theta) {
    return TableLookup(CosTable, theta);
}

double Vec3Length(const Vec3& v) {
    return std::sqrt(Vec3Dot(v, v));
}

void Vec3Normalize(Vec3* v) {
    const double length = Vec3Length(*v);
    if (length < 1e-5) return;
    const double inverse = 1.0 / length;
    v->x = static_cast<float>(v->x * inverse);
    v->y = static_cast<float>(v->y * inverse);
    v->z = static_cast<float>(v->z * inverse);
    v->w = 1.0f;
}

void Vec3NormalizeTo(const Vec3& v, Vec3* out) {
    Vec3 result = v;
    out->x = out->y = out->z = 0.0f;
    const double length = Vec3Length(result);
    if (length < 1e-5) return;
    Vec3Normalize(&result);
    *out = result;
}

float Vec3FastLength(const Vec3& v) {
    return static_cast<float>(FastDistance(v.x, v.y, v.z));
}

void Vec4MulMat4(const Vec3& v, const Mat4& m, Vec3* out) {
    float result[4];
    Mat4MulRow(v.x, v.y, v.z, v.w, m, result);
    *out = {result[0], result[1], result[2], result[3]};
}

void Mat4Mul(const Mat4& a, const Mat4& b, Mat4* out) {
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k) sum += static_cast<double>(a.m[r][k]) * b.m[k][c];
            out->m[r][c] = static_cast<float>(sum);
        }
    }
}

void Mat4Init(Mat4* m, float m00, float m01, float m02, float m03, float m10, float m11, float m12,
              float m13, float m20, float m21, float m22, float m23, float m30, float m31,
              float m32, float m33) {
    *m = {{{m00, m01, m02, m03}, {m10, m11, m12, m13}, {m20, m21, m22, m23}, {m30, m31, m32, m33}}};
}

void Mat4BuildRotationXYZ(float thetaX, float thetaY, float thetaZ, Mat4* out) {
    *out = kMat4Identity;
    const int code = (std::fabs(thetaX) > 1e-5 ? 1 : 0) | (std::fabs(thetaY) > 1e-5 ? 2 : 0) |
                     (std::fabs(thetaZ) > 1e-5 ? 4 : 0);
    if (code == 0) return;

    Mat4 rx = kMat4Identity, ry = kMat4Identity, rz = kMat4Identity;
    if (code & 1) {
        const float c = FastCos(thetaX), s = FastSin(thetaX);
        rx.m[1][1] = c, rx.m[1][2] = s, rx.m[2][1] = -s, rx.m[2][2] = c;
    }
    if (code & 2) {
        const float c = FastCos(thetaY), s = FastSin(thetaY);
        ry.m[0][0] = c, ry.m[0][2] = -s, ry.m[2][0] = s, ry.m[2][2] = c;
    }
    if (code & 4) {
        const float c = FastCos(thetaZ), s = FastSin(thetaZ);
        rz.m[0][0] = c, rz.m[0][1] = s, rz.m[1][0] = -s, rz.m[1][1] = c;
    }

    Mat4 xy;
    switch (code) {
        case 1:
            *out = rx;
            break;
        case 2:
            *out = ry;
            break;
        case 4:
            *out = rz;
            break;
        case 3:
            Mat4Mul(rx, ry, out);
            break;
        case 5:
            Mat4Mul(rx, rz, out);
            break;
        case 6:
            Mat4Mul(ry, rz, out);
            break;
        default:
            Mat4Mul(rx, ry, &xy);
            Mat4Mul(xy, rz, out);
            break;
    }
}

void Plane3Init(Plane3* plane, const Vec3& point, const Vec3& normal, int normalize) {
    plane->px = point.x, plane->py = point.y, plane->pz = point.z;
    Vec3 n = normal;
    if (normalize) Vec3NormalizeTo(normal, &n);
    plane->nx = n.x, plane->ny = n.y, plane->nz = n.z;
}
