// Writes the fuzzer's small seed modules into a directory: between them they reach every
// part of the loader, every effect, both frequency tables, every loop kind and both
// envelopes. (demo.xm, the longer module beside them, is kept as it was written.)
// Regenerate with: build/release/tools/fuzz_seeds/write_fuzz_seeds tests/fuzz/seeds
#include <cmath>
#include <cstdio>
#include <string>

#include "tools/common/xm_writer.h"

namespace {

XmWriterSample Ramp(int length, bool is16Bit, uint8_t loopType, uint32_t loopStart,
                    uint32_t loopLength) {
    XmWriterSample s;
    for (int i = 0; i < length; ++i)
        s.values.push_back(static_cast<int16_t>(20000 * std::sin(i * 0.39) + (i % 7) * 300));
    s.is16Bit = is16Bit;
    s.loopType = loopType;
    s.loopStart = loopStart;
    s.loopLength = loopLength;
    return s;
}

XmWriterInstrument OneSample(XmWriterSample s) {
    XmWriterInstrument in;
    in.samples.push_back(std::move(s));
    return in;
}

XmWriterNote& At(XmWriterModule& m, int pattern, int row, int channel) {
    return XmWriterAt(m.patterns[pattern], m.channels, row, channel);
}

// One channel, one looped 16-bit sample, a short melody.
XmWriterModule Tone() {
    XmWriterModule m;
    m.channels = 1;
    m.orders = {0};
    m.patterns.resize(1);
    m.patterns[0].rows = 16;
    m.instruments = {OneSample(Ramp(200, true, 1, 100, 100))};
    for (int r = 0; r < 16; r += 2) At(m, 0, r, 0) = {static_cast<uint8_t>(49 + r), 1, 0, 0, 0};
    At(m, 0, 15, 0).note = 97;
    return m;
}

// 8-bit ping-pong and 16-bit unlooped samples under both envelopes (sustain, loop),
// fadeout after key-off and each auto-vibrato waveform.
XmWriterModule Envelopes() {
    XmWriterModule m;
    m.channels = 4;
    m.orders = {0};
    m.patterns.resize(1);
    m.patterns[0].rows = 32;
    for (uint8_t wave = 0; wave < 4; ++wave) {
        XmWriterInstrument in = OneSample(Ramp(150, wave & 1, wave & 1 ? 0 : 2, 30, 90));
        in.volumeEnvelope = {{{0, 0}, {4, 64}, {10, 40}, {20, 50}, {40, 0}}, 2, 1, 3, 7};
        in.panningEnvelope = {{{0, 0}, {8, 64}, {16, 32}}, 1, 0, 2, 5};
        in.vibratoType = wave;
        in.vibratoSweep = static_cast<uint8_t>(wave * 8);
        in.vibratoDepth = 8;
        in.vibratoRate = 40;
        in.fadeout = 2000;
        m.instruments.push_back(in);
    }
    for (int c = 0; c < 4; ++c) {
        At(m, 0, c, c) = {static_cast<uint8_t>(40 + 5 * c), static_cast<uint8_t>(c + 1), 0, 0, 0};
        At(m, 0, 12 + c, c) = {97, 0, 0, 0, 0};
        At(m, 0, 20 + c, c) = {static_cast<uint8_t>(60 - c), static_cast<uint8_t>(c + 1), 0, 20, 0};
    }
    return m;
}

// Every effect type 0..35 with a busy parameter, and every volume-column range, over
// the Amiga frequency table.
XmWriterModule Effects(bool linear) {
    XmWriterModule m;
    m.channels = 4;
    m.flags = linear ? 1 : 0;
    m.orders = {0, 1};
    m.patterns.resize(2);
    m.instruments = {OneSample(Ramp(300, true, 1, 0, 300)), OneSample(Ramp(120, false, 2, 20, 60))};
    const uint8_t parameters[4] = {0x00, 0x37, 0xF1, 0x8C};
    for (int row = 0; row < 64; ++row) {
        const uint8_t effect = static_cast<uint8_t>(row % 36);
        for (int c = 0; c < 4; ++c) {
            XmWriterNote& n = At(m, 0, row, c);
            if ((row + c) % 3 == 0) n.note = static_cast<uint8_t>(30 + (row * 7 + c * 5) % 60);
            if ((row + c) % 5 == 0) n.instrument = static_cast<uint8_t>(1 + (row + c) % 2);
            n.effect = effect == 11 || effect == 13 ? 0 : effect;  // flow is its own seed
            n.parameter = parameters[(row + c) & 3];
        }
        XmWriterNote& v = At(m, 1, row, row & 3);
        v.note = static_cast<uint8_t>(36 + row % 24);
        v.instrument = 1;
        v.volume = static_cast<uint8_t>(0x10 + row * 4);  // 0x10..0x10C: every column kind
        v.effect = 14;
        v.parameter = static_cast<uint8_t>((row % 16) << 4 | (row % 5));
    }
    return m;
}

// The order flow: patterns the order table names but the file lacks, an empty
// pattern, breaks, jumps, pattern loops and delays, a restart position.
XmWriterModule Flow() {
    XmWriterModule m;
    m.channels = 2;
    m.orders = {0, 1, 4, 2, 1};
    m.restartPosition = 1;
    m.patterns.resize(3);
    m.patterns[1].rows = 8;
    m.patterns[1].packedSizeZero = true;
    m.patterns[2].rows = 20;
    m.instruments = {OneSample(Ramp(64, true, 1, 0, 64))};
    At(m, 0, 0, 0) = {49, 1, 0, 14, 0x60};
    At(m, 0, 3, 0) = {0, 0, 0, 14, 0x62};
    At(m, 0, 4, 1) = {0, 0, 0, 14, 0xE2};
    At(m, 0, 8, 0) = {0, 0, 0, 13, 0x15};
    At(m, 2, 2, 1) = {52, 1, 0, 15, 0x02};
    At(m, 2, 3, 1) = {0, 0, 0, 15, 0xA0};
    At(m, 2, 10, 0) = {0, 0, 0, 11, 0x03};
    At(m, 2, 10, 1) = {0, 0, 0, 13, 0x99};
    return m;
}

// Thirty-two channels, an instrument of several samples picked by its note map, an
// empty sample and loops reaching past their sample's end.
XmWriterModule Wide() {
    XmWriterModule m;
    m.channels = 32;
    m.tempo = 3;
    m.bpm = 255;
    m.orders = {0};
    m.patterns.resize(1);
    m.patterns[0].rows = 4;
    XmWriterInstrument in;
    in.samples = {Ramp(80, true, 1, 60, 100), Ramp(0, true, 0, 0, 0), Ramp(90, false, 2, 10, 200),
                  Ramp(40, true, 1, 0, 0)};
    for (int i = 0; i < 96; ++i) in.noteToSample[i] = static_cast<uint8_t>(i % 5);
    m.instruments = {in};
    for (int c = 0; c < 32; ++c)
        At(m, 0, c & 3, c) = {static_cast<uint8_t>(1 + c * 3), 1, static_cast<uint8_t>(0x50), 9,
                              static_cast<uint8_t>(c)};
    return m;
}

bool Save(const std::string& path, const XmWriterModule& module) {
    const std::vector<uint8_t> bytes = XmWrite(module);
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
    return std::fclose(f) == 0 && written;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) {
        std::puts("usage: write_fuzz_seeds DIR\n"
                  "Writes the module fuzzer's small seed modules into DIR (tests/fuzz/seeds).");
        return 0;
    }
    if (argc != 2) {
        std::fputs("usage: write_fuzz_seeds DIR (--help for more)\n", stderr);
        return 1;
    }
    const std::string dir = argv[1];
    const struct {
        const char* name;
        XmWriterModule module;
    } seeds[] = {{"tone.xm", Tone()},           {"envelopes.xm", Envelopes()},
                 {"effects.xm", Effects(true)}, {"effects_amiga.xm", Effects(false)},
                 {"flow.xm", Flow()},           {"wide.xm", Wide()}};
    for (const auto& seed : seeds) {
        if (!Save(dir + "/" + seed.name, seed.module)) {
            std::fprintf(stderr, "write_fuzz_seeds: cannot write %s/%s\n", dir.c_str(), seed.name);
            return 1;
        }
    }
    return 0;
}
