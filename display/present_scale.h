// The picture as it reaches the screen: the drawing surface is copied into a rectangle
// one pixel narrower and one shorter than itself (right and bottom are exclusive), so a
// 640 x 480 frame is shown scaled to 639 x 479 at the top-left of the screen.
#pragma once
#include <cstdint>

// Scales the width x height source into the (width - 1) x (height - 1) top-left part
// of the destination (same size as the source) by nearest pixel, as a stretching blit
// does; the destination's last column and last row are left as they are.
void PresentScaleToScreen(const uint16_t* src, int32_t srcPitchBytes, int32_t width, int32_t height,
                          uint16_t* dst, int32_t dstPitchBytes);
