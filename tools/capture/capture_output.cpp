// Screen pictures and the ffmpeg processes of the capture tool.
#include "tools/capture/capture_output.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "display/present_scale.h"

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

// Starts ffmpeg with the arguments after its name, standard input, output and error
// on the given descriptors, in a new process group, with default signal handling.
// Returns its process id, or 0.
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
    return pid;
}

// Waits for a process; its wait status, or -1.
static int WaitFor(pid_t pid) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) return -1;
    }
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
                                           video->videoTemporary};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    video->pid = FfmpegStart(arguments, pipeFds[0], null, fileno(video->said));
    close(null);
    close(pipeFds[0]);
    video->fd = pipeFds[1];
    if (!video->pid) {
        *error = "cannot start ffmpeg";
        return 0;
    }
    return 1;
}

int VideoAppend(VideoPipe* video, const std::vector<uint16_t>& picture) {
    // rgb565le: the pixels as they are on a little-endian machine.
    return WriteAll(video->fd, picture.data(), picture.size() * 2);
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
    const std::vector<std::string> rest = {
        "-i",   video->videoTemporary, "-i", wavPath, "-c:v", "copy", "-c:a", "aac", "-b:a",
        "192k", "-shortest",           "-f", "mp4"};
    arguments.insert(arguments.end(), rest.begin(), rest.end());
    int out = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (mp4->direct) {
        // A pipe or a device cannot seek back to complete the index: fragments instead.
        arguments.insert(arguments.end(), {"-movflags", "frag_keyframe+empty_moov", "pipe:1"});
        close(out);
        out = mp4->fd;
    } else {
        arguments.push_back(mp4->temporary);
    }
    ftruncate(fileno(video->said), 0);  // what the encoder said is over
    std::rewind(video->said);
    const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t pid = FfmpegStart(arguments, in, out, fileno(video->said));
    close(in);
    if (out != mp4->fd) close(out);
    const int muxed = pid ? WaitFor(pid) : -1;
    if (muxed != 0) {
        *error = "ffmpeg could not write " + mp4->path + ": " + FfmpegWords(video->said, muxed);
        VideoAbandon(video);
        OutputAbandon(mp4);
        return 0;
    }
    VideoAbandon(video);
    return OutputCommit(mp4, error);
}

void VideoAbandon(VideoPipe* video) {
    if (video->fd >= 0 || video->pid) VideoEnd(video);
    if (video->said) std::fclose(video->said);
    video->said = nullptr;
    if (!video->videoTemporary.empty()) unlink(video->videoTemporary.c_str());
    video->videoTemporary.clear();
}
