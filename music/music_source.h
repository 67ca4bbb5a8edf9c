// Module sources: the module image read through open / read / seek / close, from a
// resource, a memory block or a file. The loader reads modules only through these.
#pragma once
#include <cstdint>
#include <cstdio>

// The third argument of StartMusic: where the first two arguments point.
enum : uint32_t {
    kMusicSourceResource = 0,  // resource name, module instance handle (Windows only)
    kMusicSourceMemory = 1,    // pointer to the bytes, length in bytes
    kMusicSourceFile = 2,      // path, ignored (2 and above)
};

struct MusicSource {
    uint32_t kind;
    const uint8_t* base;  // memory image (memory and resource kinds)
    int64_t size;         // bytes in the image or the file
    int64_t position;     // read position; may lie past the end after a long read
    std::FILE* file;      // file kind
};

// Opens the source. Returns 1 on success, 0 when the resource or file cannot be found
// (the resource kind always fails outside Windows).
int MusicSourceOpen(MusicSource* source, const void* first, uint32_t second, uint32_t kind);

// Copies up to count bytes to dest and moves the position by count, even when the read
// runs past the end (only the bytes that exist are copied; the rest of dest is left
// as it was). Returns the number of bytes copied.
uint32_t MusicSourceRead(MusicSource* source, void* dest, uint32_t count);

// Moves the read position to offset, or by offset when relative is non-zero. The result
// is limited to at most the size; there is no lower limit.
void MusicSourceSeek(MusicSource* source, int64_t offset, int relative);

// Bytes between the read position and the end (0 when the position is past the end or
// before the start).
int64_t MusicSourceRemaining(const MusicSource* source);

void MusicSourceClose(MusicSource* source);
