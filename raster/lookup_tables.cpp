// Storage of the lookup tables (filled by the engine's LookupTablesInit).
#include "raster/lookup_tables.h"

uint8_t Log2Table[kLog2TableSize];
uint16_t BlendTable[kBlendLevels][65536];
