// What capture writes: the screen picture of a frame and the MP4 made by ffmpeg.
#pragma once
#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/common/output_file.h"

// The picture a screen shows for a presented surface (the 639 x 479 rule, last column
// and row black), enlarged `scale` times by repeating pixels.
void CaptureScreenPicture(const uint16_t* surface, int32_t pitchBytes, int32_t width,
                          int32_t height, int32_t scale, std::vector<uint16_t>* picture);

// The H.264 stream: frames go through a pipe to an ffmpeg found on PATH, which runs in
// a process group of its own (Ctrl-C reaches capture only, which then ends the stream
// cleanly) with its standard error kept to report what it said; at the end the video
// is muxed with the WAV into the MP4.
// How long ffmpeg may sit idle (using no processor time) after a stop request before it
// is ended: alive but not reading, it would hold the stop up for ever.
constexpr int kFfmpegGraceSeconds = 3;

struct VideoPipe {
    int fd = -1;  // the encoder's standard input
    pid_t pid = 0;
    std::FILE* said = nullptr;  // the encoder's standard error (an unlinked file)
    std::string videoTemporary;
};
bool FfmpegAvailable();
int VideoOpen(VideoPipe* video, const std::string& directory, int32_t width, int32_t height,
              int32_t fps, std::string* error);
// Returns 0 when ffmpeg no longer takes frames (after a stop request also when it has
// stopped working and was ended); VideoFailure then says why.
int VideoAppend(VideoPipe* video, const std::vector<uint16_t>& picture);
// Ends the encoder and describes its end: what it said last, or its exit status.
std::string VideoFailure(VideoPipe* video);
// Ends the video stream and muxes it with the audio into `mp4` (opened by the caller:
// a temporary file beside the target, or a direct output that gets a fragmented MP4),
// then commits it. Returns 1, or 0 with the reason.
int VideoFinish(VideoPipe* video, const std::string& wavPath, OutputFile* mp4, std::string* error);
void VideoAbandon(VideoPipe* video);
