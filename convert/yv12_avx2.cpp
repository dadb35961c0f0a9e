// 256-bit internals of the SSE2 4:2:0 routines (see wide_internals.h): 16
// pixels of each of two rows per step, the same arithmetic as the SSE2 kernels
// of yv12_sse2.cpp, the same bytes read and written. The SSE2 row loops finish
// each row pair's remaining pixels.
#include <immintrin.h>

#include "convert/color.h"
#include "convert/wide_internals.h"

#define TESSIVA_AVX2 __attribute__((target("avx2")))
#define TESSIVA_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

namespace tessiva::wide {
namespace {

using namespace color;

TESSIVA_AVX2_INLINE __m256i Load32(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
TESSIVA_AVX2_INLINE __m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
TESSIVA_AVX2_INLINE __m128i Load8(const uint8_t* p) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)); }
TESSIVA_AVX2_INLINE void Store32(uint8_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
TESSIVA_AVX2_INLINE void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }
TESSIVA_AVX2_INLINE void Store8(uint8_t* p, __m128i v) { _mm_storel_epi64(reinterpret_cast<__m128i*>(p), v); }

// madd_epi16 factors: `even` multiplies the lower 16-bit element of each lane.
TESSIVA_AVX2_INLINE __m256i Pair(int even, int odd) {
    return _mm256_set1_epi32(int32_t(uint32_t(uint16_t(odd)) << 16 | uint16_t(even)));
}

// ---- RGB32 to 4:2:0 ----------------------------------------------------------

// The alpha lanes of the (G, A) pairs are replaced by 32, so that one multiply-
// add also brings the offset: (G, 32) x (2064, 2112) adds 67584 to the luma,
// and a pair's (G0 + G1, 64) x (factor, 16448) adds 1052672 to its chroma.
constexpr int kAlphaStandIn = 32;
static_assert(kYOffset % kAlphaStandIn == 0 && kPairCOffset % (2 * kAlphaStandIn) == 0, "offsets fold into madd");

// Y of eight pixels (32-bit lanes) from their (B, R) and (G, 32) pairs.
TESSIVA_AVX2_INLINE __m256i Luma8(__m256i br, __m256i g) {
    const __m256i s =
        _mm256_add_epi32(_mm256_madd_epi16(br, Pair(kYB, kYR)), _mm256_madd_epi16(g, Pair(kYG, kYOffset / kAlphaStandIn)));
    return _mm256_srai_epi32(s, 12);
}

// 16 pixels of one row. luma: Y as 16-bit, lanes holding pixels 0-3, 8-11 |
// 4-7, 12-15. Returns the pair chroma as 16-bit, lanes holding U of pairs
// 0 1 4 5, V of 0 1 4 5 | U of 2 3 6 7, V of 2 3 6 7.
TESSIVA_AVX2_INLINE __m256i Row(const uint8_t* s, __m256i& luma) {
    const __m256i mask = _mm256_set1_epi32(0x00FF00FF), standIn = _mm256_set1_epi32(kAlphaStandIn << 16);
    const __m256i a = Load32(s), b = Load32(s + 32);
    const __m256i brA = _mm256_and_si256(a, mask), gA = _mm256_blend_epi16(_mm256_srli_epi16(a, 8), standIn, 0xAA);
    const __m256i brB = _mm256_and_si256(b, mask), gB = _mm256_blend_epi16(_mm256_srli_epi16(b, 8), standIn, 0xAA);
    luma = _mm256_packs_epi32(Luma8(brA, gA), Luma8(brB, gB));
    // Left and right pixels of each pair, per 128-bit lane.
    const __m256 fa = _mm256_castsi256_ps(brA), fb = _mm256_castsi256_ps(brB);
    const __m256 ga = _mm256_castsi256_ps(gA), gb = _mm256_castsi256_ps(gB);
    const __m256i br = _mm256_add_epi16(_mm256_castps_si256(_mm256_shuffle_ps(fa, fb, _MM_SHUFFLE(2, 0, 2, 0))),
                                        _mm256_castps_si256(_mm256_shuffle_ps(fa, fb, _MM_SHUFFLE(3, 1, 3, 1))));
    const __m256i gs = _mm256_add_epi16(_mm256_castps_si256(_mm256_shuffle_ps(ga, gb, _MM_SHUFFLE(2, 0, 2, 0))),
                                        _mm256_castps_si256(_mm256_shuffle_ps(ga, gb, _MM_SHUFFLE(3, 1, 3, 1))));
    const int offset = kPairCOffset / (2 * kAlphaStandIn);
    const __m256i u = _mm256_add_epi32(_mm256_madd_epi16(br, Pair(kUB, kUR)), _mm256_madd_epi16(gs, Pair(kUG, offset)));
    const __m256i v = _mm256_add_epi32(_mm256_madd_epi16(br, Pair(kVB, kVR)), _mm256_madd_epi16(gs, Pair(kVG, offset)));
    return _mm256_packs_epi32(_mm256_srai_epi32(u, 13), _mm256_srai_epi32(v, 13));
}

