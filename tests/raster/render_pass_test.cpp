// The render pass: routing of every context and triangle combination, the depth-mode
// choice, mip levels, sampling, blending decisions and the untouched list.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "engine/object3d.h"
#include "engine/render_pass.h"
#include "raster/lookup_tables.h"
#include "tests/raster/raster_test_util.h"

namespace {

// The member with the given properties, or 0.
int32_t MemberWith(FillerDepth depth, FillerShade shade, FillerCoords coords, int blend) {
    for (const FillerMember& m : FillerMembers) {
        if (m.depth == depth && m.shade == shade && m.coords == coords && m.blend == blend) {
            return m.number;
        }
    }
    return 0;
}

// What the routing should give, told in terms of member properties rather than numbers.
int32_t ExpectedMember(uint32_t ctx, uint32_t attr, int blended, int nearHybrid) {
    const uint32_t depthBit = ctx & 0xF & (~(ctx & 0xF) + 1);  // lowest depth bit set
    if (!depthBit) return 0;
    const FillerDepth depth = depthBit == 0x1   ? FillerDepth::kNone
                              : depthBit == 0x4 ? FillerDepth::kGreater
                                                : FillerDepth::kLess;
    const bool zSecond = depthBit == 0x8, inverse = depthBit == 0x4;
    if (!(attr & 0x200)) {
        if (attr & 0x60) return MemberWith(depth, FillerShade::kFlat, FillerCoords::kNone, blended);
        if (!(attr & 0x80)) return 0;
        const FillerDepth d = zSecond && !blended ? FillerDepth::kWriteOnly : depth;
        return MemberWith(d, FillerShade::kGouraud, FillerCoords::kNone, blended);
    }
    const uint32_t sampling = ctx & 0xF00 & (~(ctx & 0xF00) + 1);
    if (!sampling) return 0;
    const bool constant = attr & 0x20, flat = !constant && (attr & 0x40);
    FillerShade shade = constant ? FillerShade::kTextured
                        : flat   ? FillerShade::kTint
                                 : FillerShade::kLit;
    FillerCoords coords = FillerCoords::kAffine;
    if (inverse && !flat) {
        const uint32_t s = sampling == 0x800 ? (nearHybrid ? 0x400 : 0x100) : sampling;
        coords = s == 0x200   ? FillerCoords::kPerspPixel
                 : s == 0x400 ? FillerCoords::kPerspSpan
                              : FillerCoords::kAffine;
        // There are no perspective Gouraud-lit members: the tinted ones stand in.
        if (shade == FillerShade::kLit && coords != FillerCoords::kAffine)
            shade = FillerShade::kTint;
    }
    if (inverse && flat && !blended && sampling == 0x800 && !nearHybrid) shade = FillerShade::kLit;
    if (constant && !blended && sampling == 0x100 && (ctx & 0x40)) shade = FillerShade::kBilinear;
    FillerDepth d = depth;
    if (zSecond && !blended && sampling == 0x100 && shade != FillerShade::kBilinear &&
        shade != FillerShade::kLit) {
        d = FillerDepth::kWriteOnly;
    }
    return MemberWith(d, shade, coords, blended);
}

}  // namespace

