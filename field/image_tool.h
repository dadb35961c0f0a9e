// Line tools: the per-pixel arithmetic of the frame/field convertors. A tool
// knows its pixel size, the image size (set by its owner) and the
// instruction-set level found by its own detection when it was built.
#pragma once
#include <cstdint>

#include "tessiva.h"

namespace tessiva {

// Abstract line tool. Every virtual slot is pure and the slot order is fixed:
//   0 CheckLines, 1 AverageLine, 2 BoxFilterVertical, 3 SmoothVertical.
// There is no virtual destructor (the slots are all there is); the destructor is
// protected, so a tool is destroyed through its concrete type only.
class ImageTool {
public:
    ImageTool(const ImageTool&) = delete;
    ImageTool& operator=(const ImageTool&) = delete;

    // E_FAIL when any of the three pointers is null, else S_OK. Nothing else.
    virtual TessivaResult CheckLines(const void* a, const void* b, const void* c) = 0;
    // out = mean of lines a and b over `count` pixels; E_FAIL for a null pointer.
    virtual TessivaResult AverageLine(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t count) = 0;
    // Vertical box filter of a width x height image (pitch 4 x width); `dst`
    // null filters `src` in place. E_POINTER for a null source, E_OUTOFMEMORY
    // when the scratch pages can't be had.
    virtual TessivaResult BoxFilterVertical(uint8_t* src, uint8_t* dst) = 0;
    // Vertical 1-2-1 filter, same conventions as BoxFilterVertical.
    virtual TessivaResult SmoothVertical(uint8_t* src, uint8_t* dst) = 0;

    uint32_t flag = 1;           // set at construction; nothing reads it
    uint32_t bytesPerPixel = 0;  // 4 for RGB32_Tool
    uint32_t width = 0;          // pixels per line, set by the owner
    uint32_t height = 0;         // lines per image, set by the owner
    uint32_t instructionLevel;   // 0..6, from DetectInstructionSet at construction;
                                 // tests and benchmarks may overwrite it to force a path

protected:
    // Runs the instruction-set detection; each tool does its own.
    ImageTool();
    ~ImageTool() = default;
};

// Line tool for 4-byte pixels B, G, R, X.
//
// AverageLine picks its path by instructionLevel:
//  - level 3 and up: SSE2, every byte (X included) the rounded-up mean
//    (a + b + 1) >> 1, four pixels a step. The first step runs untested, the
//    loop goes on while i <= count - 4 (unsigned), and the rest is done two
//    pixels at a time over the SAME two pixels that follow the last full step.
//    So count % 4 == 1 reads and writes one pixel past the lines, and
//    count % 4 == 3 leaves the last output pixel unwritten. a and b are read
//    with aligned loads when both are 16-byte aligned (the intended use: lines
//    of a 16-byte aligned frame whose width is a multiple of 4); other
//    addresses take the same steps with unaligned loads and give the same
//    bytes. A count below 4, for which the unsigned bound would wrap, averages
//    exactly `count` pixels the same way (rounded up, X included).
//  - levels 0..2: scalar, bytes 0..2 get (a + b) >> 1 rounded down, byte 3 of
//    the output is left as it was.
class RGB32_Tool final : public ImageTool {
public:
    RGB32_Tool();
    ~RGB32_Tool() = default;

    TessivaResult CheckLines(const void* a, const void* b, const void* c) override;
    TessivaResult AverageLine(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t count) override;
    // Per column running sums of B, G, R; output byte 3 is 0. Output line 0 is
    // the mean of lines 0 and 1 (truncated), lines 1 .. h - 3 the mean of three
    // lines (y - 1, y, y + 1; truncated), line h - 2 the mean of lines h - 3 and
    // h - 2. Line h - 1 is never written and source line h - 1 never read; for
    // h = 2 and 3 line 1 is the mean of lines 0 and 1 (h = 3 leaves line 2).
    // Heights below 2 do nothing (S_OK after the pointer check): the sums
    // would need a second line.
    TessivaResult BoxFilterVertical(uint8_t* src, uint8_t* dst) override;
    // Lines 0 and h - 1 stay (copied when there is a destination); lines
    // 1 .. h - 2 become, per 32-bit pixel with P, C, N the lines above, at and
    // below (unfiltered values):
    //   t   = ((P >> 1) & 0x7F7F7F) + (C & P & 0x010101) + ((N & 0xFEFEFE) >> 1)
    //   out = ((C & 0xFEFEFE) >> 1) + ((t >> 1) & 0x7F7F7F)
    // i.e. C/2 + (P/2 + N/2 + (C and P both odd))/2 per channel, byte 3 = 0. The
    // rounding bit comes from C and P on purpose. A height of 0 does nothing.
    TessivaResult SmoothVertical(uint8_t* src, uint8_t* dst) override;
};

}  // namespace tessiva
