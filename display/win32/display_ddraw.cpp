// The Windows display: DirectDraw 7 gives a 640 x 480 x 16 screen and one system-memory
// drawing surface that is blitted to the primary once per frame.
#include <ddraw.h>
#include <windows.h>

#include <cstring>

#include "display/debug_log.h"
#include "display/display.h"
#include "platform/window.h"

// Wrappers that let shared code hold DirectDraw objects without seeing their types.
struct Surface {
    IDirectDrawSurface7* dd;
};
struct Clipper {
    IDirectDrawClipper* dd;
};

ClipRectangle gClipRectangle = {0, 0, 0, 0};

static IDirectDraw7* gDirectDraw;
static Surface gPrimary;
static Surface gBack;
static IDirectDrawPalette* gPalette;
static Clipper* gBackClipper;
static IDirectDrawClipper* gWindowClipper;
static int32_t gScreenWidth, gScreenHeight, gScreenBits, gWindowed, gFlipChain;
static uint32_t gPixelBitCount;
static uint16_t* gLockPointer;

static HWND MainWindow() {
    return static_cast<HWND>(WindowHandle());
}
static int32_t gLockPitch;
static int32_t gPrimaryLocked;                  // nothing sets it; present still honours it
static int32_t gWindowOffsetX, gWindowOffsetY;  // nothing sets them
static PALETTEENTRY gPaletteShadow[256];
// The scratch description shared by start-up and the lock. Its dwSize is the size of
// the record on this build (124 bytes on 32-bit Windows, more on 64-bit).
static DDSURFACEDESC2 gDesc;

static void DescClear() {
    std::memset(&gDesc, 0, sizeof gDesc);
    gDesc.dwSize = sizeof gDesc;
}

int DisplayInit(int32_t width, int32_t height, int32_t bits, int32_t windowed, int32_t flipChain) {
    if (FAILED(DirectDrawCreateEx(nullptr, reinterpret_cast<void**>(&gDirectDraw), IID_IDirectDraw7,
                                  nullptr)))
        return 0;
    const DWORD level = windowed ? DDSCL_NORMAL
                                 : DDSCL_FULLSCREEN | DDSCL_ALLOWREBOOT | DDSCL_EXCLUSIVE |
                                       DDSCL_ALLOWMODEX | DDSCL_MULTITHREADED;  // 0x453
    if (FAILED(gDirectDraw->SetCooperativeLevel(MainWindow(), level))) return 0;
    if (!windowed && FAILED(gDirectDraw->SetDisplayMode(width, height, bits, 0, 0))) return 0;

    gScreenWidth = width;
    gScreenHeight = height;
    gScreenBits = bits;
    gWindowed = windowed;
    gFlipChain = flipChain;

    DescClear();
    if (!windowed && flipChain) {
        gDesc.dwFlags = DDSD_CAPS | DDSD_BACKBUFFERCOUNT;
        gDesc.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE | DDSCAPS_FLIP | DDSCAPS_COMPLEX;
        gDesc.dwBackBufferCount = 1;
    } else {
        gDesc.dwFlags = DDSD_CAPS;
        gDesc.ddsCaps.dwCaps = DDSCAPS_PRIMARYSURFACE;
    }
    // Deliberately unchecked; without a primary the bit count below stays 0 (5.6.5).
    gDirectDraw->CreateSurface(&gDesc, &gPrimary.dd, nullptr);

    DDPIXELFORMAT format;
    std::memset(&format, 0, sizeof format);
    format.dwSize = sizeof format;
    if (gPrimary.dd) gPrimary.dd->GetPixelFormat(&format);
    gPixelBitCount = format.dwRGBBitCount;
    DebugLog("\npixel format = %d", static_cast<int>(gPixelBitCount));
    // Only the bit count decides, never the colour masks.
    ColourPacker = ColourPackerForBitCount(gPixelBitCount);
    DebugLog(gPixelBitCount == 15 ? "\npixel format = 5.5.5" : "\npixel format = 5.6.5");

    if (!windowed && flipChain) {
        DDSCAPS2 caps = {};
        caps.dwCaps = DDSCAPS_BACKBUFFER;
        if (!gPrimary.dd || FAILED(gPrimary.dd->GetAttachedSurface(&caps, &gBack.dd))) return 0;
    } else {
        Surface* offscreen = SurfaceCreateOffscreen(width, height, DDSCAPS_SYSTEMMEMORY, 0);
        if (offscreen) {
            gBack.dd = offscreen->dd;
            delete offscreen;
        }
    }

    if (bits == 8) {
        std::memset(gPaletteShadow, 0, sizeof gPaletteShadow);
        PaletteLoadFile("PALDATA2.PAL", reinterpret_cast<uint8_t*>(gPaletteShadow));
        DWORD caps = DDPCAPS_8BIT | DDPCAPS_ALLOW256;
        if (windowed) {
            // The 20 system colours stay the system's.
            for (int i = 0; i < 10; ++i) gPaletteShadow[i].peFlags = PC_EXPLICIT;
            for (int i = 246; i < 256; ++i) gPaletteShadow[i].peFlags = PC_EXPLICIT;
            caps = DDPCAPS_8BIT;
        }
        if (FAILED(gDirectDraw->CreatePalette(caps, gPaletteShadow, &gPalette, nullptr))) return 0;
        if (!gPrimary.dd || FAILED(gPrimary.dd->SetPalette(gPalette))) return 0;
    } else if (windowed) {
        SurfaceClear(&gBack, 0, nullptr);
    } else {
        SurfaceClear(&gPrimary, 0, nullptr);
        SurfaceClear(&gBack, 0, nullptr);
    }

    gClipRectangle = {0, 0, width - 1, height - 1};
    const SurfaceRect screen = {0, 0, width, height};
    gBackClipper = SurfaceAttachClipList(&gBack, 1, &screen);

    if (windowed) {
        if (FAILED(gDirectDraw->CreateClipper(0, &gWindowClipper, nullptr))) return 0;
        if (FAILED(gWindowClipper->SetHWnd(0, MainWindow()))) return 0;
        if (!gPrimary.dd || FAILED(gPrimary.dd->SetClipper(gWindowClipper))) return 0;
    }
    return 1;
}

