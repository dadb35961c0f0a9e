// SSE2 colour fills (levels 3-6): the colour is replicated into a 128-bit
// quadruple and odd counts are rounded DOWN to whole pairs.
// FillColorToBuffer: when the rows are contiguous (pitch == W x 4) the whole
// buffer is one run of (W x H) / 2 pairs, so an odd total leaves the very last
// pixel unwritten. Otherwise each row gets floor(W / 2) pairs and the next row
// starts pitch - W x 4 bytes after where the writes stopped: with an odd W each row
// gets one pixel less than W and each next row starts one pixel further left,
// cumulatively. Kept as it stands.
#include <emmintrin.h>

#include "convert/fill.h"

namespace tessiva {
namespace {

// Pixels per 16-byte store.
constexpr uint64_t kQuad = 4;

// Writes `pairs` 8-byte pixel pairs from `p`: whole quadruples, then one pair.
void WritePairs(uintptr_t p, uint64_t pairs, __m128i quad) {
    const uint64_t quads = pairs * 2 / kQuad;
    for (uint64_t i = 0; i < quads; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(p + i * kQuad * 4), quad);
    if (pairs * 2 % kQuad) _mm_storel_epi64(reinterpret_cast<__m128i*>(p + quads * kQuad * 4), quad);
}

}  // namespace

void FillColorToBuffer_SSE2(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch, uint32_t color) {
    if (!dst) return;
    const __m128i quad = _mm_set1_epi32(static_cast<int32_t>(color));
    const uintptr_t start = reinterpret_cast<uintptr_t>(dst);
    if (uint64_t(pitch) == uint64_t(width) * 4) {
        WritePairs(start, uint64_t(width) * height / 2, quad);
        return;
    }
    const uint64_t pairs = width / 2;
    // Row starts move through uintptr_t: the odd-width shift walks left of the rows.
    const uintptr_t next = uintptr_t(pitch) + uintptr_t(pairs * 8) - uintptr_t(width) * 4;
    uintptr_t p = start;
    for (uint32_t y = 0; y < height; ++y, p += next) WritePairs(p, pairs, quad);
}

void FillColorToLine_SSE2(uint8_t* dst, uint32_t count, uint32_t color) {
    if (!dst) return;
    WritePairs(reinterpret_cast<uintptr_t>(dst), count / 2, _mm_set1_epi32(static_cast<int32_t>(color)));
}

}  // namespace tessiva
