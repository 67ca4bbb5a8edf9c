// Stop requests from signals, for the tools' long loops.
#include "tools/common/stop_signal.h"

#include <limits.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace {

volatile std::sig_atomic_t gCaught;

// Read by the handler, which may interrupt their update: an entry is filled before it
// is marked used, and marked unused before it is reused.
struct KeptFile {
    volatile std::sig_atomic_t used;
    char path[PATH_MAX];
};
KeptFile gFiles[16];
volatile pid_t gChildren[4];

void OnStop(int signal) {
    if (gCaught) {
        // The second request: the user does not want to wait for the finishing.
        for (const pid_t group : gChildren)
            if (group > 0) kill(-group, SIGKILL);
        for (KeptFile& f : gFiles)
            if (f.used) unlink(f.path);
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    gCaught = signal;
}

}  // namespace

void StopSignalInstall() {
    struct sigaction action = {};
    action.sa_handler = OnStop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;  // no restart: a wait for a FIFO's reader must notice the request
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

int StopSignalCaught() {
    return gCaught;
}

const char* StopSignalName() {
    return gCaught == SIGTERM ? "SIGTERM" : "SIGINT";
}

int StopSignalKeepFile(const char* path) {
    if (std::strlen(path) >= PATH_MAX) return 0;
    for (KeptFile& f : gFiles) {
        if (f.used) continue;
        std::strcpy(f.path, path);
        f.used = 1;
        return 1;
    }
    return 0;
}

void StopSignalForgetFile(const char* path) {
    for (KeptFile& f : gFiles)
        if (f.used && !std::strcmp(f.path, path)) f.used = 0;
}

void StopSignalKeepChild(pid_t group) {
    for (volatile pid_t& c : gChildren)
        if (c <= 0) {
            c = group;
            return;
        }
}

void StopSignalForgetChild(pid_t group) {
    for (volatile pid_t& c : gChildren)
        if (c == group) c = 0;
}
