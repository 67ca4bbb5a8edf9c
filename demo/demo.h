// The per-frame driver of the show.
#pragma once

// Renders, presents and paces one frame, and polls Escape. Returns 1.
int DemoFrame();
