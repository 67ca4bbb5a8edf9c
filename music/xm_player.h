// The tracker player: rows and ticks of an XmModule over 32 channels, each bound to a
// mixer voice. The first tick of a row triggers notes, instruments, the volume column
// and the effects' first-tick actions; the later ticks run slides, vibrato, envelopes
// and the other continuous effects.
#pragma once
#include <cstdint>

#include "music/mixer.h"
#include "music/xm_module.h"

struct XmChannel {
    // The note as triggered.
    uint8_t note;        // 0-based, last note given
    uint8_t flags;       // kChange* bits for the voice update of this tick
    uint8_t instrument;  // 0-based, last instrument given
    MixVoice* voice;     // the voice playing this channel; null past the module's channels
    XmSample* sample;    // current sample block

    // What the voice update turns into sound.
    int32_t period;
    int32_t volume;       // 0..64 (set volume may leave more)
    int32_t volumeShift;  // added to the volume by tremolo and tremor
    int32_t periodShift;  // added to the period by vibrato, arpeggio, auto-vibrato
    int32_t panning;      // 0..255 (volume-column slides may leave it outside)

    // Envelope positions: tick, point index, 16.16 step per tick.
    int32_t volumeEnvelopeTick;
    int32_t volumeEnvelopePoint;
    int32_t volumeEnvelopeStep;
    int32_t panningEnvelopePoint;
    int32_t panningEnvelopeTick;
    int32_t panningEnvelopeStep;

    uint8_t keyReleased;
    uint8_t volumeEnvelopeDone;
    uint8_t panningEnvelopeDone;
    uint8_t tremorCounter;

    // Envelope values (16.16) and outputs, and the fadeout after key-off.
    int32_t volumeEnvelopeValue;
    int32_t envelopeVolume;  // 0..64
    int32_t panningEnvelopeValue;
    int32_t envelopePanning;  // 0..64, 32 = centre
    int32_t fadeoutVolume;    // 0..65536

    // Instrument auto-vibrato.
    int32_t autoVibratoSweep;     // ticks since the note, up to the sweep
    int32_t autoVibratoPosition;  // 0..255

    int32_t notePeriod;          // period of the last note: the tone-portamento target
    int32_t sampleOffsetMemory;  // effect 9
    int32_t portamentoTarget;    // tone-portamento target period
    int32_t patternLoopRow;      // E6
    int32_t patternLoopCount;

    uint8_t realNote;  // note + relative note - 1, 8-bit
    uint8_t lastEffect;
    // Effect memories, each kept until a non-zero parameter replaces it.
    uint8_t portamentoDownMemory;
    uint8_t portamentoUpMemory;
    uint8_t extraFineDownMemory;
    uint8_t extraFineUpMemory;
    uint8_t volumeSlideMemory;
    uint8_t panningSlideMemory;
    uint8_t retriggerVolume;    // multi retrigger x: volume change
    uint8_t retriggerInterval;  // multi retrigger y: ticks between retriggers
    uint8_t portamentoSpeed;    // tone portamento, in units of 4 period steps a tick
    int8_t vibratoPosition;     // -32..31
    uint8_t vibratoSpeed;
    uint8_t vibratoDepth;
    int8_t tremoloPosition;  // -32..31
    uint8_t tremoloSpeed;
    uint8_t tremoloDepth;
    uint8_t tremorOn;     // ticks on
    uint8_t tremorOff;    // ticks off
    uint8_t waveControl;  // low nibble vibrato waveform, high nibble tremolo waveform
    uint8_t fineVolumeMemory;
    uint8_t finePortamentoUpMemory;
    uint8_t finePortamentoDownMemory;
};

struct XmPlayer {
    XmModule* module;
    uint32_t framesLeftInTick;
    uint32_t globalVolume;  // 0..64
    uint32_t tick;          // tick of the current row, 0 = first
    uint32_t speed;         // ticks per row
    uint32_t row;
    uint32_t order;
    uint32_t patternDelayTicks;  // extra ticks of the current row (EE)
    int32_t pendingRow;          // -1: none
    int32_t pendingOrder;        // -1: none
    uint32_t elapsedMs;
    uint8_t globalVolumeSlideMemory;
    uint32_t samplesPerTick;

    // Where the song starts over, for offline rendering: the count of times it has
    // (the order wrapped to the restart position or went back to one already played),
    // and the frame of the last XmPlayerRender call at which that last happened.
    uint32_t songLoops;
    uint32_t songLoopFrame;
    uint8_t ordersPlayed[32];  // one bit per order since the last start-over
    uint8_t pendingWraps;      // the pending order is the wrap to the restart position

    XmChannel channels[kXmMaxChannels];
    MixVoice voices[kMixVoices];
};

// Resets the player for the module: voices and channels cleared, channel i bound to
// voice i, order and row 0, speed and samples per tick from the module's defaults.
void XmPlayerReset(XmPlayer* player, XmModule* module);

// Runs one tick: the first tick of a row (moving to the pending row and order first)
// or a later one, then counts the tick.
void XmPlayerTick(XmPlayer* player);

// Mixes frames stereo frames into out (added, interleaved), running ticks whenever the
// current one is used up, and counts the elapsed milliseconds per chunk.
void XmPlayerRender(XmPlayer* player, float* out, uint32_t frames);

// Period of a real note on the Amiga table with a finetune (-128..127).
int32_t XmAmigaPeriod(int32_t realNote, int32_t finetune);
// Period of a real note on the module's table.
int32_t XmNotePeriod(const XmPlayer* player, int32_t realNote, int32_t finetune);

// A value in 32 bits, wrapping as the player's 32-bit fields do.
inline int32_t XmWrap32(int64_t v) {
    return static_cast<int32_t>(static_cast<uint32_t>(v));
}

// Samples per tick for a BPM: 110250 / BPM (2.5 x 44100), the dividend itself for 0.
uint32_t XmSamplesPerTick(uint32_t bpm);
