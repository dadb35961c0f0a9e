// SSE2 conversions into RGB24 (levels 3 and up): 16 pixels per step, read as
// four 16-byte vectors and written as three, then the row's remaining pixels
// one by one. Every width is exact and nothing past a row's W x 3 bytes is
// written. YUV32 sources use the blue factor 8266 at this level. A width of 0
// writes nothing. When the table was last filled for level 6
// (wide_internals.h), RGB32 rows start with the 256-bit kernel of
// rgb24_avx2.cpp, which writes the same bytes.
#include <emmintrin.h>

#include "convert/color.h"
#include "convert/rgb24.h"
#include "convert/wide_internals.h"

namespace tessiva {
namespace {

using namespace color;

// Pixels per SIMD step: 64 source bytes to 48 destination bytes.
constexpr uint32_t kStep = 16;

__m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// madd_epi16 factors: `even` multiplies the lower 16-bit element of each lane.
__m128i Pair(int even, int odd) {
    return _mm_set1_epi32(int32_t(uint32_t(uint16_t(odd)) << 16 | uint16_t(even)));
}

// Four 4-byte pixels to their low three bytes each, in bytes 0..11 (rest zero).
__m128i DropFourth(__m128i p) {
    const __m128i even = _mm_and_si128(p, _mm_set_epi32(0, 0x00FFFFFF, 0, 0x00FFFFFF));
    const __m128i odd = _mm_srli_epi64(_mm_and_si128(p, _mm_set_epi32(0x00FFFFFF, 0, 0x00FFFFFF, 0)), 8);
    const __m128i six = _mm_or_si128(even, odd);  // pixels 0,1 in bytes 0-5, pixels 2,3 in bytes 8-13
    return _mm_or_si128(_mm_move_epi64(six), _mm_slli_si128(_mm_srli_si128(six, 8), 6));
}

// Sixteen 4-byte pixels (four vectors) as 48 bytes of RGB24.
void StoreStep(uint8_t* d, __m128i p0, __m128i p1, __m128i p2, __m128i p3) {
    const __m128i t0 = DropFourth(p0), t1 = DropFourth(p1), t2 = DropFourth(p2), t3 = DropFourth(p3);
    Store16(d, _mm_or_si128(t0, _mm_slli_si128(t1, 12)));
    Store16(d + 16, _mm_or_si128(_mm_srli_si128(t1, 4), _mm_slli_si128(t2, 8)));
    Store16(d + 32, _mm_or_si128(_mm_srli_si128(t2, 8), _mm_slli_si128(t3, 4)));
}

struct FromRgb32 {
    static constexpr bool kHasWide = true;
    static uint32_t Wide(const uint8_t* s, uint8_t* d, uint32_t width) {
        return wide::RGB32RowToRGB24_AVX2(s, d, width);
    }
    static void Step(const uint8_t* s, uint8_t* d) {
        StoreStep(d, Load16(s), Load16(s + 16), Load16(s + 32), Load16(s + 48));
    }
    static void Pixel(const uint8_t* s, uint8_t* d) {
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
    }
};

struct FromYuv32 {
    static constexpr bool kHasWide = false;
    static uint32_t Wide(const uint8_t*, uint8_t*, uint32_t) { return 0; }
    // B, G, R of four pixels as 32-bit lanes, before clamping. Offsets of Y
    // and chroma are folded into each channel's constant.
    static void Channels(__m128i p, __m128i& b, __m128i& g, __m128i& r) {
        const __m128i vy = _mm_and_si128(p, _mm_set1_epi32(0x00FF00FF));  // (V, Y)
        const __m128i ua = _mm_srli_epi16(p, 8);                          // (U, A)
        const int32_t base = kRound - 16 * kLuma;
        r = _mm_add_epi32(_mm_madd_epi16(vy, Pair(kRV, kLuma)), _mm_set1_epi32(base - 128 * kRV));
        g = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(vy, Pair(kGV, kLuma)), _mm_madd_epi16(ua, Pair(kGU, 0))),
                          _mm_set1_epi32(base - 128 * (kGU + kGV)));
        b = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(vy, Pair(0, kLuma)), _mm_madd_epi16(ua, Pair(kBUWide, 0))),
                          _mm_set1_epi32(base - 128 * kBUWide));
        b = _mm_srai_epi32(b, 12);
        g = _mm_srai_epi32(g, 12);
        r = _mm_srai_epi32(r, 12);
    }
    // Eight pixels to B, G, R, x words (x is not meaningful), clamped by the
    // saturating packs.
    static void ToBgrx(__m128i p0, __m128i p1, __m128i& lo, __m128i& hi) {
        __m128i b0, g0, r0, b1, g1, r1;
        Channels(p0, b0, g0, r0);
        Channels(p1, b1, g1, r1);
        const __m128i br = _mm_packus_epi16(_mm_packs_epi32(b0, b1), _mm_packs_epi32(r0, r1));
        const __m128i g = _mm_packs_epi32(g0, g1);
        const __m128i gg = _mm_packus_epi16(g, g);
        const __m128i bg = _mm_unpacklo_epi8(br, gg), rg = _mm_unpackhi_epi8(br, gg);
        lo = _mm_unpacklo_epi16(bg, rg);
        hi = _mm_unpackhi_epi16(bg, rg);
    }
    static void Step(const uint8_t* s, uint8_t* d) {
        __m128i p0, p1, p2, p3;
        ToBgrx(Load16(s), Load16(s + 16), p0, p1);
        ToBgrx(Load16(s + 32), Load16(s + 48), p2, p3);
        StoreStep(d, p0, p1, p2, p3);
    }
    static void Pixel(const uint8_t* s, uint8_t* d) { YuvToBgr(s[2], s[1], s[0], kBUWide, d); }
};

// Destination row r is at first + r x step (step = -pitch when written bottom-up).
template <class Source>
void ToRgb24(const uint8_t* src, uint32_t width, uint32_t height, uint32_t pitch, uint8_t* first, intptr_t step) {
    const bool useWide = Source::kHasWide && wide::Enabled();
    for (uint32_t r = 0; r < height; ++r) {
        const uint8_t* s = src + size_t(r) * pitch;
        uint8_t* d = first + intptr_t(r) * step;
        uint32_t x = useWide ? Source::Wide(s, d, width) : 0;
        for (; x + kStep <= width; x += kStep) Source::Step(s + 4 * x, d + 3 * x);
        for (; x < width; ++x) Source::Pixel(s + 4 * x, d + 3 * x);
    }
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0 && sw != 0;
}

uint8_t* LastRow(uint8_t* p, uint32_t pitch, uint32_t height) { return p + size_t(pitch) * (height - 1); }

}  // namespace

void RGB32toRGB24_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToRgb24<FromRgb32>(src, sw, sh, sp, dst, intptr_t(dp));
}

void InvertRGB32toRGB24_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToRgb24<FromRgb32>(src, sw, sh, sp, LastRow(dst, dp, sh), -intptr_t(dp));
}

void YUV32toRGB24_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToRgb24<FromYuv32>(src, sw, sh, sp, dst, intptr_t(dp));
}

void InvertYUV32toRGB24_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToRgb24<FromYuv32>(src, sw, sh, sp, LastRow(dst, dp, sh), -intptr_t(dp));
}

}  // namespace tessiva
