// The SDL wave device: SDL audio whose callback plays the ring in a loop and counts
// the bytes it has handed on, so the stream thread runs as it does over wave-out.
#include <SDL.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "music/wave_device.h"

namespace {

SDL_AudioDeviceID gDevice;
const uint8_t* gRing;
uint32_t gRingBytes;
// The play position is the only hand-over between the stream thread and the device:
// every update while playing is a read-modify-write (the device's advance here, the
// stream thread's query in WaveDevicePosition), so each lies in the release sequence of
// the others. Slices rendered before a query are thereby ordered before the device
// copies them, and a copy before the position that lets the thread render over it.
std::atomic<uint32_t> gBytesPlayed;

void SDLCALL RingPlay(void*, Uint8* stream, int length) {
    const uint32_t played = gBytesPlayed.load(std::memory_order_acquire);
    if (!gRing) {
        std::memset(stream, 0, static_cast<size_t>(length));
        return;
    }
    uint32_t left = static_cast<uint32_t>(length);
    uint32_t offset = played % gRingBytes;
    while (left) {
        const uint32_t part = left < gRingBytes - offset ? left : gRingBytes - offset;
        std::memcpy(stream, gRing + offset, part);
        stream += part;
        left -= part;
        offset = 0;
    }
    gBytesPlayed.fetch_add(static_cast<uint32_t>(length), std::memory_order_release);
}

}  // namespace

// Without a device the show goes on silent; one line says why, in the words of whichever
// step SDL refused.
static int WaveDeviceMissing() {
    std::fprintf(stderr, "invitro: no sound, the show goes on silent: %s\n", SDL_GetError());
    return 0;
}

int WaveDeviceOpen() {
    if (gDevice) WaveDeviceClose();  // a device left open by a failed start
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return WaveDeviceMissing();
    SDL_AudioSpec want = {};
    want.freq = 44100;
    want.format = AUDIO_S16LSB;
    want.channels = 2;
    want.samples = 1024;
    want.callback = RingPlay;
    SDL_AudioSpec have;
    gDevice = SDL_OpenAudioDevice(nullptr, 0, &want, &have, 0);
    if (!gDevice) {
        WaveDeviceMissing();
        SDL_QuitSubSystem(SDL_INIT_AUDIO);
        return 0;
    }
    return 1;
}

void WaveDevicePrepare(void* ring, uint32_t bytes) {
    SDL_LockAudioDevice(gDevice);
    gRing = static_cast<const uint8_t*>(ring);
    gRingBytes = bytes;
    gBytesPlayed.store(0);
    SDL_UnlockAudioDevice(gDevice);
}

void WaveDeviceWrite() {
    SDL_PauseAudioDevice(gDevice, 0);
}

uint32_t WaveDevicePosition() {
    // Adds nothing; a read-modify-write rather than a load (see gBytesPlayed).
    return gBytesPlayed.fetch_add(0, std::memory_order_acq_rel);
}

void WaveDeviceUnprepare() {
    SDL_LockAudioDevice(gDevice);
    gRing = nullptr;
    SDL_UnlockAudioDevice(gDevice);
}

void WaveDeviceReset() {
    SDL_PauseAudioDevice(gDevice, 1);
    gBytesPlayed.store(0);
}

void WaveDeviceClose() {
    if (!gDevice) return;
    SDL_CloseAudioDevice(gDevice);
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    gDevice = 0;
}
