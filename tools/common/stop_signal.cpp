// Stop requests from signals, for the tools' long loops.
#include "tools/common/stop_signal.h"

#include <csignal>

static volatile std::sig_atomic_t gCaught;

static void OnStop(int signal) {
    if (gCaught) {
        // The second request: the user does not want to wait for the finishing.
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    gCaught = signal;
}

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
