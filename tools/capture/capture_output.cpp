// Screen pictures, WAV files and the ffmpeg pipe of the capture tool.
#include "tools/capture/capture_output.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "display/present_scale.h"

void CaptureScreenPicture(const uint16_t* surface, int32_t pitchBytes, int32_t width,
                          int32_t height, int32_t scale, std::vector<uint16_t>* picture) {
    std::vector<uint16_t> screen(static_cast<size_t>(width) * height, 0);
    PresentScaleToScreen(surface, pitchBytes, width, height, screen.data(), width * 2);
    if (scale == 1) {
        picture->swap(screen);
        return;
    }
    const int32_t w = width * scale;
    picture->resize(static_cast<size_t>(w) * height * scale);
    for (int32_t y = 0; y < height * scale; ++y) {
        const uint16_t* from = screen.data() + static_cast<size_t>(y / scale) * width;
        uint16_t* to = picture->data() + static_cast<size_t>(y) * w;
        for (int32_t x = 0; x < w; ++x) to[x] = from[x / scale];
    }
}

bool FfmpegAvailable() {
    return std::system("ffmpeg -version >/dev/null 2>&1") == 0;
}

// Quotes a path for the shell.
static std::string Quoted(const std::string& text) {
    std::string out = "'";
    for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

int VideoOpen(VideoPipe* video, const std::string& directory, int32_t width, int32_t height,
              int32_t fps, std::string* error) {
    video->videoTemporary = directory + "/.capture-video.mp4";
    const std::string command =
        "ffmpeg -hide_banner -loglevel error -y -f rawvideo -pix_fmt rgb565le -s " +
        std::to_string(width) + "x" + std::to_string(height) + " -framerate " +
        std::to_string(fps) + " -i - -c:v libx264 -preset medium -crf 18 -pix_fmt yuv420p -f mp4 " +
        Quoted(video->videoTemporary);
    video->pipe = popen(command.c_str(), "w");
    if (!video->pipe) {
        *error = "cannot start ffmpeg";
        return 0;
    }
    return 1;
}

int VideoAppend(VideoPipe* video, const std::vector<uint16_t>& picture) {
    // rgb565le: the pixels as they are on a little-endian machine.
    return std::fwrite(picture.data(), 2, picture.size(), video->pipe) == picture.size();
}

int VideoFinish(VideoPipe* video, const std::string& wavPath, const std::string& mp4Path,
                std::string* error) {
    const int status = pclose(video->pipe);
    video->pipe = nullptr;
    if (status != 0) {
        *error = "ffmpeg failed while encoding the video";
        std::remove(video->videoTemporary.c_str());
        return 0;
    }
    const std::string temporary = mp4Path + ".part";
    const std::string command =
        "ffmpeg -hide_banner -loglevel error -y -i " + Quoted(video->videoTemporary) + " -i " +
        Quoted(wavPath) + " -c:v copy -c:a aac -b:a 192k -shortest -f mp4 " + Quoted(temporary);
    const int muxed = std::system(command.c_str());
    std::remove(video->videoTemporary.c_str());
    if (muxed != 0 || std::rename(temporary.c_str(), mp4Path.c_str()) != 0) {
        std::remove(temporary.c_str());
        *error = "ffmpeg could not write " + mp4Path;
        return 0;
    }
    return 1;
}

void VideoAbandon(VideoPipe* video) {
    if (video->pipe) pclose(video->pipe);
    video->pipe = nullptr;
    if (!video->videoTemporary.empty()) std::remove(video->videoTemporary.c_str());
}
