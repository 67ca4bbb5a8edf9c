// Building the renderer's lookup tables.
#include "engine/tables.h"

uint16_t BlendScalePixel(uint32_t pixel, int32_t level) {
    // Each channel is rounded to the nearest value: (c * k + 3) / 7. Seven is odd, so there
    // are no ties, and the two weights k and 7 - k of one blend always round to a total no
    // larger than the channel's maximum: the fillers' unchecked add never carries.
    const uint32_t r = (pixel >> 11) & 31, g = (pixel >> 5) & 63, b = pixel & 31;
    const uint32_t k = static_cast<uint32_t>(level);
    return static_cast<uint16_t>((((r * k + 3) / 7) << 11) | (((g * k + 3) / 7) << 5) |
                                 ((b * k + 3) / 7));
}

void LookupTablesInit() {
    for (int32_t i = 0; i < kLog2TableSize; ++i) Log2Table[i] = 0;
    for (int32_t bit = 0; (1 << bit) < kLog2TableSize; ++bit) {
        Log2Table[1 << bit] = static_cast<uint8_t>(bit);
    }
    for (int32_t level = 0; level < kBlendLevels; ++level) {
        for (uint32_t p = 0; p < 65536; ++p) BlendTable[level][p] = BlendScalePixel(p, level);
    }
}
