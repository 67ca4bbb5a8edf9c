// The display on software surfaces: the same start-up, lock, fill and present rules
// as the DirectDraw display, with the screen left to a backend.
#include <cstring>

#include "display/debug_log.h"
#include "display/display.h"
#include "display/soft/soft_backend.h"
#include "display/soft/soft_surface.h"

ClipRectangle gClipRectangle = {0, 0, 0, 0};

static int32_t gScreenWidth, gScreenHeight, gScreenBits, gWindowed, gFlipChain;
static uint32_t gPixelBitCount;
static int gBackendOpen;
static Surface* gBack;
static Clipper* gBackClipper;
static uint16_t* gLockPointer;
static int32_t gLockPitch;
static uint8_t gPaletteShadow[1024];

int DisplayInit(int32_t width, int32_t height, int32_t bits, int32_t windowed, int32_t flipChain) {
    // The backend stands for the device, the cooperative level, the mode and the primary.
    if (!SoftBackendInit(width, height, windowed, &gPixelBitCount)) return 0;
    gBackendOpen = 1;
    gScreenWidth = width;
    gScreenHeight = height;
    gScreenBits = bits;
    gWindowed = windowed;
    gFlipChain = flipChain;

    DebugLog("\npixel format = %d", static_cast<int>(gPixelBitCount));
    ColourPacker = ColourPackerForBitCount(gPixelBitCount);
    DebugLog(gPixelBitCount == 15 ? "\npixel format = 5.5.5" : "\npixel format = 5.6.5");

    // A software surface is always 16 bits a pixel: a flip chain has nothing to add.
    gBack = SurfaceCreateOffscreen(width, height, kSurfaceSystemMemory, 0);

    if (bits == 8) {
        std::memset(gPaletteShadow, 0, sizeof gPaletteShadow);
        PaletteLoadFile("PALDATA2.PAL", gPaletteShadow);
    } else {
        SurfaceClear(gBack, 0, nullptr);
    }

    gClipRectangle = {0, 0, width - 1, height - 1};
    const SurfaceRect screen = {0, 0, width, height};
    gBackClipper = SurfaceAttachClipList(gBack, 1, &screen);
    return 1;
}

int DisplayRelease() {
    if (gBack) {
        SoftSurfaceDestroy(gBack);  // frees its clipper too
        gBack = nullptr;
        gBackClipper = nullptr;
    }
    if (gBackendOpen) {
        SoftBackendRelease();
        gBackendOpen = 0;
    }
    gLockPointer = nullptr;
    gLockPitch = 0;
    return 1;
}

int DisplayPresent() {
    if (gLockPointer) return 0;
    if (!gBack || !gBackendOpen) return 0;
    return SoftBackendPresent(gBack);
}

Surface* DisplayBackSurface() {
    return gBack;
}
uint32_t DisplayPixelBitCount() {
    return gPixelBitCount;
}

void SurfaceLock() {
    if (gLockPointer || !gBack) return;
    gBack->locked = 1;
    gLockPointer = gBack->pixels;
    gLockPitch = gBack->pitch;
}

int SurfaceUnlock() {
    if (!gLockPointer) return 0;
    gBack->locked = 0;
    gLockPointer = nullptr;
    gLockPitch = 0;
    return 1;
}

uint16_t* DisplayLockPointer() {
    return gLockPointer;
}
int32_t DisplayLockPitch() {
    return gLockPitch;
}

int SurfaceClear(Surface* surface, uint32_t colour, const SurfaceRect* rect) {
    if (!surface) return 0;
    SoftSurfaceFill(surface, static_cast<uint16_t>(colour), rect);
    return 1;
}

int SurfaceFillRect(int32_t x1, int32_t y1, int32_t x2, int32_t y2, uint32_t colour,
                    Surface* surface) {
    const SurfaceRect rect = {x1, y1, x2, y2};
    return SurfaceClear(surface, colour, &rect);
}

Surface* SurfaceCreateOffscreen(int32_t width, int32_t height, uint32_t, uint32_t colourKey) {
    return SoftSurfaceCreate(width, height, colourKey);
}

Clipper* SurfaceAttachClipList(Surface* surface, int32_t count, const SurfaceRect* rects) {
    if (!surface || !rects || count < 1 || count > kSoftClipRectsMax) return nullptr;
    Clipper* clipper = new Clipper{};
    clipper->count = count;
    clipper->bound = rects[0];
    for (int32_t i = 0; i < count; ++i) {
        clipper->rects[i] = rects[i];
        SurfaceRect& b = clipper->bound;
        if (rects[i].left < b.left) b.left = rects[i].left;
        if (rects[i].top < b.top) b.top = rects[i].top;
        if (rects[i].right > b.right) b.right = rects[i].right;
        if (rects[i].bottom > b.bottom) b.bottom = rects[i].bottom;
    }
    delete surface->clipper;
    surface->clipper = clipper;
    return clipper;
}

int SurfaceLockMemory(Surface* surface, uint16_t** pixels, int32_t* pitchBytes) {
    if (!surface || !pixels || !pitchBytes) return 0;
    *pixels = surface->pixels;
    *pitchBytes = surface->pitch;
    return 1;
}

int SurfaceUnlockMemory(Surface* surface) {
    return surface != nullptr;
}

int SurfaceBlitKeyed(Surface* dst, const SurfaceRect* dstRect, Surface* src,
                     const SurfaceRect* srcRect) {
    return SoftSurfaceBlitKeyed(dst, dstRect, src, srcRect);
}

int PaletteSet(const uint8_t* entries) {
    std::memcpy(gPaletteShadow, entries, sizeof gPaletteShadow);
    return 1;
}
