// AVX2 YUY2 routines (level 6).
//
// YUY2toRGB32, YUY2toRGB24, YUY2toYUV32 and YUV32toYUY2 convert 16 pixels per step
// with 256-bit registers. A row's last W mod 16 pixels are copied into an aligned
// scratch block, converted there and copied back, so no byte outside the row's W
// pixels is read or written and every row starts exactly one pitch after the last.
// An unpaired last pixel (odd W) in that tail is treated so that nothing outside
// the row is touched:
//  - the YUY2 readers leave it as it was (its V byte lies beyond the row);
//  - YUV32 to YUY2 pairs it with itself, writing its own Y and its own U into the
//    row's last two bytes (the V of that word would lie beyond the row).
//
// RGB32toYUY2 is the level's 128-bit routine: 4 pixels per step for
// floor(W / 4) steps and no tail. The last W mod 4 pixels of each row are not
// converted and both pointers step by pitch minus the row's nominal byte count from
// where the loop stopped, so each following row starts W mod 4 pixels earlier,
// cumulatively. Kept as it stands; with W a multiple of 4 the result equals every
// other level's.
#include <immintrin.h>

#include <cstring>

#include "convert/color.h"
#include "convert/yuy2.h"

#define TESSIVA_AVX2 __attribute__((target("avx2")))

namespace tessiva {
namespace {

using namespace color;

// Pixels per 256-bit step of the wide routines.
constexpr uint32_t kBlock = 16;
// Pixels per step of RGB32toYUY2 (16 RGB32 bytes to 8 YUY2 bytes).
constexpr uint32_t kStep = 4;

constexpr int32_t Pack16(int32_t lo, int32_t hi) {
    return static_cast<int32_t>(uint32_t(uint16_t(lo)) | (uint32_t(uint16_t(hi)) << 16));
}

// ---------------------------------------------------------------------------
// RGB32 to YUY2, 4 pixels to 8 bytes.
// As 16-bit lanes a pixel is (B, R) after masking the low bytes and (G, A) after
// shifting each word right by 8; alpha is then replaced by kFold, whose products
// carry the offsets, so every sum is two pmaddwd and one add. Pair sums sit in
// both pixels' lanes so that even lanes compute U and odd lanes V. Chroma is
// computed at 8 times its scale, which puts each chroma byte at bit 16 of its lane,
// next to the shifted luma: one word blend gives the words Y0 U01 Y1 V01 Y2 U23
// Y3 V23, and one pack of two steps' words gives their 16 output bytes.
constexpr int32_t kFold = 2048;                      // alpha's stand-in, a word
constexpr int32_t kYFold = kYOffset / kFold;         // 33: kFold * 33 = 67584
constexpr int32_t kCScale = 8;                       // 8192 * 8 = 1 << 16
constexpr int32_t kCFold = kPairCOffset * kCScale / (2 * kFold);  // 2056, times the pair's 2 * kFold
static_assert(kYFold * kFold == kYOffset && kCFold * 2 * kFold == kPairCOffset * kCScale, "exact offsets");

// Words (Y0, U01, Y1, V01, Y2, U23, Y3, V23) of one step.
TESSIVA_AVX2 inline __m128i Rgb32ToYuy2Words(const uint8_t* s) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s));
    const __m128i br = _mm_and_si128(x, _mm_set1_epi16(0x00FF));
    const __m128i gk = _mm_blend_epi16(_mm_srli_epi16(x, 8), _mm_set1_epi16(kFold), 0xAA);
    const __m128i y = _mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(br, _mm_set1_epi32(Pack16(kYB, kYR))),
                                                   _mm_madd_epi16(gk, _mm_set1_epi32(Pack16(kYG, kYFold)))),
                                     12);
    const __m128i br2 = _mm_add_epi16(br, _mm_shuffle_epi32(br, _MM_SHUFFLE(2, 3, 0, 1)));
    const __m128i gk2 = _mm_add_epi16(gk, _mm_shuffle_epi32(gk, _MM_SHUFFLE(2, 3, 0, 1)));
    const __m128i cBR = _mm_set_epi32(Pack16(kVB * kCScale, kVR * kCScale), Pack16(kUB * kCScale, kUR * kCScale),
                                      Pack16(kVB * kCScale, kVR * kCScale), Pack16(kUB * kCScale, kUR * kCScale));
    const __m128i cG = _mm_set_epi32(Pack16(kVG * kCScale, kCFold), Pack16(kUG * kCScale, kCFold),
                                     Pack16(kVG * kCScale, kCFold), Pack16(kUG * kCScale, kCFold));
    const __m128i c = _mm_add_epi32(_mm_madd_epi16(br2, cBR), _mm_madd_epi16(gk2, cG));  // U01 V01 U23 V23 at bit 16
    return _mm_blend_epi16(y, c, 0xAA);
}

