// SSE2 YUY2 routines (levels 3-5, and at level 6 where no AVX2 variant exists).
// Row counting, kept as it stands:
//  - RGB32 to YUY2 (and its Invert twin) converts floor(W / 2) pairs;
//  - the YUY2 readers and YUV32 to YUY2 convert whole groups of 4 pixels, then one
//    more pair when W mod 4 is not zero: W mod 4 = 1 converts one pixel beyond the
//    row, W mod 4 = 3 leaves the last pixel as it was.
// After each row every pointer steps by its pitch minus the row's nominal byte count
// from where the row stopped, so with those widths each following row starts one
// pixel later (mod 4 = 1) or earlier (odd W otherwise), cumulatively.
// The kernels themselves work on 8 pixels; a row's last partial block goes through
// a stack scratch area holding exactly the pixels the row rule converts.
// Pure SSE2 (no byte shuffles): level 3 does not promise SSSE3.
#include <emmintrin.h>

#include <cstring>

#include "convert/color.h"
#include "convert/yuy2.h"

namespace tessiva {
namespace {

using namespace color;

// Pixels per kernel call: 16 YUY2 bytes, 32 RGB32 / YUV32 bytes.
constexpr uint32_t kBlock = 8;
// Pixels per step of this level's row rule for the readers and YUV32 to YUY2.
constexpr uint32_t kGroup = 4;

// Pixels converted per row by the group rule: whole groups, then one more pair.
uint32_t GroupRowPixels(uint32_t w) { return w / kGroup * kGroup + (w % kGroup ? 2 : 0); }

// A 32-bit lane holding the 16-bit pair (lo, hi), replicated: a pmaddwd operand.
inline __m128i Pair16(int32_t lo, int32_t hi) {
    return _mm_set1_epi32(static_cast<int32_t>((uint32_t(uint16_t(lo))) | (uint32_t(uint16_t(hi)) << 16)));
}
// Even lanes (a0, a1), odd lanes (b0, b1).
inline __m128i Pair16Alt(int32_t a0, int32_t a1, int32_t b0, int32_t b1) {
    const int32_t a = static_cast<int32_t>(uint32_t(uint16_t(a0)) | (uint32_t(uint16_t(a1)) << 16));
    const int32_t b = static_cast<int32_t>(uint32_t(uint16_t(b0)) | (uint32_t(uint16_t(b1)) << 16));
    return _mm_set_epi32(b, a, b, a);
}

// ---------------------------------------------------------------------------
// RGB32 to YUY2, 4 pixels (16 bytes) to two YUY2 words in the low 8 bytes.
// As 16-bit lanes a pixel is (B, R) after masking the low bytes and (G, A) after
// shifting each word right by 8, so no byte shuffle is needed.
inline __m128i Rgb32ToYuy2x4(__m128i x) {
    const __m128i br = _mm_and_si128(x, _mm_set1_epi16(0x00FF));
    const __m128i ga = _mm_srli_epi16(x, 8);
    __m128i y = _mm_add_epi32(_mm_madd_epi16(br, Pair16(kYB, kYR)), _mm_madd_epi16(ga, Pair16(kYG, 0)));
    y = _mm_srli_epi32(_mm_add_epi32(y, _mm_set1_epi32(kYOffset)), 12);
    // Pair sums, present in both pixels' lanes; even lanes then compute U, odd lanes V.
    const __m128i br2 = _mm_add_epi16(br, _mm_shuffle_epi32(br, _MM_SHUFFLE(2, 3, 0, 1)));
    const __m128i ga2 = _mm_add_epi16(ga, _mm_shuffle_epi32(ga, _MM_SHUFFLE(2, 3, 0, 1)));
    __m128i c = _mm_add_epi32(_mm_madd_epi16(br2, Pair16Alt(kUB, kUR, kVB, kVR)),
                              _mm_madd_epi16(ga2, Pair16Alt(kUG, 0, kVG, 0)));
    c = _mm_srli_epi32(_mm_add_epi32(c, _mm_set1_epi32(kPairCOffset)), 13);
    // Words Y0 Y1 Y2 Y3 U01 V01 U23 V23 -> bytes Y0 U01 Y1 V01 Y2 U23 Y3 V23.
    const __m128i p = _mm_packs_epi32(y, c);
    const __m128i w = _mm_unpacklo_epi16(p, _mm_unpackhi_epi64(p, p));
    return _mm_packus_epi16(w, w);
}

// 8 RGB32 pixels to 16 YUY2 bytes.
struct Rgb32ToYuy2Kernel {
    static constexpr uint32_t kSrc = 4, kDst = 2;
    static void Block(const uint8_t* s, uint8_t* d) {
        const __m128i a = Rgb32ToYuy2x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
        const __m128i b = Rgb32ToYuy2x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_unpacklo_epi64(a, b));
    }
};

// ---------------------------------------------------------------------------
// YUY2 to RGB: 8 pixels (16 bytes) to 8 BGRA pixels, blue factor kBU.
// In 32-bit lanes, pair k holds (Y0, Y1) after masking and (U, V) after shifting,
// so every product is one pmaddwd. Offsets 16 and 128 and the rounding half are
// folded into one constant per channel.
constexpr int32_t kLumaBase = kRound - 16 * kLuma;
constexpr int32_t kBOffset = kLumaBase - 128 * kBU;
constexpr int32_t kGOffset = kLumaBase - 128 * (kGU + kGV);
constexpr int32_t kROffset = kLumaBase - 128 * kRV;

inline void Yuy2ToBgrax8(__m128i x, __m128i& px03, __m128i& px47) {
    const __m128i yy = _mm_and_si128(x, _mm_set1_epi16(0x00FF));
    const __m128i uv = _mm_srli_epi16(x, 8);
    const __m128i le = _mm_madd_epi16(yy, Pair16(kLuma, 0));
    const __m128i lo = _mm_madd_epi16(yy, Pair16(0, kLuma));
    const __m128i cb = _mm_add_epi32(_mm_madd_epi16(uv, Pair16(kBU, 0)), _mm_set1_epi32(kBOffset));
    const __m128i cg = _mm_add_epi32(_mm_madd_epi16(uv, Pair16(kGU, kGV)), _mm_set1_epi32(kGOffset));
    const __m128i cr = _mm_add_epi32(_mm_madd_epi16(uv, Pair16(0, kRV)), _mm_set1_epi32(kROffset));
    // Saturating packs clamp to 0..255: words (even pixels, odd pixels) per channel.
    const __m128i b = _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(le, cb), 12), _mm_srai_epi32(_mm_add_epi32(lo, cb), 12));
    const __m128i g = _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(le, cg), 12), _mm_srai_epi32(_mm_add_epi32(lo, cg), 12));
    const __m128i r = _mm_packs_epi32(_mm_srai_epi32(_mm_add_epi32(le, cr), 12), _mm_srai_epi32(_mm_add_epi32(lo, cr), 12));
    const __m128i br = _mm_packus_epi16(b, r);                         // Be Bo Re Ro
    const __m128i ga = _mm_packus_epi16(g, _mm_set1_epi16(255));       // Ge Go FF FF
    const __m128i bg = _mm_unpacklo_epi8(br, ga);                      // (B G) even, then odd
    const __m128i ra = _mm_unpackhi_epi8(br, ga);                      // (R FF) even, then odd
    const __m128i even = _mm_unpacklo_epi16(bg, ra);                   // pixels 0 2 4 6
    const __m128i odd = _mm_unpackhi_epi16(bg, ra);                    // pixels 1 3 5 7
    px03 = _mm_unpacklo_epi32(even, odd);
    px47 = _mm_unpackhi_epi32(even, odd);
}

