// What a software-surface display needs from its platform: a screen to show the
// drawing surface on. Linux (SDL) and headless supply these. Internal to display/.
#pragma once
#include <cstdint>

#include "display/soft/soft_surface.h"

// Opens the screen at width x height; reports the bits per pixel of the screen's
// pixel format (what a DirectDraw primary would report). Returns 1 or 0.
int SoftBackendInit(int32_t width, int32_t height, int32_t windowed, uint32_t* primaryBitCount);
// Shows the drawing surface scaled into the (width - 1) x (height - 1) rectangle at the
// top-left of the screen. Returns 1, or 0 when the screen refused it.
int SoftBackendPresent(const Surface* back);
void SoftBackendRelease();
