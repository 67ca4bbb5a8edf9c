// The text palette reader of the dormant 8-bit display path.
#include <cstdio>

#include "display/display.h"

// 256 records of "%d %d %d %d" (red, green, blue, flags); only the low byte of each
// value survives, stored at its channel's byte.
int PaletteLoadFile(const char* path, uint8_t* entries) {
    FILE* file = fopen(path, "r");
    if (!file) return 0;
    for (int i = 0; i < 256; ++i) {
        int value[4] = {0, 0, 0, 0};
        if (fscanf(file, "%d %d %d %d", &value[0], &value[1], &value[2], &value[3]) != 4) break;
        for (int c = 0; c < 4; ++c) entries[i * 4 + c] = static_cast<uint8_t>(value[c]);
    }
    fclose(file);
    return 1;
}
