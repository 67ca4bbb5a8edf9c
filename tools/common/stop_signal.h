// Ctrl-C and SIGTERM for the tools: the first asks the tool to stop at the next point
// where what it has made can be finished cleanly; a second ends it at once, and leaves
// nothing behind: the temporary files it keeps are removed and the child processes it
// keeps are killed first.
#pragma once
#include <sys/types.h>

// Installs the handlers for SIGINT and SIGTERM and ignores SIGPIPE (a closed pipe
// then shows as a failed write, which the tool reports). Blocking calls return early
// with EINTR when a signal arrives.
void StopSignalInstall();
// The signal that asked to stop, or 0.
int StopSignalCaught();
// "SIGINT" or "SIGTERM".
const char* StopSignalName();
// The exit status of a run stopped by a signal.
constexpr int kStopSignalStatus = 130;

// What a second request cleans up: a temporary file (until it is renamed or removed),
// and a child process in a process group of its own (until it has been waited for),
// whose whole group is killed. Returns 0 when there is no room left to keep it.
int StopSignalKeepFile(const char* path);
void StopSignalForgetFile(const char* path);
void StopSignalKeepChild(pid_t group);
void StopSignalForgetChild(pid_t group);
