// The per-frame driver of the show.
#pragma once

// Renders, presents and paces one frame, and polls Escape. Returns 1.
int DemoFrame();

// The frame's scene, ready for the engine: empties the render list, moves the lights,
// steps the schedule, places the camera and inserts every object of the scene into the
// render list (DemoWorld::drawn lists them). DemoFrame calls it after the sky and the
// keyboard; run on its own it needs TimelineStart and TimelineSkyAdvance first, as a
// frame calls them.
void DemoFrameScene();
