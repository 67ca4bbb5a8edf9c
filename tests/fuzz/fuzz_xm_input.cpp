// One fuzz input: load through the memory source, render slices, check the player.
#include "tests/fuzz/fuzz_xm_input.h"

#include <cstdio>
#include <cstdlib>

#include "music/music.h"
#include "music/xm_player.h"

namespace {

void Check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz_xm: the player broke an invariant: %s\n", what);
    std::abort();
}

}  // namespace

void FuzzXmModule(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) return;
    const char* reason = nullptr;
    if (!MusicRenderOpen(data, static_cast<uint32_t>(size), kMusicSourceMemory, &reason)) return;
    const XmPlayer* p = MusicPlayerState();
    const XmModule* m = p->module;
    for (int i = 0; i < kFuzzSlices; ++i) {
        RenderSlice();
        Check(p->order < m->songLength, "order inside the song");
        Check(p->globalVolume <= 64, "global volume 0..64");
        Check(p->samplesPerTick > 0, "a tick has frames");
        for (int v = 0; v < kMixActiveVoices; ++v) {
            const MixVoice& voice = p->voices[v];
            if (!voice.sample) continue;
            // Loops and ends keep a playing voice inside its sample (the guard and the
            // padding around the data absorb the interpolation's neighbour only).
            Check(voice.position >= 0 && voice.position <= voice.sample->length,
                  "voice position inside its sample");
        }
    }
    MusicRenderClose();
}
