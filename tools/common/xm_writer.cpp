// XM writer: header, packed patterns, instruments with their sample headers and the
// samples' data as differences.
#include "tools/common/xm_writer.h"

#include <algorithm>
#include <cstring>

namespace {

void Put8(std::vector<uint8_t>& out, uint32_t v) {
    out.push_back(static_cast<uint8_t>(v));
}
void Put16(std::vector<uint8_t>& out, uint32_t v) {
    Put8(out, v);
    Put8(out, v >> 8);
}
void Put32(std::vector<uint8_t>& out, uint32_t v) {
    Put16(out, v);
    Put16(out, v >> 16);
}
void PutText(std::vector<uint8_t>& out, const std::string& text, size_t size) {
    for (size_t i = 0; i < size; ++i) Put8(out, i < text.size() ? text[i] : 0);
}

void PutEnvelopePoints(std::vector<uint8_t>& out, const XmWriterEnvelope& e) {
    for (size_t i = 0; i < 12; ++i) {
        Put16(out, i < e.points.size() ? e.points[i].first : 0);
        Put16(out, i < e.points.size() ? e.points[i].second : 0);
    }
}

std::vector<uint8_t> SampleData(const XmWriterSample& s) {
    if (!s.rawData.empty()) return s.rawData;
    std::vector<uint8_t> out;
    int32_t previous = 0;
    for (int16_t v : s.values) {
        if (s.is16Bit) {
            Put16(out, static_cast<uint16_t>(v - previous));
            previous = v;
        } else {
            const int32_t b = v >> 8;
            Put8(out, static_cast<uint8_t>(b - previous));
            previous = b;
        }
    }
    return out;
}

void PutPattern(std::vector<uint8_t>& out, const XmWriterPattern& p, uint16_t channels) {
    std::vector<uint8_t> data;
    if (!p.packedSizeZero) {
        for (size_t i = 0; i < static_cast<size_t>(p.rows) * channels; ++i) {
            const XmWriterNote n = i < p.notes.size() ? p.notes[i] : XmWriterNote{};
            const uint8_t fields[5] = {n.note, n.instrument, n.volume, n.effect, n.parameter};
            uint8_t mask = 0;
            for (int b = 0; b < 5; ++b)
                if (fields[b]) mask |= static_cast<uint8_t>(1 << b);
            if (mask == 31 && n.note < 0x80) {
                data.insert(data.end(), fields, fields + 5);
            } else {
                Put8(data, 0x80 | mask);
                for (int b = 0; b < 5; ++b)
                    if (fields[b]) Put8(data, fields[b]);
            }
        }
    }
    Put32(out, 9);
    Put8(out, 0);
    Put16(out, p.rows);
    Put16(out, static_cast<uint32_t>(data.size()));
    out.insert(out.end(), data.begin(), data.end());
}

void PutInstrument(std::vector<uint8_t>& out, const XmWriterInstrument& in) {
    const bool hasSamples = !in.samples.empty();
    Put32(out, hasSamples ? 263 : 29);
    PutText(out, in.name, 22);
    Put8(out, 0);
    Put16(out, static_cast<uint32_t>(in.samples.size()));
    if (!hasSamples) return;
    Put32(out, 40);
    for (size_t i = 0; i < 96; ++i) Put8(out, i < in.noteToSample.size() ? in.noteToSample[i] : 0);
    PutEnvelopePoints(out, in.volumeEnvelope);
    PutEnvelopePoints(out, in.panningEnvelope);
    Put8(out, static_cast<uint32_t>(in.volumeEnvelope.points.size()));
    Put8(out, static_cast<uint32_t>(in.panningEnvelope.points.size()));
    Put8(out, in.volumeEnvelope.sustain);
    Put8(out, in.volumeEnvelope.loopStart);
    Put8(out, in.volumeEnvelope.loopEnd);
    Put8(out, in.panningEnvelope.sustain);
    Put8(out, in.panningEnvelope.loopStart);
    Put8(out, in.panningEnvelope.loopEnd);
    Put8(out, in.volumeEnvelope.type);
    Put8(out, in.panningEnvelope.type);
    Put8(out, in.vibratoType);
    Put8(out, in.vibratoSweep);
    Put8(out, in.vibratoDepth);
    Put8(out, in.vibratoRate);
    Put16(out, in.fadeout);
    PutText(out, "", 22);  // reserved

    std::vector<std::vector<uint8_t>> data;
    for (const XmWriterSample& s : in.samples) {
        data.push_back(SampleData(s));
        const uint32_t scale = s.is16Bit ? 2 : 1;
        Put32(out, static_cast<uint32_t>(data.back().size()));
        Put32(out, s.loopStart * scale);
        Put32(out, s.loopLength * scale);
        Put8(out, s.volume);
        Put8(out, static_cast<uint8_t>(s.finetune));
        Put8(out, (s.loopType & 3) | (s.is16Bit ? 0x10 : 0));
        Put8(out, s.panning);
        Put8(out, static_cast<uint8_t>(s.relativeNote));
        Put8(out, 0);
        PutText(out, s.name, 22);
    }
    for (const std::vector<uint8_t>& d : data) out.insert(out.end(), d.begin(), d.end());
}

}  // namespace

XmWriterNote& XmWriterAt(XmWriterPattern& pattern, uint16_t channels, int row, int channel) {
    const size_t index = static_cast<size_t>(row) * channels + channel;
    if (pattern.notes.size() <= index) pattern.notes.resize(index + 1);
    return pattern.notes[index];
}

std::vector<uint8_t> XmWrite(const XmWriterModule& m) {
    std::vector<uint8_t> out;
    PutText(out, "Extended Module: ", 17);
    PutText(out, m.name, 20);
    Put8(out, 0x1A);
    PutText(out, "invitro xm writer", 20);
    Put16(out, 0x0104);
    Put32(out, 276);
    Put16(out, static_cast<uint32_t>(m.orders.size()));
    Put16(out, m.restartPosition);
    Put16(out, m.channels);
    Put16(out, static_cast<uint32_t>(m.patterns.size()));
    Put16(out, static_cast<uint32_t>(m.instruments.size()));
    Put16(out, m.flags);
    Put16(out, m.tempo);
    Put16(out, m.bpm);
    for (size_t i = 0; i < 256; ++i) Put8(out, i < m.orders.size() ? m.orders[i] : 0);
    for (const XmWriterPattern& p : m.patterns) PutPattern(out, p, m.channels);
    for (const XmWriterInstrument& in : m.instruments) PutInstrument(out, in);
    return out;
}
