// NV12 writers at every level against scalar models, on random pictures of
// every small size, padded pitches, guard bytes around every buffer and a
// random destination compared in full; plus a round trip through NV12.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "convert/nv12.h"
#include "cpu/routine_table.h"
#include "planar420_model.h"
#include "support/test_support.h"
#include "unit/routine_shapes.h"

namespace {

using namespace tessiva;
using planar_model::Frame420;
using planar_model::Layout;
using planar_model::Level;
using planar_model::Source;
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
    const uint32_t pads[][2] = {{0, 0}, {5, 1}, {12, 3}, {3, 6}};
    for (uint32_t w = 1; w <= 40; ++w)
        for (uint32_t h = 1; h <= 6; ++h)
            for (const auto& pad : pads) shapes.push_back({w, h, pad[0], pad[1]});
    for (uint32_t w : {255u, 1030u, 1920u})
        for (uint32_t h : {2u, 3u}) {
            shapes.push_back({w, h, 0, 0});
            shapes.push_back({w, h, 7, 5});
        }
    return shapes;
}

// Y plane of H rows, then ceil(H / 2) rows of U,V pairs, all of pitch P.
size_t Nv12Bytes(uint32_t pitch, uint32_t height) { return size_t(pitch) * (height + (height + 1) / 2); }

testing::AssertionResult Compare(const char* name, const Shape& s, const std::vector<uint8_t>& expected,
                                 const GuardedBuffer& dst, const std::vector<uint8_t>& srcBefore,
                                 const GuardedBuffer& src) {
    const long d = FirstDifference(expected, dst.all());
    if (d >= 0)
        return testing::AssertionFailure() << Describe(name, s) << ": first difference at destination byte "
                                           << d - long(dst.guard());
    if (src.all() != srcBefore) return testing::AssertionFailure() << Describe(name, s) << ": source changed";
    return testing::AssertionSuccess();
}

// ---- RGB32 / YUV32 to NV12 ---------------------------------------------------

struct PackedVariant {
    const char* name;
    ConvertRoutine routine;
    Source source;
    Level level;
};

const PackedVariant kPacked[] = {
    {"RGB32toNV12_Plain", RGB32toNV12_Plain, Source::kRgb32, Level::kBaseline},
    {"RGB32toNV12_SSE2", RGB32toNV12_SSE2, Source::kRgb32, Level::kSse},
    {"YUV32toNV12_Plain", YUV32toNV12_Plain, Source::kYuv32, Level::kBaseline},
    {"YUV32toNV12_SSE2", YUV32toNV12_SSE2, Source::kYuv32, Level::kSse},
};

testing::AssertionResult CheckPacked(const PackedVariant& v, const Shape& s, uint32_t seed) {
    const Frame420 f{s.width, s.height, s.width * 4 + s.srcPad, false, s.width + s.dstPad};
    GuardedBuffer src(size_t(f.srcPitch) * f.height, seed, f.srcPitch + 64);
    GuardedBuffer dst(Nv12Bytes(f.pitch, f.height), seed + 1, 2 * f.pitch + 64);
    const std::vector<uint8_t> srcBefore = src.all();
    std::vector<uint8_t> expected = dst.all();
    planar_model::Write420(src.all(), long(src.guard()), f, v.source, v.level, Layout::kNv12, expected,
                           long(dst.guard()));
    v.routine(src.data(), f.width, f.height, f.srcPitch, dst.data(), f.width, f.height, f.pitch);
    return Compare(v.name, s, expected, dst, srcBefore, src);
}

TEST(Nv12, PackedWritersMatchModelForEverySize) {
    uint32_t seed = 1;
    for (int level : TableLevels()) {
        const ScopedTableLevel table(level);
        for (const Shape& s : Shapes())
            for (const PackedVariant& v : kPacked) ASSERT_TRUE(CheckPacked(v, s, seed++));
    }
}

