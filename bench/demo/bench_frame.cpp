// The whole DemoFrame work minus the pacing wait (geometry, raster, overlay, present to a
// null sink) at 640 x 480, frame by frame over one full 115-s cycle at 40 frames a
// second on the headless platform; median and worst frame per scene.
//   bench_frame [cycles]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "app/app.h"
#include "app/headless/headless.h"
#include "demo/demo.h"
#include "demo/timeline.h"
#include "display/headless/display_headless.h"
#include "music/headless/wave_headless.h"

int main(int argc, char** argv) {
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 1;
    if (argc > 2 || cycles < 1 || cycles > 100) {
        std::fprintf(stderr,
                     "usage: bench_frame [cycles]   (1 to 100 cycles of 115 s; 1 if none)\n");
        return 2;
    }
    const int frames = cycles * 115000 / 25;
    std::printf(
        "bench_frame: the whole DemoFrame work (geometry, raster, overlay, present to a null "
        "sink) per frame, %d frames (%d cycle%s of 115 s at 40 fps), one thread\n",
        frames, cycles, cycles == 1 ? "" : "s");
    std::fflush(stdout);
    HeadlessReset();
    HeadlessClockSet(1000);
    HeadlessWaveSetOpenFails(1);  // the music runs on its own thread in the intro
    AppInit();

    std::vector<double> times[kSceneCount];
    std::vector<double> all;
    for (int n = 0; n < frames; ++n) {
        HeadlessClockSet(1000 + static_cast<uint32_t>(n) * 25);
        const auto start = std::chrono::steady_clock::now();
        DemoFrame();
        const double ms =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
                .count();
        times[TimelineStateGet()->scene].push_back(ms);
        all.push_back(ms);
    }

    std::printf("%-8s %8s %10s %10s %10s\n", "scene", "frames", "median ms", "p99 ms", "worst ms");
    auto row = [](const char* name, std::vector<double> v) {
        std::sort(v.begin(), v.end());
        std::printf("%-8s %8zu %10.3f %10.3f %10.3f\n", name, v.size(), v[v.size() / 2],
                    v[v.size() * 99 / 100], v.back());
    };
    const char* names[kSceneCount] = {"0", "1", "2", "3", "4"};
    for (int s = 0; s < kSceneCount; ++s)
        if (!times[s].empty()) row(names[s], times[s]);
    row("all", all);
    return 0;
}
