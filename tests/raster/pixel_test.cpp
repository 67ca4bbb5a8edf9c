// The pixel rules of the members: depth tests and W, blending, bilinear, tint, Gouraud,
// perspective; the member table; the lookup tables and the depth buffer.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/zbuffer.h"
#include "raster/filler_members.h"
#include "raster/lanes.h"
#include "tests/raster/raster_test_util.h"

using namespace raster_detail;

namespace {

// A triangle over rows 100..299 around column 300, all at one depth.
RasterTri Slab(float depth, uint32_t colour, Texture* texture) {
    return MakeTri({100, 100, depth, 10, 10, colour}, {500, 100, depth, 200, 10, colour},
                   {300, 300, depth, 100, 200, colour}, texture);
}

// Draws with constant texture coordinates (u, v) over a small triangle; returns a pixel.
uint16_t Sample(int32_t number, Texture* texture, float u, float v, uint32_t colour) {
    Canvas c;
    Draw(number,
         MakeTri({10, 10, 5, u, v, colour}, {60, 10, 5, u, v, colour}, {10, 60, 5, u, v, colour},
                 texture),
         &c);
    return c.At(20, 20);
}

}  // namespace

TEST(Members, TableMatchesTheFamily) {
    // Per member: depth (N none, L less, G greater, W write only), shade (F flat, T textured,
    // B bilinear, I tint, L lit, G Gouraud), coordinates (- none, A affine, P per pixel,
    // S per span), blend (0/1).
    const char* expected =
        "LTA0 LBA0 LIA0 LLA0 LG-0 NF-0 NTA0 NBA0 NIA0 NLA0 NG-0 NF-1 NTA1 NIA1 NLA1 NG-1 LF-1 "
        "LTA1 LIA1 LLA1 LG-1 GTA0 GBA0 GTP0 GTS0 GIP0 GIS0 GF-0 GIA0 GLA0 GG-0 GF-1 GTA1 GTP1 "
        "GTS1 GIP1 GIS1 GIA1 GLA1 GG-1 WTA0 WIA0 WG-0 LF-0 ";
    std::string got;
    for (const FillerMember& m : FillerMembers) {
        got += "NLGW"[static_cast<int>(m.depth)];
        got += "FTBILG"[static_cast<int>(m.shade)];
        got += "-APS"[static_cast<int>(m.coords)];
        got += static_cast<char>('0' + m.blend);
        got += ' ';
        EXPECT_EQ(m.number, &m - FillerMembers + 1);
        const bool frameOnly = m.fill || m.fillBlend, withDepth = m.fillDepth || m.fillDepthBlend;
        EXPECT_NE(frameOnly, withDepth) << m.name;
        EXPECT_EQ(withDepth, m.depth != FillerDepth::kNone) << m.name;
        EXPECT_EQ(m.fillBlend || m.fillDepthBlend, m.blend == 1) << m.name;
    }
    EXPECT_EQ(got, expected);
}

// Equal depth never overwrites; a nearer surface does; write-only overwrites regardless;
// greater members pass everything through a zero buffer, less members through all ones.
TEST(Members, DepthTestsAreStrict) {
    RasterTestInit();
    static uint16_t dim[256 * 256];
    Texture dimTexture = {256, 256, dim};
    std::fill(dim, dim + 256 * 256, 0x0841);
    for (int32_t n = 1; n <= kFillerCount; ++n) {
        const FillerMember& m = FillerMembers[n - 1];
        if (m.depth == FillerDepth::kNone) continue;
        const bool writeOnly = m.depth == FillerDepth::kWriteOnly;
        Canvas c;
        std::fill(c.depth.begin(), c.depth.end(), DepthClearFor(n));
        Draw(n, Slab(200, 0xF800, BrightTexture()), &c);
        const uint16_t first = c.At(300, 150);
        const uint32_t firstDepth = c.DepthAt(300, 150);
        ASSERT_NE(first, 0) << m.name;
        Draw(n, Slab(200, 0x8410, &dimTexture), &c);
        EXPECT_EQ(c.At(300, 150) == first, !writeOnly) << m.name << ": equal depth";
        Draw(n, Slab(900, 0x07E0, &dimTexture), &c);
        EXPECT_EQ(c.DepthAt(300, 150) == firstDepth, !writeOnly) << m.name << ": farther";
        Draw(n, Slab(50, 0x001F, &dimTexture), &c);
        EXPECT_EQ(c.DepthAt(300, 150) > firstDepth, m.depth == FillerDepth::kGreater) << m.name;
        EXPECT_NE(c.At(300, 150), first) << m.name << ": nearer";
    }
}

