// The SDL screen's start for the Linux entry point.
#pragma once

struct SDL_Window;

// Creates the window's renderer ahead of start-up, so that a screen SDL cannot draw on
// (an 8-bit one) is refused before anything starts instead of staying black. 1, or 0
// with SDL's reason in SDL_GetError(). DisplayInit opens it itself when not done here.
int SdlScreenOpen(SDL_Window* window);
