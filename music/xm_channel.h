// Per-channel steps of the tracker player shared by the first and the later ticks of
// a row (notes to periods, envelopes, vibrato, tremolo, tremor, tone portamento,
// auto-vibrato, instrument reset, volume column), and the two effect tables.
#pragma once
#include <cstdint>

#include "music/xm_player.h"

// Everything an effect handler works on for one channel on one tick.
struct XmEffectContext {
    XmPlayer* player;
    XmChannel* channel;
    const XmNote* cell;  // this channel's note of the row
    XmSample* sample;    // the sample the row's processing chose
    const XmInstrument* instrument;
    uint8_t x;  // parameter high nibble
    uint8_t y;  // parameter low nibble
    // First tick only: the channel before this row (note delay puts it back), and
    // whether a position jump came earlier in the row.
    int32_t volumeBefore;
    int32_t periodBefore;
    int32_t panningBefore;
    int* rowJumped;
};

using XmEffectHandler = void (*)(XmEffectContext* c);

constexpr int kXmEffectTypes = 36;
// Indexed by the effect type as stored (0..35); other types do nothing.
extern const XmEffectHandler kXmFirstTickEffects[kXmEffectTypes];
extern const XmEffectHandler kXmLaterTickEffects[kXmEffectTypes];

// Channel steps.
void XmInstrumentReset(XmChannel* ch, const XmSample* sample);
void XmVolumeColumnFirstTick(XmChannel* ch, uint8_t b);
void XmVolumeColumnLaterTick(XmChannel* ch, uint8_t b);
void XmVolumeEnvelopeTick(XmChannel* ch, const XmInstrument* in);
void XmPanningEnvelopeTick(XmChannel* ch, const XmInstrument* in);
void XmVibratoStep(XmChannel* ch);
void XmVibratoAdvance(XmChannel* ch);
void XmTremoloStep(XmChannel* ch);
void XmTremorStep(XmChannel* ch);
void XmTonePortamentoStep(XmChannel* ch);
void XmAutoVibratoStep(XmChannel* ch, const XmInstrument* in);
// Adds to the period in 32 bits: an endless slide wraps as the player's field does.
void XmPeriodAdd(XmChannel* ch, int32_t delta);
// The 16.16 envelope step from one point toward the next (0 when their ticks agree).
int32_t XmEnvelopeStep(const XmEnvelopePoint& from, const XmEnvelopePoint& to);
// The points an envelope of count points can use: at most the 12 it has room for.
int XmEnvelopePointsUsed(int count);
