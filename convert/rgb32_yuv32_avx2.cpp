// AVX2 RGB32 <-> YUV32 (level 6). Each row runs floor(W / 8) blocks of 8 pixels
// in 256-bit registers; the W mod 8 pixels left over are copied into a 32-byte
// aligned scratch block, converted there whole, and copied back, so no byte
// outside the row's W pixels is read or written. The variants test the sizes
// only: the interface refuses null buffers before calling them.
//
// Arithmetic as in the SSE2 variants (16-bit pairs through vpmaddwd, exact to
// the scalar formulas, blue factor kBUWide); byte shuffles gather the pairs and
// interleave the results within each 128-bit lane.
#include <immintrin.h>

#include <cstddef>
#include <cstring>

#include "convert/color.h"
#include "convert/rgb32_yuv32.h"

namespace tessiva {
namespace {

using namespace color;

#define TESSIVA_AVX2 __attribute__((target("avx2")))
#define TESSIVA_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

TESSIVA_AVX2_INLINE __m256i Pair(int32_t low, int32_t high) {
    return _mm256_set1_epi32(static_cast<int32_t>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xFFFF)));
}

// Same 16-byte pattern in both lanes.
TESSIVA_AVX2_INLINE __m256i LaneShuffle(char b0, char b1, char b2, char b3, char b4, char b5, char b6, char b7, char b8,
                                        char b9, char b10, char b11, char b12, char b13, char b14, char b15) {
    return _mm256_setr_epi8(b0, b1, b2, b3, b4, b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15, b0, b1, b2, b3, b4,
                            b5, b6, b7, b8, b9, b10, b11, b12, b13, b14, b15);
}

// Bytes x0-3 y0-3 z0-3 w0-3 of a lane to x y z w per pixel.
TESSIVA_AVX2_INLINE __m256i Interleave4(__m256i planes) {
    return _mm256_shuffle_epi8(planes, LaneShuffle(0, 8, 4, 12, 1, 9, 5, 13, 2, 10, 6, 14, 3, 11, 7, 15));
}

constexpr int32_t kOffsetUnit = 1024;
static_assert(kYOffset % kOffsetUnit == 0 && kCOffset % kOffsetUnit == 0, "offsets fold into the G pair");

struct ToYuv {
    TESSIVA_AVX2_INLINE static __m256i Convert(__m256i bgra) {
        // (B, R) and (G, 1024) as 16-bit pairs.
        const __m256i br = _mm256_and_si256(bgra, _mm256_set1_epi32(0x00FF00FF));
        const __m256i g = _mm256_or_si256(_mm256_shuffle_epi8(bgra, LaneShuffle(1, -1, -1, -1, 5, -1, -1, -1, 9, -1, -1, -1, 13, -1, -1, -1)),
                                          _mm256_set1_epi32(kOffsetUnit << 16));
        const __m256i y = _mm256_add_epi32(_mm256_madd_epi16(br, Pair(kYB, kYR)), _mm256_madd_epi16(g, Pair(kYG, kYOffset / kOffsetUnit)));
        const __m256i u = _mm256_add_epi32(_mm256_madd_epi16(br, Pair(kUB, kUR)), _mm256_madd_epi16(g, Pair(kUG, kCOffset / kOffsetUnit)));
        const __m256i v = _mm256_add_epi32(_mm256_madd_epi16(br, Pair(kVB, kVR)), _mm256_madd_epi16(g, Pair(kVG, kCOffset / kOffsetUnit)));
        // Bytes V0-3 Y0-3 U0-3 A0-3 per lane (results lie in 16..240, so the
        // packs never saturate), then V U Y A per pixel.
        return Interleave4(_mm256_packus_epi16(_mm256_packs_epi32(_mm256_srai_epi32(v, 12), _mm256_srai_epi32(y, 12)),
                                               _mm256_packs_epi32(_mm256_srai_epi32(u, 12), _mm256_srli_epi32(bgra, 24))));
    }
};

// YUV32 to RGB32 from the raw bytes (4768 Y + c U + constant, as in the SSE2
// variant). G reuses R's sum: G = (6537 V + 4768 Y) - 1602 U - (3330 + 6537) V.
constexpr int32_t kLumaBase = kRound - kLuma * 16;
constexpr int32_t kROffset = kLumaBase - kRV * 128;
constexpr int32_t kGOffset = kLumaBase - (kGU + kGV) * 128;
constexpr int32_t kBOffset = kLumaBase - kBUWide * 128;

struct ToRgb {
    TESSIVA_AVX2_INLINE static __m256i Convert(__m256i vuya) {
        const __m256i vy = _mm256_and_si256(vuya, _mm256_set1_epi32(0x00FF00FF));
        const __m256i uy = _mm256_shuffle_epi8(vuya, LaneShuffle(1, -1, 2, -1, 5, -1, 6, -1, 9, -1, 10, -1, 13, -1, 14, -1));
        const __m256i uv = _mm256_shuffle_epi8(vuya, LaneShuffle(1, -1, 0, -1, 5, -1, 4, -1, 9, -1, 8, -1, 13, -1, 12, -1));
        const __m256i rSum = _mm256_madd_epi16(vy, Pair(kRV, kLuma));
        const __m256i r = _mm256_add_epi32(rSum, _mm256_set1_epi32(kROffset));
        const __m256i g = _mm256_add_epi32(_mm256_add_epi32(rSum, _mm256_madd_epi16(uv, Pair(kGU, kGV - kRV))),
                                           _mm256_set1_epi32(kGOffset));
        const __m256i b = _mm256_add_epi32(_mm256_madd_epi16(uy, Pair(kBUWide, kLuma)), _mm256_set1_epi32(kBOffset));
        // Clamp by saturating packs, 32 -> 16 signed then 16 -> 8 unsigned.
        return Interleave4(_mm256_packus_epi16(_mm256_packs_epi32(_mm256_srai_epi32(b, 12), _mm256_srai_epi32(r, 12)),
                                               _mm256_packs_epi32(_mm256_srai_epi32(g, 12), _mm256_srli_epi32(vuya, 24))));
    }
};

