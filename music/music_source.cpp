// Module sources: memory images (also the form a resource takes once found) and files.
#include "music/music_source.h"

#include <cstring>

#include "music/wave_device.h"

int MusicSourceOpen(MusicSource* source, const void* first, uint32_t second, uint32_t kind) {
    *source = MusicSource{};
    source->kind = kind;
    if (kind == kMusicSourceMemory) {
        source->base = static_cast<const uint8_t*>(first);
        source->size = second;
        return first != nullptr;
    }
    if (kind == kMusicSourceResource) {
        const void* base = nullptr;
        uint32_t size = 0;
        if (!WaveResourceFind(first, reinterpret_cast<const void*>(uintptr_t{second}), &base,
                              &size))
            return 0;
        source->base = static_cast<const uint8_t*>(base);
        source->size = size;
        return 1;
    }
    source->file = std::fopen(static_cast<const char*>(first), "rb");
    if (!source->file) return 0;
    if (std::fseek(source->file, 0, SEEK_END) == 0) source->size = std::ftell(source->file);
    if (source->size < 0) source->size = 0;
    std::fseek(source->file, 0, SEEK_SET);
    return 1;
}

uint32_t MusicSourceRead(MusicSource* source, void* dest, uint32_t count) {
    const int64_t position = source->position;
    source->position = position + count;
    if (position < 0 || position >= source->size) return 0;
    int64_t available = source->size - position;
    const uint32_t copied = available < count ? static_cast<uint32_t>(available) : count;
    if (source->file) {
        if (std::ftell(source->file) != position &&
            std::fseek(source->file, static_cast<long>(position), SEEK_SET) != 0)
            return 0;
        return static_cast<uint32_t>(std::fread(dest, 1, copied, source->file));
    }
    std::memcpy(dest, source->base + position, copied);
    return copied;
}

void MusicSourceSeek(MusicSource* source, int64_t offset, int relative) {
    int64_t position = relative ? source->position + offset : offset;
    if (position > source->size) position = source->size;
    source->position = position;
}

int64_t MusicSourceRemaining(const MusicSource* source) {
    if (source->position < 0 || source->position >= source->size) return 0;
    return source->size - source->position;
}

void MusicSourceClose(MusicSource* source) {
    if (source->file) std::fclose(source->file);
    *source = MusicSource{};
}
