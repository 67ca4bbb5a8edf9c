// The Linux screen: a full-screen-desktop window with a 640 x 480 logical screen; each
// frame is uploaded into a streaming texture and drawn into its 639 x 479 top-left.
#include <SDL.h>

#include "display/soft/soft_backend.h"
#include "platform/window.h"

static SDL_Renderer* gRenderer;
static SDL_Texture* gTexture;
static int32_t gWidth, gHeight;

int SoftBackendInit(int32_t width, int32_t height, int32_t windowed, uint32_t* primaryBitCount) {
    SDL_Window* window = static_cast<SDL_Window*>(WindowHandle());
    if (!window) return 0;
    if (!windowed && SDL_SetWindowFullscreen(window, SDL_WINDOW_FULLSCREEN_DESKTOP) != 0) return 0;
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
    // No vsync: the frame clock paces the show.
    gRenderer = SDL_CreateRenderer(window, -1, 0);
    if (!gRenderer) return 0;
    if (SDL_RenderSetLogicalSize(gRenderer, width, height) != 0) return 0;
    // A 15-bit desktop gets the 5.5.5 packer, so its texture takes 5.5.5 pixels too.
    const uint32_t bits = SDL_BITSPERPIXEL(SDL_GetWindowPixelFormat(window));
    const uint32_t format = bits == 15 ? SDL_PIXELFORMAT_RGB555 : SDL_PIXELFORMAT_RGB565;
    gTexture = SDL_CreateTexture(gRenderer, format, SDL_TEXTUREACCESS_STREAMING, width, height);
    if (!gTexture) return 0;
    gWidth = width;
    gHeight = height;
    *primaryBitCount = bits;
    SDL_SetRenderDrawColor(gRenderer, 0, 0, 0, 255);
    SDL_RenderClear(gRenderer);
    SDL_RenderPresent(gRenderer);
    return 1;
}

int SoftBackendPresent(const Surface* back) {
    if (!gTexture) return 0;
    if (SDL_UpdateTexture(gTexture, nullptr, back->pixels, back->pitch) != 0) return 0;
    SDL_RenderClear(gRenderer);
    // Right and bottom exclusive: 639 x 479, the frame's deliberate one-pixel shrink.
    const SDL_Rect destination = {0, 0, gWidth - 1, gHeight - 1};
    if (SDL_RenderCopy(gRenderer, gTexture, nullptr, &destination) != 0) return 0;
    SDL_RenderPresent(gRenderer);
    return 1;
}

void SoftBackendRelease() {
    if (gTexture) SDL_DestroyTexture(gTexture);
    if (gRenderer) SDL_DestroyRenderer(gRenderer);
    gTexture = nullptr;
    gRenderer = nullptr;
}
