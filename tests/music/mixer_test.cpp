// The mixer: the new-note crossfade, ramps, steps and their limits, interpolation with
// the guard sample, and loops that reflect several times in one pass.
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

TEST(Mixer, StepLimitsAndSampleOffsets) {
    MixVoice v;
    MixVoiceInit(&v, 3);
    EXPECT_EQ(v.stepInteger, 1u);
    MixVoiceSetFrequency(&v, 50);  // played at 100 Hz; the field keeps 50
    EXPECT_EQ(v.frequency, 50);
    EXPECT_EQ(v.stepInteger, 0u);
    EXPECT_EQ(v.stepFraction, 9739154u);
    MixVoiceSetFrequency(&v, 44100 * 3 + 22050);
    EXPECT_EQ(v.stepInteger, 3u);
    EXPECT_EQ(v.stepFraction, 0x80000000u);  // (2^31 * 44100 + 3) / 44100

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

TEST(Mixer, InterpolatesIntoTheGuardAndStopsUnloopedSamples) {
    PlayerRig looped(SampleModule({0, 1000, 2000, 3000}, 1, 0, 4));
    MixVoice* v = ArmVoice(&looped, 0, 0x10000000u);
    v->position = 3;
    v->fraction = 0x80000000u;
    float out[2 * 10] = {};
    MixChunk(looped.player->voices, out, 1);
    EXPECT_FLOAT_EQ(out[0], 1500.0f);  // halfway from 3000 to the guard (the loop start, 0)

    // Unlooped, the voice stops at the end of the sample.
    PlayerRig once(SampleModule({0, 1000, 2000, 3000}, 0, 0, 0));
    v = ArmVoice(&once, 1, 0);
    MixChunk(once.player->voices, out, 10);
    EXPECT_EQ(v->sample, nullptr);
    EXPECT_EQ(v->position, 0);
}

TEST(Mixer, PingPongReflectsSeveralTimesInOnePass) {
    std::vector<int16_t> values;
    for (int i = 0; i < 16; ++i) values.push_back(static_cast<int16_t>(i * 100));
    PlayerRig rig(SampleModule(values, 2, 4, 2));  // loop 4..6
    MixVoice* v = ArmVoice(&rig, 5, 0x40000000u);  // 5.25 samples a frame: more than the loop
    const XmSample* s = v->sample;
    std::vector<float> out(2 * 40);
    MixChunk(rig.player->voices, out.data(), 40);

    // Frame by frame: read, step, reflect at each edge crossed.
    const int64_t start = int64_t{4} << 32, end = int64_t{6} << 32;
    const int64_t step = (int64_t{5} << 32) | 0x40000000;
    int64_t p = 0;
    int backward = 0;
    for (int f = 0; f < 40; ++f) {
        const int32_t i = static_cast<int32_t>(p >> 32);
        const float fraction = static_cast<float>(static_cast<uint32_t>(p) >> 1) / 2147483648.0f;
        const float expected = s->data[i] + (s->data[i + 1] - s->data[i]) * fraction;
        ASSERT_NEAR(out[2 * f], expected, 0.01f) << "frame " << f;
        p += backward ? -step : step;
        for (;;) {
            if (p >= end) {
                p = end - (p - end) - 1;
                backward = 1;
            } else if (p < start) {
                p = start + (start - p) - 1;
                backward = 0;
            } else {
                break;
            }
        }
    }
    EXPECT_EQ((int64_t{v->position} << 32) | v->fraction, p);
    EXPECT_EQ(v->direction != 0, backward != 0);
}
