// xm2wav: renders an XM module into a 44100 Hz stereo 16-bit WAV file through the
// intro's own loader, player, mixer and slice conversion (slices on demand, no device).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "music/music.h"
#include "music/xm_player.h"
#include "tools/common/stop_signal.h"
#include "tools/common/tool_shell.h"
#include "tools/common/wav_file.h"

namespace {

constexpr double kMaxSeconds = 600.0;
constexpr long kMaxLoops = 1000;
// A module read from a stream is held in memory whole; none comes near this.
constexpr size_t kMaxStreamBytes = 256u << 20;
// The fade that ends a halted song: the mixer's own ramp length.
constexpr uint32_t kFadeFrames = 128;
// Frames gathered before they are written: a write a slice (3.5 KB) made system calls
// a third of a render's time.
constexpr uint32_t kWriteFrames = kWavWriteFrames;

const char kUsage[] =
    "usage: xm2wav IN.xm OUT.wav [--seconds N] [--loops N]\n"
    "Renders an XM module to a 44100 Hz stereo 16-bit WAV file. IN may be - (standard\n"
    "input) or a pipe, OUT may be - (standard output), a device or a FIFO; after --,\n"
    "names that begin with - are files. Numbers are plain decimals.\n"
    "  --seconds N  stop after N seconds, above 0 and at most 600 (the default and\n"
    "               the upper limit)\n"
    "  --loops N    stop when the song has started over N times, 1 to 1000 (default 1;\n"
    "               with --seconds alone the song's end does not stop the render)\n"
    "  --help       this text\n"
    "A song that halts (speed 0) ends after the sound of its last tick, faded over\n"
    "128 frames. Ctrl-C finishes the file with what was rendered (exit status 130).\n";

int Fail(const std::string& message) {
    std::fprintf(stderr, "xm2wav: %s\n", message.c_str());
    return 1;
}

int Stopped() {
    std::fprintf(stderr, "xm2wav: stopped by %s before anything was written\n", StopSignalName());
    return kStopSignalStatus;
}

// The options, each range-checked; 0 with the message in *error for a bad one.
struct Options {
    const char* in = nullptr;
    const char* out = nullptr;
    double seconds = kMaxSeconds;
    long loops = 1;
    bool secondsGiven = false, loopsGiven = false;
};

int ParseOptions(int argc, char** argv, Options* o, std::string* error) {
    bool options = true;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (options && arg == "--") {
            options = false;
        } else if (options && (arg == "--seconds" || arg == "--loops")) {
            if (i + 1 >= argc) {
                *error = arg + " needs a value (see --help)";
                return 0;
            }
            const char* text = argv[++i];
            double value;
            const bool number = ToolDecimal(text, arg == "--loops", &value);
            if (arg == "--seconds") {
                o->seconds = value;
                o->secondsGiven = true;
                // At least one frame: fewer would make an empty file.
                if (!number || !(o->seconds * 44100 >= 1) || !(o->seconds <= kMaxSeconds)) {
                    *error = "--seconds needs a number of seconds from 1/44100 to 600, not '" +
                             std::string(text) + "'";
                    return 0;
                }
            } else {
                o->loopsGiven = true;
                if (!number || value < 1 || value > kMaxLoops) {
                    *error = "--loops needs a whole number from 1 to 1000, not '" +
                             std::string(text) + "'";
                    return 0;
                }
                o->loops = static_cast<long>(value);
            }
        } else if (options && arg.size() > 1 && arg[0] == '-') {
            *error = arg + ": unknown option (see --help)";
            return 0;
        } else if (!o->in) {
            o->in = argv[i];
        } else if (!o->out) {
            o->out = argv[i];
        } else {
            *error = arg + ": one input and one output only (see --help)";
            return 0;
        }
    }
    if (!o->in || !o->out) {
        *error = "needs an input and an output (see --help)";
        return 0;
    }
    if (o->secondsGiven && !o->loopsGiven) o->loops = 0;
    return 1;
}

// The module: a regular file is read by the loader itself; standard input and pipes
// cannot seek, so they are read into memory first.
struct Input {
    std::string name;
    struct stat info = {};
    std::vector<uint8_t> bytes;
    bool inMemory = false;
};

