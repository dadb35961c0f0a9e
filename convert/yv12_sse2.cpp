// SSE2 YV12 conversions (levels 3 and up): 8 pixels of each of two rows per
// step, then the row pair's remaining whole 2 x 2 blocks one by one.
//
// Writers: chroma is each row's pair chroma (sum of two pixels, one rounding
// at scale 8192) averaged over the two rows rounding up. An odd last column or
// row gets its luma and no chroma, so nothing outside the picture is read or
// written; chroma rows hold floor(W / 2) samples, as the readers expect.
//
// Readers: as the baseline, whole blocks only; fewer than two rows write nothing.
//
// When the table was last filled for level 6 (wide_internals.h), each row
// pair's leading multiple of 16 pixels goes through the 256-bit internals of
// yv12_avx2.cpp instead (RGB32 writer and reader), with identical results.
#include <emmintrin.h>

#include <cstring>

#include "convert/color.h"
#include "convert/planar420.h"
#include "convert/wide_internals.h"
#include "convert/yv12.h"

namespace tessiva {
namespace {

using namespace color;

// Pixels per SIMD step on each row of a pair: four 2 x 2 blocks.
constexpr uint32_t kStep = 8;

__m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
__m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
__m128i Load4(const uint8_t* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return _mm_cvtsi32_si128(v);
}
void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }
void Store4(uint8_t* p, __m128i v) {
    const int32_t x = _mm_cvtsi128_si32(v);
    std::memcpy(p, &x, 4);
}

// madd_epi16 factors: `even` multiplies the lower 16-bit element of each lane.
__m128i Pair(int even, int odd) {
    return _mm_set1_epi32(int32_t(uint32_t(uint16_t(odd)) << 16 | uint16_t(even)));
}

// 32-bit lanes 0 and 2 of a and b, and lanes 1 and 3: the left and the right
// pixels of four horizontal pairs.
__m128i Lefts(__m128i a, __m128i b) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0)));
}
__m128i Rights(__m128i a, __m128i b) {
    return _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(3, 1, 3, 1)));
}

// ---- RGB32 / YUV32 to 4:2:0 ----------------------------------------------
// Step() converts 8 pixels of two rows: it stores both rows' luma and returns
// the four blocks' chroma as bytes U0..U3 V0..V3.

struct Rgb32 {
    static constexpr bool kHasWide = true;
    static uint32_t Wide(const uint8_t* s0, const uint8_t* s1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                         bool interleaved, uint32_t width) {
        return wide::RGB32RowPairTo420_AVX2(s0, s1, y0, y1, u, v, interleaved, width);
    }
    // Y of four pixels (32-bit lanes) from their (B, R) and (G, A) pairs.
    static __m128i Luma4(__m128i br, __m128i ga) {
        const __m128i s = _mm_add_epi32(_mm_madd_epi16(br, Pair(kYB, kYR)), _mm_madd_epi16(ga, Pair(kYG, 0)));
        return _mm_srai_epi32(_mm_add_epi32(s, _mm_set1_epi32(kYOffset)), 12);
    }
    // Stores the Y of 8 pixels; returns the row's pair chroma U0..U3 V0..V3 as 16-bit.
    static __m128i Row(const uint8_t* s, uint8_t* y) {
        const __m128i mask = _mm_set1_epi32(0x00FF00FF);
        const __m128i a = Load16(s), b = Load16(s + 16);
        const __m128i brA = _mm_and_si128(a, mask), gaA = _mm_srli_epi16(a, 8);
        const __m128i brB = _mm_and_si128(b, mask), gaB = _mm_srli_epi16(b, 8);
        const __m128i luma = _mm_packs_epi32(Luma4(brA, gaA), Luma4(brB, gaB));
        Store8(y, _mm_packus_epi16(luma, luma));
        const __m128i br = _mm_add_epi16(Lefts(brA, brB), Rights(brA, brB));
        const __m128i ga = _mm_add_epi16(Lefts(gaA, gaB), Rights(gaA, gaB));
        const __m128i offset = _mm_set1_epi32(kPairCOffset);
        const __m128i u = _mm_add_epi32(_mm_madd_epi16(br, Pair(kUB, kUR)), _mm_madd_epi16(ga, Pair(kUG, 0)));
        const __m128i v = _mm_add_epi32(_mm_madd_epi16(br, Pair(kVB, kVR)), _mm_madd_epi16(ga, Pair(kVG, 0)));
        return _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(u, offset), 13),
                               _mm_srai_epi32(_mm_add_epi32(v, offset), 13));
    }
    static __m128i Step(const uint8_t* s0, const uint8_t* s1, uint8_t* y0, uint8_t* y1) {
        const __m128i c = _mm_packus_epi16(Row(s0, y0), Row(s1, y1));
        return _mm_avg_epu8(c, _mm_srli_si128(c, 8));
    }
    static void Luma8(const uint8_t* s, uint8_t* y) { Row(s, y); }
    static uint8_t Luma(const uint8_t* p) { return LumaOf(p[2], p[1], p[0]); }
    // a: the block's upper two pixels, b: its lower two.
    static void Block(const uint8_t* a, const uint8_t* b, uint8_t* u, uint8_t* v) {
        const int ua = PairUOf(a[2] + a[6], a[1] + a[5], a[0] + a[4]);
        const int ub = PairUOf(b[2] + b[6], b[1] + b[5], b[0] + b[4]);
        const int va = PairVOf(a[2] + a[6], a[1] + a[5], a[0] + a[4]);
        const int vb = PairVOf(b[2] + b[6], b[1] + b[5], b[0] + b[4]);
        *v = uint8_t((va + vb + 1) >> 1);
        *u = uint8_t((ua + ub + 1) >> 1);
    }
};

