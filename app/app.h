// Start-up, the main loop and shut-down of the intro.
#pragma once
#include <cstdint>

// The start-up sequence, in its fixed order; called once after the window exists.
int AppInit();
// The tear-down sequence; called once after the quit message. The music is left
// running on purpose: the process exit ends it.
int AppShutdown();
// One message at most per turn, then one frame. Returns the quit message's wParam
// after AppShutdown.
int AppMainLoop();

// Floating-point settings for the renderer's conversions: round to nearest, denormals
// flushed to zero. SSE computes floats in single and doubles in double precision, as
// the code is written, so no precision setting is needed.
void FloatingPointSetup();