int DisplayRelease() {
    if (gBackClipper) gBackClipper->dd->Release();
    if (gWindowClipper) gWindowClipper->Release();
    if (gPalette) gPalette->Release();
    if (gBack.dd) gBack.dd->Release();
    if (gPrimary.dd) gPrimary.dd->Release();
    if (gDirectDraw) gDirectDraw->Release();
    delete gBackClipper;
    gBackClipper = nullptr;
    gWindowClipper = nullptr;
    gPalette = nullptr;
    gBack.dd = nullptr;
    gPrimary.dd = nullptr;
    gDirectDraw = nullptr;
    return 1;
}

int DisplayPresent() {
    if (gPrimaryLocked || gLockPointer) return 0;
    if (!gPrimary.dd || !gBack.dd) return 0;
    if (!gWindowed && gFlipChain) {
        // Retried without end; the program never uses this mode.
        while (FAILED(gPrimary.dd->Flip(nullptr, DDFLIP_WAIT))) {
        }
        return 1;
    }
    RECT window;
    GetWindowRect(MainWindow(), &window);
    RECT destination;
    destination.left = window.left + gWindowOffsetX;
    destination.top = window.top + gWindowOffsetY;
    // Deliberate: right and bottom are exclusive, so the frame lands as 639 x 479.
    destination.right = destination.left + gScreenWidth - 1;
    destination.bottom = destination.top + gScreenHeight - 1;
    if (FAILED(gPrimary.dd->Blt(&destination, gBack.dd, nullptr, DDBLT_WAIT, nullptr))) return 0;
    return 1;
}

Surface* DisplayBackSurface() {
    return gBack.dd ? &gBack : nullptr;
}
uint32_t DisplayPixelBitCount() {
    return gPixelBitCount;
}

void SurfaceLock() {
    if (gLockPointer || !gBack.dd) return;
    DescClear();
    // Unchecked: a failed lock leaves the pointer null.
    gBack.dd->Lock(nullptr, &gDesc, DDLOCK_WAIT, nullptr);
    gLockPointer = static_cast<uint16_t*>(gDesc.lpSurface);
    gLockPitch = gDesc.lPitch;
}

int SurfaceUnlock() {
    if (!gLockPointer) return 0;
    gBack.dd->Unlock(nullptr);
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
    if (!surface || !surface->dd) return 0;
    DDBLTFX fx;
    std::memset(&fx, 0, sizeof fx);
    fx.dwSize = sizeof fx;
    fx.dwFillColor = colour;
    RECT area;
    RECT* target = nullptr;
    if (rect) {
        area = {rect->left, rect->top, rect->right, rect->bottom};
        target = &area;
    }
    surface->dd->Blt(target, nullptr, nullptr, DDBLT_COLORFILL | DDBLT_WAIT, &fx);
    return 1;
}