// Plain copies and sums: memory-bound at 128 bits already, no wide internals.
struct Yuv32 {
    static constexpr bool kHasWide = false;
    static uint32_t Wide(const uint8_t*, const uint8_t*, uint8_t*, uint8_t*, uint8_t*, uint8_t*, bool, uint32_t) {
        return 0;
    }
    static __m128i Luma4(__m128i p) { return _mm_and_si128(_mm_srli_epi32(p, 16), _mm_set1_epi32(0xFF)); }
    static void Luma8(const uint8_t* s, uint8_t* y) {
        const __m128i luma = _mm_packs_epi32(Luma4(Load16(s)), Luma4(Load16(s + 16)));
        Store8(y, _mm_packus_epi16(luma, luma));
    }
    static __m128i Step(const uint8_t* s0, const uint8_t* s1, uint8_t* y0, uint8_t* y1) {
        const __m128i a0 = Load16(s0), b0 = Load16(s0 + 16), a1 = Load16(s1), b1 = Load16(s1 + 16);
        const __m128i l0 = _mm_packs_epi32(Luma4(a0), Luma4(b0)), l1 = _mm_packs_epi32(Luma4(a1), Luma4(b1));
        const __m128i l = _mm_packus_epi16(l0, l1);
        Store8(y0, l);
        Store8(y1, _mm_srli_si128(l, 8));
        // (V, Y) and (U, A) pairs summed over the two rows, then over each block's two columns.
        const __m128i mask = _mm_set1_epi32(0x00FF00FF);
        const __m128i vyA = _mm_add_epi16(_mm_and_si128(a0, mask), _mm_and_si128(a1, mask));
        const __m128i vyB = _mm_add_epi16(_mm_and_si128(b0, mask), _mm_and_si128(b1, mask));
        const __m128i uaA = _mm_add_epi16(_mm_srli_epi16(a0, 8), _mm_srli_epi16(a1, 8));
        const __m128i uaB = _mm_add_epi16(_mm_srli_epi16(b0, 8), _mm_srli_epi16(b1, 8));
        const __m128i vy = _mm_add_epi16(Lefts(vyA, vyB), Rights(vyA, vyB));
        const __m128i ua = _mm_add_epi16(Lefts(uaA, uaB), Rights(uaA, uaB));
        // The lower 16 bits of each lane hold the sum of four: keep them, divide by 4.
        const __m128i v = _mm_srli_epi32(_mm_slli_epi32(vy, 16), 18);
        const __m128i u = _mm_srli_epi32(_mm_slli_epi32(ua, 16), 18);
        const __m128i c = _mm_packs_epi32(u, v);
        return _mm_packus_epi16(c, c);
    }
    static uint8_t Luma(const uint8_t* p) { return p[2]; }
    static void Block(const uint8_t* a, const uint8_t* b, uint8_t* u, uint8_t* v) {
        *v = uint8_t((a[0] + a[4] + b[0] + b[4]) >> 2);
        *u = uint8_t((a[1] + a[5] + b[1] + b[5]) >> 2);
    }
};

// Chroma bytes U0..U3 V0..V3 to two planes, or as U,V pairs starting at u.
template <bool kInterleaved>
void StoreChroma(__m128i c, uint8_t* u, uint8_t* v) {
    if (kInterleaved) {
        Store8(u, _mm_unpacklo_epi8(c, _mm_srli_si128(c, 4)));
    } else {
        Store4(u, c);
        Store4(v, _mm_srli_si128(c, 4));
    }
}

