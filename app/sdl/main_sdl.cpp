// The Linux entry point: the window first, then start-up, the main loop, tear-down.
#include <SDL.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/app.h"
#include "display/sdl/sdl_screen.h"
#include "platform/window.h"

// Drivers that show nothing. SDL falls back to them when it finds no screen, and the
// intro would then run unseen for ever; they are used only when SDL_VIDEODRIVER names them.
static int VideoDriverShowsNothing(const char* name) {
    return !std::strcmp(name, "offscreen") || !std::strcmp(name, "dummy") ||
           !std::strcmp(name, "evdev");
}

// Without a compositor's socket to find, probing Wayland only makes its library print
// an error of its own before ours.
static int WaylandReachable() {
    const char* socket = std::getenv("WAYLAND_DISPLAY");
    return std::getenv("WAYLAND_SOCKET") || std::getenv("XDG_RUNTIME_DIR") ||
           (socket && socket[0] == '/');
}

// Restricts SDL to the drivers that show a picture, unless the user chose drivers.
static void VideoDriversChoose() {
    if (std::getenv("SDL_VIDEODRIVER")) return;
    char list[256] = "";
    for (int i = 0; i < SDL_GetNumVideoDrivers(); ++i) {
        const char* name = SDL_GetVideoDriver(i);
        if (VideoDriverShowsNothing(name)) continue;
        if (!std::strcmp(name, "wayland") && !WaylandReachable()) continue;
        if (list[0]) std::strncat(list, ",", sizeof list - std::strlen(list) - 1);
        std::strncat(list, name, sizeof list - std::strlen(list) - 1);
    }
    SDL_SetHint(SDL_HINT_VIDEODRIVER, list);
}

int main(int, char** argv) {
    VideoDriversChoose();
    if (SDL_Init(SDL_INIT_VIDEO | SDL_INIT_EVENTS | SDL_INIT_TIMER) != 0) {
        const char* display = std::getenv("DISPLAY");
        if (display && !display[0]) display = nullptr;
        std::fprintf(stderr,
                     "invitro: there is no display (%s%s; %s): start it from a desktop "
                     "session, or on a virtual screen: Xvfb :9 -screen 0 640x480x16 & "
                     "DISPLAY=:9 %s\n",
                     display ? "DISPLAY=" : "DISPLAY is not set", display ? display : "",
                     SDL_GetError(), argv[0]);
        return 1;
    }
    SDL_Window* window = SDL_CreateWindow("Korvane'06 invitro", 0, 0, 640, 480,
                                          SDL_WINDOW_SHOWN | SDL_WINDOW_BORDERLESS);
    if (!window) {
        std::fprintf(stderr, "invitro: cannot create the window: %s\n", SDL_GetError());
        SDL_Quit();
        return 1;
    }
    // Refused before anything starts: a screen SDL cannot draw on would stay black.
    if (!SdlScreenOpen(window)) {
        std::fprintf(stderr,
                     "invitro: SDL cannot draw on this screen (%s): the intro needs one of "
                     "15, 16 or 24 bits a pixel\n",
                     SDL_GetError());
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
