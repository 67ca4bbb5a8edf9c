// The whole DemoFrame work minus the pacing wait (geometry, raster, overlay, present to a
// null sink) at 640 x 480, frame by frame over full 115-s cycles at 40 frames a second on
// the headless platform; median, p99 and worst frame per scene.
//   bench_frame [--threads 1|2] [--cycles N | --frames N]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "app/app.h"
#include "app/headless/headless.h"
#include "demo/demo.h"
#include "demo/timeline.h"
#include "display/headless/display_headless.h"
#include "engine/render_frame.h"
#include "music/headless/wave_headless.h"

int main(int argc, char** argv) {
    int cycles = 1, threads = 2, frames = 0;
    bool valid = true;
    for (int i = 1; i < argc && valid; ++i) {
        const bool more = i + 1 < argc;
        if (!std::strcmp(argv[i], "--threads") && more) {
            threads = std::atoi(argv[++i]);
            valid = threads == 1 || threads == 2;
        } else if (!std::strcmp(argv[i], "--cycles") && more) {
            cycles = std::atoi(argv[++i]);
            valid = cycles >= 1 && cycles <= 100;
        } else if (!std::strcmp(argv[i], "--frames") && more) {
            frames = std::atoi(argv[++i]);
            valid = frames >= 2;
        } else {
            valid = false;
        }
    }
    if (!valid) {
        std::fprintf(stderr,
                     "usage: bench_frame [--threads 1|2] [--cycles 1..100 | --frames N]\n"
                     "  (2 threads and 1 cycle of 115 s if not given)\n");
        return 2;
    }
    if (!frames) frames = cycles * 115000 / 25;
    HeadlessReset();
    HeadlessClockSet(1000);
    HeadlessWaveSetOpenFails(1);  // the music runs on its own thread in the intro
    AppInit();
    RenderFrameThreadsSet(threads);

    std::printf(
        "bench_frame: the whole DemoFrame work (geometry, lighting, raster, overlay, present "
        "to a null sink) per frame, %d frames of the 115-s cycle at 40 fps, %d thread%s\n",
        frames, RenderFrameThreads(), RenderFrameThreads() == 1 ? "" : "s");
    std::fflush(stdout);
    // The first frame (the font built, caches cold) is reported on its own.
    std::vector<double> times[kSceneCount];
    std::vector<double> all;
    double first = 0;
    for (int n = 0; n < frames; ++n) {
        HeadlessClockSet(1000 + static_cast<uint32_t>(n) * 25);
        const auto start = std::chrono::steady_clock::now();
        DemoFrame();
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count();
        if (n == 0) {
            first = ms;
            continue;
        }
        times[TimelineStateGet()->scene].push_back(ms);
        all.push_back(ms);
    }

    std::printf("%-8s %8s %10s %10s %10s\n", "scene", "frames", "median ms", "p99 ms", "worst ms");
    auto line = [](const char* name, std::vector<double> v) {
        std::sort(v.begin(), v.end());
        std::printf("%-8s %8zu %10.3f %10.3f %10.3f\n", name, v.size(), v[v.size() / 2],
                    v[v.size() * 99 / 100], v.back());
    };
    const char* names[kSceneCount] = {"0", "1", "2", "3", "4"};
    for (int s = 0; s < kSceneCount; ++s)
        if (!times[s].empty()) line(names[s], times[s]);
    if (!all.empty()) line("all", all);
    std::printf("first frame %.3f ms\n", first);
    return 0;
}
