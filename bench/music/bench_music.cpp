// Render speed of the player and mixer in multiples of real time, for synthetic
// modules that keep every channel busy (a new note on every channel every row, with
// vibrato, volume slides and looped samples), through the same slice path as the
// stream: RenderSlice, which mixes and converts 884 frames.
#include <benchmark/benchmark.h>

#include <cmath>

#include "bench/bench_main.h"
#include "music/music.h"
#include "tools/common/xm_writer.h"

namespace {

XmWriterModule BusyModule(uint16_t channels) {
    XmWriterModule m;
    m.channels = channels;
    m.tempo = 6;
    m.bpm = 125;
    m.orders = {0};
    XmWriterInstrument in;
    XmWriterSample s;
    for (int i = 0; i < 4096; ++i)
        s.values.push_back(
            static_cast<int16_t>(8000 * std::sin(i * 0.07) + 3000 * std::sin(i * 0.31)));
    s.loopType = 1;
    s.loopStart = 1024;
    s.loopLength = 3072;
    in.samples.push_back(s);
    in.volumeEnvelope = {{{0, 64}, {20, 40}, {60, 50}}, 1, 0, 0, 1 | 2};
    m.instruments.push_back(in);
    XmWriterPattern p;
    p.rows = 64;
    for (int row = 0; row < 64; ++row) {
        for (int c = 0; c < channels; ++c) {
            const uint8_t effect = row % 2 ? 4 : 10;  // vibrato, volume slide
            XmWriterAt(p, channels, row, c) = {static_cast<uint8_t>(25 + (row * 7 + c * 5) % 48), 1,
                                               0, effect, row % 2 ? uint8_t{0x46} : uint8_t{0x01}};
        }
    }
    m.patterns.push_back(p);
    return m;
}

void RenderRealTime(benchmark::State& state) {
    const std::vector<uint8_t> bytes = XmWrite(BusyModule(static_cast<uint16_t>(state.range(0))));
    const char* reason = nullptr;
    if (!MusicRenderOpen(bytes.data(), static_cast<uint32_t>(bytes.size()), kMusicSourceMemory,
                         &reason)) {
        state.SkipWithError(reason);
        return;
    }
    for (auto _ : state) {
        RenderSlice();
        benchmark::DoNotOptimize(MusicRingSlice(0));
    }
    MusicRenderClose();
    // Seconds of sound per second of rendering: the "x real time" figure.
    state.counters["realtime"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kMusicSliceFrames / 44100.0,
                           benchmark::Counter::kIsRate);
}

}  // namespace

BENCHMARK(RenderRealTime)->Arg(8)->Arg(32)->Unit(benchmark::kMicrosecond);
INVITRO_BENCH_MAIN(
    "bench_music: the player and mixer through RenderSlice, synthetic modules with every channel "
    "busy (8 and 32 channels), in multiples of real time");
