// The render pass: routing of every context and triangle combination, depth modes,
// states, mip levels, sampling and blending decisions, and the untouched list.
#include <gtest/gtest.h>

#include "engine/object3d.h"
#include "engine/render_pass.h"
#include "tests/raster/raster_test_util.h"

namespace {

RenderList gList;

struct Pass {
    Canvas canvas;
    RenderContext ctx;
    explicit Pass(uint32_t attr) {
        RasterTestInit();
        gList.numPolys = 0;
        std::fill(canvas.depth.begin(), canvas.depth.end(), 0xFFFFFFFFu);
        ctx = {attr, &gList, canvas.frame.data(), kWidth * 2, canvas.depth.data(), kWidth * 4, -1,
               1000, 1000};
    }
    RasterTri* Add(uint32_t attr, float depth = 10, uint32_t colour = 0,
                   Texture* texture = BrightTexture()) {
        RasterTri* slot = &gList.polyData[gList.numPolys];
        *slot = MakeTri({50, 50, depth, 0, 0, 0xF800}, {450, 60, depth, 255.9f, 0, 0x07E0},
                        {60, 400, depth, 0, 255.9f, 0x001F}, texture);
        slot->attr = attr;
        slot->color = colour;
        gList.polyPointers[gList.numPolys++] = slot;
        return slot;
    }
};

}  // namespace

// The routing of the filler table, case by case: context bits, triangle attributes,
// blended, near (hybrid) -> member.
TEST(Routing, TheFillerTableAndEveryMemberReached) {
    const struct {
        uint32_t ctx, attr;
        int blended, near;
        int32_t member;
    } cases[] = {
        {0x102, 0x40, 0, 0, 44},  {0x108, 0x40, 0, 0, 44},  {0x102, 0x20, 1, 0, 17},
        {0x102, 0x80, 0, 0, 5},   {0x108, 0x80, 0, 0, 43},  {0x108, 0x80, 1, 0, 21},
        {0x101, 0x40, 0, 0, 6},   {0x101, 0x80, 1, 0, 16},  {0x104, 0x40, 0, 0, 28},
        {0x104, 0x80, 1, 0, 40},  {0x102, 0x100, 0, 0, 0},  {0x142, 0x220, 0, 0, 2},
        {0x102, 0x220, 0, 0, 1},  {0x202, 0x220, 0, 0, 1},  {0x108, 0x220, 0, 0, 41},
        {0x148, 0x220, 0, 0, 2},  {0x408, 0x220, 0, 0, 1},  {0x108, 0x240, 0, 0, 42},
        {0x208, 0x240, 0, 0, 3},  {0x108, 0x280, 0, 0, 4},  {0x104, 0x220, 0, 0, 22},
        {0x204, 0x220, 0, 0, 24}, {0x404, 0x220, 0, 0, 25}, {0x804, 0x220, 0, 1, 25},
        {0x804, 0x220, 0, 0, 22}, {0x204, 0x280, 0, 0, 26}, {0x804, 0x240, 0, 1, 29},
        {0x804, 0x240, 0, 0, 30}, {0x804, 0x280, 0, 0, 30}, {0x404, 0x280, 1, 0, 37},
        {0x204, 0x240, 1, 0, 38}, {0x101, 0x280, 1, 0, 15}, {0x102, 0x240, 1, 0, 19},
        {0x002, 0x220, 0, 0, 0},  {0x100, 0x40, 0, 0, 0},   {0x105, 0x40, 0, 0, 6},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(RenderPassChooseFiller(c.ctx, c.attr, c.blended, c.near), c.member)
            << std::hex << "context " << c.ctx << " attr " << c.attr << " blended " << c.blended;
    }
    int reached[kFillerCount + 1] = {};
    for (uint32_t ctx = 0; ctx < 0x1000; ++ctx) {
        for (uint32_t attr = 0; attr < 0x400; attr += 0x20) {
            for (int32_t alpha : {-1, 0}) {
                const int32_t blended = RenderPassIsBlended(ctx, attr | 2, alpha);
                ASSERT_EQ(blended, (ctx & 0x20) != 0);
                for (int near : {0, 1}) ++reached[RenderPassChooseFiller(ctx, attr, blended, near)];
            }
        }
    }
    for (int32_t n = 1; n <= kFillerCount; ++n) EXPECT_GT(reached[n], 0) << "member " << n;
}

