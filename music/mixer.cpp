// The voice mixer: voice update from a channel's change flags, and the mixing loop
// with 32.32 positions, linear interpolation, forward and ping-pong loops and ramps.
#include "music/mixer.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "music/xm_player.h"

namespace {

constexpr int32_t kStepFrequencyMin = 100;

int32_t Clamp(int64_t v, int64_t low, int64_t high) {
    return static_cast<int32_t>(v < low ? low : v > high ? high : v);
}

void VoiceSetTargets(MixVoice* v) {
    v->targetLeft = v->volume * v->panning / 255;
    v->targetRight = (255 - v->panning) * v->volume / 255;
}

}  // namespace

void MixVoiceInit(MixVoice* voice, int32_t index) {
    *voice = MixVoice{};
    voice->index = index;
    voice->stepInteger = 1;
}

void MixVoiceSetFrequency(MixVoice* voice, int32_t frequency) {
    voice->frequency = frequency;
    const uint32_t f =
        static_cast<uint32_t>(frequency < kStepFrequencyMin ? kStepFrequencyMin : frequency);
    voice->stepInteger = f / kMixRate;
    // Deliberate: the integer part rides in the low word of the dividend; harmless.
    const uint64_t dividend = (static_cast<uint64_t>(f % kMixRate) << 32) + voice->stepInteger;
    voice->stepFraction = static_cast<uint32_t>(dividend / kMixRate);
}

void UpdateVoice(XmChannel* channel, const XmSample* sample, XmPlayer* player) {
    MixVoice* v = channel->voice;
    if (!v) return;
    uint8_t flags = channel->flags;
    const int32_t period = XmWrap32(int64_t{channel->period} + channel->periodShift);
    if (period == 0) flags &= ~kChangeFrequency;

    if (flags & kChangeNewNote) {
        if (v->sample) {
            MixVoice* partner = player->voices + (v->index < 32 ? v->index + 32 : v->index - 32);
            const int32_t index = partner->index;
            *partner = *v;
            partner->index = index;
            v->targetLeft = v->targetRight = 0;
            v->volume = v->volumeCopy = 0;
            v = channel->voice = partner;
        }
        v->sample = sample;
        if (v->startOffset >= static_cast<int64_t>(sample->loopStart) + sample->loopLength)
            v->startOffset = 0;
        v->position = v->startOffset;
        v->fraction = 0;
        v->direction = 0;
        v->startOffset = 0;
        v->gainLeft = v->gainRight = 0;
        v->rampFrames = 0;
    }

    if (flags & kChangeVolume) {
        const double volume = static_cast<double>(channel->volume + channel->volumeShift) *
                              channel->envelopeVolume * channel->fadeoutVolume *
                              player->globalVolume * 255.0 / 34359738368.0;
        v->volume = v->volumeCopy = static_cast<int32_t>(std::llrint(volume));
        VoiceSetTargets(v);
    }

    if (flags & kChangePanning) {
        // In 32 bits like the rest of the player: slides may have left P far outside.
        const int32_t p = channel->panning;
        const int32_t offset = XmWrap32(int64_t{p} - 128);
        const int32_t distance = offset < 0 ? XmWrap32(-int64_t{offset}) : offset;
        const int32_t mirrored = XmWrap32(128 - int64_t{distance});
        const int32_t swing =
            XmWrap32(int64_t{mirrored / 32} * XmWrap32(int64_t{channel->envelopePanning} - 32));
        v->panning = Clamp(XmWrap32(int64_t{p} + swing), 0, 255);
        VoiceSetTargets(v);
    }

    if (flags & kChangeFrequency) {
        int32_t frequency;
        if (player->module->flags & kXmLinearFrequencies) {
            const double exponent =
                ((4608.0 - channel->period + channel->periodShift) / 64.0) / 12.0;
            const double hz = std::nearbyint(13.375 * std::exp2(exponent) * 625.27106);
            // A rate no 32-bit integer holds converts as the FPU does, to 0x80000000:
            // then it plays at the lowest rate.
            frequency = hz < 2147483648.0 ? static_cast<int32_t>(hz) : INT32_MIN;
        } else {
            // Deliberate: 14317056 exactly, not 8363 x 1712.
            frequency = XmWrap32(int64_t{14317056} / period);
        }
        MixVoiceSetFrequency(v, frequency);
    }

    if (flags & kChangeRestart) {
        v->position = 0;
        v->fraction = 0;
        v->startOffset = 0;
    }
}

