// Triangle setup and spans, checked on every member: snapping, the exclusive last row
// and column, clipping equivalence and shared edges.
#include <gtest/gtest.h>

#include <algorithm>

#include "display/display.h"
#include "tests/raster/raster_test_util.h"

namespace {

// Clears `canvas` (the depth buffer so that every first surface passes) and draws.
const Canvas& DrawInto(Canvas* canvas, int32_t number, const RasterTri& tri) {
    std::fill(canvas->frame.begin(), canvas->frame.end(), 0);
    std::fill(canvas->depth.begin(), canvas->depth.end(),
              DepthClearFor(FillerMembers[number - 1].depth));
    Draw(number, tri, canvas);
    return *canvas;
}

Canvas DrawFresh(int32_t number, const RasterTri& tri) {
    Canvas canvas;
    DrawInto(&canvas, number, tri);
    return canvas;
}

bool RowsEqual(const Canvas& a, const Canvas& b, int32_t fromRow) {
    const size_t from = static_cast<size_t>(fromRow) * kWidth;
    return std::equal(a.frame.begin() + from, a.frame.end(), b.frame.begin() + from) &&
           std::equal(a.depth.begin() + from, a.depth.end(), b.depth.begin() + from);
}

int CountDrawn(const Canvas& canvas) {
    return static_cast<int>(
        std::count_if(canvas.frame.begin(), canvas.frame.end(), [](uint16_t p) { return p != 0; }));
}

}  // namespace

TEST(Setup, SnapsHalfUpAndNegativesTowardZero) {
    RasterTestInit();
    RasterTri tri = MakeTri({10.5f, 3.5f, 5, 0, 0, 0xF800}, {-0.7f, 20.49f, 5, 0, 0, 0xF800},
                            {30.2f, -0.5f, 5, 0, 0, 0xF800});
    Canvas canvas;
    FillerDraw(6, &tri, canvas.frame.data(), kWidth * 2, nullptr, 0, 0);
    EXPECT_EQ(tri.tvlist[0].x, 11.0f);
    EXPECT_EQ(tri.tvlist[0].y, 4.0f);
    EXPECT_EQ(tri.tvlist[1].x, 0.0f);  // -0.7 + 0.5 = -0.2, toward zero
    EXPECT_EQ(tri.tvlist[1].y, 20.0f);
    EXPECT_EQ(tri.tvlist[2].x, 30.0f);
    EXPECT_EQ(tri.tvlist[2].y, 0.0f);
    // Snapped to (11,4) (0,20) (30,0). Row 4 (the middle vertex's) still uses the upper
    // short edge: [11, 24). The bottom row 20 is not drawn; row 19 is [1, 2).
    EXPECT_EQ(canvas.At(10, 4), 0);
    EXPECT_NE(canvas.At(11, 4), 0);
    EXPECT_NE(canvas.At(23, 4), 0);
    EXPECT_EQ(canvas.At(24, 4), 0);
    EXPECT_NE(canvas.At(1, 19), 0);
    EXPECT_EQ(canvas.At(2, 19), 0);
    for (int32_t x = 0; x < 40; ++x) EXPECT_EQ(canvas.At(x, 20), 0);
}

TEST(Setup, LinesAndPointsDrawNothing) {
    RasterTestInit();
    Texture* texture = BrightTexture();
    const RasterTri row = MakeTri({10, 50, 5, 0, 0, 0xFFFF}, {300, 50, 9, 90, 0, 0xFFFF},
                                  {100, 50.3f, 7, 9, 0, 0xFFFF}, texture);
    const RasterTri column = MakeTri({60, 10, 5, 0, 0, 0xFFFF}, {60.4f, 300, 9, 0, 90, 0xFFFF},
                                     {59.6f, 100, 7, 0, 9, 0xFFFF}, texture);
    for (int32_t n = 1; n <= kFillerCount; ++n) {
        EXPECT_EQ(CountDrawn(DrawFresh(n, row)), 0) << FillerMembers[n - 1].name;
        EXPECT_EQ(CountDrawn(DrawFresh(n, column)), 0) << FillerMembers[n - 1].name;
    }
}

// Every member, on triangles inside, on and beyond the screen edges and under a smaller
// clip rectangle: nothing lands outside [minX, maxX) x [minY, maxY).
TEST(Setup, NothingOutsideClipAndNeverLastRowOrColumn) {
    RasterTestInit();
    Texture* texture = BrightTexture();
    const TestVertex corner[4] = {{0, 0, 40, 0, 0, 0xF81F},
                                  {639, 0, 80, 250, 0, 0xFFE0},
                                  {639, 479, 60, 250, 250, 0xF800},
                                  {0, 479, 20, 0, 250, 0xFFFF}};
    const RasterTri tris[] = {
        MakeTri(corner[0], corner[1], corner[2], texture),
        MakeTri(corner[0], corner[2], corner[3], texture),
        MakeTri({-200, -100, 40, 0, 0, 0xF81F}, {900, 120, 80, 250, 9, 0xFFE0},
                {320, 700, 60, 100, 250, 0xF800}, texture),
    };
    const ClipRectangle clips[] = {{0, 0, 639, 479}, {100, 50, 300, 200}};
    for (const ClipRectangle& clip : clips) {
        for (const RasterTri& tri : tris) {
            for (int32_t n = 1; n <= kFillerCount; ++n) {
                gClipRectangle = clip;
                Canvas c = DrawFresh(n, tri);
                int inside = 0, outside = 0;
                for (int32_t y = 0; y < kHeight; ++y) {
                    for (int32_t x = 0; x < kWidth; ++x) {
                        const bool in =
                            x >= clip.minX && x < clip.maxX && y >= clip.minY && y < clip.maxY;
                        (in ? inside : outside) += c.At(x, y) != 0;
                    }
                }
                EXPECT_EQ(outside, 0) << FillerMembers[n - 1].name;
                EXPECT_GT(inside, 0) << FillerMembers[n - 1].name;
            }
        }
    }
    gClipRectangle = clips[0];
}

