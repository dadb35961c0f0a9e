// SSE2 RGB32 <-> YUV32 (level 3 and up; RGB32toYUV32 at level 3 only). Each row
// runs blocks of two 4-pixel registers, then one register, a pair and the odd
// last pixel as the width leaves them: exact for every width, and nothing
// outside the row's W pixels is read or written.
//
// Per pixel, 32-bit lanes hold 16-bit pairs for pmaddwd: one multiply-add gives
// coefficient x component + coefficient x component, and a pair with a constant
// second member folds an offset in. The results equal the scalar formulas of
// color.h exactly; YUV32 to RGB32 uses the blue factor kBUWide here.
#include <emmintrin.h>

#include <cstddef>
#include <cstring>

#include "convert/color.h"
#include "convert/rgb32_yuv32.h"

namespace tessiva {
namespace {

using namespace color;

#define TESSIVA_SSE2 __attribute__((target("sse2")))
#define TESSIVA_SSE2_INLINE __attribute__((target("sse2"), always_inline)) inline

// Two signed 16-bit coefficients per 32-bit lane: `low` multiplies the lane's
// low word, `high` its high word.
TESSIVA_SSE2_INLINE __m128i Pair(int32_t low, int32_t high) {
    return _mm_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xFFFF)));
}

// RGB32 to YUV32. Pairs (B, R) and (G, 1024); 1024 x k carries the offset.
constexpr int32_t kOffsetUnit = 1024;
static_assert(kYOffset % kOffsetUnit == 0 && kCOffset % kOffsetUnit == 0, "offsets fold into the G pair");

struct ToYuv {
    TESSIVA_SSE2_INLINE static __m128i Convert(__m128i bgra) {
        const __m128i lowByte = _mm_set1_epi32(0xFF);
        // (B, R): bytes 0 and 2 of each pixel as 16-bit words.
        const __m128i br = _mm_and_si128(bgra, _mm_set1_epi32(0x00FF00FF));
        // (G, 1024): byte 1 shifted down, the constant in the high word.
        const __m128i g = _mm_or_si128(_mm_and_si128(_mm_srli_epi32(bgra, 8), lowByte), _mm_set1_epi32(kOffsetUnit << 16));
        const __m128i y = _mm_add_epi32(_mm_madd_epi16(br, Pair(kYB, kYR)), _mm_madd_epi16(g, Pair(kYG, kYOffset / kOffsetUnit)));
        const __m128i u = _mm_add_epi32(_mm_madd_epi16(br, Pair(kUB, kUR)), _mm_madd_epi16(g, Pair(kUG, kCOffset / kOffsetUnit)));
        const __m128i v = _mm_add_epi32(_mm_madd_epi16(br, Pair(kVB, kVR)), _mm_madd_epi16(g, Pair(kVG, kCOffset / kOffsetUnit)));
        // Results lie in 16..240: after the shift each fits its byte exactly.
        const __m128i out = _mm_or_si128(_mm_srai_epi32(v, 12), _mm_slli_epi32(_mm_srai_epi32(u, 12), 8));
        const __m128i alpha = _mm_and_si128(bgra, _mm_set1_epi32(static_cast<int32_t>(0xFF000000u)));
        return _mm_or_si128(_mm_or_si128(out, _mm_slli_epi32(_mm_srai_epi32(y, 12), 16)), alpha);
    }
    TESSIVA_SSE2_INLINE static void Convert2(__m128i a, __m128i b, __m128i* outA, __m128i* outB) {
        *outA = Convert(a);
        *outB = Convert(b);
    }
};

// YUV32 to RGB32 from the raw bytes: 4768 (Y - 16) + 2048 + c (U - 128) ... is
// 4768 Y + c U + constant, with the constants below.
constexpr int32_t kLumaBase = kRound - kLuma * 16;
constexpr int32_t kROffset = kLumaBase - kRV * 128;
constexpr int32_t kGOffset = kLumaBase - (kGU + kGV) * 128;
constexpr int32_t kBOffset = kLumaBase - kBUWide * 128;

struct ToRgb {
    struct Channels {
        __m128i b, g, r, a;  // 32-bit lanes, before clamping
    };
    TESSIVA_SSE2_INLINE static Channels Compute(__m128i vuya) {
        // (V, Y) from bytes 0 and 2; (U, A) from bytes 1 and 3, A weighted 0.
        const __m128i vy = _mm_and_si128(vuya, _mm_set1_epi32(0x00FF00FF));
        const __m128i ua = _mm_srli_epi16(vuya, 8);
        const __m128i r = _mm_add_epi32(_mm_madd_epi16(vy, Pair(kRV, kLuma)), _mm_set1_epi32(kROffset));
        const __m128i g = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(vy, Pair(kGV, kLuma)), _mm_madd_epi16(ua, Pair(kGU, 0))),
                                        _mm_set1_epi32(kGOffset));
        const __m128i b = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(vy, Pair(0, kLuma)), _mm_madd_epi16(ua, Pair(kBUWide, 0))),
                                        _mm_set1_epi32(kBOffset));
        return {_mm_srai_epi32(b, 12), _mm_srai_epi32(g, 12), _mm_srai_epi32(r, 12), _mm_srli_epi32(vuya, 24)};
    }
    // Two registers at once: the packs then gather 8 pixels per channel, which
    // two unpack steps interleave into B G R A.
    TESSIVA_SSE2_INLINE static void Convert2(__m128i a, __m128i b, __m128i* outA, __m128i* outB) {
        const Channels x = Compute(a), y = Compute(b);
        // Clamp by saturating packs (32 -> 16 signed, 16 -> 8 unsigned):
        // bytes B0-7 R0-7 and G0-7 A0-7.
        const __m128i br = _mm_packus_epi16(_mm_packs_epi32(x.b, y.b), _mm_packs_epi32(x.r, y.r));
        const __m128i ga = _mm_packus_epi16(_mm_packs_epi32(x.g, y.g), _mm_packs_epi32(x.a, y.a));
        const __m128i bg = _mm_unpacklo_epi8(br, ga), ra = _mm_unpackhi_epi8(br, ga);
        *outA = _mm_unpacklo_epi16(bg, ra);
        *outB = _mm_unpackhi_epi16(bg, ra);
    }
};

