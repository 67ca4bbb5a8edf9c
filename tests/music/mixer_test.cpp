// The mixer: the new-note crossfade, ramps, steps and their limits, interpolation with
// the guard sample, loops that wrap several times in one step, and the backward pass.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/music/music_test_util.h"

namespace {
// One channel, one instrument whose sample is `values` with the given loop.
XmWriterModule SampleModule(std::vector<int16_t> values, uint8_t loopType, uint32_t loopStart,
                            uint32_t loopLength) {
    XmWriterModule m = ToneModule();
    XmWriterSample& s = m.instruments[0].samples[0];
    s.values = std::move(values);
    s.loopType = loopType;
    s.loopStart = loopStart;
    s.loopLength = loopLength;
    return m;
}

// Voice 0 of a rig playing the module's sample by hand, at unity gain on the left.
MixVoice* ArmVoice(PlayerRig* rig, uint32_t stepInteger, uint32_t stepFraction) {
    MixVoice* v = rig->player->voices;
    v->sample = rig->module.instruments[0].samples[0];
    v->stepInteger = stepInteger;
    v->stepFraction = stepFraction;
    v->targetLeft = v->gainLeft = v->lastTargetLeft = 255;
    v->targetRight = v->gainRight = v->lastTargetRight = 255;
    return v;
}
}  // namespace

TEST(Mixer, NewNoteCrossfadesOverExactly128Frames) {
    XmWriterModule m = SampleModule(std::vector<int16_t>(100, 10000), 1, 0, 100);
    m.tempo = 1;
    Cell(m, 0) = {49, 1, 0, 0, 0};
    Cell(m, 1) = {49, 1, 0, 0, 0};
    PlayerRig rig(m);
    MixVoice* voices = rig.player->voices;
    rig.Tick();
    std::vector<float> out(2 * 300);
    MixChunk(voices, out.data(), 300);
    EXPECT_FLOAT_EQ(out[0], 0.0f);  // a new note fades in from silence
    // Full volume is 128 on the voice's scale (x 255 / 2^35); panning 128 sends 128 of
    // 255 of it to the left.
    EXPECT_EQ(voices[0].volume, 128);
    EXPECT_EQ(voices[0].targetLeft, 64);
    const float steady = 10000.0f * 64 / 255;
    EXPECT_NEAR(out[2 * 299], steady, 0.01f);

    rig.Tick();  // the same note again: the channel moves to voice 32, the old one fades
    ASSERT_EQ(rig.Channel().voice, voices + 32);
    EXPECT_EQ(voices[0].targetLeft | voices[0].volume, 0);
    std::fill(out.begin(), out.end(), 0.0f);
    MixChunk(voices, out.data(), 127);
    for (int f = 0; f < 127; ++f) EXPECT_NEAR(out[2 * f], steady, 0.05f) << "frame " << f;
    EXPECT_EQ(voices[0].rampFrames, 1);
    MixChunk(voices, out.data(), 1);
    EXPECT_EQ(voices[0].rampFrames | voices[0].gainLeft, 0);
    EXPECT_EQ(voices[32].gainLeft, 64);
    EXPECT_NE(voices[0].sample, nullptr);  // the old voice plays on at zero gain
}

TEST(Mixer, RampsContinueWhileTheTargetsStay) {
    XmWriterModule m = SampleModule(std::vector<int16_t>(100, 1000), 1, 0, 100);
    Cell(m, 0) = {49, 1, 0, 0, 0};
    PlayerRig rig(m);
    rig.Tick();
    MixVoice* v = rig.Channel().voice;
    std::vector<float> out(2 * 128);
    MixChunk(rig.player->voices, out.data(), 64);
    EXPECT_EQ(v->rampFrames, 64);
    rig.Channel().flags = kChangeVolume | kChangePanning;  // same volume and panning
    UpdateVoice(&rig.Channel(), v->sample, rig.player.get());
    MixChunk(rig.player->voices, out.data(), 1);
    EXPECT_EQ(v->rampFrames, 63);
    rig.Channel().volume = 32;  // a new target starts a new ramp
    UpdateVoice(&rig.Channel(), v->sample, rig.player.get());
    MixChunk(rig.player->voices, out.data(), 1);
    EXPECT_EQ(v->rampFrames, 127);
}

