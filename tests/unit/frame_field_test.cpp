// Frame/field convertors and free routines against plain line plans on random
// frames. Every frame sits in a guarded allocation with two spare lines and a
// spare pixel after it; whole allocations are compared, so writes past the
// frame show exactly where they land.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <vector>

#include "cpu/detect.h"
#include "field/frame_field.h"
#include "support/test_support.h"

namespace tessiva {
namespace {

using test::FirstDifference;
using test::GuardedBuffer;

constexpr TessivaResult kOk = TESSIVA_S_OK;
constexpr TessivaResult kFail = TESSIVA_E_FAIL;

bool HasAVX2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

// ---- Reference ----

// Averages two lines (lower address first) into a third.
using Average = std::function<void(const uint8_t* lower, const uint8_t* higher, uint8_t* out)>;

// The SSE2-level forms average through the line tool; its own tests pin it to a
// plain reference, so here it only supplies the arithmetic of a level.
Average ToolAverage(uint32_t level, uint32_t w) {
    auto tool = std::make_shared<RGB32_Tool>();
    tool->instructionLevel = level;
    return [tool, w](const uint8_t* a, const uint8_t* b, uint8_t* out) { tool->AverageLine(a, b, out, w); };
}

// AVX2 forms: every byte ((a - 1) mod 256 + b + 1) / 2, exactly w pixels.
Average WrapAverage(uint32_t w) {
    return [w](const uint8_t* a, const uint8_t* b, uint8_t* out) {
        for (size_t i = 0; i < 4 * size_t(w); ++i) out[i] = uint8_t((uint8_t(a[i] - 1) + b[i] + 1) / 2);
    };
}

// A frame inside a reference copy.
struct Frame {
    uint8_t* base;
    size_t lineBytes;
    uint8_t* operator()(int64_t y) const { return base + y * int64_t(lineBytes); }
};

void Copy(const Frame& dst, int64_t dy, const Frame& src, int64_t sy) { std::memcpy(dst(dy), src(sy), dst.lineBytes); }

void RefWeave(Frame a, Frame b, Frame out, int64_t h) {
    for (int64_t y = 0; y < h; y += 2) {
        Copy(out, y, a, y);
        Copy(out, y + 1, b, y + 1);
    }
}

void RefCopyField(Frame a, Frame b, bool oddLines, int64_t h) {
    for (int64_t y = 0; y < h; y += 2) {
        if (oddLines)
            Copy(a, y + 1, b, y + 1);
        else
            Copy(b, y, a, y);
    }
}

void RefDoubleSplit(Frame l, Frame* e, Frame* d, int64_t h) {
    if (e) {
        for (int64_t y = 0; y + 1 < h; y += 2) {
            Copy(*e, y, l, y);
            Copy(*e, y + 1, l, y);
        }
        if (h % 2) Copy(*e, h - 1, l, h - 1);
    }
    if (d) {
        for (int64_t y = 0; y + 1 < h; y += 2) {
            Copy(*d, y, l, y + 1);
            Copy(*d, y + 1, l, y + 1);
        }
        if (h % 2 && h > 1) Copy(*d, h - 1, *d, h - 2);
    }
}

// The loops of the interpolating split run their first step before any test.
void RefInterpolateSplit(Frame l, Frame* e, Frame* d, int64_t h, const Average& avg) {
    const int64_t h2 = h / 2;
    if (e && h >= 2) {
        for (int64_t k = 0; k < std::max<int64_t>(h2 - 1, 1); ++k) {
            Copy(*e, 2 * k, l, 2 * k);
            avg(l(2 * k), l(2 * k + 2), (*e)(2 * k + 1));
        }
        Copy(*e, 2 * h2 - 2, l, 2 * h2 - 2);
        if (h % 2) {
            avg(l(h - 3), l(h - 1), (*e)(h - 2));
            Copy(*e, h - 1, l, h - 1);
        } else {
            Copy(*e, h - 1, l, h - 2);
        }
    }
    if (d && h >= 3) {
        Copy(*d, 0, l, 0);
        const int64_t m = (h - 1) / 2;
        for (int64_t k = 0; k < std::max<int64_t>(m - 1, 1); ++k) {
            Copy(*d, 2 * k + 1, l, 2 * k + 1);
            avg(l(2 * k + 1), l(2 * k + 3), (*d)(2 * k + 2));
        }
        Copy(*d, 2 * m - 1, l, 2 * m - 1);
        if (h % 2 == 0) {
            avg(l(h - 3), l(h - 1), (*d)(h - 2));
            Copy(*d, h - 1, l, h - 1);
        } else {
            Copy(*d, h - 1, l, h - 2);
        }
    }
}

void RefDoubleKeepEven(Frame l, int64_t h) {
    for (int64_t y = 0; y + 1 < h; y += 2) Copy(l, y + 1, l, y);
}

void RefDoubleKeepOdd(Frame l, int64_t h) {
    for (int64_t y = 0; y + 1 < h; y += 2) Copy(l, y, l, y + 1);
    if (h % 2) Copy(l, h + 1, l, h);
}

void RefInterpolateKeepEven(Frame l, int64_t h, const Average& avg) {
    if (h == 2) {
        Copy(l, 1, l, 0);
    } else if (h % 2 == 0 && h > 0) {
        for (int64_t y = 1; y < h - 1; y += 2) avg(l(y - 1), l(y + 1), l(y));
        Copy(l, h - 1, l, h - 2);
    } else if (h % 2) {
        for (int64_t y = 1; y < h; y += 2) avg(l(y - 1), l(y + 1), l(y));
    }
}

void RefInterpolateKeepOdd(Frame l, int64_t h, const Average& avg) {
    if (h == 0) return;
    Copy(l, 0, l, 1);
    if (h == 1) return;
    if (h == 3) {
        Copy(l, 2, l, 1);
        return;
    }
    for (int64_t y = 2; y < h - 1; y += 2) avg(l(y - 1), l(y + 1), l(y));
    if (h % 2) Copy(l, h - 1, l, h - 2);
}

// ---- Buffers ----

// `count` frames of h lines of w pixels, each followed by two spare lines and a
// spare pixel, in guarded random allocations.
class Frames {
public:
    Frames(int count, uint32_t w, uint32_t h, uint32_t seed) : lineBytes_(4 * size_t(w)) {
        for (int i = 0; i < count; ++i) buffers_.emplace_back(lineBytes_ * (h + 2) + 4, seed * 7 + i);
    }
    uint8_t* operator[](int i) { return buffers_[i].data(); }
    // Copies of the allocations, to run the reference on.
    struct Snapshot {
        std::vector<std::vector<uint8_t>> all;
        size_t guard, lineBytes;
        Frame operator[](int i) { return Frame{all[i].data() + guard, lineBytes}; }
    };
    Snapshot Copy() const {
        Snapshot s{{}, buffers_[0].guard(), lineBytes_};
        for (const GuardedBuffer& b : buffers_) s.all.push_back(b.all());
        return s;
    }
    void ExpectEqual(const Snapshot& expected) const {
        for (size_t i = 0; i < buffers_.size(); ++i) {
            const long at = FirstDifference(buffers_[i].all(), expected.all[i]);
            EXPECT_EQ(at, -1) << "buffer " << i << ": line "
                              << (at - long(expected.guard)) / long(std::max<size_t>(lineBytes_, 1)) << " byte "
                              << (at - long(expected.guard)) % long(std::max<size_t>(lineBytes_, 1));
        }
    }

private:
    size_t lineBytes_;
    std::vector<GuardedBuffer> buffers_;
};

const uint32_t kWidths[] = {1, 3, 4, 5, 6, 7, 8, 9, 17};
constexpr uint32_t kMaxHeight = 9;

// Runs `body(w, h, seed)` for every width and every height 0..9.
void ForSizes(const std::function<void(uint32_t w, uint32_t h, uint32_t seed)>& body) {
    uint32_t seed = 1;
    for (uint32_t w : kWidths)
        for (uint32_t h = 0; h <= kMaxHeight; ++h) {
            SCOPED_TRACE(testing::Message() << "w " << w << " h " << h);
            body(w, h, ++seed);
        }
}

struct ConvertorDeleter {
    void operator()(FrameFieldConvertor* c) const { c->DeletingDestructor(1); }
};
using ConvertorPtr = std::unique_ptr<FrameFieldConvertor, ConvertorDeleter>;

ConvertorPtr MakeConvertor(bool interpolate, uint32_t w, uint32_t h, uint32_t level) {
    ConvertorPtr c(CreateFrameFieldConvertor(interpolate, w, h));
    c->tool->instructionLevel = level;
    return c;
}

// ---- Convertor objects ----

TEST(FrameFieldConvertor, CreationSetsSizesAndTool) {
    for (bool interpolate : {false, true}) {
        ConvertorPtr c(CreateFrameFieldConvertor(interpolate, 10, 7));
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(interpolate, dynamic_cast<InterpolateFFConvertor*>(c.get()) != nullptr);
        EXPECT_EQ(!interpolate, dynamic_cast<DuplicateFFConvertor*>(c.get()) != nullptr);
        EXPECT_EQ(c->flag, 1u);
        EXPECT_EQ(c->width, 10u);
        EXPECT_EQ(c->height, 7u);
        EXPECT_EQ(c->lineBytes, 40u);
        EXPECT_EQ(c->pairPitch, 80u);
        ASSERT_NE(c->tool, nullptr);
        EXPECT_EQ(c->tool->width, 10u);
        EXPECT_EQ(c->tool->height, 7u);
        EXPECT_EQ(c->tool->instructionLevel, DetectInstructionSet());
    }
}

TEST(FrameFieldConvertor, DeletingDestructorWithoutFreeDestroysTool) {
    // Flag 0 runs the destructor only (the tool goes with it; the leak checker
    // of the sanitizer build would see it otherwise); the storage stays ours.
    alignas(DuplicateFFConvertor) unsigned char storage[sizeof(DuplicateFFConvertor)];
    auto* c = new (storage) DuplicateFFConvertor;
    c->tool = new RGB32_Tool;
    EXPECT_EQ(c->DeletingDestructor(0), static_cast<FrameFieldConvertor*>(c));
}

// Slots 0 and 1, shared by both classes.
TEST(FrameFieldConvertor, WeaveAndCopyFieldMatchReference) {
    for (bool interpolate : {false, true}) {
        ForSizes([&](uint32_t w, uint32_t h, uint32_t seed) {
            ConvertorPtr c = MakeConvertor(interpolate, w, h, 3);
            {
                Frames f(3, w, h, seed);
                auto expected = f.Copy();
                RefWeave(expected[0], expected[1], expected[2], h);
                ASSERT_EQ(c->WeaveFields(f[0], f[1], f[2]), kOk);
                f.ExpectEqual(expected);
            }
            for (int32_t flag : {0, 1, -5}) {
                Frames f(2, w, h, seed);
                auto expected = f.Copy();
                RefCopyField(expected[0], expected[1], flag != 0, h);
                ASSERT_EQ(c->CopyField(f[0], f[1], flag), kOk);
                f.ExpectEqual(expected);
            }
        });
    }
}

// Slots 2, 3 and 4 of the doubling convertor.
TEST(FrameFieldConvertor, DuplicatePlansMatchReference) {
    ForSizes([](uint32_t w, uint32_t h, uint32_t seed) {
        ConvertorPtr c = MakeConvertor(false, w, h, 3);
        for (int outputs : {3, 1, 2}) {  // both, even only, odd only
            Frames f(3, w, h, seed);
            auto expected = f.Copy();
            Frame e = expected[1], d = expected[2];
            RefDoubleSplit(expected[0], outputs & 1 ? &e : nullptr, outputs & 2 ? &d : nullptr, h);
            ASSERT_EQ(c->SplitFrame(f[0], outputs & 1 ? f[1] : nullptr, outputs & 2 ? f[2] : nullptr), kOk);
            f.ExpectEqual(expected);
        }
        Frames even(1, w, h, seed), odd(1, w, h, seed + 1000);
        auto expectedEven = even.Copy(), expectedOdd = odd.Copy();
        RefDoubleKeepEven(expectedEven[0], h);
        RefDoubleKeepOdd(expectedOdd[0], h);
        ASSERT_EQ(c->KeepEvenLines(even[0]), kOk);
        ASSERT_EQ(c->KeepOddLines(odd[0]), kOk);
        even.ExpectEqual(expectedEven);
        odd.ExpectEqual(expectedOdd);
    });
}

// Slots 2, 3 and 4 of the interpolating convertor at scalar and vector levels.
TEST(FrameFieldConvertor, InterpolatePlansMatchReference) {
    for (uint32_t level : {0u, 2u, 3u, 6u}) {
        SCOPED_TRACE(testing::Message() << "level " << level);
        ForSizes([&](uint32_t w, uint32_t h, uint32_t seed) {
            ConvertorPtr c = MakeConvertor(true, w, h, level);
            const Average avg = ToolAverage(level, w);
            for (int outputs : {3, 1, 2}) {
                Frames f(3, w, h, seed);
                auto expected = f.Copy();
                Frame e = expected[1], d = expected[2];
                RefInterpolateSplit(expected[0], outputs & 1 ? &e : nullptr, outputs & 2 ? &d : nullptr, h, avg);
                ASSERT_EQ(c->SplitFrame(f[0], outputs & 1 ? f[1] : nullptr, outputs & 2 ? f[2] : nullptr), kOk);
                f.ExpectEqual(expected);
            }
            Frames even(1, w, h, seed), odd(1, w, h, seed + 1000);
            auto expectedEven = even.Copy(), expectedOdd = odd.Copy();
            RefInterpolateKeepEven(expectedEven[0], h, avg);
            RefInterpolateKeepOdd(expectedOdd[0], h, avg);
            ASSERT_EQ(c->KeepEvenLines(even[0]), kOk);
            ASSERT_EQ(c->KeepOddLines(odd[0]), kOk);
            even.ExpectEqual(expectedEven);
            odd.ExpectEqual(expectedOdd);
        });
    }
}

// Slots 5 and 6: the tool's SmoothVertical in place.
TEST(FrameFieldConvertor, SmoothFrameIsToolSmoothInPlace) {
    for (bool interpolate : {false, true}) {
        ForSizes([&](uint32_t w, uint32_t h, uint32_t seed) {
            ConvertorPtr c = MakeConvertor(interpolate, w, h, 3);
            Frames f(2, w, h, seed);
            auto expected = f.Copy();
            RGB32_Tool tool;
            tool.width = w;
            tool.height = h;
            ASSERT_EQ(tool.SmoothVertical(expected[0].base, nullptr), kOk);
            ASSERT_EQ(tool.SmoothVertical(expected[1].base, nullptr), kOk);
            ASSERT_EQ(c->SmoothFrame(f[0]), kOk);
            ASSERT_EQ(c->SmoothFrameAgain(f[1]), kOk);
            f.ExpectEqual(expected);
        });
    }
}

TEST(FrameFieldConvertor, NullArguments) {
    const uint32_t w = 4, h = 4;
    Frames f(3, w, h, 5);
    const auto before = f.Copy();
    for (bool interpolate : {false, true}) {
        ConvertorPtr c = MakeConvertor(interpolate, w, h, 3);
        EXPECT_EQ(c->WeaveFields(nullptr, f[1], f[2]), kFail);
        EXPECT_EQ(c->WeaveFields(f[0], nullptr, f[2]), kFail);
        EXPECT_EQ(c->WeaveFields(f[0], f[1], nullptr), kFail);
        EXPECT_EQ(c->CopyField(nullptr, f[1], 1), kFail);
        EXPECT_EQ(c->CopyField(f[0], nullptr, 0), kFail);
        EXPECT_EQ(c->KeepEvenLines(nullptr), kFail);
        EXPECT_EQ(c->KeepOddLines(nullptr), kFail);
        EXPECT_EQ(c->SmoothFrame(nullptr), TESSIVA_E_POINTER);
        EXPECT_EQ(c->SmoothFrameAgain(nullptr), TESSIVA_E_POINTER);
    }
    // The doubling split needs the frame; the interpolating one fails only
    // when the tool is missing too.
    EXPECT_EQ(MakeConvertor(false, w, h, 3)->SplitFrame(nullptr, f[1], f[2]), kFail);
    ConvertorPtr interp = MakeConvertor(true, w, h, 3);
    EXPECT_EQ(interp->SplitFrame(nullptr, f[1], f[2]), kOk);
    // Without a tool nothing that needs one runs; line copies still do.
    for (bool interpolate : {false, true}) {
        ConvertorPtr c = MakeConvertor(interpolate, w, h, 3);
        delete c->tool;
        c->tool = nullptr;
        EXPECT_EQ(c->SmoothFrame(f[0]), kFail);
        EXPECT_EQ(c->SmoothFrameAgain(f[0]), kFail);
        if (interpolate) {
            EXPECT_EQ(c->SplitFrame(nullptr, f[1], f[2]), kFail);
            EXPECT_EQ(c->SplitFrame(f[0], f[1], f[2]), kFail);
            EXPECT_EQ(c->KeepEvenLines(f[0]), kFail);
            EXPECT_EQ(c->KeepOddLines(f[0]), kFail);
        }
    }
    f.ExpectEqual(before);
}

// ---- The cases spelled out for these operations ----

// Expected line of an output: a copy of source line `a`, or avg(a, b).
struct Expect {
    int a, b = -1;
};

void ExpectLines(const uint8_t* out, const uint8_t* src, uint32_t w, const std::vector<Expect>& lines,
                 const Average& avg) {
    const size_t lb = 4 * size_t(w);
    std::vector<uint8_t> line(lb + 4);
    for (size_t y = 0; y < lines.size(); ++y) {
        const Expect& e = lines[y];
        if (e.b < 0) {
            std::memcpy(line.data(), src + e.a * lb, lb);
        } else {
            std::memcpy(line.data(), out + y * lb, lb);  // the scalar average keeps byte 3
            avg(src + e.a * lb, src + e.b * lb, line.data());
        }
        EXPECT_EQ(std::memcmp(out + y * lb, line.data(), lb), 0) << "line " << y;
    }
}

TEST(FrameField, SplitFrameExamples) {
    const uint32_t w = 8;
    for (uint32_t level : {0u, 3u}) {
        const Average avg = ToolAverage(level, w);
        {
            ConvertorPtr c = MakeConvertor(false, w, 5, level);
            Frames f(3, w, 5, 1);
            ASSERT_EQ(c->SplitFrame(f[0], f[1], f[2]), kOk);
            ExpectLines(f[1], f[0], w, {{0}, {0}, {2}, {2}, {4}}, avg);
            ExpectLines(f[2], f[0], w, {{1}, {1}, {3}, {3}, {3}}, avg);
        }
        {
            ConvertorPtr c = MakeConvertor(true, w, 4, level);
            Frames f(3, w, 4, 2);
            ASSERT_EQ(c->SplitFrame(f[0], f[1], f[2]), kOk);
            ExpectLines(f[1], f[0], w, {{0}, {0, 2}, {2}, {2}}, avg);
            ExpectLines(f[2], f[0], w, {{0}, {1}, {1, 3}, {3}}, avg);
        }
        {
            ConvertorPtr c = MakeConvertor(true, w, 5, level);
            Frames f(3, w, 5, 3);
            ASSERT_EQ(c->SplitFrame(f[0], f[1], f[2]), kOk);
            ExpectLines(f[1], f[0], w, {{0}, {0, 2}, {2}, {2, 4}, {4}}, avg);
            ExpectLines(f[2], f[0], w, {{0}, {1}, {1, 3}, {3}, {3}}, avg);
        }
    }
}

TEST(FrameField, InPlaceExamples) {
    const uint32_t w = 4;
    const Average avg = ToolAverage(3, w);
    {
        Frames f(1, w, 2, 4);
        const auto before = f.Copy();
        ASSERT_EQ(MakeConvertor(true, w, 2, 3)->KeepEvenLines(f[0]), kOk);
        ExpectLines(f[0], before.all[0].data() + before.guard, w, {{0}, {0}}, avg);
    }
    {
        Frames f(1, w, 3, 5);
        const auto before = f.Copy();
        ASSERT_EQ(MakeConvertor(true, w, 3, 3)->KeepOddLines(f[0]), kOk);
        ExpectLines(f[0], before.all[0].data() + before.guard, w, {{1}, {1}, {1}}, avg);
    }
}

TEST(FrameField, CopyFieldAndWeaveExamples) {
    const uint32_t w = 4, h = 3;
    const size_t lb = 4 * w;
    ConvertorPtr c = MakeConvertor(false, w, h, 3);
    {
        Frames f(2, w, h, 6);
        const auto before = f.Copy();
        ASSERT_EQ(c->CopyField(f[0], f[1], 1), kOk);
        EXPECT_EQ(FirstDifference(before.all[1], f.Copy().all[1]), -1);  // B untouched
        EXPECT_EQ(std::memcmp(f[0] + 1 * lb, f[1] + 1 * lb, lb), 0);
        EXPECT_EQ(std::memcmp(f[0] + 3 * lb, f[1] + 3 * lb, lb), 0);  // line h
    }
    {
        Frames f(2, w, h, 7);
        const auto before = f.Copy();
        ASSERT_EQ(c->CopyField(f[0], f[1], 0), kOk);
        EXPECT_EQ(FirstDifference(before.all[0], f.Copy().all[0]), -1);  // A untouched
        EXPECT_EQ(std::memcmp(f[1], f[0], lb), 0);
        EXPECT_EQ(std::memcmp(f[1] + 2 * lb, f[0] + 2 * lb, lb), 0);
    }
    {
        Frames f(3, w, h, 8);
        ASSERT_EQ(c->WeaveFields(f[0], f[1], f[2]), kOk);
        EXPECT_EQ(std::memcmp(f[2] + 3 * lb, f[1] + 3 * lb, lb), 0);  // B's line 3 into line 3
    }
}

// ---- Free routines ----

TEST(FrameFieldRoutines, FieldToFrameMatchesCopyField) {
    ForSizes([](uint32_t w, uint32_t h, uint32_t seed) {
        for (int32_t flag : {0, 1, 7}) {
            Frames f(2, w, h, seed);
            auto expected = f.Copy();
            RefCopyField(expected[0], expected[1], flag != 0, h);
            ASSERT_EQ(FieldToFrame(f[0], f[1], flag, int32_t(w), int32_t(h)), kOk);
            f.ExpectEqual(expected);
        }
    });
}

// The three routines of one form, doubling and interpolating.
struct Form {
    std::function<TessivaResult(const uint8_t*, uint8_t*, uint8_t*, int32_t, int32_t, int32_t)> frameToField;
    std::function<TessivaResult(uint8_t*, int32_t, int32_t, int32_t)> makeBottom, makeTop;
};

void CheckForm(const Form& form, const std::function<Average(uint32_t w)>& average) {
    ForSizes([&](uint32_t w, uint32_t h, uint32_t seed) {
        const Average avg = average(w);
        for (int32_t interpolate : {0, 1}) {
            SCOPED_TRACE(interpolate ? "interpolating" : "doubling");
            for (int outputs : {3, 1, 2}) {
                Frames f(3, w, h, seed);
                auto expected = f.Copy();
                Frame e = expected[1], d = expected[2];
                if (interpolate)
                    RefInterpolateSplit(expected[0], outputs & 1 ? &e : nullptr, outputs & 2 ? &d : nullptr, h, avg);
                else
                    RefDoubleSplit(expected[0], outputs & 1 ? &e : nullptr, outputs & 2 ? &d : nullptr, h);
                ASSERT_EQ(form.frameToField(f[0], outputs & 1 ? f[1] : nullptr, outputs & 2 ? f[2] : nullptr,
                                            int32_t(w), int32_t(h), interpolate),
                          kOk);
                f.ExpectEqual(expected);
            }
            Frames even(1, w, h, seed), odd(1, w, h, seed + 1000);
            auto expectedEven = even.Copy(), expectedOdd = odd.Copy();
            if (interpolate) {
                RefInterpolateKeepEven(expectedEven[0], h, avg);
                RefInterpolateKeepOdd(expectedOdd[0], h, avg);
            } else {
                RefDoubleKeepEven(expectedEven[0], h);
                RefDoubleKeepOdd(expectedOdd[0], h);
            }
            ASSERT_EQ(form.makeBottom(even[0], int32_t(w), int32_t(h), interpolate), kOk);
            ASSERT_EQ(form.makeTop(odd[0], int32_t(w), int32_t(h), interpolate), kOk);
            even.ExpectEqual(expectedEven);
            odd.ExpectEqual(expectedOdd);
        }
    });
}

TEST(FrameFieldRoutines, SSE2LevelFormsWithForcedLevels) {
    for (uint32_t level : {0u, 2u, 3u, 4u}) {
        SCOPED_TRACE(testing::Message() << "level " << level);
        auto tool = std::make_shared<RGB32_Tool>();
        tool->instructionLevel = level;
        Form form{
            [tool](const uint8_t* fr, uint8_t* e, uint8_t* d, int32_t w, int32_t h, int32_t i) {
                return FrameToFieldWithTool(*tool, fr, e, d, w, h, i);
            },
            [tool](uint8_t* fr, int32_t w, int32_t h, int32_t i) { return MakeBottomFieldWithTool(*tool, fr, w, h, i); },
            [tool](uint8_t* fr, int32_t w, int32_t h, int32_t i) { return MakeTopFieldWithTool(*tool, fr, w, h, i); }};
        CheckForm(form, [level](uint32_t w) { return ToolAverage(level, w); });
    }
}

TEST(FrameFieldRoutines, SSE2LevelFormsWithDetectedLevel) {
    const uint32_t level = DetectInstructionSet();
    CheckForm(Form{FrameToField, MakeBottomField, MakeTopField}, [level](uint32_t w) { return ToolAverage(level, w); });
}

TEST(FrameFieldRoutines, AVX2Forms) {
    if (!HasAVX2()) GTEST_SKIP() << "no AVX2";
    CheckForm(Form{FrameToFieldAVX2, MakeBottomFieldAVX2, MakeTopFieldAVX2}, WrapAverage);
}

TEST(FrameFieldRoutines, LevelChoice) {
    // Below level 6 the SSE2-level form (its own tool, its own detection) runs.
    const uint32_t level = DetectInstructionSet();
    const Average avg = ToolAverage(level, 8);
    Frames f(1, 8, 5, 9);
    auto expected = f.Copy();
    RefInterpolateKeepEven(expected[0], 5, avg);
    ASSERT_EQ(MakeBottomFieldForLevel(kLevelSSE41, f[0], 8, 5, 1), kOk);
    f.ExpectEqual(expected);
    if (!HasAVX2()) return;
    Frames g(3, 8, 5, 10);
    auto expectedG = g.Copy();
    Frame e = expectedG[1], d = expectedG[2];
    RefInterpolateSplit(expectedG[0], &e, &d, 5, WrapAverage(8));
    RefInterpolateKeepOdd(expectedG[0], 5, WrapAverage(8));
    ASSERT_EQ(FrameToFieldForLevel(kLevelAVX2, g[0], g[1], g[2], 8, 5, 1), kOk);
    ASSERT_EQ(MakeTopFieldForLevel(kLevelAVX2, g[0], 8, 5, 1), kOk);
    g.ExpectEqual(expectedG);
}

TEST(FrameFieldRoutines, ZeroBytesAverageTo128OnlyInAVX2Form) {
    const uint32_t w = 9, h = 3;  // one 8-pixel step and one single pixel
    std::vector<uint8_t> frame(4 * w * (h + 1), 0);  // w % 4 == 1: one pixel past is read
    auto tool = std::make_unique<RGB32_Tool>();
    tool->instructionLevel = 3;
    ASSERT_EQ(MakeBottomFieldWithTool(*tool, frame.data(), w, h, 1), kOk);
    for (size_t i = 4 * w; i < 8 * w; ++i) EXPECT_EQ(frame[i], 0) << i;
    if (!HasAVX2()) GTEST_SKIP() << "no AVX2";
    ASSERT_EQ(MakeBottomFieldAVX2(frame.data(), w, h, 1), kOk);
    for (size_t i = 4 * w; i < 8 * w; ++i) EXPECT_EQ(frame[i], 128) << i;

    // The byte from the lower line is the one that wraps.
    const uint8_t lower[32] = {0, 0, 1, 255, 7, 0, 200, 100}, higher[32] = {0, 255, 2, 255, 8, 9, 0, 101};
    uint8_t out[32];
    AverageLineAVX2(lower, higher, out, 8);
    const uint8_t expected[8] = {128, 255, 1, 255, 7, 132, 100, 100};
    EXPECT_EQ(std::memcmp(out, expected, 8), 0);
    std::memset(out, 0x33, sizeof out);
    AverageLineAVX2(lower, higher, out, 2);  // per-pixel path
    EXPECT_EQ(std::memcmp(out, expected, 8), 0);
    EXPECT_EQ(out[8], 0x33);
}

TEST(FrameFieldRoutines, BadArguments) {
    const uint32_t w = 4, h = 4;
    Frames f(3, w, h, 11);
    const auto before = f.Copy();
    EXPECT_EQ(FieldToFrame(nullptr, f[1], 1, w, h), kFail);
    EXPECT_EQ(FieldToFrame(f[0], nullptr, 0, w, h), kFail);
    EXPECT_EQ(FieldToFrame(f[0], f[1], 1, -1, h), kFail);
    EXPECT_EQ(FieldToFrame(f[0], f[1], 1, w, -2), kFail);
    for (int32_t interpolate : {0, 1}) {
        EXPECT_EQ(FrameToField(nullptr, f[1], f[2], w, h, interpolate), kFail);
        EXPECT_EQ(MakeBottomField(nullptr, w, h, interpolate), kFail);
        EXPECT_EQ(MakeTopField(nullptr, w, h, interpolate), kFail);
        // Negative sizes: nothing to do.
        EXPECT_EQ(FrameToField(f[0], f[1], f[2], -4, h, interpolate), kOk);
        EXPECT_EQ(FrameToField(f[0], f[1], f[2], w, -3, interpolate), kOk);
        EXPECT_EQ(MakeBottomField(f[0], w, -3, interpolate), kOk);
        EXPECT_EQ(MakeTopField(f[0], -4, h, interpolate), kOk);
        EXPECT_EQ(MakeTopField(f[0], w, -1, interpolate), kOk);
        if (HasAVX2()) {
            EXPECT_EQ(FrameToFieldAVX2(nullptr, f[1], f[2], w, h, interpolate), kFail);
            EXPECT_EQ(MakeBottomFieldAVX2(nullptr, w, h, interpolate), kFail);
            EXPECT_EQ(MakeTopFieldAVX2(nullptr, w, h, interpolate), kFail);
            EXPECT_EQ(FrameToFieldAVX2(f[0], f[1], f[2], w, -3, interpolate), kOk);
            EXPECT_EQ(MakeBottomFieldAVX2(f[0], -4, h, interpolate), kOk);
            EXPECT_EQ(MakeTopFieldAVX2(f[0], w, -1, interpolate), kOk);
        }
    }
    f.ExpectEqual(before);
}

}  // namespace
}  // namespace tessiva