// ---------------------------------------------------------------------------
// YUY2 to BGRA, 16 pixels, blue factor kBU. In 32-bit lanes, pair k holds (Y0, Y1)
// and (U, V) as words, each taken times 16, so that every product is one pmaddwd
// and every sum lands at scale 65536: its high word is the channel value, and one
// shift and one word blend pair the even and odd pixels' values. Offsets 16 and
// 128 and the rounding half are folded into one constant per channel.
// The in-lane packs and unpacks leave pixels 0-3 | 8-11 in `lo` and 4-7 | 12-15 in
// `hi`; with kInOrder the source's 8-byte quarters are first reordered (0, 2, 1, 3)
// so that `lo` holds pixels 0-7 and `hi` 8-15.
constexpr int32_t kLumaBase = kRound - 16 * kLuma;
constexpr int32_t kBOffset = 16 * (kLumaBase - 128 * kBU);
constexpr int32_t kGOffset = 16 * (kLumaBase - 128 * (kGU + kGV));
constexpr int32_t kROffset = 16 * (kLumaBase - 128 * kRV);

// Words (high word of even, high word of odd): the pair's two channel values.
TESSIVA_AVX2 inline __m256i HighWords(__m256i even, __m256i odd) {
    return _mm256_blend_epi16(_mm256_srli_epi32(even, 16), odd, 0xAA);
}

template <bool kInOrder>
TESSIVA_AVX2 inline void Yuy2ToBgrax16(const uint8_t* s, __m256i& lo, __m256i& hi) {
    __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s));
    if (kInOrder) x = _mm256_permute4x64_epi64(x, 0xD8);
    // Unsigned bytes times signed (16, 0) or (0, 16), summed per word.
    const __m256i yy = _mm256_maddubs_epi16(x, _mm256_set1_epi16(0x0010));  // 16 Y0, 16 Y1
    const __m256i uv = _mm256_maddubs_epi16(x, _mm256_set1_epi16(0x1000));  // 16 U, 16 V
    const __m256i le = _mm256_madd_epi16(yy, _mm256_set1_epi32(Pack16(kLuma, 0)));
    const __m256i lodd = _mm256_madd_epi16(yy, _mm256_set1_epi32(Pack16(0, kLuma)));
    const __m256i cb = _mm256_add_epi32(_mm256_madd_epi16(uv, _mm256_set1_epi32(Pack16(kBU, 0))), _mm256_set1_epi32(kBOffset));
    const __m256i cg = _mm256_add_epi32(_mm256_madd_epi16(uv, _mm256_set1_epi32(Pack16(kGU, kGV))), _mm256_set1_epi32(kGOffset));
    const __m256i cr = _mm256_add_epi32(_mm256_madd_epi16(uv, _mm256_set1_epi32(Pack16(0, kRV))), _mm256_set1_epi32(kROffset));
    const __m256i b = HighWords(_mm256_add_epi32(le, cb), _mm256_add_epi32(lodd, cb));
    const __m256i g = HighWords(_mm256_add_epi32(le, cg), _mm256_add_epi32(lodd, cg));
    const __m256i r = HighWords(_mm256_add_epi32(le, cr), _mm256_add_epi32(lodd, cr));
    // Saturating packs clamp to 0..255.
    const __m256i br = _mm256_packus_epi16(b, r);                       // B x8, R x8 per lane
    const __m256i ga = _mm256_packus_epi16(g, _mm256_set1_epi16(255));  // G x8, FF x8
    const __m256i bg = _mm256_unpacklo_epi8(br, ga);
    const __m256i ra = _mm256_unpackhi_epi8(br, ga);
    lo = _mm256_unpacklo_epi16(bg, ra);
    hi = _mm256_unpackhi_epi16(bg, ra);
}

struct Yuy2ToRgb32Kernel {
    static constexpr uint32_t kSrc = 2, kDst = 4;
    TESSIVA_AVX2 static void Block(const uint8_t* s, uint8_t* d) {
        __m256i lo, hi;
        Yuy2ToBgrax16<false>(s, lo, hi);  // four 16-byte stores put the quarters in order
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(lo));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 16), _mm256_castsi256_si128(hi));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 32), _mm256_extracti128_si256(lo, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 48), _mm256_extracti128_si256(hi, 1));
    }
};