// 4 BGRA pixels to 12 BGR bytes at the bottom of the register.
inline __m128i BgraToBgr(__m128i x) {
    const __m128i first = _mm_and_si128(x, _mm_set_epi32(0, 0x00FFFFFF, 0, 0x00FFFFFF));
    const __m128i second =
        _mm_and_si128(_mm_srli_epi64(x, 8), _mm_set_epi32(0x0000FFFF, int32_t(0xFF000000u), 0x0000FFFF, int32_t(0xFF000000u)));
    const __m128i six = _mm_or_si128(first, second);  // 6 bytes at the bottom of each half
    return _mm_or_si128(_mm_move_epi64(six), _mm_srli_si128(_mm_unpackhi_epi64(_mm_setzero_si128(), six), 2));
}

struct Yuy2ToRgb32Kernel {
    static constexpr uint32_t kSrc = 2, kDst = 4;
    static void Block(const uint8_t* s, uint8_t* d) {
        __m128i a, b;
        Yuy2ToBgrax8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)), a, b);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), a);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), b);
    }
};

struct Yuy2ToRgb24Kernel {
    static constexpr uint32_t kSrc = 2, kDst = 3;
    static void Block(const uint8_t* s, uint8_t* d) {
        __m128i a, b;
        Yuy2ToBgrax8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)), a, b);
        a = BgraToBgr(a);
        b = BgraToBgr(b);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_or_si128(a, _mm_slli_si128(b, 12)));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(d + 16), _mm_srli_si128(b, 4));
    }
};

