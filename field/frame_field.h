// Frames and fields of interlaced RGB32 video on the processor.
//
// Layout: a frame is h lines of w pixels of 4 bytes (B, G, R, X) packed without
// padding, lineBytes = 4 x w. A field is every second line of a full-height
// frame (there are no half-height buffers): even lines (0, 2, ...) are the top
// field, odd lines the bottom field, and every output is again a full frame.
//
// Doubling fills a missing line with a copy of a kept neighbour; interpolation
// with the mean of the kept lines above and below, through the line tool's
// AverageLine (SSE2-level forms: rounded up at level 3 and above, rounded down
// with byte 3 untouched below) or inline 256-bit code (AVX2 forms: pavg(a - 1,
// b), rounded down, and 0 wraps to 255 so that two zero bytes give 128).
//
// Lines a host must provide beyond an h-line frame (only when h is odd, except
// where said otherwise); results inside the frame never depend on them except
// as listed:
//  - WeaveFields and FieldToFrame / CopyField with the odd-lines flag: line h
//    of the source B is read and line h of the output (A) written: 1 spare line.
//  - KeepOddLines of DuplicateFFConvertor and MakeTopField without
//    interpolation: line h is copied into line h + 1 (for h = 1: line 1 into
//    line 2): 2 spare lines.
//  - KeepOddLines of InterpolateFFConvertor / MakeTopField with interpolation,
//    h = 1: line 0 becomes line 1, the line after the frame: 1 spare line.
//  - SplitFrame / FrameToField with interpolation, any parity: h = 2 reads
//    line 2 of the frame for the even-line output, h = 3 reads line 3 for the
//    odd-line output (the first loop step runs untested; its average is then
//    overwritten inside the frame): 1 readable spare line.
//  - SSE2-level averaging with w % 4 == 1 (AverageLine's tail) reads one
//    pixel past each line it averages, so the frame needs 4 readable bytes
//    after it, and writes one pixel past the generated line: the first pixel
//    of the next line (a kept line too, for in-place work, where that value
//    stays), or one pixel past an output frame of h = 2 (even-line output) or
//    h = 3 (odd-line output). With w % 4 == 3 the last pixel of a generated
//    line keeps what it held. The AVX2 forms touch exactly w pixels.
// A 16-byte aligned frame with w a multiple of 4 gives the SSE2 averaging
// aligned lines (its fast path); other addresses work, a little slower.
//
// Heights too small for a plan: the interpolating even-line output needs h >= 2
// and the odd-line output h >= 3, otherwise that output is left untouched; an
// h of 0 does nothing anywhere. Negative sizes are a no-op (S_OK) in the free
// routines, except FieldToFrame, which answers E_FAIL.
#pragma once
#include <cstdint>

#include "field/image_tool.h"
#include "tessiva.h"

namespace tessiva {

// Base convertor. Slot order (fixed): 0 WeaveFields, 1 CopyField, 2 SplitFrame,
// 3 KeepEvenLines, 4 KeepOddLines, 5 SmoothFrame, 6 SmoothFrameAgain (the same
// function as slot 5), 7 DeletingDestructor. Slots 0, 1, 5, 6 and 7 behave alike
// in every class; 2, 3 and 4 are the doubling or interpolating line plans.
//
// The owner fills width, height, lineBytes (= 4 x width) and pairPitch (= 2 x
// lineBytes) after construction, and the tool's width and height. The tool is
// owned and deleted with the convertor; it is always a concrete RGB32_Tool, so
// the abstract tool can never be reached through it. A null tool is allowed:
// slots that need it (interpolation, smoothing) then answer E_FAIL.
class FrameFieldConvertor {
public:
    FrameFieldConvertor(const FrameFieldConvertor&) = delete;
    FrameFieldConvertor& operator=(const FrameFieldConvertor&) = delete;

