// Conversions into RGB24 at both levels and the RGB32 flip, against scalar
// models, on random pictures of every small width, padded pitches, guard bytes
// around every buffer and a random destination compared in full.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "convert/rgb24.h"
#include "cpu/routine_table.h"
#include "support/test_support.h"
#include "unit/routine_shapes.h"

namespace {

using namespace tessiva;
using test::FirstDifference;
using test::GuardedBuffer;
using test::Describe;
using test::ScopedTableLevel;
using test::Shape;
using test::TableLevels;

// Every width 1..40 with heights 1..6 and a few pads (odd ones included), and
// some wide rows.
std::vector<Shape> Shapes() {
    std::vector<Shape> shapes;
    const uint32_t pads[][2] = {{0, 0}, {4, 1}, {9, 5}};
    for (uint32_t w = 1; w <= 72; ++w)
        for (uint32_t h = 1; h <= 4; ++h)
            for (const auto& pad : pads) shapes.push_back({w, h, pad[0], pad[1]});
    for (uint32_t w : {255u, 1030u, 1920u}) {
        shapes.push_back({w, 3, 0, 0});
        shapes.push_back({w, 2, 7, 3});
    }
    return shapes;
}

int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

void YuvToBgr(const uint8_t* yuv32, int blueFactor, uint8_t* bgr) {
    const int v = yuv32[0] - 128, u = yuv32[1] - 128, l = 4768 * (yuv32[2] - 16) + 2048;
    bgr[0] = uint8_t(Clamp((l + blueFactor * u) >> 12));
    bgr[1] = uint8_t(Clamp((l - 1602 * u - 3330 * v) >> 12));
    bgr[2] = uint8_t(Clamp((l + 6537 * v) >> 12));
}

// The models write into whole allocations: src / dst point at the picture
// inside them, and may step outside the picture where the routine does.
enum class Kind { kRgb32, kYuv32Exact, kYuv32Pairs };

struct Variant {
    const char* name;
    ConvertRoutine routine;
    Kind kind;
    bool bottomUp;       // destination written bottom-up
    int blueFactor;      // YUV32 sources
};

void Model(const Variant& v, const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcPitch, uint8_t* dst,
           uint32_t dstPitch) {
    if (w == 0) return;
    for (uint32_t r = 0; r < h; ++r) {
        const uint32_t dstRow = v.bottomUp ? h - 1 - r : r;
        if (v.kind == Kind::kYuv32Pairs) {
            // floor(W / 2) pairs; with an odd W each row starts one more pixel
            // to the left, on both sides.
            const ptrdiff_t shift = ptrdiff_t(w % 2) * r;
            const uint8_t* s = src + ptrdiff_t(r) * srcPitch - 4 * shift;
            uint8_t* d = dst + ptrdiff_t(dstRow) * dstPitch - 3 * shift;
            for (uint32_t x = 0; x < w / 2 * 2; ++x) YuvToBgr(s + 4 * x, v.blueFactor, d + 3 * x);
        } else {
            const uint8_t* s = src + size_t(r) * srcPitch;
            uint8_t* d = dst + size_t(dstRow) * dstPitch;
            for (uint32_t x = 0; x < w; ++x) {
                if (v.kind == Kind::kRgb32) {
                    d[3 * x] = s[4 * x];
                    d[3 * x + 1] = s[4 * x + 1];
                    d[3 * x + 2] = s[4 * x + 2];
                } else {
                    YuvToBgr(s + 4 * x, v.blueFactor, d + 3 * x);
                }
            }
        }
    }
}

const Variant kVariants[] = {
    {"RGB32toRGB24_Plain", RGB32toRGB24_Plain, Kind::kRgb32, false, 0},
    {"RGB32toRGB24_SSE2", RGB32toRGB24_SSE2, Kind::kRgb32, false, 0},
    {"InvertRGB32toRGB24_Plain", InvertRGB32toRGB24_Plain, Kind::kRgb32, true, 0},
    {"InvertRGB32toRGB24_SSE2", InvertRGB32toRGB24_SSE2, Kind::kRgb32, true, 0},
    {"YUV32toRGB24_Plain", YUV32toRGB24_Plain, Kind::kYuv32Pairs, false, 8265},
    {"YUV32toRGB24_SSE2", YUV32toRGB24_SSE2, Kind::kYuv32Exact, false, 8266},
    {"InvertYUV32toRGB24_Plain", InvertYUV32toRGB24_Plain, Kind::kYuv32Pairs, true, 8265},
    {"InvertYUV32toRGB24_SSE2", InvertYUV32toRGB24_SSE2, Kind::kYuv32Exact, true, 8266},
};

testing::AssertionResult Check(const Variant& v, const Shape& s, uint32_t seed) {
    const uint32_t srcPitch = s.width * 4 + s.srcPad, dstPitch = s.width * 3 + s.dstPad;
    // The odd-width shift of the pair routines walks up to 3 x H bytes before
    // the destination when it is written bottom-up.
    GuardedBuffer src(size_t(srcPitch) * s.height, seed, 64);
    GuardedBuffer dst(size_t(dstPitch) * s.height, seed + 1, 3 * s.height + 64);
    const std::vector<uint8_t> srcBefore = src.all();
    std::vector<uint8_t> expected = dst.all();
    Model(v, src.data(), s.width, s.height, srcPitch, expected.data() + dst.guard(), dstPitch);
    v.routine(src.data(), s.width, s.height, srcPitch, dst.data(), s.width, s.height, dstPitch);
    const long d = FirstDifference(expected, dst.all());
    if (d >= 0)
        return testing::AssertionFailure() << Describe(v.name, s) << ": first difference at destination byte "
                                           << d - long(dst.guard());
    if (src.all() != srcBefore) return testing::AssertionFailure() << Describe(v.name, s) << ": source changed";
    return testing::AssertionSuccess();
}

TEST(Rgb24, EveryVariantMatchesModelForEverySize) {
    uint32_t seed = 1;
    for (int level : TableLevels()) {
        const ScopedTableLevel table(level);
        for (const Shape& s : Shapes())
            for (const Variant& v : kVariants) ASSERT_TRUE(Check(v, s, seed++));
    }
}

TEST(Rgb24, SinglePixelRowsWriteThreeBytesEach) {
    for (const Variant& v : kVariants) {
        if (v.kind != Kind::kRgb32) continue;
        const GuardedBuffer src(4 * 3, 21);
        GuardedBuffer dst(8 * 3, 22);
        std::vector<uint8_t> expected = dst.all();
        for (uint32_t r = 0; r < 3; ++r)
            for (int k = 0; k < 3; ++k)
                expected[dst.guard() + (v.bottomUp ? 2 - r : r) * 8 + k] = src.data()[4 * r + k];
        v.routine(src.data(), 1, 3, 4, dst.data(), 1, 3, 8);
        EXPECT_EQ(FirstDifference(expected, dst.all()), -1) << v.name;
    }
}

TEST(Rgb24, ZeroWidthMismatchedSizesAndNullPointersWriteNothing) {
    const GuardedBuffer src(8 * 4 * 4, 23);
    GuardedBuffer dst(8 * 4 * 4, 24);
    const std::vector<uint8_t> before = dst.all();
    for (const Variant& v : kVariants) {
        v.routine(src.data(), 0, 4, 32, dst.data(), 0, 4, 32);
        v.routine(src.data(), 8, 4, 32, dst.data(), 7, 4, 32);
        v.routine(src.data(), 8, 4, 32, dst.data(), 8, 3, 32);
        v.routine(nullptr, 8, 4, 32, dst.data(), 8, 4, 32);
        v.routine(src.data(), 8, 4, 32, nullptr, 8, 4, 32);
        v.routine(src.data(), 8, 0, 32, dst.data(), 8, 0, 32);
        EXPECT_EQ(dst.all(), before) << v.name;
    }
}

TEST(Rgb24, Yuv32BlueFactorDiffersByLevel) {
    // Y 16, U 156, V 128: blue 57 with 8266 (SSE2 level), 56 with 8265 (baseline).
    const uint8_t src[8] = {128, 156, 16, 0, 128, 156, 16, 0};
    uint8_t sse[6] = {}, plain[6] = {};
    YUV32toRGB24_SSE2(src, 2, 1, 8, sse, 2, 1, 6);
    YUV32toRGB24_Plain(src, 2, 1, 8, plain, 2, 1, 6);
    EXPECT_EQ(sse[0], 57);
    EXPECT_EQ(sse[3], 57);
    EXPECT_EQ(plain[0], 56);
    EXPECT_EQ(plain[3], 56);
}

// ---- InvertRGB32toRGB32 ------------------------------------------------------

TEST(FlipRgb32, CopiesRowsInReverseOrder) {
    uint32_t seed = 100;
    for (const Shape& s : Shapes()) {
        const uint32_t srcPitch = s.width * 4 + s.srcPad, dstPitch = s.width * 4 + s.dstPad;
        const GuardedBuffer src(size_t(srcPitch) * s.height, seed++);
        GuardedBuffer dst(size_t(dstPitch) * s.height, seed++);
        std::vector<uint8_t> expected = dst.all();
        for (uint32_t r = 0; r < s.height; ++r)
            for (uint32_t b = 0; b < s.width * 4; ++b)
                expected[dst.guard() + size_t(r) * dstPitch + b] = src.data()[size_t(s.height - 1 - r) * srcPitch + b];
        InvertRGB32toRGB32(src.data(), s.width, s.height, srcPitch, dst.data(), s.width, s.height, dstPitch);
        ASSERT_EQ(FirstDifference(expected, dst.all()), -1) << Describe("InvertRGB32toRGB32", s);
    }
}

TEST(FlipRgb32, SingleRowIsACopyAndNoRowsWriteNothing) {
    const GuardedBuffer src(40 * 4, 31);
    GuardedBuffer dst(40 * 4, 32);
    const std::vector<uint8_t> before = dst.all();
    InvertRGB32toRGB32(src.data(), 40, 0, 160, dst.data(), 40, 0, 160);
    EXPECT_EQ(dst.all(), before);
    InvertRGB32toRGB32(src.data(), 40, 1, 160, nullptr, 40, 1, 160);
    InvertRGB32toRGB32(nullptr, 40, 1, 160, dst.data(), 40, 1, 160);
    InvertRGB32toRGB32(src.data(), 40, 1, 160, dst.data(), 39, 1, 160);
    EXPECT_EQ(dst.all(), before);
    InvertRGB32toRGB32(src.data(), 40, 1, 160, dst.data(), 40, 1, 160);
    EXPECT_TRUE(std::equal(src.data(), src.data() + 160, dst.data()));
    EXPECT_TRUE(std::equal(before.begin(), before.begin() + long(dst.guard()), dst.all().begin()));
    EXPECT_TRUE(std::equal(before.end() - long(dst.guard()), before.end(), dst.all().end() - long(dst.guard())));
}

}  // namespace
