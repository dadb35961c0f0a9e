// Scalar models of the 4:2:0 writers (RGB32 / YUV32 to YV12 or NV12), written
// for clarity rather than speed, for the YV12 and NV12 tests. Buffers are whole
// allocations (guards included) addressed from a base index, so the models can
// reproduce the baseline's reads and writes just past the picture.
#pragma once
#include <cstdint>
#include <vector>

namespace planar_model {

enum class Level { kBaseline, kSse };  // levels 0-2, levels 3 and up
enum class Source { kRgb32, kYuv32 };
enum class Layout { kYv12, kNv12 };

// BT.601 studio range, 12-bit fixed point.
inline int Luma(int r, int g, int b) { return (1053 * r + 2064 * g + 401 * b + 67584) >> 12; }
inline int PixelU(int r, int g, int b) { return (-606 * r - 1192 * g + 1798 * b + 526336) >> 12; }
inline int PixelV(int r, int g, int b) { return (1798 * r - 1507 * g - 291 * b + 526336) >> 12; }
// Chroma of two pixels from component sums, rounded once at scale 8192.
inline int PairU(int r2, int g2, int b2) { return (-606 * r2 - 1192 * g2 + 1798 * b2 + 1052672) >> 13; }
inline int PairV(int r2, int g2, int b2) { return (1798 * r2 - 1507 * g2 - 291 * b2 + 1052672) >> 13; }
// Chroma of four pixels from component sums, rounded once at scale 16384.
inline int BlockU(int r4, int g4, int b4) { return (-606 * r4 - 1192 * g4 + 1798 * b4 + 2105344) >> 14; }
inline int BlockV(int r4, int g4, int b4) { return (1798 * r4 - 1507 * g4 - 291 * b4 + 2105344) >> 14; }

struct Frame420 {
    uint32_t width, height;
    uint32_t srcPitch;  // bytes
    bool bottomUp;      // source read bottom-up (the Invert writers)
    uint32_t pitch;     // Y pitch P of the destination
};

// What a writer of `level` leaves in `dst` (its bytes before the call in, after
// the call out). The source picture starts at src[srcBase], the destination
// buffer at dst[dstBase].
//
// Baseline: a luma pass over every row in steps of two columns, then chroma for
// ceil(W/2) x ceil(H/2) blocks, V before U; with odd sizes this reads one
// column / row past the picture and writes one luma byte past each row.
// SSE: luma of every pixel; chroma for the floor(W/2) x floor(H/2) whole
// blocks only, each row's pair chroma averaged rounding up.
// YV12 chroma rows advance by the samples of a row plus (P - W) / 2; NV12
// chroma rows (U,V pairs) are P apart.
inline void Write420(const std::vector<uint8_t>& src, long srcBase, const Frame420& f, Source source, Level level,
                     Layout layout, std::vector<uint8_t>& dst, long dstBase) {
    const long w = f.width, h = f.height, p = f.pitch;
    auto pixel = [&](long row, long col) -> const uint8_t* {
        const long r = f.bottomUp ? h - 1 - row : row;
        return &src.at(size_t(srcBase + r * long(f.srcPitch) + 4 * col));
    };
    auto put = [&](long offset, int value) { dst.at(size_t(dstBase + offset)) = uint8_t(value); };

    const bool baseline = level == Level::kBaseline;
    const long lumaColumns = baseline ? (w + 1) / 2 * 2 : w;
    for (long r = 0; r < h; ++r)
        for (long x = 0; x < lumaColumns; ++x) {
            const uint8_t* s = pixel(r, x);
            put(r * p + x, source == Source::kRgb32 ? Luma(s[2], s[1], s[0]) : s[2]);
        }

    const long blocksX = baseline ? (w + 1) / 2 : w / 2;
    const long blocksY = baseline ? (h + 1) / 2 : h / 2;
    const long yv12Stride = blocksX + (p - w) / 2;
    for (long j = 0; j < blocksY; ++j)
        for (long i = 0; i < blocksX; ++i) {
            const uint8_t* q[4] = {pixel(2 * j, 2 * i), pixel(2 * j, 2 * i + 1), pixel(2 * j + 1, 2 * i),
                                   pixel(2 * j + 1, 2 * i + 1)};
            int u, v;
            if (source == Source::kYuv32) {
                v = (q[0][0] + q[1][0] + q[2][0] + q[3][0]) >> 2;
                u = (q[0][1] + q[1][1] + q[2][1] + q[3][1]) >> 2;
            } else if (baseline) {
                const int sb = q[0][0] + q[1][0] + q[2][0] + q[3][0];
                const int sg = q[0][1] + q[1][1] + q[2][1] + q[3][1];
                const int sr = q[0][2] + q[1][2] + q[2][2] + q[3][2];
                u = BlockU(sr, sg, sb);
                v = BlockV(sr, sg, sb);
            } else {
                const int upperU = PairU(q[0][2] + q[1][2], q[0][1] + q[1][1], q[0][0] + q[1][0]);
                const int lowerU = PairU(q[2][2] + q[3][2], q[2][1] + q[3][1], q[2][0] + q[3][0]);
                const int upperV = PairV(q[0][2] + q[1][2], q[0][1] + q[1][1], q[0][0] + q[1][0]);
                const int lowerV = PairV(q[2][2] + q[3][2], q[2][1] + q[3][1], q[2][0] + q[3][0]);
                u = (upperU + lowerU + 1) >> 1;
                v = (upperV + lowerV + 1) >> 1;
            }
            if (layout == Layout::kYv12) {
                put(p * h + j * yv12Stride + i, v);
                put(p * h + p * h / 4 + j * yv12Stride + i, u);
            } else {
                put(p * h + j * p + 2 * i, u);
                put(p * h + j * p + 2 * i + 1, v);
            }
        }
}

}  // namespace planar_model
