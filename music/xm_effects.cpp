// The effect column: what each effect type does on the first tick of a row and on the
// later ticks, as two tables indexed by the effect type.
#include <algorithm>

#include "music/xm_channel.h"

namespace {

using Context = XmEffectContext;

int32_t Clamp(int32_t v, int32_t low, int32_t high) {
    return v < low ? low : v > high ? high : v;
}

uint8_t Parameter(const Context* c) {
    return c->cell->parameter;
}

void Nothing(Context*) {}

// First tick ---------------------------------------------------------------------

void PortamentoUpFirst(Context* c) {
    if (Parameter(c)) c->channel->portamentoUpMemory = Parameter(c);
}

void PortamentoDownFirst(Context* c) {
    if (Parameter(c)) c->channel->portamentoDownMemory = Parameter(c);
}

void TonePortamentoFirst(Context* c) {
    XmChannel* ch = c->channel;
    if (Parameter(c)) ch->portamentoSpeed = Parameter(c);
    ch->portamentoTarget = ch->notePeriod;
    ch->flags &= ~(kChangeNewNote | kChangeFrequency);
}

void VibratoFirst(Context* c) {
    if (c->x) c->channel->vibratoSpeed = c->x;
    if (c->y) c->channel->vibratoDepth = c->y;
    XmVibratoStep(c->channel);
}

void TonePortamentoVolumeSlideFirst(Context* c) {
    XmChannel* ch = c->channel;
    ch->portamentoTarget = ch->notePeriod;
    if (Parameter(c)) ch->volumeSlideMemory = Parameter(c);
    ch->flags &= ~(kChangeNewNote | kChangeFrequency);
}

void VibratoVolumeSlideFirst(Context* c) {
    if (Parameter(c)) c->channel->volumeSlideMemory = Parameter(c);
    XmVibratoStep(c->channel);
}

void TremoloFirst(Context* c) {
    if (c->x) c->channel->tremoloSpeed = c->x;
    if (c->y) c->channel->tremoloDepth = c->y;
}

void SetPanning(Context* c) {
    c->channel->panning = Parameter(c);
    c->channel->flags |= kChangePanning;
}

void SampleOffset(Context* c) {
    XmChannel* ch = c->channel;
    if (Parameter(c)) ch->sampleOffsetMemory = Parameter(c);
    if (!ch->voice) return;
    const int32_t offset = ch->sampleOffsetMemory * 256;
    if (offset >= static_cast<int64_t>(c->sample->loopStart) + c->sample->loopLength) {
        // Past the end: the voice restarts the sample it plays from the beginning.
        ch->flags &= ~kChangeNewNote;
        ch->flags |= kChangeRestart;
    } else {
        ch->voice->startOffset = offset;
    }
}

void VolumeSlideFirst(Context* c) {
    if (Parameter(c)) c->channel->volumeSlideMemory = Parameter(c);
}

void PositionJump(Context* c) {
    XmPlayer* p = c->player;
    p->pendingOrder = Parameter(c) < p->module->songLength ? Parameter(c) : 0;
    p->pendingRow = 0;
    *c->rowJumped = 1;
}

void SetVolume(Context* c) {
    c->channel->volume = Parameter(c);  // not limited to 64; kept
    c->channel->flags |= kChangeVolume;
}

void PatternBreak(Context* c) {
    XmPlayer* p = c->player;
    const int32_t row = c->x * 10 + c->y;
    p->pendingRow = row > 63 ? 0 : row;
    // Deliberate: past the last order a break goes to order 0, not the restart position.
    if (!*c->rowJumped)
        p->pendingOrder =
            p->order + 1 >= p->module->songLength ? 0 : static_cast<int32_t>(p->order + 1);
}

void ExtendedFirst(Context* c) {
    XmChannel* ch = c->channel;
    XmPlayer* p = c->player;
    const uint8_t y = c->y;
    switch (c->x) {
        case 0x1:
            if (y) ch->finePortamentoUpMemory = y;
            XmPeriodAdd(ch, -ch->finePortamentoUpMemory * 4);
            break;
        case 0x2:
            if (y) ch->finePortamentoDownMemory = y;
            XmPeriodAdd(ch, ch->finePortamentoDownMemory * 4);
            break;
        case 0x4:
            ch->waveControl = static_cast<uint8_t>((ch->waveControl & 0xF0) | y);
            break;
        // Deliberate: the sample block itself keeps the new finetune, unscaled.
        case 0x5:
            c->sample->finetune = static_cast<int8_t>(y);
            break;
        case 0x6:
            if (y == 0) {
                ch->patternLoopRow = static_cast<int32_t>(p->row);
            } else {
                ch->patternLoopCount = ch->patternLoopCount == 0 ? y : ch->patternLoopCount - 1;
                if (ch->patternLoopCount) p->pendingRow = ch->patternLoopRow;
            }
            break;
        case 0x7:
            ch->waveControl = static_cast<uint8_t>((ch->waveControl & 0x0F) | y << 4);
            break;
        case 0x8:
            ch->panning = y * 16;
            ch->flags |= kChangePanning;
            break;
        case 0xA:
            if (y) ch->fineVolumeMemory = y;
            ch->volume = Clamp(ch->volume + ch->fineVolumeMemory, 0, 64);
            ch->flags |= kChangeVolume;
            break;
        case 0xB:
            if (y) ch->fineVolumeMemory = y;
            ch->volume = Clamp(ch->volume - ch->fineVolumeMemory, 0, 64);
            ch->flags |= kChangeVolume;
            break;
        case 0xD:
            // The delayed note must not reach the voice before its tick.
            ch->volume = c->volumeBefore;
            ch->period = c->periodBefore;
            ch->panning = c->panningBefore;
            ch->flags &= 0xF0;
            break;
        case 0xE:
            p->patternDelayTicks = y * p->speed;
            break;
        default:
            break;
    }
}

void SetSpeed(Context* c) {
    if (Parameter(c) < 32)
        c->player->speed = Parameter(c);  // 0 included: the row then never ends
    else
        c->player->samplesPerTick = XmSamplesPerTick(Parameter(c));
}

void SetGlobalVolume(Context* c) {
    c->player->globalVolume = Parameter(c) > 64 ? 64 : Parameter(c);
    c->channel->flags |= kChangeVolume;
}

void GlobalVolumeSlideFirst(Context* c) {
    if (Parameter(c)) c->player->globalVolumeSlideMemory = Parameter(c);
}

void SetEnvelopePosition(Context* c) {
    const XmInstrument* in = c->instrument;
    XmChannel* ch = c->channel;
    if (!(in->volumeType & kXmEnvelopeOn)) return;
    const int32_t count = XmEnvelopePointsUsed(in->volumePoints);
    const int32_t position = Parameter(c);
    const XmEnvelopePoint* points = in->volumeEnvelope;
    int32_t i = 0;
    while (i + 1 < count && position > points[i + 1].tick) ++i;
    if (i + 1 >= count) i = count;
    if (i >= count - 1) {
        ch->volumeEnvelopePoint = count - 1;
        ch->envelopeVolume = points[count - 1].value;
        ch->volumeEnvelopeDone = 1;
        return;
    }
    ch->volumeEnvelopeTick = position;
    ch->volumeEnvelopeStep = XmEnvelopeStep(points[i], points[i + 1]);
    ch->volumeEnvelopePoint = i + 1;
    ch->volumeEnvelopeValue = XmWrap32(int64_t{points[i].value} * 65536 +
                                       int64_t{position - points[i].tick} * ch->volumeEnvelopeStep);
}

void PanningSlideFirst(Context* c) {
    if (Parameter(c)) c->channel->panningSlideMemory = Parameter(c);
    c->channel->flags |= kChangePanning;
}

void MultiRetriggerFirst(Context* c) {
    if (!Parameter(c)) return;
    c->channel->retriggerVolume = c->x;
    c->channel->retriggerInterval = c->y;
}

void TremorFirst(Context* c) {
    if (Parameter(c)) {
        c->channel->tremorOn = static_cast<uint8_t>(c->x + 1);
        c->channel->tremorOff = static_cast<uint8_t>(c->y + 1);
    }
    XmTremorStep(c->channel);
}

void ExtraFinePortamento(Context* c) {
    XmChannel* ch = c->channel;
    if (c->x == 1) {
        if (c->y) ch->extraFineUpMemory = c->y;
        XmPeriodAdd(ch, -ch->extraFineUpMemory);
    } else if (c->x == 2) {
        if (c->y) ch->extraFineDownMemory = c->y;
        XmPeriodAdd(ch, ch->extraFineDownMemory);
    }
}

// Later ticks ---------------------------------------------------------------------

void VolumeSlide(XmChannel* ch) {
    const int32_t m = ch->volumeSlideMemory;
    if (m >> 4)
        ch->volume = ch->volume + (m >> 4) > 64 ? 64 : ch->volume + (m >> 4);
    else
        ch->volume = ch->volume - (m & 15) < 0 ? 0 : ch->volume - (m & 15);
    ch->flags |= kChangeVolume;
}

void Arpeggio(Context* c) {
    if (!Parameter(c)) return;
    XmChannel* ch = c->channel;
    const uint32_t phase = c->player->tick % 3;
    const int32_t s = phase == 1 ? c->x : phase == 2 ? c->y : 0;
    if (s) {
        if (c->player->module->flags & kXmLinearFrequencies) {
            ch->periodShift = s * 64;
        } else {
            const int32_t finetune = c->sample->finetune;
            ch->periodShift =
                XmAmigaPeriod(ch->realNote + s, finetune) - XmAmigaPeriod(ch->realNote, finetune);
        }
    }
    ch->flags |= kChangeFrequency;
}

void PortamentoUp(Context* c) {
    XmChannel* ch = c->channel;
    XmPeriodAdd(ch, -ch->portamentoUpMemory * 4);
    if (ch->period < 56) ch->period = 56;
    ch->periodShift = 0;
    ch->flags |= kChangeFrequency;
}

void PortamentoDown(Context* c) {
    XmChannel* ch = c->channel;
    XmPeriodAdd(ch, ch->portamentoDownMemory * 4);  // no ceiling
    ch->periodShift = 0;
    ch->flags |= kChangeFrequency;
}

void TonePortamento(Context* c) {
    c->channel->periodShift = 0;
    XmTonePortamentoStep(c->channel);
}

void Vibrato(Context* c) {
    XmVibratoStep(c->channel);
    XmVibratoAdvance(c->channel);
}

void TonePortamentoVolumeSlide(Context* c) {
    TonePortamento(c);
    VolumeSlide(c->channel);
}

void VibratoVolumeSlide(Context* c) {
    Vibrato(c);
    VolumeSlide(c->channel);
}

void Tremolo(Context* c) {
    XmTremoloStep(c->channel);
}

void VolumeSlideLater(Context* c) {
    VolumeSlide(c->channel);
}

void ExtendedLater(Context* c) {
    XmChannel* ch = c->channel;
    const uint32_t tick = c->player->tick;
    const uint8_t y = c->y;
    switch (c->x) {
        case 0x9:
            if (y && tick % y == 0) ch->flags |= kChangeFrequency | kChangeVolume | kChangeNewNote;
            break;
        case 0xC:
            if (tick == y) {
                ch->volume = 0;
                ch->flags |= kChangeVolume;
            }
            break;
        case 0xD:
            if (tick == y) {
                XmInstrumentReset(ch, c->sample);
                ch->period = ch->notePeriod;
                ch->flags |= kChangeFrequency | kChangeNewNote;
                XmVolumeColumnFirstTick(ch, c->cell->volume);
            } else {
                ch->flags &= 0xF0;
            }
            break;
        default:
            break;
    }
}

void GlobalVolumeSlide(Context* c) {
    XmPlayer* p = c->player;
    const int32_t m = p->globalVolumeSlideMemory;
    const int32_t volume = static_cast<int32_t>(p->globalVolume);
    if (m >> 4)
        p->globalVolume = static_cast<uint32_t>(volume + (m >> 4) > 64 ? 64 : volume + (m >> 4));
    else if (m & 15)
        p->globalVolume = static_cast<uint32_t>(volume - (m & 15) < 0 ? 0 : volume - (m & 15));
}

void PanningSlide(Context* c) {
    XmChannel* ch = c->channel;
    const int32_t m = ch->panningSlideMemory;
    if (m >> 4)
        ch->panning = static_cast<int32_t>(std::min<int64_t>(int64_t{ch->panning} + (m >> 4), 255));
    else if (m & 15)
        ch->panning = static_cast<int32_t>(std::max<int64_t>(int64_t{ch->panning} - (m & 15), 0));
    ch->flags |= kChangePanning;
}

int32_t RetriggerVolume(int32_t volume, uint8_t change) {
    switch (change) {
        case 1:
            return volume - 1;
        case 2:
            return volume - 2;
        case 3:
            return volume - 4;
        case 4:
            return volume - 8;
        case 5:
            return volume - 16;
        case 6:
            return volume * 2 / 3;
        case 7:
            return volume >> 1;
        case 9:
            return volume + 1;
        case 10:
            return volume + 2;
        case 11:
            return volume + 4;
        case 12:
            return volume + 8;
        case 13:
            return volume + 16;
        case 14:
            return volume * 3 / 2;
        case 15:
            return volume * 2;
        default:
            return volume;
    }
}

void MultiRetrigger(Context* c) {
    XmChannel* ch = c->channel;
    const uint8_t interval = ch->retriggerInterval;
    if (interval == 0 || c->player->tick % interval != 0) return;
    if (ch->retriggerVolume) {
        ch->volume = Clamp(RetriggerVolume(ch->volume, ch->retriggerVolume), 0, 64);
        ch->flags |= kChangeVolume;
    }
    ch->flags |= kChangeNewNote;
}

void Tremor(Context* c) {
    XmTremorStep(c->channel);
}

}  // namespace

