// YUY2 routines at every level against a plain reference model of that level's
// row rule: which pixels of a row are converted and how far each next row start
// moves. Whole allocations (guards, pitch padding, shifted rows) are compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "convert/yuy2.h"
#include "support/test_support.h"

namespace {

using tessiva::ConvertRoutine;
using tessiva::test::FirstDifference;
using tessiva::test::GuardedBuffer;
using tessiva::test::RandomBytes;

bool HasAvx2() {
#if defined(__x86_64__) || defined(_M_X64)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

// ---------------------------------------------------------------------------
// Reference arithmetic, BT.601 studio range in 12-bit fixed point.
int Luma(int r, int g, int b) { return (1053 * r + 2064 * g + 401 * b + 67584) >> 12; }
int PairU(int r2, int g2, int b2) { return (-606 * r2 - 1192 * g2 + 1798 * b2 + 1052672) >> 13; }
int PairV(int r2, int g2, int b2) { return (1798 * r2 - 1507 * g2 - 291 * b2 + 1052672) >> 13; }
uint8_t Clamp(int v) { return uint8_t(std::min(255, std::max(0, v))); }
// B, G, R of one YUV pixel; YUY2 sources use blue factor 8265 at every level.
void ToBgr(int y, int u, int v, uint8_t* bgr) {
    const int l = 4768 * (y - 16) + 2048;
    bgr[0] = Clamp((l + 8265 * (u - 128)) >> 12);
    bgr[1] = Clamp((l - 1602 * (u - 128) - 3330 * (v - 128)) >> 12);
    bgr[2] = Clamp((l + 6537 * (v - 128)) >> 12);
}

enum class Kind { Rgb32ToYuy2, InvertRgb32ToYuy2, Yuv32ToYuy2, Yuy2ToRgb32, InvertYuy2ToRgb32, Yuy2ToRgb24,
                  InvertYuy2ToRgb24, Yuy2ToYuv32 };

// Pixels a row converts, by level:
enum class Rule {
    CeilPairs,   // baseline writers: (W + 1) / 2 pairs
    FloorPairs,  // baseline readers, SSE RGB32 to YUY2: floor(W / 2) pairs
    Groups4,     // SSE readers and YUV32 to YUY2: groups of 4, then one more pair if W mod 4 != 0
    Steps4,      // AVX2 RGB32 to YUY2: groups of 4 only
    Wide,        // AVX2 16-pixel routines: exactly W, an unpaired last pixel handled in scratch
};

int SrcBytes(Kind k) { return k == Kind::Rgb32ToYuy2 || k == Kind::InvertRgb32ToYuy2 || k == Kind::Yuv32ToYuy2 ? 4 : 2; }
int DstBytes(Kind k) {
    switch (k) {
        case Kind::Yuy2ToRgb32: case Kind::InvertYuy2ToRgb32: case Kind::Yuy2ToYuv32: return 4;
        case Kind::Yuy2ToRgb24: case Kind::InvertYuy2ToRgb24: return 3;
        default: return 2;
    }
}
bool SrcUp(Kind k) { return k == Kind::InvertRgb32ToYuy2; }
bool DstUp(Kind k) { return k == Kind::InvertYuy2ToRgb32 || k == Kind::InvertYuy2ToRgb24; }

long RowPixels(Rule rule, long w) {
    switch (rule) {
        case Rule::CeilPairs: return (w + 1) / 2 * 2;
        case Rule::FloorPairs: return w / 2 * 2;
        case Rule::Groups4: return w / 4 * 4 + (w % 4 ? 2 : 0);
        case Rule::Steps4: return w / 4 * 4;
        case Rule::Wide: return w;
    }
    return 0;
}

// One pixel pair: s points at the pair's source bytes, d at its destination bytes.
void ConvertPair(Kind k, const uint8_t* s, uint8_t* d) {
    switch (k) {
        case Kind::Rgb32ToYuy2:
        case Kind::InvertRgb32ToYuy2: {
            const int b2 = s[0] + s[4], g2 = s[1] + s[5], r2 = s[2] + s[6];
            d[0] = uint8_t(Luma(s[2], s[1], s[0]));
            d[1] = uint8_t(PairU(r2, g2, b2));
            d[2] = uint8_t(Luma(s[6], s[5], s[4]));
            d[3] = uint8_t(PairV(r2, g2, b2));
            break;
        }
        case Kind::Yuv32ToYuy2:
            d[0] = s[2];
            d[1] = uint8_t((s[1] + s[5]) / 2);
            d[2] = s[6];
            d[3] = uint8_t((s[0] + s[4]) / 2);
            break;
        case Kind::Yuy2ToRgb32:
        case Kind::InvertYuy2ToRgb32:
            ToBgr(s[0], s[1], s[3], d);
            d[3] = 255;
            ToBgr(s[2], s[1], s[3], d + 4);
            d[7] = 255;
            break;
        case Kind::Yuy2ToRgb24:
        case Kind::InvertYuy2ToRgb24:
            ToBgr(s[0], s[1], s[3], d);
            ToBgr(s[2], s[1], s[3], d + 3);
            break;
        case Kind::Yuy2ToYuv32:
            for (int i = 0; i < 2; ++i) {
                d[4 * i + 0] = s[3];
                d[4 * i + 1] = s[1];
                d[4 * i + 2] = s[2 * i];
                d[4 * i + 3] = 255;
            }
            break;
    }
}

// Expected destination allocation after one call. Row r reads source row r (or
// H-1-r when read bottom-up) and writes destination row r (or H-1-r), each start
// moved by r x (converted - W) pixels: the cumulative odd-width shift.
std::vector<uint8_t> Expected(Kind k, Rule rule, const GuardedBuffer& src, long sp, const GuardedBuffer& dst, long dp,
                              long w, long h) {
    std::vector<uint8_t> out = dst.all();
    const std::vector<uint8_t>& in = src.all();
    const long n = RowPixels(rule, w), shift = rule == Rule::Wide ? 0 : n - w;
    const int sb = SrcBytes(k), db = DstBytes(k);
    for (long r = 0; r < h; ++r) {
        const long s0 = long(src.guard()) + (SrcUp(k) ? h - 1 - r : r) * sp + r * shift * sb;
        const long d0 = long(dst.guard()) + (DstUp(k) ? h - 1 - r : r) * dp + r * shift * db;
        EXPECT_TRUE(s0 >= 0 && s0 + (n + 1) * sb <= long(in.size())) << "source guard too small";
        EXPECT_TRUE(d0 >= 0 && d0 + (n + 1) * db <= long(out.size())) << "destination guard too small";
        if (s0 < 0 || d0 < 0 || s0 + (n + 1) * sb > long(in.size()) || d0 + (n + 1) * db > long(out.size())) break;
        for (long p = 0; p + 1 < n; p += 2) ConvertPair(k, &in[s0 + p * sb], &out[d0 + p * db]);
        if (rule == Rule::Wide && (w & 1) && k == Kind::Yuv32ToYuy2) {
            // Unpaired last pixel written into YUY2: its own Y and its own U.
            out[d0 + (w - 1) * 2] = in[s0 + (w - 1) * 4 + 2];
            out[d0 + (w - 1) * 2 + 1] = in[s0 + (w - 1) * 4 + 1];
        }
    }
    return out;
}

struct Variant {
    const char* name;
    ConvertRoutine fn;
    Kind kind;
    Rule rule;
    bool avx2;
};

const Variant kVariants[] = {
    {"RGB32toYUY2_Plain", tessiva::RGB32toYUY2_Plain, Kind::Rgb32ToYuy2, Rule::CeilPairs, false},
    {"RGB32toYUY2_SSE2", tessiva::RGB32toYUY2_SSE2, Kind::Rgb32ToYuy2, Rule::FloorPairs, false},
    {"RGB32toYUY2_AVX2", tessiva::RGB32toYUY2_AVX2, Kind::Rgb32ToYuy2, Rule::Steps4, true},
    {"InvertRGB32toYUY2_Plain", tessiva::InvertRGB32toYUY2_Plain, Kind::InvertRgb32ToYuy2, Rule::CeilPairs, false},
    {"InvertRGB32toYUY2_SSE2", tessiva::InvertRGB32toYUY2_SSE2, Kind::InvertRgb32ToYuy2, Rule::FloorPairs, false},
    {"YUY2toRGB32_Plain", tessiva::YUY2toRGB32_Plain, Kind::Yuy2ToRgb32, Rule::FloorPairs, false},
    {"YUY2toRGB32_SSE2", tessiva::YUY2toRGB32_SSE2, Kind::Yuy2ToRgb32, Rule::Groups4, false},
    {"YUY2toRGB32_AVX2", tessiva::YUY2toRGB32_AVX2, Kind::Yuy2ToRgb32, Rule::Wide, true},
    {"InvertYUY2toRGB32_Plain", tessiva::InvertYUY2toRGB32_Plain, Kind::InvertYuy2ToRgb32, Rule::FloorPairs, false},
    {"InvertYUY2toRGB32_SSE2", tessiva::InvertYUY2toRGB32_SSE2, Kind::InvertYuy2ToRgb32, Rule::Groups4, false},
    {"YUY2toRGB24_Plain", tessiva::YUY2toRGB24_Plain, Kind::Yuy2ToRgb24, Rule::FloorPairs, false},
    {"YUY2toRGB24_SSE2", tessiva::YUY2toRGB24_SSE2, Kind::Yuy2ToRgb24, Rule::Groups4, false},
    {"YUY2toRGB24_AVX2", tessiva::YUY2toRGB24_AVX2, Kind::Yuy2ToRgb24, Rule::Wide, true},
    {"InvertYUY2toRGB24_Plain", tessiva::InvertYUY2toRGB24_Plain, Kind::InvertYuy2ToRgb24, Rule::FloorPairs, false},
    {"InvertYUY2toRGB24_SSE2", tessiva::InvertYUY2toRGB24_SSE2, Kind::InvertYuy2ToRgb24, Rule::Groups4, false},
    {"YUV32toYUY2_Plain", tessiva::YUV32toYUY2_Plain, Kind::Yuv32ToYuy2, Rule::CeilPairs, false},
    {"YUV32toYUY2_SSE2", tessiva::YUV32toYUY2_SSE2, Kind::Yuv32ToYuy2, Rule::Groups4, false},
    {"YUV32toYUY2_AVX2", tessiva::YUV32toYUY2_AVX2, Kind::Yuv32ToYuy2, Rule::Wide, true},
    {"YUY2toYUV32_Plain", tessiva::YUY2toYUV32_Plain, Kind::Yuy2ToYuv32, Rule::FloorPairs, false},
    {"YUY2toYUV32_SSE2", tessiva::YUY2toYUV32_SSE2, Kind::Yuy2ToYuv32, Rule::Groups4, false},
    {"YUY2toYUV32_AVX2", tessiva::YUY2toYUV32_AVX2, Kind::Yuy2ToYuv32, Rule::Wide, true},
};

void PrintTo(const Variant& v, std::ostream* os) { *os << v.name; }

const Variant& Find(const std::string& name) {
    for (const Variant& v : kVariants)
        if (name == v.name) return v;
    throw std::runtime_error("no variant " + name);
}

// Runs one call on random guarded buffers and compares both whole allocations
// with the model. Guards cover the cumulative shift (one pixel per row).
void Check(const Variant& v, uint32_t w, uint32_t h, uint32_t srcPad, uint32_t dstPad, uint32_t seed) {
    const int sb = SrcBytes(v.kind), db = DstBytes(v.kind);
    const uint32_t sp = w * sb + srcPad, dp = w * db + dstPad;
    const size_t guard = 67 + 8 * size_t(h);  // odd: buffers start unaligned
    GuardedBuffer src(size_t(sp) * h, seed, guard);
    GuardedBuffer dst(size_t(dp) * h, seed ^ 0x5A5A5A5Au, guard + 5);
    const std::vector<uint8_t> srcBefore = src.all();
    const std::vector<uint8_t> want = Expected(v.kind, v.rule, src, sp, dst, dp, w, h);
    v.fn(src.data(), w, h, sp, dst.data(), w, h, dp);
    const long diff = FirstDifference(dst.all(), want);
    ASSERT_EQ(diff, -1) << v.name << " W=" << w << " H=" << h << " srcPitch=" << sp << " dstPitch=" << dp
                        << " first wrong byte at offset " << diff - long(dst.guard()) << " from the buffer start";
    ASSERT_EQ(FirstDifference(src.all(), srcBefore), -1) << v.name << " wrote into its source";
}

class Yuy2Variant : public ::testing::TestWithParam<Variant> {
protected:
    void SetUp() override {
        if (GetParam().avx2 && !HasAvx2()) GTEST_SKIP() << "no AVX2 on this processor";
    }
};

std::string VariantName(const ::testing::TestParamInfo<Variant>& info) { return info.param.name; }

// Every width 1..40 (every tail of every block size), several heights (the shift
// accumulates), exact and padded pitches, odd paddings included.
TEST_P(Yuy2Variant, MatchesModelForEveryTail) {
    const Variant& v = GetParam();
    uint32_t seed = 1;
    for (uint32_t w = 1; w <= 40; ++w)
        for (uint32_t h : {1u, 2u, 3u, 6u})
            for (uint32_t pad : {0u, 3u, 36u}) Check(v, w, h, pad, (pad * 7) % 41, seed++);
}

TEST_P(Yuy2Variant, MatchesModelForLargeRows) {
    const Variant& v = GetParam();
    uint32_t seed = 1000;
    for (uint32_t w : {1920u, 1921u, 1283u, 2050u, 4096u})
        for (uint32_t h : {1u, 4u}) Check(v, w, h, w % 7 ? 64 : 0, 12, seed++);
}

// Nothing is written on mismatched sizes, null pointers or a height of 0.
TEST_P(Yuy2Variant, RefusesBadArguments) {
    const Variant& v = GetParam();
    const uint32_t w = 8, h = 2, sp = w * SrcBytes(v.kind), dp = w * DstBytes(v.kind);
    GuardedBuffer src(sp * h, 7), dst(dp * h, 8);
    const std::vector<uint8_t> before = dst.all();
    v.fn(src.data(), w, h, sp, dst.data(), w + 2, h, dp);
    v.fn(src.data(), w, h, sp, dst.data(), w, h + 1, dp);
    v.fn(nullptr, w, h, sp, dst.data(), w, h, dp);
    v.fn(src.data(), w, h, sp, nullptr, w, h, dp);
    v.fn(src.data(), w, 0, sp, dst.data(), w, 0, dp);
    EXPECT_EQ(FirstDifference(dst.all(), before), -1);
}

INSTANTIATE_TEST_SUITE_P(All, Yuy2Variant, ::testing::ValuesIn(kVariants), VariantName);

// ---------------------------------------------------------------------------
// The rules stated directly, independently of the model.

std::vector<const Variant*> VariantsOf(Kind k) {
    std::vector<const Variant*> out;
    for (const Variant& v : kVariants)
        if (v.kind == k && (!v.avx2 || HasAvx2())) out.push_back(&v);
    return out;
}

TEST(Yuy2Values, WhiteBlackPairGivesStudioRangeLumaAndNeutralChroma) {
    for (Kind k : {Kind::Rgb32ToYuy2, Kind::InvertRgb32ToYuy2})
        for (const Variant* v : VariantsOf(k)) {
            std::vector<uint8_t> rgb = RandomBytes(16, 3);  // alpha bytes stay random
            for (int p = 0; p < 4; ++p)
                for (int c = 0; c < 3; ++c) rgb[4 * p + c] = p % 2 ? 0 : 255;
            uint8_t yuy2[8] = {};
            v->fn(rgb.data(), 4, 1, 16, yuy2, 4, 1, 8);
            const uint8_t want[8] = {235, 128, 16, 128, 235, 128, 16, 128};
            EXPECT_EQ(0, std::memcmp(yuy2, want, 8)) << v->name;
        }
}

TEST(Yuy2Values, Yuv32ChromaAverageTruncates) {
    for (const Variant* v : VariantsOf(Kind::Yuv32ToYuy2)) {
        // (V, U, Y, A) pixels: U 100 and 101, V 201 and 200.
        const uint8_t yuv[16] = {201, 100, 50, 9, 200, 101, 60, 9, 17, 30, 70, 9, 18, 31, 80, 9};
        uint8_t yuy2[8] = {};
        v->fn(yuv, 4, 1, 16, yuy2, 4, 1, 8);
        const uint8_t want[8] = {50, 100, 60, 200, 70, 30, 80, 17};
        EXPECT_EQ(0, std::memcmp(yuy2, want, 8)) << v->name;
    }
}

TEST(Yuy2Values, Rgb32PairChromaRoundsHalvesUp) {
    // Find red and green sums whose pair U lies exactly halfway between two values.
    int r2 = -1, g2 = -1;
    for (int g = 0; g <= 510 && r2 < 0; ++g)
        for (int r = 0; r <= 510 && r2 < 0; ++r)
            if (((-606 * r - 1192 * g) % 8192 + 8192) % 8192 == 4096) r2 = r, g2 = g;
    ASSERT_GE(r2, 0);
    const double exact = (-606.0 * r2 - 1192.0 * g2) / 8192 + 128;  // ends in .5
    const uint8_t r0 = uint8_t(r2 / 2), r1 = uint8_t(r2 - r2 / 2), g0 = uint8_t(g2 / 2), g1 = uint8_t(g2 - g2 / 2);
    const uint8_t rgb[16] = {0, g0, r0, 0, 0, g1, r1, 0, 0, g0, r0, 0, 0, g1, r1, 0};
    for (Kind k : {Kind::Rgb32ToYuy2, Kind::InvertRgb32ToYuy2})
        for (const Variant* v : VariantsOf(k)) {
            uint8_t yuy2[8] = {};
            v->fn(rgb, 4, 1, 16, yuy2, 4, 1, 8);
            EXPECT_EQ(yuy2[1], exact + 0.5) << v->name;
            EXPECT_EQ(yuy2[5], exact + 0.5) << v->name;
        }
}

TEST(Yuy2Values, BlueFactorIs8265AtEveryLevel) {
    // Y = 16, U = 156: blue (2048 + 8265 * 28) >> 12 = 56 (8266 would give 57);
    // then (16, 128, 128) is black and (235, 128, 128) white.
    const uint8_t yuy2[8] = {16, 156, 16, 128, 16, 128, 235, 128};
    const uint8_t want[16] = {56, 0, 0, 255, 56, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255, 255};
    for (Kind k : {Kind::Yuy2ToRgb32, Kind::InvertYuy2ToRgb32})
        for (const Variant* v : VariantsOf(k)) {
            uint8_t rgb[16] = {};
            v->fn(yuy2, 4, 1, 8, rgb, 4, 1, 16);
            EXPECT_EQ(0, std::memcmp(rgb, want, 16)) << v->name;
        }
}

TEST(Yuy2Values, Yuv32RoundTripIsExact) {
    const Variant* to[] = {&Find("YUY2toYUV32_Plain"), &Find("YUY2toYUV32_SSE2"), &Find("YUY2toYUV32_AVX2")};
    const Variant* back[] = {&Find("YUV32toYUY2_Plain"), &Find("YUV32toYUY2_SSE2"), &Find("YUV32toYUY2_AVX2")};
    for (int level = 0; level < 3; ++level) {
        if (to[level]->avx2 && !HasAvx2()) continue;
        for (uint32_t w : {2u, 4u, 6u, 16u, 18u, 30u, 34u, 1920u}) {
            const uint32_t h = 3;
            const std::vector<uint8_t> yuy2 = RandomBytes(size_t(w) * 2 * h, w);
            std::vector<uint8_t> yuv(size_t(w) * 4 * h), again(yuy2.size());
            to[level]->fn(yuy2.data(), w, h, w * 2, yuv.data(), w, h, w * 4);
            back[level]->fn(yuv.data(), w, h, w * 4, again.data(), w, h, w * 2);
            EXPECT_EQ(again, yuy2) << to[level]->name << " W=" << w;
        }
    }
}

TEST(Yuy2Values, Rgb24OfTwoPixelsWritesSixBytesPerRow) {
    for (Kind k : {Kind::Yuy2ToRgb24, Kind::InvertYuy2ToRgb24})
        for (const Variant* v : VariantsOf(k)) {
            const uint32_t h = 3, dp = 11;
            GuardedBuffer src(4 * h, 21), dst(dp * h, 22);
            const std::vector<uint8_t> before = dst.all();
            v->fn(src.data(), 2, h, 4, dst.data(), 2, h, dp);
            for (size_t i = 0; i < before.size(); ++i) {
                const long off = long(i) - long(dst.guard());
                const bool inRow = off >= 0 && off < long(dp * h) && off % dp < 6;
                if (!inRow) {
                    ASSERT_EQ(dst.all()[i], before[i]) << v->name << " wrote byte " << off;
                }
            }
        }
}

// SSE readers with W mod 4 = 1: one pixel beyond the row is converted (2 YUY2
// bytes read past it) and the next row starts one pixel later.
TEST(Yuy2Rows, SseConvertsOnePixelBeyondWhenWidthIsOneMoreThanGroups) {
    const uint32_t w = 5, h = 2;
    GuardedBuffer src(w * 2 * h + 4, 31), dst(w * 4 * h + 8, 32);
    const std::vector<uint8_t> before = dst.all();
    tessiva::YUY2toRGB32_SSE2(src.data(), w, h, w * 2, dst.data(), w, h, w * 4);
    // Row 0 writes 6 pixels (bytes 0-23); row 1 starts at pixel 6 and writes 6 more.
    for (long off = -8; off < long(w * 4 * h + 8); ++off) {
        const bool written = off >= 0 && off < 48;
        const size_t i = size_t(off + long(dst.guard()));
        if (!written) {
            EXPECT_EQ(dst.all()[i], before[i]) << off;
        }
    }
    // Row 1 reads from byte 12, one pixel (2 bytes) after its true start at 10.
    const uint8_t* row1 = src.data() + 12;
    uint8_t px[3];
    ToBgr(row1[0], row1[1], row1[3], px);
    EXPECT_EQ(0, std::memcmp(dst.data() + 24, px, 3));
}

// AVX2 RGB32 to YUY2: groups of 4 only; W = 6 leaves pixels 4-5 and moves each
// next row two pixels earlier.
TEST(Yuy2Rows, Avx2Rgb32ToYuy2HasNoTail) {
    if (!HasAvx2()) GTEST_SKIP() << "no AVX2 on this processor";
    const uint32_t w = 6, h = 3;
    GuardedBuffer src(w * 4 * h, 41), dst(w * 2 * h, 42);
    const std::vector<uint8_t> before = dst.all();
    tessiva::RGB32toYUY2_AVX2(src.data(), w, h, w * 4, dst.data(), w, h, w * 2);
    // Rows write 8 bytes each at offsets 0, 12 - 4 and 24 - 8: bytes 0-23.
    for (long off = -16; off < long(w * 2 * h + 16); ++off) {
        const bool written = off >= 0 && off < 24;
        const size_t i = size_t(off + long(dst.guard()));
        if (!written) {
            EXPECT_EQ(dst.all()[i], before[i]) << off;
        }
    }
    // Row 1 starts at source pixel 4 (two pixels before its true start at 6).
    uint8_t want[4];
    ConvertPair(Kind::Rgb32ToYuy2, src.data() + 16, want);
    EXPECT_EQ(0, std::memcmp(dst.data() + 8, want, 4));
}

// Baseline writers with an odd W read one source pixel beyond the row and write
// the last YUY2 word in full.
TEST(Yuy2Rows, BaselineWriterCompletesTheLastWord) {
    const uint32_t w = 3, h = 1;
    GuardedBuffer src(w * 4, 51), dst(w * 2, 52);
    tessiva::RGB32toYUY2_Plain(src.data(), w, h, w * 4, dst.data(), w, h, w * 2);
    uint8_t want[4];
    ConvertPair(Kind::Rgb32ToYuy2, src.data() + 8, want);  // pixel 2 with the guard's pixel 3
    EXPECT_EQ(0, std::memcmp(dst.data() + 4, want, 4));
}

}  // namespace
