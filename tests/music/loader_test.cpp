// The module sources and the XM loader: read and seek semantics, pattern and sample
// decoding, header fields kept as read, and every refusal's reason.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/music/music_test_util.h"

namespace {
std::vector<int> Values(const int16_t* data, int count) {
    return std::vector<int>(data, data + count);
}
}  // namespace

TEST(MusicSource, ReadsPastTheEndMoveThePositionByTheRequest) {
    const uint8_t bytes[6] = {1, 2, 3, 4, 5, 6};
    MusicSource s;
    ASSERT_EQ(MusicSourceOpen(&s, bytes, 6, kMusicSourceMemory), 1);
    uint8_t out[4] = {9, 9, 9, 9};
    MusicSourceSeek(&s, 4, 0);
    EXPECT_EQ(MusicSourceRead(&s, out, 4), 2u);  // past the end: what exists, the rest kept
    EXPECT_EQ(std::vector<int>(out, out + 4), (std::vector<int>{5, 6, 9, 9}));
    EXPECT_EQ(s.position, 8);
    EXPECT_EQ(MusicSourceRead(&s, out, 1), 0u);
    // Seeks are limited above, not below; a position before the start reads nothing.
    MusicSourceSeek(&s, 100, 0);
    EXPECT_EQ(s.position, 6);
    MusicSourceSeek(&s, -10, 1);
    EXPECT_EQ(s.position, -4);
    EXPECT_EQ(MusicSourceRead(&s, out, 2), 0u);
    EXPECT_EQ(MusicSourceRemaining(&s), 0);
    MusicSourceClose(&s);

    // Resources do not exist on this side (xm2wav's test reads through a file).
    EXPECT_EQ(MusicSourceOpen(&s, "MUSIC", 0, kMusicSourceResource), 0);
}

TEST(XmLoader, UnpacksPatternsAndAddsThoseTheOrderTableNames) {
    XmWriterModule m = ToneModule(2);
    m.orders = {0, 1, 5};  // pattern 5 of 3
    m.patterns.resize(3);
    m.patterns[0].rows = 16;
    m.patterns[0].packedSizeZero = true;
    m.patterns[1].rows = 2;
    Cell(m, 0, 0, 1) = {97, 200, 0x40, 0, 0};      // key off, instrument out of range
    Cell(m, 1, 1, 1) = {49, 1, 0x20, 0x0F, 0x06};  // all five fields: unpacked form
    XmModule module;
    ASSERT_EQ(LoadBytes(XmWrite(m), &module), 1);
    EXPECT_EQ(module.patternCount, 6);
    EXPECT_EQ(module.patterns[0].rows, 16);
    EXPECT_EQ(module.patterns[0].notes[31].note, 0);
    const XmNote* n = module.patterns[1].notes;
    EXPECT_TRUE(n[0].note == 0xFF && n[0].instrument == 0 && n[0].volume == 0x40);
    EXPECT_TRUE(n[3].note == 49 && n[3].effect == 0x0F && n[3].parameter == 0x06);
    for (int p = 3; p < 6; ++p) EXPECT_EQ(module.patterns[p].rows, 64);
    EXPECT_EQ(module.patterns[5].notes[127].note, 0);
    XmModuleFree(&module);
    EXPECT_EQ(module.patterns, nullptr);
    XmModuleFree(&module);  // a cleared record is left alone
}

TEST(XmLoader, DecodesSamplesLoopsAndGuards) {
    XmWriterModule m = ToneModule();
    XmWriterInstrument& in = m.instruments[0];
    in.fadeout = 300;
    in.volumeEnvelope = {{{0, 64}}, 0, 0, 0, 1};                   // one point: switched off
    in.panningEnvelope = {{{0, 16384}, {5, 10}}, 0, 7, 1, 1 | 4};  // loop start past the points
    XmWriterSample eight;
    eight.is16Bit = false;
    eight.rawData = {0x10, 0x10, 0xE0};  // deltas
    eight.loopType = 1;                  // with loop length 0: no loop
    XmWriterSample wrap;
    wrap.rawData = {0xFF, 0x7F, 0x02, 0x00, 0x00, 0x00, 0x05, 0x00};  // 0x7FFF, +2, 0, +5
    wrap.loopType = 3;                                                // kept; plays as ping-pong
    wrap.loopStart = 1;
    wrap.loopLength = 9;  // beyond the end: cut to the sample
    XmWriterSample forward = in.samples[0];
    forward.is16Bit = false;
    forward.loopStart = 501;  // odd: bit 0 cleared, 8-bit samples too
    in.samples = {in.samples[0], eight, wrap, forward};
    XmModule module;
    ASSERT_EQ(LoadBytes(XmWrite(m), &module), 1);
    const XmInstrument& i = module.instruments[0];
    EXPECT_EQ(i.fadeout, 600u);
    EXPECT_EQ(i.volumeType, 0);
    EXPECT_EQ(i.panningEnvelope[0].value, 16384);  // as stored, as is the loop
    EXPECT_TRUE(i.panningType == 5 && i.panningLoopStart == 7);
    EXPECT_EQ(i.samples[4], XmEmptySample());

    const XmSample* e = i.samples[1];
    EXPECT_EQ(Values(e->data, 3), (std::vector<int>{0x1000, 0x2000, 0}));
    EXPECT_TRUE(e->length == 3 && e->loopType == 0 && e->loopStart == 0 && e->loopLength == 3);
    const XmSample* w = i.samples[2];  // 16-bit deltas wrap; the guard repeats the last
    EXPECT_EQ(Values(w->data, 5), (std::vector<int>{0x7FFF, -0x7FFF, -0x7FFF, -0x7FFA, -0x7FFA}));
    EXPECT_TRUE(w->length == 4 && w->is16Bit == 1 && w->loopStart == 1 && w->loopLength == 3);
    EXPECT_EQ(w->loopType, 3);
    const XmSample* f = i.samples[3];
    EXPECT_EQ(f->loopStart, 500);
    EXPECT_EQ(f->data[1000], f->data[500]);  // forward guard: the loop start
    XmModuleFree(&module);
}

