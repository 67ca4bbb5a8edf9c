// The scene schedule on the wall clock, the sky colour and the camera paths.
#pragma once
#include <cstdint>

#include "engine/math3d.h"

constexpr int32_t kSceneCount = 5;

struct TimelineState {
    int32_t firstFrame;      // 1 until the first frame has set up the overlay
    int32_t scene;           // 0..4
    uint32_t sceneStart;     // tick at which the scene began; 0 = not started
    uint32_t sceneDuration;  // ms, rewritten every frame by the running scene
    int32_t wrapped;         // set on 4 -> 0, cleared when scene 4 restarts its path
    float skyTime;           // grows by 0.01 a frame
    int32_t frameCount;
    int32_t skyRed, skyGreen, skyBlue;  // the last sky colour before packing
};

// Where the camera is for this frame and how it aims: mode 0 at its stored target,
// mode 1 along its direction angles (elevation, heading, roll in degrees).
struct SceneCamera {
    Vec3 position;
    float heading;  // scene 4 turns it by 0.1 degree a frame
    int32_t uvnMode;
};

void TimelineReset();
const TimelineState* TimelineStateGet();
// Clears the first-frame flag (after the overlay set-up of the first frame).
void TimelineFirstFrameDone();

// The first frame starts the schedule at scene 4 with 15000 ms.
void TimelineStart(uint32_t now);
// Advances the sky time and the frame count; returns the sky colour's 8-bit channels.
void TimelineSkyAdvance(int32_t* red, int32_t* green, int32_t* blue);
// Moves to the next scene when the current one has run longer than its duration; one
// scene per call at most. After scene 4 comes 0 and the wrapped flag.
void TimelineScheduleStep(uint32_t now);
// The current scene's set-up: stores its duration, places the camera for this frame
// and moves the scene's path angles on.
SceneCamera TimelineSceneCamera();
