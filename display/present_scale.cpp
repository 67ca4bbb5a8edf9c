// The 639 x 479 presentation rule, for the platforms that compose the screen themselves.
#include "display/present_scale.h"

#include <cstddef>

void PresentScaleToScreen(const uint16_t* src, int32_t srcPitchBytes, int32_t width, int32_t height,
                          uint16_t* dst, int32_t dstPitchBytes) {
    const int32_t dw = width - 1, dh = height - 1;
    if (dw <= 0 || dh <= 0) return;
    for (int32_t y = 0; y < dh; ++y) {
        // Source position of a destination pixel's centre: (y + 0.5) * height / dh.
        const int32_t sy =
            static_cast<int32_t>((2 * static_cast<int64_t>(y) + 1) * height / (2 * dh));
        const uint16_t* from = src + static_cast<ptrdiff_t>(sy) * (srcPitchBytes / 2);
        uint16_t* to = dst + static_cast<ptrdiff_t>(y) * (dstPitchBytes / 2);
        for (int32_t x = 0; x < dw; ++x)
            to[x] = from[(2 * static_cast<int64_t>(x) + 1) * width / (2 * dw)];
    }
}
