// Table trigonometry, vector and matrix operations, the distance estimate.
#include "engine/math3d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

class Math3d : public ::testing::Test {
protected:
    static void SetUpTestSuite() { MathTablesInit(); }
};

bool SameMatrix(const Mat4& a, const Mat4& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST_F(Math3d, TablesHoldSingleConstantAnglesAndLookupsWrapAndInterpolate) {
    const double pi = 3.1415927f;
    EXPECT_EQ(SinTable[30], static_cast<float>(std::sin(30 * pi / 180.0f)));
    EXPECT_EQ(CosTable[360], static_cast<float>(std::cos(360 * pi / 180.0f)));

    EXPECT_EQ(FastSin(-90.0f), SinTable[270]);
    EXPECT_EQ(FastCos(360.0f), CosTable[0]);
    EXPECT_EQ(FastCos(-720.0f), CosTable[0]);
    const double t359 = SinTable[359], t360 = SinTable[360];
    EXPECT_EQ(FastSin(359.5f), static_cast<float>(t359 + 0.5 * (t360 - t359)));
    EXPECT_EQ(FastSin(45.25f), FastSin(405.25f));
}

TEST_F(Math3d, VectorOperationsKeepTheirArgumentOrder) {
    const Vec3 a = {1, 2, 3, 7}, b = {4, 6, 8, 7};
    const Vec3 d = Vec3Sub(a, b);  // b - a
    EXPECT_EQ(d.x, 3.0f);
    EXPECT_EQ(d.y, 4.0f);
    EXPECT_EQ(d.z, 5.0f);
    EXPECT_EQ(d.w, 1.0f);

    const Vec3 z = Vec3Cross({1, 0, 0, 1}, {0, 1, 0, 1});
    EXPECT_EQ(z.x, 0.0f);
    EXPECT_EQ(z.y, 0.0f);
    EXPECT_EQ(z.z, 1.0f);
    const Vec3 minusY = Vec3Cross({1, 0, 0, 1}, {0, 0, 1, 1});
    EXPECT_EQ(minusY.y, -1.0f);
    EXPECT_EQ(Vec3Dot(a, b), 40.0);
}

TEST_F(Math3d, NormalisationBelowThresholdDiffersBetweenTheTwoForms) {
    Vec3 tiny = {3e-6f, 4e-6f, 0, 9};
    Vec3 inPlace = tiny;
    Vec3Normalize(&inPlace);
    EXPECT_EQ(std::memcmp(&inPlace, &tiny, sizeof tiny), 0);

    Vec3 out = {5, 5, 5, 1};
    Vec3NormalizeTo(tiny, &out);
    EXPECT_EQ(out.x, 0.0f);
    EXPECT_EQ(out.y, 0.0f);
    EXPECT_EQ(out.z, 0.0f);

    Vec3 v = {3, 0, 4, 0};
    Vec3NormalizeTo(v, &v);
    EXPECT_FLOAT_EQ(v.x, 0.6f);
    EXPECT_FLOAT_EQ(v.z, 0.8f);
    EXPECT_EQ(v.w, 1.0f);
}

TEST_F(Math3d, RotationMultipliesOnlyParticipatingAxesInXyzOrder) {
    const float ax = 30.5f, ay = -47.0f, az = 112.25f;
    Mat4 rx = kMat4Identity, ry = kMat4Identity, rz = kMat4Identity;
    rx.m[1][1] = FastCos(ax), rx.m[1][2] = FastSin(ax);
    rx.m[2][1] = -FastSin(ax), rx.m[2][2] = FastCos(ax);
    ry.m[0][0] = FastCos(ay), ry.m[0][2] = -FastSin(ay);
    ry.m[2][0] = FastSin(ay), ry.m[2][2] = FastCos(ay);
    rz.m[0][0] = FastCos(az), rz.m[0][1] = FastSin(az);
    rz.m[1][0] = -FastSin(az), rz.m[1][1] = FastCos(az);

    Mat4 out, expected, xy;
    Mat4BuildRotationXYZ(0, ay, 0, &out);
    EXPECT_TRUE(SameMatrix(out, ry));
    Mat4BuildRotationXYZ(ax, 1e-6f, az, &out);  // y too small to take part
    Mat4Mul(rx, rz, &expected);
    EXPECT_TRUE(SameMatrix(out, expected));
    Mat4BuildRotationXYZ(ax, ay, az, &out);
    Mat4Mul(rx, ry, &xy);
    Mat4Mul(xy, rz, &expected);
    EXPECT_TRUE(SameMatrix(out, expected));
    Mat4BuildRotationXYZ(-1e-5f, 0, 1e-5f, &out);
    EXPECT_TRUE(SameMatrix(out, kMat4Identity));
}

TEST_F(Math3d, RowVectorsCarryTheTranslationOfTheFourthRow) {
    Mat4 m;
    Mat4Init(&m, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1);
    Vec3 p = {1, 2, 3, 1};
    Vec4MulMat4(p, m, &p);
    EXPECT_EQ(p.x, 8.0f);  // 1*0 + 2*-1 + 10
    EXPECT_EQ(p.y, 21.0f);
    EXPECT_EQ(p.z, 33.0f);
    EXPECT_EQ(p.w, 1.0f);
}

TEST_F(Math3d, FastDistanceFollowsItsIntegerFormula) {
    // 3, 4, 12: a = 3072, b = 4096, c = 12288 -> (12288 + 11 * 128 + 768) >> 10 = 14.
    EXPECT_EQ(FastDistance(3, -4, 12), 14);
    EXPECT_EQ(FastDistance(-12, 3, 4), 14);
    EXPECT_EQ(FastDistance(0, 10, 0), 10);
    // 0.9995 * 1024 = 1023.49 rounds to 1023, just short of 1: the result is 0.
    EXPECT_EQ(FastDistance(0.9995f, 0, 0), 0);
    EXPECT_EQ(FastDistance(1.0f, 0, 0), 1);
    // 100, 100, 100: c = 102400 + 11 * 3200 + 25600 = 163200 -> 159.
    EXPECT_EQ(FastDistance(100, 100, 100), 159);
    EXPECT_EQ(Vec3FastLength({100, -100, 100, 1}), 159.0f);
    Plane3 plane;
    Plane3Init(&plane, {1, 2, 3, 1}, {0, 0, 2, 1}, 1);
    EXPECT_EQ(plane.px, 1.0f);
    EXPECT_EQ(plane.nz, 1.0f);
}

}  // namespace
