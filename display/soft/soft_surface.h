// The software surface: the portable stand-in for a DirectDraw surface, shared by
// the Linux and headless displays. Internal to display/.
#pragma once
#include <cstdint>

#include "display/display.h"

constexpr int32_t kSoftClipRectsMax = 8;

struct Surface {
    int32_t width, height;
    int32_t pitch;  // bytes per row
    uint16_t* pixels;
    uint32_t colourKey;  // source colour key; pixels of this value are not copied
    int32_t locked;
    Clipper* clipper;  // null: blits onto this surface are cut to the surface itself
};

struct Clipper {
    int32_t count;
    SurfaceRect rects[kSoftClipRectsMax];
    SurfaceRect bound;  // the union of the rectangles
};

// Allocates a width x height surface with every pixel 0. Null on failure.
Surface* SoftSurfaceCreate(int32_t width, int32_t height, uint32_t colourKey);
void SoftSurfaceDestroy(Surface* surface);
// Colour fill of rect (null = whole surface), cut to the surface.
void SoftSurfaceFill(Surface* surface, uint16_t colour, const SurfaceRect* rect);
// The keyed, clipped copy of SurfaceBlitKeyed.
int SoftSurfaceBlitKeyed(Surface* dst, const SurfaceRect* dstRect, const Surface* src,
                         const SurfaceRect* srcRect);
