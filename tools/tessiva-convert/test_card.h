// The built-in test picture, drawn as RGB32 (bytes B, G, R, A; alpha 255) with
// integer arithmetic only, so every build draws the same bytes.
//
// Layout, in proportion to the frame (1920x1080 by default):
//   top 7/12      eight 100 % colour bars: white, yellow, cyan, green, magenta,
//                 red, blue, black
//   next 2/12     a grey ramp from 0 at the left to 255 at the right
//   bottom 3/12   at the left, a square circular zone plate whose rings reach one
//                 cycle per two pixels at the middle of its sides (aliasing in the
//                 corners); to its right, four patches of one-pixel detail:
//                   red/green columns      (horizontal chroma sub-sampling)
//                   white/black lines      (fields: each field is flat)
//                   red/blue lines         (vertical chroma sub-sampling, fields)
//                   white/black checkerboard
#pragma once
#include <cstdint>
#include <vector>

#include "formats.h"

namespace tessiva::tool {

// A packed RGB32 frame (pitch 4 x width) of the test card.
std::vector<uint8_t> DrawTestCard(FrameSize size);

}  // namespace tessiva::tool
