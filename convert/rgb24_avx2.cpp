// 256-bit internal of the SSE2 RGB32toRGB24 routines (see wide_internals.h):
// 32 pixels per step, 128 bytes in and 96 bytes out, the same bytes as the
// SSE2 kernel; the SSE2 row loop finishes the row.
#include <immintrin.h>

#include "convert/wide_internals.h"

#define TESSIVA_AVX2 __attribute__((target("avx2")))

namespace tessiva::wide {

TESSIVA_AVX2 uint32_t RGB32RowToRGB24_AVX2(const uint8_t* s, uint8_t* d, uint32_t width) {
    // Per 128-bit lane: the low three bytes of its four pixels to bytes 0-11;
    // then the two lanes' 12 bytes joined into bytes 0-23 (24-31 zero).
    const __m256i drop = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                          0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    const uint32_t steps = width / kRgb24Step;
    for (uint32_t k = 0; k < steps; ++k) {
        const uint8_t* sp = s + size_t(k) * kRgb24Step * 4;
        uint8_t* dp = d + size_t(k) * kRgb24Step * 3;
        __m256i q[4];
        for (int i = 0; i < 4; ++i) {
            const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sp + 32 * i));
            q[i] = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(p, drop), join);
        }
        // Each 32-byte store carries 24 bytes and 8 that the next store
        // overwrites; the step's last 24 bytes are stored exactly.
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dp), q[0]);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dp + 24), q[1]);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dp + 48), q[2]);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(dp + 72), _mm256_castsi256_si128(q[3]));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dp + 88), _mm256_extracti128_si256(q[3], 1));
    }
    return steps * kRgb24Step;
}

}  // namespace tessiva::wide
