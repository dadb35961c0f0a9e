// Baseline conversions into RGB24 (levels 0-2).
//
// RGB32toRGB24 writes every pixel of every row, 3 bytes each, and moves to the
// exact start of the next row. YUV32toRGB24 works in pixel pairs like the
// other baseline YUV32 routines: floor(W / 2) pairs per row, then each pointer
// steps by its pitch minus the row's nominal byte count (W x 4, W x 3) from
// where the pair loop stopped. With an odd W the last pixel is not written and
// every following row starts one pixel further left (cumulative; bottom-up
// this can reach before the destination's first row).
//
// Each row's writes stay within the W x 3 bytes from where that row starts. A
// width of 0 writes nothing.
#include <cstddef>

#include "convert/color.h"
#include "convert/rgb24.h"

namespace tessiva {
namespace {

using namespace color;

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0 && sw != 0;
}

// Destination row r of a conversion is at first + r x step.
void Rgb32ToRgb24(const uint8_t* src, uint32_t width, uint32_t height, uint32_t pitch, uint8_t* first,
                  intptr_t step) {
    for (uint32_t r = 0; r < height; ++r) {
        const uint8_t* s = src + size_t(r) * pitch;
        uint8_t* d = first + intptr_t(r) * step;
        for (uint32_t x = 0; x < width; ++x) {
            d[3 * x] = s[4 * x];
            d[3 * x + 1] = s[4 * x + 1];
            d[3 * x + 2] = s[4 * x + 2];
        }
    }
}

// floor(W / 2) pairs per row; srcStep / dstStep are added to the pointers where
// the pair loop stopped. Addresses go through uintptr_t because the odd-width
// shift may leave the buffers.
void Yuv32ToRgb24Pairs(const uint8_t* src, intptr_t srcStep, uint8_t* dst, intptr_t dstStep, uint32_t width,
                       uint32_t height) {
    uintptr_t sp = reinterpret_cast<uintptr_t>(src), dp = reinterpret_cast<uintptr_t>(dst);
    for (uint32_t r = 0; r < height; ++r) {
        for (uint32_t i = 0; i < width / 2; ++i) {
            for (int k = 0; k < 2; ++k) {
                const uint8_t* s = reinterpret_cast<const uint8_t*>(sp + 4 * k);
                YuvToBgr(s[2], s[1], s[0], kBU, reinterpret_cast<uint8_t*>(dp + 3 * k));
            }
            sp += 8;
            dp += 6;
        }
        sp += uintptr_t(srcStep);
        dp += uintptr_t(dstStep);
    }
}

}  // namespace

void RGB32toRGB24_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                        uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rgb32ToRgb24(src, sw, sh, sp, dst, intptr_t(dp));
}

void InvertRGB32toRGB24_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                              uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rgb32ToRgb24(src, sw, sh, sp, dst + size_t(dp) * (sh - 1), -intptr_t(dp));
}

void YUV32toRGB24_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                        uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yuv32ToRgb24Pairs(src, intptr_t(sp) - intptr_t(sw) * 4, dst, intptr_t(dp) - intptr_t(sw) * 3, sw, sh);
}

void InvertYUV32toRGB24_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                              uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yuv32ToRgb24Pairs(src, intptr_t(sp) - intptr_t(sw) * 4, dst + size_t(dp) * (sh - 1),
                      -intptr_t(dp) - intptr_t(sw) * 3, sw, sh);
}

}  // namespace tessiva
