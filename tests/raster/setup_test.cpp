// Triangle setup and spans, checked on every member: snapping, degenerate triangles, the
// exclusive last row and column, clipping equivalence and shared edges.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/raster/raster_test_util.h"

namespace {

// Clears `canvas` (depth so that every first surface passes) and draws.
void DrawInto(Canvas* canvas, int32_t number, const RasterTri& tri) {
    std::fill(canvas->frame.begin(), canvas->frame.end(), 0);
    std::fill(canvas->depth.begin(), canvas->depth.end(), DepthClearFor(number));
    Draw(number, tri, canvas);
}

const char* Name(int32_t number) {
    return FillerMembers[number - 1].name;
}

// Triangles reaching above or left of the screen, their figures worked out by hand: snap
// (negatives toward zero: -40 becomes -39), 16.16 slopes, the edges advanced to row 0 (the
// lower short edge restarted below the middle vertex when that is above too), spans
// rounded half up and cut at column 0 with their attributes advanced. Per triangle: one
// row's first and end column, the whole pixel count, and at the row's first pixel the
// 16.16 depth, W (2^28 / depth, walked without the half) and texel, for vertices at depth
// 0.5, 200.4, 300.5 (snapped to 1, 200, 301) with u, v as below.
struct CutCase {
    float xy[6];
    int32_t row, first, end, pixels;
    uint32_t z, w, texel;
};
const CutCase kCutCases[] = {
    {{320, -40, 200, 60, 400, 100}, 2, 270, 344, 10975, 5499357, 157821105, 6748},
    {{320, -80, 250, -10, 380, 60}, 1, 269, 355, 2659, 14099258, 1276907, 17076},
    {{100, -30, 40, 0, 150, 50}, 2, 44, 120, 1998, 13404732, 1324163, 12226},
    {{-50.6f, 100.3f, 60.4f, 80.2f, 10.5f, 200.5f}, 90, 5, 56, 3865, 6619138, 134888807, 7276},
    {{-200, -300, 900, 240, -100, 900}, 0, 0, 411, 289878, 5694571, 177492218, 14390},
    {{-30.4f, -20.2f, 250.6f, -20.4f, 120, 150}, 0, 0, 236, 18673, 2868788, 226885710, 10269},
    {{500, -60, -80.5f, 300.4f, 700, 300.2f}, 280, 0, 639, 130651, 12820197, 16194520, 12981},
};  // the last two flat top and flat bottom

}  // namespace

// Every member draws the same pixels and walks the same attributes. A record keeps its
// snapped vertices, so drawn again its negative coordinates move once more toward zero.
TEST(Setup, TrianglesCutByTheTopOrLeftEdge) {
    RasterTestInit();
    Texture* texture = BrightTexture();
    const float z[3] = {0.5f, 200.4f, 300.5f}, u[3] = {16, 200, 60}, v[3] = {16, 40, 220};
    Canvas c;
    for (const CutCase& k : kCutCases) {
        TestVertex p[3];
        for (int i = 0; i < 3; ++i) p[i] = {k.xy[2 * i], k.xy[2 * i + 1], z[i], u[i], v[i], 0xFFFF};
        const RasterTri tri = MakeTri(p[0], p[1], p[2], texture);
        for (int32_t n = 1; n <= kFillerCount; ++n) {
            const FillerMember& m = FillerMembers[n - 1];
            DrawInto(&c, n, tri);
            const uint16_t* row = &c.At(0, k.row);
            ASSERT_EQ(std::count(row + k.first, row + k.end, 0), 0) << Name(n) << " row " << k.row;
            ASSERT_EQ(std::count(row, row + kWidth, 0), kWidth - k.end + k.first) << Name(n);
            ASSERT_EQ(c.Drawn(), k.pixels) << Name(n);
            // None, less, greater, write only: untouched, 16.16 depth, W, 16.16 depth.
            const uint32_t depth[4] = {DepthClearFor(n), k.z, k.w, k.z};
            EXPECT_EQ(c.DepthAt(k.first, k.row), depth[static_cast<int>(m.depth)]) << Name(n);
            if (m.shade == FillerShade::kTextured && m.coords == FillerCoords::kAffine) {
                EXPECT_EQ(row[k.first], texture->texels[k.texel]) << Name(n);
            }
        }
    }
    RasterTri again = MakeTri({320, -40, 5, 0, 0, 0xF800}, {200, 60, 5, 0, 0, 0xF800},
                              {400, 100, 5, 0, 0, 0xF800});
    FillerCall(6, &again, c.frame.data(), kWidth * 2, nullptr, 0, 0);
    DrawInto(&c, 6, again);  // its top now at -39, snapped to -38: row 2 is [271, 343)
    EXPECT_EQ(c.At(270, 2) | c.At(343, 2), 0);
    EXPECT_EQ(c.Drawn(), 10933);
}

