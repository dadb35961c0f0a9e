// Version-1 frame/field slots 28-39 on host memory, called through the raw
// function table, against the routines and convertors they stand for.
#include <gtest/gtest.h>

#include <functional>

#include "field/frame_field.h"
#include "interface/tessiva_v1.h"
#include "support/test_support.h"

namespace tessiva::test {
namespace {

constexpr int32_t kW = 9, kH = 7;
constexpr size_t kFrameBytes = size_t(kW) * 4 * (kH + 2);  // two spare lines

using Frames = std::vector<std::vector<uint8_t>>;  // three frame buffers

// Runs `viaSlot` on one set of random frames and `direct` on a copy; both must agree.
void ExpectSame(const char* what, const std::function<int32_t(Frames&)>& viaSlot,
                const std::function<int32_t(Frames&)>& direct, uint32_t seed) {
    Frames a{RandomBytes(kFrameBytes, seed), RandomBytes(kFrameBytes, seed + 1), RandomBytes(kFrameBytes, seed + 2)};
    Frames b = a;
    const int32_t ra = viaSlot(a), rb = direct(b);
    EXPECT_EQ(ra, rb) << what;
    for (int i = 0; i < 3; ++i) EXPECT_EQ(FirstDifference(a[i], b[i]), -1) << what << " frame " << i;
}

template <typename... Args>
int32_t Slot(Tessiva* t, int slot, Args... args) {
    return CallSlot<int32_t>(t, slot, static_cast<void*>(nullptr), args...);
}

void* P(std::vector<uint8_t>& v) { return v.data(); }
uint8_t* U(std::vector<uint8_t>& v) { return v.data(); }

// Runs the doubling or interpolating convertor the way the slots do.
int32_t WithConvertor(bool interpolate, const std::function<int32_t(FrameFieldConvertor&)>& f) {
    FrameFieldConvertor* c = CreateFrameFieldConvertor(interpolate, kW, kH);
    const int32_t r = f(*c);
    c->DeletingDestructor(1);
    return r;
}

class FieldSlots : public ::testing::TestWithParam<long long> {};

TEST_P(FieldSlots, HostPathsMatchTheirRoutines) {
    ScopedInstructionCap cap(GetParam());
    Tessiva* t = new Tessiva();
    const uint32_t level = t->InstructionLevel();
    for (int flag : {0, 1}) {
        ExpectSame("28", [&](Frames& f) { return Slot(t, 28, 0, P(f[0]), P(f[1]), flag, kW, kH); },
                   [&](Frames& f) { return FieldToFrame(U(f[0]), U(f[1]), flag, kW, kH); }, 10 + flag);
        ExpectSame("29", [&](Frames& f) { return Slot(t, 29, 0, P(f[0]), P(f[1]), P(f[2]), kW, kH, flag); },
                   [&](Frames& f) { return FrameToFieldForLevel(level, U(f[0]), U(f[1]), U(f[2]), kW, kH, flag); },
                   20 + flag);
        ExpectSame("30", [&](Frames& f) { return Slot(t, 30, 0, P(f[0]), kW, kH, flag); },
                   [&](Frames& f) { return MakeBottomFieldForLevel(level, U(f[0]), kW, kH, flag); }, 30 + flag);
        ExpectSame("31", [&](Frames& f) { return Slot(t, 31, 0, P(f[0]), kW, kH, flag); },
                   [&](Frames& f) { return MakeTopFieldForLevel(level, U(f[0]), kW, kH, flag); }, 40 + flag);
        ExpectSame("33", [&](Frames& f) { return Slot(t, 33, 0, P(f[0]), P(f[1]), kW, kH, flag); },
                   [&](Frames& f) { return WithConvertor(false, [&](FrameFieldConvertor& c) { return c.CopyField(U(f[0]), U(f[1]), flag); }); },
                   50 + flag);
    }
    ExpectSame("32", [&](Frames& f) { return Slot(t, 32, 0, P(f[0]), P(f[1]), P(f[2]), kW, kH); },
               [&](Frames& f) { return WithConvertor(false, [&](FrameFieldConvertor& c) { return c.WeaveFields(U(f[0]), U(f[1]), U(f[2])); }); }, 60);
    ExpectSame("34", [&](Frames& f) { return Slot(t, 34, 0, P(f[0]), P(f[1]), static_cast<void*>(nullptr), kW, kH); },
               [&](Frames& f) { return WithConvertor(false, [&](FrameFieldConvertor& c) { return c.SplitFrame(U(f[0]), U(f[1]), nullptr); }); }, 70);
    ExpectSame("35", [&](Frames& f) { return Slot(t, 35, 0, P(f[0]), kW, kH); },
               [&](Frames& f) { return WithConvertor(false, [&](FrameFieldConvertor& c) { return c.KeepEvenLines(U(f[0])); }); }, 80);
    ExpectSame("36", [&](Frames& f) { return Slot(t, 36, 0, P(f[0]), kW, kH); },
               [&](Frames& f) { return WithConvertor(false, [&](FrameFieldConvertor& c) { return c.KeepOddLines(U(f[0])); }); }, 90);
    ExpectSame("37", [&](Frames& f) { return Slot(t, 37, 0, P(f[0]), P(f[1]), P(f[2]), kW, kH); },
               [&](Frames& f) { return WithConvertor(true, [&](FrameFieldConvertor& c) { return c.SplitFrame(U(f[0]), U(f[1]), U(f[2])); }); }, 100);
    ExpectSame("38", [&](Frames& f) { return Slot(t, 38, 0, P(f[0]), kW, kH); },
               [&](Frames& f) { return MakeBottomFieldForLevel(level, U(f[0]), kW, kH, 1); }, 110);
    ExpectSame("39", [&](Frames& f) { return Slot(t, 39, 0, P(f[0]), kW, kH); },
               [&](Frames& f) { return MakeTopFieldForLevel(level, U(f[0]), kW, kH, 1); }, 120);
    t->DeletingDestructor(1);
}

INSTANTIATE_TEST_SUITE_P(Levels, FieldSlots, ::testing::Values(0x00, 0x07, 0xFF));

TEST(FieldSlotsChecks, PathSelectorNullsAndSizes) {
    Tessiva* t = new Tessiva();
    std::vector<uint8_t> a = RandomBytes(kFrameBytes, 1), b = RandomBytes(kFrameBytes, 2), c = RandomBytes(kFrameBytes, 3);
    const std::vector<uint8_t> a0 = a, b0 = b, c0 = c;
    void* n = nullptr;
    for (int slot : {28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39}) {
        int32_t other, null;
        switch (slot) {
            case 28: other = Slot(t, 28, 2, P(a), P(b), 1, kW, kH); null = Slot(t, 28, 0, P(a), n, 1, kW, kH); break;
            case 29: other = Slot(t, 29, 2, P(a), P(b), P(c), kW, kH, 1); null = Slot(t, 29, 0, P(a), P(b), n, kW, kH, 1); break;
            case 30: other = Slot(t, 30, 2, P(a), kW, kH, 1); null = Slot(t, 30, 0, n, kW, kH, 1); break;
            case 31: other = Slot(t, 31, 2, P(a), kW, kH, 1); null = Slot(t, 31, 0, n, kW, kH, 1); break;
            case 32: other = Slot(t, 32, 2, P(a), P(b), P(c), kW, kH); null = Slot(t, 32, 0, P(a), P(b), n, kW, kH); break;
            case 33: other = Slot(t, 33, 2, P(a), P(b), kW, kH, 1); null = Slot(t, 33, 0, n, P(b), kW, kH, 1); break;
            case 34: other = Slot(t, 34, 2, P(a), P(b), P(c), kW, kH); null = Slot(t, 34, 0, n, P(b), P(c), kW, kH); break;
            case 37: other = Slot(t, 37, 2, P(a), P(b), P(c), kW, kH); null = Slot(t, 37, 0, P(a), n, P(c), kW, kH); break;
            default: other = Slot(t, slot, 2, P(a), kW, kH); null = Slot(t, slot, 0, n, kW, kH); break;
        }
        EXPECT_EQ(other, TESSIVA_S_OK) << slot;
        EXPECT_EQ(null, TESSIVA_E_FAIL) << slot;
    }
    EXPECT_EQ(Slot(t, 30, 0, P(a), -1, kH, 0), TESSIVA_E_FAIL);
    EXPECT_EQ(Slot(t, 36, 0, P(a), kW, -3), TESSIVA_E_FAIL);
    EXPECT_EQ(Slot(t, 29, 0, P(a), P(b), P(c), kW, -1, 0), TESSIVA_E_FAIL);
    EXPECT_EQ(a, a0);
    EXPECT_EQ(b, b0);
    EXPECT_EQ(c, c0);
    t->DeletingDestructor(1);
}

// The converter's level picks the averaging: at level 6 two zero bytes average
// to 128 (pavg(a - 1, b) wraps), at level 3 to 0.
TEST(FieldSlotsChecks, LevelSixAveragesWithTheWrap) {
    if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "no AVX2";
    for (long long mask : {0x07LL, 0xFFLL}) {
        ScopedInstructionCap cap(mask);
        Tessiva* t = new Tessiva();
        std::vector<uint8_t> frame(size_t(kW) * 4 * (kH + 2), 0);
        ASSERT_EQ(Slot(t, 38, 0, P(frame), kW, kH), TESSIVA_S_OK);
        EXPECT_EQ(frame[size_t(kW) * 4], t->InstructionLevel() == 6 ? 128 : 0) << "level " << t->InstructionLevel();
        t->DeletingDestructor(1);
    }
}

}  // namespace
}  // namespace tessiva::test
