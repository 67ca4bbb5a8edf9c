// Screen pictures and the ffmpeg processes of the capture tool.
#include "tools/capture/capture_output.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "display/present_scale.h"
#include "tools/common/stop_signal.h"

extern char** environ;

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

constexpr std::chrono::seconds kFfmpegGrace{kFfmpegGraceSeconds};

// A file name as ffmpeg reads it: without the prefix, "a:b.mp4" or "2026-11-24T12:30.mp4"
// name a protocol and "-x.mp4" an option.
static std::string FfmpegFile(const std::string& path) {
    return "file:" + path;
}

// Starts ffmpeg with the arguments after its name, standard input, output and error
// on the given descriptors, in a new process group, with default signal handling.
// Returns its process id (also its group's, which a second stop request kills), or 0.
static pid_t FfmpegStart(const std::vector<std::string>& arguments, int in, int out, int err) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>("ffmpeg"));
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, in, 0);
    posix_spawn_file_actions_adddup2(&files, out, 1);
    posix_spawn_file_actions_adddup2(&files, err, 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);  // capture ignores it; ffmpeg should not
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    pid_t pid = 0;
    if (posix_spawnp(&pid, "ffmpeg", &files, &attributes, argv.data(), environ) != 0) pid = 0;
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
    if (pid) StopSignalKeepChild(pid);
    return pid;
}

// The processor time a process has used, in clock ticks (-1 when it cannot be read).
static long ProcessorTicks(pid_t pid) {
    char name[32];
    std::snprintf(name, sizeof name, "/proc/%d/stat", static_cast<int>(pid));
    std::FILE* f = std::fopen(name, "r");
    if (!f) return -1;
    char line[1024];
    const size_t n = std::fread(line, 1, sizeof line - 1, f);
    std::fclose(f);
    line[n] = '\0';
    // Fields 14 and 15 (user and system time) follow the command name's closing bracket.
    const char* p = std::strrchr(line, ')');
    long user = -1, system = -1;
    if (!p || std::sscanf(p + 1, " %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %ld %ld", &user,
                          &system) != 2)
        return -1;
    return user + system;
}

// Once a stop has been asked for, watches a child: when it has used no processor time
// for kFfmpegGrace its process group is ended (SIGTERM, then SIGKILL a second later).
struct IdleWatch {
    long ticks = -2;
    std::chrono::steady_clock::time_point since;
    int ended = 0;  // signals sent
};
static void IdleWatchStep(pid_t pid, IdleWatch* w) {
    const auto now = std::chrono::steady_clock::now();
    const long ticks = ProcessorTicks(pid);
    if (ticks != w->ticks || w->ticks == -2) {
        w->ticks = ticks;
        w->since = now;
        if (!w->ended) return;
    }
    if (!w->ended && now - w->since >= kFfmpegGrace) {
        kill(-pid, SIGTERM);
        w->ended = 1;
        w->since = now;
    } else if (w->ended == 1 && now - w->since >= std::chrono::seconds(1)) {
        kill(-pid, SIGKILL);
        w->ended = 2;
    }
}

// Waits for a child; its wait status, or -1. After a stop request an idle child is
// ended (IdleWatch).
static int WaitFor(pid_t pid) {
    IdleWatch watch;
    int status = 0;
    for (;;) {
        const pid_t done = waitpid(pid, &status, StopSignalCaught() ? WNOHANG : 0);
        if (done == pid) break;
        if (done < 0 && errno != EINTR) {
            status = -1;
            break;
        }
        if (StopSignalCaught()) {
            IdleWatchStep(pid, &watch);
            usleep(20000);
        }
    }
    StopSignalForgetChild(pid);
    return status;
}

// The last line ffmpeg wrote to `said`, or its exit status.
static std::string FfmpegWords(std::FILE* said, int status) {
    std::string last, line;
    if (said) {
        std::rewind(said);
        for (int c; (c = std::fgetc(said)) != EOF;) {
            if (c != '\n' && c != '\r') {
                line += static_cast<char>(c);
            } else if (!line.empty()) {
                last.swap(line);
                line.clear();
            }
        }
        if (!line.empty()) last.swap(line);
    }
    if (!last.empty()) return "ffmpeg said: " + last;
    if (WIFSIGNALED(status))
        return "ffmpeg was killed by signal " + std::to_string(WTERMSIG(status));
    if (WIFEXITED(status))
        return "ffmpeg exited with status " + std::to_string(WEXITSTATUS(status));
    return "ffmpeg could not be waited for";
}