TEST(Setup, EveryMemberKeepsToTheClipRectangle) {
    RasterTestInit();
    const TestVertex corner[4] = {{0, 0, 40, 0, 0, 0xF81F},
                                  {639, 0, 80, 250, 0, 0xFFE0},
                                  {639, 479, 60, 250, 250, 0xF800},
                                  {0, 479, 20, 0, 250, 0xFFFF}};
    Texture* t = BrightTexture();
    const RasterTri pair[2] = {MakeTri(corner[0], corner[1], corner[2], t),
                               MakeTri(corner[0], corner[2], corner[3], t)};
    const RasterTri beyond = MakeTri({-200, -100, 40, 0, 0, 0xF81F}, {900, 120, 80, 250, 9, 0xFFE0},
                                     {320, 700, 60, 100, 250, 0xF800}, t);
    const RasterTri line = MakeTri({10, 50, 5, 0, 0, 0xFFFF}, {300, 50, 9, 90, 0, 0xFFFF},
                                   {100, 50.3f, 7, 9, 0, 0xFFFF}, t);
    const RasterTri column = MakeTri({60, 10, 5, 0, 0, 0xFFFF}, {60.4f, 300, 9, 0, 90, 0xFFFF},
                                     {59.6f, 100, 7, 0, 9, 0xFFFF}, t);
    Canvas c;
    for (int32_t n = 1; n <= kFillerCount; ++n) {
        // Two triangles over the whole screen fill all of it but the last row and column.
        DrawInto(&c, n, pair[0]);
        Draw(n, pair[1], &c);
        EXPECT_EQ(c.Drawn(), 639 * 479) << Name(n);
        for (int32_t i = 0; i < kWidth; ++i) EXPECT_EQ(c.At(i, 479), 0) << Name(n);
        for (int32_t i = 0; i < kHeight; ++i) EXPECT_EQ(c.At(639, i), 0) << Name(n);
        DrawInto(&c, n, line);
        Draw(n, column, &c);
        EXPECT_EQ(c.Drawn(), 0) << Name(n) << ": one row or one column draws nothing";
        // Under a smaller clip rectangle nothing lands outside [minX, maxX) x [minY, maxY).
        gClipRectangle = {100, 50, 300, 200};
        DrawInto(&c, n, beyond);
        int outside = 0;
        for (int32_t y = 0; y < kHeight; ++y) {
            for (int32_t x = 0; x < kWidth; ++x) {
                outside += c.At(x, y) && (x < 100 || x >= 300 || y < 50 || y >= 200);
            }
        }
        EXPECT_EQ(outside, 0) << Name(n);
        EXPECT_EQ(c.Drawn(), 200 * 150) << Name(n);
        gClipRectangle = {0, 0, kWidth - 1, kHeight - 1};
    }
}

