// The web wave device: Web Audio pulls the ring through a ScriptProcessorNode, whose
// callback runs on the page's own thread. The device reads the ring as the SDL callback
// does and runs the stream's refill pass right after each pull: no threads, no shared
// memory. (An AudioWorklet would run on the audio thread, which could reach the ring
// only through a SharedArrayBuffer, needing special headers, or through messages; and it
// exists only in secure contexts, which a plain http server on the network is not.)
// Where the output does not run at 44100 Hz, the pull resamples on an exact rational
// step, so pitch and tempo stay those of the desktop.
#include <emscripten.h>

#include <cstring>

#include "music/music.h"
#include "music/wave_device.h"
#include "music/web/wave_web.h"

namespace {

constexpr uint32_t kRingRate = 44100;
constexpr int kPullFramesMax = 16384;
constexpr int kProcessorFrames = 4096;  // about 90 ms a callback; the ring holds 2 s

int gEnabled = 1;
int gOpen;
int gPlaying;
int gStreamEnded;
const int16_t* gRing;
uint32_t gRingFrames;
uint32_t gBytesPlayed;
// How far the output has gone past the ring frame it reads, in 1/outputRate of a frame.
uint32_t gPhase;
float gPull[2 * kPullFramesMax];  // left plane, then right plane

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

// Makes the page's audio context; returns its sample rate, or 0 without Web Audio. The
// page may ask for another rate (Module.invitroSampleRate) to hear the resampling.
EM_JS(int, WebAudioCreate, (int rate), {
    var Context = window.AudioContext || window.webkitAudioContext;
    if (!Context) {
        console.log("invitro: this browser has no Web Audio; the show runs silent");
        return 0;
    }
    var context;
    try {
        context = new Context({sampleRate : Module.invitroSampleRate || rate});
    } catch (e) {
        try {
            context = new Context();
        } catch (e2) {
            console.log("invitro: no sound output (" + e2 + "); the show runs silent");
            return 0;
        }
    }
    Module.invitroAudio = {context : context, node : null};
    return context.sampleRate | 0;
});

// Connects the pulling node. A browser that holds sound until a gesture gets it on the
// first click or key press.
EM_JS(void, WebAudioConnect, (int frames), {
    var audio = Module.invitroAudio;
    if (!audio || audio.node) return;
    var context = audio.context;
    var node;
    try {
        node = context.createScriptProcessor(frames, 0, 2);
    } catch (e) {
        console.log("invitro: no sound output (" + e + "); the show runs silent");
        return;
    }
    node.onaudioprocess = function(e) {
        var out = e.outputBuffer;
        var n = out.length;
        var p = Module._WebAudioPull(n, context.sampleRate) >> 2;
        out.getChannelData(0).set(HEAPF32.subarray(p, p + n));
        out.getChannelData(1).set(HEAPF32.subarray(p + n, p + 2 * n));
    };
    node.connect(context.destination);
    audio.node = node;
    if (context.state == "running") return;
    console.log("invitro: the browser holds the sound until the page is clicked or a key pressed");
    var resume = function() {
        if (context.state == "suspended") context.resume();
        window.removeEventListener("pointerdown", resume);
        window.removeEventListener("keydown", resume);
    };
    window.addEventListener("pointerdown", resume);
    window.addEventListener("keydown", resume);
    context.resume().catch(function(){});
});

EM_JS(void, WebAudioDisconnect, (), {
    var audio = Module.invitroAudio;
    if (!audio || !audio.node) return;
    audio.node.onaudioprocess = null;
    audio.node.disconnect();
    audio.node = null;
});

EM_JS(void, WebAudioClose, (), {
    var audio = Module.invitroAudio;
    if (!audio) return;
    if (audio.node) {
        audio.node.onaudioprocess = null;
        audio.node.disconnect();
    }
    audio.context.close().catch(function(){});
    Module.invitroAudio = null;
});

// Fills `frames` output frames at `outputRate` from the ring (left plane, then right
// plane, in the returned block) and refills what has been played.
extern "C" EMSCRIPTEN_KEEPALIVE float* WebAudioPull(int frames, int outputRate) {
    if (frames < 0) frames = 0;
    if (frames > kPullFramesMax) frames = kPullFramesMax;
    float* left = gPull;
    float* right = gPull + frames;
    if (!gPlaying || !gRing || outputRate <= 0) {
        std::memset(gPull, 0, sizeof(float) * 2 * static_cast<size_t>(frames));
        return gPull;
    }
    const uint32_t rate = static_cast<uint32_t>(outputRate);
    const float scale = 1.0f / 32768.0f;
    const float phaseScale = 1.0f / static_cast<float>(rate);
    // The read position follows the played byte count, as the stream computes it.
    uint32_t at = (gBytesPlayed / 4) % gRingFrames;
    uint32_t consumed = 0;
    for (int i = 0; i < frames; ++i) {
        const uint32_t after = at + 1 == gRingFrames ? 0 : at + 1;
        const int16_t* a = gRing + 2 * at;
        const int16_t* b = gRing + 2 * after;
        // At 44100 Hz the phase stays 0: the ring's samples pass unchanged.
        const float t = static_cast<float>(gPhase) * phaseScale;
        left[i] = (static_cast<float>(a[0]) + static_cast<float>(b[0] - a[0]) * t) * scale;
        right[i] = (static_cast<float>(a[1]) + static_cast<float>(b[1] - a[1]) * t) * scale;
        gPhase += kRingRate;
        while (gPhase >= rate) {
            gPhase -= rate;
            at = at + 1 == gRingFrames ? 0 : at + 1;
            ++consumed;
        }
    }
    gBytesPlayed += consumed * 4;

    if (!gStreamEnded) {
        const uint32_t first = MusicNextSlice();
        if (!MusicStreamRefill()) gStreamEnded = 1;
        for (uint32_t s = first; s != MusicNextSlice(); s = (s + 1) % kMusicSlices) StatsAdd(s);
    }
    return gPull;
}

// Ring frames the output has consumed (wraps with the byte count): with the audio
// context's own clock it shows the tempo kept at any output rate.
extern "C" EMSCRIPTEN_KEEPALIVE uint32_t WebAudioPlayedFrames() {
    return gBytesPlayed / 4;
}

void WebWaveSetEnabled(int enabled) {
    gEnabled = enabled;
}

void WebWaveStatsTake(uint32_t* slices, double* sumSquares) {
    *slices = gStatsSlices;
    *sumSquares = gStatsSquares;
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
    if (!gEnabled || !WebAudioCreate(static_cast<int>(kRingRate))) return 0;
    gOpen = 1;
    gStreamEnded = 0;
    return 1;
}

void WaveDevicePrepare(void* ring, uint32_t bytes) {
    gRing = static_cast<const int16_t*>(ring);
    gRingFrames = bytes / 4;
    gBytesPlayed = 0;
    gPhase = 0;
}

void WaveDeviceWrite() {
    gPlaying = 1;
    WebAudioConnect(kProcessorFrames);
}

uint32_t WaveDevicePosition() {
    return gBytesPlayed;
}

void WaveDeviceUnprepare() {
    gRing = nullptr;
}

void WaveDeviceReset() {
    gPlaying = 0;
    WebAudioDisconnect();
    gBytesPlayed = 0;
}

void WaveDeviceClose() {
    if (!gOpen) return;
    WebAudioClose();
    gOpen = 0;
}

// There are no threads in the page: the stream's refill passes run from the pull
// above, so the stream counts as alive while the device plays. StopMusic, which waits
// for the stream to end, is reached only before anything plays (StartMusic's first
// step); the page's end closes the sound instead (WebWaveEnd).
void WaveThreadStart(void (*)()) {}

// Nothing to wait for without threads: the pull runs a pass when the output needs it.
void WaveSleep(uint32_t) {}

int WaveResourceFind(const void*, const void*, const void**, uint32_t*) {
    return 0;
}
