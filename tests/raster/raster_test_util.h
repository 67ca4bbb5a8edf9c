// Shared helpers of the rasterizer tests: a 640 x 480 frame and depth buffer and
// triangle records built by hand.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "display/display.h"
#include "engine/render_list.h"
#include "engine/tables.h"
#include "raster/filler.h"

constexpr int32_t kWidth = 640, kHeight = 480;

struct Canvas {
    std::vector<uint16_t> frame = std::vector<uint16_t>(kWidth * kHeight, 0);
    std::vector<uint32_t> depth = std::vector<uint32_t>(kWidth * kHeight, 0);
    uint16_t& At(int32_t x, int32_t y) { return frame[y * kWidth + x]; }
    uint32_t& DepthAt(int32_t x, int32_t y) { return depth[y * kWidth + x]; }
    int Drawn() const {
        return kWidth * kHeight - static_cast<int>(std::count(frame.begin(), frame.end(), 0));
    }
};

struct TestVertex {
    float x, y, z, u, v;
    uint32_t colour;  // 5.6.5
};

// Full-screen clip rectangle and the lookup tables.
inline void RasterTestInit() {
    LookupTablesInit();
    gClipRectangle = {0, 0, kWidth - 1, kHeight - 1};
}

inline RasterTri MakeTri(const TestVertex& a, const TestVertex& b, const TestVertex& c,
                         Texture* texture = nullptr) {
    RasterTri tri;
    std::memset(&tri, 0, sizeof tri);
    tri.state = 1;
    tri.texture = texture;
    const TestVertex* vs[3] = {&a, &b, &c};
    for (int k = 0; k < 3; ++k) {
        tri.tvlist[k] = {vs[k]->x, vs[k]->y, vs[k]->z, 1, 0, 0, 0, 0, vs[k]->u, vs[k]->v, 0, 0};
        tri.litColor[k] = vs[k]->colour;
    }
    return tri;
}

// Member `number` called by name, with the arguments its calling form takes.
inline void FillerCall(int32_t number, RasterTri* tri, uint16_t* frame, int32_t pitch,
                       uint32_t* depth, int32_t depthPitch, int32_t level) {
    const FillerMember& m = FillerMembers[number - 1];
    if (m.fill) m.fill(tri, frame, pitch);
    if (m.fillBlend) m.fillBlend(tri, frame, pitch, level);
    if (m.fillDepth) m.fillDepth(tri, frame, pitch, depth, depthPitch);
    if (m.fillDepthBlend) m.fillDepthBlend(tri, frame, pitch, depth, depthPitch, level);
}

// Draws a copy of `tri` (the members snap the record) with member `number`.
inline void Draw(int32_t number, RasterTri tri, Canvas* canvas, int32_t level = 7) {
    FillerCall(number, &tri, canvas->frame.data(), kWidth * 2, canvas->depth.data(), kWidth * 4,
               level);
}

// The depth clear under which every first surface of a member passes.
inline uint32_t DepthClearFor(int32_t number) {
    return FillerMembers[number - 1].depth == FillerDepth::kGreater ? 0u : 0xFFFFFFFFu;
}

// A 256 x 256 texture whose texels all have red >= 16: with bright vertex colours
// (red >= 16) no pixel of any member comes out 0.
inline Texture* BrightTexture() {
    static uint16_t texels[256 * 256];
    static Texture texture = {256, 256, texels};
    for (int i = 0; i < 256 * 256; ++i)
        texels[i] = static_cast<uint16_t>(0x8000 | (i * 2654435761u >> 17));
    return &texture;
}

inline TestVertex RandomVertex(std::mt19937* rng, float xlo, float xhi, float ylo, float yhi) {
    std::uniform_real_distribution<float> fx(xlo, xhi), fy(ylo, yhi), fz(2, 3000), ft(0, 255);
    std::uniform_int_distribution<uint32_t> colour(0x8000, 0xFFFF);
    return {fx(*rng), fy(*rng), fz(*rng), ft(*rng), ft(*rng), colour(*rng)};
}
