// The shell's log routine: silent unless a log file has been opened.
#include "display/debug_log.h"

#include <cstdarg>
#include <cstdio>

static FILE* gLogFile = nullptr;

int DebugLogOpen(const char* path) {
    if (gLogFile) fclose(gLogFile);
    gLogFile = path ? fopen(path, "w") : nullptr;
    return gLogFile != nullptr;
}

int DebugLog(const char* format, ...) {
    if (!format || !gLogFile) return 0;
    char buffer[1024];
    va_list args;
    va_start(args, format);
    vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    fputs(buffer, gLogFile);
    fflush(gLogFile);
    return 1;
}