// Level 7 (the identity) reproduces the unblended member; level 0 leaves the frame as it
// was and still stores depth. (A middle level is checked through the render pass.)
TEST(Members, BlendLevels) {
    RasterTestInit();
    std::mt19937 rng(3);
    Canvas background;
    for (size_t i = 0; i < background.frame.size(); ++i)
        background.frame[i] = static_cast<uint16_t>(i * 2654435761u >> 7);
    for (const FillerMember& m : FillerMembers) {
        if (!m.blend) continue;
        int32_t plain = 0;
        for (const FillerMember& p : FillerMembers) {
            if (!p.blend && p.depth == m.depth && p.shade == m.shade && p.coords == m.coords)
                plain = p.number;
        }
        ASSERT_NE(plain, 0) << m.name;
        const RasterTri tri =
            MakeTri(RandomVertex(&rng, 0, 640, 0, 480), RandomVertex(&rng, 0, 640, 0, 480),
                    RandomVertex(&rng, 0, 640, 0, 480), BrightTexture());
        std::fill(background.depth.begin(), background.depth.end(), DepthClearFor(m.number));
        Canvas a = background, b = background, z = background;
        Draw(m.number, tri, &a, 7);
        Draw(plain, tri, &b);
        Draw(m.number, tri, &z, 0);
        EXPECT_EQ(a.frame, b.frame) << m.name << " level 7";
        EXPECT_EQ(z.frame, background.frame) << m.name << " level 0";
        EXPECT_EQ(z.depth, a.depth) << m.name << " level 0 stores depth";
    }
}

TEST(Members, BilinearTintAndGouraud) {
    RasterTestInit();
    // Bilinear on a 4 x 8 texture, red and blue = texel index. Constant u, v walk as
    // trunc(u) << 16 plus the half, so each of the four taps weighs a quarter.
    uint16_t texels[32];
    for (int i = 0; i < 32; ++i) texels[i] = static_cast<uint16_t>((i << 11) | i);
    Texture t48 = {4, 8, texels};
    EXPECT_EQ(Sample(8, &t48, 3, 3, 0), texels[15]);       // last column and row repeat
    EXPECT_EQ(Sample(8, &t48, 0, 3, 0), (12 << 11) | 12);  // rows clamp with the width
    EXPECT_EQ(Sample(8, &t48, 1, 1, 0), (7 << 11) | 7);    // (5 + 6 + 9 + 10) / 4 = 7.5
    texels[5] = 0x07E0;
    EXPECT_EQ(Sample(8, &t48, 1, 1, 0), (6 << 11) | (15 << 5) | 6);  // green 63 / 4
    // A white tint darkens slightly (31/32 and 63/64); a red tint keeps only red.
    uint16_t white[4] = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    Texture w = {2, 2, white};
    EXPECT_EQ(Sample(9, &w, 1, 1, 0xFFFF), (30 << 11) | (62 << 5) | 30);
    EXPECT_EQ(Sample(9, &w, 1, 1, 0xF800), 30 << 11);
    // Gouraud: one colour on all corners comes back exactly; lit white under white light
    // gives (31 * 248.5) >> 8 = 30 and (63 * 252.5) >> 8 = 62.
    EXPECT_EQ(Sample(11, nullptr, 0, 0, 0x8A6B), 0x8A6B);
    EXPECT_EQ(Sample(10, &w, 1, 1, 0xFFFF), (30 << 11) | (62 << 5) | 30);
}

// Both perspective designs are exact at the span ends (within one texel: the per-span end
// divides by W >> 6, and lies one pixel step beyond the span's last pixel).
TEST(Members, PerspectivePerPixelAndPerSpanAgreeAtSpanEnds) {
    RasterTestInit();
    static uint16_t texels[64 * 64];
    for (int i = 0; i < 64 * 64; ++i)
        texels[i] = static_cast<uint16_t>(((i & 63) << 5) | ((i >> 6) & 31));
    Texture texture = {64, 64, texels};
    const RasterTri tri = MakeTri({40, 20, 10, 0, 0, 0xFFFF}, {600, 60, 200, 63, 0, 0xFFFF},
                                  {100, 460, 40, 0, 31, 0xFFFF}, &texture);
    Canvas pixel, span;
    Draw(24, tri, &pixel);
    Draw(25, tri, &span);
    int rows = 0;
    for (int32_t y = 0; y < kHeight; ++y) {
        int32_t first = -1, last = -1;
        for (int32_t x = 0; x < kWidth; ++x) {
            if (!pixel.DepthAt(x, y)) continue;
            if (first < 0) first = x;
            last = x;
        }
        if (first < 0) continue;
        ++rows;
        for (int32_t x : {first, last}) {
            for (int shift : {5, 0}) {
                const int mask = shift ? 63 : 31;
                const int p = (pixel.At(x, y) >> shift) & mask, s = (span.At(x, y) >> shift) & mask;
                const int step =
                    x > first ? std::abs(p - ((pixel.At(x - 1, y) >> shift) & mask)) : 0;
                EXPECT_LE(std::abs(p - s), 1 + step) << "row " << y << " column " << x;
            }
        }
    }
    EXPECT_GT(rows, 400);
}