TEST(Nv12, RGB32BlockChromaFollowsEachLevel) {
    // Row pair chroma U 100 (green 96) over U 101 (green 93): the baseline rounds
    // the four-pixel sum once (100), the SSE2 level averages the rows rounding up (101).
    const uint8_t src[16] = {0, 96, 0, 255, 0, 96, 0, 255, 0, 93, 0, 255, 0, 93, 0, 255};
    uint8_t plain[6] = {}, sse[6] = {};
    RGB32toNV12_Plain(src, 2, 2, 8, plain, 2, 2, 2);
    RGB32toNV12_SSE2(src, 2, 2, 8, sse, 2, 2, 2);
    EXPECT_EQ(plain[4], 100);
    EXPECT_EQ(sse[4], 101);
    EXPECT_EQ(plain[5], planar_model::BlockV(0, 2 * 96 + 2 * 93, 0));
    EXPECT_EQ(sse[5], (planar_model::PairV(0, 2 * 96, 0) + planar_model::PairV(0, 2 * 93, 0) + 1) >> 1);
}

// ---- YUY2 to NV12 ------------------------------------------------------------

struct Yuy2Variant {
    const char* name;
    ConvertRoutine routine;
    int rounding;  // 0: truncating row average, 1: rounding up
};

const Yuy2Variant kYuy2[] = {
    {"YUY2toNV12_Plain", YUY2toNV12_Plain, 0},
    {"YUY2toNV12_MMX", YUY2toNV12_MMX, 1},
    {"YUY2toNV12_SSE2", YUY2toNV12_SSE2, 1},
};

// Whole pairs of rows and of pixels; an odd last row or column stays as it was.
void ModelYuy2ToNv12(const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcPitch, int rounding, uint8_t* dst,
                     uint32_t pitch) {
    if (h < 2) return;
    for (uint32_t j = 0; j < h / 2; ++j)
        for (uint32_t i = 0; i < w / 2; ++i) {
            const uint8_t* a = src + size_t(2 * j) * srcPitch + 4 * i;
            const uint8_t* b = a + srcPitch;
            dst[size_t(2 * j) * pitch + 2 * i] = a[0];
            dst[size_t(2 * j) * pitch + 2 * i + 1] = a[2];
            dst[size_t(2 * j + 1) * pitch + 2 * i] = b[0];
            dst[size_t(2 * j + 1) * pitch + 2 * i + 1] = b[2];
            uint8_t* uv = dst + size_t(pitch) * h + size_t(j) * pitch + 2 * i;
            uv[0] = uint8_t((a[1] + b[1] + rounding) / 2);
            uv[1] = uint8_t((a[3] + b[3] + rounding) / 2);
        }
}

testing::AssertionResult CheckYuy2(const Yuy2Variant& v, const Shape& s, uint32_t seed) {
    const uint32_t srcPitch = s.width * 2 + s.srcPad, pitch = s.width + s.dstPad;
    GuardedBuffer src(size_t(srcPitch) * s.height, seed);
    GuardedBuffer dst(Nv12Bytes(pitch, s.height), seed + 1);
    const std::vector<uint8_t> srcBefore = src.all();
    std::vector<uint8_t> expected = dst.all();
    ModelYuy2ToNv12(src.data(), s.width, s.height, srcPitch, v.rounding, expected.data() + dst.guard(), pitch);
    v.routine(src.data(), s.width, s.height, srcPitch, dst.data(), s.width, s.height, pitch);
    return Compare(v.name, s, expected, dst, srcBefore, src);
}

TEST(Nv12, Yuy2WritersMatchModelForEverySize) {
    uint32_t seed = 7000;
    for (const Shape& s : Shapes())
        for (const Yuy2Variant& v : kYuy2) ASSERT_TRUE(CheckYuy2(v, s, seed++));
}