namespace {

// Mixes frames of one voice; the position moves by delta a frame. Ramped, the gains
// move by their steps after each frame. The fraction is scaled before the
// multiplication (by a power of two: the same sum). kHeld holds each read inside the
// data (0..last, the guard included): only a pass that would leave it takes that path.
template <bool kRamped, bool kHeld>
int64_t MixFrames(const int16_t* data, int64_t last, int64_t position, int64_t delta, float* left,
                  float* right, float stepLeft, float stepRight, float* out, uint32_t frames) {
    constexpr float kFractionScale = 1.0f / 2147483648.0f;
    float gl = *left, gr = *right;
    for (float* const end = out + 2 * static_cast<size_t>(frames); out != end; out += 2) {
        const int64_t i = position >> 32;
        float s0, s1;
        if (kHeld) {
            s0 = data[i < 0 ? 0 : i > last ? last : i];
            s1 = data[i + 1 < 0 ? 0 : i + 1 > last ? last : i + 1];
        } else {
            s0 = data[i];
            s1 = data[i + 1];
        }
        const float fraction =
            static_cast<float>(static_cast<uint32_t>(position) >> 1) * kFractionScale;
        const float value = s0 + (s1 - s0) * fraction;
        out[0] += value * gl;
        out[1] += value * gr;
        if (kRamped) {
            gl += stepLeft;
            gr += stepRight;
        }
        position += delta;
    }
    *left = gl;
    *right = gr;
    return position;
}

// Four frames a pass through the lanes, for passes inside the data. Each lane does
// exactly the float work of one frame of MixFrames; a frame's sample and difference
// to the next are one 8-byte read from the sample's float pairs. The difference comes
// scaled by 2^-31 instead of the fraction: scaling by a power of two commutes with the
// rounding of the product (no result comes near the float range's ends), so the
// product is the same float.
typedef float Float2 __attribute__((vector_size(8)));
typedef float Float4 __attribute__((vector_size(16)));
typedef int32_t Int4 __attribute__((vector_size(16)));
typedef uint32_t Word4 __attribute__((vector_size(16)));

inline Float4 TwoPairs(const float* pairs, int64_t a, int64_t b) {
    Float2 first, second;
    std::memcpy(&first, pairs + 2 * (a >> 32), sizeof first);
    std::memcpy(&second, pairs + 2 * (b >> 32), sizeof second);
    return __builtin_shufflevector(first, second, 0, 1, 2, 3);
}

// Ramped, lanes 0-1 of a gain vector hold one frame's left and right gains and lanes
// 2-3 the next frame's; adding the step to every lane twice moves on by two frames,
// each lane still the same sequential chain of additions as the scalar loop's.
template <bool kRamped>
int64_t MixQuads(const float* pairs, int64_t position, int64_t delta, float* left, float* right,
                 float stepLeft, float stepRight, float* out, uint32_t quads) {
    const Float4 step = {stepLeft, stepRight, stepLeft, stepRight};
    Float4 gains = {*left, *right, *left, *right};
    if (kRamped) gains = Float4{*left, *right, *left + stepLeft, *right + stepRight};
    Word4 fraction = {static_cast<uint32_t>(position), static_cast<uint32_t>(position + delta),
                      static_cast<uint32_t>(position + 2 * delta),
                      static_cast<uint32_t>(position + 3 * delta)};
    const uint32_t fractionStep = static_cast<uint32_t>(4 * delta);
    // Unrolled twice: renders measured about a tenth faster.
#pragma GCC unroll 2
    for (float* const end = out + 8 * static_cast<size_t>(quads); out != end; out += 8) {
        const Float4 pairs01 = TwoPairs(pairs, position, position + delta);
        const Float4 pairs23 = TwoPairs(pairs, position + 2 * delta, position + 3 * delta);
        position += 4 * delta;
        const Float4 s0 = __builtin_shufflevector(pairs01, pairs23, 0, 2, 4, 6);
        const Float4 difference = __builtin_shufflevector(pairs01, pairs23, 1, 3, 5, 7);
        const Float4 f =
            __builtin_convertvector(__builtin_convertvector(fraction >> 1, Int4), Float4);
        fraction += fractionStep;
        const Float4 value = s0 + difference * f;
        Float4 low, high;
        std::memcpy(&low, out, sizeof low);
        std::memcpy(&high, out + 4, sizeof high);
        const Float4 gainsNext = kRamped ? gains + step + step : gains;
        low += __builtin_shufflevector(value, value, 0, 0, 1, 1) * gains;
        high += __builtin_shufflevector(value, value, 2, 2, 3, 3) * gainsNext;
        std::memcpy(out, &low, sizeof low);
        std::memcpy(out + 4, &high, sizeof high);
        if (kRamped) gains = gainsNext + step + step;
    }
    *left = gains[0];
    *right = gains[1];
    return position;
}

template <bool kRamped>
int64_t MixPass(const XmSample* s, int64_t position, int64_t delta, float* left, float* right,
                float stepLeft, float stepRight, float* out, uint32_t frames) {
    if (frames == 0) return position;
    // The samples the pass reads lie between its first and last frame's, plus one.
    const int64_t last = position + static_cast<int64_t>(frames - 1) * delta;
    const int64_t low = (delta < 0 ? last : position) >> 32;
    const int64_t high = ((delta < 0 ? position : last) >> 32) + 1;
    if (low >= 0 && high <= s->length) {
        position = MixQuads<kRamped>(s->pairs, position, delta, left, right, stepLeft, stepRight,
                                     out, frames / 4);
        return MixFrames<kRamped, false>(s->data, s->length, position, delta, left, right, stepLeft,
                                         stepRight, out + 8 * (frames / 4), frames % 4);
    }
    return MixFrames<kRamped, true>(s->data, s->length, position, delta, left, right, stepLeft,
                                    stepRight, out, frames);
}

// Brings a position that ran out of a ping-pong loop back inside, turning at each edge.
// Two reflections in a row move the position by exactly twice the loop length, so long
// runs are folded at once (a division only for those: most overshoots are short).
void PingPongReflect(MixVoice* v, int64_t* position, int64_t loopStart, int64_t loopEnd) {
    const int64_t twice = 2 * (loopEnd - loopStart);
    const auto folded = [twice](int64_t over) { return over < twice ? 0 : over / twice * twice; };
    int64_t p = *position;
    for (;;) {
        if (p >= loopEnd) {
            p -= folded(p - loopEnd);
            p = loopEnd - (p - loopEnd) - 1;
            v->direction = 1;
        } else if (p < loopStart) {
            p += folded(loopStart - p - 1);
            p = loopStart + (loopStart - p) - 1;
            v->direction = 0;
        } else {
            break;
        }
    }
    *position = p;
}

void MixVoiceFrames(MixVoice* v, float* out, uint32_t frames) {
    uint32_t done = 0;
    while (done < frames && v->sample) {
        const XmSample* s = v->sample;
        const int64_t loopStart = static_cast<int64_t>(s->loopStart) << 32;
        const int64_t loopEnd = (static_cast<int64_t>(s->loopStart) + s->loopLength) << 32;
        int64_t position = static_cast<int64_t>(
            static_cast<uint64_t>(static_cast<int64_t>(v->position)) << 32 | v->fraction);
        const uint64_t step = static_cast<uint64_t>(v->stepInteger) << 32 | v->stepFraction;
        // Backward the step is negated by negating its fraction and complementing its
        // integer part: with a zero fraction that is one sample a frame more (kept).
        const uint64_t backward =
            static_cast<uint64_t>(~v->stepInteger) << 32 | static_cast<uint32_t>(-v->stepFraction);
        const int64_t delta = static_cast<int64_t>(v->direction ? backward : step);

        // 1-2: frames to the end of the sample or loop, in whole frames, counted with
        // the stored step in 8.24 (32 bits: larger steps wrap) in both directions. A
        // pass may therefore run past its end (backward by a sample a frame when the
        // fraction is 0, or far past with a wrapped step); the end rules bring it back.
        uint32_t n = frames - done;
        int reachesEnd = 0;
        int64_t distance;
        if (v->direction == 0) {
            const int64_t end =
                position >= loopEnd ? static_cast<int64_t>(s->length) << 32 : loopEnd;
            distance = end - position;
        } else {
            distance = position - loopStart;
        }
        uint64_t step24 = static_cast<uint32_t>((v->stepInteger << 24) + (v->stepFraction >> 8));
        if (step24 == 0) step24 = 97391;
        const uint64_t stride = step24 * 256;
        // Far from the end (more than n strides), the pass needs no division to know
        // (stride < 2^40: below 2^23 frames the product stays under 2^63).
        const bool far = n < (1u << 23) && distance > static_cast<int64_t>(n * stride);
        if (!far && distance < (int64_t{1} << 56)) {
            uint64_t toEnd = 0;
            if (distance > 0) toEnd = (static_cast<uint64_t>(distance) + stride - 1) / stride;
            // Standing exactly on the loop start going backward: that frame is mixed,
            // then the voice turns (otherwise it would never move again).
            if (distance == 0 && v->direction) toEnd = 1;
            if (toEnd <= n) {
                n = static_cast<uint32_t>(toEnd);
                reachesEnd = 1;
            }
        }

        // 3: the ramp continues while the targets stay; new targets start a new one.
        if (!(v->rampFrames > 0 && v->targetLeft == v->lastTargetLeft &&
              v->targetRight == v->lastTargetRight)) {
            v->lastTargetLeft = v->targetLeft;
            v->lastTargetRight = v->targetRight;
            const int differs = v->targetLeft != v->gainLeft || v->targetRight != v->gainRight;
            // Gains at their targets (most passes) step by +0: no divisions for them.
            v->rampLeft =
                differs ? static_cast<float>(v->targetLeft - v->gainLeft) / 32640.0f : 0.0f;
            v->rampRight =
                differs ? static_cast<float>(v->targetRight - v->gainRight) / 32640.0f : 0.0f;
            v->rampFrames = differs ? kMixRampFrames : 0;
        }
        const int ramping = v->rampFrames > 0;
        if (ramping && static_cast<uint32_t>(v->rampFrames) < n) {
            n = static_cast<uint32_t>(v->rampFrames);
            reachesEnd = 0;
        }

        // 4: the frames themselves.
        float* o = out + 2 * done;
        if (ramping) {
            float gl = static_cast<float>(v->gainLeft) / 255.0f;
            float gr = static_cast<float>(v->gainRight) / 255.0f;
            position = MixPass<true>(s, position, delta, &gl, &gr, v->rampLeft, v->rampRight, o, n);
            // 5: the gains the ramp reached, then its end.
            v->gainLeft = static_cast<int32_t>(std::lrint(gl * 255.0f));
            v->gainRight = static_cast<int32_t>(std::lrint(gr * 255.0f));
            v->rampFrames -= static_cast<int32_t>(n);
            if (v->rampFrames == 0) {
                v->rampLeft = v->rampRight = 0.0f;
                v->gainLeft = v->targetLeft;
                v->gainRight = v->targetRight;
            }
        } else if (v->targetLeft != 0 || v->targetRight != 0) {
            float gl = static_cast<float>(v->targetLeft) / 255.0f;
            float gr = static_cast<float>(v->targetRight) / 255.0f;
            position = MixPass<false>(s, position, delta, &gl, &gr, 0.0f, 0.0f, o, n);
        } else {
            // Silent: the sums would not change, only the position moves.
            position += static_cast<int64_t>(static_cast<uint64_t>(delta) * n);
        }
        done += n;

        // 6: what happens at the end of the sample or loop.
        if (reachesEnd) {
            if (s->loopType == 1) {
                if (position >= loopEnd) {
                    // Most passes overshoot by less than a loop: no division then.
                    const int64_t length = loopEnd - loopStart;
                    const int64_t over = position - loopEnd;
                    position -= (over < length ? 1 : over / length + 1) * length;
                }
            } else if (XmSampleLoopsBack(s)) {
                PingPongReflect(v, &position, loopStart, loopEnd);
            } else {
                v->sample = nullptr;
                position = 0;
            }
        }
        v->position = static_cast<int32_t>(position >> 32);
        v->fraction = static_cast<uint32_t>(position);
    }
}

}  // namespace

void MixChunk(MixVoice* voices, float* out, uint32_t frames) {
    for (int i = 0; i < kMixActiveVoices; ++i)
        if (voices[i].sample) MixVoiceFrames(voices + i, out, frames);
}
