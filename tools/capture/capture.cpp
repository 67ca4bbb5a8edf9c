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
#include "engine/render_frame.h"
#include "music/headless/wave_headless.h"
#include "music/music.h"
#include "tools/capture/capture_output.h"
#include "tools/capture/contact_sheet.h"
#include "tools/common/png_image.h"
#include "tools/common/stop_signal.h"
#include "tools/common/tool_shell.h"
#include "tools/common/wav_file.h"

namespace {

const char kUsage[] =
    "usage: capture --out DIR [--seconds N] [--start MS] [--fps N] [--mp4 FILE] [--png]\n"
    "               [--scale 1|2|3] [--threads 1|2]\n"
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
    "  --threads N   draw each frame on 1 or 2 threads (default 2, as the intro does);\n"
    "                the pictures are the same either way\n"
    "  --at MS       write the single frame shown at MS of the show as DIR/shot_MS.png\n"
    "  --sums FILE   also write one line per recorded frame: its number and a 64-bit\n"
    "                FNV-1a hash of its picture (what the output checksums compare)\n"
    "  --contact-sheet FILE  also write the recorded frames every 2.5 s, each with its\n"
    "                time and scene, as one PNG (at 40 fps)\n"
    "  --help        this text\n"
    "Numbers are plain decimals. FILE may be - (standard output), a device or a FIFO (an\n"
    "MP4 is then fragmented); a link is followed; two outputs may not name one file.\n"
    "Ctrl-C finishes the WAV and the MP4 with the frames made so far (exit status 130);\n"
    "a second Ctrl-C ends at once, leaving no temporary file behind.\n";

constexpr uint32_t kClockBase = 1000;  // the show's tick 0 (a zero tick means "not started")
constexpr int32_t kWidth = 640, kHeight = 480;
constexpr long kMaxShowMs = 24L * 3600 * 1000;

struct Options {
    std::string out;
    std::string mp4;
    std::string sheet;
    std::string sums;
    double seconds = 115;
    long startMs = 0;
    long atMs = -1;
    int fps = 40;
    int scale = 1;
    int threads = 2;
    bool png = false;
};

// What capture has opened, abandoned by Die so that a failure leaves nothing behind.
WavFile gWav;
OutputFile gMp4;
OutputFile gSums;
OutputFile gSheet;
VideoPipe gVideo;
bool gProgressShown;  // a progress line without its line feed is on the terminal

void EndProgressLine() {
    if (gProgressShown) std::fputc('\n', stderr);
    gProgressShown = false;
}

void AbandonAll() {
    VideoAbandon(&gVideo);
    OutputAbandon(&gMp4);
    OutputAbandon(&gSums);
    OutputAbandon(&gSheet);
    WavFileAbandon(&gWav);
    EndProgressLine();
}

[[noreturn]] void Die(const std::string& message) {
    AbandonAll();
    std::fprintf(stderr, "capture: %s\n", message.c_str());
    std::exit(1);
}

long ParseInteger(const char* option, const char* text, long low, long high) {
    double value;
    if (!ToolDecimal(text, true, &value) || value < low || value > high)
        Die(std::string(option) + " needs a whole number from " + std::to_string(low) + " to " +
            std::to_string(high) + ", not '" + text + "'");
    return static_cast<long>(value);
}

double ParseSeconds(const char* text) {
    double value;
    if (!ToolDecimal(text, false, &value) || !(value > 0) || !(value <= 24 * 3600))
        Die(std::string("--seconds needs a number of seconds above 0 and at most 86400, not '") +
            text + "'");
    return value;
}

// The options, one line each: the name, whether a value follows, what it sets.
struct OptionSpec {
    const char* name;
    bool takesValue;
    void (*apply)(Options* o, const char* value);
};
const OptionSpec kOptions[] = {
    {"--out", true, [](Options* o, const char* v) { o->out = v; }},
    {"--mp4", true, [](Options* o, const char* v) { o->mp4 = v; }},
    {"--sums", true, [](Options* o, const char* v) { o->sums = v; }},
    {"--contact-sheet", true, [](Options* o, const char* v) { o->sheet = v; }},
    {"--png", false, [](Options* o, const char*) { o->png = true; }},
    {"--seconds", true, [](Options* o, const char* v) { o->seconds = ParseSeconds(v); }},
    {"--start", true,
     [](Options* o, const char* v) { o->startMs = ParseInteger("--start", v, 0, kMaxShowMs); }},
    {"--at", true,
     [](Options* o, const char* v) { o->atMs = ParseInteger("--at", v, 0, kMaxShowMs); }},
    // Faster than 40 is impossible: the intro paces every frame to at least 25 ms.
    {"--fps", true,
     [](Options* o, const char* v) { o->fps = static_cast<int>(ParseInteger("--fps", v, 1, 40)); }},
    {"--scale", true,
     [](Options* o, const char* v) {
         o->scale = static_cast<int>(ParseInteger("--scale", v, 1, 3));
     }},
    {"--threads", true,
     [](Options* o, const char* v) {
         o->threads = static_cast<int>(ParseInteger("--threads", v, 1, 2));
     }},
};

// Show time of frame n in ms, and the audio frames up to it.
uint32_t FrameTime(long n, int fps) {
    return static_cast<uint32_t>(n * 1000 / fps);
}
uint64_t AudioFramesAt(long n, int fps) {
    return static_cast<uint64_t>(n) * 44100 / fps;
}

// The frames to compute: [0, first) only computed, [first, first + count) recorded.
struct Plan {
    bool single;
    long first;
    long count;
    uint64_t audioFrames;
};

Plan PlanOf(const Options& o) {
    Plan p;
    p.single = o.atMs >= 0;
    p.first = ((p.single ? o.atMs : o.startMs) * o.fps + 999) / 1000;
    p.count = p.single ? 1 : static_cast<long>(o.seconds * o.fps + 0.5);
    p.audioFrames =
        p.single ? 0 : AudioFramesAt(p.first + p.count, o.fps) - AudioFramesAt(p.first, o.fps);
    return p;
}

Options ParseOptions(int argc, char** argv) {
    Options o;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h") {
            std::fputs(kUsage, stdout);
            std::exit(0);
        }
        // The end of the options: capture takes nothing after them.
        if (a == "--") {
            if (i + 1 < argc)
                Die(std::string("unexpected argument '") + argv[i + 1] +
                    "': everything capture takes is an option (see --help)");
            break;
        }
        const OptionSpec* spec = nullptr;
        for (const OptionSpec& s : kOptions)
            if (a == s.name) spec = &s;
        if (!spec) Die("unknown argument '" + a + "' (see --help)");
        if (spec->takesValue && i + 1 >= argc) Die(a + " needs a value (see --help)");
        spec->apply(&o, spec->takesValue ? argv[++i] : nullptr);
    }
    if (o.out.empty()) Die("--out DIR is required (see --help)");
    if (o.atMs >= 0 && !o.png) Die("--at writes a PNG: give --png too");
    if (o.atMs >= 0 && !o.mp4.empty()) Die("--at writes one frame; it cannot make an MP4");
    if (!o.sheet.empty() && o.fps != 40) Die("--contact-sheet needs the intro's 40 fps");
    const Plan plan = PlanOf(o);
    if (plan.count < 1) {
        char text[96];
        std::snprintf(text, sizeof text, "--seconds %g is less than one frame at %d fps", o.seconds,
                      o.fps);
        Die(text);
    }
    if (plan.audioFrames > kWavMaxFrames) {
        char text[128];
        std::snprintf(text, sizeof text,
                      "--seconds %g: audio.wav would pass the WAV format's 4-GB limit (%llu s at "
                      "most)",
                      o.seconds, static_cast<unsigned long long>(kWavMaxFrames / 44100));
        Die(text);
    }
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

