// The wave ring and its stream thread: StartMusic, StopMusic, the slice renderer and
// the position table. One stream, one player and one module per process.
#include <atomic>
#include <cstring>

#include "music/music.h"
#include "music/wave_device.h"
#include "music/xm_player.h"

namespace {

struct PositionRecord {
    std::atomic<uint8_t> order;
    std::atomic<uint8_t> row;
    std::atomic<uint32_t> ms;
};

XmModule gModule;
XmPlayer gPlayer;
MusicSource gSource;
// One slice is mixed at a time: its accumulator stays in the cache.
float gAccumulator[kMusicSliceFrames * 2];
int16_t gRing[kMusicRingFrames * 2];
PositionRecord gPositions[kMusicSlices];

// The stop request and the alive count are polled across the two threads.
std::atomic<uint32_t> gThreadAlive;
std::atomic<uint32_t> gStopRequest;
// Written by whichever thread renders; read by the position checks of others.
std::atomic<uint32_t> gNextSlice;
std::atomic<uint32_t> gRenderedSlice;

void PositionsClear() {
    for (PositionRecord& r : gPositions) {
        r.order.store(0, std::memory_order_relaxed);
        r.row.store(0, std::memory_order_relaxed);
        r.ms.store(0, std::memory_order_relaxed);
    }
}

// Loads the module through the chosen source and resets the player (steps 3, 5 and 6
// of StartMusic without the device).
int MusicLoad(const void* source, uint32_t size, uint32_t kind, const char** reason) {
    XmModuleFree(&gModule);
    gNextSlice.store(0);
    gRenderedSlice.store(0);
    int loaded = 0;
    if (MusicSourceOpen(&gSource, source, size, kind)) {
        loaded = LoadXmModule(&gModule, &gSource, reason);
    } else if (reason) {
        *reason = kind == kMusicSourceMemory     ? "no module: the memory image is null"
                  : kind == kMusicSourceResource ? "no module: the resource cannot be found"
                                                 : "the module file cannot be opened";
    }
    MusicSourceClose(&gSource);
    if (!loaded) return 0;
    XmPlayerReset(&gPlayer, &gModule);
    return 1;
}

void StreamThreadMain() {
    while (MusicStreamRefill()) {
    }
}

}  // namespace

int MusicStreamRefill() {
    // The alive count was raised for the stream by StartMusic.
    const uint32_t playing = MusicPlayingSlice(WaveDevicePosition());
    for (;;) {
        WaveSleep(2);
        if (gNextSlice.load(std::memory_order_relaxed) == playing) break;
        RenderSlice();
        gRenderedSlice.store((gRenderedSlice.load(std::memory_order_relaxed) + 1) % kMusicSlices,
                             std::memory_order_relaxed);
    }
    if (!gStopRequest.load()) return 1;
    gThreadAlive.fetch_sub(1);
    return 0;
}

uint32_t MusicPlayingSlice(uint32_t bytesPlayed) {
    return ((bytesPlayed / 4) % kMusicRingFrames) / kMusicSliceFrames;
}

namespace {

typedef float Float4 __attribute__((vector_size(16)));
typedef int32_t Int4 __attribute__((vector_size(16)));
typedef int16_t Short8 __attribute__((vector_size(16)));

// Adding and taking away 1.5 x 2^23 rounds a float of magnitude below 2^22 to an
// integer in the processor's rounding mode (nearest, ties to even), without a library
// call; the clamped value then converts exactly. The clamps keep a NaN, as the scalar
// comparisons do, so lanes and scalar tail give the same 16 bits for every input.
constexpr float kRound = 12582912.0f;

template <typename T>
T ConvertClamped(T v, T low, T high) {
    v = v < low ? low : v;
    v = v > high ? high : v;
    return (v + kRound) - kRound;
}

}  // namespace

// The clamp's limits, never written. Read from memory, they let GCC make each clamp of
// the lanes one min or max instruction; against constants it compares and blends.
float gMusicConvertLimits[2] = {-32768.0f, 32767.0f};