TEST(Mixer, StepsFromPeriodsAndSampleOffsets) {
    // {linear table, period, frequency, step integer, step fraction}: C-4 on both
    // tables, below 100 Hz steps at 100 (the field keeps the rate), no upper limit (an
    // Amiga period of 1), and a linear rate beyond 32 bits converts to 0x80000000.
    const int64_t rates[5][5] = {{1, 4608, 8363, 0, 814485521u},
                                 {0, 1712, 8362, 0, 814388129u},
                                 {0, 286341, 50, 0, 9739154},
                                 {0, 1, 14317056, 324, 2790852218u},
                                 {1, -200000, INT32_MIN, 0, 9739154}};
    for (const auto& r : rates) {
        XmWriterModule tone = ToneModule();
        tone.flags = static_cast<uint16_t>(r[0]);
        PlayerRig rates(tone);
        EXPECT_EQ(rates.player->voices[5].stepInteger, 1u);  // a voice starts at 1
        rates.Channel().period = static_cast<int32_t>(r[1]);
        rates.Channel().flags = kChangeFrequency;
        UpdateVoice(&rates.Channel(), nullptr, rates.player.get());
        const MixVoice* v = rates.Channel().voice;
        EXPECT_EQ(v->frequency, r[2]);
        EXPECT_EQ(v->stepInteger, r[3]) << r[1];
        EXPECT_EQ(v->stepFraction, r[4]) << r[1];
    }

    // An offset at or past the loop end restarts the playing note from 0 instead.
    XmWriterModule m = SampleModule(std::vector<int16_t>(1000, 100), 0, 0, 0);
    m.tempo = 1;
    Cell(m, 0) = {49, 1, 0, 9, 0x02};  // 512: inside
    Cell(m, 1) = {49, 1, 0, 9, 0x04};  // 1024: past the end
    PlayerRig rig(m);
    rig.Tick();
    MixVoice* first = rig.Channel().voice;
    EXPECT_EQ(first->position, 512);
    std::vector<float> out(2 * 100);
    MixChunk(rig.player->voices, out.data(), 100);
    rig.Tick();
    EXPECT_EQ(rig.Channel().voice, first);  // no new voice
    EXPECT_EQ(first->position, 0);
}

TEST(Mixer, ChunksMixTheSameFloatsFrameByFrame) {
    // Long passes go four frames at a time through lanes, single frames one by one:
    // every float and the voice's position must come out the same either way.
    std::vector<int16_t> values;
    for (int i = 0; i < 700; ++i)
        values.push_back(static_cast<int16_t>(9000 * std::sin(i * 0.05) + 31 * (i % 7)));
    // {loop type, loop start, loop length, step integer, step fraction}
    const uint32_t cases[4][5] = {{1, 100, 600, 0, 0x2E8BA2E9u},
                                  {2, 300, 400, 1, 0x9999999Au},
                                  {2, 650, 50, 0, 0xF0000000u},
                                  {0, 0, 0, 2, 0x12345678u}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "loop type " << c[0] << ", step " << c[3]);
        std::vector<float> chunk(2 * 203), frames(2 * 203);
        int64_t ends[2];
        for (int single = 0; single < 2; ++single) {
            PlayerRig rig(SampleModule(values, static_cast<uint8_t>(c[0]), c[1], c[2]));
            MixVoice* v = ArmVoice(&rig, c[3], c[4]);
            v->targetRight = v->gainRight = v->lastTargetRight = 77;
            float* out = single ? frames.data() : chunk.data();
            if (single)
                for (int f = 0; f < 203; ++f) MixChunk(rig.player->voices, out + 2 * f, 1);
            else
                MixChunk(rig.player->voices, out, 203);
            ends[single] = (int64_t{v->position} << 32) | v->fraction;
        }
        for (int i = 0; i < 2 * 203; ++i) ASSERT_EQ(chunk[i], frames[i]) << "value " << i;
        EXPECT_EQ(ends[0], ends[1]);
    }
}

TEST(Mixer, UnloopedSamplesStopAtTheirEnd) {
    PlayerRig once(SampleModule({0, 1000, 2000, 3000}, 0, 0, 0));
    MixVoice* v = ArmVoice(&once, 1, 0);
    float out[2 * 10] = {};
    MixChunk(once.player->voices, out, 10);
    EXPECT_EQ(v->sample, nullptr);
    EXPECT_EQ(v->position, 0);
}