// Types: 0 arpeggio, 1/2 portamento up/down, 3 tone portamento, 4 vibrato, 5/6 those
// with volume slide, 7 tremolo, 8 panning, 9 sample offset, A volume slide, B jump,
// C volume, D break, E extended, F speed/BPM, G global volume, H global slide, K key off
// (handled with the note), L envelope position, P panning slide, R multi retrigger,
// T tremor, X extra fine portamento.
const XmEffectHandler kXmFirstTickEffects[kXmEffectTypes] = {
    Nothing,                         // 0 arpeggio
    PortamentoUpFirst,               // 1
    PortamentoDownFirst,             // 2
    TonePortamentoFirst,             // 3
    VibratoFirst,                    // 4
    TonePortamentoVolumeSlideFirst,  // 5
    VibratoVolumeSlideFirst,         // 6
    TremoloFirst,                    // 7
    SetPanning,                      // 8
    SampleOffset,                    // 9
    VolumeSlideFirst,                // 10 A
    PositionJump,                    // 11 B
    SetVolume,                       // 12 C
    PatternBreak,                    // 13 D
    ExtendedFirst,                   // 14 E
    SetSpeed,                        // 15 F
    SetGlobalVolume,                 // 16 G
    GlobalVolumeSlideFirst,          // 17 H
    Nothing,                         // 18
    Nothing,                         // 19
    Nothing,                         // 20 K key off: the note step sees it
    SetEnvelopePosition,             // 21 L
    Nothing,                         // 22
    Nothing,                         // 23
    Nothing,                         // 24
    PanningSlideFirst,               // 25 P
    Nothing,                         // 26
    MultiRetriggerFirst,             // 27 R
    Nothing,                         // 28
    TremorFirst,                     // 29 T
    Nothing,                         // 30
    Nothing,                         // 31
    Nothing,                         // 32
    ExtraFinePortamento,             // 33 X
    Nothing,                         // 34
    Nothing,                         // 35
};

