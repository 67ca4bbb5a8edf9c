// Packers, the packer choice, locking, fills and colour-keyed clipped blits.
#include <gtest/gtest.h>

#include <cstdio>
#include <vector>

#include "display/colour.h"
#include "display/debug_log.h"
#include "display/display.h"
#include "display/headless/display_headless.h"
#include "display/present_scale.h"

TEST(Packers, KnownValues) {
    // {r, g, b, 5.6.5, 5.5.5}: low bits below each channel's precision are dropped.
    const int cases[5][5] = {{50, 100, 30, 0x3323, 0x1983},
                             {255, 255, 255, 0xFFFF, 0x7FFF},
                             {0, 0, 0, 0, 0},
                             {7, 3, 7, 0, 0},
                             {8, 4, 8, 0x0821, 0x0401}};
    for (const auto& c : cases) {
        EXPECT_EQ(PackRGB565(c[0], c[1], c[2]), c[3]) << c[0] << " " << c[1] << " " << c[2];
        EXPECT_EQ(PackRGB555(c[0], c[1], c[2]), c[4]) << c[0] << " " << c[1] << " " << c[2];
    }
}

// Opens the headless display with the primary reporting `bits` bits per pixel.
static void OpenDisplay(uint32_t bits) {
    DisplayRelease();
    HeadlessDisplaySetFailInit(0);
    HeadlessDisplaySetBitCount(bits);
    ASSERT_EQ(DisplayInit(640, 480, 16, 0, 0), 1);
}

TEST(Display, PackerChosenByBitCountOnly) {
    const struct {
        uint32_t bits;
        ColourPackerFn packer;
    } cases[] = {
        {15, PackRGB555}, {16, PackRGB565}, {24, PackRGB565}, {32, PackRGB565}, {8, PackRGB565}};
    for (const auto& c : cases) {
        OpenDisplay(c.bits);
        EXPECT_EQ(ColourPacker, c.packer) << c.bits << " bits";
    }
    OpenDisplay(16);
}

TEST(Display, InitSetsClipRectangleAndClearsSurface) {
    OpenDisplay(16);
    const ClipRectangle& c = gClipRectangle;
    EXPECT_TRUE(c.minX == 0 && c.minY == 0 && c.maxX == 639 && c.maxY == 479);
    uint16_t* pixels;
    int32_t pitch;
    ASSERT_EQ(SurfaceLockMemory(DisplayBackSurface(), &pixels, &pitch), 1);
    EXPECT_EQ(pitch, 1280);
    for (int i = 0; i < 640 * 480; ++i) ASSERT_EQ(pixels[i], 0);
}

TEST(Display, FailedInitLeavesEverythingInert) {
    DisplayRelease();
    HeadlessDisplaySetFailInit(1);
    EXPECT_EQ(DisplayInit(640, 480, 16, 0, 0), 0);
    EXPECT_EQ(DisplayBackSurface(), nullptr);
    SurfaceLock();
    EXPECT_EQ(DisplayLockPointer(), nullptr);
    EXPECT_EQ(SurfaceUnlock(), 0);
    EXPECT_EQ(DisplayPresent(), 0);
    EXPECT_EQ(SurfaceClear(DisplayBackSurface(), 0, nullptr), 0);
    HeadlessDisplaySetFailInit(0);
}

static int gSinkCalls;
static void CountingSink(const uint16_t*, int32_t, int32_t, int32_t, void*) {
    ++gSinkCalls;
}

TEST(Display, PresentRefusedWhileLockedAndLockKept) {
    OpenDisplay(16);
    HeadlessDisplaySetSink(CountingSink, nullptr);
    gSinkCalls = 0;

    EXPECT_EQ(SurfaceUnlock(), 0);  // nothing locked: changes nothing
    SurfaceLock();
    uint16_t* locked = DisplayLockPointer();
    ASSERT_NE(locked, nullptr);
    EXPECT_EQ(DisplayLockPitch(), 1280);
    SurfaceLock();  // a second lock does nothing
    EXPECT_EQ(DisplayLockPointer(), locked);

    EXPECT_EQ(DisplayPresent(), 0);
    EXPECT_EQ(gSinkCalls, 0);
    EXPECT_EQ(DisplayLockPointer(), locked);
    EXPECT_EQ(SurfaceUnlock(), 1);
    EXPECT_TRUE(DisplayLockPointer() == nullptr && DisplayLockPitch() == 0);
    EXPECT_EQ(DisplayPresent(), 1);
    EXPECT_EQ(gSinkCalls, 1);
    HeadlessDisplaySetSink(nullptr, nullptr);
}

