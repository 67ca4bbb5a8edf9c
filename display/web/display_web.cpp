// The web screen: a 2D <canvas> of the surface's size. Each present scales the frame
// into the screen's 639 x 479 top-left (the last row and column stay black, as on the
// desktop), turns 5.6.5 into RGBA and puts it on the canvas; the page scales the canvas
// to the browser window.
#include <emscripten.h>

#include <cstddef>

#include "display/present_scale.h"
#include "display/soft/soft_backend.h"
#include "platform/window.h"

namespace {

constexpr int32_t kWidthMax = 640, kHeightMax = 480;

// The canvas's image: its pixel array is this block of the program's memory.
uint32_t gRgba[kWidthMax * kHeightMax];
int32_t gWidth, gHeight;
// Which surface column and row each screen pixel shows, from the shared presentation
// rule; the screen's last column and row are never written and stay black.
uint16_t gSourceX[kWidthMax], gSourceY[kHeightMax];

// Runs the presentation rule once on surfaces whose pixels hold their own column, then
// their own row, and reads off where each screen pixel comes from.
void SourceMapsMake(int32_t width, int32_t height) {
    static uint16_t from[kWidthMax * kHeightMax], to[kWidthMax * kHeightMax];
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) from[y * width + x] = static_cast<uint16_t>(x);
    PresentScaleToScreen(from, width * 2, width, height, to, width * 2);
    for (int32_t x = 0; x < width - 1; ++x) gSourceX[x] = to[x];
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) from[y * width + x] = static_cast<uint16_t>(y);
    PresentScaleToScreen(from, width * 2, width, height, to, width * 2);
    for (int32_t y = 0; y < height - 1; ++y) gSourceY[y] = to[y * width];
}

}  // namespace

// Opens the canvas that `selector` names at width x height, with an image over `rgba`.
// The memory never grows, so the image's view of it stays valid.
EM_JS(int, WebCanvasOpen, (const char* selector, uint32_t* rgba, int width, int height), {
    var canvas = document.querySelector(UTF8ToString(selector));
    if (!canvas || !canvas.getContext) return 0;
    canvas.width = width;
    canvas.height = height;
    var context = canvas.getContext("2d", {alpha : false});
    if (!context) return 0;
    var pixels = new Uint8ClampedArray(HEAPU8.buffer, rgba, width * height * 4);
    Module.invitroCanvas = {context : context, image : new ImageData(pixels, width, height)};
    return 1;
});

EM_JS(void, WebCanvasPut, (), {
    var c = Module.invitroCanvas;
    c.context.putImageData(c.image, 0, 0);
});

EM_JS(void, WebCanvasClose, (), { Module.invitroCanvas = null; });

int SoftBackendInit(int32_t width, int32_t height, int32_t, uint32_t* primaryBitCount) {
    const char* selector = static_cast<const char*>(WindowHandle());
    if (!selector || width < 2 || height < 2 || width > kWidthMax || height > kHeightMax) return 0;
    if (!WebCanvasOpen(selector, gRgba, width, height)) return 0;
    gWidth = width;
    gHeight = height;
    for (uint32_t& p : gRgba) p = 0xFF000000u;  // opaque black
    SourceMapsMake(width, height);
    *primaryBitCount = 16;
    return 1;
}

int SoftBackendPresent(const Surface* back) {
    if (!gWidth) return 0;
    for (int32_t y = 0; y < gHeight - 1; ++y) {
        const uint16_t* from =
            back->pixels + static_cast<ptrdiff_t>(gSourceY[y]) * (back->pitch / 2);
        uint32_t* to = gRgba + static_cast<ptrdiff_t>(y) * gWidth;
        for (int32_t x = 0; x < gWidth - 1; ++x) {
            // Each channel widened to 8 bits by repeating its top bits, as the PNG frames are.
            const uint32_t p = from[gSourceX[x]];
            const uint32_t r = p >> 11, g = (p >> 5) & 63, b = p & 31;
            to[x] = ((r << 3) | (r >> 2)) | ((g << 2) | (g >> 4)) << 8 |
                    ((b << 3) | (b >> 2)) << 16 | 0xFF000000u;
        }
    }
    WebCanvasPut();
    return 1;
}

void SoftBackendRelease() {
    if (gWidth) WebCanvasClose();
    gWidth = gHeight = 0;
}
