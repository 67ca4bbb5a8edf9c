// The tracker player: periods, envelopes, key-off, and the effects whose limits and
// quirks matter, checked tick by tick on small modules built in code.
#include <gtest/gtest.h>

#include "tests/music/music_test_util.h"

TEST(XmPlayer, NotesBecomePeriodsOnBothTables) {
    PlayerRig rig(ToneModule());
    ASSERT_TRUE(rig.loaded);
    // {note, finetune, period}: C-4, finetune / 2 truncating, note 0.
    const int32_t linear[4][3] = {{48, 0, 4608}, {48, -128, 4672}, {48, 127, 4545}, {0, 0, 7680}};
    for (const auto& l : linear) EXPECT_EQ(XmNotePeriod(rig.player.get(), l[0], l[1]), l[2]);
    // Toward the note above or below; real note 0 always takes the note above.
    const int32_t amiga[5][3] = {
        {48, 0, 1712}, {60, 0, 856}, {48, 64, 1664}, {48, -64, 1763}, {0, -16, 27584}};
    for (const auto& a : amiga) EXPECT_EQ(XmAmigaPeriod(a[0], a[1]), a[2]);
}

namespace {
// Envelope (0, 64) (4, 32) (8, 0), sustain on point 1; speed 3, key-off on row 2.
XmWriterModule EnvelopeModule(uint8_t type, uint8_t loopEnd) {
    XmWriterModule m = ToneModule();
    m.tempo = 3;
    m.instruments[0].volumeEnvelope = {{{0, 64}, {4, 32}, {8, 0}}, 1, 0, loopEnd, type};
    Cell(m, 0) = {49, 1, 0, 0, 0};
    Cell(m, 2) = {97, 0, 0, 0, 0};
    return m;
}
std::vector<int> EnvelopeVolumes(const XmWriterModule& m, int ticks) {
    PlayerRig rig(m);
    std::vector<int> out;
    for (int i = 0; i < ticks; ++i) {
        rig.Tick();
        out.push_back(rig.Channel().envelopeVolume);
    }
    return out;
}
}  // namespace

TEST(XmPlayer, EnvelopesHoldAtSustainUntilKeyOffLoopAndWrap) {
    //                tick: 0   1   2   3   4   5   6 (key off)  7   8  9  10 11
    const std::vector<int> held = {64, 56, 48, 40, 32, 32, 32, 24, 16, 8, 0, 0};
    EXPECT_EQ(EnvelopeVolumes(EnvelopeModule(1 | 2, 0), 12), held);
    // A loop ending on the sustain point: the loop jump comes first, so the envelope
    // loops from the start while the key is held and after it is released.
    const std::vector<int> looped = {64, 56, 48, 40, 64, 56, 48, 40, 64, 56};
    EXPECT_EQ(EnvelopeVolumes(EnvelopeModule(1 | 2 | 4, 1), 10), looped);
    // Values beyond 64 stay: 40000 x 65536 and the step toward 0 wrap in the 16.16
    // value, which gives the output on every tick that does not end the envelope.
    XmWriterModule large = EnvelopeModule(1, 0);
    large.instruments[0].volumeEnvelope.points = {{0, 40000}, {2, 0}};
    EXPECT_EQ(EnvelopeVolumes(large, 4), (std::vector<int>{-25536, -12768, 0, 0}));
}

TEST(XmPlayer, KeyOffCutsWithoutEnvelopeAndFadesWithOne) {
    XmWriterModule m = ToneModule();
    m.tempo = 2;
    m.instruments[0].fadeout = 1000;
    Cell(m, 0) = {49, 1, 0, 0, 0};
    Cell(m, 1) = {97, 0, 0, 0, 0};
    PlayerRig bare(m);
    bare.Tick(2);
    EXPECT_GT(bare.Channel().voice->volume, 0);
    bare.Tick();
    EXPECT_EQ(bare.Channel().envelopeVolume | bare.Channel().voice->volume, 0);

    m.instruments[0].volumeEnvelope = {{{0, 64}, {100, 64}}, 0, 0, 0, 1};
    PlayerRig enveloped(m);
    enveloped.Tick(3);
    EXPECT_EQ(enveloped.Channel().envelopeVolume, 64);
    EXPECT_EQ(enveloped.Channel().fadeoutVolume, 65536 - 2000);  // the doubled fadeout
    enveloped.Tick();
    EXPECT_EQ(enveloped.Channel().fadeoutVolume, 65536 - 4000);
}

