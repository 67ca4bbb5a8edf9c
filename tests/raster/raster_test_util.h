// Shared helpers of the rasterizer tests: a 640 x 480 frame and depth buffer, triangle
// records built by hand, and a test texture.
#pragma once
#include <cstdint>
#include <random>
#include <vector>

#include "engine/render_list.h"
#include "engine/texture.h"
#include "raster/filler.h"

constexpr int32_t kWidth = 640, kHeight = 480;

struct Canvas {
    std::vector<uint16_t> frame = std::vector<uint16_t>(kWidth * kHeight, 0);
    std::vector<uint32_t> depth = std::vector<uint32_t>(kWidth * kHeight, 0);
    uint16_t& At(int32_t x, int32_t y) { return frame[y * kWidth + x]; }
    uint32_t& DepthAt(int32_t x, int32_t y) { return depth[y * kWidth + x]; }
};

// Screen vertex: x, y, depth, u, v and its 5.6.5 colour.
struct TestVertex {
    float x, y, z, u, v;
    uint32_t colour;
};

// Full screen clip rectangle and the lookup tables; call at the start of every test.
void RasterTestInit();

RasterTri MakeTri(const TestVertex& a, const TestVertex& b, const TestVertex& c,
                  Texture* texture = nullptr);

// Draws `tri` (a copy: fillers snap the record) with member `number`.
void Draw(int32_t number, RasterTri tri, Canvas* canvas, int32_t level = 7);

// A 256 x 256 texture whose texels all have red 16..31, so no textured, tinted or lit pixel
// of a bright triangle comes out 0.
Texture* BrightTexture();

// Random triangle with vertices in [lo, hi) x [lo, hi) scaled to the screen, depths in
// [zlo, zhi), u and v within the 256 texture and bright colours.
TestVertex RandomVertex(std::mt19937* rng, float xlo, float xhi, float ylo, float yhi);

// The clear value of the depth buffer under which every first surface of `depth` passes.
uint32_t DepthClearFor(FillerDepth depth);
