// Baseline YUY2 routines (levels 0-2): one pixel pair per step, as the 64-bit MMX
// routines did. Two counting rules, both kept as they stand:
//  - writers into YUY2 (from RGB32, YUV32) convert (W + 1) / 2 pairs, so an odd W
//    reads one source pixel beyond the row and writes the last YUY2 word in full;
//  - readers of YUY2 convert floor(W / 2) pairs, so an odd last pixel is left as it was.
// After each row every pointer steps by its pitch minus the row's nominal byte count
// from where the pair loop stopped: with an odd W each following row starts one
// pixel later (writers) or earlier (readers) than its true start, cumulatively.
#include "convert/color.h"
#include "convert/yuy2.h"

namespace tessiva {
namespace {

using namespace color;

// RGB32 pair (8 bytes) to one YUY2 word: own luma, pair chroma rounded once.
void Rgb32PairToYuy2(const uint8_t* s, uint8_t* d) {
    const int b0 = s[0], g0 = s[1], r0 = s[2], b1 = s[4], g1 = s[5], r1 = s[6];
    d[0] = LumaOf(r0, g0, b0);
    d[1] = PairUOf(r0 + r1, g0 + g1, b0 + b1);
    d[2] = LumaOf(r1, g1, b1);
    d[3] = PairVOf(r0 + r1, g0 + g1, b0 + b1);
}

// YUV32 pair (V, U, Y, A each) to one YUY2 word: luma copied, chroma averaged truncating.
void Yuv32PairToYuy2(const uint8_t* s, uint8_t* d) {
    d[0] = s[2];
    d[1] = static_cast<uint8_t>((s[1] + s[5]) >> 1);
    d[2] = s[6];
    d[3] = static_cast<uint8_t>((s[0] + s[4]) >> 1);
}

// YUY2 word (Y0, U, Y1, V) to two RGB32 pixels with alpha 255.
void Yuy2PairToRgb32(const uint8_t* s, uint8_t* d) {
    YuvToBgr(s[0], s[1], s[3], kBU, d);
    d[3] = 255;
    YuvToBgr(s[2], s[1], s[3], kBU, d + 4);
    d[7] = 255;
}

// YUY2 word to two RGB24 pixels: exactly 6 bytes.
void Yuy2PairToRgb24(const uint8_t* s, uint8_t* d) {
    YuvToBgr(s[0], s[1], s[3], kBU, d);
    YuvToBgr(s[2], s[1], s[3], kBU, d + 3);
}

// YUY2 word to two YUV32 pixels (V, U, Y, 255): chroma duplicated.
void Yuy2PairToYuv32(const uint8_t* s, uint8_t* d) {
    d[0] = d[4] = s[3];
    d[1] = d[5] = s[1];
    d[2] = s[0];
    d[6] = s[2];
    d[3] = d[7] = 255;
}

// Converts `pairs` pairs per row, then moves each pointer by srcNext / dstNext
// from where the row started. Pointers move through uintptr_t because the
// odd-width shift may carry a row start outside the buffer.
template <void (*pair)(const uint8_t*, uint8_t*), uintptr_t kSrcPair, uintptr_t kDstPair>
void PairRows(uintptr_t s, intptr_t srcNext, uintptr_t d, intptr_t dstNext, uint32_t pairs, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t i = 0; i < pairs; ++i)
            pair(reinterpret_cast<const uint8_t*>(s + i * kSrcPair), reinterpret_cast<uint8_t*>(d + i * kDstPair));
        s += static_cast<uintptr_t>(srcNext);
        d += static_cast<uintptr_t>(dstNext);
    }
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

// Row step of one side: +pitch top-down, -pitch bottom-up, plus what the pair loop
// consumed beyond the row's nominal bytes (negative when it stopped short).
intptr_t Step(uint32_t pitch, bool down, uint64_t consumed, uint64_t nominal) {
    const intptr_t p = static_cast<intptr_t>(pitch);
    return (down ? p : -p) + static_cast<intptr_t>(consumed) - static_cast<intptr_t>(nominal);
}

uintptr_t Row0(const uint8_t* p, uint32_t pitch, uint32_t height, bool down) {
    return reinterpret_cast<uintptr_t>(p) + (down ? 0 : uintptr_t(pitch) * (height - 1));
}

// Writers into YUY2 (source 4 bytes per pixel): (W + 1) / 2 pairs.
template <void (*pair)(const uint8_t*, uint8_t*)>
void ToYuy2(const uint8_t* src, uint32_t sp, bool srcDown, uint8_t* dst, uint32_t dp, uint32_t w, uint32_t h) {
    const uint32_t pairs = w / 2 + (w & 1);
    PairRows<pair, 8, 4>(Row0(src, sp, h, srcDown), Step(sp, srcDown, uint64_t(pairs) * 8, uint64_t(w) * 4),
                         Row0(dst, dp, h, true), Step(dp, true, uint64_t(pairs) * 4, uint64_t(w) * 2), pairs, h);
}

// Readers of YUY2 (destination kDst bytes per pixel): floor(W / 2) pairs.
template <void (*pair)(const uint8_t*, uint8_t*), uint32_t kDst>
void FromYuy2(const uint8_t* src, uint32_t sp, uint8_t* dst, uint32_t dp, bool dstDown, uint32_t w, uint32_t h) {
    const uint32_t pairs = w / 2;
    PairRows<pair, 4, 2 * kDst>(Row0(src, sp, h, true), Step(sp, true, uint64_t(pairs) * 4, uint64_t(w) * 2),
                                Row0(dst, dp, h, dstDown),
                                Step(dp, dstDown, uint64_t(pairs) * 2 * kDst, uint64_t(w) * kDst), pairs, h);
}

}  // namespace

void RGB32toYUY2_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToYuy2<Rgb32PairToYuy2>(src, sp, true, dst, dp, sw, sh);
}

void InvertRGB32toYUY2_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToYuy2<Rgb32PairToYuy2>(src, sp, false, dst, dp, sw, sh);
}

void YUV32toYUY2_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    ToYuy2<Yuv32PairToYuy2>(src, sp, true, dst, dp, sw, sh);
}

void YUY2toRGB32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    FromYuy2<Yuy2PairToRgb32, 4>(src, sp, dst, dp, true, sw, sh);
}

void InvertYUY2toRGB32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    FromYuy2<Yuy2PairToRgb32, 4>(src, sp, dst, dp, false, sw, sh);
}

void YUY2toRGB24_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    FromYuy2<Yuy2PairToRgb24, 3>(src, sp, dst, dp, true, sw, sh);
}

void InvertYUY2toRGB24_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    FromYuy2<Yuy2PairToRgb24, 3>(src, sp, dst, dp, false, sw, sh);
}

void YUY2toYUV32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    FromYuy2<Yuy2PairToYuv32, 4>(src, sp, dst, dp, true, sw, sh);
}

}  // namespace tessiva
