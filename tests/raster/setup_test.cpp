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

}  // namespace

TEST(Setup, SnapsHalfUpAndNegativesTowardZero) {
    RasterTestInit();
    RasterTri tri = MakeTri({10.5f, 3.5f, 5, 0, 0, 0xF800}, {-0.7f, 20.49f, 5, 0, 0, 0xF800},
                            {30.2f, -0.5f, 5, 0, 0, 0xF800});
    Canvas c;
    FillerDraw(6, &tri, c.frame.data(), kWidth * 2, nullptr, 0, 0);
    const float snapped[3][2] = {{11, 4}, {0, 20}, {30, 0}};  // -0.7 + 0.5 goes toward zero
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(tri.tvlist[k].x, snapped[k][0]);
        EXPECT_EQ(tri.tvlist[k].y, snapped[k][1]);
    }
    // Row 4 (the middle vertex's) still uses the upper short edge: [11, 24). Row 19 is
    // [1, 2); the bottom row 20 is not drawn.
    EXPECT_EQ(c.At(10, 4) | c.At(24, 4) | c.At(2, 19), 0);
    EXPECT_NE(c.At(11, 4) & c.At(23, 4) & c.At(1, 19), 0);
    EXPECT_EQ(c.Drawn(), std::count(c.frame.begin(), c.frame.begin() + 20 * kWidth, 0xF800));
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
