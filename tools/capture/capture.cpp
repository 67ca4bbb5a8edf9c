// capture: renders the intro offline, deterministically, on the headless platform with
// a virtual clock: PNG frames, the music as WAV, and an MP4 through ffmpeg.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "app/app.h"
#include "app/headless/headless.h"
#include "assets/tune.h"
#include "demo/demo.h"
#include "display/headless/display_headless.h"
#include "music/headless/wave_headless.h"
#include "music/music.h"
#include "tools/capture/capture_output.h"
#include "tools/capture/contact_sheet.h"
#include "tools/common/png_image.h"
#include "tools/common/wav_file.h"

namespace {

const char kUsage[] =
    "usage: capture --out DIR [--seconds N] [--start MS] [--fps N] [--mp4 FILE] [--png]\n"
    "               [--scale 1|2|3]\n"
    "       capture --at MS --png --out DIR\n"
    "Renders the intro offline: the same start-up, frames, overlay and music as the live\n"
    "intro, on a virtual clock, so the same command always gives the same files.\n"
    "  --out DIR     directory for frame_NNNNNN.png and audio.wav (created if missing)\n"
    "  --seconds N   length of the recording in seconds (default 115, one full cycle)\n"
    "  --start MS    begin the recording at MS of the show; what comes before is still\n"
    "                computed, not written (default 0)\n"
    "  --fps N       frames per second, 1..40 (default 40, the intro's 25-ms frame)\n"
    "  --png         write every frame as DIR/frame_NNNNNN.png\n"
    "  --mp4 FILE    encode the frames and the music to an H.264 + AAC MP4 (needs ffmpeg)\n"
    "  --scale K     enlarge frames K times with crisp pixels (1, 2 or 3; default 1)\n"
    "  --at MS       write the single frame shown at MS of the show as DIR/shot_MS.png\n"
    "  --contact-sheet FILE  also write the recorded frames every 2.5 s, each with its\n"
    "                time and scene, as one PNG (at 40 fps)\n"
    "  --help        this text\n";

constexpr uint32_t kClockBase = 1000;  // the show's tick 0 (a zero tick means "not started")
constexpr int32_t kWidth = 640, kHeight = 480;

struct Options {
    std::string out;
    std::string mp4;
    std::string sheet;
    double seconds = 115;
    long startMs = 0;
    long atMs = -1;
    int fps = 40;
    int scale = 1;
    bool png = false;
};

[[noreturn]] void Die(const std::string& message) {
    std::fprintf(stderr, "capture: %s\n", message.c_str());
    std::exit(1);
}

long ParseInteger(const char* option, const char* text, long low, long high) {
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (errno || end == text || *end || value < low || value > high)
        Die(std::string(option) + " needs a whole number from " + std::to_string(low) + " to " +
            std::to_string(high) + ", not '" + text + "'");
    return value;
}

Options ParseOptions(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) Die(a + " needs a value (see --help)");
            return argv[++i];
        };
        if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            std::exit(0);
        } else if (a == "--out") {
            o.out = value();
        } else if (a == "--mp4") {
            o.mp4 = value();
        } else if (a == "--contact-sheet") {
            o.sheet = value();
        } else if (a == "--png") {
            o.png = true;
        } else if (a == "--seconds") {
            const char* text = value();
            char* end = nullptr;
            o.seconds = std::strtod(text, &end);
            if (end == text || *end || !(o.seconds > 0) || o.seconds > 24 * 3600)
                Die(std::string("--seconds needs a positive number of seconds, not '") + text +
                    "'");
        } else if (a == "--start") {
            o.startMs = ParseInteger("--start", value(), 0, 24L * 3600 * 1000);
        } else if (a == "--at") {
            o.atMs = ParseInteger("--at", value(), 0, 24L * 3600 * 1000);
        } else if (a == "--fps") {
            // Faster than 40 is impossible: the intro paces every frame to at least 25 ms.
            o.fps = static_cast<int>(ParseInteger("--fps", value(), 1, 40));
        } else if (a == "--scale") {
            o.scale = static_cast<int>(ParseInteger("--scale", value(), 1, 3));
        } else {
            Die("unknown argument '" + a + "' (see --help)");
        }
    }
    if (o.out.empty()) Die("--out DIR is required (see --help)");
    if (o.atMs >= 0 && !o.png) Die("--at writes a PNG: give --png too");
    if (o.atMs >= 0 && !o.mp4.empty()) Die("--at writes one frame; it cannot make an MP4");
    if (!o.sheet.empty() && o.fps != 40) Die("--contact-sheet needs the intro's 40 fps");
    return o;
}

