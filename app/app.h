// Start-up, the main loop and shut-down of the intro.
#pragma once
#include <cstdint>

// The start-up sequence, in its fixed order; called once after the window exists.
int AppInit();
// The tear-down sequence; called once after the quit message. The music is left
// running on purpose: the process exit ends it.
int AppShutdown();
// One turn of the main loop: at most one waiting message, then one frame. Returns 1 to
// go on; 0 when the turn took the quit message, after AppShutdown, with the message's
// wParam in *exitCode. The desktop repeats it (AppMainLoop); a host that owns the loop,
// such as a browser's animation frame, calls it once per callback.
int AppMainTurn(int* exitCode);
// Repeats AppMainTurn until it says stop; returns the quit message's wParam.
int AppMainLoop();

// Floating-point settings for the renderer's conversions: round to nearest, denormals
// flushed to zero. SSE computes floats in single and doubles in double precision, as
// the code is written, so no precision setting is needed.
void FloatingPointSetup();