    // 0: out(y) = a(y), out(y + 1) = b(y + 1) for y = 0, 2, ... < h. E_FAIL for
    // any null pointer.
    virtual TessivaResult WeaveFields(const uint8_t* a, const uint8_t* b, uint8_t* out);
    // 1: flag set: a(y + 1) = b(y + 1) (b's odd lines into a); flag clear:
    // b(y) = a(y) (a's even lines into b); y = 0, 2, ... < h. E_FAIL if a or b
    // is null.
    virtual TessivaResult CopyField(uint8_t* a, uint8_t* b, int32_t oddLines);
    // 2: even-line and odd-line frames from `frame`; a null output is skipped.
    virtual TessivaResult SplitFrame(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut) = 0;
    // 3: rebuild the odd lines from the even ones, in place.
    virtual TessivaResult KeepEvenLines(uint8_t* frame) = 0;
    // 4: rebuild the even lines from the odd ones, in place.
    virtual TessivaResult KeepOddLines(uint8_t* frame) = 0;
    // 5: the tool's SmoothVertical in place; its result (E_FAIL without a tool).
    virtual TessivaResult SmoothFrame(uint8_t* frame);
    // 6: the same as slot 5.
    virtual TessivaResult SmoothFrameAgain(uint8_t* frame);
    // 7: destroys the convertor and its tool; bit 0 of `flags` also frees it.
    virtual FrameFieldConvertor* DeletingDestructor(uint32_t flags) = 0;