TEST(Nv12, Yuy2RowAverageTruncatesOnlyAtLevelZero) {
    // Upper row U 100 V 50, lower row U 101 V 51.
    const uint8_t src[8] = {16, 100, 17, 50, 18, 101, 19, 51};
    const int expectedU[] = {100, 101, 101};
    for (size_t i = 0; i < 3; ++i) {
        uint8_t dst[6] = {};
        kYuy2[i].routine(src, 2, 2, 4, dst, 2, 2, 2);
        EXPECT_EQ(std::vector<int>(dst, dst + 6), (std::vector<int>{16, 17, 18, 19, expectedU[i], expectedU[i] - 50}))
            << kYuy2[i].name;
    }
}

TEST(Nv12, MismatchedSizesNullPointersAndNoRowsWriteNothing) {
    const GuardedBuffer src(8 * 4 * 8, 11);
    GuardedBuffer dst(8 * 4 * 8, 12);
    const std::vector<uint8_t> before = dst.all();
    std::vector<ConvertRoutine> all;
    for (const PackedVariant& v : kPacked) all.push_back(v.routine);
    for (const Yuy2Variant& v : kYuy2) all.push_back(v.routine);
    for (ConvertRoutine f : all) {
        f(src.data(), 8, 8, 32, dst.data(), 6, 8, 8);
        f(src.data(), 8, 8, 32, dst.data(), 8, 6, 8);
        f(nullptr, 8, 8, 32, dst.data(), 8, 8, 8);
        f(src.data(), 8, 8, 32, nullptr, 8, 8, 8);
        f(src.data(), 8, 0, 32, dst.data(), 8, 0, 8);
        EXPECT_EQ(dst.all(), before);
    }
}

// ---- round trip --------------------------------------------------------------

int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// NV12 back to RGB32 for the round trip: each block's U, V applied to its four
// pixels with the BT.601 studio-range matrix.
std::vector<uint8_t> Nv12ToRgb32(const std::vector<uint8_t>& nv12, uint32_t w, uint32_t h) {
    std::vector<uint8_t> rgb(size_t(w) * h * 4);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            const uint8_t* uv = &nv12[size_t(w) * h + size_t(y / 2) * w + 2 * (x / 2)];
            const int u = uv[0] - 128, v = uv[1] - 128, l = 4768 * (nv12[size_t(y) * w + x] - 16) + 2048;
            uint8_t* d = &rgb[(size_t(y) * w + x) * 4];
            d[0] = uint8_t(Clamp((l + 8265 * u) >> 12));
            d[1] = uint8_t(Clamp((l - 1602 * u - 3330 * v) >> 12));
            d[2] = uint8_t(Clamp((l + 6537 * v) >> 12));
            d[3] = 255;
        }
    return rgb;
}

TEST(Nv12, RoundTripKeepsPictureQuality) {
    const uint32_t w = 320, h = 240;
    std::vector<uint8_t> picture(size_t(w) * h * 4);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            uint8_t* q = &picture[(size_t(y) * w + x) * 4];
            q[0] = uint8_t(255.0 * x / (w - 1));
            q[1] = uint8_t(127.5 + 120.0 * std::sin(x * 0.05) * std::cos(y * 0.07));
            q[2] = uint8_t(255.0 * y / (h - 1));
            q[3] = uint8_t(x ^ y);
        }
    for (const PackedVariant& v : {kPacked[0], kPacked[1]}) {
        std::vector<uint8_t> nv12(Nv12Bytes(w, h));
        v.routine(picture.data(), w, h, w * 4, nv12.data(), w, h, w);
        const std::vector<uint8_t> back = Nv12ToRgb32(nv12, w, h);
        double se = 0;
        for (size_t i = 0; i < picture.size(); ++i)
            if (i % 4 != 3) se += (double(picture[i]) - back[i]) * (double(picture[i]) - back[i]);
        const double psnr = 10.0 * std::log10(255.0 * 255.0 * double(picture.size() / 4 * 3) / se);
        std::printf("RGB32 -> NV12 -> RGB32 PSNR (%s): %.2f dB\n", v.name, psnr);
        EXPECT_GT(psnr, 38.0) << v.name;
    }
}

}  // namespace
