// Bitmap font, scroller and info line.
#include "demo/overlay.h"

#include <cmath>
#include <cstring>

const char* gInfoLines[kInfoLineCount + 1];
int32_t gInfoLineCount;

static Sprite gFont;
static BitmapImage gFontBitmap;
static const char* gScrollerText;
static OverlayState gState;

static int32_t ReadLe32(const uint8_t* bytes) {
    return static_cast<int32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16 |
                                static_cast<uint32_t>(bytes[3]) << 24);
}

int FontCreate(const uint8_t* fontImage, Sprite* sprite) {
    const int32_t height = ReadLe32(fontImage + 22);
    gFontBitmap.width = ReadLe32(fontImage + 18);
    gFontBitmap.height = height < 0 ? -height : height;
    gFontBitmap.bitCount = fontImage[28] | fontImage[29] << 8;
    gFontBitmap.pixels = reinterpret_cast<const uint16_t*>(fontImage + kFontHeaderBytes);
    SpriteCreate(sprite, 0, 0, kGlyphWidth, kGlyphHeight, 256, 0x11, kSurfaceSystemMemory, 0, 16);
    for (int32_t c = 0; c < 256; ++c) SpriteLoadFrame(sprite, &gFontBitmap, c, c & 15, c >> 4, 0);
    return 1;
}

int32_t TextDraw(Sprite* sprite, int32_t x, int32_t y, const char* text, int32_t advance, int32_t,
                 Surface* surface) {
    if (!text || !surface || !*text) return 0;
    const size_t length = std::strlen(text);
    for (size_t i = 0; i < length; ++i) {
        sprite->x = x;
        sprite->y = y;
        sprite->currentFrame = static_cast<uint8_t>(text[i]);  // no sign extension
        SpriteDraw(sprite, surface);
        x += advance;
    }
    return static_cast<int32_t>(length) * advance;
}

void OverlayReset() {
    gState = {};
    gState.scrollerX = 700.0f;
}

void OverlayStart(const uint8_t* fontImage, const char* scrollerText, Surface* surface) {
    OverlayReset();
    gScrollerText = scrollerText;
    FontCreate(fontImage, &gFont);
    gState.infoWidth = TextDraw(&gFont, 1, -100, gInfoLines[0], kTextAdvance, 52, surface);
}

static void ScrollerDraw(Surface* surface) {
    gState.scrollerX -= 4.0f;
    const int32_t y = static_cast<int32_t>(420 + 16 * std::sin(double{gState.scrollerPhase}));
    gState.scrollerPhase += 0.1;
    const int32_t width = TextDraw(&gFont, static_cast<int32_t>(gState.scrollerX), y, gScrollerText,
                                   kTextAdvance, 52, surface);
    // Deliberate: the first pass enters at 700, every later one at 650.
    if (-width > gState.scrollerX) gState.scrollerX = 650.0f;
}

static void InfoLineDraw(Surface* surface) {
    gState.infoX = (640 - gState.infoWidth) / 2;
    gState.infoY = static_cast<int32_t>(32 * std::sin(double{gState.infoPhase}) - 22);
    if (gState.infoY >= 6) {
        gState.holdCounter += 1;
        if (gState.holdCounter > 30) gState.infoPhase += 0.18;
        gState.swapAllowed = 1;
    } else {
        gState.infoPhase += 0.13;
    }
    if (gState.infoY <= -40 && gState.swapAllowed) {
        gState.holdCounter = 0;
        // The index may reach the count itself: the null slot after the last line
        // shows nothing for one swing, deliberately.
        gState.infoIndex += 1;
        if (gState.infoIndex > gInfoLineCount) gState.infoIndex = 0;
        gState.infoWidth =
            TextDraw(&gFont, 1, -100, gInfoLines[gState.infoIndex], kTextAdvance, 52, surface);
        gState.swapAllowed = 0;
        gState.holdCounter = 0;
    }
    gState.infoWidth = TextDraw(&gFont, gState.infoX, gState.infoY, gInfoLines[gState.infoIndex],
                                kTextAdvance, 52, surface);
}

void OverlayDraw(Surface* surface) {
    ScrollerDraw(surface);
    InfoLineDraw(surface);
}

const OverlayState* OverlayStateGet() {
    return &gState;
}
