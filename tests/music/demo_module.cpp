// The demonstration module: synthesised instruments and four patterns of effects.
#include "tests/music/demo_module.h"

#include <cmath>
#include <cstdint>
#include <random>

namespace {

constexpr double kPi = 3.14159265358979323846;

// One period of a waveform, `length` samples long (16-bit values).
XmWriterSample Wave(int length, double (*shape)(double), double amplitude) {
    XmWriterSample s;
    for (int i = 0; i < length; ++i)
        s.values.push_back(
            static_cast<int16_t>(amplitude * shape(static_cast<double>(i) / length)));
    s.loopStart = 0;
    s.loopLength = static_cast<uint32_t>(length);
    s.loopType = 1;
    return s;
}

double Saw(double t) {
    return 2.0 * t - 1.0;
}
double Square(double t) {
    return t < 0.5 ? 1.0 : -1.0;
}
double Sine(double t) {
    return std::sin(2 * kPi * t);
}
double Triangle(double t) {
    return t < 0.5 ? 4 * t - 1 : 3 - 4 * t;
}

XmWriterInstrument Instrument(const char* name, XmWriterSample sample) {
    XmWriterInstrument in;
    in.name = name;
    in.samples.push_back(std::move(sample));
    return in;
}

}  // namespace

XmWriterModule DemoModule() {
    XmWriterModule m;
    m.name = "invitro test tune";
    m.channels = 8;
    m.tempo = 6;
    m.bpm = 125;
    m.orders = {0, 1, 2, 3};

    // 1 bass: a saw, forward loop, held by a sustained envelope, fading at key-off.
    // 64 samples a period at C-4 (8363 Hz) is about 130 Hz; relative note -12 lowers it.
    XmWriterSample bass = Wave(64, Saw, 12000);
    bass.relativeNote = 0;
    XmWriterInstrument bassIn = Instrument("bass", bass);
    bassIn.volumeEnvelope = {{{0, 64}, {8, 48}, {40, 40}, {120, 0}}, 2, 0, 0, 1 | 2};
    bassIn.fadeout = 1024;
    // 2 lead: an 8-bit square with a ping-pong loop and auto-vibrato.
    XmWriterSample lead = Wave(32, Square, 9000);
    lead.is16Bit = false;
    lead.loopType = 2;
    lead.relativeNote = 12;
    XmWriterInstrument leadIn = Instrument("lead", lead);
    leadIn.volumeEnvelope = {{{0, 0}, {2, 64}, {20, 40}, {60, 30}}, 3, 0, 0, 1 | 2};
    leadIn.panningEnvelope = {{{0, 16}, {30, 48}, {60, 16}}, 0, 0, 2, 1 | 4};
    leadIn.vibratoType = 0;
    leadIn.vibratoSweep = 20;
    leadIn.vibratoDepth = 6;
    leadIn.vibratoRate = 12;
    leadIn.fadeout = 512;
    // 3 kick: a falling sine, unlooped.
    XmWriterSample kick;
    double phase = 0;
    for (int i = 0; i < 6000; ++i) {
        const double t = i / 8363.0;
        phase += 2 * kPi * (45 + 140 * std::exp(-t * 30)) / 8363.0;
        kick.values.push_back(static_cast<int16_t>(28000 * std::sin(phase) * std::exp(-t * 6)));
    }
    // 4 hat: decaying noise, 8-bit, unlooped, played high.
    XmWriterSample hat;
    hat.is16Bit = false;
    std::mt19937 random(5);
    for (int i = 0; i < 1500; ++i)
        hat.values.push_back(static_cast<int16_t>((static_cast<int>(random() % 50000) - 25000) *
                                                  std::exp(-i / 250.0)));
    hat.relativeNote = 24;
    hat.volume = 40;
    // 5 pad: a triangle with a looping volume envelope (a slow swell).
    XmWriterSample pad = Wave(128, Triangle, 10000);
    pad.loopType = 2;
    pad.loopLength = 100;
    pad.loopStart = 20;
    XmWriterInstrument padIn = Instrument("pad", pad);
    padIn.volumeEnvelope = {{{0, 10}, {30, 50}, {60, 20}, {90, 50}}, 0, 1, 3, 1 | 4};
    // 6 bell: a sine, unlooped, 16-bit, for the sample offset.
    XmWriterSample bell;
    for (int i = 0; i < 20000; ++i)
        bell.values.push_back(static_cast<int16_t>(15000 * Sine(i / 16.0) * std::exp(-i / 6000.0)));
    m.instruments = {bassIn,
                     leadIn,
                     Instrument("kick", kick),
                     Instrument("hat", hat),
                     padIn,
                     Instrument("bell", bell)};

    m.patterns.resize(4);
    for (XmWriterPattern& p : m.patterns) p.rows = 64;
    auto at = [&](int pattern, int row, int channel) -> XmWriterNote& {
        return XmWriterAt(m.patterns[pattern], m.channels, row, channel);
    };
    const int bassLine[8] = {37, 37, 44, 37, 40, 40, 42, 35};  // C-3, G-3, D#3, F-3, A#2
    for (int p = 0; p < 4; ++p) {
        for (int row = 0; row < 64; ++row) {
            // Drums on channels 0 and 1.
            if (row % 8 == 0) at(p, row, 0) = {37, 3, 0, 0, 0};
            if (row % 8 == 4 && p > 0) at(p, row, 0) = {37, 3, 0x30, 0, 0};
            if (row % 2 == 0)
                at(p, row, 1) = {61, 4, static_cast<uint8_t>(row % 4 ? 0x20 : 0x40), 0, 0};
            // Bass on channel 2, with a key-off before each new note.
            if (row % 8 == 0)
                at(p, row, 2) = {static_cast<uint8_t>(bassLine[(row / 8 + p) % 8]), 1, 0, 0, 0};
            if (row % 8 == 6) at(p, row, 2) = {97, 0, 0, 0, 0};
        }
    }
    // Pattern 0: hats retriggered (E9x) and a global volume fade in (H).
    at(0, 0, 7) = {0, 0, 0, 16, 8};     // G08: global volume 8
    at(0, 1, 7) = {0, 0, 0, 17, 0x40};  // H40: global volume up
    for (int r = 2; r < 16; ++r) at(0, r, 7) = {0, 0, 0, 17, 0};
    at(0, 16, 3) = {73, 4, 0, 14, 0x93};  // retrigger every 3 ticks
    at(0, 48, 3) = {73, 4, 0, 27, 0x52};  // multi retrigger, volume down
    // Pattern 1: the lead with arpeggio, vibrato, volume-column slides and panning.
    const uint8_t melody[8] = {61, 63, 65, 68, 66, 65, 63, 60};
    for (int i = 0; i < 8; ++i) {
        at(1, i * 8, 4) = {melody[i], 2, 0, 4, 0x46};  // vibrato
        at(1, i * 8 + 4, 4) = {0, 0, 0, 0, 0x37};      // arpeggio minor
        at(1, i * 8 + 6, 4) = {0, 0, 0x62, 10, 0x02};  // slide down
    }
    at(1, 0, 5) = {49, 5, 0x30, 8, 0x40};  // pad, panned left-ish
    at(1, 32, 5) = {56, 5, 0xD4, 8, 0xC0};
    // Pattern 2: portamento and tone portamento on the lead, tremor on the pad, offsets.
    at(2, 0, 4) = {61, 2, 0, 1, 0x08};
    at(2, 8, 4) = {0, 0, 0, 2, 0x08};
    at(2, 16, 4) = {68, 0, 0, 3, 0x10};
    at(2, 24, 4) = {61, 0, 0, 5, 0x04};
    at(2, 32, 4) = {65, 2, 0, 6, 0x20};
    at(2, 48, 4) = {97, 0, 0, 0, 0};
    at(2, 0, 5) = {44, 5, 0, 29, 0x21};
    at(2, 32, 5) = {44, 5, 0, 25, 0x40};
    for (int r = 0; r < 64; r += 4)
        at(2, r, 6) = {static_cast<uint8_t>(61 + (r / 4) % 5 * 2), 6, 0x28, 9,
                       static_cast<uint8_t>((r / 4) * 4)};
    // Pattern 3: note delay, note cut, set speed, fine slides, pattern break.
    for (int r = 0; r < 48; r += 6)
        at(3, r, 4) = {static_cast<uint8_t>(61 + r / 6), 2, 0, 14, 0xD3};
    for (int r = 2; r < 48; r += 6) at(3, r, 6) = {73, 6, 0, 14, 0xC2};
    at(3, 32, 7) = {0, 0, 0, 15, 4};     // speed 4
    at(3, 40, 7) = {0, 0, 0, 15, 0x90};  // BPM 144
    at(3, 44, 5) = {49, 5, 0, 14, 0xA8};
    at(3, 46, 5) = {0, 0, 0, 14, 0xB4};
    at(3, 56, 7) = {0, 0, 0, 13, 0x00};  // break: the song then starts over
    return m;
}
