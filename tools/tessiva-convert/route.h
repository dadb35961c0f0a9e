// Conversion routes: chains of steps from one pixel format to another. A step is
// a two-image slot of ITessiva (the only way this tool converts colours), one of
// the NV12 writers of the routine table (no slot writes NV12), or a byte-moving
// repack that only the PNG preview uses (RGB24 and NV12 have no reader in host
// memory, but their bytes can be laid out as RGB32 and YV12 without arithmetic).
#pragma once
#include <string>
#include <vector>

#include "convert/routine.h"
#include "cpu/routine_table.h"
#include "formats.h"
#include "tessiva.h"

namespace tessiva::tool {

// Every two-image slot has this shape.
using TwoImageSlot = decltype(&ITessiva::RGB32toYUV32);

struct Step {
    enum Kind { kSlot, kTableEntry, kRepack };
    PixelFormat from, to;
    bool invert;          // mirrors the picture vertically
    Kind kind;
    int slot;             // kSlot: the slot number, for messages
    TwoImageSlot call;    // kSlot
    ConvertRoutine RoutineTable::*entry;  // kTableEntry
    ConvertRoutine repack;                // kRepack
    const char* name;
};

using Route = std::vector<const Step*>;

// The cheapest route from `from` to `to`: each step costs 10, and each change
// between the RGB and the YUV family one more, so that YUV sources stay in YUV
// where they can (no rounding through RGB). With `invert` the route holds
// exactly one mirroring step. Repacks are used only with `allowRepack`. An empty
// route with a true result means a plain copy. False when no route exists.
bool PlanRoute(PixelFormat from, PixelFormat to, bool invert, bool allowRepack, Route* route);

// "yuy2 -> yuv32 (YUY2toYUV32, slot 21) -> yv12 (YUV32toYV12, slot 16)".
std::string DescribeRoute(PixelFormat from, const Route& route);

// Runs a route on frames of one size. Scratch frames are kept between calls.
class Converter {
public:
    Converter(ITessiva* library, int level, Route route, PixelFormat from, PixelFormat to, FrameSize size);
    // `in` holds FrameBytes(from) bytes; `out` is resized to FrameBytes(to).
    bool Run(const uint8_t* in, std::vector<uint8_t>* out, std::string* error);
    bool HasSteps() const { return !route_.empty(); }

private:
    ITessiva* library_;
    RoutineTable table_;
    Route route_;
    PixelFormat from_, to_;
    FrameSize size_;
    std::vector<uint8_t> scratch_[2];
};

}  // namespace tessiva::tool
