// A contact sheet: frames of the show reduced to thumbnails on a grid, each with its
// show time and scene written under it in the intro's own font, one row per scene
// (a long scene takes several rows).
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tools/common/output_file.h"

constexpr uint32_t kContactSheetStepMs = 2500;  // one frame every 2.5 s of show
constexpr int32_t kContactSheetColumns = 8;
constexpr int32_t kContactSheetShrink = 3;  // thumbnails a third of the frame

struct ContactSheet {
    struct Cell {
        std::vector<uint16_t> pixels;  // the thumbnail with its caption
        int32_t row, column;
    };
    std::vector<Cell> cells;
    int32_t thumbWidth = 0, thumbHeight = 0;
    int32_t lastScene = -1;
    int32_t row = -1, column = kContactSheetColumns;
};

// Called with every presented frame (`width` x `height` 5.6.5 pixels, rows `pitchBytes`
// apart) shown at `ms` of the show: a frame on the 2.5-s steps joins the sheet as the
// screen shows it, captioned with the timeline's current scene, which starts a new
// row when it changes.
void ContactSheetOffer(ContactSheet* sheet, const uint16_t* surface, int32_t pitchBytes,
                       int32_t width, int32_t height, uint32_t ms);

// Writes the sheet as a PNG into the opened output and commits it. Returns 1, or 0 with
// the reason (the output is then abandoned).
int ContactSheetWrite(const ContactSheet* sheet, OutputFile* out, std::string* error);