const XmEffectHandler kXmLaterTickEffects[kXmEffectTypes] = {
    Arpeggio,                   // 0
    PortamentoUp,               // 1
    PortamentoDown,             // 2
    TonePortamento,             // 3
    Vibrato,                    // 4
    TonePortamentoVolumeSlide,  // 5
    VibratoVolumeSlide,         // 6
    Tremolo,                    // 7
    Nothing,                    // 8
    Nothing,                    // 9
    VolumeSlideLater,           // 10 A
    Nothing,                    // 11
    Nothing,                    // 12
    Nothing,                    // 13
    ExtendedLater,              // 14 E
    Nothing,                    // 15
    Nothing,                    // 16
    GlobalVolumeSlide,          // 17 H
    Nothing,                    // 18
    Nothing,                    // 19
    Nothing,                    // 20
    Nothing,                    // 21
    Nothing,                    // 22
    Nothing,                    // 23
    Nothing,                    // 24
    PanningSlide,               // 25 P
    Nothing,                    // 26
    MultiRetrigger,             // 27 R
    Nothing,                    // 28
    Tremor,                     // 29 T
    Nothing,                    // 30
    Nothing,                    // 31
    Nothing,                    // 32
    Nothing,                    // 33
    Nothing,                    // 34
    Nothing,                    // 35
};