// Leaves nothing behind after a stop request that came before the recording.
[[noreturn]] void StopBeforeRecording(const std::string& where) {
    AbandonAll();
    std::fprintf(stderr,
                 "capture: stopped by %s %s, before the recording began; nothing was written\n",
                 StopSignalName(), where.c_str());
    std::exit(kStopSignalStatus);
}

// A failed open: the reason, or a stop request that came while a FIFO waited for its
// reader.
[[noreturn]] void OpenFailed(const std::string& path, const std::string& error) {
    if (errno == EINTR && StopSignalCaught()) StopBeforeRecording("while opening " + path);
    Die(error);
}

// The name of recorded frame n (or of the single shot).
std::string PngName(const Options& o, const Plan& plan, long n) {
    char name[64];
    if (plan.single)
        std::snprintf(name, sizeof name, "shot_%06ld.png", o.atMs);
    else
        std::snprintf(name, sizeof name, "frame_%06ld.png", n);
    return name;
}

// Two outputs of one run that lead to one file would overwrite each other: refused
// before anything is opened.
void RefuseSharedOutputs(const Options& o, const Plan& plan, const std::string& wavPath) {
    struct Named {
        std::string what, path;
    };
    std::vector<Named> outputs;
    if (!plan.single) outputs.push_back({"the recording's own audio.wav", wavPath});
    if (!o.mp4.empty()) outputs.push_back({"--mp4 " + o.mp4, o.mp4});
    if (!o.sums.empty()) outputs.push_back({"--sums " + o.sums, o.sums});
    if (!o.sheet.empty()) outputs.push_back({"--contact-sheet " + o.sheet, o.sheet});
    for (size_t i = 0; i < outputs.size(); ++i) {
        for (size_t j = 0; j < i; ++j)
            if (OutputSame(outputs[i].path.c_str(), outputs[j].path.c_str()))
                Die(outputs[i].what + " and " + outputs[j].what + " are the same file");
        // A PNG frame of the recording, through its name in DIR.
        OutputFile resolved;
        std::string ignored;
        if (!o.png || !OutputResolve(&resolved, outputs[i].path.c_str(), &ignored)) continue;
        const std::string base = resolved.target.substr(resolved.target.rfind('/') + 1);
        long n = -1;
        char rest = 0;
        const bool frameName = !plan.single && base.size() == 16 &&
                               std::sscanf(base.c_str(), "frame_%6ld.png%c", &n, &rest) == 1 &&
                               n >= 0 && n < plan.count;
        if ((frameName || base == PngName(o, plan, 0)) &&
            OutputSame(outputs[i].path.c_str(), (o.out + "/" + base).c_str()))
            Die(outputs[i].what + " is one of the recording's PNG frames");
    }
}

