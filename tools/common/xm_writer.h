// Writes modules in the public FastTracker 2 XM format (version 0x0104) from a plain
// description: for tests, benchmarks and tune generators.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct XmWriterNote {
    uint8_t note = 0;  // 1..96, 97 key off
    uint8_t instrument = 0;
    uint8_t volume = 0;
    uint8_t effect = 0;
    uint8_t parameter = 0;
};

struct XmWriterPattern {
    uint16_t rows = 64;
    std::vector<XmWriterNote> notes;  // rows x channels; missing notes are empty
    bool packedSizeZero = false;      // write no data at all (an empty pattern)
};

struct XmWriterSample {
    std::vector<int16_t> values;  // the sound; 8-bit samples keep the high byte
    bool is16Bit = true;
    uint32_t loopStart = 0;   // in samples
    uint32_t loopLength = 0;  // in samples
    uint8_t loopType = 0;     // 0 none, 1 forward, 2 ping-pong
    uint8_t volume = 64;
    int8_t finetune = 0;
    uint8_t panning = 128;
    int8_t relativeNote = 0;
    std::string name;
    // When not empty, written as the data bytes exactly (already difference-coded),
    // and the header's length is their count.
    std::vector<uint8_t> rawData;
};

struct XmWriterEnvelope {
    std::vector<std::pair<uint16_t, uint16_t>> points;  // (tick, value)
    uint8_t sustain = 0;
    uint8_t loopStart = 0;
    uint8_t loopEnd = 0;
    uint8_t type = 0;  // bit 0 on, bit 1 sustain, bit 2 loop
};

struct XmWriterInstrument {
    std::string name;
    std::vector<XmWriterSample> samples;
    std::vector<uint8_t> noteToSample = std::vector<uint8_t>(96, 0);
    XmWriterEnvelope volumeEnvelope;
    XmWriterEnvelope panningEnvelope;
    uint8_t vibratoType = 0;
    uint8_t vibratoSweep = 0;
    uint8_t vibratoDepth = 0;
    uint8_t vibratoRate = 0;
    uint16_t fadeout = 0;
};

struct XmWriterModule {
    std::string name = "invitro";
    uint16_t channels = 8;
    uint16_t restartPosition = 0;
    uint16_t flags = 1;  // bit 0: linear frequency table
    uint16_t tempo = 6;
    uint16_t bpm = 125;
    std::vector<uint8_t> orders;  // the song length is their count
    std::vector<XmWriterPattern> patterns;
    std::vector<XmWriterInstrument> instruments;
};

// The module as XM file bytes.
std::vector<uint8_t> XmWrite(const XmWriterModule& module);

// The note of a pattern at (row, channel), growing the note list as needed.
XmWriterNote& XmWriterAt(XmWriterPattern& pattern, uint16_t channels, int row, int channel);
