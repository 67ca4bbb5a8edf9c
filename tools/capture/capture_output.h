// What capture writes: the screen picture of a frame, WAV audio and the ffmpeg pipe.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// The picture a screen shows for a presented surface (the 639 x 479 rule, last column
// and row black), enlarged `scale` times by repeating pixels.
void CaptureScreenPicture(const uint16_t* surface, int32_t pitchBytes, int32_t width,
                          int32_t height, int32_t scale, std::vector<uint16_t>* picture);

// The H.264 video stream fed to ffmpeg through a pipe, muxed with the WAV at the end.
struct VideoPipe {
    std::FILE* pipe = nullptr;
    std::string videoTemporary;
};
bool FfmpegAvailable();
int VideoOpen(VideoPipe* video, const std::string& directory, int32_t width, int32_t height,
              int32_t fps, std::string* error);
int VideoAppend(VideoPipe* video, const std::vector<uint16_t>& picture);
// Closes the video stream and muxes it with the audio into `mp4Path` (through a
// temporary name). Returns 1, or 0 with the reason.
int VideoFinish(VideoPipe* video, const std::string& wavPath, const std::string& mp4Path,
                std::string* error);
void VideoAbandon(VideoPipe* video);