TEST(Routing, EveryContextAndTriangleCombination) {
    int checked = 0, reached[kFillerCount + 1] = {};
    for (uint32_t ctx = 0; ctx < 0x1000; ++ctx) {
        if (ctx & 0x80) continue;  // not a context bit
        for (uint32_t t = 0; t < 32; ++t) {
            const uint32_t attr =
                ((t & 1) ? 0x2 : 0) | ((t >> 1) & 7) << 5 | ((t & 16) ? 0x200 : 0);
            for (int32_t alpha : {-1, 0}) {
                const int32_t blended = RenderPassIsBlended(ctx, attr, alpha);
                EXPECT_EQ(blended, (ctx & 0x20) && ((attr & 2) || alpha >= 0));
                for (int nearHybrid = 0; nearHybrid < 2; ++nearHybrid) {
                    const int32_t got = RenderPassChooseFiller(ctx, attr, blended, nearHybrid);
                    ASSERT_EQ(got, ExpectedMember(ctx, attr, blended, nearHybrid))
                        << std::hex << "context " << ctx << " attr " << attr << " blended "
                        << blended << " near " << nearHybrid;
                    ++reached[got];
                    ++checked;
                }
            }
        }
    }
    EXPECT_GT(checked, 200000);
    for (int32_t n = 1; n <= kFillerCount; ++n) EXPECT_GT(reached[n], 0) << "member " << n;
    // A few rows written out: the deliberate routings and the z-second members.
    EXPECT_EQ(RenderPassChooseFiller(0x804, 0x240, 0, 0), 30);  // flat far hybrid -> Gouraud
    EXPECT_EQ(RenderPassChooseFiller(0x804, 0x240, 0, 1), 29);
    EXPECT_EQ(RenderPassChooseFiller(0x108, 0x220, 0, 0), 41);
    EXPECT_EQ(RenderPassChooseFiller(0x148, 0x220, 0, 0), 2);
    EXPECT_EQ(RenderPassChooseFiller(0x208, 0x240, 0, 0), 3);
    EXPECT_EQ(RenderPassChooseFiller(0x008, 0x080, 0, 0), 43);
    EXPECT_EQ(RenderPassChooseFiller(0x002, 0x040, 0, 0), 44);
    EXPECT_EQ(RenderPassChooseFiller(0x005, 0x040, 0, 0), 6);  // none wins over inverse z
    EXPECT_EQ(RenderPassChooseFiller(0x102, 0x280, 0, 0), 4);  // the show's context
}

namespace {

RenderList gList;

struct PassFixture {
    Canvas canvas;
    RenderContext ctx = {};
    PassFixture(uint32_t attr) {
        RasterTestInit();
        gList.numPolys = 0;
        std::fill(canvas.depth.begin(), canvas.depth.end(), 0xFFFFFFFFu);
        ctx = {attr, &gList, canvas.frame.data(), kWidth * 2, canvas.depth.data(), kWidth * 4, -1,
               1000, 1000};
    }
    RasterTri* Add(const RasterTri& tri, uint32_t attr, uint32_t colour = 0) {
        RasterTri* slot = &gList.polyData[gList.numPolys];
        *slot = tri;
        slot->attr = attr;
        slot->color = colour;
        gList.polyPointers[gList.numPolys++] = slot;
        return slot;
    }
    int Drawn() const {
        return static_cast<int>(std::count_if(canvas.frame.begin(), canvas.frame.end(),
                                              [](uint16_t p) { return p != 0; }));
    }
};

RasterTri Quad(float depth, float uMax = 250) {
    return MakeTri({50, 50, depth, 0, 0, 0xF800}, {450, 60, depth, uMax, 0, 0x07E0},
                   {60, 400, depth, 0, uMax, 0x001F}, BrightTexture());
}

}  // namespace

