// Table trigonometry, rotation order, normalising, the distance estimate.
#include "engine/math3d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {

class Math3d : public ::testing::Test {
protected:
    static void SetUpTestSuite() { MathTablesInit(); }
};

bool Same(const void* a, const void* b, size_t size) {
    return std::memcmp(a, b, size) == 0;
}

TEST_F(Math3d, TablesUseTheSingleConstantAndLookupsWrapAndInterpolate) {
    EXPECT_EQ(SinTable[30],
              static_cast<float>(std::sin(30 * static_cast<double>(3.1415927f) / 180)));
    EXPECT_EQ(FastSin(-90.0f), SinTable[270]);
    EXPECT_EQ(FastCos(360.0f), CosTable[0]);
    EXPECT_EQ(FastCos(-720.0f), CosTable[0]);
    const double t359 = SinTable[359], t360 = SinTable[360];
    EXPECT_EQ(FastSin(359.5f), static_cast<float>(t359 + 0.5 * (t360 - t359)));
}

TEST_F(Math3d, SubtractionTakesTheFirstFromTheSecond) {
    const Vec3 d = Vec3Sub({1, 2, 3, 7}, {4, 6, 8, 7});
    EXPECT_TRUE(d.x == 3 && d.y == 4 && d.z == 5 && d.w == 1);
    const Vec3 n = Vec3Cross({1, 0, 0, 1}, {0, 0, 1, 1});
    EXPECT_TRUE(n.x == 0 && n.y == -1 && n.z == 0);
}

TEST_F(Math3d, NormalisingBelowThresholdDiffersBetweenTheTwoForms) {
    const Vec3 tiny = {3e-6f, 4e-6f, 0, 9};
    Vec3 inPlace = tiny, out = {5, 5, 5, 1};
    Vec3Normalize(&inPlace);
    EXPECT_TRUE(Same(&inPlace, &tiny, sizeof tiny));
    Vec3NormalizeTo(tiny, &out);
    EXPECT_TRUE(out.x == 0 && out.y == 0 && out.z == 0);
    Vec3 v = {3, 0, 4, 0};
    Vec3NormalizeTo(v, &v);
    EXPECT_FLOAT_EQ(v.x, 0.6f);
    EXPECT_EQ(v.w, 1.0f);
}

TEST_F(Math3d, RotationMultipliesOnlyParticipatingAxesInXyzOrder) {
    const float ax = 30.5f, ay = -47.0f, az = 112.25f;
    Mat4 rx = kMat4Identity, ry = kMat4Identity, rz = kMat4Identity;
    rx.m[1][1] = rx.m[2][2] = FastCos(ax), rx.m[1][2] = FastSin(ax), rx.m[2][1] = -FastSin(ax);
    ry.m[0][0] = ry.m[2][2] = FastCos(ay), ry.m[0][2] = -FastSin(ay), ry.m[2][0] = FastSin(ay);
    rz.m[0][0] = rz.m[1][1] = FastCos(az), rz.m[0][1] = FastSin(az), rz.m[1][0] = -FastSin(az);

    Mat4 out, expected, xy;
    Mat4BuildRotationXYZ(0, ay, 0, &out);
    EXPECT_TRUE(Same(&out, &ry, sizeof out));
    Mat4BuildRotationXYZ(ax, 1e-6f, az, &out);  // y too small to take part
    Mat4Mul(rx, rz, &expected);
    EXPECT_TRUE(Same(&out, &expected, sizeof out));
    Mat4BuildRotationXYZ(ax, ay, az, &out);
    Mat4Mul(rx, ry, &xy);
    Mat4Mul(xy, rz, &expected);
    EXPECT_TRUE(Same(&out, &expected, sizeof out));
    Mat4BuildRotationXYZ(-1e-5f, 0, 1e-5f, &out);
    EXPECT_TRUE(Same(&out, &kMat4Identity, sizeof out));
}

TEST_F(Math3d, FastDistanceFollowsItsIntegerFormula) {
    // 3, 4, 12: a = 3072, b = 4096, c = 12288 -> (12288 + 11 * 128 + 768) >> 10 = 14.
    EXPECT_EQ(FastDistance(3, -4, 12), 14);
    EXPECT_EQ(FastDistance(-12, 3, 4), 14);
    // 0.9995 * 1024 = 1023.49 rounds to 1023, just short of 1.
    EXPECT_EQ(FastDistance(0.9995f, 0, 0), 0);
    EXPECT_EQ(FastDistance(1.0f, 0, 0), 1);
    // 102400 + 11 * 3200 + 25600 = 163200 -> 159.
    EXPECT_EQ(Vec3FastLength({100, -100, 100, 1}), 159.0f);
}

}  // namespace
