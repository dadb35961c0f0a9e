#include "test_card.h"

#include <algorithm>

namespace tessiva::tool {
namespace {

struct Rgb {
    uint8_t r, g, b;
};

constexpr Rgb kBars[8] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                          {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
constexpr Rgb kWhite{255, 255, 255}, kBlack{0, 0, 0}, kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255};

void Put(uint8_t* p, Rgb c) {
    p[0] = c.b;
    p[1] = c.g;
    p[2] = c.r;
    p[3] = 255;
}

// Cosine of phase/1024 cycles as 128 + 127 cos, from two parabolic half-waves:
// smooth enough to look at, and exact integers everywhere.
uint8_t CosineGrey(int64_t phase) {
    const int t = static_cast<int>((phase + 256) & 1023);  // cos(x) = sin(x + quarter cycle)
    const int half = t & 511;
    const int magnitude = half * (512 - half) * 127 / 65536;  // 0..127
    return static_cast<uint8_t>(t < 512 ? 128 + magnitude : 128 - magnitude);
}

}  // namespace

std::vector<uint8_t> DrawTestCard(FrameSize size) {
    const int w = size.width, h = size.height;
    std::vector<uint8_t> frame(std::size_t(w) * std::size_t(h) * 4);
    const int rampTop = h * 7 / 12, detailTop = h * 9 / 12;
    // Zone plate: a square at the left of the bottom band (at most half the width).
    const int zoneWidth = std::min(w / 2, h - detailTop);
    const int64_t cx = zoneWidth / 2, cy = detailTop + (h - detailTop) / 2;
    const int64_t radius = std::max(1, zoneWidth / 2);
    const int patchWidth = std::max(1, (w - zoneWidth) / 4);

    for (int y = 0; y < h; ++y) {
        uint8_t* row = frame.data() + std::size_t(y) * std::size_t(w) * 4;
        for (int x = 0; x < w; ++x) {
            uint8_t* p = row + std::size_t(x) * 4;
            if (y < rampTop) {
                Put(p, kBars[int64_t(x) * 8 / w]);
            } else if (y < detailTop) {
                const uint8_t v = static_cast<uint8_t>(int64_t(x) * 256 / w);
                Put(p, {v, v, v});
            } else if (x < zoneWidth) {
                // Local frequency 2 k r cycles per pixel for phase k r^2: half a
                // cycle per pixel at r = radius when k = 1 / (4 radius).
                const int64_t dx = x - cx, dy = y - cy;
                const uint8_t v = CosineGrey((dx * dx + dy * dy) * 256 / radius);
                Put(p, {v, v, v});
            } else {
                const int patch = std::min(3, (x - zoneWidth) / patchWidth);
                const bool oddX = x % 2 != 0, oddY = y % 2 != 0;
                switch (patch) {
                    case 0: Put(p, oddX ? kGreen : kRed); break;
                    case 1: Put(p, oddY ? kBlack : kWhite); break;
                    case 2: Put(p, oddY ? kBlue : kRed); break;
                    default: Put(p, oddX != oddY ? kBlack : kWhite); break;
                }
            }
        }
    }
    return frame;
}

}  // namespace tessiva::tool
