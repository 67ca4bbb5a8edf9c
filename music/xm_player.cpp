// The tracker player's rows and ticks: moving through the order table, the first tick
// of a row (notes, instruments, volume column, first-tick effects), the later ticks,
// and the tick-chunk loop that renders frames for the stream and for offline use.
#include "music/xm_player.h"

#include <cstring>

#include "music/xm_channel.h"

namespace {

constexpr int32_t kNone = -1;

const XmNote gEmptyRow[kXmMaxChannels] = {};

// The pattern the order table names at an order position; null for a position beyond
// the table's 256 entries (a restart position may lie there) or a pattern that does not
// exist: such an order plays empty rows and has none of its own.
const XmPattern* OrderPattern(const XmPlayer* p, uint32_t order) {
    const XmModule* m = p->module;
    if (order >= kXmOrders || m->orders[order] >= m->patternCount) return nullptr;
    return m->patterns + m->orders[order];
}

uint32_t PatternRows(const XmPlayer* p, uint32_t order) {
    const XmPattern* pattern = OrderPattern(p, order);
    return pattern ? pattern->rows : 0;
}

// The notes of the current row; a row the pattern lacks (a break or loop beyond its
// end, a pattern of zero rows) plays as an empty row.
const XmNote* CurrentRow(const XmPlayer* p) {
    const XmPattern* pattern = OrderPattern(p, p->order);
    if (!pattern || p->row >= pattern->rows) return gEmptyRow;
    return pattern->notes + p->row * p->module->channels;
}

// The channel's instrument and the sample its note maps to (the empty ones when the
// instrument or the map entry is out of range).
void ChannelInstrument(const XmPlayer* p, const XmChannel* ch, const XmInstrument** instrument,
                       XmSample** sample, int* inRange) {
    const XmModule* m = p->module;
    *inRange = ch->instrument < m->instrumentCount;
    if (!*inRange) {
        *instrument = XmEmptyInstrument();
        *sample = XmEmptySample();
        return;
    }
    const XmInstrument* in = m->instruments + ch->instrument;
    const uint8_t slot = in->noteToSample[ch->note < 96 ? ch->note : 0];
    *instrument = in;
    *sample = slot < kXmSamplesPerInstrument ? in->samples[slot] : XmEmptySample();
}

// The effect context of a channel on this tick, with its instrument and sample.
XmEffectContext ChannelContext(XmPlayer* p, XmChannel* ch, const XmNote* cell, int* inRange) {
    XmEffectContext ctx = {};
    ctx.player = p;
    ctx.channel = ch;
    ctx.cell = cell;
    ctx.x = static_cast<uint8_t>(cell->parameter >> 4);
    ctx.y = static_cast<uint8_t>(cell->parameter & 15);
    ChannelInstrument(p, ch, &ctx.instrument, &ctx.sample, inRange);
    return ctx;
}

// The envelopes' tick and the fadeout after key-off. On a row's first tick a key-off
// without a volume envelope cuts the note.
void EnvelopesTick(XmChannel* ch, const XmInstrument* in, int firstTick) {
    if (in->volumeType & kXmEnvelopeOn) {
        if (!ch->volumeEnvelopeDone) XmVolumeEnvelopeTick(ch, in);
    } else if (firstTick && ch->keyReleased) {
        ch->envelopeVolume = 0;
    }
    if ((in->panningType & kXmEnvelopeOn) && !ch->panningEnvelopeDone)
        XmPanningEnvelopeTick(ch, in);
    if (ch->keyReleased) {
        ch->fadeoutVolume -= static_cast<int32_t>(in->fadeout);
        if (ch->fadeoutVolume < 0) ch->fadeoutVolume = 0;
        ch->flags |= kChangeVolume;
    }
}

void SongLoopNote(XmPlayer* p, uint32_t order) {
    const uint8_t bit = static_cast<uint8_t>(1u << (order & 7));
    uint8_t* byte = p->ordersPlayed + ((order & 255) >> 3);
    if (p->pendingWraps || (*byte & bit)) {
        p->songLoops += 1;
        std::memset(p->ordersPlayed, 0, sizeof p->ordersPlayed);
    }
    p->pendingWraps = 0;
    p->ordersPlayed[(order & 255) >> 3] |= bit;
}

void RowFirstTick(XmPlayer* p) {
    p->pendingRow = kNone;
    p->pendingOrder = kNone;
    int rowJumped = 0;
    const XmNote* row = CurrentRow(p);
    for (uint32_t c = 0; c < p->module->channels; ++c) {
        XmChannel* ch = p->channels + c;
        const XmNote* cell = row + c;
        const uint8_t note = cell->note;
        const int portamento = cell->effect == 3 || cell->effect == 5;
        const int pitched = note >= 1 && note <= 96;

        if (cell->instrument && !portamento)
            ch->instrument = static_cast<uint8_t>(cell->instrument - 1);
        if (pitched && !portamento) ch->note = static_cast<uint8_t>(note - 1);

        int inRange;
        XmEffectContext ctx = ChannelContext(p, ch, cell, &inRange);
        ctx.volumeBefore = ch->volume;  // step 2 has not touched these
        ctx.periodBefore = ch->period;
        ctx.panningBefore = ch->panning;
        ctx.rowJumped = &rowJumped;
        if (!portamento && inRange) ch->sample = ctx.sample;

        if (ch->lastEffect == 7 && cell->effect != 7) ch->volume += ch->volumeShift;
        ch->lastEffect = cell->effect;
        ch->volumeShift = 0;
        ch->flags = 0;

        if (pitched) {
            ch->realNote = static_cast<uint8_t>(note + ctx.sample->relativeNote - 1);
            ch->notePeriod = XmNotePeriod(p, ch->realNote, ctx.sample->finetune);
            if (!portamento) ch->period = ch->notePeriod;
            ch->flags = kChangeNewNote;
        }
        ch->periodShift = 0;
        ch->flags |= kChangeFrequency | kChangeVolume;

        if (cell->instrument) XmInstrumentReset(ch, ctx.sample);
        XmVolumeColumnFirstTick(ch, cell->volume);
        if (note == kXmKeyOff || cell->effect == 20) ch->keyReleased = 1;

        const XmInstrument* in = ctx.instrument;
        EnvelopesTick(ch, in, 1);

        if (cell->effect < kXmEffectTypes) kXmFirstTickEffects[cell->effect](&ctx);
        XmAutoVibratoStep(ch, in);
        UpdateVoice(ch, ctx.sample, p);
    }
}

void RowLaterTick(XmPlayer* p) {
    const XmNote* row = CurrentRow(p);
    for (uint32_t c = 0; c < p->module->channels; ++c) {
        XmChannel* ch = p->channels + c;
        const XmNote* cell = row + c;

        int inRange;
        XmEffectContext ctx = ChannelContext(p, ch, cell, &inRange);
        const XmInstrument* in = ctx.instrument;

        ch->volumeShift = 0;
        ch->periodShift = 0;
        ch->flags = 0;
        EnvelopesTick(ch, in, 0);
        XmVolumeColumnLaterTick(ch, cell->volume);
        if (cell->effect < kXmEffectTypes) kXmLaterTickEffects[cell->effect](&ctx);
        XmAutoVibratoStep(ch, in);
        UpdateVoice(ch, ctx.sample, p);
    }
}

}  // namespace