// Reads the drawing surface's pixel at (x, y).
static uint16_t Pixel(Surface* surface, int x, int y) {
    uint16_t* pixels;
    int32_t pitch;
    SurfaceLockMemory(surface, &pixels, &pitch);
    const uint16_t p = pixels[y * (pitch / 2) + x];
    SurfaceUnlockMemory(surface);
    return p;
}

TEST(Display, FillRectRightAndBottomExclusive) {
    OpenDisplay(16);
    Surface* back = DisplayBackSurface();
    SurfaceFillRect(10, 20, 30, 40, 0x1234, back);
    const int corners[6][3] = {{10, 20, 0x1234}, {29, 39, 0x1234}, {30, 39, 0},
                               {29, 40, 0},      {9, 20, 0},       {10, 19, 0}};
    for (const auto& c : corners) EXPECT_EQ(Pixel(back, c[0], c[1]), c[2]) << c[0] << "," << c[1];

    // The full-screen fill of the sky leaves the last column and row black.
    SurfaceClear(back, 0, nullptr);
    SurfaceFillRect(0, 0, 639, 479, 0xFFFF, back);
    EXPECT_EQ(Pixel(back, 638, 478), 0xFFFF);
    for (int x = 0; x < 640; ++x) ASSERT_EQ(Pixel(back, x, 479), 0);
    for (int y = 0; y < 480; ++y) ASSERT_EQ(Pixel(back, 639, y), 0);
}

// A 48 x 42 glyph-sized sprite: key colour 0 except a frame of 0xF800 around a
// 0x07E0 interior, with one transparent pixel in the middle.
static Surface* MakeSprite() {
    Surface* sprite = SurfaceCreateOffscreen(48, 42, kSurfaceSystemMemory, 0);
    uint16_t* pixels;
    int32_t pitch;
    SurfaceLockMemory(sprite, &pixels, &pitch);
    for (int y = 0; y < 42; ++y)
        for (int x = 0; x < 48; ++x)
            pixels[y * (pitch / 2) + x] =
                (x == 0 || y == 0 || x == 47 || y == 41) ? 0xF800 : 0x07E0;
    pixels[21 * (pitch / 2) + 24] = 0;
    SurfaceUnlockMemory(sprite);
    return sprite;
}

TEST(Display, ColourKeyedBlitSkipsKeyAndClipsAtAllEdges) {
    OpenDisplay(16);
    Surface* back = DisplayBackSurface();
    Surface* sprite = MakeSprite();
    ASSERT_NE(sprite, nullptr);
    const SurfaceRect source = {0, 0, 48, 42};

    // Inside, partly off each edge, wholly off: the visible part is drawn but for the key
    // pixel, nothing else is touched, and the blit succeeds.
    struct Edge {
        int x, y;
    } const edges[] = {{100, 100}, {-20, 200}, {620, 200}, {300, -30},
                       {300, 460}, {-47, -41}, {639, 479}, {-100, 10}};
    for (const Edge& e : edges) {
        SurfaceClear(back, 0x001F, nullptr);
        const SurfaceRect at = {e.x, e.y, e.x + 48, e.y + 42};
        ASSERT_EQ(SurfaceBlitKeyed(back, &at, sprite, &source), 1);
        int drawn = 0;
        for (int y = 0; y < 480; ++y) {
            for (int x = 0; x < 640; ++x) {
                const bool inside = x >= e.x && x < e.x + 48 && y >= e.y && y < e.y + 42;
                const uint16_t p = Pixel(back, x, y);
                if (!inside) {
                    ASSERT_EQ(p, 0x001F) << x << "," << y;
                }
                if (inside && p != 0x001F) ++drawn;
            }
        }
        const int visibleW = std::max(0, std::min(e.x + 48, 640) - std::max(e.x, 0));
        const int visibleH = std::max(0, std::min(e.y + 42, 480) - std::max(e.y, 0));
        const bool keyVisible = e.x + 24 >= 0 && e.x + 24 < 640 && e.y + 21 >= 0 && e.y + 21 < 480;
        EXPECT_EQ(drawn, visibleW * visibleH - (keyVisible ? 1 : 0)) << e.x << "," << e.y;
    }
    const SurfaceRect at = {100, 100, 148, 142};
    SurfaceBlitKeyed(back, &at, sprite, &source);
    EXPECT_TRUE(Pixel(back, 100, 100) == 0xF800 && Pixel(back, 101, 101) == 0x07E0);
}

