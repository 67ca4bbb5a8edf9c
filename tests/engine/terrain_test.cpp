// The terrain generator on small maps, its checker texture and its log lines.
#include "engine/terrain.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "display/colour.h"
#include "display/debug_log.h"

namespace {

TEST(Terrain, TwoByTwoMapGivesFourVerticesAndTwoTriangles) {
    ColourPacker = PackRGB565;
    const uint8_t samples[] = {0, 255, 255, 51};
    const HeightMap map = {2, 2, samples};
    const Vec3 pos = {5, 6, 7, 1};
    Object3D obj;
    ASSERT_EQ(Object3DGenerateTerrain(&obj, 100, 200, 50, "hills", "rock", 0x1234, &pos, nullptr,
                                      kAttrShadeFlat, &map, nullptr),
              1);
    EXPECT_STREQ(obj.name, "Terrain:hillsrock");
    EXPECT_EQ(obj.state, kObjectActive | kObjectVisible);
    EXPECT_EQ(obj.attr, 0x1u);
    EXPECT_EQ(obj.worldPos.z, 7.0f);
    ASSERT_EQ(obj.numVertices, 4);
    ASSERT_EQ(obj.numPolys, 2);
    const float expected[4][3] = {{-50, 0, -100}, {50, 50, -100}, {-50, 50, 100}, {50, 10, 100}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(obj.vlistLocal[i].x, expected[i][0]) << i;
        EXPECT_EQ(obj.vlistLocal[i].y, expected[i][1]) << i;
        EXPECT_EQ(obj.vlistLocal[i].z, expected[i][2]) << i;
        EXPECT_EQ(obj.vlistLocal[i].attr, kVertexPosition) << i;  // flat: no normals wanted
    }
    const int32_t corners[2][3] = {{0, 2, 3}, {0, 3, 1}};
    for (int p = 0; p < 2; ++p) {
        const Poly& poly = obj.plist[p];
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(poly.vert[j], corners[p][j]);
            EXPECT_EQ(poly.text[j], corners[p][j]);
        }
        EXPECT_EQ(poly.attr, kAttrShadeFlat | kAttrTerrain);
        EXPECT_EQ(poly.color, 0x1234u);
        EXPECT_EQ(poly.state, kPolyActive);
        EXPECT_EQ(poly.vlist, obj.vlistLocal);
        EXPECT_EQ(poly.texture, nullptr);
    }
    // (P1 - P0) x (P2 - P0) of the first triangle: (0, 50, 200) x (100, 10, 200).
    const Vec3 n = Vec3Cross({0, 50, 200, 1}, {100, 10, 200, 1});
    EXPECT_EQ(obj.plist[0].normalLength, static_cast<float>(Vec3Length(n)));
    const double r0 = Vec3Length({-50, 0, -100, 1}), r1 = Vec3Length({50, 50, -100, 1});
    const double r3 = Vec3Length({50, 10, 100, 1});
    EXPECT_EQ(obj.maxRadius[0], static_cast<float>(r1));
    EXPECT_EQ(obj.avgRadius[0], static_cast<float>((r0 + r1 + r1 + r3) / 4));
    Object3DDestroy(&obj);
}

