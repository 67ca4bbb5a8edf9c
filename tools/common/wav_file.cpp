// WAV writing for the tools.
#include "tools/common/wav_file.h"

#include <bit>
#include <cerrno>
#include <cstring>

static void Put32(unsigned char* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}

// The 44-byte header of PCM, 2 channels, 44100 Hz, 16 bits, with `frames` of data.
static void WavHeader(unsigned char* h, uint64_t frames) {
    const uint32_t dataBytes = static_cast<uint32_t>(frames * 4);
    std::memcpy(h, "RIFF", 4);
    Put32(h + 4, 36 + dataBytes);
    std::memcpy(h + 8, "WAVEfmt ", 8);
    Put32(h + 16, 16);
    const unsigned char format[16] = {1,    0,    2,    0, 0x44, 0xAC, 0,  0,
                                      0x10, 0xB1, 0x02, 0, 4,    0,    16, 0};
    std::memcpy(h + 20, format, 16);
    std::memcpy(h + 36, "data", 4);
    Put32(h + 40, dataBytes);
}

static int WriteHeader(WavFile* wav) {
    unsigned char header[44];
    WavHeader(header, wav->announced);
    wav->headerWritten = true;
    return OutputWrite(&wav->out, header, sizeof header);
}

int WavFileOpen(WavFile* wav, const char* path, std::string* error) {
    *wav = WavFile{};
    return OutputOpen(&wav->out, path, error);
}

int WavFileAppend(WavFile* wav, const int16_t* samples, uint64_t frames) {
    if (!wav->headerWritten && !WriteHeader(wav)) return 0;
    if constexpr (std::endian::native == std::endian::little) {
        // The samples are already in the file's byte order.
        if (!OutputWrite(&wav->out, samples, frames * 4)) return 0;
        wav->frames += frames;
        return 1;
    }
    unsigned char bytes[4 * kWavWriteFrames];
    for (uint64_t done = 0; done < frames;) {
        const uint64_t n = frames - done < kWavWriteFrames ? frames - done : kWavWriteFrames;
        for (uint64_t i = 0; i < n * 2; ++i) {
            const uint16_t s = static_cast<uint16_t>(samples[done * 2 + i]);
            bytes[i * 2] = static_cast<unsigned char>(s);
            bytes[i * 2 + 1] = static_cast<unsigned char>(s >> 8);
        }
        if (!OutputWrite(&wav->out, bytes, n * 4)) return 0;
        done += n;
    }
    wav->frames += frames;
    return 1;
}

int WavFileFinish(WavFile* wav, std::string* error) {
    errno = 0;
    bool ok = wav->frames <= kWavMaxFrames;
    if (!wav->headerWritten) {
        wav->announced = wav->frames;
        ok = ok && WriteHeader(wav);
    } else if (ok && wav->out.seekable && wav->announced != wav->frames) {
        unsigned char header[44];
        WavHeader(header, wav->frames);
        ok = OutputWriteAt(&wav->out, 0, header, sizeof header);
    }
    if (!ok) {
        *error = wav->out.path + ": " +
                 (errno ? std::strerror(errno) : "too long for a WAV file (4 GB at most)");
        WavFileAbandon(wav);
        return 0;
    }
    return OutputCommit(&wav->out, error);
}

void WavFileAbandon(WavFile* wav) {
    OutputAbandon(&wav->out);
}
