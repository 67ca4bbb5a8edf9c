// The Windows wave device: wave-out with one looping header over the whole ring,
// the position read in bytes; CreateThread and Sleep; modules as RCDATA resources.
#include <windows.h>
// After windows.h, which it builds on.
#include <mmsystem.h>

#include "music/wave_device.h"

namespace {

// PCM, 2 channels, 44100 Hz, 176400 bytes a second, 4-byte frames, 16 bits.
const WAVEFORMATEX kFormat = {WAVE_FORMAT_PCM, 2, 44100, 176400, 4, 16, 0};

HWAVEOUT gWaveOut;
WAVEHDR gHeader;
MMTIME gTime;
void (*gThreadEntry)();

DWORD WINAPI ThreadEntry(LPVOID) {
    gThreadEntry();
    return 0;
}

}  // namespace

int WaveDeviceOpen() {
    return waveOutOpen(&gWaveOut, WAVE_MAPPER, &kFormat, 0, 0, CALLBACK_NULL) == MMSYSERR_NOERROR;
}

void WaveDevicePrepare(void* ring, uint32_t bytes) {
    gHeader = WAVEHDR{};
    gHeader.lpData = static_cast<LPSTR>(ring);
    gHeader.dwBufferLength = bytes;
    gHeader.dwLoops = 0xFFFFFFFF;
    gHeader.dwFlags = WHDR_BEGINLOOP | WHDR_ENDLOOP;
    waveOutPrepareHeader(gWaveOut, &gHeader, sizeof gHeader);
}

void WaveDeviceWrite() {
    gTime.wType = TIME_BYTES;
    waveOutWrite(gWaveOut, &gHeader, sizeof gHeader);
}

uint32_t WaveDevicePosition() {
    waveOutGetPosition(gWaveOut, &gTime, sizeof gTime);
    return gTime.u.cb;
}

void WaveDeviceUnprepare() {
    // Deliberate order: unprepared while still playing (the result is ignored) and the
    // prepared flag cleared by hand, before the reset.
    waveOutUnprepareHeader(gWaveOut, &gHeader, sizeof gHeader);
    gHeader.dwFlags &= ~static_cast<DWORD>(WHDR_PREPARED);
}

void WaveDeviceReset() {
    waveOutReset(gWaveOut);
}

void WaveDeviceClose() {
    waveOutClose(gWaveOut);
}

void WaveThreadStart(void (*entry)()) {
    gThreadEntry = entry;
    HANDLE thread = CreateThread(nullptr, 0, ThreadEntry, nullptr, 0, nullptr);
    if (thread) CloseHandle(thread);
}

void WaveSleep(uint32_t milliseconds) {
    Sleep(milliseconds);
}

int WaveResourceFind(const void* name, const void* instance, const void** base, uint32_t* size) {
    HMODULE module = static_cast<HMODULE>(const_cast<void*>(instance));
    HRSRC resource = FindResourceA(module, static_cast<LPCSTR>(name), MAKEINTRESOURCEA(10));
    if (!resource) return 0;
    HGLOBAL loaded = LoadResource(module, resource);
    if (!loaded) return 0;
    *size = SizeofResource(module, resource);
    *base = LockResource(loaded);
    return *base != nullptr;
}
