// The pixel rules of the members: depth tests, W, blending, bilinear, tint, Gouraud,
// perspective; the member table; the lookup tables and the depth buffer.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "engine/tables.h"
#include "engine/zbuffer.h"
#include "tests/raster/raster_test_util.h"

namespace {

constexpr FillerDepth N = FillerDepth::kNone, L = FillerDepth::kLess, G = FillerDepth::kGreater,
                      W = FillerDepth::kWriteOnly;
constexpr FillerShade F = FillerShade::kFlat, T = FillerShade::kTextured,
                      B = FillerShade::kBilinear, Ti = FillerShade::kTint, Li = FillerShade::kLit,
                      Go = FillerShade::kGouraud;
constexpr FillerCoords X = FillerCoords::kNone, A = FillerCoords::kAffine,
                       PP = FillerCoords::kPerspPixel, PS = FillerCoords::kPerspSpan;

// A triangle covering the rows 100..299 around column 300 at one depth.
RasterTri Slab(float depth, uint32_t colour, Texture* texture = BrightTexture()) {
    return MakeTri({100, 100, depth, 10, 10, colour}, {500, 100, depth, 200, 10, colour},
                   {300, 300, depth, 100, 200, colour}, texture);
}

Texture* DimTexture() {
    static uint16_t texels[256 * 256];
    static Texture texture = {256, 256, texels};
    std::fill(texels, texels + 256 * 256, 0x0841);
    return &texture;
}

}  // namespace

TEST(Members, TableMatchesTheFamily) {
    const struct {
        FillerDepth depth;
        FillerShade shade;
        FillerCoords coords;
        int blend;
    } expected[kFillerCount] = {
        {L, T, A, 0},   {L, B, A, 0},   {L, Ti, A, 0}, {L, Li, A, 0}, {L, Go, X, 0},
        {N, F, X, 0},   {N, T, A, 0},   {N, B, A, 0},  {N, Ti, A, 0}, {N, Li, A, 0},
        {N, Go, X, 0},  {N, F, X, 1},   {N, T, A, 1},  {N, Ti, A, 1}, {N, Li, A, 1},
        {N, Go, X, 1},  {L, F, X, 1},   {L, T, A, 1},  {L, Ti, A, 1}, {L, Li, A, 1},
        {L, Go, X, 1},  {G, T, A, 0},   {G, B, A, 0},  {G, T, PP, 0}, {G, T, PS, 0},
        {G, Ti, PP, 0}, {G, Ti, PS, 0}, {G, F, X, 0},  {G, Ti, A, 0}, {G, Li, A, 0},
        {G, Go, X, 0},  {G, F, X, 1},   {G, T, A, 1},  {G, T, PP, 1}, {G, T, PS, 1},
        {G, Ti, PP, 1}, {G, Ti, PS, 1}, {G, Ti, A, 1}, {G, Li, A, 1}, {G, Go, X, 1},
        {W, T, A, 0},   {W, Ti, A, 0},  {W, Go, X, 0}, {L, F, X, 0},
    };
    for (int32_t i = 0; i < kFillerCount; ++i) {
        const FillerMember& m = FillerMembers[i];
        EXPECT_EQ(m.number, i + 1);
        EXPECT_EQ(m.depth, expected[i].depth) << m.name;
        EXPECT_EQ(m.shade, expected[i].shade) << m.name;
        EXPECT_EQ(m.coords, expected[i].coords) << m.name;
        EXPECT_EQ(m.blend, expected[i].blend) << m.name;
        const int forms = (m.fill != nullptr) + (m.fillBlend != nullptr) +
                          (m.fillDepth != nullptr) + (m.fillDepthBlend != nullptr);
        EXPECT_EQ(forms, 1) << m.name;
        EXPECT_EQ(m.fill != nullptr || m.fillBlend != nullptr, m.depth == N) << m.name;
        EXPECT_EQ(m.fillBlend != nullptr || m.fillDepthBlend != nullptr, m.blend == 1) << m.name;
    }
}

