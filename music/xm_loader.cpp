// XM loader: reads an Extended Module through a MusicSource into an XmModule.
// Fields are decoded little-endian from byte buffers and kept as the file gives them;
// every count is checked before anything is allocated and a module the player cannot
// play is refused with a reason that names the field, its value and where it is.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "music/music_source.h"
#include "music/xm_module.h"

namespace {

// Zero samples kept around each sample's data: the mixer's interpolation may look one
// sample past the guard or one before the start at a loop edge.
constexpr int kSamplePad = 8;

int16_t gEmptySampleData[2 * kSamplePad];
float gEmptySamplePairs[2];
XmSample gEmptySample = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, gEmptySampleData + kSamplePad, gEmptySamplePairs};
const XmInstrument gEmptyInstrument = {};

uint16_t Le16(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}
uint32_t Le32(const uint8_t* p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

// The last refusal's text: the loader runs on one thread at a time.
char gReason[160];

[[gnu::format(printf, 1, 2)]] const char* Reason(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::vsnprintf(gReason, sizeof gReason, format, args);
    va_end(args);
    return gReason;
}

int Refuse(XmModule* module, const char** reason, const char* text) {
    XmModuleFree(module);
    if (reason) *reason = text;
    return 0;
}

int ReadExact(MusicSource* source, void* dest, uint32_t count) {
    return MusicSourceRead(source, dest, count) == count;
}

// Unpacks one pattern: rows x channels notes of five bytes from the packed stream.
int PatternUnpack(MusicSource* source, XmNote* notes, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
        XmNote* n = notes + i;
        uint8_t b;
        if (!ReadExact(source, &b, 1)) return 0;
        if (b & 0x80) {
            uint8_t* fields[5] = {&n->note, &n->instrument, &n->volume, &n->effect, &n->parameter};
            for (int bit = 0; bit < 5; ++bit)
                if ((b & (1 << bit)) && !ReadExact(source, fields[bit], 1)) return 0;
        } else {
            uint8_t rest[4];
            if (!ReadExact(source, rest, 4)) return 0;
            if (b) n->note = b;
            n->instrument = rest[0];
            n->volume = rest[1];
            n->effect = rest[2];
            n->parameter = rest[3];
        }
        if (n->note == 97) n->note = kXmKeyOff;
        if (n->instrument > 128) n->instrument = 0;
    }
    return 1;
}

void InstrumentDecode(XmInstrument* in, const uint8_t* b) {
    in->sampleHeaderSize = Le32(b);
    std::memcpy(in->noteToSample, b + 4, 96);
    for (int i = 0; i < kXmEnvelopePoints; ++i) {
        in->volumeEnvelope[i] = {Le16(b + 100 + i * 4), Le16(b + 102 + i * 4)};
        in->panningEnvelope[i] = {Le16(b + 148 + i * 4), Le16(b + 150 + i * 4)};
    }
    in->volumePoints = b[196];
    in->panningPoints = b[197];
    in->volumeSustain = b[198];
    in->volumeLoopStart = b[199];
    in->volumeLoopEnd = b[200];
    in->panningSustain = b[201];
    in->panningLoopStart = b[202];
    in->panningLoopEnd = b[203];
    in->volumeType = b[204];
    in->panningType = b[205];
    in->vibratoType = b[206];
    in->vibratoSweep = b[207];
    in->vibratoDepth = b[208];
    in->vibratoRate = b[209];
    in->fadeout = Le16(b + 210) * 2u;
    // Points, counts and loop points stay as stored (the player keeps its reads inside
    // the 12 points); an envelope of fewer than 2 points is off.
    if (in->volumePoints < 2) in->volumeType = 0;
    if (in->panningPoints < 2) in->panningType = 0;
}