// Returns 1, 0 with the reason, or -1 when a stop request came while reading.
int InputOpen(const char* path, Input* in, std::string* error) {
    in->name = path;
    const bool stdinput = in->name == "-";
    const int fd = stdinput ? 0 : open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0 && errno == EINTR && StopSignalCaught()) return -1;  // a FIFO with no writer
    if (fd < 0 || fstat(fd, &in->info) != 0) {
        *error = in->name + ": " + std::strerror(errno);
        return 0;
    }
    int result = 1;
    if (S_ISDIR(in->info.st_mode)) {
        *error = in->name + ": is a directory";
        result = 0;
    } else if (stdinput || !S_ISREG(in->info.st_mode)) {
        in->inMemory = true;
        uint8_t block[65536];
        for (;;) {
            const ssize_t n = read(fd, block, sizeof block);
            if (n < 0 && errno == EINTR && StopSignalCaught()) {
                result = -1;
                break;
            }
            if (n < 0 && errno == EINTR) continue;
            if (n < 0) {
                *error = in->name + ": " + std::strerror(errno);
                result = 0;
                break;
            }
            if (n == 0) {
                if (in->bytes.empty()) {
                    *error = in->name + ": not an XM module (empty)";
                    result = 0;
                }
                break;
            }
            in->bytes.insert(in->bytes.end(), block, block + n);
            if (in->bytes.size() > kMaxStreamBytes) {
                *error = in->name + ": more than 256 MB, too large for an XM module";
                result = 0;
                break;
            }
        }
    } else {
        // The name field is all that is needed beside the loader's own reading.
        in->bytes.resize(37);
        in->bytes.resize(
            static_cast<size_t>(std::max<ssize_t>(0, pread(fd, in->bytes.data(), 37, 0))));
    }
    if (!stdinput) close(fd);
    return result;
}

int InputLoad(const Input& in, const char** reason) {
    if (in.inMemory)
        return MusicRenderOpen(in.bytes.data(), static_cast<uint32_t>(in.bytes.size()),
                               kMusicSourceMemory, reason);
    return MusicRenderOpen(in.name.c_str(), 0, kMusicSourceFile, reason);
}

// The 20-character name at offset 17 of the module, trimmed.
std::string ModuleName(const Input& in) {
    if (in.bytes.size() < 37) return "";
    std::string name(reinterpret_cast<const char*>(in.bytes.data()) + 17, 20);
    name = name.substr(0, name.find('\0'));
    while (!name.empty() && name.back() == ' ') name.pop_back();
    for (char& c : name)
        if (static_cast<unsigned char>(c) < 32 || static_cast<unsigned char>(c) > 126) c = '?';
    return name;
}

enum class SongEnd { kLimit, kLoops, kHalt, kStopped, kWriteFailed };

// A row whose tick count has passed its length (speed 0, and no pattern delay) never
// ends: its later ticks repeat for ever and the song has halted. Then *end is the
// frame, counted from the end of the slice just rendered, at which the row's first
// tick ends, and the result is 1.
int HaltingTickEnd(const XmPlayer* p, int64_t* end) {
    if (p->tick <= p->speed + p->patternDelayTicks) return 0;
    // The tick being mixed is the row's tick - 1; every tick of the row is as long.
    *end = static_cast<int64_t>(p->framesLeftInTick) -
           static_cast<int64_t>(p->tick - 1) * p->samplesPerTick;
    return 1;
}

// Fades the last frames down to silence, so the file does not end on a jump.
void FadeOut(int16_t* samples, uint32_t frames) {
    const uint32_t n = frames < kFadeFrames ? frames : kFadeFrames;
    int16_t* s = samples + 2 * (frames - n);
    for (uint32_t i = 0; i < n; ++i)
        for (int c = 0; c < 2; ++c)
            s[2 * i + c] = static_cast<int16_t>(s[2 * i + c] * static_cast<int32_t>(n - 1 - i) /
                                                static_cast<int32_t>(n));
}

// Renders the song opened by InputLoad from its start into `wav`, or only counts its
// frames when `wav` is null. Frames are written kWriteFrames at a time, and the last
// kFadeFrames are held back until the end is known, in case it is a halt that fades them.
SongEnd RenderSong(const Options& o, WavFile* wav, bool progress, uint64_t* framesOut) {
    const XmPlayer* player = MusicPlayerState();
    const uint64_t frameLimit = static_cast<uint64_t>(o.seconds * 44100.0);
    const uint32_t loopTarget = static_cast<uint32_t>(o.loops);
    int16_t held[2 * (kWriteFrames + kMusicSliceFrames + kFadeFrames)];
    uint32_t heldFrames = 0;
    uint64_t frames = 0;  // rendered and kept, held ones included
    int64_t haltEnd = -1;
    SongEnd end = SongEnd::kLimit;
    for (uint32_t slices = 1;; ++slices) {
        if (StopSignalCaught()) {
            end = SongEnd::kStopped;
            break;
        }
        const uint32_t slice = MusicNextSlice();
        const uint32_t loopsBefore = player->songLoops;
        RenderSlice();
        uint64_t take = kMusicSliceFrames;
        bool last = false;
        if (loopTarget && player->songLoops >= loopTarget && player->songLoops != loopsBefore) {
            take = player->songLoopFrame;  // the frame at which the song started over
            end = SongEnd::kLoops;
            last = true;
        }
        int64_t tickEnd;
        if (loopTarget && haltEnd < 0 && HaltingTickEnd(player, &tickEnd))
            haltEnd = static_cast<int64_t>(frames + kMusicSliceFrames) + tickEnd;
        if (haltEnd >= 0 && static_cast<uint64_t>(haltEnd) - frames <= take) {
            take = static_cast<uint64_t>(haltEnd) - frames;
            end = SongEnd::kHalt;
            last = true;
        }
        if (frames + take > frameLimit || (frames + take == frameLimit && !last)) {
            take = frameLimit - frames;
            end = SongEnd::kLimit;
            last = true;
        }
        std::memcpy(held + 2 * heldFrames, MusicRingSlice(slice), take * 4);
        heldFrames += static_cast<uint32_t>(take);
        frames += take;
        if (progress && (slices % 50 == 0 || last)) {
            char line[80];
            std::snprintf(line, sizeof line, "rendering %7.1f s  order %3u/%u  row %3u",
                          frames / 44100.0, player->order, player->module->songLength, player->row);
            ToolProgressShow(line);
        }
        if (last) break;
        if (heldFrames < kWriteFrames + kFadeFrames) continue;
        if (wav && !WavFileAppend(wav, held, kWriteFrames)) return SongEnd::kWriteFailed;
        std::memmove(held, held + 2 * kWriteFrames, (heldFrames - kWriteFrames) * 4);
        heldFrames -= kWriteFrames;
    }
    if (progress) std::fputc('\n', stderr);
    if (end == SongEnd::kHalt) FadeOut(held, heldFrames);
    if (wav && heldFrames && !WavFileAppend(wav, held, heldFrames)) return SongEnd::kWriteFailed;
    *framesOut = frames;
    return end;
}

}  // namespace