// Equal depth never overwrites; a nearer surface does; write-only overwrites regardless.
TEST(Members, DepthTestsAreStrict) {
    RasterTestInit();
    for (int32_t n = 1; n <= kFillerCount; ++n) {
        const FillerMember& m = FillerMembers[n - 1];
        if (m.depth == N) continue;
        Canvas c;
        std::fill(c.depth.begin(), c.depth.end(), DepthClearFor(m.depth));
        Draw(n, Slab(200, 0xF800), &c);
        const uint16_t first = c.At(300, 150);
        const uint32_t firstDepth = c.DepthAt(300, 150);
        ASSERT_NE(first, 0) << m.name << ": the cleared buffer lets the first surface through";

        Draw(n, Slab(200, 0x8410, DimTexture()), &c);  // same depth, other colours
        if (m.depth != W) {
            EXPECT_EQ(c.At(300, 150), first) << m.name << ": equal depth must not overwrite";
        }
        // Far for less (larger depth), and for greater (smaller W): hidden unless write-only.
        Draw(n, Slab(900, 0x07E0), &c);
        if (m.depth == W) {
            EXPECT_GT(c.DepthAt(300, 150), firstDepth) << m.name << ": write-only stores far";
        } else {
            EXPECT_EQ(c.DepthAt(300, 150), firstDepth) << m.name;
        }
        Draw(n, Slab(50, 0x001F), &c);
        EXPECT_NE(c.DepthAt(300, 150), firstDepth) << m.name << ": nearer surface";
        if (m.depth == G) {
            EXPECT_GT(c.DepthAt(300, 150), firstDepth) << m.name;
        } else {
            EXPECT_LT(c.DepthAt(300, 150), firstDepth) << m.name;
        }
    }
}

TEST(Members, ReciprocalDepthValues) {
    RasterTestInit();
    const struct {
        float depth;
        uint32_t w;
    } cases[] = {{1.0f, 0x10000000}, {256.0f, 0x100000}, {0.5f, 0x10000000}, {3.0f, 0x5555555}};
    for (const auto& k : cases) {
        Canvas c;
        Draw(28, Slab(k.depth, 0xFFFF), &c);
        EXPECT_EQ(c.DepthAt(300, 150), k.w) << k.depth;
        EXPECT_EQ(c.DepthAt(101, 100), k.w) << "span starts without the half";
    }
    // The less-than members store the depth in 16.16 with the half added at the span start.
    Canvas c;
    std::fill(c.depth.begin(), c.depth.end(), 0xFFFFFFFFu);
    Draw(44, Slab(256.4f, 0xFFFF), &c);
    EXPECT_EQ(c.DepthAt(300, 150), (256u << 16) + 0x8000);
}

// Level 7 of a table whose level 7 is the identity and level 0 zero reproduces the
// unblended member; level 0 leaves the frame as it was (and still stores depth).
TEST(Members, BlendLevelsSevenAndZero) {
    RasterTestInit();
    std::mt19937 rng(3);
    for (int32_t n = 1; n <= kFillerCount; ++n) {
        const FillerMember& m = FillerMembers[n - 1];
        if (!m.blend) continue;
        int32_t plain = 0;
        for (int32_t k = 0; k < kFillerCount; ++k) {
            const FillerMember& p = FillerMembers[k];
            if (!p.blend && p.depth == m.depth && p.shade == m.shade && p.coords == m.coords) {
                plain = p.number;
            }
        }
        ASSERT_NE(plain, 0) << m.name;
        const RasterTri tri =
            MakeTri(RandomVertex(&rng, 0, 640, 0, 480), RandomVertex(&rng, 0, 640, 0, 480),
                    RandomVertex(&rng, 0, 640, 0, 480), BrightTexture());
        Canvas background, a, b;
        for (size_t i = 0; i < background.frame.size(); ++i) {
            background.frame[i] = static_cast<uint16_t>(i * 2654435761u >> 7);
        }
        std::fill(background.depth.begin(), background.depth.end(), DepthClearFor(m.depth));
        a = background;
        b = background;
        Draw(n, tri, &a, 7);
        Draw(plain, tri, &b);
        EXPECT_EQ(a.frame, b.frame) << m.name << " level 7 vs " << FillerMembers[plain - 1].name;
        Canvas z = background;
        Draw(n, tri, &z, 0);
        EXPECT_EQ(z.frame, background.frame) << m.name << " level 0";
        if (m.depth != N) {
            EXPECT_EQ(z.depth, a.depth) << m.name << " level 0 stores depth";
        }
    }
    // A middle level mixes through the table: table[L][s] + table[7 - L][d].
    Canvas c;
    std::fill(c.frame.begin(), c.frame.end(), 0x07E0);
    Draw(12, Slab(10, 0xF800), &c, 3);
    EXPECT_EQ(c.At(300, 150), static_cast<uint16_t>(BlendTable[3][0xF800] + BlendTable[4][0x07E0]));
}

