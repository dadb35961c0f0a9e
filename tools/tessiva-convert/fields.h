// The field step of the pipeline: interlaced RGB32 frames taken apart into
// their fields or woven together, by the library's frame/field slots on host
// memory. Even lines (0, 2, ...) are the top field, odd lines the bottom field,
// and every frame in and out is a full-height frame.
//
//   split   one frame in, two out: the top field's frame, then the bottom
//           field's, each with the other field's lines rebuilt
//           (FrameToField, slot 29, with its interpolate flag)
//   top     the bottom field's lines rebuilt from the top field, in place
//           (MakeBottomField, slot 30)
//   bottom  the top field's lines rebuilt from the bottom field, in place
//           (MakeTopField, slot 31)
//   weave   two frames A, B in, one out: A's even lines, B's odd lines
//           (DuplicateWeaveFields, slot 32); a last frame without a partner
//           is an error when the input ends
//
// Split, top and bottom all go through the slots with an interpolate flag
// (29, 30, 31): one family of routines that chooses its averaging from the
// converter's instruction level in one way, so the two frames of a split equal
// what top and bottom give, save at the first or last line, which the library
// fills differently. (The interpolating split of slot 37 averages with the
// SSE2-level routine even where slots 30 and 31 take the AVX2 one; slot 34, the
// doubling split, would add a second slot for no gain.)
#pragma once
#include <memory>
#include <string>

#include "pipeline.h"

namespace tessiva::tool {

enum class FieldStep { kNone, kSplit, kTop, kBottom, kWeave };
enum class FieldMode { kDouble, kInterpolate };

// Lower-case names as the options take them; false for unknown names.
bool ParseFieldStep(const std::string& text, FieldStep* step);
bool ParseFieldMode(const std::string& text, FieldMode* mode);

// The operation for `step` (not kNone) on RGB32 frames of `size`.
std::unique_ptr<FrameOperation> MakeFieldOperation(ITessiva* library, FieldStep step, FieldMode mode,
                                                   FrameSize size);

}  // namespace tessiva::tool