TEST(XmLoader, RefusalsNameTheFieldTheValueAndWhere) {
    const std::vector<uint8_t> good = XmWrite(ToneModule());
    const auto with = [&](std::initializer_list<std::pair<size_t, uint8_t>> bytes) {
        std::vector<uint8_t> b = good;
        for (const auto& [at, value] : bytes) b[at] = value;
        return b;
    };
    const auto cut = [&](size_t length) {
        return std::vector<uint8_t>(good.begin(), good.begin() + length);
    };
    std::vector<uint8_t> unpacked = cut(336 + 9 + 70);  // five bytes a note: 350 needed
    std::fill(unpacked.begin() + 345, unpacked.end(), 0x01);
    XmWriterModule many = ToneModule();
    many.instruments[0].samples.resize(17, many.instruments[0].samples[0]);
    // Pattern 0's header is at 336 (rows at +5, packed size at +7); its 64 empty notes
    // take 64 bytes; instrument 1 follows at 409, its sample header at 409 + 263.
    const size_t instrument = 336 + 9 + 64, sample = instrument + 263;
    const struct {
        std::vector<uint8_t> bytes;
        const char* reason;
    } refused[] = {
        {{'M', 'T', 'h', 'd'}, "not an XM module: it begins \"MThd\", not \"Exte\""},
        {{'E', 'x', 0x01}, "not an XM module: it begins \"Ex?.\", not \"Exte\""},
        {cut(200), "module header cut off: 200 of 336 bytes"},
        {with({{68, 33}}), "the module has 33 channels (1 to 32)"},
        {with({{68, 0}}), "the module has 0 channels (1 to 32)"},
        {with({{70, 0x01}, {71, 0x01}}), "the module has 257 patterns (at most 256)"},
        {with({{72, 200}}), "the module has 200 instruments (at most 128)"},
        {cut(340), "pattern 0: header cut off at byte 336 of 340"},
        {with({{341, 0x2C}, {342, 0x01}}), "pattern 0 has 300 rows (at most 256)"},
        {with({{341, 0}, {342, 0}}), "pattern 0 has 0 rows but 64 bytes of packed data"},
        {cut(336 + 9 + 30), "pattern 0: 64 notes, only 30 bytes left in the file"},
        {unpacked, "pattern 0: packed data cut off at the end of the file"},
        {cut(instrument + 20), "instrument 1: header cut off at byte 409 of 429"},
        {XmWrite(many), "instrument 1 has 17 samples (at most 16)"},
        {with({{70, 0}}),
         "instrument 1 has 32896 samples (at most 16); its header size 9 is a "
         "pattern header's: does the module declare too few patterns?"},
        {cut(sample + 10), "instrument 1, sample 1: header cut off at byte 672 of 682"},
        {with({{sample + 3, 0x40}, {sample + 14, 0}}),
         "instrument 1, sample 1 is 1073743824 samples long (at most 268435456)"},
        {cut(good.size() - 1), "instrument 1: 2000 bytes of sample data, 1999 left in the file"}};
    XmModule module;
    for (const auto& r : refused) {
        const char* reason = nullptr;
        EXPECT_EQ(LoadBytes(r.bytes, &module, &reason), 0) << r.reason;
        EXPECT_STREQ(reason, r.reason);
        EXPECT_EQ(module.patterns, nullptr);  // nothing left allocated
    }
    const char* reason = nullptr;
    EXPECT_EQ(MusicRenderOpen(nullptr, 0, kMusicSourceMemory, &reason), 0);
    EXPECT_STREQ(reason, "no module: the memory image is null");
    EXPECT_EQ(MusicRenderOpen("/nonexistent/tune.xm", 0, kMusicSourceFile, &reason), 0);
    EXPECT_STREQ(reason, "the module file cannot be opened");

    // Song lengths of 0 and above 256, a restart beyond the song, a zero-row pattern
    // without data: kept as read, and playable. Outside the song the table may name
    // patterns the file lacks: the pattern count stays the file's.
    XmWriterModule odd = ToneModule();
    odd.patterns[0].rows = 0;
    odd.patterns[0].packedSizeZero = true;
    odd.restartPosition = 299;
    for (const uint8_t length : {0, 1}) {
        std::vector<uint8_t> bytes = XmWrite(odd);
        bytes[64] = length ? 0x2C : 0;
        bytes[65] = length;  // 300 or 0 orders
        bytes[80] = length ? 0 : 7;
        ASSERT_EQ(LoadBytes(bytes, &module), 1);
        EXPECT_TRUE(module.songLength == (length ? 300 : 0) && module.restartPosition == 299);
        EXPECT_TRUE(module.patternCount == 1 && module.patterns[0].rows == 0);
        XmModuleFree(&module);
    }
}
