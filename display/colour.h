// Colour packers: 8-bit red, green and blue to one 16-bit pixel.
#pragma once
#include <cstdint>

using ColourPackerFn = uint16_t (*)(int32_t r, int32_t g, int32_t b);

// 1.5.5.5: ((r >> 3) & 31) * 1024 + ((g >> 3) & 31) * 32 + ((b >> 3) & 31).
uint16_t PackRGB555(int32_t r, int32_t g, int32_t b);
// 5.6.5: (((r >> 3) << 11) + ((g >> 2) & 63) * 32 + ((b >> 3) & 31)) & 0xFFFF.
uint16_t PackRGB565(int32_t r, int32_t g, int32_t b);

// The packer for a primary surface of `bitCount` bits per pixel: exactly 15 gives
// 5.5.5, anything else 5.6.5. Only the bit count decides, never the colour masks.
ColourPackerFn ColourPackerForBitCount(uint32_t bitCount);

// The packer chosen by DisplayInit (5.6.5 until then). Every colour of the program
// goes through it.
extern ColourPackerFn ColourPacker;