TEST(RenderPass, DepthModesAndStates) {
    {
        PassFixture f(0x100);  // no depth bit
        f.Add(Quad(10), 0x40);
        RenderPass(&f.ctx);
        EXPECT_EQ(f.Drawn(), 0);
    }
    {
        PassFixture f(0x105);  // none wins over inverse z: the depth buffer is not touched
        f.Add(Quad(10), 0x40);
        RenderPass(&f.ctx);
        EXPECT_GT(f.Drawn(), 0);
        EXPECT_TRUE(std::all_of(f.canvas.depth.begin(), f.canvas.depth.end(),
                                [](uint32_t w) { return w == 0xFFFFFFFFu; }));
    }
    {
        PassFixture f(0x102);
        f.Add(Quad(10), 0x40)->state = kPolyActive | kPolyClipped;
        f.Add(Quad(10), 0x40)->state = kPolyActive | kPolyBackFace;
        f.Add(Quad(10), 0x40)->state = 0;
        f.Add(Quad(10), 0x200)->state = kPolyActive;  // textured without shading: Gouraud lit
        f.Add(Quad(10), 0x100)->state = kPolyActive;  // untextured without shading: skipped
        static RasterTri before[5];
        std::memcpy(before, gList.polyData, sizeof before);
        RenderPass(&f.ctx);
        EXPECT_GT(f.Drawn(), 0);
        EXPECT_EQ(std::memcmp(before, gList.polyData, sizeof before), 0)
            << "the list is not modified (no snapping written back)";
        // Only the textured triangle drew: its Gouraud corners are red, green and blue.
        EXPECT_NE(f.canvas.At(55, 55) & 0xF800, 0);
    }
    {
        PassFixture f(0x104);  // the reciprocal members never see a depth below 0.5
        f.Add(Quad(0.2f), 0x40);
        RenderPass(&f.ctx);
        EXPECT_EQ(f.Drawn(), 0);
    }
}

TEST(RenderPass, TexturedNeedsASamplingBit) {
    PassFixture f(0x2);
    f.Add(Quad(10), 0x220);
    RenderPass(&f.ctx);
    EXPECT_EQ(f.Drawn(), 0);
    f.ctx.attr = 0x802;  // hybrid alone is a sampling bit
    RenderPass(&f.ctx);
    EXPECT_GT(f.Drawn(), 0);
}

TEST(RenderPass, MipLevelFromDepth) {
    // Nine levels, 256 x 256 down to 1 x 1, level k filled with colour k + 1.
    static std::vector<uint16_t> texels[9];
    static Texture levels[9];
    for (int k = 0; k < 9; ++k) {
        const int size = 256 >> k;
        texels[k].assign(size * size, static_cast<uint16_t>((k + 1) << 11));
        levels[k] = {size, size, texels[k].data()};
    }
    const struct {
        uint32_t ctx;
        float depth;
        int level;
    } cases[] = {{0x112, 1000, 8}, {0x112, 5000, 8}, {0x112, 124, 0},
                 {0x112, 125, 1},  {0x112, 260, 2},  {0x102, 1000, 0}};
    for (const auto& k : cases) {
        PassFixture f(k.ctx);
        RasterTri tri = Quad(k.depth, 255.9f);
        tri.texture = levels;
        f.Add(tri, 0x620);  // constant shading, textured, mip-mapped
        RenderPass(&f.ctx);
        EXPECT_EQ(f.canvas.At(100, 100), (k.level + 1) << 11) << k.depth;
        EXPECT_EQ(f.canvas.At(350, 80), (k.level + 1) << 11) << k.depth;  // u halved to fit
    }
}

TEST(RenderPass, BlendDecision) {
    {
        // Alpha override 0 with blending allowed: everything blended at level 0, so the
        // frame stays as it was while the depth is still stored.
        PassFixture f(0x122);
        f.ctx.alphaOverride = 0;
        f.Add(Quad(10), 0x40);
        f.Add(Quad(10), 0x280);
        RenderPass(&f.ctx);
        EXPECT_EQ(f.Drawn(), 0);
        EXPECT_NE(f.canvas.DepthAt(100, 100), 0xFFFFFFFFu);
    }
    {
        // Own alpha: only the transparent triangle blends, at its colour's top byte.
        PassFixture f(0x121);
        std::fill(f.canvas.frame.begin(), f.canvas.frame.end(), 0x07E0);
        f.Add(Quad(10), 0x42, 3u << 24);
        RenderPass(&f.ctx);
        EXPECT_EQ(f.canvas.At(100, 100),
                  static_cast<uint16_t>(BlendTable[3][0xF800] + BlendTable[4][0x07E0]));
        f.ctx.attr = 0x101;  // blending not allowed: plain
        RenderPass(&f.ctx);
        EXPECT_EQ(f.canvas.At(100, 100), 0xF800);
    }
}