// Converts a 40-byte sample header to samples and the loop rules the mixer follows.
// Returns the number of data bytes that follow in the file.
uint32_t SampleHeaderDecode(XmSample* s, const uint8_t* b) {
    uint32_t length = Le32(b);
    uint32_t loopStart = Le32(b + 4) & ~1u;  // deliberate: also for 8-bit samples
    uint32_t loopLength = Le32(b + 8);
    const uint8_t type = b[14];
    s->volume = b[12];
    s->finetune = static_cast<int8_t>(b[13]);
    s->panning = b[15];
    s->relativeNote = static_cast<int8_t>(b[16]);
    s->is16Bit = (type >> 4) & 1;
    s->loopType = type & 3;  // 3 plays as ping-pong (XmSampleLoopsBack)
    const uint32_t bytes = s->is16Bit ? (length >> 1) * 2 : length;
    if (s->is16Bit) {
        length >>= 1;
        loopStart >>= 1;
        loopLength >>= 1;
    }
    // A loop reaching past the sample is cut at its end; one starting past it is none.
    if (loopStart >= length) loopLength = 0;
    if (loopLength > length - loopStart) loopLength = length - loopStart;
    if (s->loopType == 0 || loopLength == 0) {
        s->loopType = 0;
        loopStart = 0;
        loopLength = length;
    }
    s->length = static_cast<int32_t>(length);
    s->loopStart = static_cast<int32_t>(loopStart);
    s->loopLength = static_cast<int32_t>(loopLength);
    return bytes;
}

// Reads and decodes one sample's data: 8-bit bytes expanded to the high byte, then the
// differences summed with 16-bit wrap-around, then the guard sample.
int SampleDataRead(MusicSource* source, XmSample* s, uint32_t bytes) {
    int16_t* data = s->data;
    uint8_t* raw = reinterpret_cast<uint8_t*>(data);
    if (!ReadExact(source, raw, bytes)) return 0;
    const int32_t length = s->length;
    if (s->is16Bit) {
        for (int32_t i = 0; i < length; ++i) data[i] = static_cast<int16_t>(Le16(raw + 2 * i));
    } else {
        for (int32_t i = length - 1; i >= 0; --i)
            data[i] = static_cast<int16_t>(static_cast<uint16_t>(raw[i] << 8));
    }
    uint16_t sum = 0;
    for (int32_t i = 0; i < length; ++i) {
        sum = static_cast<uint16_t>(sum + static_cast<uint16_t>(data[i]));
        data[i] = static_cast<int16_t>(sum);
    }
    if (XmSampleLoopsBack(s) && length > 0) data[length] = data[length - 1];
    if (s->loopType == 1) data[length] = data[s->loopStart];
    // The mixer's lanes read a frame's interpolation inputs with one 8-byte load.
    for (int32_t i = 0; i < length; ++i) {
        s->pairs[2 * i] = data[i];
        s->pairs[2 * i + 1] =
            (static_cast<float>(data[i + 1]) - static_cast<float>(data[i])) / 2147483648.0f;
    }
    return 1;
}

// Counts what the module takes against kXmMaxLoadBytes before it is allocated.
// Returns 0 with the reason when `bytes` more would pass it.
int MemoryTake(uint64_t* taken, uint64_t bytes, const char** reason) {
    if (*taken + bytes <= kXmMaxLoadBytes) {
        *taken += bytes;
        return 1;
    }
    *reason = Reason("the module needs %llu MB of memory or more; the player loads at most %llu MB",
                     static_cast<unsigned long long>((*taken + bytes) >> 20),
                     static_cast<unsigned long long>(kXmMaxLoadBytes >> 20));
    return 0;
}