// 16 BGRA pixels to 48 BGR bytes: a byte shuffle drops alpha within each lane
// (12 bytes at its bottom), dword permutes join the lanes.
struct Yuy2ToRgb24Kernel {
    static constexpr uint32_t kSrc = 2, kDst = 3;
    TESSIVA_AVX2 static void Block(const uint8_t* s, uint8_t* d) {
        __m256i lo, hi;
        Yuy2ToBgrax16<true>(s, lo, hi);
        const __m256i drop = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                              0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
        lo = _mm256_shuffle_epi8(lo, drop);  // pixels 0-3 | 4-7, 12 bytes per lane
        hi = _mm256_shuffle_epi8(hi, drop);  // pixels 8-11 | 12-15
        const __m256i first = _mm256_blend_epi32(_mm256_permutevar8x32_epi32(lo, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 0, 0)),
                                                 _mm256_permutevar8x32_epi32(hi, _mm256_setr_epi32(0, 0, 0, 0, 0, 0, 0, 1)),
                                                 0xC0);
        const __m256i rest = _mm256_permutevar8x32_epi32(hi, _mm256_setr_epi32(2, 4, 5, 6, 0, 0, 0, 0));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), first);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 32), _mm256_castsi256_si128(rest));
    }
};

// YUY2 to YUV32: each 8-pixel half of the source is broadcast to both lanes and one
// byte shuffle per lane builds (V U Y -) for four pixels; alpha is or-ed in.
struct Yuy2ToYuv32Kernel {
    static constexpr uint32_t kSrc = 2, kDst = 4;
    TESSIVA_AVX2 static void Block(const uint8_t* s, uint8_t* d) {
        const __m256i spread = _mm256_setr_epi8(3, 1, 0, -1, 3, 1, 2, -1, 7, 5, 4, -1, 7, 5, 6, -1,  //
                                                11, 9, 8, -1, 11, 9, 10, -1, 15, 13, 12, -1, 15, 13, 14, -1);
        const __m256i alpha = _mm256_set1_epi32(int32_t(0xFF000000u));
        const __m256i a = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s)));
        const __m256i b = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(s + 16)));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm256_or_si256(_mm256_shuffle_epi8(a, spread), alpha));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + 32), _mm256_or_si256(_mm256_shuffle_epi8(b, spread), alpha));
    }
};

// YUV32 to YUY2, 16 pixels to 32 bytes: chroma (a + b) >> 1 truncating, as
// (a & b) + ((a ^ b) >> 1) per byte, blended over the pair's first pixel; a byte
// shuffle then picks Y0 U Y1 V from each 8-byte pair.
TESSIVA_AVX2 inline __m256i Yuv32PairsBlended(__m256i x) {
    const __m256i s = _mm256_srli_epi64(x, 32);
    const __m256i avg = _mm256_add_epi8(_mm256_and_si256(x, s),
                                        _mm256_and_si256(_mm256_srli_epi16(_mm256_xor_si256(x, s), 1), _mm256_set1_epi8(0x7F)));
    return _mm256_blend_epi16(x, avg, 0x11);  // (avgV avgU Y0 A0 V1 U1 Y1 A1) per pair
}

struct Yuv32ToYuy2Kernel {
    static constexpr uint32_t kSrc = 4, kDst = 2;
    TESSIVA_AVX2 static void Block(const uint8_t* s, uint8_t* d) {
        const __m256i pickLow = _mm256_setr_epi8(2, 1, 6, 0, 10, 9, 14, 8, -1, -1, -1, -1, -1, -1, -1, -1,  //
                                                 2, 1, 6, 0, 10, 9, 14, 8, -1, -1, -1, -1, -1, -1, -1, -1);
        const __m256i pickHigh = _mm256_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 2, 1, 6, 0, 10, 9, 14, 8,  //
                                                  -1, -1, -1, -1, -1, -1, -1, -1, 2, 1, 6, 0, 10, 9, 14, 8);
        const __m256i a = Yuv32PairsBlended(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s)));
        const __m256i b = Yuv32PairsBlended(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + 32)));
        // Lane 0: pixels 0-3, 8-11; lane 1: pixels 4-7, 12-15; then quarters (0, 2, 1, 3).
        const __m256i w = _mm256_or_si256(_mm256_shuffle_epi8(a, pickLow), _mm256_shuffle_epi8(b, pickHigh));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), _mm256_permute4x64_epi64(w, 0xD8));
    }
};