// One row: blocks of two registers, then what the width leaves: one register,
// a pair, the odd pixel (a partial step runs the block kernel on a partly
// loaded register and stores only its own pixels).
constexpr uint32_t kRegisterPixels = 4;
constexpr uint32_t kBlockPixels = 2 * kRegisterPixels;
constexpr uint32_t kBlockBytes = kBlockPixels * 4;
static_assert(kBlockPixels == 8, "the tail below handles 4, 2 and 1 pixels");

template <class Kernel>
TESSIVA_SSE2_INLINE __m128i ConvertOne(__m128i x) {
    __m128i out, unused;
    Kernel::Convert2(x, x, &out, &unused);
    return out;
}

// Rows walked bottom-up defeat the hardware prefetchers at each row change. A
// source read bottom-up gets the same columns kRowsAhead rows further along
// prefetched while a row converts; a destination written bottom-up gets
// streaming stores (no read for ownership), for images of kStreamMinBytes and
// more only, since they bypass the caches (top-down they were slower).
constexpr uint32_t kRowsAhead = 2;
constexpr size_t kStreamMinBytes = size_t(4) << 20;

template <bool kStream>
TESSIVA_SSE2_INLINE void Store(uint8_t* d, __m128i v) {
    if (kStream)
        _mm_stream_si128(reinterpret_cast<__m128i*>(d), v);
    else
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), v);
}

// `ahead`: bytes from this source row to the one to prefetch (0 near the end).
// Streaming needs `d` 16-byte aligned.
template <class Kernel, bool kPrefetch, bool kStream>
TESSIVA_SSE2_INLINE void ConvertRow(const uint8_t* s, uint8_t* d, uint32_t width, std::ptrdiff_t ahead) {
    const uint32_t blocks = width / kBlockPixels;
    for (uint32_t i = 0; i < blocks; ++i, s += kBlockBytes, d += kBlockBytes) {
        if (kPrefetch) _mm_prefetch(reinterpret_cast<const char*>(s + ahead), _MM_HINT_T0);
        __m128i a, b;
        Kernel::Convert2(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)), &a, &b);
        Store<kStream>(d, a);
        Store<kStream>(d + 16, b);
    }
    const uint32_t rest = width % kBlockPixels;
    if (rest & 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), ConvertOne<Kernel>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s))));
        s += 16;
        d += 16;
    }
    if (rest & 2) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), ConvertOne<Kernel>(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s))));
        s += 8;
        d += 8;
    }
    if (rest & 1) {
        int32_t pixel;
        std::memcpy(&pixel, s, 4);
        pixel = _mm_cvtsi128_si32(ConvertOne<Kernel>(_mm_cvtsi32_si128(pixel)));
        std::memcpy(d, &pixel, 4);
    }
}

// Runs every row; an inverted side walks its rows bottom-up.
template <class Kernel, bool kSrcUp, bool kDstUp>
TESSIVA_SSE2 void ConvertRows(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                              uint32_t dh, uint32_t dp) {
    if (!SameSize(sw, sh, dw, dh) || !src || !dst) return;
    const bool stream = kDstUp && size_t(sw) * 4 * sh >= kStreamMinBytes;
    for (uint32_t y = 0; y < sh; ++y) {
        const uint8_t* s = src + size_t(kSrcUp ? sh - 1 - y : y) * sp;
        uint8_t* d = dst + size_t(kDstUp ? dh - 1 - y : y) * dp;
        const std::ptrdiff_t ahead = kSrcUp && y + kRowsAhead < sh ? -std::ptrdiff_t(sp) * kRowsAhead : 0;
        if (stream && (reinterpret_cast<uintptr_t>(d) & 15) == 0)
            ConvertRow<Kernel, kSrcUp, true>(s, d, sw, ahead);
        else
            ConvertRow<Kernel, kSrcUp, false>(s, d, sw, ahead);
    }
    // Streaming stores are weakly ordered: make them visible before returning.
    if (stream) _mm_sfence();
}

}  // namespace

TESSIVA_DECLARE_ROUTINE(RGB32toYUV32_SSE2) {
    ConvertRows<ToYuv, false, false>(src, srcWidth, srcHeight, srcPitch, dst, dstWidth, dstHeight, dstPitch);
}

TESSIVA_DECLARE_ROUTINE(InvertRGB32toYUV32_SSE2) {
    ConvertRows<ToYuv, true, false>(src, srcWidth, srcHeight, srcPitch, dst, dstWidth, dstHeight, dstPitch);
}

TESSIVA_DECLARE_ROUTINE(YUV32toRGB32_SSE2) {
    ConvertRows<ToRgb, false, false>(src, srcWidth, srcHeight, srcPitch, dst, dstWidth, dstHeight, dstPitch);
}

TESSIVA_DECLARE_ROUTINE(InvertYUV32toRGB32_SSE2) {
    ConvertRows<ToRgb, false, true>(src, srcWidth, srcHeight, srcPitch, dst, dstWidth, dstHeight, dstPitch);
}

}  // namespace tessiva