bool FfmpegAvailable() {
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    const pid_t pid = FfmpegStart({"-version"}, null, null, null);
    close(null);
    if (!pid) return false;
    const int status = WaitFor(pid);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

static const std::vector<std::string> kQuiet = {"-nostdin", "-hide_banner", "-loglevel", "error",
                                                "-y"};

int VideoOpen(VideoPipe* video, const std::string& directory, int32_t width, int32_t height,
              int32_t fps, std::string* error) {
    video->videoTemporary = directory + "/.capture-video.XXXXXX";
    const int file = mkostemp(video->videoTemporary.data(), O_CLOEXEC);
    if (file < 0) {
        *error = video->videoTemporary + ": " + std::strerror(errno);
        video->videoTemporary.clear();
        return 0;
    }
    close(file);
    StopSignalKeepFile(video->videoTemporary.c_str());
    int pipeFds[2];
    video->said = std::tmpfile();
    if (!video->said || pipe2(pipeFds, O_CLOEXEC) != 0) {
        *error = std::string("cannot start ffmpeg: ") + std::strerror(errno);
        return 0;
    }
    std::vector<std::string> arguments = kQuiet;
    arguments.erase(arguments.begin());  // its standard input is the frames
    const std::vector<std::string> rest = {"-f",
                                           "rawvideo",
                                           "-pix_fmt",
                                           "rgb565le",
                                           "-s",
                                           std::to_string(width) + "x" + std::to_string(height),
                                           "-framerate",
                                           std::to_string(fps),
                                           "-i",
                                           "-",
                                           "-c:v",
                                           "libx264",
                                           "-preset",
                                           "medium",
                                           "-crf",
                                           "18",
                                           "-pix_fmt",
                                           "yuv420p",
                                           "-f",
                                           "mp4",
                                           FfmpegFile(video->videoTemporary)};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    video->pid = FfmpegStart(arguments, pipeFds[0], null, fileno(video->said));
    close(null);
    close(pipeFds[0]);
    video->fd = pipeFds[1];
    // Written without blocking, so that a stop request is seen while ffmpeg is busy.
    fcntl(video->fd, F_SETFL, O_NONBLOCK);
    if (!video->pid) {
        *error = "cannot start ffmpeg";
        return 0;
    }
    return 1;
}

int VideoAppend(VideoPipe* video, const std::vector<uint16_t>& picture) {
    // rgb565le: the pixels as they are on a little-endian machine.
    const char* p = reinterpret_cast<const char*>(picture.data());
    size_t count = picture.size() * 2;
    IdleWatch watch;
    while (count > 0) {
        const ssize_t n = write(video->fd, p, count);
        if (n > 0) {
            p += n;
            count -= static_cast<size_t>(n);
            continue;
        }
        if (n < 0 && errno != EAGAIN && errno != EINTR) return 0;
        // The pipe is full: ffmpeg is behind. After a stop request it still takes the
        // frame begun, unless it has stopped working.
        if (StopSignalCaught()) IdleWatchStep(video->pid, &watch);
        pollfd room = {video->fd, POLLOUT, 0};
        poll(&room, 1, StopSignalCaught() ? 20 : -1);
    }
    return 1;
}

// Closes the stream and waits for the encoder; its wait status.
static int VideoEnd(VideoPipe* video) {
    if (video->fd >= 0) close(video->fd);
    video->fd = -1;
    const int status = video->pid ? WaitFor(video->pid) : -1;
    video->pid = 0;
    return status;
}

std::string VideoFailure(VideoPipe* video) {
    return FfmpegWords(video->said, VideoEnd(video));
}

int VideoFinish(VideoPipe* video, const std::string& wavPath, OutputFile* mp4, std::string* error) {
    const int encoded = VideoEnd(video);
    if (encoded != 0) {
        *error = "ffmpeg failed while encoding the video: " + FfmpegWords(video->said, encoded);
        VideoAbandon(video);
        OutputAbandon(mp4);
        return 0;
    }
    std::vector<std::string> arguments = kQuiet;
    const std::vector<std::string> rest = {"-i",        FfmpegFile(video->videoTemporary),
                                           "-i",        FfmpegFile(wavPath),
                                           "-c:v",      "copy",
                                           "-c:a",      "aac",
                                           "-b:a",      "192k",
                                           "-shortest", "-f",
                                           "mp4"};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    int out = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (mp4->direct) {
        // A pipe or a device cannot seek back to complete the index: fragments instead.
        arguments.insert(arguments.end(), {"-movflags", "frag_keyframe+empty_moov", "pipe:1"});
        close(out);
        out = mp4->fd;
    } else {
        arguments.push_back(FfmpegFile(mp4->temporary));
    }
    ftruncate(fileno(video->said), 0);  // what the encoder said is over
    std::rewind(video->said);
    const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t pid = FfmpegStart(arguments, in, out, fileno(video->said));
    close(in);
    if (out != mp4->fd) close(out);
    const int muxed = pid ? WaitFor(pid) : -1;
    // With only errors shown, any word is one: a reader that went away ("Broken pipe")
    // still leaves ffmpeg's status 0.
    struct stat said;
    if (muxed != 0 || (fstat(fileno(video->said), &said) == 0 && said.st_size > 0)) {
        *error = "ffmpeg could not write " + mp4->path + ": " + FfmpegWords(video->said, muxed);
        VideoAbandon(video);
        OutputAbandon(mp4);
        return 0;
    }
    VideoAbandon(video);
    return OutputCommit(mp4, error);
}

void VideoAbandon(VideoPipe* video) {
    if (video->pid && !StopSignalCaught()) kill(-video->pid, SIGTERM);
    if (video->fd >= 0 || video->pid) VideoEnd(video);
    if (video->said) std::fclose(video->said);
    video->said = nullptr;
    if (!video->videoTemporary.empty()) {
        unlink(video->videoTemporary.c_str());
        StopSignalForgetFile(video->videoTemporary.c_str());
    }
    video->videoTemporary.clear();
}
