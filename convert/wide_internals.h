// 256-bit internals of SSE2 table entries. The routine table gives levels 3 to
// 6 the same SSE2 routine for the YV12, NV12 and RGB24 entries; when it was
// last filled for level 6 (and the processor runs AVX2) those routines hand
// the leading part of each row to the kernels below, which compute the same
// bytes and touch the same memory. An administrator's cap below level 6
// therefore keeps them off, like every other AVX2 routine.
#pragma once
#include <cstdint>

#include "convert/rgb32_yuv32.h"
#include "cpu/routine_table.h"

namespace tessiva::wide {

inline bool Enabled() {
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2 && routineTable.RGB32toYUV32 == RGB32toYUV32_AVX2;
}

// Each kernel converts the leading multiple of its step of a row (or row pair)
// and returns the number of pixels converted.

// 16 pixels of each of two rows per step. RGB32 rows s0, s1 to luma rows y0,
// y1 and the blocks' chroma: U at u, V at v, or U,V pairs at u when interleaved.
constexpr uint32_t k420Step = 16;
uint32_t RGB32RowPairTo420_AVX2(const uint8_t* s0, const uint8_t* s1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                                uint8_t* v, bool interleaved, uint32_t width);
// YV12 luma rows y0, y1 and block chroma u, v to RGB32 rows d0, d1.
uint32_t YV12RowPairToRGB32_AVX2(const uint8_t* y0, const uint8_t* y1, const uint8_t* u, const uint8_t* v,
                                 uint8_t* d0, uint8_t* d1, uint32_t width);

// 32 pixels per step: an RGB32 row to RGB24, nothing written past the step.
constexpr uint32_t kRgb24Step = 32;
uint32_t RGB32RowToRGB24_AVX2(const uint8_t* s, uint8_t* d, uint32_t width);

}  // namespace tessiva::wide
