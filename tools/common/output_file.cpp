// Outputs of the tools: resolving links, temporary files and direct targets.
#include "tools/common/output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/common/stop_signal.h"
#include "tools/common/tool_shell.h"

static std::string Reason(const std::string& path, int error) {
    return path + ": " + std::strerror(error);
}

static std::string DirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// The target's absolute name through its directory's real path, to compare two names of
// a file that may not exist yet.
static std::string CanonicalName(const std::string& target) {
    char real[PATH_MAX];
    if (!realpath(DirectoryOf(target).c_str(), real)) return target;
    const size_t slash = target.rfind('/');
    return std::string(real) + "/" +
           (slash == std::string::npos ? target : target.substr(slash + 1));
}

int OutputResolve(OutputFile* out, const char* path, std::string* error) {
    *out = OutputFile{};
    out->path = path;
    if (out->path == "-") {
        out->target = out->path;
        out->direct = true;
        return 1;
    }
    std::string current = path;
    for (int hops = 0; hops < 40; ++hops) {
        struct stat info;
        if (lstat(current.c_str(), &info) != 0) {
            if (errno != ENOENT) {
                *error = Reason(out->path, errno);
                return 0;
            }
            out->target = current;  // a new file (its directory is checked on opening)
            return 1;
        }
        if (S_ISLNK(info.st_mode)) {
            char link[PATH_MAX];
            const ssize_t n = readlink(current.c_str(), link, sizeof link - 1);
            if (n < 0) {
                *error = Reason(out->path, errno);
                return 0;
            }
            link[n] = '\0';
            current = link[0] == '/' ? std::string(link) : DirectoryOf(current) + "/" + link;
            continue;
        }
        if (S_ISDIR(info.st_mode)) {
            *error = out->path + ": is a directory";
            return 0;
        }
        out->target = current;
        out->direct = !S_ISREG(info.st_mode);
        return 1;
    }
    *error = Reason(out->path, ELOOP);
    return 0;
}

int OutputOpen(OutputFile* out, const char* path, std::string* error) {
    if (!OutputResolve(out, path, error)) return 0;
    if (out->direct) {
        if (out->path == "-" && ToolStandardOutputClosed()) {
            *error = "-: standard output is closed";
            return 0;
        }
        out->fd = out->path == "-" ? dup(1) : open(out->target.c_str(), O_WRONLY | O_CLOEXEC);
        if (out->fd < 0) {
            *error = Reason(out->path, errno);
            return 0;
        }
        // An output opened for appending cannot be rewritten where it began.
        out->start = lseek(out->fd, 0, SEEK_CUR);
        out->seekable = out->start >= 0 && !(fcntl(out->fd, F_GETFL) & O_APPEND);
        return 1;
    }
    out->temporary = out->target + ".XXXXXX";
    out->fd = mkostemp(out->temporary.data(), O_CLOEXEC);
    if (out->fd < 0) {
        *error = Reason(out->path, errno);
        out->temporary.clear();
        return 0;
    }
    StopSignalKeepFile(out->temporary.c_str());
    struct stat replaced;
    mode_t mode;
    if (stat(out->target.c_str(), &replaced) == 0) {
        mode = replaced.st_mode & 07777;
    } else {
        const mode_t mask = umask(0);
        umask(mask);
        mode = 0666 & ~mask;
    }
    fchmod(out->fd, mode);
    out->seekable = true;
    return 1;
}

int WriteAll(int fd, const void* bytes, size_t count) {
    const char* p = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t n = write(fd, p, count);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return 0;
        p += n;
        count -= static_cast<size_t>(n);
    }
    return 1;
}

int OutputWriteAt(OutputFile* out, int64_t offset, const void* bytes, size_t count) {
    const char* p = static_cast<const char*>(bytes);
    off_t at = static_cast<off_t>(out->start + offset);
    while (count > 0) {
        const ssize_t n = pwrite(out->fd, p, count, at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return 0;
        p += n;
        at += n;
        count -= static_cast<size_t>(n);
    }
    return 1;
}

int OutputCommit(OutputFile* out, std::string* error) {
    const int closed = out->fd < 0 || close(out->fd) == 0;
    const int why = errno;
    out->fd = -1;
    if (!closed) {
        *error = Reason(out->path, why);
        OutputAbandon(out);
        return 0;
    }
    if (!out->temporary.empty() && std::rename(out->temporary.c_str(), out->target.c_str()) != 0) {
        *error = Reason(out->path, errno);
        OutputAbandon(out);
        return 0;
    }
    StopSignalForgetFile(out->temporary.c_str());
    out->temporary.clear();
    return 1;
}

void OutputAbandon(OutputFile* out) {
    if (out->fd >= 0) close(out->fd);
    out->fd = -1;
    if (!out->temporary.empty()) {
        unlink(out->temporary.c_str());
        StopSignalForgetFile(out->temporary.c_str());
    }
    out->temporary.clear();
}

int OutputIsFile(const OutputFile* out, const struct stat* other, const char* otherPath) {
    if (out->path == "-") return 0;
    struct stat info;
    if (other && stat(out->target.c_str(), &info) == 0 && info.st_dev == other->st_dev &&
        info.st_ino == other->st_ino)
        return 1;
    if (!otherPath) return 0;
    OutputFile resolved;
    std::string ignored;
    if (!OutputResolve(&resolved, otherPath, &ignored) || resolved.path == "-") return 0;
    return CanonicalName(out->target) == CanonicalName(resolved.target);
}

int OutputSame(const char* a, const char* b) {
    OutputFile x, y;
    std::string ignored;
    if (!OutputResolve(&x, a, &ignored) || !OutputResolve(&y, b, &ignored)) return 0;
    if (x.path == "-" || y.path == "-") return x.path == y.path;
    struct stat sx, sy;
    if (stat(x.target.c_str(), &sx) == 0 && stat(y.target.c_str(), &sy) == 0)
        return sx.st_dev == sy.st_dev && sx.st_ino == sy.st_ino && !S_ISCHR(sx.st_mode);
    return CanonicalName(x.target) == CanonicalName(y.target);
}
