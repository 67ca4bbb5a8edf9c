// The engine's whole work on a frame once the scene is in the render list: every pass
// from back faces to the last filler call, shared out between the frame's two threads.
#pragma once
#include <cstdint>

#include "engine/camera.h"
#include "engine/light.h"
#include "engine/render_pass.h"
#include "engine/zbuffer.h"

// Shares the frame's work between `threads` threads, 1 or 2 (AppInit asks for 2): with 2,
// the worker thread (platform/worker.h, started by the first such call) takes half of
// every pass. Without a worker thread it stays 1. The frames are the same either way.
void RenderFrameThreadsSet(int threads);
int RenderFrameThreads();

// Called once at start-up: has the operating system back every page of the render list,
// the depth buffer and the frame's own tables now, contents unchanged, so that the first
// frame does not stop on thousands of first touches.
void RenderFrameMemoryCommit(RenderList* list, ZBuffer* zbuffer);

// Called once a frame, after the scene's objects were inserted into context->list. On the
// whole list: remove back faces (writing the inserted records), world to camera, clip
// against every plane, move the lights to camera space (LightsTransform), light,
// perspective and screen mapping; then lock the display's drawing surface, clear `zbuffer`
// to `depthClear` and run the render pass with the context's choices into the locked
// surface and `zbuffer` (the context's own frame and depth fields are not read), and unlock.
// Returns 1, or 0 (doing nothing) for a null context, list, camera or depth buffer.
int RenderFrame(const RenderContext* context, const Camera* cam, Light* lights, int32_t lightCount,
                ZBuffer* zbuffer, uint32_t depthClear);
