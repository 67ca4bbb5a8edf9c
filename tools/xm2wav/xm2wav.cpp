// xm2wav: renders an XM module into a 44100 Hz stereo 16-bit WAV file through the
// intro's own loader, player, mixer and slice conversion (slices on demand, no device).
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "music/music.h"
#include "music/xm_player.h"
#include "tools/common/wav_file.h"

namespace {

constexpr double kDefaultSeconds = 600.0;

const char kUsage[] =
    "usage: xm2wav IN.xm OUT.wav [--seconds N] [--loops N]\n"
    "Renders an XM module to a 44100 Hz stereo 16-bit WAV file.\n"
    "  --seconds N  stop after N seconds (default: 600, the upper limit)\n"
    "  --loops N    stop when the song has started over N times (default 1;\n"
    "               with --seconds alone the song end does not stop the render)\n"
    "  --help       this text\n";

int Fail(const char* what, const char* why) {
    std::fprintf(stderr, "xm2wav: %s: %s\n", what, why);
    return 1;
}

int Fail(const std::string& message) {
    std::fprintf(stderr, "xm2wav: %s\n", message.c_str());
    return 1;
}

// The 20-character name at offset 17 of the file, trimmed.
std::string ModuleName(const char* path) {
    char header[37] = {};
    std::FILE* f = std::fopen(path, "rb");
    if (!f) return "";
    const size_t got = std::fread(header, 1, sizeof header, f);
    std::fclose(f);
    if (got < sizeof header) return "";
    std::string name(header + 17, 20);
    name = name.substr(0, name.find('\0'));
    while (!name.empty() && name.back() == ' ') name.pop_back();
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 32 || static_cast<unsigned char>(c) > 126) c = '?';
    return name;
}

int ParseCount(const char* text, double* value) {
    char* end = nullptr;
    errno = 0;
    const double v = std::strtod(text, &end);
    if (errno || end == text || *end || !(v >= 0)) return 0;
    *value = v;
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const char* inPath = nullptr;
    const char* outPath = nullptr;
    double seconds = kDefaultSeconds;
    double loops = 1;
    bool secondsGiven = false, loopsGiven = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg == "--seconds" || arg == "--loops") {
            double v;
            if (i + 1 >= argc || !ParseCount(argv[i + 1], &v))
                return Fail(arg.c_str(), "needs a number of 0 or more");
            ++i;
            if (arg == "--seconds") {
                seconds = v < kDefaultSeconds ? v : kDefaultSeconds;
                secondsGiven = true;
            } else {
                loops = v;
                loopsGiven = true;
            }
        } else if (arg.size() > 1 && arg[0] == '-') {
            return Fail(arg.c_str(), "unknown option (see --help)");
        } else if (!inPath) {
            inPath = argv[i];
        } else if (!outPath) {
            outPath = argv[i];
        } else {
            return Fail(argv[i], "one input and one output only (see --help)");
        }
    }
    if (!inPath || !outPath) {
        std::fputs(kUsage, stderr);
        return 1;
    }
    if (secondsGiven && !loopsGiven) loops = 0;

    const char* reason = "cannot be loaded";
    if (!MusicRenderOpen(inPath, 0, kMusicSourceFile, &reason)) {
        if (std::FILE* f = std::fopen(inPath, "rb")) {
            std::fclose(f);
        } else {
            return Fail(inPath, std::strerror(errno));
        }
        return Fail(inPath, reason);
    }
    const XmPlayer* player = MusicPlayerState();
    const XmModule* m = player->module;
    std::printf(
        "%s: \"%s\", %u channels, %u patterns, %u instruments, %u orders, %s table, "
        "speed %u, BPM %u\n",
        inPath, ModuleName(inPath).c_str(), m->channels, m->patternCount, m->instrumentCount,
        m->songLength, (m->flags & kXmLinearFrequencies) ? "linear" : "Amiga", m->defaultTempo,
        m->defaultBpm);

    WavFile wav;
    std::string error;
    if (!WavFileOpen(&wav, outPath, &error)) {
        MusicRenderClose();
        return Fail(error);
    }
    bool ok = true;

    const uint64_t frameLimit = static_cast<uint64_t>(seconds * 44100.0);
    const uint32_t loopTarget = static_cast<uint32_t>(loops);
    uint64_t frames = 0;
    uint32_t slices = 0;
    while (ok && frames < frameLimit) {
        const uint32_t slice = MusicNextSlice();
        const uint32_t loopsBefore = player->songLoops;
        RenderSlice();
        uint64_t take = kMusicSliceFrames;
        bool last = false;
        if (loopTarget && player->songLoops >= loopTarget && player->songLoops != loopsBefore) {
            take = player->songLoopFrame;  // the frame at which the song started over
            last = true;
        }
        if (frames + take > frameLimit) take = frameLimit - frames;
        ok = WavFileAppend(&wav, MusicRingSlice(slice), take);
        frames += take;
        if (++slices % 50 == 0 || last || frames >= frameLimit) {
            std::fprintf(stderr, "\rrendering %7.1f s  order %3u/%u  row %3u", frames / 44100.0,
                         player->order, m->songLength, player->row);
        }
        if (last) break;
    }
    std::fputc('\n', stderr);
    MusicRenderClose();

    if (!ok) {
        WavFileAbandon(&wav);
        return Fail(outPath, std::strerror(errno ? errno : EIO));
    }
    if (!WavFileFinish(&wav, &error)) return Fail(error);
    std::printf("%s: %.2f s, %llu frames\n", outPath, frames / 44100.0,
                static_cast<unsigned long long>(frames));
    return 0;
}