// Loads instrument number `number` (1-based, as trackers count them).
int InstrumentLoad(MusicSource* source, XmInstrument* in, uint32_t number, uint64_t* taken,
                   const char** reason) {
    const int64_t start = source->position;
    uint8_t head[29];
    if (!ReadExact(source, head, sizeof head)) {
        *reason = Reason("instrument %u: header cut off at byte %lld of %lld", number,
                         static_cast<long long>(start), static_cast<long long>(source->size));
        return 0;
    }
    const uint32_t headerSize = Le32(head);
    const uint16_t count = Le16(head + 27);
    if (count > kXmSamplesPerInstrument) {
        // A module that declares fewer patterns than it holds reads a pattern here.
        const char* hint = headerSize == 9 ? "; its header size 9 is a pattern header's: "
                                             "does the module declare too few patterns?"
                                           : "";
        *reason = Reason("instrument %u has %u samples (at most %d)%s", number, count,
                         kXmSamplesPerInstrument, hint);
        return 0;
    }
    // The rest of the header is read whatever its size; bytes past the end stay zero.
    uint8_t rest[212] = {};
    MusicSourceRead(source, rest, sizeof rest);
    InstrumentDecode(in, rest);
    MusicSourceSeek(source, start + headerSize, 0);

    for (int i = 0; i < kXmSamplesPerInstrument; ++i) in->samples[i] = &gEmptySample;
    XmSample headers[kXmSamplesPerInstrument];
    uint32_t bytes[kXmSamplesPerInstrument];
    uint64_t total = 0;
    for (int i = 0; i < count; ++i) {
        uint8_t b[40];
        const int64_t at = source->position;
        if (!ReadExact(source, b, sizeof b)) {
            *reason =
                Reason("instrument %u, sample %d: header cut off at byte %lld of %lld", number,
                       i + 1, static_cast<long long>(at), static_cast<long long>(source->size));
            return 0;
        }
        bytes[i] = SampleHeaderDecode(&headers[i], b);
        if (headers[i].length > kXmMaxSampleLength || headers[i].length < 0) {
            *reason = Reason("instrument %u, sample %d is %u samples long (at most %d)", number,
                             i + 1, static_cast<uint32_t>(headers[i].length), kXmMaxSampleLength);
            return 0;
        }
        total += bytes[i];
    }
    const int64_t remaining = MusicSourceRemaining(source);
    if (total > static_cast<uint64_t>(remaining)) {
        *reason = Reason("instrument %u: %llu bytes of sample data, %lld left in the file", number,
                         static_cast<unsigned long long>(total), static_cast<long long>(remaining));
        return 0;
    }
    // The file's bytes (at most two a sample) are read into the data area itself; the
    // float pairs come first, where their alignment is the header's.
    size_t sizes[kXmSamplesPerInstrument];
    uint64_t instrumentBytes = 0;
    for (int i = 0; i < count; ++i) {
        const size_t floats = 2 * static_cast<size_t>(headers[i].length);
        const size_t values = static_cast<size_t>(headers[i].length) + 2 * kSamplePad;
        sizes[i] = sizeof(XmSample) + floats * sizeof(float) + values * 2;
        instrumentBytes += sizes[i];
    }
    if (!MemoryTake(taken, instrumentBytes, reason)) return 0;
    in->sampleCount = count;
    for (int i = 0; i < count; ++i) {
        const size_t size = sizes[i];
        const size_t floats = 2 * static_cast<size_t>(headers[i].length);
        uint8_t* block = static_cast<uint8_t*>(std::calloc(1, size));
        if (!block) {
            *reason = Reason("instrument %u, sample %d: out of memory for %llu bytes", number,
                             i + 1, static_cast<unsigned long long>(size));
            return 0;
        }
        XmSample* s = reinterpret_cast<XmSample*>(block);
        *s = headers[i];
        s->pairs = reinterpret_cast<float*>(block + sizeof(XmSample));
        s->data = reinterpret_cast<int16_t*>(s->pairs + floats) + kSamplePad;
        in->samples[i] = s;
    }
    for (int i = 0; i < count; ++i) {
        if (!SampleDataRead(source, in->samples[i], bytes[i])) {
            *reason = Reason("instrument %u, sample %d: data cut off", number, i + 1);
            return 0;
        }
    }
    return 1;
}

}  // namespace

XmSample* XmEmptySample() {
    return &gEmptySample;
}
const XmInstrument* XmEmptyInstrument() {
    return &gEmptyInstrument;
}

