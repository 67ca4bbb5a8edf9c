// The 2D text over the 3D picture: the bitmap font, the bottom scroller and the info
// line that swings down from the top, rests, rises and is replaced by the next one.
#pragma once
#include <cstdint>

#include "demo/sprite.h"
#include "display/display.h"

// The font image: a 1080-byte header block (file header, info header, colour table
// area; width at byte 18, height at byte 22, little-endian) and then 16-bit pixels, top
// row first. 16 x 16 cells of 48 x 42 pixels with one-pixel borders: glyph c starts at
// x = (c & 15) * 49 + 1, y = (c >> 4) * 43 + 1. Pixel value 0 is transparent.
constexpr int32_t kFontHeaderBytes = 1080;
constexpr int32_t kGlyphWidth = 48;
constexpr int32_t kGlyphHeight = 42;
constexpr int32_t kTextAdvance = 20;

// Builds the 256-glyph sprite from the font image. Returns 1.
int FontCreate(const uint8_t* fontImage, Sprite* sprite);
// Draws each byte of text as its glyph (byte value = glyph number), advancing x by
// `advance`; `unused` is accepted and ignored. Returns length * advance, or 0 for a null
// or empty text or a null surface.
int32_t TextDraw(Sprite* sprite, int32_t x, int32_t y, const char* text, int32_t advance,
                 int32_t unused, Surface* surface);

// The info line table: 48 lines and a null 49th slot that shows nothing for one swing.
constexpr int32_t kInfoLineCount = 48;
extern const char* gInfoLines[kInfoLineCount + 1];
extern int32_t gInfoLineCount;

struct OverlayState {
    float scrollerX;      // starts at 700, restarts at 650
    float scrollerPhase;  // bob of the scroller
    float infoPhase;      // swing of the info line
    int32_t infoIndex;
    int32_t infoWidth;  // pixels
    int32_t holdCounter;
    int32_t swapAllowed;
    int32_t infoX, infoY;
};

// The first frame's set-up: builds the font and measures info line 0 off the screen.
void OverlayStart(const uint8_t* fontImage, const char* scrollerText, Surface* surface);
// Draws the scroller, then the info line, onto the unlocked drawing surface.
void OverlayDraw(Surface* surface);
const OverlayState* OverlayStateGet();
// Back to the state before the first frame (tests and tools).
void OverlayReset();
