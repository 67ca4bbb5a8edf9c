// The platform seam of the music subsystem: the wave device that plays one looping
// ring of 44100 Hz stereo 16-bit sound, the stream thread, the sleep and resources.
// Windows uses wave-out and CreateThread, Linux SDL audio and std::thread; the
// headless device (tests, tools) plays nothing and reports a position set by the caller.
#pragma once
#include <cstdint>

// Opens the default output for PCM 44100 Hz, 2 channels, 16 bits. 1 on success, 0 when
// there is no device.
int WaveDeviceOpen();
// Hands the device the ring that it will play from its start, over and over.
void WaveDevicePrepare(void* ring, uint32_t bytes);
// Starts playing the prepared ring in a loop.
void WaveDeviceWrite();
// Bytes played since WaveDeviceWrite (32-bit, wraps).
uint32_t WaveDevicePosition();
// Releases the prepared ring; the caller then resets and closes, in that order.
void WaveDeviceUnprepare();
// Stops playing.
void WaveDeviceReset();
void WaveDeviceClose();

// Starts entry on a thread of its own (default stack, no handle kept).
void WaveThreadStart(void (*entry)());
void WaveSleep(uint32_t milliseconds);

// Finds a module stored as a program resource (type RT_RCDATA). 1 and the bytes on
// success; 0 where resources do not exist (Linux).
int WaveResourceFind(const void* name, const void* instance, const void** base, uint32_t* size);
