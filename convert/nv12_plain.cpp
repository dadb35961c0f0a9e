// Baseline NV12 writers (levels 0-2): Y plane of pitch P, then at offset P x H
// the U,V pairs of the 2 x 2 blocks with row pitch P.
//
// RGB32toNV12 and YUV32toNV12 share the baseline 4:2:0 writer with their YV12
// twins, odd-size behaviour included (one column or row read past the picture,
// one luma byte written past each row). YUY2toNV12 takes whole pairs of rows
// and of pixels: fewer than two rows write nothing, and an odd last row or
// column is left as it was. Its row average truncates at level 0 and rounds up
// at levels 1-2, the one table entry whose two baseline variants differ.
#include "convert/nv12.h"
#include "convert/planar420.h"

namespace tessiva {
namespace {

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

planar::Target420 Nv12Target(uint8_t* dst, uint32_t height, uint32_t pitch) {
    uint8_t* uv = dst + size_t(pitch) * height;
    return {dst, intptr_t(pitch), uv, uv + 1, intptr_t(pitch), 2};
}

template <int kRound>
void Yuy2ToNv12(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcPitch, uint8_t* dst,
                uint32_t pitch) {
    if (height < 2) return;
    uint8_t* const uvPlane = dst + size_t(pitch) * height;
    for (uint32_t j = 0; j < height / 2; ++j) {
        const uint8_t* s0 = src + size_t(2 * j) * srcPitch;
        const uint8_t* s1 = s0 + srcPitch;
        uint8_t* y0 = dst + size_t(2 * j) * pitch;
        uint8_t* y1 = y0 + pitch;
        uint8_t* uv = uvPlane + size_t(j) * pitch;
        for (uint32_t i = 0; i < width / 2; ++i) {
            const uint8_t* a = s0 + 4 * i;
            const uint8_t* b = s1 + 4 * i;
            y0[2 * i] = a[0];
            y0[2 * i + 1] = a[2];
            y1[2 * i] = b[0];
            y1[2 * i + 1] = b[2];
            uv[2 * i] = uint8_t((a[1] + b[1] + kRound) >> 1);
            uv[2 * i + 1] = uint8_t((a[3] + b[3] + kRound) >> 1);
        }
    }
}

}  // namespace

void YUY2toNV12_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yuy2ToNv12<0>(src, sw, sh, sp, dst, dp);
}

void YUY2toNV12_MMX(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                    uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yuy2ToNv12<1>(src, sw, sh, sp, dst, dp);
}

void RGB32toNV12_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::RGB32To420_Plain({src, intptr_t(sp)}, sw, sh, Nv12Target(dst, sh, dp));
}

void YUV32toNV12_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::YUV32To420_Plain({src, intptr_t(sp)}, sw, sh, Nv12Target(dst, sh, dp));
}

}  // namespace tessiva