int LoadXmModule(XmModule* module, MusicSource* source, const char** reason) {
    *module = XmModule{};
    uint8_t h[336];
    const uint32_t got = MusicSourceRead(source, h, sizeof h);
    if (got < 4 || std::memcmp(h, "Exte", 4) != 0) {
        char id[5] = {};
        for (uint32_t i = 0; i < 4; ++i)
            id[i] = i >= got ? '.' : h[i] >= 0x20 && h[i] < 0x7F ? static_cast<char>(h[i]) : '?';
        return Refuse(module, reason,
                      Reason("not an XM module: it begins \"%s\", not \"Exte\"", id));
    }
    if (got < sizeof h)
        return Refuse(module, reason, Reason("module header cut off: %u of 336 bytes", got));

    const uint32_t headerSize = Le32(h + 60);
    module->songLength = Le16(h + 64);
    module->restartPosition = Le16(h + 66);
    module->channels = Le16(h + 68);
    const uint16_t filePatterns = Le16(h + 70);
    module->instrumentCount = Le16(h + 72);
    module->flags = Le16(h + 74);
    module->defaultTempo = Le16(h + 76);
    module->defaultBpm = Le16(h + 78);
    std::memcpy(module->orders, h + 80, 256);

    if (module->channels > kXmMaxChannels || module->channels == 0)
        return Refuse(
            module, reason,
            Reason("the module has %u channels (1 to %d)", module->channels, kXmMaxChannels));
    if (filePatterns > kXmMaxPatterns)
        return Refuse(
            module, reason,
            Reason("the module has %u patterns (at most %d)", filePatterns, kXmMaxPatterns));
    if (module->instrumentCount > kXmMaxInstruments)
        return Refuse(module, reason,
                      Reason("the module has %u instruments (at most %d)", module->instrumentCount,
                             kXmMaxInstruments));

    MusicSourceSeek(source, 60 + static_cast<int64_t>(headerSize), 0);

    // The song length and restart position stay as read; the order table has 256
    // entries, and the player reads none beyond them.
    uint32_t referenced = 0;
    for (int i = 0; i < module->songLength && i < kXmOrders; ++i)
        if (module->orders[i] + 1u > referenced) referenced = module->orders[i] + 1u;
    const uint32_t patternCount = filePatterns > referenced ? filePatterns : referenced;

    const size_t tableBytes =
        patternCount * sizeof(XmPattern) + module->instrumentCount * sizeof(XmInstrument);
    // Patterns and tables come to about 10 MB at most; the samples are what is counted.
    uint64_t taken = tableBytes;
    // At least one byte: a module of no patterns and no instruments has tables too.
    void* tables = std::calloc(1, tableBytes ? tableBytes : 1);
    if (!tables)
        return Refuse(module, reason,
                      Reason("out of memory for the tables (%llu bytes)",
                             static_cast<unsigned long long>(tableBytes)));
    module->patterns = static_cast<XmPattern*>(tables);
    module->instruments = reinterpret_cast<XmInstrument*>(module->patterns + patternCount);
    module->patternCount = static_cast<uint16_t>(patternCount);

    const uint32_t channels = module->channels;
    for (uint32_t p = 0; p < filePatterns; ++p) {
        uint8_t ph[9];
        const int64_t at = source->position;
        if (!ReadExact(source, ph, sizeof ph))
            return Refuse(module, reason,
                          Reason("pattern %u: header cut off at byte %lld of %lld", p,
                                 static_cast<long long>(at), static_cast<long long>(source->size)));
        XmPattern* pattern = module->patterns + p;
        const uint16_t rows = Le16(ph + 5);
        pattern->packedSize = Le16(ph + 7);
        if (rows > kXmMaxRows)
            return Refuse(module, reason,
                          Reason("pattern %u has %u rows (at most %d)", p, rows, kXmMaxRows));
        // No row would read the data: what follows could not be found.
        if (rows == 0 && pattern->packedSize != 0)
            return Refuse(module, reason,
                          Reason("pattern %u has 0 rows but %u bytes of packed data", p,
                                 pattern->packedSize));
        const uint32_t notes = rows * channels;
        // Every note takes at least one byte of packed data.
        const int64_t remaining = MusicSourceRemaining(source);
        if (pattern->packedSize != 0 && notes > remaining)
            return Refuse(module, reason,
                          Reason("pattern %u: %u notes, only %lld bytes left in the file", p, notes,
                                 static_cast<long long>(remaining)));
        if (notes) {
            pattern->notes = static_cast<XmNote*>(std::calloc(notes, sizeof(XmNote)));
            if (!pattern->notes)
                return Refuse(module, reason, Reason("pattern %u: out of memory", p));
        }
        pattern->rows = rows;
        if (pattern->packedSize != 0 && !PatternUnpack(source, pattern->notes, notes))
            return Refuse(module, reason,
                          Reason("pattern %u: packed data cut off at the end of the file", p));
    }
    for (uint32_t p = filePatterns; p < patternCount; ++p) {
        XmPattern* pattern = module->patterns + p;
        pattern->notes = static_cast<XmNote*>(std::calloc(64 * channels, sizeof(XmNote)));
        if (!pattern->notes) return Refuse(module, reason, Reason("pattern %u: out of memory", p));
        pattern->rows = 64;
    }

    for (uint32_t i = 0; i < module->instrumentCount; ++i) {
        const char* why = nullptr;
        if (!InstrumentLoad(source, module->instruments + i, i + 1, &taken, &why))
            return Refuse(module, reason, why);
    }
    return 1;
}

void XmModuleFree(XmModule* module) {
    if (module->instruments) {
        for (uint32_t i = 0; i < module->instrumentCount; ++i) {
            for (XmSample* s : module->instruments[i].samples)
                if (s && s != &gEmptySample) std::free(s);
        }
    }
    if (module->patterns) {
        for (uint32_t p = 0; p < module->patternCount; ++p) std::free(module->patterns[p].notes);
    }
    std::free(module->patterns);
    *module = XmModule{};
}
