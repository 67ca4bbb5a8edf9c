// Sprites: a set of equally sized frames, each in its own colour-keyed off-screen
// surface, drawn with one keyed blit. The font's 256 glyphs are one sprite.
#pragma once
#include <cstdint>

#include "display/display.h"

constexpr int32_t kSpriteFramesMax = 256;

constexpr uint32_t kSpriteVisible = 0x10;
constexpr uint32_t kSpriteLoaded = 0x80;

// A 16-bit bitmap in memory, rows top first.
struct BitmapImage {
    int32_t width, height;
    int32_t bitCount;
    const uint16_t* pixels;
};

struct Sprite {
    uint32_t state;  // 1 after creation
    uint32_t attr;   // kSpriteVisible, kSpriteLoaded
    double x, y;     // position of the next blit
    int32_t width, height;
    int32_t frameCount;
    int32_t currentFrame;
    Surface* frames[kSpriteFramesMax];
};

// Stores position, size and attributes and creates one surface per frame with the
// source colour key. Returns 0 at the first surface that cannot be created.
int SpriteCreate(Sprite* sprite, double x, double y, int32_t width, int32_t height, int32_t frames,
                 uint32_t attr, uint32_t memoryCaps, uint32_t colourKey, int32_t bits);
// Copies one frame's pixels from the image: mode 0 takes (cellX, cellY) as a cell of a
// grid with one-pixel borders, any other mode as a pixel position. Returns 0 for a null
// sprite.
int SpriteLoadFrame(Sprite* sprite, const BitmapImage* image, int32_t frame, int32_t cellX,
                    int32_t cellY, int32_t mode);
// Blits the current frame at (x, y), cut by the surface's clip list; nothing while the
// sprite is not visible. Returns 1 on success.
int SpriteDraw(Sprite* sprite, Surface* surface);
