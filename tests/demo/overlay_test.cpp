// The font sprite, TextDraw, the scroller and the info line's cycle.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "demo/overlay.h"
#include "display/display.h"
#include "display/headless/display_headless.h"

// A font image in the documented container whose glyph c is filled with the value
// c + 1 (never the colour key), cell borders 0.
static std::vector<uint8_t> MakeFontImage() {
    const int width = 800, height = 694;
    std::vector<uint8_t> image(kFontHeaderBytes + width * height * 2, 0);
    auto put32 = [&](int at, uint32_t v) {
        for (int i = 0; i < 4; ++i) image[at + i] = static_cast<uint8_t>(v >> (8 * i));
    };
    image[0] = 'B';
    image[1] = 'M';
    put32(18, width);
    put32(22, height);
    image[28] = 16;
    uint16_t* pixels = reinterpret_cast<uint16_t*>(image.data() + kFontHeaderBytes);
    for (int c = 0; c < 256; ++c) {
        const int x0 = (c & 15) * 49 + 1, y0 = (c >> 4) * 43 + 1;
        for (int y = 0; y < kGlyphHeight; ++y)
            for (int x = 0; x < kGlyphWidth; ++x)
                pixels[(y0 + y) * width + x0 + x] = static_cast<uint16_t>(c + 1);
    }
    return image;
}

class Overlay : public ::testing::Test {
protected:
    void SetUp() override {
        DisplayRelease();
        HeadlessDisplaySetFailInit(0);
        HeadlessDisplaySetBitCount(16);
        ASSERT_EQ(DisplayInit(640, 480, 16, 0, 0), 1);
        back = DisplayBackSurface();
        font = MakeFontImage();
        for (int i = 0; i < kInfoLineCount; ++i) gInfoLines[i] = lines[i % 3];
        gInfoLines[kInfoLineCount] = nullptr;
        gInfoLineCount = kInfoLineCount;
    }
    uint16_t PixelAt(int x, int y) {
        uint16_t* pixels;
        int32_t pitch;
        SurfaceLockMemory(back, &pixels, &pitch);
        return pixels[y * (pitch / 2) + x];
    }
    Surface* back = nullptr;
    std::vector<uint8_t> font;
    const char* lines[3] = {"Platforms:", "", "PC"};
};

TEST_F(Overlay, TextDrawAdvancesTwentyPixelsAByteAndSelectsCellsByByteValue) {
    Sprite sprite;
    ASSERT_EQ(FontCreate(font.data(), &sprite), 1);
    EXPECT_EQ(sprite.frameCount, 256);
    EXPECT_EQ(sprite.attr, 0x11u | kSpriteLoaded);

    EXPECT_EQ(TextDraw(&sprite, 10, 10, "Hello", 20, 52, back), 100);
    EXPECT_EQ(TextDraw(&sprite, 10, 10, "", 20, 52, back), 0);
    EXPECT_EQ(TextDraw(&sprite, 10, 10, nullptr, 20, 52, back), 0);
    EXPECT_EQ(TextDraw(&sprite, 10, 10, "Hello", 20, 52, nullptr), 0);

    // Bytes above 0x7F pick glyphs of the lower half of the grid, unsigned.
    SurfaceClear(back, 0, nullptr);
    const char text[] = {'A', static_cast<char>(0xC0), static_cast<char>(0xFF), 0};
    EXPECT_EQ(TextDraw(&sprite, 100, 200, text, 20, 52, back), 60);
    // Each glyph covers 48 pixels; the next one, 20 further, overwrites the overlap.
    EXPECT_EQ(PixelAt(100, 200), 'A' + 1);
    EXPECT_EQ(PixelAt(125, 210), 0xC0 + 1);
    EXPECT_EQ(PixelAt(140, 241), 0xFF + 1);
    EXPECT_EQ(PixelAt(188, 200), 0);

    // An invisible sprite draws nothing but still counts its advance.
    sprite.attr &= ~kSpriteVisible;
    SurfaceClear(back, 0, nullptr);
    EXPECT_EQ(TextDraw(&sprite, 100, 200, "A", 20, 52, back), 20);
    EXPECT_EQ(PixelAt(100, 200), 0);
}

TEST_F(Overlay, ScrollerEntersAt700AndRestartsAt650) {
    static const char kText[] = "AB";  // 40 pixels wide
    OverlayStart(font.data(), kText, back);
    std::vector<float> xs;
    for (int frame = 0; frame < 400; ++frame) {
        OverlayDraw(back);
        xs.push_back(OverlayStateGet()->scrollerX);
    }
    EXPECT_FLOAT_EQ(xs[0], 696.0f);
    // The restart happens in the frame where x first drops below -40 (x = -44).
    int restart = -1;
    for (size_t i = 1; i < xs.size(); ++i)
        if (xs[i] > xs[i - 1]) {
            restart = static_cast<int>(i);
            break;
        }
    ASSERT_EQ(restart, 185);
    EXPECT_FLOAT_EQ(xs[restart - 1], -40.0f);
    EXPECT_FLOAT_EQ(xs[restart], 650.0f);
}

TEST_F(Overlay, InfoLinesAreCentredAndCycleThroughTheNullSlotBackToZero) {
    OverlayStart(font.data(), "x", back);
    OverlayDraw(back);
    EXPECT_EQ(OverlayStateGet()->infoWidth, 200);  // "Platforms:" measured off screen
    EXPECT_EQ(OverlayStateGet()->infoX, (640 - 200) / 2);
    std::vector<int> order = {0};
    int minY = 1000, maxY = -1000, held = 0, longestHold = 0;
    for (int frame = 0; frame < 200 * 52; ++frame) {
        OverlayDraw(back);
        const OverlayState* s = OverlayStateGet();
        minY = std::min(minY, s->infoY);
        maxY = std::max(maxY, s->infoY);
        held = s->infoY >= 6 ? held + 1 : 0;
        longestHold = std::max(longestHold, held);
        if (s->infoIndex != order.back()) order.push_back(s->infoIndex);
        if (order.size() == 51) break;
    }
    ASSERT_EQ(order.size(), 51u);
    for (int i = 0; i <= 48; ++i) EXPECT_EQ(order[i], i);
    EXPECT_EQ(order[49], 0);
    EXPECT_EQ(order[50], 1);
    EXPECT_GE(minY, -54);
    EXPECT_LE(maxY, 10);
    EXPECT_GE(longestHold, 30);  // it rests about 30 frames at the bottom of its swing
    EXPECT_LE(longestHold, 40);
}