template <class Format, bool kInterleaved>
void Write420(planar::PackedRows src, uint32_t width, uint32_t height, const planar::Target420& t, bool useWide) {
    const uint32_t steps = width / kStep;
    const intptr_t cs = t.chromaStep;
    for (uint32_t r = 0; r + 1 < height; r += 2) {
        const uint8_t* s0 = src.first + intptr_t(r) * src.step;
        const uint8_t* s1 = s0 + src.step;
        uint8_t* y0 = t.y + intptr_t(r) * t.yPitch;
        uint8_t* y1 = y0 + t.yPitch;
        uint8_t* u = t.u + intptr_t(r / 2) * t.chromaPitch;
        uint8_t* v = t.v + intptr_t(r / 2) * t.chromaPitch;
        uint32_t x = useWide ? Format::Wide(s0, s1, y0, y1, u, v, kInterleaved, width) : 0;
        for (; x + kStep <= width; x += kStep) {
            const intptr_t c = intptr_t(x / 2) * cs;
            StoreChroma<kInterleaved>(Format::Step(s0 + 4 * x, s1 + 4 * x, y0 + x, y1 + x), u + c, v + c);
        }
        for (; x + 1 < width; x += 2) {
            y0[x] = Format::Luma(s0 + 4 * x);
            y0[x + 1] = Format::Luma(s0 + 4 * x + 4);
            y1[x] = Format::Luma(s1 + 4 * x);
            y1[x + 1] = Format::Luma(s1 + 4 * x + 4);
            const intptr_t c = intptr_t(x / 2) * cs;
            Format::Block(s0 + 4 * x, s1 + 4 * x, u + c, v + c);
        }
        if (x < width) {
            y0[x] = Format::Luma(s0 + 4 * x);
            y1[x] = Format::Luma(s1 + 4 * x);
        }
    }
    if (height % 2) {
        const uint8_t* s = src.first + intptr_t(height - 1) * src.step;
        uint8_t* y = t.y + intptr_t(height - 1) * t.yPitch;
        uint32_t x = 0;
        for (uint32_t k = 0; k < steps; ++k, x += kStep) Format::Luma8(s + 4 * x, y + x);
        for (; x < width; ++x) y[x] = Format::Luma(s + 4 * x);
    }
}

template <class Format>
void Write420(planar::PackedRows src, uint32_t width, uint32_t height, const planar::Target420& t) {
    const bool useWide = Format::kHasWide && wide::Enabled();
    if (t.chromaStep == 1)
        Write420<Format, false>(src, width, height, t, useWide);
    else
        Write420<Format, true>(src, width, height, t, useWide);
}

// ---- YV12 to RGB32 -------------------------------------------------------
// Each channel is clamp((4768 (Y - 16) + c) >> 12), c being the block's chroma
// term with the rounding half. With d = c - 4768 x 16 and 4768 = 32 x 149,
// 149 = 128 + 21, this is exactly Y + ((21 Y + (d >> 5)) >> 7), all in 16-bit
// lanes. Blue first takes 2 x 4096 of its factor out as 2 (U - 128), which
// keeps its block term within 16 bits. Per pixel: one multiply, then three
// adds and a shift per channel (one add more for blue).
static_assert(kLuma % 32 == 0, "luma factor split");
constexpr int kLumaRest = kLuma / 32 - 128;  // 21
constexpr int kBlueRest = kBU - 2 * 4096;    // 73

struct Terms {
    __m128i r, g, b, twoU;  // 8 lanes: four blocks, each repeated for its two pixels
};

// uv: (U, V) of four blocks as 16-bit pairs; fu, fv: the channel's factors.
__m128i BlockTerm(__m128i uv, int fu, int fv) {
    const __m128i d = _mm_add_epi32(_mm_madd_epi16(uv, Pair(fu, fv)),
                                    _mm_set1_epi32(kRound - kLuma * 16 - 128 * (fu + fv)));
    return _mm_srai_epi32(d, 5);
}

Terms BlockTerms(const uint8_t* u, const uint8_t* v) {
    const __m128i uv = _mm_unpacklo_epi8(_mm_unpacklo_epi8(Load4(u), Load4(v)), _mm_setzero_si128());
    const __m128i rg = _mm_packs_epi32(BlockTerm(uv, 0, kRV), BlockTerm(uv, kGU, kGV));
    const __m128i twoU = _mm_sub_epi32(_mm_madd_epi16(uv, Pair(2, 0)), _mm_set1_epi32(256));
    const __m128i bu = _mm_packs_epi32(BlockTerm(uv, kBlueRest, 0), twoU);
    return {_mm_unpacklo_epi16(rg, rg), _mm_unpackhi_epi16(rg, rg), _mm_unpacklo_epi16(bu, bu),
            _mm_unpackhi_epi16(bu, bu)};
}