// Random pairs of triangles on either side of a common edge, every third pair reaching
// beyond the screen's sides (the clipped path), through every member: no pixel is drawn
// twice, on every row of the edge the two spans meet without a gap, and the first
// triangle cut by minY (or minX) draws exactly the rows (columns) it has in common with
// itself drawn whole: edges and spans are advanced by whole steps.
TEST(Setup, SharedEdgesDrawnOnceAndClippedCopiesMatch) {
    RasterTestInit();
    std::mt19937 rng(5);
    static Canvas one, two, cut;
    for (int trial = 0; trial < 80; ++trial) {
        const float lo = trial % 3 ? 0.0f : -150.0f, hi = trial % 3 ? 639.0f : 790.0f;
        TestVertex a = RandomVertex(&rng, lo, hi, -20, 500),
                   c = RandomVertex(&rng, lo, hi, -20, 500);
        if (a.y > c.y) std::swap(a, c);
        const TestVertex b = RandomVertex(&rng, lo, hi, -20, 500);
        TestVertex d = RandomVertex(&rng, lo, hi, -20, 500);
        const auto side = [&](const TestVertex& p) {
            return (c.x - a.x) * (p.y - a.y) - (c.y - a.y) * (p.x - a.x) > 0;
        };
        if (side(b) == side(d)) d.x = a.x + c.x - d.x, d.y = a.y + c.y - d.y;  // mirror d
        if (side(b) == side(d)) continue;
        const int32_t yA = std::max(0, static_cast<int32_t>(std::trunc(a.y + 0.5f)));
        const int32_t yC = std::min(kHeight, static_cast<int32_t>(std::trunc(c.y + 0.5f)));
        // Cut above the middle vertex on odd trials, below it on even ones.
        float ys[3] = {a.y, b.y, c.y};
        std::sort(ys, ys + 3);
        const int32_t cutY =
            static_cast<int32_t>(trial % 2 ? (ys[0] + ys[1]) / 2 : (ys[1] + ys[2]) / 2);
        const int32_t cutX = 150 + trial * 5;
        const RasterTri first = MakeTri(a, b, c, BrightTexture());
        for (int32_t n = 1; n <= kFillerCount; ++n) {
            DrawInto(&one, n, first);
            DrawInto(&two, n, MakeTri(a, c, d, BrightTexture()));
            for (int32_t y = 0; y < kHeight; ++y) {
                int32_t l1 = kWidth, r1 = -1, l2 = kWidth, r2 = -1, twice = 0;
                const uint16_t* row1 = &one.At(0, y);
                const uint16_t* row2 = &two.At(0, y);
                for (int32_t x = 0; x < kWidth; ++x) {
                    twice += row1[x] && row2[x];
                    if (row1[x]) l1 = std::min(l1, x), r1 = x + 1;
                    if (row2[x]) l2 = std::min(l2, x), r2 = x + 1;
                }
                ASSERT_EQ(twice, 0) << Name(n) << " row " << y;
                if (y >= yA && y < yC && r1 > 0 && r2 > 0) {
                    ASSERT_TRUE(r1 == l2 || r2 == l1) << Name(n) << " gap on row " << y;
                }
            }
            int mismatches = 0;
            for (int side = 0; side < 2; ++side) {
                if (side)
                    gClipRectangle = {cutX, 0, kWidth - 1, kHeight - 1};
                else
                    gClipRectangle.minY = cutY;
                DrawInto(&cut, n, first);
                gClipRectangle = {0, 0, kWidth - 1, kHeight - 1};
                for (int32_t y = 0; y < kHeight; ++y) {
                    for (int32_t x = 0; x < kWidth; ++x) {
                        const size_t i = static_cast<size_t>(y) * kWidth + x;
                        const bool kept = side ? x >= cutX : y >= cutY;
                        mismatches += cut.frame[i] != (kept ? one.frame[i] : 0);
                        mismatches += kept && cut.depth[i] != one.depth[i];
                    }
                }
            }
            ASSERT_EQ(mismatches, 0) << Name(n) << " clipped, trial " << trial;
        }
    }
}
