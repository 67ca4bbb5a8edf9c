// The XM module as the player uses it: patterns unpacked to five bytes a note,
// instruments with their envelopes, samples as signed 16-bit data with a guard sample.
#pragma once
#include <cstdint>

struct MusicSource;

constexpr int kXmMaxChannels = 32;
constexpr int kXmMaxPatterns = 256;
constexpr int kXmMaxInstruments = 128;
constexpr int kXmMaxRows = 256;
constexpr int kXmOrders = 256;  // entries of the order table
constexpr int kXmSamplesPerInstrument = 16;
constexpr int kXmEnvelopePoints = 12;
constexpr int32_t kXmMaxSampleLength = 1 << 28;  // samples; longer ones are refused
// The most memory a loaded module's samples and tables may take: 1 GiB, about 10 bytes
// a sample point (the 16-bit data and the mixer's float pairs); the patterns add 10 MB
// at most. A module that needs more is refused before the allocation that would pass it.
constexpr uint64_t kXmMaxLoadBytes = uint64_t{1} << 30;

// Note byte values.
constexpr uint8_t kXmKeyOff = 0xFF;

// One note of a pattern: note (0 none, 1..96, 0xFF key off), instrument (0 none,
// 1..128), volume-column byte, effect type, effect parameter.
struct XmNote {
    uint8_t note;
    uint8_t instrument;
    uint8_t volume;
    uint8_t effect;
    uint8_t parameter;
};

struct XmPattern {
    uint16_t rows;
    uint16_t packedSize;  // as the file gave it; not used after loading
    XmNote* notes;        // rows x channels, row by row
};

// Header of one sample block; the 16-bit data lives in the same allocation.
struct XmSample {
    int32_t length;      // in samples
    int32_t loopStart;   // in samples
    int32_t loopLength;  // in samples; the whole length when unlooped
    uint8_t volume;
    int8_t finetune;
    uint8_t is16Bit;  // 1 when the file held 16-bit data
    uint8_t panning;
    int8_t relativeNote;
    uint8_t loopType;  // 0 none, 1 forward, 2 ping-pong (3 as the file gave it)
    int16_t* data;     // length samples, the guard sample at data[length], zeros around
    float* pairs;      // for each i < length: data[i] and (data[i + 1] - data[i]) / 2^31, floats
};

struct XmEnvelopePoint {
    uint16_t tick;
    uint16_t value;
};

// Envelope type bits.
constexpr uint8_t kXmEnvelopeOn = 0x01;
constexpr uint8_t kXmEnvelopeSustain = 0x02;
constexpr uint8_t kXmEnvelopeLoop = 0x04;

struct XmInstrument {
    int32_t sampleCount;
    XmSample* samples[kXmSamplesPerInstrument];  // slots past sampleCount: the empty sample
    uint32_t sampleHeaderSize;
    uint8_t noteToSample[96];
    XmEnvelopePoint volumeEnvelope[kXmEnvelopePoints];
    XmEnvelopePoint panningEnvelope[kXmEnvelopePoints];
    uint8_t volumePoints;
    uint8_t panningPoints;
    uint8_t volumeSustain;
    uint8_t volumeLoopStart;
    uint8_t volumeLoopEnd;
    uint8_t panningSustain;
    uint8_t panningLoopStart;
    uint8_t panningLoopEnd;
    uint8_t volumeType;
    uint8_t panningType;
    uint8_t vibratoType;
    uint8_t vibratoSweep;
    uint8_t vibratoDepth;
    uint8_t vibratoRate;
    uint32_t fadeout;  // twice the file's value
};

// Module header flag bits.
constexpr uint16_t kXmLinearFrequencies = 0x0001;

struct XmModule {
    XmPattern* patterns;        // patternCount entries
    XmInstrument* instruments;  // instrumentCount entries (one allocation with patterns)
    uint16_t songLength;        // as read: 0 and more than 256 included
    uint16_t restartPosition;   // as read: may lie beyond the song and the table
    uint16_t channels;
    uint16_t patternCount;
    uint16_t instrumentCount;
    uint16_t flags;
    uint16_t defaultTempo;
    uint16_t defaultBpm;
    uint8_t orders[kXmOrders];
};

// Whether a sample's loop turns at its ends. Loop type 3 sets the ping-pong bit and is
// played as ping-pong, its guard sample included (this player's reading of the type).
inline bool XmSampleLoopsBack(const XmSample* s) {
    return (s->loopType & 2) != 0;
}

// Reads a module through the source into module (which is overwritten). Returns 1 on
// success; 0 on failure with *reason (when reason is not null) set to one line naming
// the field, the value read and where ("pattern 3 has 300 rows (at most 256)";
// patterns count from 0, instruments and samples from 1, as trackers show them). The
// text lives until the next load. On failure nothing stays allocated.
int LoadXmModule(XmModule* module, MusicSource* source, const char** reason);

// Frees every block of the module and clears the record; a cleared record is left alone.
void XmModuleFree(XmModule* module);

// The shared empty sample: no data, silent, used for every sample slot that is absent.
XmSample* XmEmptySample();
// The empty instrument: every field zero (no envelopes, no fadeout).
const XmInstrument* XmEmptyInstrument();
