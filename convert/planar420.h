// 4:2:0 writers shared by the YV12 and NV12 families, and the YV12 plane
// layout. One writer per source format and level produces the Y plane and one
// chroma sample per 2 x 2 block; YV12 (V and U in two planes) and NV12 (U,V
// interleaved) differ only in the target they describe.
#pragma once
#include <cstddef>
#include <cstdint>

namespace tessiva::planar {

// Packed 4-byte source: picture row r starts at first + r x step. A source read
// bottom-up has first = its last row and step = -pitch.
struct PackedRows {
    const uint8_t* first;
    intptr_t step;
};
inline PackedRows TopDown(const uint8_t* src, uint32_t pitch) { return {src, intptr_t(pitch)}; }
inline PackedRows BottomUp(const uint8_t* src, uint32_t pitch, uint32_t height) {
    return {src + size_t(pitch) * (height - 1), -intptr_t(pitch)};
}

// Y plane and chroma rows of the destination. Chroma sample i of chroma row j
// goes to u + j x chromaPitch + i x chromaStep (and to v likewise): chromaStep
// is 1 for two planes, 2 for interleaved pairs.
struct Target420 {
    uint8_t* y;
    intptr_t yPitch;
    uint8_t* u;
    uint8_t* v;
    intptr_t chromaPitch;
    intptr_t chromaStep;
};

// Baseline (levels 0-2). First a luma pass over every row in steps of two
// pixels, then a chroma pass over the blocks in steps of two columns and two
// rows, V before U in each block; a block's chroma comes from its four pixels'
// component sums with one rounding. With an odd width or height the steps of
// two run one column or row past the picture: the last chroma samples read
// it, and each row gets one luma byte past its end. Callers pass even sizes.
void RGB32To420_Plain(PackedRows src, uint32_t width, uint32_t height, const Target420& t);
// As above with Y copied from byte 2 and chroma the truncated mean of four.
void YUV32To420_Plain(PackedRows src, uint32_t width, uint32_t height, const Target420& t);

// SSE2 (levels 3 and up). Chroma is each row's pair chroma averaged over the
// two rows, rounding up. Only whole 2 x 2 blocks get chroma: an odd last
// column or row gets its luma only, and nothing outside the picture is read
// or written.
void RGB32To420_SSE2(PackedRows src, uint32_t width, uint32_t height, const Target420& t);
// As above with Y copied and chroma the truncated mean of four, like the baseline.
void YUV32To420_SSE2(PackedRows src, uint32_t width, uint32_t height, const Target420& t);

// Byte offsets of the V and U planes in a YV12 buffer of Y pitch P and H rows:
// P x H and P x H + (P x H) / 4.
struct Yv12Offsets {
    size_t v, u;
};
inline Yv12Offsets Yv12OffsetsOf(uint32_t pitch, uint32_t height) {
    const size_t luma = size_t(pitch) * height;
    return {luma, luma + luma / 4};
}

// A YV12 routine steps its chroma pointers past the samples of a chroma row
// and then by (P - W) / 2, so chroma row j starts j x (samples + (P - W) / 2)
// into its plane: P / 2 rounded down for an even W.
inline intptr_t Yv12ChromaPitch(uint32_t samplesPerRow, uint32_t width, uint32_t pitch) {
    return intptr_t(samplesPerRow) + (intptr_t(pitch) - intptr_t(width)) / 2;
}

}  // namespace tessiva::planar
