// Baseline RGB32 <-> YUV32 (levels 0-2): two pixels per step, as the 64-bit MMX
// routines did. Rows convert floor(W / 2) pairs, then every pointer steps by its
// pitch minus W x 4 from where the pair loop stopped: with an odd W the last pixel
// is skipped and each following row starts one pixel further left (cumulative).
#include <cstring>

#include "convert/color.h"
#include "convert/rgb32_yuv32.h"

namespace tessiva {
namespace {

using namespace color;

void PixelToYuv(const uint8_t* s, uint8_t* d) {
    const int b = s[0], g = s[1], r = s[2];
    d[0] = VOf(r, g, b);
    d[1] = UOf(r, g, b);
    d[2] = LumaOf(r, g, b);
    d[3] = s[3];
}

void PixelToRgb(const uint8_t* s, uint8_t* d) {
    YuvToBgr(s[2], s[1], s[0], kBU, d);
    d[3] = s[3];
}

// Runs `pixel` over floor(W / 2) pairs per row. srcStep / dstStep are added after
// each row to the pointer where the pair loop stopped: pitch - W x 4 for a side
// read top-down, -(pitch + W x 4) for a side walked bottom-up. Pointer arithmetic
// goes through uintptr_t because the odd-width shift may leave the buffer.
template <void (*pixel)(const uint8_t*, uint8_t*)>
void PairRows(const uint8_t* s, intptr_t srcStep, uint8_t* d, intptr_t dstStep, uint32_t width, uint32_t height) {
    const uint32_t pairs = width / 2;
    uintptr_t sp = reinterpret_cast<uintptr_t>(s), dp = reinterpret_cast<uintptr_t>(d);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t i = 0; i < pairs; ++i) {
            pixel(reinterpret_cast<const uint8_t*>(sp), reinterpret_cast<uint8_t*>(dp));
            pixel(reinterpret_cast<const uint8_t*>(sp + 4), reinterpret_cast<uint8_t*>(dp + 4));
            sp += 8;
            dp += 8;
        }
        sp += srcStep;
        dp += dstStep;
    }
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

intptr_t Down(uint32_t pitch, uint32_t width) { return static_cast<intptr_t>(pitch) - intptr_t(width) * 4; }
intptr_t Up(uint32_t pitch, uint32_t width) { return -static_cast<intptr_t>(pitch) - intptr_t(width) * 4; }
const uint8_t* LastRow(const uint8_t* p, uint32_t pitch, uint32_t h) { return p + size_t(pitch) * (h - 1); }
uint8_t* LastRow(uint8_t* p, uint32_t pitch, uint32_t h) { return p + size_t(pitch) * (h - 1); }

}  // namespace

void RGB32toYUV32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                        uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    PairRows<PixelToYuv>(src, Down(sp, sw), dst, Down(dp, sw), sw, sh);
}

void InvertRGB32toYUV32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                              uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    PairRows<PixelToYuv>(LastRow(src, sp, sh), Up(sp, sw), dst, Down(dp, sw), sw, sh);
}

void YUV32toRGB32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                        uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    PairRows<PixelToRgb>(src, Down(sp, sw), dst, Down(dp, sw), sw, sh);
}

void InvertYUV32toRGB32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                              uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    PairRows<PixelToRgb>(src, Down(sp, sw), LastRow(dst, dp, dh), Up(dp, sw), sw, sh);
}

}  // namespace tessiva
