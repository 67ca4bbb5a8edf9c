// The frame clock: millisecond ticks, the frame-start stamp and the 25-ms pacing.
#pragma once
#include <cstdint>

// Milliseconds of the platform clock (GetTickCount, SDL_GetTicks, or the headless
// virtual clock). Platform-supplied.
uint32_t TickNow();
// One turn of the frame wait's busy loop. Real clocks do nothing here; the headless
// clock moves its virtual time on by one millisecond. Platform-supplied.
void FrameClockSpin();

// Stores TickNow() as the frame start and returns it. First thing of every frame.
uint32_t FrameStartStamp();
// The tick of the current frame's start.
uint32_t FrameStartTick();
// Busy-waits (no sleep) until at least `ms` have passed since the frame start;
// returns the tick after the wait. Slower frames are not waited for.
uint32_t WaitFrameTime(uint32_t ms);
// Sets frames per second = 1000 / (TickNow() - frame start) and returns it.
float FramesPerSecondUpdate();
// The last value written by FramesPerSecondUpdate.
float FramesPerSecond();

// The end of every frame, after DisplayPresent: wait until 25 ms have passed, update
// the frames per second, and post the quit request if Escape is down.
void FrameFinish();
