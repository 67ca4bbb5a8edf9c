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

static void Put32(unsigned char* p, uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}

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

int WavOpen(WavWriter* wav, const std::string& path, std::string* error) {
    wav->path = path;
    wav->temporary = path + ".part";
    wav->frames = 0;
    wav->file = std::fopen(wav->temporary.c_str(), "wb");
    if (!wav->file) {
        *error = "cannot write " + wav->temporary + ": " + std::strerror(errno);
        return 0;
    }
    unsigned char header[44];
    WavHeader(header, 0);
    return std::fwrite(header, 1, sizeof header, wav->file) == sizeof header;
}

int WavAppend(WavWriter* wav, const int16_t* samples, uint32_t frames) {
    unsigned char bytes[4 * 1024];
    uint32_t done = 0;
    while (done < frames) {
        const uint32_t n = std::min<uint32_t>(frames - done, 1024);
        for (uint32_t i = 0; i < n * 2; ++i) {
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

int WavFinish(WavWriter* wav, std::string* error) {
    unsigned char header[44];
    WavHeader(header, wav->frames * 4);
    bool ok = std::fseek(wav->file, 0, SEEK_SET) == 0 &&
              std::fwrite(header, 1, sizeof header, wav->file) == sizeof header;
    ok = std::fclose(wav->file) == 0 && ok;
    wav->file = nullptr;
    if (!ok || std::rename(wav->temporary.c_str(), wav->path.c_str()) != 0) {
        *error = "cannot write " + wav->path;
        std::remove(wav->temporary.c_str());
        return 0;
    }
    return 1;
}

void WavAbandon(WavWriter* wav) {
    if (wav->file) std::fclose(wav->file);
    wav->file = nullptr;
    if (!wav->temporary.empty()) std::remove(wav->temporary.c_str());
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