TEST(Tables, Log2AndBlendLevels) {
    RasterTestInit();
    for (int bit = 0; bit <= 10; ++bit) EXPECT_EQ(Log2Table[1 << bit], bit);
    // Rounded to nearest: 31 * 3 / 7 = 13.3, 63 * 3 / 7 = 27, 31 * 4 / 7 = 17.7, 63 * 4 / 7 = 36.
    EXPECT_EQ(BlendTable[3][0xFFFF], (13 << 11) | (27 << 5) | 13);
    EXPECT_EQ(BlendTable[4][0xFFFF], (18 << 11) | (36 << 5) | 18);
    // Level 7 is the identity, level 0 zero, and the two weights of a blend of one pixel
    // with itself give it back: the unchecked add never carries between channels.
    for (int level = 0; level < 8; ++level) {
        for (uint32_t p = 0; p < 65536; ++p) {
            ASSERT_EQ(BlendTable[level][p] + BlendTable[7 - level][p], p) << level << " " << p;
        }
    }
    EXPECT_EQ(BlendTable[7][0x1234], 0x1234);
}

TEST(ZBuffer, CreateAndClear) {
    ZBuffer zb = {};
    EXPECT_EQ(ZBufferCreate(nullptr, 640, 480, kZBuffer32), 0);
    EXPECT_EQ(ZBufferCreate(&zb, 640, 480, 0x40), 0);
    EXPECT_EQ(ZBufferCreate(&zb, 0, 480, kZBuffer32), 0);
    // 16-bit entries: half the words, each pair of entries gets the value's two halves.
    for (uint32_t format : {kZBuffer32, kZBuffer16}) {
        ASSERT_EQ(ZBufferCreate(&zb, 640, 480, format), 1);
        EXPECT_EQ(zb.sizeWords, format == kZBuffer32 ? 640 * 480 : 640 * 480 / 2);
        ZBufferClear(&zb, 0x12345678);
        EXPECT_EQ(std::count(zb.buffer, zb.buffer + zb.sizeWords, 0x12345678u), zb.sizeWords);
    }
    std::free(zb.buffer);
}

// Scalar rules only: the reference the lanes are held to.
struct LanesNone {
    static constexpr bool kWide = false;
    static constexpr bool kMultiply = false;
    static constexpr bool kLanes = false;
};

// Every member draws the same pixels and depths through its lanes, plain and wide (where
// the processor has them), as through its scalar rules: random triangles of every size,
// many of their spans long, some cut by the clip rectangle.
TEST(Members, LanesDrawAsTheScalarRules) {
    RasterTestInit();
    const bool wide = LanesChoose(1);
    LanesChoose(0);
    std::mt19937 rng(11);
    std::vector<RasterDraw> tris;
    for (int t = 0; t < 60; ++t) {
        const float size = t % 3 == 0 ? 700 : t % 3 == 1 ? 120 : 25;
        RasterTri tri = MakeTri(RandomVertex(&rng, -40, size, -40, size),
                                RandomVertex(&rng, -40, size, -40, size),
                                RandomVertex(&rng, -40, size, -40, size), BrightTexture());
        RasterDraw draw;
        RasterDrawFromTri(&tri, &draw);
        tris.push_back(draw);
    }
    auto run = [&](auto member, int form, Canvas* c) {
        using M = decltype(member);
        for (uint32_t& d : c->depth) d = DepthClearFor(1) ^ 0x5A5A5A5Au;
        for (const RasterDraw& tri : tris) {
            uint16_t* f = c->frame.data();
            uint32_t* z = c->depth.data();
            if (form == 0)
                FillTriangle<M, LanesNone>(tri, f, kWidth * 2, z, kWidth * 4, 5, gClipRectangle);
            if (form == 1) FillPlain<M>(tri, f, kWidth * 2, z, kWidth * 4, 5, gClipRectangle);
            if (form == 2) FillWide<M>(tri, f, kWidth * 2, z, kWidth * 4, 5, gClipRectangle);
        }
    };
    auto check = [&](auto member, int number) {
        Canvas scalar, plain;
        run(member, 0, &scalar);
        run(member, 1, &plain);
        EXPECT_TRUE(plain.frame == scalar.frame && plain.depth == scalar.depth) << number;
        if (!wide) return;
        Canvas wider;
        run(member, 2, &wider);
        EXPECT_TRUE(wider.frame == scalar.frame && wider.depth == scalar.depth) << number;
    };
    [&]<std::size_t... I>(std::index_sequence<I...>) {
        (check(FillerMemberType<I + 1>{}, I + 1), ...);
    }
    (std::make_index_sequence<kFillerCount>{});
    if (!wide) GTEST_SKIP() << "no AVX2 here: the wide form was not checked";
}