TEST(Mixer, LoopsWrapAndReflectSeveralTimesInOneStep) {
    std::vector<int16_t> values;
    for (int i = 0; i < 16; ++i) values.push_back(static_cast<int16_t>(i * 100 + i * i));
    // {loop type, loop start, loop length, step integer, step fraction}: steps far
    // beyond the loop, up to an Amiga period of 1; loops to the end read the guard.
    const uint32_t cases[4][5] = {{2, 4, 2, 5, 0x40000000u},
                                  {2, 4, 12, 324, 2790852218u},
                                  {1, 4, 12, 324, 2790852218u},
                                  {1, 15, 1, 7, 0x90000000u}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "loop type " << c[0] << ", step " << c[3]);
        PlayerRig rig(SampleModule(values, static_cast<uint8_t>(c[0]), c[1], c[2]));
        MixVoice* v = ArmVoice(&rig, c[3], c[4]);
        const XmSample* s = v->sample;
        std::vector<float> out(2 * 40);
        MixChunk(rig.player->voices, out.data(), 40);

        // Frame by frame: read, step, wrap or reflect at each edge crossed.
        const int64_t start = int64_t{c[1]} << 32, end = int64_t{c[1] + c[2]} << 32;
        const int64_t step = (int64_t{c[3]} << 32) | c[4];
        int64_t p = 0;
        int backward = 0;
        for (int f = 0; f < 40; ++f) {
            const int32_t i = static_cast<int32_t>(p >> 32);
            const float fraction =
                static_cast<float>(static_cast<uint32_t>(p) >> 1) / 2147483648.0f;
            const float expected = s->data[i] + (s->data[i + 1] - s->data[i]) * fraction;
            ASSERT_NEAR(out[2 * f], expected, 0.01f) << "frame " << f;
            p += backward ? -step : step;
            while (p >= end || (c[0] == 2 && p < start)) {
                if (c[0] == 1) {
                    p -= end - start;
                } else if (p >= end) {
                    p = end - (p - end) - 1;
                    backward = 1;
                } else {
                    p = start + (start - p) - 1;
                    backward = 0;
                }
            }
        }
        EXPECT_EQ((int64_t{v->position} << 32) | v->fraction, p);
        EXPECT_EQ(v->direction != 0, backward != 0);
    }

    // A long loop: the step's 8.24 form wraps, too many frames are counted, and a chunk
    // may leave the voice past the loop's end, held on the guard; the next one wraps.
    PlayerRig far(SampleModule(std::vector<int16_t>(300, 500), 1, 0, 300));
    MixVoice* v = ArmVoice(&far, 324, 2790852218u);
    std::vector<float> out(2 * 3);
    MixChunk(far.player->voices, out.data(), 3);
    EXPECT_EQ(out[4], 500.0f);
    EXPECT_EQ(v->position, 973);
    MixChunk(far.player->voices, out.data(), 1);
    EXPECT_EQ(v->position, 398);
}

TEST(Mixer, BackwardPassesCountFramesWithTheForwardStep) {
    // Going back with a whole step the voice moves one sample a frame more than the
    // frames were counted for, and passes the loop start before it turns.
    std::vector<int16_t> values(24, 1024);
    values[5] = -19 * 256;
    values[10] = 46 * 256;
    XmWriterModule m = SampleModule(values, 2, 8, 12);
    m.instruments[0].samples[0].is16Bit = false;
    PlayerRig rig(m);
    MixVoice* v = ArmVoice(&rig, 2, 0);
    std::vector<float> out(2 * 120);
    MixChunk(rig.player->voices, out.data(), 120);
    // Back from 19.99...: six frames of three samples, frame 15 at 4.99...
    EXPECT_EQ(out[2 * 15], -4864.0f);
    EXPECT_EQ(out[2 * 15 + 1], -4864.0f);
    EXPECT_EQ(v->position, 13);

    // A loop from the first sample: the pass reads before it, held at sample 0.
    PlayerRig first(SampleModule({1000, 2000, 3000, 4000}, 2, 0, 4));
    v = ArmVoice(&first, 1, 0);
    float eight[2 * 8] = {};
    MixChunk(first.player->voices, eight, 8);
    const float expected[8] = {1000, 2000, 3000, 4000, 4000, 3000, 1000, 1000};
    for (int f = 0; f < 8; ++f) EXPECT_EQ(eight[2 * f], expected[f]) << "frame " << f;
}
