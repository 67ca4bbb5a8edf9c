// The music subsystem's entry points: StartMusic loads a module and starts the looping
// wave ring with its stream thread; StopMusic ends both and frees the module.
#pragma once
#include <cstdint>

#include "music/music_source.h"

struct XmPlayer;

// The ring the device plays in a loop: 100 slices of 884 stereo 16-bit frames.
constexpr uint32_t kMusicSliceFrames = 884;
constexpr uint32_t kMusicSlices = 100;
constexpr uint32_t kMusicRingFrames = kMusicSliceFrames * kMusicSlices;  // 88400
constexpr uint32_t kMusicRingBytes = kMusicRingFrames * 4;               // 353600

// Stops any earlier playback, loads the module from source (kind: kMusicSource*),
// renders the whole ring, starts the device and the stream thread. Non-zero when
// playback started; 0 when the device cannot be opened or the module cannot be loaded.
// A null source returns at once with an arbitrary non-zero value.
uint32_t StartMusic(const void* source, uint32_t size, uint32_t kind);

// Ends the stream thread, closes the device and frees the module. Does nothing when
// nothing plays.
void StopMusic();

// Renders the next slice of the ring and moves on to the one after it (mod 100).
void RenderSlice();

// One refill pass of the stream: renders every slice from the next one up to the one
// the device is playing, with a pause before each look. Returns 1 to go on; 0 when a
// stop was asked for, after catching up: the stream has then ended. The stream thread
// repeats it; a platform without threads calls it from its device's callback.
int MusicStreamRefill();

// Where the song was at the end of the slice now being heard (the oldest in the
// ring). Only the low 8 bits of the order and row results are meaningful: the upper
// bits hold the fields that follow them (deliberate).
uint32_t GetMusicOrder();
uint32_t GetMusicRow();
uint32_t GetMusicTime();  // elapsed play time in milliseconds

// The slice being heard for a byte count from the device: ((bytes / 4) mod 88400) / 884.
uint32_t MusicPlayingSlice(uint32_t bytesPlayed);

// Offline rendering (tools, tests): loads the module and resets the player without a
// device or a thread; the caller then calls RenderSlice and reads each slice. Returns
// 1, or 0 with *reason saying why the module cannot be played.
int MusicRenderOpen(const void* source, uint32_t size, uint32_t kind, const char** reason);
// Frees the module loaded by MusicRenderOpen.
void MusicRenderClose();
// The 1768 samples (left, right) of a slice of the ring.
const int16_t* MusicRingSlice(uint32_t slice);
// The index of the slice that RenderSlice fills next.
uint32_t MusicNextSlice();
// The player, for reading its state (order, row, loops, module header).
const XmPlayer* MusicPlayerState();

// Converts mixed floats to 16-bit: rounded to nearest (ties to even), clamped.
void MusicConvert(const float* in, int16_t* out, uint32_t count);
