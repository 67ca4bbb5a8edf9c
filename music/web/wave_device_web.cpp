// The web wave device. The output (audio_output.js) plays on the audio thread from a
// queue the page fills: the ring is rendered as on the desktop, by the stream's refill
// passes, and each newly rendered run of frames is converted to the output's floats
// and handed over at once. The device's position is what the output reports played, so
// the refill passes keep the ring about two seconds ahead of what is heard, as the
// desktop's thread does, and the output always holds that much: a page busy for
// hundreds of milliseconds does not gap the music. No threads and no shared memory:
// the passes run on the page when the output reports.
// Where the output does not run at 44100 Hz, the hand-over resamples on an exact
// rational step, so pitch and tempo stay those of the desktop.
#include <emscripten.h>

#include <cstring>

#include "music/music.h"
#include "music/wave_device.h"
#include "music/web/wave_web.h"

namespace {

constexpr uint32_t kRingRate = 44100;
constexpr uint32_t kChunkFramesMax = 4096;  // output frames per hand-over

int gEnabled = 1;
int gOpen;
int gPlaying;
int gStreamEnded;
const int16_t* gRing;
uint32_t gRingFrames;
uint32_t gBytesPlayed;
uint32_t gOutputRate;
// Ring frames rendered since the device started, and the hand-over's place among them:
// the frame it reads and how far past it the output has gone, in 1/outputRate of a
// frame. It reads two frames at a time, so the newest frame waits for the next pass.
uint64_t gRendered, gHandedAt;
uint32_t gPhase;
float gChunk[2 * kChunkFramesMax];  // left plane, then right plane

uint32_t gStatsSlices;
double gStatsSquares;

void StatsAdd(uint32_t slice) {
    const int16_t* s = MusicRingSlice(slice);
    double sum = 0;
    for (uint32_t i = 0; i < 2 * kMusicSliceFrames; ++i) sum += static_cast<double>(s[i]) * s[i];
    gStatsSquares += sum;
    ++gStatsSlices;
}

}  // namespace

EM_JS(int, WebAudioCreate, (int rate), { return Module.invitroAudioCreate(rate); });

EM_JS(void, WebAudioStart, (),
      { Module.invitroAudioStart(function(played) { Module._WebAudioFeed(played); }); });

EM_JS(void, WebAudioPush, (const float* chunk, uint32_t frames, uint32_t ringFrames),
      { Module.invitroAudioPush(chunk, frames, ringFrames); });

EM_JS(uint32_t, WebAudioUnderruns, (), { return Module.invitroAudioUnderruns(); });

EM_JS(void, WebAudioClose, (), { Module.invitroAudioStop(); });

namespace {

// Converts every rendered frame the output does not have yet and hands it over.
void HandOver() {
    const float scale = 1.0f / 32768.0f;
    const float phaseScale = 1.0f / static_cast<float>(gOutputRate);
    for (;;) {
        const uint64_t first = gHandedAt;
        float* left = gChunk;
        float* right = gChunk + kChunkFramesMax;
        uint32_t n = 0;
        while (n < kChunkFramesMax && gHandedAt + 1 < gRendered) {
            const uint32_t at = static_cast<uint32_t>(gHandedAt % gRingFrames);
            const uint32_t after = at + 1 == gRingFrames ? 0 : at + 1;
            const int16_t* a = gRing + 2 * at;
            const int16_t* b = gRing + 2 * after;
            // At 44100 Hz the phase stays 0: the ring's samples pass unchanged.
            const float t = static_cast<float>(gPhase) * phaseScale;
            left[n] = (static_cast<float>(a[0]) + static_cast<float>(b[0] - a[0]) * t) * scale;
            right[n] = (static_cast<float>(a[1]) + static_cast<float>(b[1] - a[1]) * t) * scale;
            ++n;
            gPhase += kRingRate;
            while (gPhase >= gOutputRate) {
                gPhase -= gOutputRate;
                ++gHandedAt;
            }
        }
        if (!n) return;
        // The planes go over side by side: the right one follows the frames taken.
        if (n < kChunkFramesMax) std::memmove(gChunk + n, right, sizeof(float) * n);
        WebAudioPush(gChunk, n, static_cast<uint32_t>(gHandedAt - first));
    }
}

}  // namespace

// The output has played `played` ring frames in all: the refill pass renders what has
// been heard, and what is new goes to the output.
extern "C" EMSCRIPTEN_KEEPALIVE void WebAudioFeed(double played) {
    if (!gPlaying || !gRing) return;
    gBytesPlayed = static_cast<uint32_t>(static_cast<uint64_t>(played) * 4);
    if (!gStreamEnded) {
        const uint32_t first = MusicNextSlice();
        if (!MusicStreamRefill()) gStreamEnded = 1;
        for (uint32_t s = first; s != MusicNextSlice(); s = (s + 1) % kMusicSlices) {
            StatsAdd(s);
            gRendered += kMusicSliceFrames;
        }
    }
    HandOver();
}

// Ring frames the output has played (wraps with the byte count): with the audio
// context's own clock it shows the tempo kept at any output rate.
extern "C" EMSCRIPTEN_KEEPALIVE uint32_t WebAudioPlayedFrames() {
    return gBytesPlayed / 4;
}

void WebWaveSetEnabled(int enabled) {
    gEnabled = enabled;
}

void WebWaveStatsTake(uint32_t* slices, double* sumSquares, uint32_t* underruns) {
    *slices = gStatsSlices;
    *sumSquares = gStatsSquares;
    *underruns = gOpen ? WebAudioUnderruns() : 0;
    gStatsSlices = 0;
    gStatsSquares = 0;
}

void WebWaveEnd() {
    gPlaying = 0;
    gStreamEnded = 1;
    WebAudioClose();
    gOpen = 0;
}

int WaveDeviceOpen() {
    if (gOpen) WaveDeviceClose();  // a device left open by a failed start
    if (!gEnabled) return 0;
    const int rate = WebAudioCreate(static_cast<int>(kRingRate));
    if (rate <= 0) return 0;
    gOutputRate = static_cast<uint32_t>(rate);
    gOpen = 1;
    gStreamEnded = 0;
    return 1;
}

void WaveDevicePrepare(void* ring, uint32_t bytes) {
    gRing = static_cast<const int16_t*>(ring);
    gRingFrames = bytes / 4;
    gBytesPlayed = 0;
}

// The whole ring is rendered when the device starts: all of it goes to the output.
void WaveDeviceWrite() {
    gPlaying = 1;
    gRendered = gRingFrames;
    gHandedAt = 0;
    gPhase = 0;
    WebAudioStart();
    HandOver();
}

uint32_t WaveDevicePosition() {
    return gBytesPlayed;
}

void WaveDeviceUnprepare() {
    gRing = nullptr;
}

void WaveDeviceReset() {
    gPlaying = 0;
    gBytesPlayed = 0;
}

void WaveDeviceClose() {
    if (!gOpen) return;
    WebAudioClose();
    gOpen = 0;
}

// There are no threads in the page: the stream's refill passes run when the output
// reports, so the stream counts as alive while the device plays. StopMusic, which waits
// for the stream to end, is reached only before anything plays (StartMusic's first
// step); the page's end closes the sound instead (WebWaveEnd).
void WaveThreadStart(void (*)()) {}

// Nothing to wait for without threads: a pass runs when the output needs it.
void WaveSleep(uint32_t) {}

int WaveResourceFind(const void*, const void*, const void**, uint32_t*) {
    return 0;
}
