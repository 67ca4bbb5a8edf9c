// The 16-bit drawing surface: start-up, lock/unlock, colour fills, colour-keyed
// blits and presentation. One implementation per platform (DirectDraw 7 on Windows,
// software surfaces on Linux and headless); callers see only these functions.
#pragma once
#include <cstdint>

#include "display/colour.h"

struct Surface;  // a platform surface: DirectDraw surface or software surface
struct Clipper;  // a clip list attached to a surface

// A rectangle with exclusive right and bottom edges, as DirectDraw takes them.
struct SurfaceRect {
    int32_t left, top, right, bottom;
};

// Inclusive drawing limits; DisplayInit sets them to 0, 0, width - 1, height - 1.
// The fillers and the 2D drawing read them.
struct ClipRectangle {
    int32_t minX, minY, maxX, maxY;
};
extern ClipRectangle gClipRectangle;

constexpr uint32_t kSurfaceSystemMemory = 0x800;  // DDSCAPS_SYSTEMMEMORY

// Called once by AppInit with (640, 480, 16, 0, 0). Returns 1, or 0 at the first
// failing step (what was created so far stays). Fixes ColourPacker and the clip rectangle.
int DisplayInit(int32_t width, int32_t height, int32_t bits, int32_t windowed, int32_t flipChain);
// Releases every display object in reverse order of creation. Returns 1.
int DisplayRelease();
// Called once per frame after SurfaceUnlock. Returns 0 (and presents nothing) while
// the drawing surface is locked or when the copy to the screen fails.
int DisplayPresent();

// The drawing surface ("back"); null before DisplayInit succeeded.
Surface* DisplayBackSurface();
// Bits per pixel reported by the primary surface (0 before DisplayInit).
uint32_t DisplayPixelBitCount();

// Locks the drawing surface if it is not locked and publishes pointer and pitch.
void SurfaceLock();
// Returns 1 if it unlocked, 0 if nothing was locked.
int SurfaceUnlock();
// The locked FrameBuffer (null while unlocked) and its pitch in bytes (0 while unlocked).
uint16_t* DisplayLockPointer();
int32_t DisplayLockPitch();

// Colour fill of `rect` (null = the whole surface). Returns 1.
int SurfaceClear(Surface* surface, uint32_t colour, const SurfaceRect* rect);
// Colour fill of left x1, top y1, right x2, bottom y2 (right and bottom exclusive). Returns 1.
int SurfaceFillRect(int32_t x1, int32_t y1, int32_t x2, int32_t y2, uint32_t colour,
                    Surface* surface);
// An off-screen surface in the display's pixel format with a source colour key.
Surface* SurfaceCreateOffscreen(int32_t width, int32_t height, uint32_t memoryCaps,
                                uint32_t colourKey);
// Attaches a clip list (count rectangles) to a surface; blits onto it are cut to it.
Clipper* SurfaceAttachClipList(Surface* surface, int32_t count, const SurfaceRect* rects);

// Locks any surface for direct access (waits). Returns 1 and fills pixels and pitch.
int SurfaceLockMemory(Surface* surface, uint16_t** pixels, int32_t* pitchBytes);
int SurfaceUnlockMemory(Surface* surface);
// Copies src's rectangle to dst's rectangle of the same size, skipping pixels equal to
// src's colour key and cutting the copy to dst's clip list. Returns 1 on success.
int SurfaceBlitKeyed(Surface* dst, const SurfaceRect* dstRect, Surface* src,
                     const SurfaceRect* srcRect);

// The dormant 8-bit palette path. Entries are 256 x (red, green, blue, flags).
int PaletteLoadFile(const char* path, uint8_t* entries);
int PaletteSet(const uint8_t* entries);
