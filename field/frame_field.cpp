#include "field/frame_field.h"

#include <immintrin.h>

#include <cstddef>
#include <cstring>
#include <new>

#include "cpu/detect.h"

namespace tessiva {
namespace {

// Line addressing and copies inside frames of `lineBytes` per line. Line
// numbers are signed 64-bit so that h +/- 1 never wraps.
class Lines {
public:
    explicit Lines(size_t lineBytes) : lineBytes_(lineBytes) {}
    template <class T>
    T* At(T* base, int64_t y) const {
        return base + static_cast<ptrdiff_t>(y) * static_cast<ptrdiff_t>(lineBytes_);
    }
    void Copy(uint8_t* dst, int64_t dstLine, const uint8_t* src, int64_t srcLine) const {
        std::memcpy(At(dst, dstLine), At(src, srcLine), lineBytes_);
    }

private:
    size_t lineBytes_;
};

// ---- Line plans, shared by the convertor classes and the free routines. ----
// `avg(lower, higher, out)` averages two lines into a third.

void WeavePlan(const Lines& l, const uint8_t* a, const uint8_t* b, uint8_t* out, int64_t h) {
    for (int64_t y = 0; y < h; y += 2) {
        l.Copy(out, y, a, y);
        l.Copy(out, y + 1, b, y + 1);  // odd h: line h as well
    }
}

void CopyFieldPlan(const Lines& l, uint8_t* a, uint8_t* b, bool oddLines, int64_t h) {
    for (int64_t y = 0; y < h; y += 2) {
        if (oddLines)
            l.Copy(a, y + 1, b, y + 1);  // odd h: line h as well
        else
            l.Copy(b, y, a, y);
    }
}

void DoubleSplitPlan(const Lines& l, const uint8_t* frame, uint8_t* even, uint8_t* odd, int64_t h) {
    const int64_t h2 = h / 2;
    if (even) {
        for (int64_t k = 0; k < h2; ++k) {
            l.Copy(even, 2 * k, frame, 2 * k);
            l.Copy(even, 2 * k + 1, frame, 2 * k);
        }
        if (h % 2) l.Copy(even, h - 1, frame, h - 1);
    }
    if (odd) {
        for (int64_t k = 0; k < h2; ++k) {
            l.Copy(odd, 2 * k, frame, 2 * k + 1);
            l.Copy(odd, 2 * k + 1, frame, 2 * k + 1);
        }
        // A 1-line frame has no odd line to repeat: its output stays as it is.
        if (h % 2 && h >= 3) l.Copy(odd, h - 1, odd, h - 2);
    }
}

void DoubleKeepEvenPlan(const Lines& l, uint8_t* frame, int64_t h) {
    for (int64_t k = 0; k < h / 2; ++k) l.Copy(frame, 2 * k + 1, frame, 2 * k);
}

void DoubleKeepOddPlan(const Lines& l, uint8_t* frame, int64_t h) {
    for (int64_t k = 0; k < h / 2; ++k) l.Copy(frame, 2 * k, frame, 2 * k + 1);
    if (h % 2) l.Copy(frame, h + 1, frame, h);  // both past the frame, kept so
}

template <class Avg>
void InterpolateSplitPlan(const Lines& l, const uint8_t* frame, uint8_t* even, uint8_t* odd, int64_t h, Avg avg) {
    const auto L = [&](int64_t y) { return l.At(frame, y); };
    const int64_t h2 = h / 2;
    // The loops run their first step before testing the bound (h2 - 1 or m - 1),
    // hence the minimum heights.
    if (even && h >= 2) {
        int64_t k = 0;
        do {
            l.Copy(even, 2 * k, frame, 2 * k);
            avg(L(2 * k), L(2 * k + 2), l.At(even, 2 * k + 1));
        } while (++k < h2 - 1);
        l.Copy(even, 2 * h2 - 2, frame, 2 * h2 - 2);
        if (h % 2) {
            avg(L(h - 3), L(h - 1), l.At(even, h - 2));
            l.Copy(even, h - 1, frame, h - 1);
        } else {
            l.Copy(even, h - 1, frame, h - 2);
        }
    }
    if (odd && h >= 3) {
        // The first line comes from the even field: there is no odd line above it.
        l.Copy(odd, 0, frame, 0);
        const int64_t m = (h - 1) / 2;
        int64_t k = 0;
        do {
            l.Copy(odd, 2 * k + 1, frame, 2 * k + 1);
            avg(L(2 * k + 1), L(2 * k + 3), l.At(odd, 2 * k + 2));
        } while (++k < m - 1);
        l.Copy(odd, 2 * m - 1, frame, 2 * m - 1);
        if (h % 2 == 0) {
            avg(L(h - 3), L(h - 1), l.At(odd, h - 2));
            l.Copy(odd, h - 1, frame, h - 1);
        } else {
            l.Copy(odd, h - 1, frame, h - 2);
        }
    }
}

template <class Avg>
void InterpolateKeepEvenPlan(const Lines& l, uint8_t* frame, int64_t h, Avg avg) {
    const auto L = [&](int64_t y) { return l.At(frame, y); };
    const int64_t h2 = h / 2;
    if (h <= 0) return;
    if (h % 2 == 0) {
        if (h2 == 1) {
            l.Copy(frame, 1, frame, 0);
            return;
        }
        for (int64_t k = 0; k <= h2 - 2; ++k) avg(L(2 * k), L(2 * k + 2), L(2 * k + 1));
        l.Copy(frame, h - 1, frame, h - 2);
    } else {
        for (int64_t k = 0; k <= h2 - 1; ++k) avg(L(2 * k), L(2 * k + 2), L(2 * k + 1));  // none for h = 1
    }
}

template <class Avg>
void InterpolateKeepOddPlan(const Lines& l, uint8_t* frame, int64_t h, Avg avg) {
    const auto L = [&](int64_t y) { return l.At(frame, y); };
    const int64_t h2 = h / 2;
    if (h <= 0) return;
    l.Copy(frame, 0, frame, 1);  // h = 1: from the line after the frame
    if (h % 2 == 0) {
        if (h2 == 1) return;
        for (int64_t k = 0; k <= h2 - 2; ++k) avg(L(2 * k + 1), L(2 * k + 3), L(2 * k + 2));
    } else {
        // h = 1 stops here: its last-line copy would read the line before the frame.
        if (h == 1) return;
        if (h2 == 1) {
            l.Copy(frame, 2, frame, 1);
            return;
        }
        for (int64_t k = 0; k <= h2 - 2; ++k) avg(L(2 * k + 1), L(2 * k + 3), L(2 * k + 2));
        l.Copy(frame, h - 1, frame, h - 2);
    }
}

// Averaging through a line tool (the SSE2-level forms and the classes).
struct ToolAverage {
    ImageTool* tool;
    uint32_t count;
    void operator()(const uint8_t* lower, const uint8_t* higher, uint8_t* out) const {
        tool->AverageLine(lower, higher, out, count);
    }
};

struct AVX2Average {
    int32_t count;
    void operator()(const uint8_t* lower, const uint8_t* higher, uint8_t* out) const {
        AverageLineAVX2(lower, higher, out, count);
    }
};

template <class Self>
FrameFieldConvertor* DestroyAs(Self* self, uint32_t flags) {
    if (flags & 1)
        delete self;
    else
        self->~Self();
    return self;
}

}  // namespace

// ---- FrameFieldConvertor ----

FrameFieldConvertor::~FrameFieldConvertor() { delete tool; }

TessivaResult FrameFieldConvertor::WeaveFields(const uint8_t* a, const uint8_t* b, uint8_t* out) {
    if (!a || !b || !out) return TESSIVA_E_FAIL;
    WeavePlan(Lines(lineBytes), a, b, out, height);
    return TESSIVA_S_OK;
}

TessivaResult FrameFieldConvertor::CopyField(uint8_t* a, uint8_t* b, int32_t oddLines) {
    if (!a || !b) return TESSIVA_E_FAIL;
    CopyFieldPlan(Lines(lineBytes), a, b, oddLines != 0, height);
    return TESSIVA_S_OK;
}

TessivaResult FrameFieldConvertor::SmoothFrame(uint8_t* frame) {
    if (!tool) return TESSIVA_E_FAIL;
    return tool->SmoothVertical(frame, nullptr);
}

TessivaResult FrameFieldConvertor::SmoothFrameAgain(uint8_t* frame) { return FrameFieldConvertor::SmoothFrame(frame); }

// ---- DuplicateFFConvertor ----

TessivaResult DuplicateFFConvertor::SplitFrame(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut) {
    if (!frame) return TESSIVA_E_FAIL;
    DoubleSplitPlan(Lines(lineBytes), frame, evenOut, oddOut, height);
    return TESSIVA_S_OK;
}

TessivaResult DuplicateFFConvertor::KeepEvenLines(uint8_t* frame) {
    if (!frame) return TESSIVA_E_FAIL;
    DoubleKeepEvenPlan(Lines(lineBytes), frame, height);
    return TESSIVA_S_OK;
}

TessivaResult DuplicateFFConvertor::KeepOddLines(uint8_t* frame) {
    if (!frame) return TESSIVA_E_FAIL;
    DoubleKeepOddPlan(Lines(lineBytes), frame, height);
    return TESSIVA_S_OK;
}

FrameFieldConvertor* DuplicateFFConvertor::DeletingDestructor(uint32_t flags) { return DestroyAs(this, flags); }

// ---- InterpolateFFConvertor ----

TessivaResult InterpolateFFConvertor::SplitFrame(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut) {
    if (!frame) return tool ? TESSIVA_S_OK : TESSIVA_E_FAIL;
    if (!tool) return TESSIVA_E_FAIL;
    InterpolateSplitPlan(Lines(lineBytes), frame, evenOut, oddOut, height, ToolAverage{tool, width});
    return TESSIVA_S_OK;
}

TessivaResult InterpolateFFConvertor::KeepEvenLines(uint8_t* frame) {
    if (!frame || !tool) return TESSIVA_E_FAIL;
    InterpolateKeepEvenPlan(Lines(lineBytes), frame, height, ToolAverage{tool, width});
    return TESSIVA_S_OK;
}

TessivaResult InterpolateFFConvertor::KeepOddLines(uint8_t* frame) {
    if (!frame || !tool) return TESSIVA_E_FAIL;
    InterpolateKeepOddPlan(Lines(lineBytes), frame, height, ToolAverage{tool, width});
    return TESSIVA_S_OK;
}

FrameFieldConvertor* InterpolateFFConvertor::DeletingDestructor(uint32_t flags) { return DestroyAs(this, flags); }

FrameFieldConvertor* CreateFrameFieldConvertor(bool interpolate, uint32_t width, uint32_t height) {
    FrameFieldConvertor* c = interpolate ? static_cast<FrameFieldConvertor*>(new (std::nothrow) InterpolateFFConvertor)
                                         : static_cast<FrameFieldConvertor*>(new (std::nothrow) DuplicateFFConvertor);
    if (!c) return nullptr;
    c->tool = new (std::nothrow) RGB32_Tool;
    c->width = width;
    c->height = height;
    c->lineBytes = 4 * width;
    c->pairPitch = 2 * c->lineBytes;
    if (c->tool) {
        c->tool->width = width;
        c->tool->height = height;
    }
    return c;
}

// ---- Free routines ----

TessivaResult FieldToFrame(uint8_t* a, uint8_t* b, int32_t oddLines, int32_t width, int32_t height) {
    if (!a || !b || width < 0 || height < 0) return TESSIVA_E_FAIL;
    CopyFieldPlan(Lines(4 * size_t(width)), a, b, oddLines != 0, height);
    return TESSIVA_S_OK;
}

namespace {

// The checks shared by the free routines: E_FAIL for a null frame, nothing to
// do for negative sizes, else `plan` on lines of 4 x width bytes.
template <class Plan>
TessivaResult Checked(const void* frame, int32_t width, int32_t height, Plan plan) {
    if (!frame) return TESSIVA_E_FAIL;
    if (width >= 0 && height >= 0) plan(Lines(4 * size_t(width)));
    return TESSIVA_S_OK;
}

// One routine, doubling or interpolating; `avg` is used only when interpolating.
template <class Avg>
TessivaResult SplitRoutine(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut, int32_t width, int32_t height,
                           int32_t interpolate, Avg avg) {
    return Checked(frame, width, height, [&](const Lines& l) {
        if (interpolate)
            InterpolateSplitPlan(l, frame, evenOut, oddOut, height, avg);
        else
            DoubleSplitPlan(l, frame, evenOut, oddOut, height);
    });
}

template <class Avg>
TessivaResult KeepEvenRoutine(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate, Avg avg) {
    return Checked(frame, width, height, [&](const Lines& l) {
        if (interpolate)
            InterpolateKeepEvenPlan(l, frame, height, avg);
        else
            DoubleKeepEvenPlan(l, frame, height);
    });
}

template <class Avg>
TessivaResult KeepOddRoutine(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate, Avg avg) {
    return Checked(frame, width, height, [&](const Lines& l) {
        if (interpolate)
            InterpolateKeepOddPlan(l, frame, height, avg);
        else
            DoubleKeepOddPlan(l, frame, height);
    });
}

// Stands in for the tool where a routine does not interpolate.
constexpr ToolAverage kNoAverage{nullptr, 0};

// The SSE2-level routines build a tool of their own, detection included, for
// every interpolating call.
void SizeTool(RGB32_Tool& tool, int32_t width, int32_t height) {
    tool.width = uint32_t(width);
    tool.height = uint32_t(height);
}

}  // namespace

TessivaResult FrameToFieldWithTool(ImageTool& tool, const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut,
                                   int32_t width, int32_t height, int32_t interpolate) {
    return SplitRoutine(frame, evenOut, oddOut, width, height, interpolate, ToolAverage{&tool, uint32_t(width)});
}

TessivaResult MakeBottomFieldWithTool(ImageTool& tool, uint8_t* frame, int32_t width, int32_t height,
                                      int32_t interpolate) {
    return KeepEvenRoutine(frame, width, height, interpolate, ToolAverage{&tool, uint32_t(width)});
}

TessivaResult MakeTopFieldWithTool(ImageTool& tool, uint8_t* frame, int32_t width, int32_t height,
                                   int32_t interpolate) {
    return KeepOddRoutine(frame, width, height, interpolate, ToolAverage{&tool, uint32_t(width)});
}

TessivaResult FrameToField(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut, int32_t width, int32_t height,
                           int32_t interpolate) {
    if (!frame || !interpolate) return SplitRoutine(frame, evenOut, oddOut, width, height, 0, kNoAverage);
    RGB32_Tool tool;
    SizeTool(tool, width, height);
    return FrameToFieldWithTool(tool, frame, evenOut, oddOut, width, height, interpolate);
}

TessivaResult MakeBottomField(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate) {
    if (!frame || !interpolate) return KeepEvenRoutine(frame, width, height, 0, kNoAverage);
    RGB32_Tool tool;
    SizeTool(tool, width, height);
    return MakeBottomFieldWithTool(tool, frame, width, height, interpolate);
}

TessivaResult MakeTopField(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate) {
    if (!frame || !interpolate) return KeepOddRoutine(frame, width, height, 0, kNoAverage);
    RGB32_Tool tool;
    SizeTool(tool, width, height);
    return MakeTopFieldWithTool(tool, frame, width, height, interpolate);
}

TessivaResult FrameToFieldAVX2(const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut, int32_t width,
                               int32_t height, int32_t interpolate) {
    return SplitRoutine(frame, evenOut, oddOut, width, height, interpolate, AVX2Average{width});
}

TessivaResult MakeBottomFieldAVX2(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate) {
    return KeepEvenRoutine(frame, width, height, interpolate, AVX2Average{width});
}

TessivaResult MakeTopFieldAVX2(uint8_t* frame, int32_t width, int32_t height, int32_t interpolate) {
    return KeepOddRoutine(frame, width, height, interpolate, AVX2Average{width});
}

TessivaResult FrameToFieldForLevel(uint32_t level, const uint8_t* frame, uint8_t* evenOut, uint8_t* oddOut,
                                   int32_t width, int32_t height, int32_t interpolate) {
    return level == kLevelAVX2 ? FrameToFieldAVX2(frame, evenOut, oddOut, width, height, interpolate)
                               : FrameToField(frame, evenOut, oddOut, width, height, interpolate);
}

TessivaResult MakeBottomFieldForLevel(uint32_t level, uint8_t* frame, int32_t width, int32_t height,
                                      int32_t interpolate) {
    return level == kLevelAVX2 ? MakeBottomFieldAVX2(frame, width, height, interpolate)
                               : MakeBottomField(frame, width, height, interpolate);
}

TessivaResult MakeTopFieldForLevel(uint32_t level, uint8_t* frame, int32_t width, int32_t height,
                                   int32_t interpolate) {
    return level == kLevelAVX2 ? MakeTopFieldAVX2(frame, width, height, interpolate)
                               : MakeTopField(frame, width, height, interpolate);
}

__attribute__((target("avx2"))) void AverageLineAVX2(const uint8_t* lower, const uint8_t* higher, uint8_t* out,
                                                     int32_t count) {
    const __m256i one = _mm256_set1_epi8(1);
    int32_t i = 0;
    for (; i < count - 7; i += 8) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lower + 4 * size_t(i)));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(higher + 4 * size_t(i)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 4 * size_t(i)),
                            _mm256_avg_epu8(_mm256_sub_epi8(a, one), b));
    }
    for (; i < count; ++i) {
        for (size_t c = 4 * size_t(i); c < 4 * size_t(i) + 4; ++c)
            out[c] = uint8_t((uint8_t(lower[c] - 1) + higher[c] + 1) >> 1);
    }
}

}  // namespace tessiva
