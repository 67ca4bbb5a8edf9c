// The tools' start, numbers and progress line.
#include "tools/common/tool_shell.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>

static const char* gName = "tool";
static int gStandardOutputClosed;

static void OutOfMemory() {
    std::fprintf(stderr, "%s: out of memory\n", gName);
    std::_Exit(1);
}

void ToolStart(const char* name) {
    gName = name;
    for (int fd = 0; fd <= 2; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0 || errno != EBADF) continue;
        if (fd == 1) gStandardOutputClosed = 1;
        // The lowest free descriptor: this one.
        if (open("/dev/null", fd == 0 ? O_RDONLY : O_WRONLY) != fd) std::_Exit(1);
    }
    std::set_new_handler(OutOfMemory);
}

int ToolStandardOutputClosed() {
    return gStandardOutputClosed;
}

int ToolDecimal(const char* text, bool whole, double* value) {
    const char* p = text;
    if (*p == '-') ++p;
    int digits = 0;
    for (; std::isdigit(static_cast<unsigned char>(*p)); ++p) ++digits;
    if (!whole && *p == '.')
        for (++p; std::isdigit(static_cast<unsigned char>(*p)); ++p) ++digits;
    if (!digits) return 0;
    if (!whole && (*p == 'e' || *p == 'E')) {
        ++p;
        if (*p == '-' || *p == '+') ++p;
        if (!std::isdigit(static_cast<unsigned char>(*p))) return 0;
        while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
    }
    if (*p) return 0;
    errno = 0;
    *value = std::strtod(text, nullptr);
    return errno != ERANGE || *value == 0;
}

int ToolTerminalColumns() {
    struct winsize size;
    if (ioctl(2, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

void ToolProgressShow(const std::string& line) {
    // One column is left free: a terminal that has written its last column may wrap.
    const size_t room = static_cast<size_t>(ToolTerminalColumns() - 1);
    // "\x1b[K" clears what a longer line before left to the right.
    std::fprintf(stderr, "\r%s\x1b[K", line.substr(0, room).c_str());
    std::fflush(stderr);
}
