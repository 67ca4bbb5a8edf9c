// The lookup tables the fillers read: log2 of each texture width and the blend levels.
// The storage lives here, beside its readers; the engine fills it once at start-up
// (LookupTablesInit in engine/tables.h) before the first frame.
#pragma once
#include <cstdint>

constexpr int32_t kLog2TableSize = 1025;  // indexed by a texture width, 1..1024
constexpr int32_t kBlendLevels = 8;       // weights 0/7 .. 7/7

// Log2Table[w] = log2(w) for every power of two w from 1 to 1024; other entries 0.
extern uint8_t Log2Table[kLog2TableSize];

// BlendTable[k][p] = the 5.6.5 pixel p with each channel scaled by k / 7.
extern uint16_t BlendTable[kBlendLevels][65536];
