// Texture records as the render pass and the fillers see them.
#pragma once
#include <cstdint>

// A 16-bit 5.6.5 texture, rows one after the other; the width is a power of two.
// A mip-mapped triangle's texture word points at level 0 of a contiguous array of
// level records (level k at texture[k]), each half the size of the one before.
struct Texture {
    int32_t width;
    int32_t height;
    uint16_t* texels;
};