// ---------------------------------------------------------------------------
// Wide row: whole 16-pixel blocks in place, the last W mod 16 pixels through an
// aligned scratch block, from which only bytes of the row's own pixels go back.
template <typename K>
TESSIVA_AVX2 void WideRow(const uint8_t* s, uint8_t* d, uint32_t width) {
    constexpr bool kToYuy2 = K::kDst == 2;
    const uint32_t blocks = width / kBlock, rest = width % kBlock;
    for (uint32_t i = 0; i < blocks; ++i) K::Block(s + size_t(i) * kBlock * K::kSrc, d + size_t(i) * kBlock * K::kDst);
    if (rest == 0) return;
    alignas(32) uint8_t in[kBlock * K::kSrc] = {};
    alignas(32) uint8_t out[kBlock * K::kDst];
    s += size_t(blocks) * kBlock * K::kSrc;
    d += size_t(blocks) * kBlock * K::kDst;
    std::memcpy(in, s, rest * K::kSrc);
    // Writing YUY2, an unpaired last pixel is paired with itself: its own chroma.
    if (kToYuy2 && (rest & 1)) std::memcpy(in + rest * K::kSrc, in + (rest - 1) * K::kSrc, K::kSrc);
    K::Block(in, out);
    // Into YUY2 every pixel's 2 bytes go back (the last Y and U of an odd row);
    // from YUY2 only whole pairs do.
    const uint32_t back = kToYuy2 ? rest : rest & ~1u;
    std::memcpy(d, out, back * K::kDst);
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

template <typename K>
TESSIVA_AVX2 void WideRows(const uint8_t* src, uint32_t sp, uint8_t* dst, uint32_t dp, uint32_t width, uint32_t height) {
    for (uint32_t y = 0; y < height; ++y) WideRow<K>(src + size_t(y) * sp, dst + size_t(y) * dp, width);
}

}  // namespace

TESSIVA_AVX2 void RGB32toYUY2_AVX2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                                   uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    const uint32_t steps = sw / kStep, left = sw % kStep;
    // Row starts move through uintptr_t: the shift may carry them before the buffer.
    const uintptr_t sNext = uintptr_t(sp) - uintptr_t(left) * 4;
    const uintptr_t dNext = uintptr_t(dp) - uintptr_t(left) * 2;
    uintptr_t s = reinterpret_cast<uintptr_t>(src), d = reinterpret_cast<uintptr_t>(dst);
    for (uint32_t y = 0; y < sh; ++y, s += sNext, d += dNext) {
        const uint8_t* sr = reinterpret_cast<const uint8_t*>(s);
        uint8_t* dr = reinterpret_cast<uint8_t*>(d);
        // Two steps share one pack and one 16-byte store; an odd last step stores 8.
        uint32_t i = 0;
        for (; i + 2 <= steps; i += 2) {
            const __m128i a = Rgb32ToYuy2Words(sr + size_t(i) * kStep * 4);
            const __m128i b = Rgb32ToYuy2Words(sr + size_t(i + 1) * kStep * 4);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dr + size_t(i) * kStep * 2), _mm_packus_epi16(a, b));
        }
        if (i < steps) {
            const __m128i a = Rgb32ToYuy2Words(sr + size_t(i) * kStep * 4);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dr + size_t(i) * kStep * 2), _mm_packus_epi16(a, a));
        }
    }
}

TESSIVA_AVX2 void YUY2toRGB32_AVX2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                                   uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    WideRows<Yuy2ToRgb32Kernel>(src, sp, dst, dp, sw, sh);
}

TESSIVA_AVX2 void YUY2toRGB24_AVX2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                                   uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    WideRows<Yuy2ToRgb24Kernel>(src, sp, dst, dp, sw, sh);
}

TESSIVA_AVX2 void YUY2toYUV32_AVX2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                                   uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    WideRows<Yuy2ToYuv32Kernel>(src, sp, dst, dp, sw, sh);
}

TESSIVA_AVX2 void YUV32toYUY2_AVX2(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst,
                                   uint32_t dw, uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    WideRows<Yuv32ToYuy2Kernel>(src, sp, dst, dp, sw, sh);
}

}  // namespace tessiva