TEST(Display, BlitHonoursAnExplicitClipList) {
    OpenDisplay(16);
    Surface* back = DisplayBackSurface();
    Surface* sprite = MakeSprite();
    const SurfaceRect clip[2] = {{0, 0, 110, 480}, {130, 0, 640, 480}};
    ASSERT_NE(SurfaceAttachClipList(back, 2, clip), nullptr);
    SurfaceClear(back, 0, nullptr);
    const SurfaceRect source = {0, 0, 48, 42};
    const SurfaceRect at = {100, 100, 148, 142};
    SurfaceBlitKeyed(back, &at, sprite, &source);
    const int row[4][2] = {{109, 0x07E0}, {110, 0}, {129, 0}, {130, 0x07E0}};
    for (const auto& p : row) EXPECT_EQ(Pixel(back, p[0], 101), p[1]) << p[0];
}

TEST(Display, PresentShrinksTheFrameByOnePixel) {
    // Frames whose pixel values encode their column, then their row: on the screen the
    // last source column and row are still shown, and the screen's last column and row
    // keep what they had.
    std::vector<uint16_t> columns(640 * 480), rows(640 * 480);
    for (int y = 0; y < 480; ++y)
        for (int x = 0; x < 640; ++x) {
            columns[y * 640 + x] = static_cast<uint16_t>(x);
            rows[y * 640 + x] = static_cast<uint16_t>(y);
        }
    std::vector<uint16_t> dst(640 * 480, 0xAAAA);
    PresentScaleToScreen(columns.data(), 1280, 640, 480, dst.data(), 1280);
    EXPECT_EQ(dst[0], 0);
    EXPECT_EQ(dst[638], 639);
    EXPECT_EQ(dst[639], 0xAAAA);
    EXPECT_EQ(dst[479 * 640], 0xAAAA);
    int skipped = 0;  // exactly one source column is dropped
    for (int x = 1; x < 639; ++x) skipped += dst[x] - dst[x - 1] - 1;
    EXPECT_EQ(skipped, 1);

    PresentScaleToScreen(rows.data(), 1280, 640, 480, dst.data(), 1280);
    EXPECT_EQ(dst[0], 0);
    EXPECT_EQ(dst[478 * 640], 479);
    EXPECT_EQ(dst[479 * 640 + 5], 0xAAAA);
}

TEST(Display, PaletteFileKeepsTheLowByteOfEachValue) {
    const char* path = "palette_test.pal";
    FILE* file = std::fopen(path, "w");
    ASSERT_NE(file, nullptr);
    for (int i = 0; i < 256; ++i) std::fprintf(file, "%d %d %d %d\n", i, 255 - i, 256 + i, 2);
    std::fclose(file);
    uint8_t entries[1024] = {};
    EXPECT_EQ(PaletteLoadFile(path, entries), 1);
    EXPECT_EQ(entries[4 * 10 + 0], 10);
    EXPECT_EQ(entries[4 * 10 + 1], 245);
    EXPECT_EQ(entries[4 * 10 + 2], 10);  // 266 keeps its low byte
    EXPECT_EQ(entries[4 * 10 + 3], 2);
    std::remove(path);
    EXPECT_EQ(PaletteLoadFile("no/such/palette.pal", entries), 0);
}

// What an open log holds is checked by the terrain generator's log test.
TEST(DebugLog, SilentUntilAFileIsOpened) {
    EXPECT_EQ(DebugLog("\npixel format = %d", 16), 0);
    EXPECT_EQ(DebugLog(nullptr), 0);
    ASSERT_EQ(DebugLogOpen("debug_log_test.txt"), 1);
    EXPECT_EQ(DebugLog("\nnum_vertices = %d", 4), 1);
    DebugLogOpen(nullptr);
    EXPECT_EQ(DebugLog("\nnum_vertices = %d", 4), 0);
    std::remove("debug_log_test.txt");
}
