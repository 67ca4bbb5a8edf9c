// The voice mixer: turns each channel's period, volume and panning into a voice's
// resampling step and gains, and mixes the voices into the float stereo accumulator
// with linear interpolation, loops and 128-frame gain ramps.
#pragma once
#include <cstdint>

struct XmChannel;
struct XmPlayer;
struct XmSample;

constexpr int kMixVoices = 256;       // records that exist
constexpr int kMixActiveVoices = 64;  // records that are mixed: channel i uses i or i + 32
constexpr int kMixRampFrames = 128;
constexpr int kMixRate = 44100;

// Change flags from the player to the voice update.
constexpr uint8_t kChangeFrequency = 0x01;
constexpr uint8_t kChangeVolume = 0x02;
constexpr uint8_t kChangePanning = 0x04;
constexpr uint8_t kChangeNewNote = 0x08;
constexpr uint8_t kChangeRestart = 0x20;

struct MixVoice {
    int32_t index;           // the record's own number, 0..255
    int32_t volumeCopy;      // written together with volume
    int32_t frequency;       // Hz as computed, before the step's limits
    int32_t volume;          // final volume, 0..255 scale
    int32_t panning;         // 0..255; 255 is all left
    int32_t startOffset;     // where the next note starts (sample offset effect)
    const XmSample* sample;  // null: mute, not mixed
    int32_t targetLeft;      // gains the ramp heads for, 255 = unity
    int32_t targetRight;
    int32_t position;   // whole samples
    uint32_t fraction;  // 2^-32 sample
    uint32_t stepFraction;
    uint32_t stepInteger;
    int32_t direction;       // 0 forward, non-zero backward (ping-pong)
    int32_t lastTargetLeft;  // targets the running ramp was computed for
    int32_t lastTargetRight;
    int32_t gainLeft;  // current gains, 0..255
    int32_t gainRight;
    float rampLeft;  // gain change per frame, unity = 1
    float rampRight;
    int32_t rampFrames;  // frames left in the running ramp
};

// Clears a voice and gives it its number; the step starts at one sample a frame.
void MixVoiceInit(MixVoice* voice, int32_t index);

// Applies a channel's change flags to its voice (called by the player at the end of
// each tick's processing of a channel). A new note moves the channel to the partner
// voice (i <-> i + 32) when its voice is still playing, so the old note fades out
// while the new one fades in.
void UpdateVoice(XmChannel* channel, const XmSample* sample, XmPlayer* player);

// Adds frames stereo frames of voices 0..63 to out (interleaved left, right) and moves
// every voice on by as many frames.
void MixChunk(MixVoice* voices, float* out, uint32_t frames);

// The voice update's step for a frequency: below 100 Hz counts as 100.
void MixVoiceSetFrequency(MixVoice* voice, int32_t frequency);