TEST(Members, BilinearWeightsAndSquareClamp) {
    RasterTestInit();
    // 4 wide, 8 tall: the row neighbour is clamped with the width (square textures).
    uint16_t texels[32];
    for (int i = 0; i < 32; ++i) texels[i] = static_cast<uint16_t>(((i & 31) << 11) | (i & 31));
    texels[1] = 0x0000;
    texels[4 + 1] = 0x07E0;  // column 1, row 1
    Texture texture = {4, 8, texels};
    // Constant u, v: the filler walks trunc(u) << 16 plus the half, so fu = fv = 128.
    const auto at = [&](float u, float v) {
        Canvas c;
        Draw(8, MakeTri({10, 10, 5, u, v, 0}, {60, 10, 5, u, v, 0}, {10, 60, 5, u, v, 0}, &texture),
             &c);
        return c.At(20, 20);
    };
    // Last column and row: all four taps are texel (3, 3).
    EXPECT_EQ(at(3, 3), texels[3 * 4 + 3]);
    // Row 3 of a taller texture still repeats row 3 rather than reading row 4.
    EXPECT_EQ(at(0, 3), static_cast<uint16_t>(((12 + 13) / 2 << 11) | ((12 + 13) / 2)));
    // Inside: equal quarters of (0,0) (1,0) (0,1) (1,1).
    const uint32_t red = (4 * 16384) >> 16, green = (63 * 16384) >> 16, blue = (4 * 16384) >> 16;
    EXPECT_EQ(at(0, 0), static_cast<uint16_t>((red << 11) | (green << 5) | blue));
}

TEST(Members, TintAndGouraudChannels) {
    RasterTestInit();
    uint16_t texels[4] = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    Texture white = {2, 2, texels};
    Canvas c;
    // White tint darkens slightly: 31 * 31 >> 5 = 30, 63 * 63 >> 6 = 62.
    Draw(9, MakeTri({10, 10, 5, 0, 0, 0xFFFF}, {60, 10, 5, 1, 0, 0}, {10, 60, 5, 0, 1, 0}, &white),
         &c);
    EXPECT_EQ(c.At(20, 20), (30 << 11) | (62 << 5) | 30);
    // A red tint keeps only red.
    Draw(9, MakeTri({10, 10, 5, 0, 0, 0xF800}, {60, 10, 5, 1, 0, 0}, {10, 60, 5, 0, 1, 0}, &white),
         &c);
    EXPECT_EQ(c.At(20, 20), 30 << 11);
    // One Gouraud colour on all vertices comes back exactly.
    Draw(11,
         MakeTri({10, 10, 5, 0, 0, 0x8A6B}, {60, 10, 5, 0, 0, 0x8A6B}, {10, 60, 5, 0, 0, 0x8A6B}),
         &c);
    EXPECT_EQ(c.At(20, 20), 0x8A6B);
    // Gouraud-lit white texel under white light: (31 * 248.5) >> 8 = 30, (63 * 252.5) >> 8 = 62.
    Draw(10,
         MakeTri({10, 10, 5, 0, 0, 0xFFFF}, {60, 10, 5, 1, 0, 0xFFFF}, {10, 60, 5, 0, 1, 0xFFFF},
                 &white),
         &c);
    EXPECT_EQ(c.At(20, 20), (30 << 11) | (62 << 5) | 30);
    // Gouraud from black on the left to white on the right rises along the row.
    Draw(11, MakeTri({10, 100, 5, 0, 0, 0}, {300, 100, 5, 0, 0, 0xFFFF}, {10, 300, 5, 0, 0, 0}),
         &c);
    EXPECT_LT(c.At(20, 110) & 0x1F, c.At(200, 110) & 0x1F);
}

