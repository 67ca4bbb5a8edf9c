// Per-channel steps of the tracker player: periods, envelopes, vibrato, tremolo,
// tremor, tone portamento, auto-vibrato, instrument reset and the volume column.
#include "music/xm_channel.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;

int32_t Clamp(int32_t v, int32_t low, int32_t high) {
    return v < low ? low : v > high ? high : v;
}

// The sine tables, computed once with the expressions they stand for: vibrato and
// tremolo take |sin(position x pi/32) x 256| rounded for positions -128..127, the auto
// vibrato sin(position x pi/128) x 64 rounded for 0..255. A table read costs far less
// than a sine a channel a tick.
struct SineTables {
    int32_t vibrato[256];
    int32_t autoVibrato[256];
};

const SineTables& Sines() {
    static const SineTables tables = [] {
        SineTables t;
        for (int i = 0; i < 256; ++i) {
            t.vibrato[i] = static_cast<int32_t>(
                std::nearbyint(std::fabs(std::sin((i - 128) * kPi / 32.0) * 256.0)));
            t.autoVibrato[i] =
                static_cast<int32_t>(std::nearbyint(std::sin(i * kPi / 128.0) * 64.0));
        }
        return t;
    }();
    return tables;
}

int32_t SineValue(int8_t position) {
    return Sines().vibrato[position + 128];
}

// Panning moved by the volume column's slides: deliberately without limits here; the
// voice update clamps the final panning.
void PanningNudge(XmChannel* ch, int32_t delta) {
    ch->panning = XmWrap32(int64_t{ch->panning} + delta);
    ch->flags |= kChangePanning;
}

// One envelope tick over (tick, value) points; see XmVolumeEnvelopeTick.
struct EnvelopeState {
    int32_t* tick;
    int32_t* point;
    int32_t* step;
    int32_t* value;
    int32_t* output;
    uint8_t* done;
};

void EnvelopeTick(const XmEnvelopePoint* points, int count, int sustain, int loopStart, int loopEnd,
                  uint8_t type, uint8_t keyReleased, EnvelopeState e) {
    // An envelope has room for 12 points; a count or loop start beyond them (kept as
    // the file gave it) reaches no further than the last point that exists.
    count = XmEnvelopePointsUsed(count);
    const bool loops = (type & kXmEnvelopeLoop) && loopStart < kXmEnvelopePoints;
    int32_t point = *e.point;
    if (point < 0 || point >= count) {
        *e.done = 1;
        return;
    }
    if (*e.tick == points[point].tick) {
        if (loops && point == loopEnd) {
            point = loopStart;
            *e.tick = points[point].tick;
        }
        *e.output = points[point].value;
        *e.value = XmWrap32(int64_t{points[point].value} * 65536);
        *e.point = point;
        if (point >= count - 1) {  // the last point, or past it after a loop jump
            *e.done = 1;
            return;
        }
        if ((type & kXmEnvelopeSustain) && point == sustain && !keyReleased) return;
        *e.step = XmEnvelopeStep(points[point], points[point + 1]);
        *e.point = point + 1;
    } else {
        // Wrapping add: an envelope whose ticks run backwards never meets its next point.
        *e.value = XmWrap32(int64_t{*e.value} + *e.step);
    }
    *e.output = *e.value >> 16;
    *e.tick = XmWrap32(int64_t{*e.tick} + 1);
}

}  // namespace

int32_t XmEnvelopeStep(const XmEnvelopePoint& from, const XmEnvelopePoint& to) {
    const int32_t ticks = to.tick - from.tick;
    if (ticks == 0) return 0;
    const int32_t rise = XmWrap32((int64_t{to.value} - from.value) * 65536);
    return XmWrap32(int64_t{rise} / ticks);  // 64-bit: -2^31 / -1 wraps instead of trapping
}

int XmEnvelopePointsUsed(int count) {
    return count < kXmEnvelopePoints ? count : kXmEnvelopePoints;
}

int32_t XmAmigaPeriod(int32_t realNote, int32_t finetune) {
    auto f = [](int32_t n) {
        return static_cast<int32_t>(std::nearbyint(13.375 * std::exp2(n / 12.0)));
    };
    const int32_t p0 = f(132 - realNote);
    const bool upper = finetune >= 0 || realNote == 0;
    const int32_t p1 = upper ? f(132 - realNote - 1) : f(132 - realNote + 1);
    const int32_t d = upper ? p1 - p0 : p0 - p1;
    return p0 + ((finetune * d) >> 7);
}

