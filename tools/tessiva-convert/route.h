// Conversion routes: chains of steps from one pixel format to another. A step is
// either a two-image slot of ITessiva (the only way this tool converts colours)
// or a byte-moving repack of packed frames. NV12 has no slot on host memory, so
// it is the library's YV12 with its two chroma planes interleaved. The PNG
// preview alone may also lay RGB24 out as RGB32 and NV12 as YV12 (no slot reads
// RGB24 or NV12 in host memory, but their bytes move without arithmetic).
#pragma once
#include <string>
#include <vector>

#include <cstdint>

#include "formats.h"
#include "tessiva.h"

namespace tessiva::tool {

// Every two-image slot has this shape.
using TwoImageSlot = decltype(&ITessiva::RGB32toYUV32);

// Moves the bytes of one packed frame of `size` into another layout.
using Repack = void (*)(const uint8_t* src, uint8_t* dst, FrameSize size);

struct Step {
    enum Kind { kSlot, kRepack, kPreviewRepack };
    PixelFormat from, to;
    bool invert;        // mirrors the picture vertically
    Kind kind;
    int slot;           // kSlot: the slot number, for messages
    TwoImageSlot call;  // kSlot
    Repack repack;      // kRepack, kPreviewRepack
    const char* name;
};

using Route = std::vector<const Step*>;

// The cheapest route from `from` to `to`: each step costs 10, and each change
// between the RGB and the YUV family one more, so that YUV sources stay in YUV
// where they can (no rounding through RGB). With `invert` the route holds
// exactly one mirroring step. Preview repacks are used only with
// `forPreview`. An empty
// route with a true result means a plain copy. False when no route exists.
bool PlanRoute(PixelFormat from, PixelFormat to, bool invert, bool forPreview, Route* route);

// "yuy2 -> yuv32 (YUY2toYUV32, slot 21) -> yv12 (YUV32toYV12, slot 16)".
std::string DescribeRoute(PixelFormat from, const Route& route);

// "RGB32toYV12 (slot 14) failed with 0x80004005".
std::string SlotFailure(const char* name, int slot, TessivaResult result);

// Runs a route on frames of one size. Scratch frames are kept between calls.
class Converter {
public:
    Converter(ITessiva* library, Route route, PixelFormat from, PixelFormat to, FrameSize size);
    // `in` holds FrameBytes(from) bytes; `out` is resized to FrameBytes(to).
    bool Run(const uint8_t* in, std::vector<uint8_t>* out, std::string* error);
    bool HasSteps() const { return !route_.empty(); }

private:
    ITessiva* library_;
    Route route_;
    PixelFormat from_, to_;
    FrameSize size_;
    std::vector<uint8_t> scratch_[2];
};

}  // namespace tessiva::tool
