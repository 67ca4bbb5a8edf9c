// The per-frame driver of the show.
#pragma once

// Renders, presents and paces one frame, and polls Escape. Returns 1.
int DemoFrame();

// Spreads the frame's work over `threads` threads, 1 or 2 (AppInit asks for 2): with 2,
// the worker (platform/worker.h, started by the first such call) takes half of the list
// passes and a band of the render pass. Without a worker thread it stays 1. The frames
// are the same either way.
void DemoFrameSetThreads(int threads);
int DemoFrameThreads();

// The geometry of a frame, without lighting or pixels: empties the render list, moves
// the lights, steps the schedule, places the camera, takes every object of the scene
// through the engine (DemoWorld::drawn lists them), removes back faces and clips the
// list in camera space. DemoFrame calls it after the sky and the keyboard; run on its
// own it needs TimelineStart and TimelineSkyAdvance first, as a frame calls them.
void DemoFrameGeometry();
// The rest of the frame's passes: lights the clipped list and maps it to the screen.
void DemoFrameProject();