// Opens every output before the long work, so that a bad one fails at once.
void OpenOutputs(const Options& o, const Plan& plan, const std::string& wavPath) {
    RefuseSharedOutputs(o, plan, wavPath);
    std::string error;
    if (!plan.single) {
        if (!WavFileOpen(&gWav, wavPath.c_str(), &error)) OpenFailed(wavPath, error);
        WavFileAnnounce(&gWav, plan.audioFrames);
    }
    if (!o.sums.empty() && !OutputOpen(&gSums, o.sums.c_str(), &error)) OpenFailed(o.sums, error);
    if (!o.sheet.empty()) {
        if (o.sheet == "-" && isatty(1))
            Die("--contact-sheet -: standard output is a terminal; redirect it to a file or a "
                "program");
        if (!OutputOpen(&gSheet, o.sheet.c_str(), &error)) OpenFailed(o.sheet, error);
    }
    if (o.mp4.empty()) return;
    if (!OutputResolve(&gMp4, o.mp4.c_str(), &error)) Die(error);
    if (gWav.out.direct)
        Die(wavPath + " is not a regular file; --mp4 reads the audio back from it");
    if (gMp4.path == "-" && isatty(1))
        Die("--mp4 -: standard output is a terminal; redirect it to a file or a program");
    if (!OutputOpen(&gMp4, o.mp4.c_str(), &error)) OpenFailed(o.mp4, error);
    if (!VideoOpen(&gVideo, o.out, kWidth * o.scale, kHeight * o.scale, o.fps, &error)) Die(error);
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

std::string Clock(double seconds) {
    const long s = static_cast<long>(seconds + 0.5);
    char text[32];
    std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
    return text;
}

// One phase of the work on the terminal: a bar, the rate and the time left, measured
// from the phase's own start (computing the skipped part of the show is a phase of
// its own, so the recording's estimate is not skewed by it). Silent when standard
// error is not a terminal.
struct Phase {
    const char* what;  // nullptr: the recording
    long total;
    std::chrono::steady_clock::time_point began = std::chrono::steady_clock::now();
    double lastShown = -1;
};

void Progress(Phase* phase, long done, double showSeconds, bool final) {
    static const bool tty = isatty(2);
    if (!tty) return;
    const double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - phase->began).count();
    if (!final && elapsed - phase->lastShown < 0.1) return;
    phase->lastShown = elapsed;
    const double rate = elapsed > 0 ? done / elapsed : 0;
    const double left = rate > 0 ? (phase->total - done) / rate : 0;
    char figures[128];
    std::snprintf(figures, sizeof figures, " %ld/%ld frames  %.1f s of show  %.1f fps  %s left",
                  done, phase->total, showSeconds, rate, Clock(left).c_str());
    std::string line = phase->what ? std::string(phase->what) + " " : "";
    // The bar takes what the terminal leaves, up to 30 columns; below 10 it goes.
    const int room = ToolTerminalColumns() - 1 - static_cast<int>(line.size()) -
                     static_cast<int>(std::strlen(figures)) - 2;
    const int width = std::min(room, 30);
    if (width >= 10) {
        const int filled = phase->total > 0 ? static_cast<int>(width * done / phase->total) : width;
        line.append(1, '[').append(filled, '#').append(width - filled, '.').append(1, ']');
    }
    ToolProgressShow(line.append(figures));
    gProgressShown = true;
    if (final) EndProgressLine();
}