TEST(XmPlayer, PortamentoAndPanningSlideLimits) {
    XmWriterModule m = ToneModule(4);
    m.tempo = 8;
    m.instruments[0].samples[0].panning = 2;
    Cell(m, 0, 0) = {49, 1, 0, 1, 0xFF};   // portamento up: floor 56
    Cell(m, 0, 1) = {49, 1, 0, 2, 0xFF};   // portamento down: no ceiling
    Cell(m, 0, 2) = {49, 1, 0xD5, 0, 0};   // volume-column slide left: no floor
    Cell(m, 0, 3) = {49, 1, 0, 25, 0x0F};  // effect-column slide left: floor 0
    PlayerRig rig(m);
    rig.Tick(8);
    EXPECT_EQ(rig.Channel(0).period, 56);
    EXPECT_EQ(rig.Channel(1).period, 4608 + 7 * 1020);
    EXPECT_EQ(rig.Channel(2).panning, 2 - 8 * 5);
    EXPECT_EQ(rig.Channel(2).voice->panning, 0);  // the voice clamps the final value
    EXPECT_EQ(rig.Channel(3).panning, 0);
}

TEST(XmPlayer, NoteDelayAtOrPastTheRowsTicksNeverSounds) {
    XmWriterModule m = ToneModule(2);
    m.tempo = 3;
    Cell(m, 0, 0) = {49, 1, 0, 14, 0xD3};  // delay 3 in a row of 3 ticks
    Cell(m, 0, 1) = {49, 1, 0, 14, 0xD1};
    PlayerRig rig(m);
    rig.Tick();
    EXPECT_EQ(rig.Channel(0).volume, 0);  // back to its value before the row
    rig.Tick(2);
    EXPECT_EQ(rig.Channel(0).flags & 0x0E, 0);
    EXPECT_EQ(rig.Channel(0).voice->sample, nullptr);
    EXPECT_NE(rig.Channel(1).voice->sample, nullptr);  // delay 1 sounded on tick 1
    EXPECT_EQ(rig.Channel(1).volume, 64);
}

TEST(XmPlayer, RetriggersArpeggioAndTremolo) {
    XmWriterModule m = ToneModule(6);
    m.tempo = 6;
    Cell(m, 0, 0) = {49, 1, 0, 27, 0x02};  // multi retrigger rx 0: volume untouched
    Cell(m, 0, 1) = {49, 1, 0, 27, 0x82};  // rx 8: unchanged but flagged
    Cell(m, 0, 2) = {49, 1, 0, 27, 0x12};  // rx 1: -1
    Cell(m, 0, 3) = {49, 1, 0, 0, 0x37};   // arpeggio
    Cell(m, 0, 4) = {49, 1, 0, 7, 0x7F};   // tremolo
    Cell(m, 0, 5) = {49, 1, 0, 0, 0};      // arpeggio 000: the period is left alone
    PlayerRig rig(m);
    std::vector<int> arpeggio, tremolo;
    for (int t = 0; t < 6; ++t) {
        rig.Tick();
        arpeggio.push_back(rig.Channel(3).periodShift);
        tremolo.push_back(rig.Channel(4).tremoloPosition);
        // Tremolo changes nothing audible; arpeggio 000 leaves the period alone.
        EXPECT_EQ(rig.Channel(4).volumeShift | rig.Channel(5).periodShift, 0) << "tick " << t;
        EXPECT_EQ(rig.Channel(4).voice->volume, rig.Channel(0).voice->volume) << "tick " << t;
        EXPECT_FALSE(t == 1 && (rig.Channel(0).flags & 0x08)) << "retriggered on tick 1";
        if (t != 2) continue;  // every retrigger fires on tick 2
        EXPECT_EQ(rig.Channel(0).flags & 0x0A, 0x08);
        EXPECT_EQ(rig.Channel(1).flags & 0x0A, 0x0A);
        const int volumes[3] = {rig.Channel(0).volume, rig.Channel(1).volume,
                                rig.Channel(2).volume};
        EXPECT_EQ(std::vector<int>(volumes, volumes + 3), (std::vector<int>{64, 64, 63}));
    }
    EXPECT_EQ(arpeggio, (std::vector<int>{0, 3 * 64, 7 * 64, 0, 3 * 64, 7 * 64}));
    EXPECT_EQ(tremolo, (std::vector<int>{0, 7, 14, 21, 28, 35 - 64}));  // wraps at 32
}

