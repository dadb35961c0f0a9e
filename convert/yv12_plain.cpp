// Baseline YV12 conversions (levels 0-2), two pixels per step as the 64-bit
// MMX routines did.
//
// Writers: a luma pass over every row and a chroma pass over the 2 x 2 blocks,
// both stepping by two columns (and the chroma pass by two rows) up to the
// picture's size. An odd width or height therefore reads one column or row
// past the picture and writes one luma byte past each row; chroma rows hold
// ceil(W / 2) samples. Block chroma is rounded once from the four-pixel sums.
//
// Readers: whole 2 x 2 blocks only. An odd last row or column is left as it
// was, and a picture under two rows high is not touched at all.
#include "convert/color.h"
#include "convert/planar420.h"
#include "convert/yv12.h"

namespace tessiva {
namespace {

using namespace color;

// Row r of a packed source. Through uintptr_t: the steps of two may reach the
// row just past either end of the picture.
const uint8_t* SourceRow(planar::PackedRows s, uint32_t r) {
    return reinterpret_cast<const uint8_t*>(reinterpret_cast<uintptr_t>(s.first) + uintptr_t(intptr_t(r) * s.step));
}

struct Rgb32 {
    static uint8_t Luma(const uint8_t* p) { return LumaOf(p[2], p[1], p[0]); }
    // a: the block's two upper pixels, b: its two lower ones.
    static void Block(const uint8_t* a, const uint8_t* b, uint8_t* u, uint8_t* v) {
        const int sb = a[0] + a[4] + b[0] + b[4];
        const int sg = a[1] + a[5] + b[1] + b[5];
        const int sr = a[2] + a[6] + b[2] + b[6];
        *v = uint8_t((kVR * sr + kVG * sg + kVB * sb + kBlockCOffset) >> 14);
        *u = uint8_t((kUR * sr + kUG * sg + kUB * sb + kBlockCOffset) >> 14);
    }
};

struct Yuv32 {
    static uint8_t Luma(const uint8_t* p) { return p[2]; }
    static void Block(const uint8_t* a, const uint8_t* b, uint8_t* u, uint8_t* v) {
        *v = uint8_t((a[0] + a[4] + b[0] + b[4]) >> 2);
        *u = uint8_t((a[1] + a[5] + b[1] + b[5]) >> 2);
    }
};

template <class Format>
void Write420(planar::PackedRows src, uint32_t width, uint32_t height, const planar::Target420& t) {
    for (uint32_t r = 0; r < height; ++r) {
        const uint8_t* s = SourceRow(src, r);
        uint8_t* y = t.y + intptr_t(r) * t.yPitch;
        for (uint32_t x = 0; x < width; x += 2) {
            y[x] = Format::Luma(s + 4 * x);
            y[x + 1] = Format::Luma(s + 4 * x + 4);
        }
    }
    for (uint32_t r = 0, j = 0; r < height; r += 2, ++j) {
        const uint8_t* s0 = SourceRow(src, r);
        const uint8_t* s1 = SourceRow(src, r + 1);
        uint8_t* u = t.u + intptr_t(j) * t.chromaPitch;
        uint8_t* v = t.v + intptr_t(j) * t.chromaPitch;
        for (uint32_t x = 0; x < width; x += 2, u += t.chromaStep, v += t.chromaStep)
            Format::Block(s0 + 4 * x, s1 + 4 * x, u, v);
    }
}

void Bgra(int y, int u, int v, uint8_t* d) {
    YuvToBgr(y, u, v, kBU, d);
    d[3] = 255;
}

// Destination row r is at first + r x step (step = -pitch when written bottom-up).
void Yv12ToRgb32(const uint8_t* src, uint32_t width, uint32_t height, uint32_t pitch, uint8_t* first,
                 intptr_t step) {
    if (height < 2) return;
    const planar::Yv12Offsets planes = planar::Yv12OffsetsOf(pitch, height);
    const intptr_t chromaPitch = planar::Yv12ChromaPitch(width / 2, width, pitch);
    for (uint32_t j = 0; j < height / 2; ++j) {
        const uint8_t* y0 = src + size_t(2 * j) * pitch;
        const uint8_t* y1 = y0 + pitch;
        const uint8_t* u = src + planes.u + intptr_t(j) * chromaPitch;
        const uint8_t* v = src + planes.v + intptr_t(j) * chromaPitch;
        uint8_t* d0 = first + intptr_t(2 * j) * step;
        uint8_t* d1 = d0 + step;
        for (uint32_t i = 0; i < width / 2; ++i) {
            Bgra(y0[2 * i], u[i], v[i], d0 + 8 * i);
            Bgra(y0[2 * i + 1], u[i], v[i], d0 + 8 * i + 4);
            Bgra(y1[2 * i], u[i], v[i], d1 + 8 * i);
            Bgra(y1[2 * i + 1], u[i], v[i], d1 + 8 * i + 4);
        }
    }
}

bool Runnable(const uint8_t* src, uint32_t sw, uint32_t sh, uint8_t* dst, uint32_t dw, uint32_t dh) {
    return SameSize(sw, sh, dw, dh) && src && dst && sh != 0;
}

planar::Target420 Yv12Target(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch) {
    const planar::Yv12Offsets planes = planar::Yv12OffsetsOf(pitch, height);
    return {dst, intptr_t(pitch), dst + planes.u, dst + planes.v,
            planar::Yv12ChromaPitch((width + 1) / 2, width, pitch), 1};
}

}  // namespace

namespace planar {
void RGB32To420_Plain(PackedRows src, uint32_t width, uint32_t height, const Target420& t) {
    Write420<Rgb32>(src, width, height, t);
}
void YUV32To420_Plain(PackedRows src, uint32_t width, uint32_t height, const Target420& t) {
    Write420<Yuv32>(src, width, height, t);
}
}  // namespace planar

void RGB32toYV12_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::RGB32To420_Plain(planar::TopDown(src, sp), sw, sh, Yv12Target(dst, sw, sh, dp));
}

void InvertRGB32toYV12_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::RGB32To420_Plain(planar::BottomUp(src, sp, sh), sw, sh, Yv12Target(dst, sw, sh, dp));
}

void YUV32toYV12_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    planar::YUV32To420_Plain(planar::TopDown(src, sp), sw, sh, Yv12Target(dst, sw, sh, dp));
}

void YV12toRGB32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                       uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yv12ToRgb32(src, sw, sh, sp, dst, intptr_t(dp));
}

void InvertYV12toRGB32_Plain(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                             uint32_t dh, uint32_t dp) {
    if (!Runnable(src, sw, sh, dst, dw, dh)) return;
    Yv12ToRgb32(src, sw, sh, sp, dst + size_t(dp) * (sh - 1), -intptr_t(dp));
}

}  // namespace tessiva
