// Helpers of the reliability tests: the intro started afresh on the headless platform,
// as a new process would find it.
#pragma once
#include <cstdint>

#include "app/headless/headless.h"
#include "demo/overlay.h"
#include "demo/timeline.h"
#include "display/headless/display_headless.h"
#include "music/headless/wave_headless.h"
#include "music/music.h"

// The show's tick 0 (a zero tick means "not started" to the timeline).
constexpr uint32_t kShowClockBase = 1000;

// Every control of the headless platform and the show's own state back to a fresh
// process's, before AppInit.
inline void ShowFreshProcess() {
    StopMusic();
    HeadlessReset();
    HeadlessDisplaySetFailInit(0);
    HeadlessDisplaySetSink(nullptr, nullptr);
    HeadlessWaveSetOpenFails(0);
    HeadlessWaveSetPosition(0);
    TimelineReset();
    OverlayReset();
    HeadlessClockSet(kShowClockBase);
}