    uint32_t flag = 1;           // set at construction; nothing reads it
    RGB32_Tool* tool = nullptr;  // owned
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t lineBytes = 0;
    uint32_t pairPitch = 0;

protected:
    FrameFieldConvertor() = default;
    // Deletes the tool. Not virtual: the concrete (final) classes are destroyed
    // through their own type, by DeletingDestructor or a plain delete.
    ~FrameFieldConvertor();
};

// Line doubling.
//  SplitFrame: E_FAIL for a null frame. Even output E(2k) = E(2k + 1) = L(2k),
//   odd h: E(h - 1) = L(h - 1). Odd output D(2k) = D(2k + 1) = L(2k + 1), odd
//   h >= 3: D(h - 1) = D(h - 2).
//  KeepEvenLines: L(2k + 1) = L(2k), k < h / 2. E_FAIL for a null frame.
//  KeepOddLines: L(2k) = L(2k + 1), k < h / 2; odd h: L(h + 1) = L(h), both
//   past the frame. E_FAIL for a null frame.
class DuplicateFFConvertor final : public FrameFieldConvertor {
public:
    DuplicateFFConvertor() = default;
    TessivaResult SplitFrame(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut) override;
    TessivaResult KeepEvenLines(uint8_t* frame) override;
    TessivaResult KeepOddLines(uint8_t* frame) override;
    FrameFieldConvertor* DeletingDestructor(uint32_t flags) override;
    ~DuplicateFFConvertor() = default;
};

// Interpolation through the tool's AverageLine over `width` pixels.
//  SplitFrame: E_FAIL only when frame and tool are both null; a null frame
//   with a tool returns S_OK untouched; a frame without a tool gives E_FAIL.
//   Even output (h >= 2): E(2k) = L(2k), E(2k + 1) = avg(L(2k), L(2k + 2)) for
//   k = 0 .. h/2 - 2 (at least once), E(2(h/2) - 2) = L(2(h/2) - 2); odd h:
//   E(h - 2) = avg(L(h - 3), L(h - 1)), E(h - 1) = L(h - 1); even h:
//   E(h - 1) = L(h - 2).
//   Odd output (h >= 3), m = (h - 1) / 2: D(0) = L(0); D(2k + 1) = L(2k + 1),
//   D(2k + 2) = avg(L(2k + 1), L(2k + 3)) for k = 0 .. m - 2 (at least once);
//   D(2m - 1) = L(2m - 1); even h: D(h - 2) = avg(L(h - 3), L(h - 1)),
//   D(h - 1) = L(h - 1); odd h: D(h - 1) = L(h - 2).
//  KeepEvenLines: even h: h = 2: L(1) = L(0); else L(2k + 1) = avg(L(2k),
//   L(2k + 2)) for k <= h/2 - 2 and L(h - 1) = L(h - 2). Odd h: h = 1 nothing;
//   else L(2k + 1) = avg(L(2k), L(2k + 2)) for k <= h/2 - 1.
//  KeepOddLines: L(0) = L(1); even h > 2: L(2k + 2) = avg(L(2k + 1), L(2k + 3))
//   for k <= h/2 - 2. Odd h: h = 1 stops there (line 1 is the spare line);
//   h = 3: L(2) = L(1); else the same loop, then L(h - 1) = L(h - 2).
//  Both: E_FAIL for a null frame or a null tool.
class InterpolateFFConvertor final : public FrameFieldConvertor {
public:
    InterpolateFFConvertor() = default;
    TessivaResult SplitFrame(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut) override;
    TessivaResult KeepEvenLines(uint8_t* frame) override;
    TessivaResult KeepOddLines(uint8_t* frame) override;
    FrameFieldConvertor* DeletingDestructor(uint32_t flags) override;
    ~InterpolateFFConvertor() = default;
};

// The interface's per-call convertor: a Duplicate- or InterpolateFFConvertor
// with a new RGB32_Tool (its own detection) and width, height, lineBytes,
// pairPitch and the tool's size set. Null when the convertor can't be
// allocated (a tool that can't be allocated leaves `tool` null). Give it back
// with DeletingDestructor(1).
FrameFieldConvertor* CreateFrameFieldConvertor(bool interpolate, uint32_t width, uint32_t height);

// Free routines: sizes as signed 32-bit values, lineBytes = 4 x w. The
// interpolating SSE2-level forms build an RGB32_Tool of their own (detection
// included) for every call; the *WithTool forms use the given tool's
// AverageLine instead, whatever its level (tests and benchmarks).

// As CopyField: flag set writes b's odd lines into a, clear writes a's even
// lines into b. E_FAIL for a null frame or a negative size.
TessivaResult FieldToFrame(uint8_t* a, uint8_t* b, int32_t oddLines, int32_t width, int32_t height);

// As SplitFrame of DuplicateFFConvertor (interpolate == 0) or of
// InterpolateFFConvertor; either output may be null. E_FAIL for a null frame.
TessivaResult FrameToField(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut, int32_t width, int32_t height,
                           int32_t interpolate);
// As KeepEvenLines of the doubling or interpolating convertor. E_FAIL for null.
TessivaResult MakeBottomField(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate);
// As KeepOddLines of the doubling or interpolating convertor. E_FAIL for null.
TessivaResult MakeTopField(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate);

TessivaResult FrameToFieldWithTool(ImageTool& tool, const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut,
                                   int32_t width, int32_t height, int32_t interpolate);
TessivaResult MakeBottomFieldWithTool(ImageTool& tool, uint8_t* frame, int32_t width, int32_t height,
                                      int32_t interpolate);
TessivaResult MakeTopFieldWithTool(ImageTool& tool, uint8_t* frame, int32_t width, int32_t height,
                                   int32_t interpolate);

// AVX2 forms: the same line plans and results codes, averaging with
// AverageLineAVX2. Only for processors with AVX2 (instruction level 6).
TessivaResult FrameToFieldAVX2(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut, int32_t width,
                               int32_t height, int32_t interpolate);
TessivaResult MakeBottomFieldAVX2(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate);
TessivaResult MakeTopFieldAVX2(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate);

// The choice the interfaces make: the AVX2 form when the converter's own level
// is 6 (kLevelAVX2), else the SSE2-level form.
TessivaResult FrameToFieldForLevel(uint32_t level, const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut,
                                   int32_t width, int32_t height, int32_t interpolate);
TessivaResult MakeBottomFieldForLevel(uint32_t level, uint8_t* frame, int32_t width, int32_t height,
                                      int32_t interpolate);
TessivaResult MakeTopFieldForLevel(uint32_t level, uint8_t* frame, int32_t width, int32_t height,
                                   int32_t interpolate);

// One line of the AVX2 forms: each byte pavg(a - 1, b) = ((a - 1) mod 256 + b +
// 1) >> 1, a from `lower` (the line at the lower address), b from `higher`;
// 8 pixels a step with unaligned loads and stores while i < count - 7, then one
// pixel at a time. Needs AVX2.
void AverageLineAVX2(const uint8_t* lower, const uint8_t* higher, uint8_t* out, int32_t count);

}  // namespace tessiva
