// The render pass: routing of every context and triangle combination, depth modes,
// states, mip levels, sampling and blending decisions, and the untouched list.
#include <gtest/gtest.h>

#include "engine/object3d.h"
#include "engine/render_pass.h"
#include "tests/raster/raster_test_util.h"

namespace {

int32_t MemberWith(FillerDepth depth, FillerShade shade, FillerCoords coords, int blend) {
    for (const FillerMember& m : FillerMembers) {
        if (m.depth == depth && m.shade == shade && m.coords == coords && m.blend == blend)
            return m.number;
    }
    return 0;
}

// The routing told in member properties rather than numbers.
int32_t ExpectedMember(uint32_t ctx, uint32_t attr, int blended, int near) {
    using D = FillerDepth;
    using S = FillerShade;
    using C = FillerCoords;
    const uint32_t mode = ctx & 0xF & (~(ctx & 0xF) + 1);  // the lowest depth bit
    if (!mode) return 0;
    const D depth = mode == 0x1 ? D::kNone : mode == 0x4 ? D::kGreater : D::kLess;
    const bool zSecond = mode == 0x8, inverse = mode == 0x4;
    if (!(attr & kAttrTextured)) {
        if (attr & 0x60) return MemberWith(depth, S::kFlat, C::kNone, blended);
        if (!(attr & kAttrShadeGouraud)) return 0;
        return MemberWith(zSecond && !blended ? D::kWriteOnly : depth, S::kGouraud, C::kNone,
                          blended);
    }
    const uint32_t sampling = ctx & 0xF00 & (~(ctx & 0xF00) + 1);
    if (!sampling) return 0;
    const bool constant = attr & 0x20, flat = !constant && (attr & 0x40);
    S shade = constant ? S::kTextured : flat ? S::kTint : S::kLit;
    C coords = C::kAffine;
    if (inverse && !flat) {
        const uint32_t s = sampling == 0x800 ? (near ? 0x400 : 0x100) : sampling;
        coords = s == 0x200 ? C::kPerspPixel : s == 0x400 ? C::kPerspSpan : C::kAffine;
        if (shade == S::kLit && coords != C::kAffine)
            shade = S::kTint;  // no perspective lit members
    }
    if (inverse && flat && !blended && sampling == 0x800 && !near) shade = S::kLit;  // deliberate
    if (constant && !blended && sampling == 0x100 && (ctx & 0x40)) shade = S::kBilinear;
    const bool ownZSecond =
        zSecond && !blended && sampling == 0x100 && shade != S::kBilinear && shade != S::kLit;
    return MemberWith(ownZSecond ? D::kWriteOnly : depth, shade, coords, blended);
}

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

TEST(Routing, EveryContextAndTriangleCombination) {
    int reached[kFillerCount + 1] = {};
    for (uint32_t ctx = 0; ctx < 0x1000; ctx += (ctx & 0x7F) == 0x7F ? 0x81 : 1) {  // skip 0x80
        for (uint32_t t = 0; t < 32; ++t) {
            const uint32_t attr = (t & 1) * 0x2 + ((t >> 1) & 7) * 0x20 + (t >> 4) * 0x200;
            for (int32_t alpha : {-1, 0}) {
                const int32_t blended = RenderPassIsBlended(ctx, attr, alpha);
                ASSERT_EQ(blended, (ctx & 0x20) && ((attr & 2) || alpha >= 0));
                for (int near : {0, 1}) {
                    const int32_t got = RenderPassChooseFiller(ctx, attr, blended, near);
                    ASSERT_EQ(got, ExpectedMember(ctx, attr, blended, near))
                        << std::hex << "context " << ctx << " attr " << attr << " near " << near;
                    ++reached[got];
                }
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
