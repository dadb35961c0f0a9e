// Instruction-set levels as a host sees them: the registry cap forces a level,
// the construction reports it on the debugger output, and the RGB32/YUV32
// slots (called through the raw function table) behave as that level's
// routines: blue 56 or 57 for (Y 16, U 156, V 128), and baseline pairs with the
// row shift or exact rows for odd widths.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/test_support.h"
#include "tessiva.h"

namespace {

using tessiva::test::DebugCapture;
using tessiva::test::FirstDifference;
using tessiva::test::GuardedBuffer;
using tessiva::test::ScopedInstructionCap;

using TwoImageSlot = TessivaResult(TESSIVA_CALL*)(ITessiva*, void* queue, int32_t srcKind, void* src, int32_t srcWidth,
                                                  int32_t srcHeight, int32_t srcPitch, int32_t dstKind, void* dst,
                                                  int32_t dstWidth, int32_t dstHeight, int32_t dstPitch);

TwoImageSlot Slot(ITessiva* obj, int slot) { return reinterpret_cast<TwoImageSlot>((*reinterpret_cast<void***>(obj))[slot]); }

enum { kRGB32toYUV32 = 2, kYUV32toRGB32 = 3, kInvertRGB32toYUV32 = 10, kInvertYUV32toRGB32 = 11 };

struct Level {
    int level;
    uint32_t mask;
    const char* message;
};

// A cap for each level and the message it produces (on a processor that has
// the bits the mask keeps).
const Level kLevels[] = {
    {0, 0x00, "CPUDetect : The highest instruction is None.\n"},
    {1, 0x01, "CPUDetect : The highest instruction is MMX.\n"},
    {2, 0x03, "CPUDetect : The highest instruction is SSE.\n"},
    {3, 0x07, "CPUDetect : The highest instruction is SSE2.\n"},
    {4, 0x3F, "CPUDetect : The highest instruction is SSE41.\n"},
    {6, 0xFF, "CPUDetect : The highest instruction is AVX2.\n"},
};

// The highest level this processor offers, read from the message of an
// uncapping mask.
int MachineLevel() {
    static const int level = [] {
        ScopedInstructionCap cap(0xFF);
        DebugCapture capture;
        ReleaseTessiva(GetTessiva());
        const std::string m = capture.Text();
        if (m.find("AVX2") != std::string::npos) return 6;
        if (m.find("SSE41") != std::string::npos || m.find("SSE42") != std::string::npos) return 4;
        if (m.find("SSE2") != std::string::npos || m.find("SSE3") != std::string::npos) return 3;
        return 0;
    }();
    return level;
}

int Clamp(int v) { return v < 0 ? 0 : (v > 255 ? 255 : v); }

void ToYuv(const uint8_t* p, uint8_t* q) {
    const int b = p[0], g = p[1], r = p[2];
    q[0] = uint8_t((1798 * r - 1507 * g - 291 * b + 526336) >> 12);
    q[1] = uint8_t((-606 * r - 1192 * g + 1798 * b + 526336) >> 12);
    q[2] = uint8_t((1053 * r + 2064 * g + 401 * b + 67584) >> 12);
    q[3] = p[3];
}

void ToRgb(const uint8_t* p, uint8_t* q, int blue) {
    const int v = p[0] - 128, u = p[1] - 128, l = 4768 * (p[2] - 16) + 2048;
    q[0] = uint8_t(Clamp((l + blue * u) >> 12));
    q[1] = uint8_t(Clamp((l - 1602 * u - 3330 * v) >> 12));
    q[2] = uint8_t(Clamp((l + 6537 * v) >> 12));
    q[3] = p[3];
}

// What slot `slot` does at `level` to whole allocations whose buffers start at
// `base`: levels 0-2 convert floor(W/2) pairs per row and start every walked
// row 4 bytes earlier than the one before when W is odd (below the buffer on a
// bottom-up side); levels 3 and up convert every pixel.
void Model(int slot, int level, uint32_t w, uint32_t h, uint32_t pitch, size_t base, const std::vector<uint8_t>& src,
           std::vector<uint8_t>& dst) {
    const bool baseline = level < 3;
    const bool srcUp = slot == kInvertRGB32toYUV32, dstUp = slot == kInvertYUV32toRGB32;
    const bool toYuv = slot == kRGB32toYUV32 || slot == kInvertRGB32toYUV32;
    const uint32_t count = baseline ? w / 2 * 2 : w;
    for (uint32_t r = 0; r < h; ++r) {
        const size_t shift = baseline && (w & 1) ? 4 * r : 0;
        const size_t s = base + size_t(srcUp ? h - 1 - r : r) * pitch - shift;
        const size_t d = base + size_t(dstUp ? h - 1 - r : r) * pitch - shift;
        for (uint32_t i = 0; i < count; ++i) {
            if (toYuv)
                ToYuv(&src[s + 4 * i], &dst[d + 4 * i]);
            else
                ToRgb(&src[s + 4 * i], &dst[d + 4 * i], baseline ? 8265 : 8266);
        }
    }
}

TEST(Levels, CapForcesTheLevelOfTheRgb32Yuv32Slots) {
    const int top = MachineLevel();
    for (const Level& lv : kLevels) {
        if (lv.level > top) continue;
        SCOPED_TRACE("level " + std::to_string(lv.level));
        ScopedInstructionCap cap(lv.mask);
        DebugCapture capture;
        ITessiva* obj = GetTessiva();
        ASSERT_NE(obj, nullptr);
        EXPECT_EQ(capture.Text(), lv.message);

        // Blue factor: 8265 below level 3, 8266 from level 3.
        uint8_t yuv[8] = {128, 156, 16, 0x7F, 128, 128, 235, 0x80}, rgb[8] = {};
        EXPECT_EQ(Slot(obj, kYUV32toRGB32)(obj, nullptr, 0, yuv, 2, 1, 8, 0, rgb, 2, 1, 8), TESSIVA_S_OK);
        EXPECT_EQ(rgb[0], lv.level < 3 ? 56 : 57);
        EXPECT_EQ(std::vector<uint8_t>(rgb + 1, rgb + 8), (std::vector<uint8_t>{0, 0, 0x7F, 255, 255, 255, 0x80}));

        // Odd and even widths through all four slots, tight pitch.
        for (int slot : {kRGB32toYUV32, kYUV32toRGB32, kInvertRGB32toYUV32, kInvertYUV32toRGB32}) {
            for (uint32_t w : {1u, 5u, 9u, 16u}) {
                SCOPED_TRACE("slot " + std::to_string(slot) + " width " + std::to_string(w));
                const uint32_t h = 4, pitch = w * 4;
                const size_t guard = 64 + 4 * h;
                GuardedBuffer src(size_t(pitch) * h, 100 + w, guard), dst(size_t(pitch) * h, 200 + w, guard);
                std::vector<uint8_t> expected = dst.all();
                Model(slot, lv.level, w, h, pitch, guard, src.all(), expected);
                EXPECT_EQ(Slot(obj, slot)(obj, nullptr, 0, src.data(), int32_t(w), int32_t(h), int32_t(pitch), 0,
                                          dst.data(), int32_t(w), int32_t(h), int32_t(pitch)),
                          TESSIVA_S_OK);
                EXPECT_EQ(FirstDifference(dst.all(), expected), -1);
            }
            // Null host buffers never reach a routine.
            uint8_t one[4] = {};
            EXPECT_EQ(Slot(obj, slot)(obj, nullptr, 0, nullptr, 1, 1, 4, 0, one, 1, 1, 4), TESSIVA_E_FAIL);
            EXPECT_EQ(Slot(obj, slot)(obj, nullptr, 0, one, 1, 1, 4, 0, nullptr, 1, 1, 4), TESSIVA_E_FAIL);
        }
        EXPECT_EQ(ReleaseTessiva(obj), 0);
    }
}

TEST(Levels, EveryConstructionReportsTheCap) {
    ScopedInstructionCap cap(0x7F);
    DebugCapture capture;
    ReleaseTessiva(GetTessiva());
    ReleaseTessiva2(GetTessiva2());
    const std::string m = capture.Text();
    ASSERT_FALSE(m.empty());
    EXPECT_EQ(m.substr(0, m.size() / 2), m.substr(m.size() / 2)) << "one line per construction";
    if (MachineLevel() == 6) {
        EXPECT_EQ(m.substr(0, m.size() / 2), "CPUDetect : The highest instruction is SSE42.\n");
    }
}

TEST(Levels, NoCapNoMessage) {
    ScopedInstructionCap none(-1);
    DebugCapture capture;
    ReleaseTessiva(GetTessiva());
    EXPECT_EQ(capture.Text(), "");
}

}  // namespace
