// A hand-built scene through the render pass with the show's context (0x102: depth z,
// affine sampling): a rolling checkerboard landscape lit per vertex and a Gouraud
// pyramid standing in it. Written to raster_scene.png in the test's working folder.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "engine/object3d.h"
#include "engine/render_pass.h"
#include "tests/raster/raster_test_util.h"
#include "tools/common/png_image.h"

namespace {

RenderList gSceneList;

struct Point3 {
    double x, y, z;
};

double Height(double x, double z) {
    return 26 * std::sin(x * 0.02) * std::cos(z * 0.025) - 30;
}

// Pinhole projection of a camera at the origin looking down +z.
TestVertex Project(const Point3& p, double u, double v, uint32_t colour) {
    const double f = 400;
    return {static_cast<float>(320 + f * p.x / p.z),
            static_cast<float>(240 - f * p.y / p.z),
            static_cast<float>(p.z),
            static_cast<float>(u),
            static_cast<float>(v),
            colour};
}

// Lambert light from the upper left plus ambient, as a 5.6.5 lit colour.
uint32_t Light(const Point3& normal) {
    const double lx = -0.8, ly = 0.45, lz = 0.3, len = std::sqrt(lx * lx + ly * ly + lz * lz);
    const double n = std::sqrt(normal.x * normal.x + normal.y * normal.y + normal.z * normal.z);
    const double d = std::max(0.0, (normal.x * lx + normal.y * ly + normal.z * lz) / (len * n));
    const double i = std::min(1.0, 0.15 + 0.85 * d);
    const uint32_t r = static_cast<uint32_t>(255 * i), g = static_cast<uint32_t>(235 * i),
                   b = static_cast<uint32_t>(200 * i);
    return ((r >> 3) << 11) | ((g >> 2) << 5) | (b >> 3);
}

void Add(const RasterTri& tri, uint32_t attr) {
    RasterTri* slot = &gSceneList.polyData[gSceneList.numPolys];
    *slot = tri;
    slot->attr = attr;
    gSceneList.polyPointers[gSceneList.numPolys++] = slot;
}

}  // namespace

TEST(Scene, TexturedGouraudLandscape) {
    RasterTestInit();
    static uint16_t texels[256 * 256];
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const bool light = ((x >> 6) ^ (y >> 6)) & 1;
            texels[y * 256 + x] = light ? 0xEF5D : 0x4A69;
        }
    }
    Texture texture = {256, 256, texels};
    gSceneList.numPolys = 0;

    // Landscape: 24 x 24 cells of 20 units, each cell carrying the whole texture.
    const double cell = 20;
    for (int j = 0; j < 24; ++j) {
        for (int i = 0; i < 24; ++i) {
            Point3 p[4];
            TestVertex v[4];
            const double uv[4][2] = {{0, 0}, {255, 0}, {255, 255}, {0, 255}};
            for (int k = 0; k < 4; ++k) {
                const double x = -240 + (i + (k == 1 || k == 2)) * cell;
                const double z = 25 + (j + (k >= 2)) * cell;
                p[k] = {x, Height(x, z), z};
                const Point3 normal = {-26 * 0.02 * std::cos(x * 0.02) * std::cos(z * 0.025), 1,
                                       26 * 0.025 * std::sin(x * 0.02) * std::sin(z * 0.025)};
                v[k] = Project(p[k], uv[k][0], uv[k][1], Light(normal));
            }
            Add(MakeTri(v[0], v[1], v[2], &texture), kAttrShadeGouraud | kAttrTextured);
            Add(MakeTri(v[0], v[2], v[3], &texture), kAttrShadeGouraud | kAttrTextured);
        }
    }
    // A four-sided pyramid with a Gouraud colour per corner.
    const Point3 apex = {30, 40, 170}, base[4] = {{-10, Height(-10, 130), 130},
                                                  {70, Height(70, 130), 130},
                                                  {70, Height(70, 210), 210},
                                                  {-10, Height(-10, 210), 210}};
    const uint32_t colours[4] = {0xF800, 0x07E0, 0x001F, 0xFFE0};
    for (int k = 0; k < 4; ++k) {
        Add(MakeTri(Project(apex, 0, 0, 0xFFFF), Project(base[k], 0, 0, colours[k]),
                    Project(base[(k + 1) % 4], 0, 0, colours[(k + 1) % 4])),
            kAttrShadeGouraud);
    }

    Canvas canvas;
    std::fill(canvas.frame.begin(), canvas.frame.end(), 0x3A7F);  // sky
    std::fill(canvas.depth.begin(), canvas.depth.end(), 0x3E800000u);
    const RenderContext context = {
        0x102, &gSceneList, canvas.frame.data(), kWidth * 2, canvas.depth.data(), kWidth * 4, -1,
        0,     1000};
    ASSERT_EQ(RenderPass(&context), 1);

    char error[256] = "";
    ASSERT_EQ(PngWriteRgb565("raster_scene.png", canvas.frame.data(), kWidth, kHeight, kWidth * 2,
                             error, sizeof error),
              1)
        << error;

    // The picture has landscape below the horizon, sky above it and many shades.
    std::set<uint16_t> shades(canvas.frame.begin(), canvas.frame.end());
    EXPECT_GT(shades.size(), 100u);
    EXPECT_EQ(canvas.At(320, 5), 0x3A7F);
    EXPECT_NE(canvas.At(320, 470), 0x3A7F);
    EXPECT_NE(canvas.At(320, 300), 0x3A7F);
    // The pyramid's apex region is in front of the landscape.
    EXPECT_LT(canvas.DepthAt(390, 250), 0x3E800000u);
}
