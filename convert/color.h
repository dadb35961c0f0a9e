// BT.601 studio-range arithmetic in 12-bit fixed point: the scalar form of every
// formula the vector variants implement. Coefficients and offsets are stated once
// here; the SIMD files build their constant vectors from these names.
#pragma once
#include <cstdint>

namespace tessiva::color {

// RGB to YUV, scale 4096. Offsets fold +16 / +128 with the rounding half.
constexpr int32_t kYR = 1053, kYG = 2064, kYB = 401, kYOffset = 67584;         // 16.5 * 4096
constexpr int32_t kUR = -606, kUG = -1192, kUB = 1798;
constexpr int32_t kVR = 1798, kVG = -1507, kVB = -291, kCOffset = 526336;      // 128.5 * 4096
constexpr int32_t kPairCOffset = 1052672;                                      // 128.5 * 8192, pair sums
constexpr int32_t kBlockCOffset = 2105344;                                     // 128.5 * 16384, 2x2 sums

// YUV to RGB, scale 4096.
constexpr int32_t kLuma = 4768, kRound = 2048, kRV = 6537, kGU = -1602, kGV = -3330;
constexpr int32_t kBU = 8265;       // blue factor of the baseline and of every non-YUV32 source
constexpr int32_t kBUWide = 8266;   // blue factor of the YUV32-source routines at SSE2 and above

inline uint8_t Clamp255(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

inline uint8_t LumaOf(int r, int g, int b) { return static_cast<uint8_t>((kYR * r + kYG * g + kYB * b + kYOffset) >> 12); }
inline uint8_t UOf(int r, int g, int b) { return static_cast<uint8_t>((kUR * r + kUG * g + kUB * b + kCOffset) >> 12); }
inline uint8_t VOf(int r, int g, int b) { return static_cast<uint8_t>((kVR * r + kVG * g + kVB * b + kCOffset) >> 12); }

// Chroma of two pixels from their component sums, one rounding.
inline uint8_t PairUOf(int r2, int g2, int b2) { return static_cast<uint8_t>((kUR * r2 + kUG * g2 + kUB * b2 + kPairCOffset) >> 13); }
inline uint8_t PairVOf(int r2, int g2, int b2) { return static_cast<uint8_t>((kVR * r2 + kVG * g2 + kVB * b2 + kPairCOffset) >> 13); }

// One YUV pixel to B, G, R (blueFactor is kBU or kBUWide).
inline void YuvToBgr(int y, int u, int v, int32_t blueFactor, uint8_t* bgr) {
    const int32_t l = kLuma * (y - 16) + kRound;
    const int32_t up = u - 128, vp = v - 128;
    bgr[0] = Clamp255((l + blueFactor * up) >> 12);
    bgr[1] = Clamp255((l + kGU * up + kGV * vp) >> 12);
    bgr[2] = Clamp255((l + kRV * vp) >> 12);
}

}  // namespace tessiva::color
