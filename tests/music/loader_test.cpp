// The module sources and the XM loader: read and seek semantics, pattern and sample
// decoding, the loader's limits, refusals and clamps.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include <unistd.h>

#include "tests/music/music_test_util.h"

TEST(MusicSource, MemoryReadsPastTheEndMoveThePositionByTheRequest) {
    const uint8_t bytes[6] = {1, 2, 3, 4, 5, 6};
    MusicSource s;
    ASSERT_EQ(MusicSourceOpen(&s, bytes, 6, kMusicSourceMemory), 1);
    uint8_t out[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    EXPECT_EQ(MusicSourceRead(&s, out, 6), 6u);  // exactly to the end: everything
    EXPECT_EQ(std::memcmp(out, bytes, 6), 0);
    MusicSourceSeek(&s, 4, 0);
    std::memset(out, 9, sizeof out);
    EXPECT_EQ(MusicSourceRead(&s, out, 4), 2u);  // past the end: what exists
    EXPECT_EQ(out[0], 5);
    EXPECT_EQ(out[1], 6);
    EXPECT_EQ(out[2], 9);  // the rest is left as it was
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
}

TEST(MusicSource, FilesReadLikeMemoryAndResourcesDoNotExistHere) {
    char path[] = "/tmp/invitro_source_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(write(fd, "Extended", 8), 8);
    close(fd);
    MusicSource s;
    ASSERT_EQ(MusicSourceOpen(&s, path, 0, kMusicSourceFile), 1);
    char out[8] = {};
    MusicSourceSeek(&s, 4, 0);
    EXPECT_EQ(MusicSourceRead(&s, out, 8), 4u);
    EXPECT_EQ(std::memcmp(out, "nded", 4), 0);
    MusicSourceClose(&s);
    std::remove(path);
    EXPECT_EQ(MusicSourceOpen(&s, path, 0, kMusicSourceFile), 0);
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
    for (int i = 0; i < 32; ++i) EXPECT_EQ(module.patterns[0].notes[i].note, 0);
    const XmNote* n = module.patterns[1].notes;
    EXPECT_EQ(n[0].note, 0xFF);
    EXPECT_EQ(n[0].instrument, 0);
    EXPECT_EQ(n[0].volume, 0x40);
    EXPECT_EQ(n[3].note, 49);
    EXPECT_EQ(n[3].effect, 0x0F);
    EXPECT_EQ(n[3].parameter, 0x06);
    for (int p = 3; p < 6; ++p) {
        EXPECT_EQ(module.patterns[p].rows, 64);
        EXPECT_EQ(module.patterns[p].notes[127].note, 0);
    }
    XmModuleFree(&module);
    EXPECT_EQ(module.patterns, nullptr);
    XmModuleFree(&module);  // a cleared record is left alone
}

TEST(XmLoader, DecodesSamplesLoopsAndGuards) {
    XmWriterModule m = ToneModule();
    XmWriterInstrument& in = m.instruments[0];
    in.fadeout = 300;
    in.volumeEnvelope = {{{0, 64}}, 0, 0, 0, 1};  // one point: switched off
    in.panningEnvelope = {{{0, 99}, {5, 10}}, 0, 0, 1, 1 | 4};
    XmWriterSample eight;
    eight.is16Bit = false;
    eight.rawData = {0x10, 0x10, 0xE0};
    eight.loopType = 1;  // with loop length 0: no loop
    XmWriterSample wrap;
    wrap.rawData = {0xFF, 0x7F, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00};  // 0x7FFF then +2
    wrap.loopType = 2;
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
    EXPECT_EQ(i.panningEnvelope[0].value, 64);  // values above 64 are held at 64
    EXPECT_EQ(i.samples[4], XmEmptySample());

    const XmSample* e = i.samples[1];
    EXPECT_EQ(e->length, 3);
    EXPECT_EQ(e->data[0], 0x1000);
    EXPECT_EQ(e->data[1], 0x2000);
    EXPECT_EQ(e->data[2], 0x0000);
    EXPECT_EQ(e->loopType, 0);
    EXPECT_EQ(e->loopStart, 0);
    EXPECT_EQ(e->loopLength, 3);

    const XmSample* w = i.samples[2];
    EXPECT_EQ(w->length, 4);
    EXPECT_EQ(w->is16Bit, 1);
    EXPECT_EQ(w->data[0], 0x7FFF);
    EXPECT_EQ(w->data[1], -0x7FFF);  // 16-bit wrap-around
    EXPECT_EQ(w->loopStart, 1);
    EXPECT_EQ(w->loopLength, 3);
    EXPECT_EQ(w->data[4], w->data[3]);  // ping-pong guard: the last sample

    const XmSample* f = i.samples[3];
    EXPECT_EQ(f->loopStart, 500);
    EXPECT_EQ(f->data[1000], f->data[500]);  // forward guard: the loop start
    XmModuleFree(&module);
}

TEST(XmLoader, RefusesWhatCannotBePlayedAndClampsTheRest) {
    const std::vector<uint8_t> good = XmWrite(ToneModule());
    XmModule module;
    const char* reason = nullptr;
    auto refused = [&](std::vector<uint8_t> bytes) {
        reason = nullptr;
        const int loaded = LoadBytes(bytes, &module, &reason);
        EXPECT_EQ(module.patterns, nullptr);  // nothing left allocated
        return !loaded && reason;
    };
    EXPECT_TRUE(refused({'M', 'T', 'h', 'd'}));
    EXPECT_STREQ(reason, "not an XM module");
    EXPECT_TRUE(refused(std::vector<uint8_t>(good.begin(), good.begin() + 200)));
    EXPECT_STREQ(reason, "truncated module header");
    EXPECT_TRUE(refused(std::vector<uint8_t>(good.begin(), good.begin() + 340)));
    EXPECT_STREQ(reason, "truncated pattern header");
    EXPECT_TRUE(refused(std::vector<uint8_t>(good.begin(), good.end() - 1)));
    EXPECT_STREQ(reason, "truncated sample data");
    std::vector<uint8_t> bytes = good;
    bytes[68] = 33;
    EXPECT_TRUE(refused(bytes));
    EXPECT_STREQ(reason, "more than 32 channels");
    XmWriterModule many = ToneModule();
    many.instruments[0].samples.resize(17, many.instruments[0].samples[0]);
    EXPECT_TRUE(refused(XmWrite(many)));
    EXPECT_STREQ(reason, "instrument with more than 16 samples");

    // Song length above 256, restart beyond the song, a zero-row pattern: playable.
    XmWriterModule odd = ToneModule();
    odd.patterns[0].rows = 0;
    odd.restartPosition = 300;
    bytes = XmWrite(odd);
    bytes[64] = 0x2C;
    bytes[65] = 0x01;  // 300 orders
    ASSERT_EQ(LoadBytes(bytes, &module), 1);
    EXPECT_EQ(module.songLength, 256);
    EXPECT_EQ(module.restartPosition, 0);
    EXPECT_EQ(module.patterns[0].rows, 0);
    XmModuleFree(&module);
}

// Whatever the bytes say, loading and playing stays inside what was allocated (run
// under the address and undefined-behaviour sanitizers in CI).
TEST(XmLoader, DamagedModulesLoadOrAreRefusedAndPlaySafely) {
    XmWriterModule m = ToneModule(4);
    m.instruments[0].volumeEnvelope = {{{0, 64}, {10, 20}, {30, 50}}, 1, 0, 2, 1 | 2 | 4};
    for (int r = 0; r < 64; ++r)
        Cell(m, r, r % 4) = {static_cast<uint8_t>(1 + r), 1, static_cast<uint8_t>(r * 4),
                             static_cast<uint8_t>(r % 36), static_cast<uint8_t>(r * 37)};
    const std::vector<uint8_t> good = XmWrite(m);
    uint32_t seed = 12345;
    auto next = [&seed] { return seed = seed * 1103515245u + 12345u; };
    int played = 0;
    for (int round = 0; round < 300; ++round) {
        std::vector<uint8_t> bytes = good;
        for (int k = 0; k < 1 + round % 8; ++k) bytes[next() % bytes.size()] = next() >> 16 & 0xFF;
        PlayerRig rig(m);
        XmModule module;
        if (!LoadBytes(bytes, &module)) continue;
        XmPlayerReset(rig.player.get(), &module);
        std::vector<float> out(2 * 884);
        for (int slice = 0; slice < 40; ++slice) XmPlayerRender(rig.player.get(), out.data(), 884);
        XmModuleFree(&module);
        ++played;
    }
    EXPECT_GT(played, 100);
}
