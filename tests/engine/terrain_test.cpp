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

// A 2 x 2 map: four vertices, two triangles, and the progress lines in their formats.
TEST(Terrain, TwoByTwoMapGivesFourVerticesAndTwoTrianglesAndLogsThem) {
    const std::string path = ::testing::TempDir() + "terrain_log.txt";
    ASSERT_EQ(DebugLogOpen(path.c_str()), 1);
    const uint8_t samples[] = {0, 255, 255, 51};
    const HeightMap map = {2, 2, samples};
    Object3D obj;
    ASSERT_EQ(Object3DGenerateTerrain(&obj, 100, 200, 50, "hills", "rock", 0x1234, nullptr, nullptr,
                                      kAttrShadeFlat, &map, nullptr),
              1);
    DebugLogOpen(nullptr);
    EXPECT_STREQ(obj.name, "Terrain:hillsrock");
    EXPECT_TRUE(obj.state == (kObjectActive | kObjectVisible) && obj.attr == 0x1);
    ASSERT_TRUE(obj.numVertices == 4 && obj.numPolys == 2);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(obj.vlistLocal[i].attr, kVertexPosition) << i;  // flat
    const int32_t corners[2][3] = {{0, 2, 3}, {0, 3, 1}};
    for (int p = 0; p < 2; ++p) {
        const Poly& poly = obj.plist[p];
        for (int j = 0; j < 3; ++j)
            EXPECT_TRUE(poly.vert[j] == corners[p][j] && poly.text[j] == corners[p][j]);
        EXPECT_TRUE(poly.attr == (kAttrShadeFlat | kAttrTerrain) && poly.color == 0x1234);
        EXPECT_TRUE(poly.state == kPolyActive && poly.vlist == obj.vlistLocal && !poly.texture);
    }
    // |(0, 50, 200) x (100, 10, 200)| = |(8000, 20000, -5000)|.
    EXPECT_FLOAT_EQ(obj.plist[0].normalLength, 22113.344f);
    Object3DDestroy(&obj);
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    std::remove(path.c_str());
    EXPECT_EQ(text.str(),
              "\ncolumns = 2, rows = 2"
              "\ncol_vstep = 100.000000, row_vstep = 200.000000"
              "\ncol_tstep=0.000000, row_tstep=0.000000"
              "\nnum_vertices = 4, num_polys = 2"
              "\nVertex 0: V[-50.000000, 0.000000, -100.000000], T[0.000000, 0.000000]"
              "\nVertex 1: V[50.000000, 50.000000, -100.000000], T[0.000000, 0.000000]"
              "\nVertex 2: V[-50.000000, 50.000000, 100.000000], T[0.000000, 0.000000]"
              "\nVertex 3: V[50.000000, 10.000000, 100.000000], T[0.000000, 0.000000]"
              "\nObject average radius = 117.250526, max radius = 122.474487");
}

TEST(Terrain, TexturedThreeByTwoMapSpansTheTextureAndGetsVertexNormals) {
    ColourPacker = PackRGB565;
    const uint8_t samples[6] = {};
    const HeightMap map = {3, 2, samples};
    const BitmapHeader bitmap = {16, 16, 16};
    Object3D obj;
    ASSERT_EQ(Object3DGenerateTerrain(&obj, 60, 30, 10, "", "", 0x1234, nullptr, nullptr,
                                      kAttrTextured | kAttrShadeGouraud, &map, &bitmap),
              1);
    ASSERT_TRUE(obj.numPolys == 4 && obj.texture && obj.attr == (0x1u | 0x4u));
    // Steps (16 - 1) / (3 - 1) = 7.5 across and 15 down, in the list and the vertices.
    EXPECT_TRUE(obj.tlist[2 * 5] == 15 && obj.tlist[2 * 5 + 1] == 15 && obj.tlist[2 * 1] == 7.5f);
    EXPECT_TRUE(obj.vlistLocal[4].u == 7.5f && obj.vlistLocal[4].v == 15 &&
                obj.vlistLocal[4].z == 15);
    const int32_t second[2][3] = {{1, 4, 5}, {1, 5, 2}};  // cell 1 starts at vertex 1
    for (int p = 0; p < 2; ++p) {
        for (int j = 0; j < 3; ++j) EXPECT_EQ(obj.plist[2 + p].vert[j], second[p][j]);
    }
    for (int p = 0; p < 4; ++p) {
        EXPECT_TRUE(obj.plist[p].texture == obj.texture && obj.plist[p].color == 0xFFFF);
    }
    for (int i = 0; i < 6; ++i) {
        const Vertex3D& v = obj.vlistLocal[i];
        EXPECT_EQ(v.attr, kVertexPosition | kVertexNormal | kVertexTexture);
        EXPECT_TRUE(v.nx == 0 && v.ny == 1 && v.nz == 0 && v.nw == 0);  // flat map: up
    }
    // Checker of 8 x 8 squares: black at the top left, white to its right and below.
    const uint16_t* t = obj.texture->texels;
    EXPECT_TRUE(t[7 * 16 + 7] == 0 && t[8] == 0xFFFF && t[8 * 16] == 0xFFFF && t[8 * 16 + 8] == 0);
    Object3DDestroy(&obj);  // frees the texture too (the leak checker would tell)
}

TEST(Terrain, SlopedCellsAverageTheirUnitNormalsAndOddCheckerRowsSwap) {
    const uint8_t samples[4] = {0, 255, 0, 255};  // both triangles in the plane y = x + 5
    const HeightMap map = {2, 2, samples};
    Object3D obj;
    Object3DGenerateTerrain(&obj, 10, 10, 10, "", "", 0, nullptr, nullptr, kAttrShadeGouraud, &map,
                            nullptr);
    for (int i = 0; i < 4; ++i) {
        EXPECT_FLOAT_EQ(obj.vlistLocal[i].nx, -0.70710677f) << i;
        EXPECT_FLOAT_EQ(obj.vlistLocal[i].ny, 0.70710677f) << i;
    }
    Object3DDestroy(&obj);

    uint16_t pixels[6 * 3] = {0x1111};
    TextureFillChecker(pixels, 6, 0, 1);
    EXPECT_EQ(pixels[0], 0x1111);  // height below 1: nothing written
    TextureFillChecker(pixels, 6, 3, 1);
    const char* rows[] = {"..##..", "..##..", "##..##"};
    for (int i = 0; i < 6 * 3; ++i)
        EXPECT_EQ(pixels[i], rows[i / 6][i % 6] == '#' ? 0xFFFF : 0) << i;
}

}  // namespace
