// 44100 Hz stereo 16-bit WAV files for the tools, written through an OutputFile: a file
// appears whole or not at all and never replaces a link, device or FIFO (see
// output_file.h). Standard output and other outputs that cannot seek back get their
// header first, so the caller announces the length before the first samples.
#pragma once
#include <cstdint>
#include <string>

#include "tools/common/output_file.h"

// The most stereo frames a WAV file can hold (its sizes are 32-bit).
constexpr uint64_t kWavMaxFrames = (0xFFFFFFFFu - 36) / 4;
// Frames worth gathering for one write (64 KB): fewer, larger writes spend less time
// in the system. Also the most a write carries on hosts that must reorder the bytes.
constexpr uint32_t kWavWriteFrames = 16384;

struct WavFile {
    OutputFile out;
    uint64_t frames = 0;     // stereo frames written
    uint64_t announced = 0;  // the length the header gives before the data is known
    bool headerWritten = false;
};

// Opens the output (no bytes are written yet). Returns 1, or 0 with the reason.
int WavFileOpen(WavFile* wav, const char* path, std::string* error);
// 1 when the header can be completed at the end; otherwise announce the length first.
inline bool WavFileCanSeek(const WavFile* wav) {
    return wav->out.seekable;
}
inline void WavFileAnnounce(WavFile* wav, uint64_t frames) {
    wav->announced = frames;
}
// Appends interleaved left/right samples. Returns 0 when the write fails.
int WavFileAppend(WavFile* wav, const int16_t* samples, uint64_t frames);
// Completes the header, closes and renames. Returns 1, or 0 with the reason (the
// temporary file is removed).
int WavFileFinish(WavFile* wav, std::string* error);
// Closes and removes the temporary file.
void WavFileAbandon(WavFile* wav);
