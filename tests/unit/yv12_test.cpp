// YV12 writers and readers at both levels against scalar models, on random
// pictures of every small size, padded pitches (odd P - W included), guard
// bytes around every buffer and a random destination compared in full.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "convert/yv12.h"
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

struct Variant {
    const char* name;
    ConvertRoutine routine;
    Level level;
};

// Every width 1..40 with heights 1..6 and a few pads (odd ones included), and
// some wide rows.
std::vector<Shape> Shapes() {
    std::vector<Shape> shapes;
    const uint32_t pads[][2] = {{0, 0}, {5, 1}, {12, 3}, {4, 6}};
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

size_t Yv12Bytes(uint32_t pitch, uint32_t height) {
    const size_t luma = size_t(pitch) * height;
    return luma + 2 * (luma / 4);
}

// ---- writers ---------------------------------------------------------------

testing::AssertionResult CheckWriter(const Variant& v, Source source, bool bottomUp, const Shape& s, uint32_t seed) {
    const Frame420 f{s.width, s.height, s.width * 4 + s.srcPad, bottomUp, s.width + s.dstPad};
    // The baseline may read one row past either end of the source and write a
    // chroma row past the planes: guards cover both.
    GuardedBuffer src(size_t(f.srcPitch) * f.height, seed, f.srcPitch + 64);
    GuardedBuffer dst(Yv12Bytes(f.pitch, f.height), seed + 1, 2 * f.pitch + 64);
    const std::vector<uint8_t> srcBefore = src.all();
    std::vector<uint8_t> expected = dst.all();
    planar_model::Write420(src.all(), long(src.guard()), f, source, v.level, Layout::kYv12, expected,
                           long(dst.guard()));
    v.routine(src.data(), f.width, f.height, f.srcPitch, dst.data(), f.width, f.height, f.pitch);
    const long d = FirstDifference(expected, dst.all());
    if (d >= 0)
        return testing::AssertionFailure() << Describe(v.name, s) << ": first difference at destination byte "
                                           << d - long(dst.guard());
    if (src.all() != srcBefore) return testing::AssertionFailure() << Describe(v.name, s) << ": source changed";
    return testing::AssertionSuccess();
}

const Variant kRGB32toYV12[] = {{"RGB32toYV12_Plain", RGB32toYV12_Plain, Level::kBaseline},
                                {"RGB32toYV12_SSE2", RGB32toYV12_SSE2, Level::kSse}};
const Variant kInvertRGB32toYV12[] = {{"InvertRGB32toYV12_Plain", InvertRGB32toYV12_Plain, Level::kBaseline},
                                      {"InvertRGB32toYV12_SSE2", InvertRGB32toYV12_SSE2, Level::kSse}};
const Variant kYUV32toYV12[] = {{"YUV32toYV12_Plain", YUV32toYV12_Plain, Level::kBaseline},
                                {"YUV32toYV12_SSE2", YUV32toYV12_SSE2, Level::kSse}};

TEST(Yv12Writers, MatchModelForEverySize) {
    uint32_t seed = 1;
    for (int level : TableLevels()) {
        const ScopedTableLevel table(level);
        for (const Shape& s : Shapes()) {
            for (const Variant& v : kRGB32toYV12) ASSERT_TRUE(CheckWriter(v, Source::kRgb32, false, s, seed++));
            for (const Variant& v : kInvertRGB32toYV12)
                ASSERT_TRUE(CheckWriter(v, Source::kRgb32, true, s, seed++));
            for (const Variant& v : kYUV32toYV12) ASSERT_TRUE(CheckWriter(v, Source::kYuv32, false, s, seed++));
        }
    }
}

// Writes a 2 x 2 RGB32 block (upper-left, upper-right, lower-left, lower-right
// pixels as B, G, R) through `routine` and returns Y0..Y3, V, U.
std::vector<int> ConvertBlock(ConvertRoutine routine, const uint8_t (&bgr)[4][3]) {
    uint8_t src[16];
    for (int i = 0; i < 4; ++i) {
        src[4 * i] = bgr[i][0];
        src[4 * i + 1] = bgr[i][1];
        src[4 * i + 2] = bgr[i][2];
        src[4 * i + 3] = uint8_t(0x40 + i);
    }
    uint8_t dst[6] = {};
    routine(src, 2, 2, 8, dst, 2, 2, 2);
    return {dst[0], dst[1], dst[2], dst[3], dst[4], dst[5]};
}

TEST(Yv12Writers, BlockOfEqualPixelsGivesThatPixelsChroma) {
    const std::vector<uint8_t> colours = test::RandomBytes(3 * 16, 77);
    for (size_t c = 0; c < colours.size(); c += 3) {
        const int b = colours[c], g = colours[c + 1], r = colours[c + 2];
        const uint8_t block[4][3] = {{uint8_t(b), uint8_t(g), uint8_t(r)}, {uint8_t(b), uint8_t(g), uint8_t(r)},
                                     {uint8_t(b), uint8_t(g), uint8_t(r)}, {uint8_t(b), uint8_t(g), uint8_t(r)}};
        const int y = planar_model::Luma(r, g, b);
        const std::vector<int> expected = {y, y, y, y, planar_model::PixelV(r, g, b), planar_model::PixelU(r, g, b)};
        for (const Variant& v : kRGB32toYV12) EXPECT_EQ(ConvertBlock(v.routine, block), expected) << v.name;
        for (const Variant& v : kInvertRGB32toYV12) EXPECT_EQ(ConvertBlock(v.routine, block), expected) << v.name;
    }
}

TEST(Yv12Writers, SseLevelAveragesRowChromaRoundingUp) {
    // Green 96 alone gives U = 100, green 93 gives U = 101 (blue and red 0).
    const uint8_t block[4][3] = {{0, 96, 0}, {0, 96, 0}, {0, 93, 0}, {0, 93, 0}};
    ASSERT_EQ(planar_model::PixelU(0, 96, 0), 100);
    ASSERT_EQ(planar_model::PixelU(0, 93, 0), 101);
    EXPECT_EQ(ConvertBlock(RGB32toYV12_SSE2, block)[5], 101);
    EXPECT_EQ(ConvertBlock(InvertRGB32toYV12_SSE2, block)[5], 101);
    // The baseline rounds the four-pixel sum once: 100.
    EXPECT_EQ(ConvertBlock(RGB32toYV12_Plain, block)[5], 100);
    EXPECT_EQ(ConvertBlock(InvertRGB32toYV12_Plain, block)[5], 100);
}

TEST(Yv12Writers, Yuv32ChromaMeanTruncates) {
    // U of the four pixels 100, 100, 100, 101; V 200, 201, 201, 201.
    const uint8_t src[16] = {200, 100, 16, 255, 201, 100, 17, 255, 201, 100, 18, 255, 201, 101, 19, 255};
    for (const Variant& v : kYUV32toYV12) {
        uint8_t dst[6] = {};
        v.routine(src, 2, 2, 8, dst, 2, 2, 2);
        EXPECT_EQ(std::vector<int>(dst, dst + 6), (std::vector<int>{16, 17, 18, 19, 200, 100})) << v.name;
    }
}

// ---- readers ---------------------------------------------------------------

int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

void ModelYv12ToRgb32(const uint8_t* yv12, uint32_t w, uint32_t h, uint32_t pitch, bool bottomUp, uint8_t* dst,
                      uint32_t dstPitch) {
    if (h < 2) return;
    const size_t vPlane = size_t(pitch) * h, uPlane = vPlane + vPlane / 4;
    const long stride = long(w / 2) + (long(pitch) - long(w)) / 2;
    for (uint32_t j = 0; j < h / 2; ++j)
        for (uint32_t i = 0; i < w / 2; ++i) {
            const int u = yv12[uPlane + j * stride + i] - 128, v = yv12[vPlane + j * stride + i] - 128;
            for (uint32_t row = 2 * j; row < 2 * j + 2; ++row)
                for (uint32_t col = 2 * i; col < 2 * i + 2; ++col) {
                    const int l = 4768 * (yv12[size_t(row) * pitch + col] - 16) + 2048;
                    uint8_t* d = dst + size_t(bottomUp ? h - 1 - row : row) * dstPitch + 4 * col;
                    d[0] = uint8_t(Clamp((l + 8265 * u) >> 12));
                    d[1] = uint8_t(Clamp((l - 1602 * u - 3330 * v) >> 12));
                    d[2] = uint8_t(Clamp((l + 6537 * v) >> 12));
                    d[3] = 255;
                }
        }
}

testing::AssertionResult CheckReader(const Variant& v, bool bottomUp, const Shape& s, uint32_t seed) {
    const uint32_t pitch = s.width + s.srcPad, dstPitch = s.width * 4 + s.dstPad;
    GuardedBuffer src(Yv12Bytes(pitch, s.height), seed);
    GuardedBuffer dst(size_t(dstPitch) * s.height, seed + 1);
    const std::vector<uint8_t> srcBefore = src.all();
    std::vector<uint8_t> expected = dst.all();
    ModelYv12ToRgb32(src.data(), s.width, s.height, pitch, bottomUp, expected.data() + dst.guard(), dstPitch);
    v.routine(src.data(), s.width, s.height, pitch, dst.data(), s.width, s.height, dstPitch);
    const long d = FirstDifference(expected, dst.all());
    if (d >= 0)
        return testing::AssertionFailure() << Describe(v.name, s) << ": first difference at destination byte "
                                           << d - long(dst.guard());
    if (src.all() != srcBefore) return testing::AssertionFailure() << Describe(v.name, s) << ": source changed";
    return testing::AssertionSuccess();
}

const Variant kYV12toRGB32[] = {{"YV12toRGB32_Plain", YV12toRGB32_Plain, Level::kBaseline},
                                {"YV12toRGB32_SSE2", YV12toRGB32_SSE2, Level::kSse}};
const Variant kInvertYV12toRGB32[] = {{"InvertYV12toRGB32_Plain", InvertYV12toRGB32_Plain, Level::kBaseline},
                                      {"InvertYV12toRGB32_SSE2", InvertYV12toRGB32_SSE2, Level::kSse}};

TEST(Yv12Readers, MatchModelForEverySize) {
    uint32_t seed = 5000;
    for (int level : TableLevels()) {
        const ScopedTableLevel table(level);
        for (const Shape& s : Shapes()) {
            for (const Variant& v : kYV12toRGB32) ASSERT_TRUE(CheckReader(v, false, s, seed++));
            for (const Variant& v : kInvertYV12toRGB32) ASSERT_TRUE(CheckReader(v, true, s, seed++));
        }
    }
}

TEST(Yv12Readers, SingleRowWritesNothing) {
    for (const Variant& v : {kYV12toRGB32[0], kYV12toRGB32[1], kInvertYV12toRGB32[0], kInvertYV12toRGB32[1]}) {
        const GuardedBuffer src(Yv12Bytes(16, 1), 3);
        GuardedBuffer dst(64, 4);
        const std::vector<uint8_t> before = dst.all();
        v.routine(src.data(), 16, 1, 16, dst.data(), 16, 1, 64);
        EXPECT_EQ(dst.all(), before) << v.name;
    }
}

TEST(Yv12, ProcessorYV12toYUV32LeavesDestinationUnchanged) {
    const GuardedBuffer src(Yv12Bytes(32, 8), 9);
    GuardedBuffer dst(32 * 4 * 8, 10);
    const std::vector<uint8_t> before = dst.all();
    YV12toYUV32_None(src.data(), 32, 8, 32, dst.data(), 32, 8, 128);
    EXPECT_EQ(dst.all(), before);
}

// ---- refusals --------------------------------------------------------------

TEST(Yv12, MismatchedSizesNullPointersAndNoRowsWriteNothing) {
    const Variant all[] = {kRGB32toYV12[0],  kRGB32toYV12[1], kInvertRGB32toYV12[0], kInvertRGB32toYV12[1],
                           kYUV32toYV12[0],  kYUV32toYV12[1], kYV12toRGB32[0],       kYV12toRGB32[1],
                           kInvertYV12toRGB32[0], kInvertYV12toRGB32[1]};
    const GuardedBuffer src(8 * 4 * 8, 11);
    GuardedBuffer dst(8 * 4 * 8, 12);
    const std::vector<uint8_t> before = dst.all();
    for (const Variant& v : all) {
        v.routine(src.data(), 8, 8, 32, dst.data(), 6, 8, 32);
        v.routine(src.data(), 8, 8, 32, dst.data(), 8, 6, 32);
        v.routine(nullptr, 8, 8, 32, dst.data(), 8, 8, 32);
        v.routine(src.data(), 8, 8, 32, nullptr, 8, 8, 32);
        v.routine(src.data(), 8, 0, 32, dst.data(), 8, 0, 32);
        EXPECT_EQ(dst.all(), before) << v.name;
    }
}

// ---- round trip ------------------------------------------------------------

// A smooth synthetic picture: gradients and a slow wave, alpha varying.
std::vector<uint8_t> SmoothPicture(uint32_t w, uint32_t h) {
    std::vector<uint8_t> p(size_t(w) * h * 4);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) {
            uint8_t* q = &p[(size_t(y) * w + x) * 4];
            q[0] = uint8_t(255.0 * x / (w - 1));
            q[1] = uint8_t(127.5 + 120.0 * std::sin(x * 0.05) * std::cos(y * 0.07));
            q[2] = uint8_t(255.0 * y / (h - 1));
            q[3] = uint8_t(x ^ y);
        }
    return p;
}