TEST(Terrain, TexturedThreeByTwoMapSpansTheTextureAndGetsVertexNormals) {
    ColourPacker = PackRGB565;
    const uint8_t samples[6] = {};
    const HeightMap map = {3, 2, samples};
    const BitmapHeader bitmap = {16, 16, 16};
    const Vec3 origin = {0, 0, 0, 0};
    Object3D obj;
    ASSERT_EQ(Object3DGenerateTerrain(&obj, 60, 30, 10, "", "", 0x1234, &origin, nullptr,
                                      kAttrTextured | kAttrShadeGouraud, &map, &bitmap),
              1);
    ASSERT_EQ(obj.numPolys, 4);
    EXPECT_EQ(obj.attr, 0x1u | 0x4u);
    ASSERT_NE(obj.texture, nullptr);
    EXPECT_EQ(obj.texture->width, 16);
    // Steps: (16 - 1) / (3 - 1) = 7.5 across, 15 down.
    EXPECT_EQ(obj.tlist[2 * 5], 15.0f);
    EXPECT_EQ(obj.tlist[2 * 5 + 1], 15.0f);
    EXPECT_EQ(obj.tlist[2 * 1], 7.5f);
    EXPECT_EQ(obj.vlistLocal[4].u, 7.5f);
    EXPECT_EQ(obj.vlistLocal[4].v, 15.0f);
    EXPECT_EQ(obj.vlistLocal[4].x, 0.0f);
    EXPECT_EQ(obj.vlistLocal[5].z, 15.0f);
    const int32_t second[2][3] = {{1, 4, 5}, {1, 5, 2}};  // cell 1 starts at vertex 1
    for (int p = 0; p < 2; ++p) {
        for (int j = 0; j < 3; ++j) EXPECT_EQ(obj.plist[2 + p].vert[j], second[p][j]);
    }
    for (int p = 0; p < 4; ++p) {
        EXPECT_EQ(obj.plist[p].texture, obj.texture);
        EXPECT_EQ(obj.plist[p].color, PackRGB565(255, 255, 255));
        EXPECT_EQ(obj.plist[p].attr, kAttrTextured | kAttrShadeGouraud | kAttrTerrain);
    }
    for (int i = 0; i < 6; ++i) {
        const Vertex3D& v = obj.vlistLocal[i];
        EXPECT_EQ(v.attr, kVertexPosition | kVertexNormal | kVertexTexture);
        EXPECT_EQ(v.nx, 0.0f);  // a flat map faces straight up
        EXPECT_EQ(v.ny, 1.0f);
        EXPECT_EQ(v.nz, 0.0f);
    }
    // Checker of 8 x 8 squares: black at the top left, white to its right and below.
    const uint16_t* t = obj.texture->texels;
    EXPECT_EQ(t[0], 0x0000);
    EXPECT_EQ(t[7 * 16 + 7], 0x0000);
    EXPECT_EQ(t[8], 0xFFFF);
    EXPECT_EQ(t[8 * 16], 0xFFFF);
    EXPECT_EQ(t[8 * 16 + 8], 0x0000);
    Object3DDestroy(&obj);  // frees the texture too (the leak checker would see it)
}

TEST(Terrain, SlopedCellsAverageTheirUnitNormals) {
    const uint8_t samples[4] = {0, 255, 0, 255};  // rises along x only
    const HeightMap map = {2, 2, samples};
    Object3D obj;
    ASSERT_EQ(Object3DGenerateTerrain(&obj, 10, 10, 10, "", "", 0, nullptr, nullptr,
                                      kAttrShadeGouraud, &map, nullptr),
              1);
    // Both triangles lie in the plane y = x + 5: every normal is (-1, 1, 0) / sqrt 2.
    for (int i = 0; i < 4; ++i) {
        EXPECT_FLOAT_EQ(obj.vlistLocal[i].nx, -0.70710677f) << i;
        EXPECT_FLOAT_EQ(obj.vlistLocal[i].ny, 0.70710677f) << i;
        EXPECT_EQ(obj.vlistLocal[i].nw, 0.0f);
    }
    Object3DDestroy(&obj);
}

TEST(Terrain, CheckerAlternatesAlongRowsAndSwapsEveryBand) {
    uint16_t pixels[6 * 5];
    for (uint16_t& p : pixels) p = 0x1111;
    EXPECT_EQ(TextureFillChecker(pixels, 6, 0, 1), 1);
    EXPECT_EQ(pixels[0], 0x1111);         // height below 1: nothing written
    TextureFillChecker(pixels, 6, 5, 1);  // squares of 2 x 2
    const char* rows[] = {"..##..", "..##..", "##..##", "##..##", "..##.."};
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 6; ++x) {
            EXPECT_EQ(pixels[y * 6 + x], rows[y][x] == '#' ? 0xFFFF : 0x0000) << x << "," << y;
        }
    }
}

TEST(Terrain, ProgressGoesToTheLogInItsFormats) {
    const std::string path = ::testing::TempDir() + "terrain_log.txt";
    ASSERT_EQ(DebugLogOpen(path.c_str()), 1);
    const uint8_t samples[4] = {0, 0, 0, 255};
    const HeightMap map = {2, 2, samples};
    Object3D obj;
    Object3DGenerateTerrain(&obj, 2, 2, 1, "", "", 0, nullptr, nullptr, 0, &map, nullptr);
    DebugLogOpen(nullptr);
    Object3DDestroy(&obj);
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(),
              "\ncolumns = 2, rows = 2"
              "\ncol_vstep = 2.000000, row_vstep = 2.000000"
              "\ncol_tstep=0.000000, row_tstep=0.000000"
              "\nnum_vertices = 4, num_polys = 2"
              "\nVertex 0: V[-1.000000, 0.000000, -1.000000], T[0.000000, 0.000000]"
              "\nVertex 1: V[1.000000, 0.000000, -1.000000], T[0.000000, 0.000000]"
              "\nVertex 2: V[-1.000000, 0.000000, 1.000000], T[0.000000, 0.000000]"
              "\nVertex 3: V[1.000000, 1.000000, 1.000000], T[0.000000, 0.000000]"
              "\nObject average radius = 1.493673, max radius = 1.732051");
    std::remove(path.c_str());
}

}  // namespace
