// Colour packers and the process-wide choice between them.
#include "display/colour.h"

uint16_t PackRGB555(int32_t r, int32_t g, int32_t b) {
    return static_cast<uint16_t>(((r >> 3) & 31) * 1024 + ((g >> 3) & 31) * 32 + ((b >> 3) & 31));
}

uint16_t PackRGB565(int32_t r, int32_t g, int32_t b) {
    return static_cast<uint16_t>((((r >> 3) << 11) + ((g >> 2) & 63) * 32 + ((b >> 3) & 31)) &
                                 0xFFFF);
}

ColourPackerFn ColourPackerForBitCount(uint32_t bitCount) {
    return bitCount == 15 ? PackRGB555 : PackRGB565;
}

ColourPackerFn ColourPacker = PackRGB565;
