// The intro's music: an XM module (12 channels, linear frequencies, speed 4, BPM 125)
// written by tools/assets/tune/generate and compiled in as bytes.
#pragma once

extern const unsigned char kTuneXm[];
extern const unsigned long kTuneXm_size;