int32_t XmNotePeriod(const XmPlayer* player, int32_t realNote, int32_t finetune) {
    if (player->module->flags & kXmLinearFrequencies) return 7680 - realNote * 64 - finetune / 2;
    return XmAmigaPeriod(realNote, finetune);
}

uint32_t XmSamplesPerTick(uint32_t bpm) {
    return bpm ? 110250 / bpm : 110250;
}

void XmPeriodAdd(XmChannel* ch, int32_t delta) {
    ch->period = XmWrap32(int64_t{ch->period} + delta);
}

void XmInstrumentReset(XmChannel* ch, const XmSample* sample) {
    ch->volume = sample->volume;
    ch->panning = sample->panning;
    ch->envelopeVolume = 64;
    ch->envelopePanning = 32;
    ch->fadeoutVolume = 65536;
    ch->volumeEnvelopeTick = ch->volumeEnvelopePoint = ch->volumeEnvelopeStep = 0;
    ch->panningEnvelopeTick = ch->panningEnvelopePoint = ch->panningEnvelopeStep = 0;
    ch->keyReleased = 0;
    ch->volumeEnvelopeDone = ch->panningEnvelopeDone = 0;
    ch->tremorCounter = 0;
    // The 0x4F threshold on the signed control byte is this player's own; kept.
    if (static_cast<int8_t>(ch->waveControl) < 0x4F) ch->tremoloPosition = 0;
    if ((ch->waveControl & 0x0C) == 0) ch->vibratoPosition = 0;
    ch->flags |= kChangeVolume | kChangePanning;
}

void XmVolumeColumnFirstTick(XmChannel* ch, uint8_t b) {
    if (b >= 16 && b - 16 <= 64) ch->volume = b - 16;
    const int32_t v = b & 15;
    switch (b >> 4) {
        case 0x6:
        case 0x8:
            ch->volume = Clamp(ch->volume - v, 0, 64);
            break;
        case 0x7:
        case 0x9:
            ch->volume = Clamp(ch->volume + v, 0, 64);
            break;
        case 0xA:
            ch->vibratoSpeed = static_cast<uint8_t>(v);
            break;
        case 0xB:
            ch->vibratoDepth = static_cast<uint8_t>(v);
            break;
        case 0xC:
            ch->panning = v * 16;
            ch->flags |= kChangePanning;
            break;
        case 0xD:
            PanningNudge(ch, -v);
            break;
        case 0xE:
            PanningNudge(ch, v);
            break;
        case 0xF:
            if (v) ch->portamentoSpeed = static_cast<uint8_t>(v * 16);
            ch->portamentoTarget = ch->notePeriod;
            ch->flags &= ~kChangeNewNote;
            break;
        default:
            break;
    }
}

void XmVolumeColumnLaterTick(XmChannel* ch, uint8_t b) {
    const int32_t v = b & 15;
    switch (b >> 4) {
        case 0x6:
            ch->volume = ch->volume - v < 0 ? 0 : ch->volume - v;
            ch->flags |= kChangeVolume;
            break;
        case 0x7:
            ch->volume = ch->volume + v > 64 ? 64 : ch->volume + v;
            ch->flags |= kChangeVolume;
            break;
        case 0xB:
            ch->vibratoDepth = static_cast<uint8_t>(v);
            XmVibratoStep(ch);
            XmVibratoAdvance(ch);
            break;
        case 0xD:
            PanningNudge(ch, -v);
            break;
        case 0xE:
            PanningNudge(ch, v);
            break;
        case 0xF:
            XmTonePortamentoStep(ch);
            break;
        default:
            break;
    }
}

void XmVolumeEnvelopeTick(XmChannel* ch, const XmInstrument* in) {
    ch->flags |= kChangeVolume;
    EnvelopeTick(in->volumeEnvelope, in->volumePoints, in->volumeSustain, in->volumeLoopStart,
                 in->volumeLoopEnd, in->volumeType, ch->keyReleased,
                 {&ch->volumeEnvelopeTick, &ch->volumeEnvelopePoint, &ch->volumeEnvelopeStep,
                  &ch->volumeEnvelopeValue, &ch->envelopeVolume, &ch->volumeEnvelopeDone});
}

