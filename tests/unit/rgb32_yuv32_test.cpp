// RGB32 <-> YUV32, every variant against a scalar model written out here:
// random images, widths 1..40 and a few large ones, padded and unaligned
// pitches, both row orders, guard bytes around every buffer and the whole
// destination allocation compared byte for byte.
#include <gtest/gtest.h>

#include <stdexcept>
#include <cstring>
#include <string>
#include <vector>

#include "convert/rgb32_yuv32.h"
#include "cpu/detect.h"
#include "support/test_support.h"

namespace tessiva {
namespace {

using test::FirstDifference;
using test::GuardedBuffer;

// ---- Scalar model -------------------------------------------------------

int Clamp(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

// B G R A -> V U Y A.
void ModelToYuv(const uint8_t* p, uint8_t* q) {
    const int b = p[0], g = p[1], r = p[2];
    q[0] = uint8_t((1798 * r - 1507 * g - 291 * b + 526336) >> 12);
    q[1] = uint8_t((-606 * r - 1192 * g + 1798 * b + 526336) >> 12);
    q[2] = uint8_t((1053 * r + 2064 * g + 401 * b + 67584) >> 12);
    q[3] = p[3];
}

// V U Y A -> B G R A with the given blue factor.
void ModelToRgb(const uint8_t* p, uint8_t* q, int blue) {
    const int v = p[0] - 128, u = p[1] - 128, y = p[2] - 16;
    const int l = 4768 * y + 2048;
    q[0] = uint8_t(Clamp((l + blue * u) >> 12));
    q[1] = uint8_t(Clamp((l - 1602 * u - 3330 * v) >> 12));
    q[2] = uint8_t(Clamp((l + 6537 * v) >> 12));
    q[3] = p[3];
}

enum class Op { kToYuv, kInvertToYuv, kToRgb, kInvertToRgb };

struct Variant {
    const char* name;
    ConvertRoutine fn;
    Op op;
    bool pairsOnly;      // baseline: floor(W / 2) pairs, odd widths shift later rows left
    bool testsPointers;  // returns on a null pointer
    uint32_t needsLevel; // instruction-set level the variant needs
};

constexpr int kBlueBaseline = 8265, kBlueWide = 8266;

const Variant kVariants[] = {
    {"RGB32toYUV32_Plain", RGB32toYUV32_Plain, Op::kToYuv, true, true, kLevelNone},
    {"RGB32toYUV32_SSE2", RGB32toYUV32_SSE2, Op::kToYuv, false, true, kLevelSSE2},
    {"RGB32toYUV32_SSE41", RGB32toYUV32_SSE41, Op::kToYuv, false, false, kLevelSSE41},
    {"RGB32toYUV32_AVX2", RGB32toYUV32_AVX2, Op::kToYuv, false, false, kLevelAVX2},
    {"InvertRGB32toYUV32_Plain", InvertRGB32toYUV32_Plain, Op::kInvertToYuv, true, true, kLevelNone},
    {"InvertRGB32toYUV32_SSE2", InvertRGB32toYUV32_SSE2, Op::kInvertToYuv, false, true, kLevelSSE2},
    {"InvertRGB32toYUV32_AVX2", InvertRGB32toYUV32_AVX2, Op::kInvertToYuv, false, false, kLevelAVX2},
    {"YUV32toRGB32_Plain", YUV32toRGB32_Plain, Op::kToRgb, true, true, kLevelNone},
    {"YUV32toRGB32_SSE2", YUV32toRGB32_SSE2, Op::kToRgb, false, true, kLevelSSE2},
    {"YUV32toRGB32_AVX2", YUV32toRGB32_AVX2, Op::kToRgb, false, false, kLevelAVX2},
    {"InvertYUV32toRGB32_Plain", InvertYUV32toRGB32_Plain, Op::kInvertToRgb, true, true, kLevelNone},
    {"InvertYUV32toRGB32_SSE2", InvertYUV32toRGB32_SSE2, Op::kInvertToRgb, false, true, kLevelSSE2},
    {"InvertYUV32toRGB32_AVX2", InvertYUV32toRGB32_AVX2, Op::kInvertToRgb, false, false, kLevelAVX2},
};

// Level of this processor, without any registry cap.
uint32_t MachineLevel() {
    static const uint32_t level = LevelOfFlags(FlagsFromIdentification(IdentifyProcessor()));
    return level;
}

bool Runs(const Variant& v) { return MachineLevel() >= v.needsLevel; }

void ModelPixel(const Variant& v, const uint8_t* p, uint8_t* q) {
    if (v.op == Op::kToYuv || v.op == Op::kInvertToYuv)
        ModelToYuv(p, q);
    else
        ModelToRgb(p, q, v.pairsOnly ? kBlueBaseline : kBlueWide);
}

struct Layout {
    uint32_t width, height, srcPitch, dstPitch;
    size_t srcBase, dstBase;  // offset of the buffer in its whole allocation
};

// The 4 bytes at `offset` of an allocation; a model that leaves it throws.
template <class Bytes>
auto Pixel(Bytes& all, long long offset) -> decltype(all.data()) {
    if (offset < 0 || size_t(offset) + 4 > all.size()) throw std::out_of_range("pixel outside the allocation");
    return all.data() + offset;
}

// What the variant must do to the whole destination allocation. Row r reads
// source row r (or H-1-r when the source is read bottom-up) and writes
// destination row r (or H-1-r). The baseline converts 2 x floor(W / 2) pixels
// and, for odd W, starts row r (counted in walking order) 4 x r bytes early on
// both sides: on a bottom-up side that walks below the buffer's first byte.
void Model(const Variant& v, const Layout& l, const std::vector<uint8_t>& src, std::vector<uint8_t>& dst) {
    const bool srcUp = v.op == Op::kInvertToYuv, dstUp = v.op == Op::kInvertToRgb;
    const uint32_t count = v.pairsOnly ? l.width / 2 * 2 : l.width;
    for (uint32_t r = 0; r < l.height; ++r) {
        const long long shift = v.pairsOnly && (l.width & 1) ? 4ll * r : 0;
        const long long s = (long long)l.srcBase + (long long)(srcUp ? l.height - 1 - r : r) * l.srcPitch - shift;
        const long long d = (long long)l.dstBase + (long long)(dstUp ? l.height - 1 - r : r) * l.dstPitch - shift;
        for (uint32_t i = 0; i < count; ++i) ModelPixel(v, Pixel(src, s + 4 * i), Pixel(dst, d + 4 * i));
    }
}

// Runs variant and model on the same random buffers and compares every byte of
// both allocations. The guard covers the baseline's walk below the buffer.
// `misalign` shifts the source start by that many bytes and the destination by
// (3 x misalign) mod 4, or, with kAlignDestination, puts the destination on a
// 16-byte boundary.
constexpr uint32_t kAlignDestination = 99;

void Check(const Variant& v, uint32_t width, uint32_t height, uint32_t srcPad, uint32_t dstPad, uint32_t misalign,
           uint32_t seed) {
    const uint32_t srcPitch = width * 4 + srcPad, dstPitch = width * 4 + dstPad;
    const size_t guard = 64 + 4 * size_t(height);
    GuardedBuffer src(size_t(srcPitch) * height + 16, seed, guard);
    GuardedBuffer dst(size_t(dstPitch) * height + 16, seed + 1, guard);
    const bool align = misalign == kAlignDestination;
    const size_t srcMis = align ? 0 : misalign;
    const size_t dstMis = align ? (0 - reinterpret_cast<uintptr_t>(dst.data())) & 15 : (misalign * 3) % 4;
    const Layout l{width, height, srcPitch, dstPitch, guard + srcMis, guard + dstMis};

    std::vector<uint8_t> expected = dst.all();
    Model(v, l, src.all(), expected);
    const std::vector<uint8_t> srcBefore = src.all();
    v.fn(src.data() + srcMis, width, height, srcPitch, dst.data() + dstMis, width, height, dstPitch);

    const long diff = FirstDifference(dst.all(), expected);
    ASSERT_EQ(diff, -1) << v.name << " W=" << width << " H=" << height << " pitches " << srcPitch << "/" << dstPitch
                        << ": first wrong byte at " << diff - long(l.dstBase) << " from the buffer start";
    ASSERT_EQ(FirstDifference(src.all(), srcBefore), -1) << v.name << " wrote its source";
}

TEST(Rgb32Yuv32, EveryWidthMatchesTheModel) {
    uint32_t seed = 1;
    for (const Variant& v : kVariants) {
        if (!Runs(v)) continue;
        for (uint32_t w = 1; w <= 40; ++w) {
            Check(v, w, 5, 0, 0, 0, seed++);          // tight pitches
            Check(v, w, 3, (w * 7) % 13 + 1, (w * 5) % 11, w % 4, seed++);  // padded, unaligned, pitch not a multiple of 4
            Check(v, w, 1, 4, 8, 1, seed++);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(Rgb32Yuv32, LargeWidthsMatchTheModel) {
    uint32_t seed = 1000;
    for (const Variant& v : kVariants) {
        if (!Runs(v)) continue;
        for (uint32_t w : {255u, 1024u, 1927u}) {
            Check(v, w, 3, 0, 0, 0, seed++);
            Check(v, w, 4, 64, 36, 2, seed++);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(Rgb32Yuv32, LargeImagesMatchTheModel) {
    // Past 4 MiB a destination written bottom-up takes streaming stores where
    // a row starts on a 16-byte boundary: every row (pitch 4112), every other
    // row (pitch 4120), none (misaligned start). Width 1027 leaves a tail.
    uint32_t seed = 2000;
    for (const Variant& v : kVariants) {
        if (!Runs(v) || v.pairsOnly || v.op != Op::kInvertToRgb) continue;
        Check(v, 1027, 1100, 0, 4, kAlignDestination, seed++);
        Check(v, 1027, 1100, 12, 12, kAlignDestination, seed++);
        Check(v, 1027, 1100, 0, 4, 1, seed++);
        if (HasFatalFailure()) return;
    }
}

TEST(Rgb32Yuv32, OddWidthBaselineWalksBelowTheBottomUpBuffer) {
    // A hand-worked case of the model above: width 3, 4 rows, pitch 12. The
    // destination is walked bottom-up from row 3; each walked row starts 4 bytes
    // earlier than the last, so row 0 is written at -12 from source offset 24.
    GuardedBuffer src(12 * 4, 7, 64), dst(12 * 4, 8, 64);
    const std::vector<uint8_t> before = dst.all();
    InvertYUV32toRGB32_Plain(src.data(), 3, 4, 12, dst.data(), 3, 4, 12);
    uint8_t px[4];
    ModelToRgb(src.data() + 24, px, kBlueBaseline);
    EXPECT_EQ(0, std::memcmp(dst.data() - 12, px, 4));
    EXPECT_EQ(0, std::memcmp(dst.data() - 16, before.data() + 64 - 16, 4)) << "nothing below the walk";
    EXPECT_EQ(0, std::memcmp(dst.data() + 44, before.data() + 64 + 44, 4)) << "last pixel of row 3 not converted";
}

TEST(Rgb32Yuv32, EveryByteCombinationMatchesTheModel) {
    // All 2^24 values of the three colour bytes (alpha scrambled), as one
    // 4096 x 4096 image: exactness of the vector arithmetic, saturation and
    // packing, not just of the sampled values above. (The baseline is the
    // scalar formula itself; the samples cover it.)
    constexpr uint32_t kSide = 4096;
    const size_t bytes = size_t(kSide) * kSide * 4;
    std::vector<uint8_t> src(bytes);
    for (uint32_t c = 0; c < kSide * kSide; ++c) {
        src[4 * size_t(c) + 0] = uint8_t(c);
        src[4 * size_t(c) + 1] = uint8_t(c >> 8);
        src[4 * size_t(c) + 2] = uint8_t(c >> 16);
        src[4 * size_t(c) + 3] = uint8_t((c * 2654435761u) >> 24);
    }
    std::vector<uint8_t> toYuv(bytes), toRgb(bytes), out(bytes);
    for (size_t i = 0; i < bytes; i += 4) {
        ModelToYuv(&src[i], &toYuv[i]);
        ModelToRgb(&src[i], &toRgb[i], kBlueWide);
    }
    for (const Variant& v : kVariants) {
        if (!Runs(v) || v.pairsOnly || v.op == Op::kInvertToYuv || v.op == Op::kInvertToRgb) continue;
        SCOPED_TRACE(v.name);
        v.fn(src.data(), kSide, kSide, kSide * 4, out.data(), kSide, kSide, kSide * 4);
        const std::vector<uint8_t>& want = v.op == Op::kToYuv ? toYuv : toRgb;
        const long diff = FirstDifference(out, want);
        EXPECT_EQ(diff, -1) << "pixel bytes " << (diff >= 0 ? int(src[diff & ~3L]) : 0) << ","
                            << (diff >= 0 ? int(src[(diff & ~3L) + 1]) : 0) << ","
                            << (diff >= 0 ? int(src[(diff & ~3L) + 2]) : 0);
    }
}

// ---- Edge cases ---------------------------------------------------------

// Converts the 2 x 1 image {a, b} with `v` and returns the destination bytes.
std::vector<uint8_t> Convert2(const Variant& v, std::vector<uint8_t> pixels) {
    std::vector<uint8_t> out(8, 0xCD);
    v.fn(pixels.data(), 2, 1, 8, out.data(), 2, 1, 8);
    return out;
}

TEST(Rgb32Yuv32, KnownPixels) {
    for (const Variant& v : kVariants) {
        if (!Runs(v)) continue;
        SCOPED_TRACE(v.name);
        if (v.op == Op::kToYuv || v.op == Op::kInvertToYuv) {
            // Red with alpha 0x7F: V 240, U 90, Y 82, alpha kept. Black, white.
            EXPECT_EQ(Convert2(v, {0, 0, 255, 0x7F, 0, 0, 0, 0}), (std::vector<uint8_t>{240, 90, 82, 0x7F, 128, 128, 16, 0}));
            EXPECT_EQ(Convert2(v, {255, 255, 255, 1, 0, 0, 0, 0xFF}),
                      (std::vector<uint8_t>{128, 128, 235, 1, 128, 128, 16, 0xFF}));
        } else {
            // (Y 16, U 156, V 128): blue 56 with 8265, 57 with 8266.
            const uint8_t blue = v.pairsOnly ? 56 : 57;
            EXPECT_EQ(Convert2(v, {128, 156, 16, 0x7F, 128, 128, 16, 9}), (std::vector<uint8_t>{blue, 0, 0, 0x7F, 0, 0, 0, 9}));
            // White; Y 0 clamps to 0 on every channel.
            EXPECT_EQ(Convert2(v, {128, 128, 235, 3, 128, 128, 0, 4}), (std::vector<uint8_t>{255, 255, 255, 3, 0, 0, 0, 4}));
        }
    }
}

TEST(Rgb32Yuv32, RefusedCallsWriteNothing) {
    for (const Variant& v : kVariants) {
        if (!Runs(v)) continue;
        SCOPED_TRACE(v.name);
        GuardedBuffer src(8 * 4 * 4, 21), dst(8 * 4 * 4, 22);
        const std::vector<uint8_t> before = dst.all();
        v.fn(src.data(), 8, 4, 32, dst.data(), 7, 4, 32);  // widths differ
        v.fn(src.data(), 8, 4, 32, dst.data(), 8, 3, 32);  // heights differ
        v.fn(src.data(), 8, 0, 32, dst.data(), 8, 0, 32);  // no rows
        v.fn(nullptr, 8, 4, 32, dst.data(), 9, 4, 32);     // null and mismatched: the size test comes first
        if (v.testsPointers) {
            v.fn(nullptr, 8, 4, 32, dst.data(), 8, 4, 32);
            v.fn(src.data(), 8, 4, 32, nullptr, 8, 4, 32);
        }
        EXPECT_EQ(FirstDifference(dst.all(), before), -1);
    }
}

TEST(Rgb32Yuv32, InvertWithOneRowEqualsStraight) {
    GuardedBuffer src(13 * 4, 31), a(13 * 4, 32), b(13 * 4, 32);
    for (auto pair : {std::pair<ConvertRoutine, ConvertRoutine>{YUV32toRGB32_SSE2, InvertYUV32toRGB32_SSE2},
                      {RGB32toYUV32_SSE2, InvertRGB32toYUV32_SSE2}}) {
        pair.first(src.data(), 13, 1, 52, a.data(), 13, 1, 52);
        pair.second(src.data(), 13, 1, 52, b.data(), 13, 1, 52);
        EXPECT_EQ(FirstDifference(a.all(), b.all()), -1);
    }
}

}  // namespace
}  // namespace tessiva
