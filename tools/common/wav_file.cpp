// WAV writing for the tools.
#include "tools/common/wav_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

static void Put32(unsigned char* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}

// The 44-byte header of PCM, 2 channels, 44100 Hz, 16 bits, with `dataBytes` of data.
static void WavHeader(unsigned char* h, uint32_t dataBytes) {
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

int WavFileOpen(WavFile* wav, const char* path, std::string* error) {
    wav->path = path;
    wav->temporary = wav->path + ".XXXXXX";
    wav->frames = 0;
    const int fd = mkstemp(wav->temporary.data());
    if (fd < 0) {
        *error = wav->path + ": " + std::strerror(errno);
        wav->temporary.clear();
        return 0;
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
    wav->file = fdopen(fd, "wb");
    unsigned char header[44];
    WavHeader(header, 0);
    if (!wav->file || std::fwrite(header, 1, sizeof header, wav->file) != sizeof header) {
        *error = wav->path + ": " + std::strerror(errno);
        if (!wav->file) close(fd);
        WavFileAbandon(wav);
        return 0;
    }
    return 1;
}

int WavFileAppend(WavFile* wav, const int16_t* samples, uint64_t frames) {
    unsigned char bytes[4 * 1024];
    for (uint64_t done = 0; done < frames;) {
        const uint64_t n = frames - done < 1024 ? frames - done : 1024;
        for (uint64_t i = 0; i < n * 2; ++i) {
            const uint16_t s = static_cast<uint16_t>(samples[done * 2 + i]);
            bytes[i * 2] = static_cast<unsigned char>(s);
            bytes[i * 2 + 1] = static_cast<unsigned char>(s >> 8);
        }
        if (std::fwrite(bytes, 4, n, wav->file) != n) return 0;
        done += n;
    }
    wav->frames += frames;
    return 1;
}

int WavFileFinish(WavFile* wav, std::string* error) {
    bool ok = wav->frames * 4 <= 0xFFFFFFFFu - 36;  // the format's own limit
    unsigned char header[44];
    WavHeader(header, static_cast<uint32_t>(wav->frames * 4));
    ok = ok && std::fseek(wav->file, 0, SEEK_SET) == 0 &&
         std::fwrite(header, 1, sizeof header, wav->file) == sizeof header;
    ok = std::fclose(wav->file) == 0 && ok;
    wav->file = nullptr;
    if (!ok || std::rename(wav->temporary.c_str(), wav->path.c_str()) != 0) {
        *error = wav->path + ": " + (errno ? std::strerror(errno) : "cannot be written");
        WavFileAbandon(wav);
        return 0;
    }
    wav->temporary.clear();
    return 1;
}

void WavFileAbandon(WavFile* wav) {
    if (wav->file) std::fclose(wav->file);
    wav->file = nullptr;
    if (!wav->temporary.empty()) std::remove(wav->temporary.c_str());
    wav->temporary.clear();
}
