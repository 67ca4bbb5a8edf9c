// Ctrl-C and SIGTERM for the tools: the first asks the tool to stop at the next point
// where what it has made can be finished cleanly; a second ends it at once.
#pragma once

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