// ---------------------------------------------------------------------------
// YUY2 to YUV32: pair (Y0 U Y1 V) to (V U Y0 FF), (V U Y1 FF).
struct Yuy2ToYuv32Kernel {
    static constexpr uint32_t kSrc = 2, kDst = 4;
    static void Block(const uint8_t* s, uint8_t* d) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
        const __m128i vu = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(x, 24), _mm_and_si128(x, _mm_set1_epi32(0xFF00))),
                                        _mm_set1_epi32(int32_t(0xFF000000u)));
        const __m128i even = _mm_or_si128(vu, _mm_slli_epi32(_mm_and_si128(x, _mm_set1_epi32(0xFF)), 16));
        const __m128i odd = _mm_or_si128(vu, _mm_and_si128(x, _mm_set1_epi32(0x00FF0000)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_unpacklo_epi32(even, odd));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), _mm_unpackhi_epi32(even, odd));
    }
};

// YUV32 to YUY2, 4 pixels to two YUY2 words in the low 8 bytes: luma copied,
// chroma (a + b) >> 1 truncating, as (a & b) + ((a ^ b) >> 1) per byte.
inline __m128i Yuv32ToYuy2x4(__m128i x) {
    const __m128i s = _mm_srli_epi64(x, 32);  // each pair's second pixel under its first
    const __m128i avg = _mm_add_epi8(_mm_and_si128(x, s),
                                     _mm_and_si128(_mm_srli_epi16(_mm_xor_si128(x, s), 1), _mm_set1_epi8(0x7F)));
    const __m128i y0 = _mm_and_si128(_mm_srli_epi32(x, 16), _mm_set1_epi32(0xFF));
    const __m128i u = _mm_and_si128(avg, _mm_set1_epi32(0xFF00));
    const __m128i y1 = _mm_and_si128(s, _mm_set1_epi32(0x00FF0000));
    const __m128i v = _mm_slli_epi32(avg, 24);
    const __m128i w = _mm_or_si128(_mm_or_si128(y0, u), _mm_or_si128(y1, v));  // lanes 0 and 2
    return _mm_shuffle_epi32(w, _MM_SHUFFLE(3, 1, 2, 0));
}

struct Yuv32ToYuy2Kernel {
    static constexpr uint32_t kSrc = 4, kDst = 2;
    static void Block(const uint8_t* s, uint8_t* d) {
        const __m128i a = Yuv32ToYuy2x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
        const __m128i b = Yuv32ToYuy2x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_unpacklo_epi64(a, b));
    }
};