// 8 pixels of one row: Y bytes to B, G, R, 255.
void RowToBgra(const uint8_t* ys, const Terms& t, uint8_t* d) {
    const __m128i y = _mm_unpacklo_epi8(Load8(ys), _mm_setzero_si128());
    const __m128i y21 = _mm_mullo_epi16(y, _mm_set1_epi16(kLumaRest));
    const __m128i r = _mm_add_epi16(y, _mm_srai_epi16(_mm_add_epi16(y21, t.r), 7));
    const __m128i g = _mm_add_epi16(y, _mm_srai_epi16(_mm_add_epi16(y21, t.g), 7));
    const __m128i b = _mm_add_epi16(_mm_add_epi16(y, t.twoU), _mm_srai_epi16(_mm_add_epi16(y21, t.b), 7));
    const __m128i br = _mm_packus_epi16(b, r), ga = _mm_packus_epi16(g, _mm_set1_epi16(255));
    const __m128i bg = _mm_unpacklo_epi8(br, ga), ra = _mm_unpackhi_epi8(br, ga);
    Store16(d, _mm_unpacklo_epi16(bg, ra));
    Store16(d + 16, _mm_unpackhi_epi16(bg, ra));
}

void Bgra(int y, int u, int v, uint8_t* d) {
    YuvToBgr(y, u, v, kBU, d);
    d[3] = 255;
}

// Destination row r is at first + r x step (step = -pitch when written bottom-up).
void Yv12ToRgb32(const uint8_t* src, uint32_t width, uint32_t height, uint32_t pitch, uint8_t* first,
                 intptr_t step) {
    if (height < 2) return;
    const planar::Yv12Offsets planes = planar::Yv12OffsetsOf(pitch, height);
    const intptr_t chromaPitch = planar::Yv12ChromaPitch(width / 2, width, pitch);
    const bool useWide = wide::Enabled();
    for (uint32_t j = 0; j < height / 2; ++j) {
        const uint8_t* y0 = src + size_t(2 * j) * pitch;
        const uint8_t* y1 = y0 + pitch;
        const uint8_t* u = src + planes.u + intptr_t(j) * chromaPitch;
        const uint8_t* v = src + planes.v + intptr_t(j) * chromaPitch;
        uint8_t* d0 = first + intptr_t(2 * j) * step;
        uint8_t* d1 = d0 + step;
        uint32_t x = useWide ? wide::YV12RowPairToRGB32_AVX2(y0, y1, u, v, d0, d1, width) : 0;
        for (; x + kStep <= width; x += kStep) {
            const Terms t = BlockTerms(u + x / 2, v + x / 2);
            RowToBgra(y0 + x, t, d0 + 4 * x);
            RowToBgra(y1 + x, t, d1 + 4 * x);
        }
        for (; x + 1 < width; x += 2) {
            const int cu = u[x / 2], cv = v[x / 2];
            Bgra(y0[x], cu, cv, d0 + 4 * x);
            Bgra(y0[x + 1], cu, cv, d0 + 4 * x + 4);
            Bgra(y1[x], cu, cv, d1 + 4 * x);
            Bgra(y1[x + 1], cu, cv, d1 + 4 * x + 4);
        }
    }
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

planar::Target420 Yv12Target(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch) {
    const planar::Yv12Offsets planes = planar::Yv12OffsetsOf(pitch, height);
    return {dst, intptr_t(pitch), dst + planes.u, dst + planes.v, planar::Yv12ChromaPitch(width / 2, width, pitch),
            1};
}

}  // namespace

namespace planar {
void RGB32To420_SSE2(PackedRows src, uint32_t width, uint32_t height, const Target420& t) {
    Write420<Rgb32>(src, width, height, t);
}
void YUV32To420_SSE2(PackedRows src, uint32_t width, uint32_t height, const Target420& t) {
    Write420<Yuv32>(src, width, height, t);
}
}  // namespace planar

void RGB32toYV12_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::RGB32To420_SSE2(planar::TopDown(src, sp), sw, sh, Yv12Target(dst, sw, sh, dp));
}

void InvertRGB32toYV12_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                            uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::RGB32To420_SSE2(planar::BottomUp(src, sp, sh), sw, sh, Yv12Target(dst, sw, sh, dp));
}

void YUV32toYV12_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::YUV32To420_SSE2(planar::TopDown(src, sp), sw, sh, Yv12Target(dst, sw, sh, dp));
}

void YV12toRGB32_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yv12ToRgb32(src, sw, sh, sp, dst, intptr_t(dp));
}

void InvertYV12toRGB32_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                            uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yv12ToRgb32(src, sw, sh, sp, dst + size_t(dp) * (sh - 1), -intptr_t(dp));
}

}  // namespace tessiva
