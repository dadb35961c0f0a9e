// SSE4.1-level RGB32 to YUV32 (levels 4 and 5): as the SSE2 variant, but the
// 16-bit pairs are gathered and the results interleaved with SSSE3 byte
// shuffles. Each row runs whole 4-pixel registers, then a pair, then the odd
// last pixel. Like the level-6 variant it tests the sizes only; the interface
// refuses null buffers before calling it.
#include <smmintrin.h>
#include <tmmintrin.h>

#include <cstring>

#include "convert/color.h"
#include "convert/rgb32_yuv32.h"

namespace tessiva {
namespace {

using namespace color;

#define TESSIVA_SSE41 __attribute__((target("sse4.1")))
#define TESSIVA_SSE41_INLINE __attribute__((target("sse4.1"), always_inline)) inline

TESSIVA_SSE41_INLINE __m128i Pair(int32_t low, int32_t high) {
    return _mm_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xFFFF)));
}

constexpr int32_t kOffsetUnit = 1024;
static_assert(kYOffset % kOffsetUnit == 0 && kCOffset % kOffsetUnit == 0, "offsets fold into the G pair");

TESSIVA_SSE41_INLINE __m128i ToYuv(__m128i bgra) {
    // (B, R) and (G, 1024) as 16-bit pairs, gathered by byte shuffles.
    const __m128i br = _mm_shuffle_epi8(bgra, _mm_setr_epi8(0, -1, 2, -1, 4, -1, 6, -1, 8, -1, 10, -1, 12, -1, 14, -1));
    const __m128i g = _mm_or_si128(_mm_shuffle_epi8(bgra, _mm_setr_epi8(1, -1, -1, -1, 5, -1, -1, -1, 9, -1, -1, -1, 13, -1, -1, -1)),
                                   _mm_set1_epi32(kOffsetUnit << 16));
    const __m128i y = _mm_add_epi32(_mm_madd_epi16(br, Pair(kYB, kYR)), _mm_madd_epi16(g, Pair(kYG, kYOffset / kOffsetUnit)));
    const __m128i u = _mm_add_epi32(_mm_madd_epi16(br, Pair(kUB, kUR)), _mm_madd_epi16(g, Pair(kUG, kCOffset / kOffsetUnit)));
    const __m128i v = _mm_add_epi32(_mm_madd_epi16(br, Pair(kVB, kVR)), _mm_madd_epi16(g, Pair(kVG, kCOffset / kOffsetUnit)));
    // Bytes V0-3 Y0-3 U0-3 A0-3 (the packs never saturate: results lie in
    // 16..240), then one shuffle to V U Y A per pixel.
    const __m128i planes = _mm_packus_epi16(_mm_packs_epi32(_mm_srai_epi32(v, 12), _mm_srai_epi32(y, 12)),
                                            _mm_packs_epi32(_mm_srai_epi32(u, 12), _mm_srli_epi32(bgra, 24)));
    return _mm_shuffle_epi8(planes, _mm_setr_epi8(0, 8, 4, 12, 1, 9, 5, 13, 2, 10, 6, 14, 3, 11, 7, 15));
}

constexpr uint32_t kBlockPixels = 4;
constexpr uint32_t kBlockBytes = kBlockPixels * 4;
static_assert(kBlockPixels == 4, "the tail below handles a pair and a single pixel");

TESSIVA_SSE41_INLINE void ConvertRow(const uint8_t* s, uint8_t* d, uint32_t width) {
    const uint32_t blocks = width / kBlockPixels;
    for (uint32_t i = 0; i < blocks; ++i, s += kBlockBytes, d += kBlockBytes)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), ToYuv(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s))));
    const uint32_t rest = width % kBlockPixels;
    if (rest & 2) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d), ToYuv(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(s))));
        s += 8;
        d += 8;
    }
    if (rest & 1) {
        int32_t pixel;
        std::memcpy(&pixel, s, 4);
        pixel = _mm_cvtsi128_si32(ToYuv(_mm_cvtsi32_si128(pixel)));
        std::memcpy(d, &pixel, 4);
    }
}

TESSIVA_SSE41 void ConvertRows(const uint8_t* src, uint32_t pitchIn, uint8_t* dst, uint32_t pitchOut, uint32_t width,
                               uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) ConvertRow(src + size_t(y) * pitchIn, dst + size_t(y) * pitchOut, width);
}

}  // namespace

TESSIVA_DECLARE_ROUTINE(RGB32toYUV32_SSE41) {
    if (!SameSize(srcWidth, srcHeight, dstWidth, dstHeight)) return;
    ConvertRows(src, srcPitch, dst, dstPitch, srcWidth, srcHeight);
}

}  // namespace tessiva