// ---------------------------------------------------------------------------
// Row loop: `pixels` per row (even), whole kernel blocks in place, the rest
// through scratch so that exactly pixels x bytes-per-pixel are read and written.
template <typename K>
void ConvertRow(const uint8_t* s, uint8_t* d, uint32_t pixels) {
    const uint32_t blocks = pixels / kBlock, rest = pixels % kBlock;
    for (uint32_t i = 0; i < blocks; ++i) K::Block(s + size_t(i) * kBlock * K::kSrc, d + size_t(i) * kBlock * K::kDst);
    if (rest) {
        alignas(16) uint8_t in[kBlock * K::kSrc] = {};
        alignas(16) uint8_t out[kBlock * K::kDst];
        std::memcpy(in, s + size_t(blocks) * kBlock * K::kSrc, rest * K::kSrc);
        K::Block(in, out);
        std::memcpy(d + size_t(blocks) * kBlock * K::kDst, out, rest * K::kDst);
    }
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

// Converts `pixels` per row for `height` rows. Each side starts at row 0 (top-down)
// or at its last row (bottom-up) and its next row starts pitch away plus the
// difference between the pixels converted and the width. Row starts move through
// uintptr_t because that shift may carry them outside the buffer.
template <typename K>
void Rows(const uint8_t* src, uint32_t sp, bool srcDown, uint8_t* dst, uint32_t dp, bool dstDown, uint32_t width,
          uint32_t height, uint32_t pixels) {
    const intptr_t shift = intptr_t(pixels) - intptr_t(width);
    uintptr_t s = reinterpret_cast<uintptr_t>(src) + (srcDown ? 0 : uintptr_t(sp) * (height - 1));
    uintptr_t d = reinterpret_cast<uintptr_t>(dst) + (dstDown ? 0 : uintptr_t(dp) * (height - 1));
    const intptr_t sNext = (srcDown ? intptr_t(sp) : -intptr_t(sp)) + shift * intptr_t(K::kSrc);
    const intptr_t dNext = (dstDown ? intptr_t(dp) : -intptr_t(dp)) + shift * intptr_t(K::kDst);
    for (uint32_t y = 0; y < height; ++y) {
        ConvertRow<K>(reinterpret_cast<const uint8_t*>(s), reinterpret_cast<uint8_t*>(d), pixels);
        s += uintptr_t(sNext);
        d += uintptr_t(dNext);
    }
}

}  // namespace

void RGB32toYUY2_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Rgb32ToYuy2Kernel>(src, sp, true, dst, dp, true, sw, sh, sw / 2 * 2);
}

void InvertRGB32toYUY2_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                            uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Rgb32ToYuy2Kernel>(src, sp, false, dst, dp, true, sw, sh, sw / 2 * 2);
}

void YUY2toRGB32_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Yuy2ToRgb32Kernel>(src, sp, true, dst, dp, true, sw, sh, GroupRowPixels(sw));
}

void InvertYUY2toRGB32_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                            uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Yuy2ToRgb32Kernel>(src, sp, true, dst, dp, false, sw, sh, GroupRowPixels(sw));
}

// Each converted pixel writes exactly its 3 bytes and nothing more: W mod 4 = 1
// writes the 3 bytes of the pixel beyond the row that the group rule converts,
// never a fourth byte after it.
void YUY2toRGB24_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Yuy2ToRgb24Kernel>(src, sp, true, dst, dp, true, sw, sh, GroupRowPixels(sw));
}

void InvertYUY2toRGB24_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                            uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Yuy2ToRgb24Kernel>(src, sp, true, dst, dp, false, sw, sh, GroupRowPixels(sw));
}

void YUV32toYUY2_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Yuv32ToYuy2Kernel>(src, sp, true, dst, dp, true, sw, sh, GroupRowPixels(sw));
}

void YUY2toYUV32_SSE2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                      uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Rows<Yuy2ToYuv32Kernel>(src, sp, true, dst, dp, true, sw, sh, GroupRowPixels(sw));
}

}  // namespace tessiva
