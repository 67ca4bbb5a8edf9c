// One fuzz input: load through the memory source, then walk the module or render
// slices through the player and the mixer, checking what the player relies on.
#include "tests/fuzz/fuzz_xm_input.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "music/music.h"
#include "music/music_source.h"
#include "music/xm_player.h"

namespace {

void Check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "fuzz_xm: broken invariant: %s\n", what);
    std::abort();
}

// Reads every note, envelope point and sample value (the guard included) of a loaded
// module, checking what the player relies on; the sum keeps the reads.
uint32_t ModuleWalk(const XmModule* m) {
    uint32_t sum = 0;
    for (uint32_t p = 0; p < m->patternCount; ++p) {
        const XmPattern& pattern = m->patterns[p];
        for (uint32_t i = 0; i < uint32_t{pattern.rows} * m->channels; ++i) {
            const XmNote& n = pattern.notes[i];
            Check(n.instrument <= 128 && n.note != 97, "notes as the player takes them");
            sum += n.note + n.instrument + n.volume + n.effect + n.parameter;
        }
    }
    for (int i = 0; i < m->songLength && i < kXmOrders; ++i)
        Check(m->orders[i] < m->patternCount, "every order of the song names a pattern");
    for (const XmInstrument* in = m->instruments; in != m->instruments + m->instrumentCount; ++in) {
        for (const XmEnvelopePoint& point : in->volumeEnvelope) sum += point.tick + point.value;
        for (const XmSample* s : in->samples) {
            Check(s->length >= 0 && s->loopStart >= 0 && s->loopLength >= 0 &&
                      int64_t{s->loopStart} + s->loopLength <= s->length,
                  "the loop lies inside the sample");
            for (int32_t v = 0; v <= s->length; ++v) sum += static_cast<uint16_t>(s->data[v]);
        }
    }
    return sum;
}

// Loads data as a module image through the memory source.
int Load(const uint8_t* data, size_t size, XmModule* module) {
    MusicSource source;
    MusicSourceOpen(&source, data, static_cast<uint32_t>(size), kMusicSourceMemory);
    const char* reason = nullptr;
    const int loaded = LoadXmModule(module, &source, &reason);
    MusicSourceClose(&source);
    Check(loaded || (reason && reason[0]), "a refusal says why");
    return loaded;
}

}  // namespace

void FuzzXmModule(const uint8_t* data, size_t size) {
    static XmModule m;
    static XmPlayer p;  // large: the voices live in it
    static float mix[2 * kMusicSliceFrames];
    if (size > UINT32_MAX || !Load(data, size, &m)) return;
    XmPlayerReset(&p, &m);
    uint32_t ticks = 0;
    for (int i = 0; i < kFuzzSlices && ticks < kFuzzTicks; ++i) {
        std::fill(mix, mix + 2 * kMusicSliceFrames, 0.0f);
        XmPlayerRender(&p, mix, kMusicSliceFrames);
        // Jumps, breaks and the end of the song lead inside it, to 0 or to the restart
        // position (which may lie beyond it).
        Check(p.order < m.songLength || p.order == 0 || p.order == m.restartPosition,
              "order inside the song, 0 or the restart position");
        Check(p.globalVolume <= 64, "global volume 0..64");
        Check(p.samplesPerTick > 0, "a tick has frames");
        ticks += kMusicSliceFrames / p.samplesPerTick + 1;
        for (const MixVoice& voice : p.voices) {
            if (!voice.sample) continue;
            // A pass may end past its loop or sample (frames are counted with the 8.24
            // step), but never by more than one chunk's travel: 884 frames of at most
            // 48696 samples. Reads stay inside the data (the sanitizers watch them).
            constexpr int32_t kTravel = 1 << 26;
            Check(voice.position > -kTravel && voice.position < voice.sample->length + kTravel,
                  "voice position within a chunk's travel of its sample");
        }
    }
    // The conversion to 16 bits keeps no state: the last slice is enough.
    static int16_t pcm[2 * kMusicSliceFrames];
    MusicConvert(mix, pcm, 2 * kMusicSliceFrames);
    XmModuleFree(&m);
}

void FuzzXmLoad(const uint8_t* data, size_t size) {
    XmModule module;
    if (size > UINT32_MAX || !Load(data, size, &module)) return;
    volatile uint32_t sum = ModuleWalk(&module);
    (void)sum;
    XmModuleFree(&module);
}
