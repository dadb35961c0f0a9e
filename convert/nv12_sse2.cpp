// SSE2 NV12 writers (levels 3 and up): Y plane of pitch P, then at offset P x H
// the U,V pairs of the 2 x 2 blocks with row pitch P.
//
// RGB32toNV12 and YUV32toNV12 share the SSE2 4:2:0 writer with their YV12
// twins (an odd last column or row gets luma only). YUY2toNV12 converts 16
// pixels of two rows per step, then the remaining whole pixel pairs one by
// one, averaging the rows' chroma rounding up; fewer than two rows write
// nothing, and an odd last row or column is left as it was.
#include <emmintrin.h>

#include "convert/nv12.h"
#include "convert/planar420.h"

namespace tessiva {
namespace {

// Pixels per SIMD step on each row of a pair: 32 YUY2 bytes.
constexpr uint32_t kStep = 16;

__m128i Load16(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void Store16(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

planar::Target420 Nv12Target(uint8_t* dst, uint32_t height, uint32_t pitch) {
    uint8_t* uv = dst + size_t(pitch) * height;
    return {dst, intptr_t(pitch), uv, uv + 1, intptr_t(pitch), 2};
}

// 16 YUY2 pixels (two vectors): Y bytes, and the U,V bytes as 16-bit lanes.
__m128i Lumas(__m128i a, __m128i b) {
    const __m128i mask = _mm_set1_epi16(0x00FF);
    return _mm_packus_epi16(_mm_and_si128(a, mask), _mm_and_si128(b, mask));
}
__m128i Chromas(__m128i a, __m128i b) { return _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8)); }

void Yuy2ToNv12(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcPitch, uint8_t* dst,
                uint32_t pitch) {
    if (height < 2) return;
    uint8_t* const uvPlane = dst + size_t(pitch) * height;
    const uint32_t steps = width / kStep;
    for (uint32_t j = 0; j < height / 2; ++j) {
        const uint8_t* s0 = src + size_t(2 * j) * srcPitch;
        const uint8_t* s1 = s0 + srcPitch;
        uint8_t* y0 = dst + size_t(2 * j) * pitch;
        uint8_t* y1 = y0 + pitch;
        uint8_t* uv = uvPlane + size_t(j) * pitch;
        uint32_t x = 0;
        for (uint32_t k = 0; k < steps; ++k, x += kStep) {
            const __m128i a0 = Load16(s0 + 2 * x), b0 = Load16(s0 + 2 * x + 16);
            const __m128i a1 = Load16(s1 + 2 * x), b1 = Load16(s1 + 2 * x + 16);
            Store16(y0 + x, Lumas(a0, b0));
            Store16(y1 + x, Lumas(a1, b1));
            Store16(uv + x, _mm_avg_epu8(Chromas(a0, b0), Chromas(a1, b1)));
        }
        for (; x + 1 < width; x += 2) {
            const uint8_t* a = s0 + 2 * x;
            const uint8_t* b = s1 + 2 * x;
            y0[x] = a[0];
            y0[x + 1] = a[2];
            y1[x] = b[0];
            y1[x + 1] = b[2];
            uv[x] = uint8_t((a[1] + b[1] + 1) >> 1);
            uv[x + 1] = uint8_t((a[3] + b[3] + 1) >> 1);
        }
    }
}

}  // namespace

void YUY2toNV12_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                     uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yuy2ToNv12(src, sw, sh, sp, dst, dp);
}

void RGB32toNV12_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::RGB32To420_SSE2({src, intptr_t(sp)}, sw, sh, Nv12Target(dst, sh, dp));
}

void YUV32toNV12_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::YUV32To420_SSE2({src, intptr_t(sp)}, sw, sh, Nv12Target(dst, sh, dp));
}

}  // namespace tessiva
