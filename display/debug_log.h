// The shell's log routine. Formats begin with a line feed.
#pragma once

// Writes only while a log file is open; the program never opens one, so every call
// returns 0 without effect. Returns 1 when something was written.
int DebugLog(const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

// Opens (path non-null) or closes (null) the log file. Only tools and tests use it.
int DebugLogOpen(const char* path);