void XmPlayerReset(XmPlayer* player, XmModule* module) {
    std::memset(static_cast<void*>(player), 0, sizeof *player);
    player->module = module;
    for (int i = 0; i < kMixVoices; ++i) MixVoiceInit(player->voices + i, i);
    for (uint32_t c = 0; c < module->channels && c < kXmMaxChannels; ++c)
        player->channels[c].voice = player->voices + c;
    player->order = 0;
    player->row = 0;
    player->pendingOrder = kNone;
    player->pendingRow = kNone;
    player->speed = module->defaultTempo;
    player->globalVolume = 64;
    player->samplesPerTick = XmSamplesPerTick(module->defaultBpm);
    player->ordersPlayed[0] = 1;
}

void XmPlayerTick(XmPlayer* p) {
    if (p->tick == 0) {
        if (p->pendingOrder != kNone) {
            p->order = static_cast<uint32_t>(p->pendingOrder);
            SongLoopNote(p, p->order);
        }
        if (p->pendingRow != kNone) p->row = static_cast<uint32_t>(p->pendingRow);
        RowFirstTick(p);
        if (p->pendingRow == kNone) {
            p->pendingRow = static_cast<int32_t>(p->row + 1);
            if (static_cast<uint32_t>(p->pendingRow) >= PatternRows(p, p->order)) {
                p->pendingRow = 0;
                p->pendingOrder = static_cast<int32_t>(p->order + 1);
                if (p->pendingOrder >= p->module->songLength) {
                    p->pendingOrder = p->module->restartPosition;
                    p->pendingWraps = 1;
                }
            }
        }
    } else {
        RowLaterTick(p);
    }
    p->tick += 1;
    if (p->tick == p->speed + p->patternDelayTicks) {
        p->tick = 0;
        p->patternDelayTicks = 0;
    }
}

void XmPlayerRender(XmPlayer* p, float* out, uint32_t frames) {
    uint32_t done = 0;
    uint32_t left = p->framesLeftInTick;
    while (done < frames) {
        if (left == 0) {
            const uint32_t loops = p->songLoops;
            XmPlayerTick(p);
            if (p->songLoops != loops) p->songLoopFrame = done;
            left = p->samplesPerTick;
        }
        const uint32_t chunk = left < frames - done ? left : frames - done;
        MixChunk(p->voices, out + 2 * done, chunk);
        done += chunk;
        left -= chunk;
        p->elapsedMs += chunk * 10 / 441;  // per chunk: drifts a little below true time
    }
    p->framesLeftInTick = left;
}
