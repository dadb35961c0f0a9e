// Baseline colour fills (levels 0-2), as the 64-bit MMX routines did: the colour
// is replicated into a pixel pair and odd counts are rounded UP to whole pairs.
// FillColorToBuffer writes (W + 1) / 2 pairs per row (16-byte blocks, then one
// 8-byte pair when the pair count is odd), then steps by pitch - W x 4 from where
// the writes stopped: with an odd W each row gets one pixel more than W and each
// next row starts one pixel further right, cumulatively. Kept as it stands.
#include <cstring>

#include "convert/fill.h"

namespace tessiva {
namespace {

// Writes `pairs` copies of the 8-byte pixel pair at `p`.
void WritePairs(uintptr_t p, uint64_t pairs, uint64_t pair) {
    for (uint64_t i = 0; i < pairs; ++i) std::memcpy(reinterpret_cast<void*>(p + i * 8), &pair, 8);
}

uint64_t PairOf(uint32_t color) { return uint64_t(color) | (uint64_t(color) << 32); }

}  // namespace

void FillColorToBuffer_Plain(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch, uint32_t color) {
    if (!dst || height == 0) return;
    const uint64_t pairs = (uint64_t(width) + 1) / 2;
    const uint64_t pair = PairOf(color);
    // Row starts move through uintptr_t: the odd-width shift walks right of the rows.
    const uintptr_t next = uintptr_t(pitch) + uintptr_t(pairs * 8) - uintptr_t(width) * 4;
    uintptr_t p = reinterpret_cast<uintptr_t>(dst);
    for (uint32_t y = 0; y < height; ++y, p += next) WritePairs(p, pairs, pair);
}

void FillColorToLine_Plain(uint8_t* dst, uint32_t count, uint32_t color) {
    if (!dst) return;
    WritePairs(reinterpret_cast<uintptr_t>(dst), (uint64_t(count) + 1) / 2, PairOf(color));
}

}  // namespace tessiva
