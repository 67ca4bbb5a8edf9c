// 44100 Hz stereo 16-bit WAV files, written under a unique temporary name beside the
// target and renamed when finished, so an interrupted or failed run never leaves a
// partial file under the target's name (nor over an existing one).
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>

struct WavFile {
    std::string path;       // the finished file's name
    std::string temporary;  // where it is written until then
    std::FILE* file = nullptr;
    uint64_t frames = 0;  // stereo frames written
};

// Creates the temporary file with the permissions a new file would get. Returns 1, or 0
// with the reason in *error.
int WavFileOpen(WavFile* wav, const char* path, std::string* error);
// Appends interleaved left/right samples. Returns 0 when the write fails.
int WavFileAppend(WavFile* wav, const int16_t* samples, uint64_t frames);
// Completes the header, closes and renames. Returns 1, or 0 with the reason (the
// temporary file is removed).
int WavFileFinish(WavFile* wav, std::string* error);
// Closes and removes the temporary file.
void WavFileAbandon(WavFile* wav);
