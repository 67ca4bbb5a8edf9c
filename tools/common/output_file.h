// Where a tool's output goes and how it gets there without harming anything else.
// A regular file (or a name not yet taken) is written under a unique temporary name
// beside it and renamed over it when complete, so it appears only whole; a symbolic
// link is followed, so the file it points to is replaced and the link stays. Standard
// output ("-"), devices and FIFOs are written directly: renaming over them would put a
// regular file in their place.
#pragma once
#include <sys/stat.h>

#include <cstdint>
#include <string>

struct OutputFile {
    std::string path;       // as the user gave it
    std::string target;     // the file replaced when finished (links followed)
    std::string temporary;  // written until then; empty when written directly
    int fd = -1;
    bool direct = false;    // standard output, a device or a FIFO
    bool seekable = false;  // the start can be rewritten (a header fixed up at the end)
    int64_t start = 0;      // offset of the first byte written
};

// Finds where `path` leads without opening anything. Returns 1, or 0 with the reason.
int OutputResolve(OutputFile* out, const char* path, std::string* error);
// Resolves and opens: creates the temporary file (with the mode a new file would get,
// or the replaced file's own; a second stop request removes it) or opens the direct
// target. Opening a FIFO waits for its reader; "-" fails when the tool was started with
// standard output closed. Returns 1, or 0 with the reason.
int OutputOpen(OutputFile* out, const char* path, std::string* error);
// Writes all bytes to a descriptor, resuming after interruptions. Returns 0 when the
// write fails (errno says why).
int WriteAll(int fd, const void* bytes, size_t count);
inline int OutputWrite(OutputFile* out, const void* bytes, size_t count) {
    return WriteAll(out->fd, bytes, count);
}
// Writes bytes at `offset` from the start (seekable outputs only). Returns 0 on failure.
int OutputWriteAt(OutputFile* out, int64_t offset, const void* bytes, size_t count);
// Closes and renames the temporary file over the target. Returns 1, or 0 with the
// reason (the temporary file is then removed).
int OutputCommit(OutputFile* out, std::string* error);
// Closes and removes the temporary file, if any.
void OutputAbandon(OutputFile* out);

// 1 when two output names lead to one file (standard output for both, or the same file
// through links, or one not yet made): two outputs of a run would overwrite each other.
// A character device (a terminal, /dev/null) may take several.
int OutputSame(const char* a, const char* b);

// 1 when the resolved output is the file `other` describes (same device and inode) or
// names the same place as `otherPath` (when non-null): writing it would destroy it.
int OutputIsFile(const OutputFile* out, const struct stat* other, const char* otherPath);
