// The SDL shell's main window, created by main() before AppInit and read by the
// display (which shows the frames in it).
#pragma once
#include <SDL.h>

extern SDL_Window* gMainWindow;