void MakeDirectory(const std::string& path) {
    std::string partial;
    for (size_t i = 0; i <= path.size(); ++i) {
        if (i == path.size() || (path[i] == '/' && i > 0)) {
            partial = path.substr(0, i);
            if (mkdir(partial.c_str(), 0777) != 0 && errno != EEXIST)
                Die("cannot create " + partial + ": " + std::strerror(errno));
        }
    }
    struct stat info;
    if (stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) Die(path + " is not a directory");
    if (access(path.c_str(), W_OK) != 0)
        Die("cannot write to " + path + ": " + std::strerror(errno));
}

// The presented frame, copied by the display's sink.
std::vector<uint16_t> gFrame(kWidth* kHeight);
int32_t gFramePitch = kWidth * 2;
bool gPresented;

void FrameSink(const uint16_t* pixels, int32_t pitchBytes, int32_t width, int32_t height, void*) {
    for (int32_t y = 0; y < height && y < kHeight; ++y)
        std::memcpy(&gFrame[static_cast<size_t>(y) * kWidth],
                    pixels + static_cast<size_t>(y) * (pitchBytes / 2),
                    static_cast<size_t>(std::min(width, kWidth)) * 2);
    gPresented = true;
}

// The music, slice by slice, as the stream thread would render it.
struct MusicFeed {
    const int16_t* slice = nullptr;
    uint32_t used = kMusicSliceFrames;
};

// Hands out the next `frames` stereo frames (to `wav` when non-null).
bool MusicPull(MusicFeed* feed, uint32_t frames, WavFile* wav) {
    while (frames > 0) {
        if (feed->used == kMusicSliceFrames) {
            const uint32_t index = MusicNextSlice();
            RenderSlice();
            feed->slice = MusicRingSlice(index);
            feed->used = 0;
        }
        const uint32_t n = std::min(frames, kMusicSliceFrames - feed->used);
        if (wav && !WavFileAppend(wav, feed->slice + feed->used * 2, n)) return false;
        feed->used += n;
        frames -= n;
    }
    return true;
}

// Show time of frame n in ms, and the audio frames up to it.
uint32_t FrameTime(long n, int fps) {
    return static_cast<uint32_t>(n * 1000 / fps);
}
uint64_t AudioFramesAt(long n, int fps) {
    return static_cast<uint64_t>(n) * 44100 / fps;
}

std::string Clock(double seconds) {
    const long s = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
    return text;
}

void Progress(long done, long total, double showSeconds, double elapsed, bool final) {
    static double lastShown = -1;
    const bool tty = isatty(2);
    if (!final && elapsed - lastShown < (tty ? 0.1 : 5.0)) return;
    lastShown = elapsed;
    const double rate = elapsed > 0 ? done / elapsed : 0;
    const double left = rate > 0 ? (total - done) / rate : 0;
    const int width = 30;
    const int filled = total > 0 ? static_cast<int>(width * done / total) : width;
    std::string bar(filled, '#');
    bar += std::string(width - filled, '.');
    std::fprintf(stderr, "%s[%s] %ld/%ld frames  %.1f s of show  %.1f fps  %s left%s",
                 tty ? "\r" : "", bar.c_str(), done, total, showSeconds, rate, Clock(left).c_str(),
                 tty && !final ? "" : "\n");
    std::fflush(stderr);
}

}  // namespace

