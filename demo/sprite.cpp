// Sprite frames in off-screen surfaces and their colour-keyed drawing.
#include "demo/sprite.h"

#include <cstring>

int SpriteCreate(Sprite* sprite, double x, double y, int32_t width, int32_t height, int32_t frames,
                 uint32_t attr, uint32_t memoryCaps, uint32_t colourKey, int32_t) {
    if (!sprite || frames < 0 || frames > kSpriteFramesMax) return 0;
    sprite->state = 1;
    sprite->attr = attr;
    sprite->x = x;
    sprite->y = y;
    sprite->width = width;
    sprite->height = height;
    sprite->frameCount = frames;
    sprite->currentFrame = 0;
    std::memset(sprite->frames, 0, sizeof sprite->frames);
    for (int32_t i = 0; i < frames; ++i) {
        sprite->frames[i] = SurfaceCreateOffscreen(width, height, memoryCaps, colourKey);
        if (!sprite->frames[i]) return 0;
    }
    return 1;
}

int SpriteLoadFrame(Sprite* sprite, const BitmapImage* image, int32_t frame, int32_t cellX,
                    int32_t cellY, int32_t mode) {
    if (!sprite) return 0;
    if (!image || frame < 0 || frame >= sprite->frameCount || !sprite->frames[frame]) return 0;
    int32_t sx = cellX, sy = cellY;
    if (mode == 0) {
        sx = cellX * (sprite->width + 1) + 1;
        sy = cellY * (sprite->height + 1) + 1;
    }
    // The image must hold the whole frame; a cell outside it is not loaded.
    if (sx < 0 || sy < 0 || sx + sprite->width > image->width ||
        sy + sprite->height > image->height)
        return 0;
    uint16_t* pixels;
    int32_t pitch;
    if (!SurfaceLockMemory(sprite->frames[frame], &pixels, &pitch)) return 0;
    for (int32_t row = 0; row < sprite->height; ++row) {
        const uint16_t* from = image->pixels + static_cast<size_t>(sy + row) * image->width + sx;
        std::memcpy(reinterpret_cast<uint8_t*>(pixels) + static_cast<size_t>(row) * pitch, from,
                    static_cast<size_t>(sprite->width) * 2);
    }
    SurfaceUnlockMemory(sprite->frames[frame]);
    sprite->attr |= kSpriteLoaded;
    return 1;
}

int SpriteDraw(Sprite* sprite, Surface* surface) {
    if (!(sprite->attr & kSpriteVisible)) return 1;
    const int32_t frame = sprite->currentFrame;
    if (frame < 0 || frame >= sprite->frameCount || !sprite->frames[frame]) return 0;
    const int32_t x = static_cast<int32_t>(sprite->x);
    const int32_t y = static_cast<int32_t>(sprite->y);
    const SurfaceRect source = {0, 0, sprite->width, sprite->height};
    const SurfaceRect destination = {x, y, x + sprite->width, y + sprite->height};
    return SurfaceBlitKeyed(surface, &destination, sprite->frames[frame], &source);
}