// A triangle cut by minY (or minX) draws exactly the rows (columns) it has in common with
// the same triangle drawn whole: edges and spans are advanced by whole steps.
TEST(Setup, ClippedTopAndLeftMatchUnclipped) {
    RasterTestInit();
    std::mt19937 rng(11);
    for (int trial = 0; trial < 60; ++trial) {
        const RasterTri tri =
            MakeTri(RandomVertex(&rng, 20, 600, 10, 460), RandomVertex(&rng, 20, 600, 10, 460),
                    RandomVertex(&rng, 20, 600, 10, 460), BrightTexture());
        // A cut between the top and middle vertex, and one below the middle vertex.
        float ys[3] = {tri.tvlist[0].y, tri.tvlist[1].y, tri.tvlist[2].y};
        std::sort(ys, ys + 3);
        const int32_t cutY =
            static_cast<int32_t>(trial % 2 ? (ys[0] + ys[1]) / 2 : (ys[1] + ys[2]) / 2);
        const int32_t cutX = 150 + trial * 5;
        static Canvas whole, top, left;
        for (int32_t n = 1; n <= kFillerCount; ++n) {
            DrawInto(&whole, n, tri);
            gClipRectangle.minY = cutY;
            DrawInto(&top, n, tri);
            gClipRectangle.minY = 0;
            gClipRectangle.minX = cutX;
            DrawInto(&left, n, tri);
            gClipRectangle.minX = 0;
            ASSERT_TRUE(RowsEqual(whole, top, cutY)) << FillerMembers[n - 1].name << " " << trial;
            ASSERT_TRUE(std::all_of(top.frame.begin(), top.frame.begin() + cutY * kWidth,
                                    [](uint16_t p) { return p == 0; }));
            // Columns left of the cut are cleared in a copy of the whole drawing.
            for (int32_t y = 0; y < kHeight; ++y) {
                std::fill_n(whole.frame.begin() + y * kWidth, cutX, 0);
                std::fill_n(whole.depth.begin() + y * kWidth, cutX,
                            DepthClearFor(FillerMembers[n - 1].depth));
            }
            ASSERT_TRUE(RowsEqual(whole, left, 0)) << FillerMembers[n - 1].name << " " << trial;
        }
    }
}

// Two triangles on either side of a common edge: no pixel drawn twice, and on every row
// of the edge the two spans meet without a gap.
TEST(Setup, SharedEdgeDrawnExactlyOnce) {
    RasterTestInit();
    std::mt19937 rng(5);
    Texture* texture = BrightTexture();
    static Canvas one, two;
    for (int trial = 0; trial < 80; ++trial) {
        // Some pairs reach beyond the left/right screen edges (the clipped path).
        const float lo = trial % 3 == 0 ? -150.0f : 0.0f, hi = trial % 3 == 0 ? 790.0f : 639.0f;
        TestVertex a = RandomVertex(&rng, lo, hi, -20, 500),
                   c = RandomVertex(&rng, lo, hi, -20, 500);
        if (a.y > c.y) std::swap(a, c);
        const TestVertex b = RandomVertex(&rng, lo, hi, -20, 500);
        TestVertex d = RandomVertex(&rng, lo, hi, -20, 500);
        // Put d on the other side of the line a-c than b.
        const auto side = [&](const TestVertex& p) {
            return (c.x - a.x) * (p.y - a.y) - (c.y - a.y) * (p.x - a.x);
        };
        if ((side(b) > 0) == (side(d) > 0)) {
            d.x = 2 * a.x - d.x + (c.x - a.x);
            d.y = 2 * a.y - d.y + (c.y - a.y);
            if ((side(b) > 0) == (side(d) > 0)) continue;
        }
        const RasterTri t1 = MakeTri(a, b, c, texture), t2 = MakeTri(a, c, d, texture);
        const int32_t yA = static_cast<int32_t>(std::trunc(a.y + 0.5f));
        const int32_t yC = static_cast<int32_t>(std::trunc(c.y + 0.5f));
        for (int32_t n = 1; n <= kFillerCount; ++n) {
            DrawInto(&one, n, t1);
            DrawInto(&two, n, t2);
            const float lowest = std::min({a.y, b.y, c.y, d.y}),
                        highest = std::max({a.y, b.y, c.y, d.y});
            const int32_t yLo = std::max(0, static_cast<int32_t>(lowest) - 1);
            const int32_t yHi = std::min(kHeight, static_cast<int32_t>(highest) + 2);
            for (int32_t y = yLo; y < yHi; ++y) {
                int32_t l1 = kWidth, r1 = -1, l2 = kWidth, r2 = -1, overlap = 0;
                for (int32_t x = 0; x < kWidth; ++x) {
                    const bool p1 = one.frame[y * kWidth + x] != 0,
                               p2 = two.frame[y * kWidth + x] != 0;
                    overlap += p1 && p2;
                    if (p1) l1 = std::min(l1, x), r1 = std::max(r1, x + 1);
                    if (p2) l2 = std::min(l2, x), r2 = std::max(r2, x + 1);
                }
                ASSERT_EQ(overlap, 0) << FillerMembers[n - 1].name << " row " << y;
                if (y >= std::max(yA, 0) && y < yC && r1 > 0 && r2 > 0) {
                    ASSERT_TRUE(r1 == l2 || r2 == l1)
                        << FillerMembers[n - 1].name << " trial " << trial << " row " << y;
                }
            }
        }
    }
}
