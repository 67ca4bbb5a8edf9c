// Controls of the headless display, for tests and tools: where presented frames go,
// what the "primary" reports, and failures on demand.
#pragma once
#include <cstdint>

// Receives the drawing surface at each successful present (the raw 16-bit surface;
// PresentScaleToScreen gives the picture as a screen would show it).
using HeadlessPresentSink = void (*)(const uint16_t* pixels, int32_t pitchBytes, int32_t width,
                                     int32_t height, void* user);

void HeadlessDisplaySetSink(HeadlessPresentSink sink, void* user);
// Bits per pixel the next DisplayInit reports for the primary (16 by default).
void HeadlessDisplaySetBitCount(uint32_t bits);
// Makes the next DisplayInit fail (1) or succeed (0).
void HeadlessDisplaySetFailInit(int fail);
// Frames presented since the display was opened.
int32_t HeadlessDisplayPresentCount();