// FNV-1a over the picture's pixels, low byte first: the same on every machine.
uint64_t PictureHash(const std::vector<uint16_t>& picture) {
    uint64_t hash = 0xCBF29CE484222325ull;
    for (const uint16_t pixel : picture) {
        hash = (hash ^ (pixel & 0xFF)) * 0x100000001B3ull;
        hash = (hash ^ (pixel >> 8)) * 0x100000001B3ull;
    }
    return hash;
}

}  // namespace

int main(int argc, char** argv) {
    ToolStart("capture");
    const Options o = ParseOptions(argc, argv);
    const Plan plan = PlanOf(o);
    StopSignalInstall();
    if (!o.mp4.empty() && !FfmpegAvailable())
        Die("--mp4 needs ffmpeg, which is not installed (apt-get install ffmpeg)");
    MakeDirectory(o.out);
    const std::string wavPath = o.out + "/audio.wav";
    OpenOutputs(o, plan, wavPath);

    // The headless shell on its virtual clock; the live device is kept closed so that
    // the music is rendered here, slice by slice, in step with the frames.
    HeadlessReset();
    HeadlessClockSet(kClockBase);
    HeadlessWaveSetOpenFails(1);
    HeadlessDisplaySetSink(FrameSink, nullptr);
    AppInit();
    RenderFrameThreadsSet(o.threads);
    const char* reason = "";
    if (!MusicRenderOpen(kTuneXm, static_cast<uint32_t>(kTuneXm_size), kMusicSourceMemory, &reason))
        Die(std::string("the intro's tune cannot be played: ") + reason);
    MusicFeed feed;

    const long lastFrame = plan.first + plan.count;
    char skipping[64];
    std::snprintf(skipping, sizeof skipping, "computing the show up to %.1f s",
                  FrameTime(plan.first, o.fps) / 1000.0);
    Phase skip{skipping, plan.first};
    Phase record{nullptr, plan.count};
    std::vector<uint16_t> picture;
    ContactSheet sheet;
    std::string mp4Lost;  // why a stopped run has no MP4
    long n = 0;
    for (; n < lastFrame && !StopSignalCaught(); ++n) {
        HeadlessClockSet(kClockBase + FrameTime(n, o.fps));
        gPresented = false;
        DemoFrame();
        const bool recorded = n >= plan.first;
        if (!plan.single) {
            const uint64_t audio = AudioFramesAt(n + 1, o.fps) - AudioFramesAt(n, o.fps);
            if (!MusicPull(&feed, static_cast<uint32_t>(audio), recorded ? &gWav : nullptr))
                Die("cannot write " + wavPath + ": " + std::strerror(errno));
        }
        if (!recorded) {
            Progress(&skip, n + 1, FrameTime(n + 1, o.fps) / 1000.0, n + 1 == plan.first);
            if (n + 1 == plan.first) record.began = std::chrono::steady_clock::now();
            continue;
        }
        if (!gPresented) Die("the intro presented no frame");
        CaptureScreenPicture(gFrame.data(), gFramePitch, kWidth, kHeight, o.scale, &picture);
        if (o.png) {
            std::string why;
            if (!PngWriteRgb565((o.out + "/" + PngName(o, plan, n - plan.first)).c_str(),
                                picture.data(), kWidth * o.scale, kHeight * o.scale,
                                kWidth * o.scale * 2, &why))
                Die(why);
        }
        if (gVideo.fd >= 0 && !VideoAppend(&gVideo, picture)) {
            if (!StopSignalCaught())
                Die("ffmpeg stopped taking frames at frame " + std::to_string(n - plan.first) +
                    ": " + VideoFailure(&gVideo));
            // Stopped while ffmpeg had stopped working: it has been ended, and there is
            // no MP4 to finish; the other outputs are.
            mp4Lost = "ffmpeg took no frame for " + std::to_string(kFfmpegGraceSeconds) +
                      " s after the stop and was ended: " + VideoFailure(&gVideo);
            VideoAbandon(&gVideo);
            OutputAbandon(&gMp4);
        }
        if (gSums.fd >= 0) {
            char line[40];
            const int length = std::snprintf(line, sizeof line, "%06ld %016llx\n", n - plan.first,
                                             static_cast<unsigned long long>(PictureHash(picture)));
            if (!OutputWrite(&gSums, line, static_cast<size_t>(length)))
                Die("cannot write " + o.sums + ": " + std::strerror(errno));
        }
        if (!o.sheet.empty())
            ContactSheetOffer(&sheet, gFrame.data(), gFramePitch, kWidth, kHeight,
                              FrameTime(n, o.fps));
        Progress(&record, n - plan.first + 1, FrameTime(n + 1, o.fps) / 1000.0, n + 1 == lastFrame);
    }
    EndProgressLine();
    const long recorded = n > plan.first ? n - plan.first : 0;
    const bool stopped = n < lastFrame;
    if (stopped && recorded == 0) {
        char where[48];
        std::snprintf(where, sizeof where, "at %.1f s of show", FrameTime(n, o.fps) / 1000.0);
        StopBeforeRecording(where);
    }

    std::string error;
    if (!plan.single && !WavFileFinish(&gWav, &error)) Die(error);
    if (gVideo.pid && !VideoFinish(&gVideo, wavPath, &gMp4, &error)) {
        if (!stopped) Die(error);
        mp4Lost = error;  // what was made besides is kept
    }
    if (gSheet.fd >= 0 && !ContactSheetWrite(&sheet, &gSheet, &error)) Die(error);
    if (gSums.fd >= 0 && !OutputCommit(&gSums, &error)) Die(error);
    AppShutdown();
    MusicRenderClose();
    if (stopped)
        std::fprintf(stderr, "capture: stopped by %s at frame %ld of %ld (%.1f s of show); ",
                     StopSignalName(), recorded, plan.count, FrameTime(n, o.fps) / 1000.0);
    else
        std::fprintf(stderr, "capture: ");
    std::fprintf(stderr, "%ld frame%s", recorded, recorded == 1 ? "" : "s");
    if (!plan.single)
        std::fprintf(stderr, " and %llu audio frames",
                     static_cast<unsigned long long>(gWav.frames));
    const bool mp4Made = !o.mp4.empty() && mp4Lost.empty();
    std::fprintf(stderr, " written to %s%s%s\n", o.out.c_str(), mp4Made ? " and " : "",
                 mp4Made ? o.mp4.c_str() : "");
    if (!mp4Lost.empty())
        std::fprintf(stderr, "capture: no MP4 was written: %s\n", mp4Lost.c_str());
    return stopped ? kStopSignalStatus : 0;
}