double PsnrBgr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    double se = 0;
    size_t n = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        if (i % 4 == 3) continue;
        const double d = double(a[i]) - double(b[i]);
        se += d * d;
        ++n;
    }
    return se == 0 ? 99.0 : 10.0 * std::log10(255.0 * 255.0 * double(n) / se);
}

TEST(Yv12, RoundTripKeepsPictureQuality) {
    const uint32_t w = 320, h = 240;
    const std::vector<uint8_t> picture = SmoothPicture(w, h);
    const std::pair<ConvertRoutine, ConvertRoutine> levels[] = {{RGB32toYV12_Plain, YV12toRGB32_Plain},
                                                                {RGB32toYV12_SSE2, YV12toRGB32_SSE2}};
    for (const auto& [toYv12, toRgb] : levels) {
        std::vector<uint8_t> yv12(Yv12Bytes(w, h)), back(picture.size());
        toYv12(picture.data(), w, h, w * 4, yv12.data(), w, h, w);
        toRgb(yv12.data(), w, h, w, back.data(), w, h, w * 4);
        const double psnr = PsnrBgr(picture, back);
        RecordProperty(toYv12 == RGB32toYV12_Plain ? "psnr_plain" : "psnr_sse2", std::to_string(psnr));
        std::printf("RGB32 -> YV12 -> RGB32 PSNR (%s): %.2f dB\n", toYv12 == RGB32toYV12_Plain ? "plain" : "SSE2",
                    psnr);
        EXPECT_GT(psnr, 38.0);
    }
}

}  // namespace