int main(int argc, char** argv) {
    ToolStart("xm2wav");
    for (int i = 1; i < argc && std::strcmp(argv[i], "--"); ++i) {
        if (!std::strcmp(argv[i], "--help") || !std::strcmp(argv[i], "-h")) {
            std::fputs(kUsage, stdout);
            return 0;
        }
    }
    Options o;
    std::string error;
    if (!ParseOptions(argc, argv, &o, &error)) return Fail(error);
    StopSignalInstall();

    Input in;
    const int opened = InputOpen(o.in, &in, &error);
    if (opened < 0) return Stopped();
    if (!opened) return Fail(error);
    WavFile wav;
    if (!OutputResolve(&wav.out, o.out, &error)) return Fail(error);
    if (OutputIsFile(&wav.out, &in.info, nullptr))
        return Fail(std::string(o.out) + ": is the input; it would be overwritten");
    if (wav.out.path == "-" && isatty(1))
        return Fail("-: standard output is a terminal; redirect it to a file or a program");
    const char* reason = "cannot be loaded";
    if (!InputLoad(in, &reason)) return Fail(in.name + ": " + reason);

    if (!WavFileOpen(&wav, o.out, &error)) {
        MusicRenderClose();
        return errno == EINTR && StopSignalCaught() ? Stopped() : Fail(error);
    }
    // With the WAV on standard output, the words go to standard error.
    std::FILE* words = wav.out.path == "-" ? stderr : stdout;
    const XmPlayer* player = MusicPlayerState();
    const XmModule* m = player->module;
    std::fprintf(words,
                 "%s: \"%s\", %u channels, %u patterns, %u instruments, %u orders, %s table, "
                 "speed %u, BPM %u\n",
                 in.name.c_str(), ModuleName(in).c_str(), m->channels, m->patternCount,
                 m->instrumentCount, m->songLength,
                 (m->flags & kXmLinearFrequencies) ? "linear" : "Amiga", m->defaultTempo,
                 m->defaultBpm);
    std::fflush(words);

    uint64_t frames = 0;
    if (!WavFileCanSeek(&wav)) {
        // The header goes out first: a first pass measures the song.
        if (RenderSong(o, nullptr, false, &frames) == SongEnd::kStopped) {
            MusicRenderClose();
            WavFileAbandon(&wav);
            return Stopped();
        }
        WavFileAnnounce(&wav, frames);
        MusicRenderClose();
        if (!InputLoad(in, &reason)) return Fail(in.name + ": " + reason);
    }
    const SongEnd end = RenderSong(o, &wav, isatty(2), &frames);
    const uint32_t order = player->order, row = player->row;
    MusicRenderClose();
    if (end == SongEnd::kWriteFailed) {
        const int why = errno ? errno : EIO;
        WavFileAbandon(&wav);
        return Fail(std::string(o.out) + ": " + std::strerror(why));
    }
    if (!WavFileFinish(&wav, &error)) return Fail(error);

    const double seconds = frames / 44100.0;
    if (end == SongEnd::kStopped) {
        std::fprintf(
            stderr, "xm2wav: stopped by %s at %.2f s (order %u, row %u); %s holds %llu frames\n",
            StopSignalName(), seconds, order, row, o.out, static_cast<unsigned long long>(frames));
        return kStopSignalStatus;
    }
    char why[96];
    if (end == SongEnd::kHalt)
        std::snprintf(why, sizeof why, "the song halts on order %u, row %u", order, row);
    else if (end == SongEnd::kLoops)
        std::snprintf(why, sizeof why,
                      o.loops == 1 ? "the song starts over" : "the song has started over %ld times",
                      o.loops);
    else
        std::snprintf(why, sizeof why, "the %g-s limit", o.seconds);
    std::fprintf(words, "%s: %.2f s, %llu frames (%s)\n", o.out, seconds,
                 static_cast<unsigned long long>(frames), why);
    return 0;
}