int SurfaceFillRect(int32_t x1, int32_t y1, int32_t x2, int32_t y2, uint32_t colour,
                    Surface* surface) {
    const SurfaceRect rect = {x1, y1, x2, y2};
    return SurfaceClear(surface, colour, &rect);
}

Surface* SurfaceCreateOffscreen(int32_t width, int32_t height, uint32_t memoryCaps,
                                uint32_t colourKey) {
    if (!gDirectDraw) return nullptr;
    DDSURFACEDESC2 desc;
    std::memset(&desc, 0, sizeof desc);
    desc.dwSize = sizeof desc;
    desc.dwFlags = DDSD_CAPS | DDSD_HEIGHT | DDSD_WIDTH;
    desc.dwWidth = width;
    desc.dwHeight = height;
    desc.ddsCaps.dwCaps = memoryCaps | DDSCAPS_OFFSCREENPLAIN;  // the display's pixel format
    IDirectDrawSurface7* created = nullptr;
    if (FAILED(gDirectDraw->CreateSurface(&desc, &created, nullptr))) return nullptr;
    DDCOLORKEY key = {colourKey, colourKey};
    created->SetColorKey(DDCKEY_SRCBLT, &key);
    return new Surface{created};
}

Clipper* SurfaceAttachClipList(Surface* surface, int32_t count, const SurfaceRect* rects) {
    if (!gDirectDraw || !surface || !surface->dd || count < 1) return nullptr;
    IDirectDrawClipper* clipper = nullptr;
    if (FAILED(gDirectDraw->CreateClipper(0, &clipper, nullptr))) return nullptr;
    const size_t size = sizeof(RGNDATAHEADER) + count * sizeof(RECT);
    RGNDATA* region = static_cast<RGNDATA*>(std::malloc(size));
    if (!region) {
        clipper->Release();
        return nullptr;
    }
    RECT* out = reinterpret_cast<RECT*>(region->Buffer);
    RECT bound = {rects[0].left, rects[0].top, rects[0].right, rects[0].bottom};
    for (int32_t i = 0; i < count; ++i) {
        out[i] = {rects[i].left, rects[i].top, rects[i].right, rects[i].bottom};
        if (out[i].left < bound.left) bound.left = out[i].left;
        if (out[i].top < bound.top) bound.top = out[i].top;
        if (out[i].right > bound.right) bound.right = out[i].right;
        if (out[i].bottom > bound.bottom) bound.bottom = out[i].bottom;
    }
    region->rdh.dwSize = sizeof(RGNDATAHEADER);
    region->rdh.iType = RDH_RECTANGLES;
    region->rdh.nCount = count;
    region->rdh.nRgnSize = count * sizeof(RECT);
    region->rdh.rcBound = bound;
    const bool ok =
        SUCCEEDED(clipper->SetClipList(region, 0)) && SUCCEEDED(surface->dd->SetClipper(clipper));
    std::free(region);
    if (!ok) {
        clipper->Release();
        return nullptr;
    }
    return new Clipper{clipper};
}

int SurfaceLockMemory(Surface* surface, uint16_t** pixels, int32_t* pitchBytes) {
    if (!surface || !surface->dd) return 0;
    DDSURFACEDESC2 desc;
    std::memset(&desc, 0, sizeof desc);
    desc.dwSize = sizeof desc;
    if (FAILED(surface->dd->Lock(nullptr, &desc, DDLOCK_WAIT, nullptr))) return 0;
    *pixels = static_cast<uint16_t*>(desc.lpSurface);
    *pitchBytes = desc.lPitch;
    return 1;
}

int SurfaceUnlockMemory(Surface* surface) {
    if (!surface || !surface->dd) return 0;
    return SUCCEEDED(surface->dd->Unlock(nullptr));
}

int SurfaceBlitKeyed(Surface* dst, const SurfaceRect* dstRect, Surface* src,
                     const SurfaceRect* srcRect) {
    if (!dst || !dst->dd || !src || !src->dd) return 0;
    RECT to = {dstRect->left, dstRect->top, dstRect->right, dstRect->bottom};
    RECT from = {srcRect->left, srcRect->top, srcRect->right, srcRect->bottom};
    // The destination's clipper cuts glyphs that reach past the screen's edges.
    return SUCCEEDED(dst->dd->Blt(&to, src->dd, &from, DDBLT_WAIT | DDBLT_KEYSRC, nullptr));
}

int PaletteSet(const uint8_t* entries) {
    std::memcpy(gPaletteShadow, entries, sizeof gPaletteShadow);
    if (gPalette) gPalette->SetEntries(0, 0, 256, gPaletteShadow);
    return 1;
}