TEST(RenderPass, WhatIsDrawnAndTheUntouchedList) {
    const struct {
        uint32_t ctx, attr;
        float depth;
        bool drawn, depthStored;
        const char* why;
    } cases[] = {{0x100, 0x40, 10, false, false, "no depth bit: nothing drawn"},
                 {0x105, 0x40, 10, true, false, "none wins over inverse z"},
                 {0x104, 0x40, 0.2f, false, false, "greater members never get a depth below 0.5"},
                 {0x002, 0x220, 10, false, false, "a textured triangle needs a sampling bit"},
                 {0x802, 0x220, 10, true, true, "hybrid alone is one"}};
    for (const auto& c : cases) {
        Pass p(c.ctx);
        p.Add(c.attr, c.depth);
        RenderPass(&p.ctx);
        EXPECT_EQ(p.canvas.Drawn() > 0, c.drawn) << c.why;
        const auto cleared = std::count(p.canvas.depth.begin(), p.canvas.depth.end(), 0xFFFFFFFFu);
        EXPECT_EQ(cleared < kWidth * kHeight, c.depthStored) << c.why;
    }

    // Without a locked FrameBuffer (the display did not start) nothing is drawn, though
    // the clip rectangle still spans the whole screen.
    Pass unlocked(0x102);
    unlocked.Add(0x40);
    unlocked.ctx.frame = nullptr;
    EXPECT_EQ(RenderPass(&unlocked.ctx), 0);
    EXPECT_EQ(std::count(unlocked.canvas.depth.begin(), unlocked.canvas.depth.end(), 0xFFFFFFFFu),
              kWidth * kHeight);

    Pass p(0x102);
    p.Add(0x40)->state = kPolyActive | kPolyClipped;
    p.Add(0x40)->state = kPolyActive | kPolyBackFace;
    p.Add(0x40)->state = 0;
    p.Add(0x100);  // untextured without a shading bit: skipped
    p.Add(0x200);  // textured without a shading bit: Gouraud lit
    static RasterTri before[5];
    std::memcpy(before, gList.polyData, sizeof before);
    RenderPass(&p.ctx);
    EXPECT_EQ(std::memcmp(before, gList.polyData, sizeof before), 0) << "the list is not modified";
    EXPECT_GT(p.canvas.Drawn(), 0);
    EXPECT_EQ(p.canvas.At(55, 55) & 0x07FF, 0)
        << "only the lit textured triangle (red corner) drew";
}

TEST(RenderPass, MipLevelFromDepth) {
    // Nine levels, 256 x 256 down to 1 x 1, level k filled with red k + 1.
    static std::vector<uint16_t> texels[9];
    static Texture levels[9];
    for (int k = 0; k < 9; ++k) {
        texels[k].assign((256 >> k) * (256 >> k), static_cast<uint16_t>((k + 1) << 11));
        levels[k] = {256 >> k, 256 >> k, texels[k].data()};
    }
    // levels = 8, mip distance 1000: level = trunc(8 * depth / 1000), at most 8.
    const float depths[] = {1000, 5000, 124, 125, 260, 1000};
    const int expected[] = {8, 8, 0, 1, 2, 0};
    for (int k = 0; k < 6; ++k) {
        Pass p(k < 5 ? 0x112 : 0x102);  // the last without mip-mapping allowed
        p.Add(kAttrMipMapped | kAttrTextured | kAttrShadeConstant, depths[k], 0, levels);
        RenderPass(&p.ctx);
        EXPECT_EQ(p.canvas.At(100, 100), (expected[k] + 1) << 11) << depths[k];
        EXPECT_EQ(p.canvas.At(350, 80), (expected[k] + 1) << 11) << depths[k];  // u halved to fit
    }
}

TEST(RenderPass, BlendDecision) {
    // Alpha override 0 with blending allowed blends everything at level 0: the frame stays
    // as it was while the depth is still stored.
    Pass zero(0x122);
    zero.ctx.alphaOverride = 0;
    zero.Add(0x40);
    zero.Add(0x280);
    RenderPass(&zero.ctx);
    EXPECT_EQ(zero.canvas.Drawn(), 0);
    EXPECT_NE(zero.canvas.DepthAt(100, 100), 0xFFFFFFFFu);

    // Own alpha: the transparent triangle blends at its colour's top byte; without the
    // context's blending bit it is drawn plain.
    Pass own(0x121);
    std::fill(own.canvas.frame.begin(), own.canvas.frame.end(), 0x07E0);
    own.Add(0x42, 10, 3u << 24);
    RenderPass(&own.ctx);
    EXPECT_EQ(own.canvas.At(100, 100),
              static_cast<uint16_t>(BlendTable[3][0xF800] + BlendTable[4][0x07E0]));
    own.ctx.attr = 0x101;
    RenderPass(&own.ctx);
    EXPECT_EQ(own.canvas.At(100, 100), 0xF800);
}