namespace {
using Positions = std::vector<std::pair<uint32_t, uint32_t>>;
// The order and row of each of the next `ticks` ticks.
Positions Visit(PlayerRig* rig, int ticks) {
    Positions visited;
    for (int i = 0; i < ticks; ++i) {
        rig->Tick();
        visited.push_back({rig->player->order, rig->player->row});
    }
    return visited;
}
}  // namespace

TEST(XmPlayer, JumpsBreaksAndLoopsStayInsideTheSong) {
    XmWriterModule m = ToneModule(2);
    m.tempo = 1;
    m.restartPosition = 1;
    m.orders = {0, 1, 2};
    m.patterns.resize(3);
    m.patterns[2].rows = 16;
    Cell(m, 0, 0, 0) = {0, 0, 0, 11, 2};      // jump to order 2 ...
    Cell(m, 0, 1, 0) = {0, 0, 0, 13, 0x10};   // ... row 10: the break keeps the jump's order
    Cell(m, 10, 0, 2) = {0, 0, 0, 14, 0x60};  // loop start
    Cell(m, 11, 0, 2) = {0, 0, 0, 14, 0x61};  // loop once
    Cell(m, 12, 0, 2) = {0, 0, 0, 13, 0x63};  // break at the last order: order 0, row 63
    PlayerRig rig(m);
    // Row 63 of a 64-row pattern, then on.
    EXPECT_EQ(Visit(&rig, 8),
              (Positions{{0, 0}, {2, 10}, {2, 11}, {2, 10}, {2, 11}, {2, 12}, {0, 63}, {1, 0}}));
    EXPECT_EQ(rig.player->songLoops, 1u);  // order 0 came round again

    // A break to a row the pattern lacks plays an empty row and moves on.
    Cell(m, 12, 0, 2) = {};
    Cell(m, 13, 0, 2) = {0, 0, 0, 13, 0x40};
    m.patterns[0].rows = 16;
    PlayerRig past(m);
    EXPECT_EQ(Visit(&past, 8).back(), (std::pair<uint32_t, uint32_t>{0, 40}));
    EXPECT_EQ(Visit(&past, 1).back(), (std::pair<uint32_t, uint32_t>{1, 0}));

    // Song length 0: a break past its end goes to order 0, the end of a pattern to the
    // restart position, here beyond the order table: no pattern there, so each of its
    // rows is empty and the song stays.
    XmWriterModule none = ToneModule();
    none.tempo = 1;
    none.orders = {};
    none.restartPosition = 300;
    none.patterns[0].rows = 4;
    Cell(none, 1) = {0, 0, 0, 13, 0x03};
    PlayerRig zero(none);
    EXPECT_EQ(Visit(&zero, 5), (Positions{{0, 0}, {0, 1}, {0, 3}, {300, 0}, {300, 0}}));
}

TEST(XmPlayer, SpeedAndBpm) {
    EXPECT_EQ(XmSamplesPerTick(125), 882u);
    EXPECT_EQ(XmSamplesPerTick(0), 110250u);
    XmWriterModule m = ToneModule();
    Cell(m, 0) = {0, 0, 0, 15, 3};
    Cell(m, 1) = {0, 0, 0, 15, 32};
    PlayerRig rig(m);
    rig.Tick();
    EXPECT_EQ(rig.player->speed, 3u);
    rig.Tick(3);
    EXPECT_EQ(rig.player->samplesPerTick, 3445u);
}
