// Vertical flip of RGB32: a plain row copy, no arithmetic. Single variant,
// called directly rather than through the routine table.
#include <cstring>

#include "convert/rgb24.h"

namespace tessiva {

void InvertRGB32toRGB32(const uint8_t* src, uint32_t sw, uint32_t sh, uint32_t sp, uint8_t* dst, uint32_t dw,
                        uint32_t dh, uint32_t dp) {
    if (!src || !dst || !SameSize(sw, sh, dw, dh) || sh == 0) return;
    const size_t rowBytes = size_t(sw) * 4;
    for (uint32_t r = 0; r < sh; ++r) std::memcpy(dst + size_t(r) * dp, src + size_t(sh - 1 - r) * sp, rowBytes);
}

}  // namespace tessiva
