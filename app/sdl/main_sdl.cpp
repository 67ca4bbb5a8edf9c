// The Linux entry point: the window first, then start-up, the main loop, tear-down.
#include <SDL.h>

#include <cstdio>

#include "app/app.h"
#include "platform/window.h"

int main(int, char**) {
    if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_EVENTS | SDL_INIT_TIMER) != 0) {
        std::fprintf(stderr, "invitro: cannot open the display: %s\n", SDL_GetError());
        return 1;
    }
    SDL_Window* window = SDL_CreateWindow("Korvane'06 invitro", 0, 0, 640, 480,
                                          SDL_WINDOW_SHOWN | SDL_WINDOW_BORDERLESS);
    if (!window) {
        std::fprintf(stderr, "invitro: cannot create the window: %s\n", SDL_GetError());
        SDL_Quit();
        return 1;
    }
    WindowHandleSet(window);
    AppInit();
    const int result = AppMainLoop();
    // The music thread is not stopped (the process exit ends it); leave without
    // running static destructors under its feet.
    SDL_DestroyWindow(window);
    std::fflush(stdout);
    std::_Exit(result);
}
