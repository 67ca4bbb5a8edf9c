// Building the renderer's lookup tables: log2 of the texture widths and the blend levels.
#pragma once
#include <cstdint>

#include "raster/lookup_tables.h"

// Fills Log2Table and BlendTable. Called once by AppInit before anything renders.
void LookupTablesInit();

// One 5.6.5 pixel with every channel scaled by level / 7 (the BlendTable entry).
uint16_t BlendScalePixel(uint32_t pixel, int32_t level);