template <bool kInterleaved>
TESSIVA_AVX2 uint32_t Rgb32RowPair(const uint8_t* s0, const uint8_t* s1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                                   uint8_t* v, uint32_t width) {
    const uint32_t steps = width / k420Step;
    const __m256i lumaOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (uint32_t k = 0; k < steps; ++k) {
        const uint32_t x = k * k420Step;
        __m256i l0, l1;
        const __m256i c0 = Row(s0 + 4 * x, l0), c1 = Row(s1 + 4 * x, l1);
        const __m256i luma = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(l0, l1), lumaOrder);
        Store16(y0 + x, _mm256_castsi256_si128(luma));
        Store16(y1 + x, _mm256_extracti128_si256(luma, 1));
        // Rows averaged rounding up; then the lanes' U,V word pairs gathered in order.
        const __m256i c = _mm256_packus_epi16(c0, c1);
        const __m256i avg = _mm256_avg_epu8(c, _mm256_srli_si256(c, 8));
        const __m128i uv = _mm_unpacklo_epi16(_mm256_castsi256_si128(avg), _mm256_extracti128_si256(avg, 1));
        if (kInterleaved) {
            Store16(u + x, _mm_unpacklo_epi8(uv, _mm_srli_si128(uv, 8)));
        } else {
            Store8(u + x / 2, uv);
            Store8(v + x / 2, _mm_srli_si128(uv, 8));
        }
    }
    return steps * k420Step;
}

// ---- YV12 to RGB32 -------------------------------------------------------------
// As in the SSE2 reader: red and green are Y + ((21 Y + e) >> 7), blue is
// Y + 2 (U - 128) + ((21 Y + e) >> 7), e being per block.
static_assert(kLuma % 32 == 0, "luma factor split");
constexpr int kLumaRest = kLuma / 32 - 128;  // 4768 = 32 x (128 + 21)

struct Terms {
    __m256i r, g, b, twoU;  // 16 lanes: eight blocks, each repeated for its two pixels
};

TESSIVA_AVX2_INLINE __m256i BlockTerm(__m256i uv, int fu, int fv) {
    const __m256i d = _mm256_add_epi32(_mm256_madd_epi16(uv, Pair(fu, fv)),
                                       _mm256_set1_epi32(kRound - kLuma * 16 - 128 * (fu + fv)));
    return _mm256_srai_epi32(d, 5);
}

TESSIVA_AVX2_INLINE Terms BlockTerms(const uint8_t* u, const uint8_t* v) {
    const __m256i uv = _mm256_cvtepu8_epi16(_mm_unpacklo_epi8(Load8(u), Load8(v)));
    const __m256i rg = _mm256_packs_epi32(BlockTerm(uv, 0, kRV), BlockTerm(uv, kGU, kGV));
    const __m256i twoU = _mm256_sub_epi32(_mm256_madd_epi16(uv, Pair(2, 0)), _mm256_set1_epi32(256));
    const __m256i bu = _mm256_packs_epi32(BlockTerm(uv, kBU - 2 * 4096, 0), twoU);
    return {_mm256_unpacklo_epi16(rg, rg), _mm256_unpackhi_epi16(rg, rg), _mm256_unpacklo_epi16(bu, bu),
            _mm256_unpackhi_epi16(bu, bu)};
}

TESSIVA_AVX2_INLINE void RowToBgra(const uint8_t* ys, const Terms& t, uint8_t* d) {
    const __m256i y = _mm256_cvtepu8_epi16(Load16(ys));
    const __m256i y21 = _mm256_mullo_epi16(y, _mm256_set1_epi16(kLumaRest));
    const __m256i r = _mm256_add_epi16(y, _mm256_srai_epi16(_mm256_add_epi16(y21, t.r), 7));
    const __m256i g = _mm256_add_epi16(y, _mm256_srai_epi16(_mm256_add_epi16(y21, t.g), 7));
    const __m256i b =
        _mm256_add_epi16(_mm256_add_epi16(y, t.twoU), _mm256_srai_epi16(_mm256_add_epi16(y21, t.b), 7));
    const __m256i br = _mm256_packus_epi16(b, r), ga = _mm256_packus_epi16(g, _mm256_set1_epi16(255));
    const __m256i bg = _mm256_unpacklo_epi8(br, ga), ra = _mm256_unpackhi_epi8(br, ga);
    const __m256i p0 = _mm256_unpacklo_epi16(bg, ra), p1 = _mm256_unpackhi_epi16(bg, ra);
    Store32(d, _mm256_permute2x128_si256(p0, p1, 0x20));
    Store32(d + 32, _mm256_permute2x128_si256(p0, p1, 0x31));
}

}  // namespace

TESSIVA_AVX2 uint32_t RGB32RowPairTo420_AVX2(const uint8_t* s0, const uint8_t* s1, uint8_t* y0, uint8_t* y1,
                                             uint8_t* u, uint8_t* v, bool interleaved, uint32_t width) {
    return interleaved ? Rgb32RowPair<true>(s0, s1, y0, y1, u, v, width)
                       : Rgb32RowPair<false>(s0, s1, y0, y1, u, v, width);
}

TESSIVA_AVX2 uint32_t YV12RowPairToRGB32_AVX2(const uint8_t* y0, const uint8_t* y1, const uint8_t* u,
                                              const uint8_t* v, uint8_t* d0, uint8_t* d1, uint32_t width) {
    const uint32_t steps = width / k420Step;
    for (uint32_t k = 0; k < steps; ++k) {
        const uint32_t x = k * k420Step;
        const Terms t = BlockTerms(u + x / 2, v + x / 2);
        RowToBgra(y0 + x, t, d0 + 4 * x);
        RowToBgra(y1 + x, t, d1 + 4 * x);
    }
    return steps * k420Step;
}

}  // namespace tessiva::wide