constexpr uint32_t kBlockPixels = 8;
constexpr uint32_t kBlockBytes = kBlockPixels * 4;
static_assert(kBlockBytes == sizeof(__m256i), "one block is one register");

// Rows walked bottom-up defeat the hardware prefetchers at each row change
// (from main memory it ran 1.3 to 3 times slower than top-down). A source read
// bottom-up gets the same columns kRowsAhead rows further along prefetched
// while a row converts; a destination written bottom-up gets streaming stores,
// which need no read for ownership. Streaming stores bypass the caches, so only
// images of kStreamMinBytes and more use them (top-down they were slower).
constexpr uint32_t kRowsAhead = 2;
constexpr size_t kStreamMinBytes = size_t(4) << 20;

template <bool kStream>
TESSIVA_AVX2_INLINE void Store(uint8_t* d, __m256i v) {
    if (kStream) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(v));
        _mm_stream_si128(reinterpret_cast<__m128i*>(d + 16), _mm256_extracti128_si256(v, 1));
    } else {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), v);
    }
}

// `ahead`: bytes from this source row to the one to prefetch (0 near the end).
// Streaming needs `d` 16-byte aligned.
template <class Kernel, bool kPrefetch, bool kStream>
TESSIVA_AVX2_INLINE void ConvertRow(const uint8_t* s, uint8_t* d, uint32_t width, uint8_t* scratch, std::ptrdiff_t ahead) {
    const uint32_t blocks = width / kBlockPixels;
    for (uint32_t i = 0; i < blocks; ++i, s += kBlockBytes, d += kBlockBytes) {
        if (kPrefetch) _mm_prefetch(reinterpret_cast<const char*>(s + ahead), _MM_HINT_T0);
        Store<kStream>(d, Kernel::Convert(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s))));
    }
    const size_t restBytes = size_t(width % kBlockPixels) * 4;
    if (restBytes) {
        std::memcpy(scratch, s, restBytes);
        __m256i* block = reinterpret_cast<__m256i*>(scratch);
        _mm256_store_si256(block, Kernel::Convert(_mm256_load_si256(block)));
        std::memcpy(d, scratch, restBytes);
    }
}

template <class Kernel, bool kSrcUp, bool kDstUp>
TESSIVA_AVX2 void ConvertRows(const uint8_t* src, uint32_t sp, uint8_t* dst, uint32_t dp, uint32_t width,
                              uint32_t height) {
    // Aligned by hand: the Windows x64 stack only guarantees 16 bytes. Zeroed so
    // that the unused pixels of a partial block are defined.
    uint8_t raw[kBlockBytes * 2] = {};
    uint8_t* scratch = raw + (-reinterpret_cast<uintptr_t>(raw) & (kBlockBytes - 1));
    const bool stream = kDstUp && size_t(width) * 4 * height >= kStreamMinBytes;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* s = src + size_t(kSrcUp ? height - 1 - y : y) * sp;
        uint8_t* d = dst + size_t(kDstUp ? height - 1 - y : y) * dp;
        const std::ptrdiff_t ahead = kSrcUp && y + kRowsAhead < height ? -std::ptrdiff_t(sp) * kRowsAhead : 0;
        if (stream && (reinterpret_cast<uintptr_t>(d) & 15) == 0)
            ConvertRow<Kernel, kSrcUp, true>(s, d, width, scratch, ahead);
        else
            ConvertRow<Kernel, kSrcUp, false>(s, d, width, scratch, ahead);
    }
    // Streaming stores are weakly ordered: make them visible before returning.
    if (stream) _mm_sfence();
}

}  // namespace

TESSIVA_DECLARE_ROUTINE(RGB32toYUV32_AVX2) {
    if (!SameSize(srcWidth, srcHeight, dstWidth, dstHeight)) return;
    ConvertRows<ToYuv, false, false>(src, srcPitch, dst, dstPitch, srcWidth, srcHeight);
}

TESSIVA_DECLARE_ROUTINE(InvertRGB32toYUV32_AVX2) {
    if (!SameSize(srcWidth, srcHeight, dstWidth, dstHeight)) return;
    ConvertRows<ToYuv, true, false>(src, srcPitch, dst, dstPitch, srcWidth, srcHeight);
}

TESSIVA_DECLARE_ROUTINE(YUV32toRGB32_AVX2) {
    if (!SameSize(srcWidth, srcHeight, dstWidth, dstHeight)) return;
    ConvertRows<ToRgb, false, false>(src, srcPitch, dst, dstPitch, srcWidth, srcHeight);
}

TESSIVA_DECLARE_ROUTINE(InvertYUV32toRGB32_AVX2) {
    if (!SameSize(srcWidth, srcHeight, dstWidth, dstHeight)) return;
    ConvertRows<ToRgb, false, true>(src, srcPitch, dst, dstPitch, srcWidth, srcHeight);
}

}  // namespace tessiva
