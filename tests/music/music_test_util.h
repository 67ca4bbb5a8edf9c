// Helpers of the music tests: modules built in code, loaded from memory, and a player
// to step tick by tick.
#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "music/music.h"
#include "music/music_source.h"
#include "music/xm_module.h"
#include "music/xm_player.h"
#include "tools/common/xm_writer.h"

inline int LoadBytes(const std::vector<uint8_t>& bytes, XmModule* module,
                     const char** reason = nullptr) {
    MusicSource source;
    MusicSourceOpen(&source, bytes.data(), static_cast<uint32_t>(bytes.size()), kMusicSourceMemory);
    const char* why = nullptr;
    const int loaded = LoadXmModule(module, &source, reason ? reason : &why);
    MusicSourceClose(&source);
    return loaded;
}

// Starts the stream on a module image in memory.
inline uint32_t StartMusicBytes(const std::vector<uint8_t>& bytes) {
    return StartMusic(bytes.data(), static_cast<uint32_t>(bytes.size()), kMusicSourceMemory);
}

// A module of `channels` channels, one 64-row pattern and one instrument whose single
// sample is a 16-bit ramp of 1000 values with a forward loop over its second half.
inline XmWriterModule ToneModule(uint16_t channels = 1) {
    XmWriterModule m;
    m.channels = channels;
    m.orders = {0};
    m.patterns.resize(1);
    XmWriterSample s;
    for (int i = 0; i < 1000; ++i) s.values.push_back(static_cast<int16_t>(i * 20));
    s.loopType = 1;
    s.loopStart = 500;
    s.loopLength = 500;
    XmWriterInstrument in;
    in.samples.push_back(s);
    m.instruments.push_back(in);
    return m;
}

// A loaded module with a player on it.
struct PlayerRig {
    XmModule module{};
    std::unique_ptr<XmPlayer> player = std::make_unique<XmPlayer>();
    int loaded = 0;

    explicit PlayerRig(const XmWriterModule& m) {
        loaded = LoadBytes(XmWrite(m), &module);
        if (loaded) XmPlayerReset(player.get(), &module);
    }
    ~PlayerRig() { XmModuleFree(&module); }
    XmChannel& Channel(int c = 0) { return player->channels[c]; }
    void Tick(int n = 1) {
        for (int i = 0; i < n; ++i) XmPlayerTick(player.get());
    }
};

inline XmWriterNote& Cell(XmWriterModule& m, int row, int channel = 0, int pattern = 0) {
    return XmWriterAt(m.patterns[pattern], m.channels, row, channel);
}