int main(int argc, char** argv) {
    const Options o = ParseOptions(argc, argv);
    if (!o.mp4.empty() && !FfmpegAvailable())
        Die("--mp4 needs ffmpeg, which is not installed (apt-get install ffmpeg)");
    MakeDirectory(o.out);

    // The headless shell on its virtual clock; the live device is kept closed so that
    // the music is rendered here, slice by slice, in step with the frames.
    HeadlessReset();
    HeadlessClockSet(kClockBase);
    HeadlessWaveSetOpenFails(1);
    HeadlessDisplaySetSink(FrameSink, nullptr);
    AppInit();
    const char* reason = "";
    if (!MusicRenderOpen(kTuneXm, static_cast<uint32_t>(kTuneXm_size), kMusicSourceMemory, &reason))
        Die(std::string("the intro's tune cannot be played: ") + reason);
    MusicFeed feed;

    const bool single = o.atMs >= 0;
    const long firstFrame =
        single ? (o.atMs * o.fps + 999) / 1000 : (o.startMs * o.fps + 999) / 1000;
    const long count = single ? 1 : static_cast<long>(o.seconds * o.fps + 0.5);
    const long lastFrame = firstFrame + count;

    WavFile wav;
    VideoPipe video;
    std::string error;
    auto fail = [&](const std::string& message) {
        WavFileAbandon(&wav);
        VideoAbandon(&video);
        Die(message);
    };
    const std::string wavPath = o.out + "/audio.wav";
    if (!single && !WavFileOpen(&wav, wavPath.c_str(), &error)) fail(error);
    if (!o.mp4.empty() &&
        !VideoOpen(&video, o.out, kWidth * o.scale, kHeight * o.scale, o.fps, &error))
        fail(error);

    const auto began = std::chrono::steady_clock::now();
    std::vector<uint16_t> picture;
    ContactSheet sheet;
    for (long n = 0; n < lastFrame; ++n) {
        HeadlessClockSet(kClockBase + FrameTime(n, o.fps));
        gPresented = false;
        DemoFrame();
        const bool recorded = n >= firstFrame;
        if (!single) {
            const uint64_t audio = AudioFramesAt(n + 1, o.fps) - AudioFramesAt(n, o.fps);
            if (!MusicPull(&feed, static_cast<uint32_t>(audio), recorded ? &wav : nullptr))
                fail("cannot write " + wavPath);
        }
        if (!recorded) continue;
        if (!gPresented) fail("the intro presented no frame");
        CaptureScreenPicture(gFrame.data(), gFramePitch, kWidth, kHeight, o.scale, &picture);
        if (o.png) {
            char name[64];
            if (single)
                std::snprintf(name, sizeof name, "/shot_%06ld.png", o.atMs);
            else
                std::snprintf(name, sizeof name, "/frame_%06ld.png", n - firstFrame);
            char why[256];
            if (!PngWriteRgb565((o.out + name).c_str(), picture.data(), kWidth * o.scale,
                                kHeight * o.scale, kWidth * o.scale * 2, why, sizeof why))
                fail(why);
        }
        if (video.pipe && !VideoAppend(&video, picture)) fail("ffmpeg stopped taking frames");
        if (!o.sheet.empty())
            ContactSheetOffer(&sheet, gFrame.data(), gFramePitch, kWidth, kHeight,
                              FrameTime(n, o.fps));
        const double elapsed =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
        Progress(n - firstFrame + 1, count, FrameTime(n + 1, o.fps) / 1000.0, elapsed, false);
    }
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
    Progress(count, count, FrameTime(lastFrame, o.fps) / 1000.0, elapsed, true);

    if (!single && !WavFileFinish(&wav, &error)) fail(error);
    if (video.pipe && !VideoFinish(&video, wavPath, o.mp4, &error)) fail(error);
    if (!o.sheet.empty() && !ContactSheetWrite(&sheet, o.sheet, &error)) fail(error);
    AppShutdown();
    MusicRenderClose();
    std::fprintf(stderr, "capture: %ld frame%s", count, count == 1 ? "" : "s");
    if (!single)
        std::fprintf(stderr, " and %llu audio frames", static_cast<unsigned long long>(wav.frames));
    std::fprintf(stderr, " written to %s%s%s\n", o.out.c_str(), o.mp4.empty() ? "" : " and ",
                 o.mp4.c_str());
    return 0;
}
