// Software surfaces: 16-bit pixel buffers with fills and colour-keyed, clipped copies.
#include "display/soft/soft_surface.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

Surface* SoftSurfaceCreate(int32_t width, int32_t height, uint32_t colourKey) {
    if (width <= 0 || height <= 0) return nullptr;
    Surface* surface = new (std::nothrow) Surface{};
    if (!surface) return nullptr;
    surface->pixels = static_cast<uint16_t*>(
        std::calloc(static_cast<size_t>(width) * static_cast<size_t>(height), sizeof(uint16_t)));
    if (!surface->pixels) {
        delete surface;
        return nullptr;
    }
    surface->width = width;
    surface->height = height;
    surface->pitch = width * 2;
    surface->colourKey = colourKey;
    return surface;
}

void SoftSurfaceDestroy(Surface* surface) {
    if (!surface) return;
    delete surface->clipper;
    std::free(surface->pixels);
    delete surface;
}

static SurfaceRect Intersect(const SurfaceRect& a, const SurfaceRect& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

void SoftSurfaceFill(Surface* surface, uint16_t colour, const SurfaceRect* rect) {
    SurfaceRect whole = {0, 0, surface->width, surface->height};
    SurfaceRect r = rect ? Intersect(*rect, whole) : whole;
    for (int32_t y = r.top; y < r.bottom; ++y) {
        uint16_t* row = surface->pixels + static_cast<ptrdiff_t>(y) * (surface->pitch / 2);
        std::fill(row + r.left, row + std::max(r.left, r.right), colour);
    }
}

// Copies the part of the blit that falls inside `clip` (destination coordinates).
static void BlitKeyedPart(Surface* dst, const SurfaceRect& dstRect, const Surface* src,
                          const SurfaceRect& srcRect, const SurfaceRect& clip) {
    SurfaceRect r = Intersect(dstRect, clip);
    if (r.left >= r.right || r.top >= r.bottom) return;
    const uint16_t key = static_cast<uint16_t>(src->colourKey);
    const int32_t dx = srcRect.left - dstRect.left;
    const int32_t dy = srcRect.top - dstRect.top;
    for (int32_t y = r.top; y < r.bottom; ++y) {
        const uint16_t* from = src->pixels + static_cast<ptrdiff_t>(y + dy) * (src->pitch / 2) + dx;
        uint16_t* to = dst->pixels + static_cast<ptrdiff_t>(y) * (dst->pitch / 2);
        // Written back where keyed, so that the loop has no branch and goes in vector lanes.
        for (int32_t x = r.left; x < r.right; ++x) {
            const uint16_t p = from[x];
            to[x] = p != key ? p : to[x];
        }
    }
}

int SoftSurfaceBlitKeyed(Surface* dst, const SurfaceRect* dstRect, const Surface* src,
                         const SurfaceRect* srcRect) {
    if (!dst || !src || !dstRect || !srcRect) return 0;
    const SurfaceRect s = *srcRect;
    const SurfaceRect d = *dstRect;
    if (s.right - s.left != d.right - d.left || s.bottom - s.top != d.bottom - d.top) return 0;
    if (s.left < 0 || s.top < 0 || s.right > src->width || s.bottom > src->height) return 0;
    const SurfaceRect whole = {0, 0, dst->width, dst->height};
    if (!dst->clipper) {
        BlitKeyedPart(dst, d, src, s, whole);
        return 1;
    }
    // The clip list's rectangles do not overlap (as a region's never do), so each
    // destination pixel is written at most once.
    for (int32_t i = 0; i < dst->clipper->count; ++i)
        BlitKeyedPart(dst, d, src, s, Intersect(dst->clipper->rects[i], whole));
    return 1;
}