// Both perspective designs are exact at the span ends: their texels agree there (within
// one texel: the per-span end divides by W >> 6), and in the middle of long spans they
// stay close.
TEST(Members, PerspectivePerPixelAndPerSpanAgreeAtSpanEnds) {
    RasterTestInit();
    // Texel = its column in red and its row in blue... within 5 and 6 bits: use 32 x 32.
    static uint16_t texels[64 * 64];
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x)
            texels[y * 64 + x] = static_cast<uint16_t>((x << 5) | (y & 31));
    }
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
            if (pixel.depth[y * kWidth + x]) {
                if (first < 0) first = x;
                last = x;
            }
        }
        if (first < 0) continue;
        ++rows;
        // The start is exact in both; the per-span end lies one pixel step beyond the last
        // pixel, so there the tolerance grows by the per-pixel texel step.
        for (int32_t x : {first, last}) {
            const int pu = pixel.At(x, y) >> 5, su = span.At(x, y) >> 5;
            const int pv = pixel.At(x, y) & 31, sv = span.At(x, y) & 31;
            const int stepU = x > first ? std::abs(pu - (pixel.At(x - 1, y) >> 5)) : 0;
            const int stepV = x > first ? std::abs(pv - (pixel.At(x - 1, y) & 31)) : 0;
            EXPECT_LE(std::abs(pu - su), 1 + stepU) << "row " << y << " column " << x;
            EXPECT_LE(std::abs(pv - sv), 1 + stepV) << "row " << y << " column " << x;
        }
    }
    EXPECT_GT(rows, 400);
}

TEST(Tables, Log2AndBlendLevels) {
    RasterTestInit();
    for (int bit = 0; bit <= 10; ++bit) EXPECT_EQ(Log2Table[1 << bit], bit);
    EXPECT_EQ(Log2Table[256], 8);
    for (uint32_t p : {0x0000u, 0xFFFFu, 0x8410u, 0x1234u, 0xF81Fu}) {
        EXPECT_EQ(BlendTable[7][p], p);
        EXPECT_EQ(BlendTable[0][p], 0);
    }
    // Rounded to nearest: 31 * 3 / 7 = 13.3 -> 13, 63 * 4 / 7 = 36, 31 * 4 / 7 = 17.7 -> 18.
    EXPECT_EQ(BlendTable[3][0xFFFF], (13 << 11) | (27 << 5) | 13);
    EXPECT_EQ(BlendTable[4][0xFFFF], (18 << 11) | (36 << 5) | 18);
    // The two weights of a blend never carry from one channel into the next.
    for (int level = 0; level < 8; ++level) {
        for (uint32_t p = 0; p < 65536; p += 7) {
            const uint32_t sum = BlendTable[level][p] + BlendTable[7 - level][p];
            EXPECT_EQ(sum, p) << level << " " << p;
        }
    }
}

TEST(ZBuffer, CreateAndClear) {
    ZBuffer zb = {};
    EXPECT_EQ(ZBufferCreate(nullptr, 640, 480, kZBuffer32), 0);
    EXPECT_EQ(ZBufferCreate(&zb, 640, 480, 0x40), 0);
    EXPECT_EQ(ZBufferCreate(&zb, 0, 480, kZBuffer32), 0);
    ASSERT_EQ(ZBufferCreate(&zb, 640, 480, kZBuffer32), 1);
    EXPECT_EQ(zb.sizeWords, 640 * 480);
    ZBufferClear(&zb, 0x3E800000);
    EXPECT_TRUE(std::all_of(zb.buffer, zb.buffer + zb.sizeWords,
                            [](uint32_t w) { return w == 0x3E800000; }));
    // A 16-bit buffer: half the words, each pair of entries gets the value's halves.
    ASSERT_EQ(ZBufferCreate(&zb, 640, 480, kZBuffer16), 1);
    EXPECT_EQ(zb.sizeWords, 640 * 480 / 2);
    ZBufferClear(&zb, 0x12345678);
    uint16_t entries[2];
    std::memcpy(entries, &zb.buffer[zb.sizeWords - 1], 4);
    EXPECT_EQ(entries[0] ^ entries[1], 0x1234 ^ 0x5678);
    std::free(zb.buffer);
}