void MusicConvert(const float* in, int16_t* out, uint32_t count) {
    const float low = gMusicConvertLimits[0], high = gMusicConvertLimits[1];
    const Float4 lanesLow = Float4{} + low, lanesHigh = Float4{} + high;
    uint32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        Float4 first, second;
        std::memcpy(&first, in + i, sizeof first);
        std::memcpy(&second, in + i + 4, sizeof second);
        // The low 16 bits of each 32-bit lane, as the scalar conversion keeps them.
        const Short8 a = reinterpret_cast<Short8>(
            __builtin_convertvector(ConvertClamped(first, lanesLow, lanesHigh), Int4));
        const Short8 b = reinterpret_cast<Short8>(
            __builtin_convertvector(ConvertClamped(second, lanesLow, lanesHigh), Int4));
        const Short8 s = __builtin_shufflevector(a, b, 0, 2, 4, 6, 8, 10, 12, 14);
        std::memcpy(out + i, &s, sizeof s);
    }
    for (; i < count; ++i) out[i] = static_cast<int16_t>(ConvertClamped(in[i], low, high));
}

void RenderSlice() {
    const uint32_t slice = gNextSlice.load(std::memory_order_relaxed);
    const uint32_t first = slice * kMusicSliceFrames;
    std::memset(gAccumulator, 0, sizeof gAccumulator);
    XmPlayerRender(&gPlayer, gAccumulator, kMusicSliceFrames);
    PositionRecord& record = gPositions[slice];
    record.order.store(static_cast<uint8_t>(gPlayer.order), std::memory_order_relaxed);
    record.row.store(static_cast<uint8_t>(gPlayer.row), std::memory_order_relaxed);
    record.ms.store(gPlayer.elapsedMs, std::memory_order_relaxed);
    MusicConvert(gAccumulator, gRing + 2 * first, kMusicSliceFrames * 2);
    gNextSlice.store((slice + 1) % kMusicSlices, std::memory_order_relaxed);
}

uint32_t StartMusic(const void* source, uint32_t size, uint32_t kind) {
    StopMusic();
    if (!source) return 1;
    if (!WaveDeviceOpen()) return 0;
    if (!MusicLoad(source, size, kind, nullptr)) {
        // Deliberate: as the intro always did, the device stays open after a failed
        // load (StopMusic returns at once with no thread running).
        StopMusic();
        return 0;
    }
    WaveDevicePrepare(gRing, kMusicRingBytes);
    do RenderSlice();
    while (gNextSlice.load() != 0);
    gStopRequest.store(0);
    WaveDeviceWrite();
    // Counted before the thread exists, so that a StopMusic right after this call
    // always waits for it.
    gThreadAlive.fetch_add(1);
    WaveThreadStart(StreamThreadMain);
    return 1;
}

void StopMusic() {
    if (gThreadAlive.load() == 0) return;
    PositionsClear();
    gStopRequest.fetch_add(1);
    while (gThreadAlive.load() != 0) WaveSleep(2);
    gNextSlice.store(0);
    gRenderedSlice.store(0);
    WaveDeviceUnprepare();
    WaveDeviceReset();
    WaveDeviceClose();
    XmModuleFree(&gModule);
}

uint32_t GetMusicOrder() {
    const PositionRecord& r = gPositions[gRenderedSlice.load(std::memory_order_relaxed)];
    return r.order.load(std::memory_order_relaxed) |
           static_cast<uint32_t>(r.row.load(std::memory_order_relaxed)) << 8 |
           (r.ms.load(std::memory_order_relaxed) & 0xFFFF) << 16;
}

uint32_t GetMusicRow() {
    const PositionRecord& r = gPositions[gRenderedSlice.load(std::memory_order_relaxed)];
    return r.row.load(std::memory_order_relaxed) | (r.ms.load(std::memory_order_relaxed) & 0xFFFFFF)
                                                       << 8;
}

uint32_t GetMusicTime() {
    return gPositions[gRenderedSlice.load(std::memory_order_relaxed)].ms.load(
        std::memory_order_relaxed);
}

int MusicRenderOpen(const void* source, uint32_t size, uint32_t kind, const char** reason) {
    StopMusic();
    return MusicLoad(source, size, kind, reason);
}

void MusicRenderClose() {
    if (gThreadAlive.load() == 0) XmModuleFree(&gModule);
}

const int16_t* MusicRingSlice(uint32_t slice) {
    return gRing + 2 * kMusicSliceFrames * (slice % kMusicSlices);
}

uint32_t MusicNextSlice() {
    return gNextSlice.load(std::memory_order_relaxed);
}

const XmPlayer* MusicPlayerState() {
    return &gPlayer;
}