void XmPanningEnvelopeTick(XmChannel* ch, const XmInstrument* in) {
    ch->flags |= kChangePanning;
    EnvelopeTick(in->panningEnvelope, in->panningPoints, in->panningSustain, in->panningLoopStart,
                 in->panningLoopEnd, in->panningType, ch->keyReleased,
                 {&ch->panningEnvelopeTick, &ch->panningEnvelopePoint, &ch->panningEnvelopeStep,
                  &ch->panningEnvelopeValue, &ch->envelopePanning, &ch->panningEnvelopeDone});
}

void XmVibratoStep(XmChannel* ch) {
    const int8_t position = ch->vibratoPosition;
    int32_t value;
    switch (ch->waveControl & 3) {
        case 0:
            value = SineValue(position);
            break;
        case 1: {
            const uint8_t ramp = static_cast<uint8_t>(position * 8);
            value = position < 0 ? 255 - ramp : ramp;
            break;
        }
        default:
            value = 255;
            break;
    }
    int32_t shift = ((ch->vibratoDepth * value) >> 5) & ~3;
    if (position >= 0) shift = -shift;
    ch->periodShift = shift;
    ch->flags |= kChangeFrequency;
}

namespace {
int8_t PositionAdvance(int8_t position, uint8_t speed) {
    int32_t p = static_cast<int8_t>(static_cast<uint8_t>(position + speed));
    if (p > 31) p -= 64;
    return static_cast<int8_t>(p);
}
}  // namespace

void XmVibratoAdvance(XmChannel* ch) {
    ch->vibratoPosition = PositionAdvance(ch->vibratoPosition, ch->vibratoSpeed);
}

void XmTremoloStep(XmChannel* ch) {
    const int8_t position = ch->tremoloPosition;
    int32_t value;
    switch ((ch->waveControl >> 4) & 3) {
        case 1:
            value = (static_cast<uint8_t>(position) * 8) & 255;
            break;
        case 2:
            value = 255;
            break;
        default:
            value = SineValue(position);
            break;  // deliberate: waveform 3 is the sine
    }
    // Deliberate: the volume shift was just cleared for this tick, so the shift is 0
    // and tremolo only moves its position.
    int32_t shift = ((ch->tremoloDepth * ch->volumeShift) >> 6) * value;
    if (position >= 0) {
        if (ch->volume + shift > 64) shift = 64 - ch->volume;
    } else {
        if (ch->volume - shift < 0) shift = ch->volume;
        shift = -shift;
    }
    ch->volumeShift = shift;
    ch->tremoloPosition = PositionAdvance(ch->tremoloPosition, ch->tremoloSpeed);
    ch->flags |= kChangeVolume;
}

void XmTremorStep(XmChannel* ch) {
    ch->flags |= kChangeVolume;
    if (ch->tremorCounter >= ch->tremorOn) ch->volumeShift = -ch->volume;
    ch->tremorCounter = static_cast<uint8_t>(ch->tremorCounter + 1);
    if (ch->tremorCounter == ch->tremorOn + ch->tremorOff) ch->tremorCounter = 0;
}

void XmTonePortamentoStep(XmChannel* ch) {
    ch->flags |= kChangeFrequency;
    // In 64 bits: a period that slid far (it wraps in 32) cannot overflow the step.
    const int64_t speed = ch->portamentoSpeed * 4;
    const int64_t period = ch->period, target = ch->portamentoTarget;
    if (period < target)
        ch->period = static_cast<int32_t>(std::min(period + speed, target));
    else if (period > target)
        ch->period = static_cast<int32_t>(std::max(period - speed, target));
}

void XmAutoVibratoStep(XmChannel* ch, const XmInstrument* in) {
    const int32_t position = ch->autoVibratoPosition;
    int32_t value = 0;
    switch (in->vibratoType) {
        case 0:
            value = Sines().autoVibrato[position & 255];
            break;
        case 1:
            value = position < 128 ? 64 : -64;
            break;
        case 2:
            value = (128 - ((position - 128) & 255)) >> 1;
            break;
        case 3:
            value = (128 - ((-128 - position) & 255)) >> 1;
            break;
        default:
            break;  // no such waveform: no vibrato
    }
    int32_t shift = in->vibratoDepth * value;
    if (in->vibratoSweep) shift = ch->autoVibratoSweep * shift / in->vibratoSweep;
    shift >>= 6;
    ch->periodShift += shift;
    if (ch->autoVibratoSweep < in->vibratoSweep) ch->autoVibratoSweep += 1;
    ch->flags |= kChangeFrequency;
    ch->autoVibratoPosition = position + in->vibratoRate;
    if (ch->autoVibratoPosition >= 256) ch->autoVibratoPosition -= 256;
}
