// Every host-memory slot of a version-1 object reaches the routine that the
// routine table holds for the object's level, byte for byte.
#include <gtest/gtest.h>

#include "convert/rgb24.h"
#include "cpu/routine_table.h"
#include "interface/tessiva_v1.h"
#include "support/test_support.h"

namespace tessiva::test {
namespace {

struct SlotEntry {
    int slot;
    ConvertRoutine RoutineTable::*entry;  // null: the direct InvertRGB32toRGB32
};

const SlotEntry kSlots[] = {
    {2, &RoutineTable::RGB32toYUV32},       {3, &RoutineTable::YUV32toRGB32},
    {4, &RoutineTable::RGB32toYUY2},        {5, &RoutineTable::YUY2toRGB32},
    {6, &RoutineTable::RGB32toRGB24},       {8, nullptr},
    {9, &RoutineTable::InvertRGB32toRGB24}, {10, &RoutineTable::InvertRGB32toYUV32},
    {11, &RoutineTable::InvertYUV32toRGB32}, {12, &RoutineTable::InvertYUY2toRGB32},
    {13, &RoutineTable::InvertRGB32toYUY2}, {14, &RoutineTable::RGB32toYV12},
    {15, &RoutineTable::YV12toRGB32},       {16, &RoutineTable::YUV32toYV12},
    {17, &RoutineTable::YV12toYUV32},       {18, &RoutineTable::InvertRGB32toYV12},
    {19, &RoutineTable::InvertYV12toRGB32}, {20, &RoutineTable::YUV32toYUY2},
    {21, &RoutineTable::YUY2toYUV32},       {22, &RoutineTable::YUV32toRGB24},
    {23, &RoutineTable::InvertYUV32toRGB24}, {24, &RoutineTable::YUY2toRGB24},
    {25, &RoutineTable::InvertYUY2toRGB24},
};

// Masks that cap a processor to each level (the AVX2 bit is 0x80).
const struct {
    int level;
    long long mask;
} kCaps[] = {{0, 0x00}, {1, 0x01}, {2, 0x03}, {3, 0x07}, {4, 0x7F}, {6, 0xFF}};

TEST(SlotDispatch, HostSlotsReachTheRoutineOfTheLevel) {
    const uint32_t w = 34, h = 6, pitch = w * 4 + 8;
    const size_t bytes = size_t(pitch) * h * 2;
    for (const auto& cap : kCaps) {
        ScopedInstructionCap scoped(cap.mask);
        Tessiva* t = new Tessiva();
        ASSERT_LE(t->InstructionLevel(), uint32_t(cap.level));
        const RoutineTable expected = RoutinesForLevel(int(t->InstructionLevel()));
        for (const SlotEntry& e : kSlots) {
            const std::vector<uint8_t> src = RandomBytes(bytes, uint32_t(e.slot * 31 + cap.level));
            std::vector<uint8_t> viaSlot = RandomBytes(bytes, uint32_t(e.slot * 7 + 1)), direct = viaSlot;
            std::vector<uint8_t> srcCopy = src;
            ASSERT_EQ(CallSlot<int32_t>(t, e.slot, static_cast<void*>(nullptr), 0, static_cast<void*>(srcCopy.data()),
                                        int32_t(w), int32_t(h), int32_t(pitch), 0, static_cast<void*>(viaSlot.data()),
                                        int32_t(w), int32_t(h), int32_t(pitch)),
                      TESSIVA_S_OK)
                << "slot " << e.slot;
            const ConvertRoutine f = e.entry ? expected.*(e.entry) : InvertRGB32toRGB32;
            f(src.data(), w, h, pitch, direct.data(), w, h, pitch);
            EXPECT_EQ(FirstDifference(viaSlot, direct), -1) << "slot " << e.slot << " level " << cap.level;
        }

        // The fills, through slots 26 and 27.
        std::vector<uint8_t> viaSlot = RandomBytes(bytes, 5), direct = viaSlot;
        ASSERT_EQ(CallSlot<int32_t>(t, 26, static_cast<void*>(nullptr), 0, static_cast<void*>(viaSlot.data()), 5, 3,
                                    int32_t(pitch), 0x80FF4020u),
                  TESSIVA_S_OK);
        expected.FillColorToBuffer(direct.data(), 5, 3, pitch, 0x80FF4020u);
        EXPECT_EQ(FirstDifference(viaSlot, direct), -1);
        ASSERT_EQ(CallSlot<int32_t>(t, 27, static_cast<void*>(nullptr), 0, static_cast<void*>(viaSlot.data()), 7,
                                    0x01020304u),
                  TESSIVA_S_OK);
        expected.FillColorToLine(direct.data(), 7, 0x01020304u);
        EXPECT_EQ(FirstDifference(viaSlot, direct), -1);
        t->DeletingDestructor(1);
    }
}

TEST(SlotDispatch, FillArgumentChecks) {
    Tessiva* t = new Tessiva();
    std::vector<uint8_t> buf = RandomBytes(256, 9);
    const std::vector<uint8_t> before = buf;
    void* q = nullptr;
    EXPECT_EQ(CallSlot<int32_t>(t, 26, q, 0, static_cast<void*>(nullptr), 4, 2, 16, 0u), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 26, q, 0, static_cast<void*>(buf.data()), -1, 2, 16, 0u), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 26, q, 0, static_cast<void*>(buf.data()), 4, -2, 16, 0u), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 26, q, 0, static_cast<void*>(buf.data()), 5, 2, 16, 0u), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 26, q, 3, static_cast<void*>(buf.data()), 4, 2, 16, 0u), TESSIVA_S_OK);
    EXPECT_EQ(CallSlot<int32_t>(t, 27, q, 0, static_cast<void*>(nullptr), 4, 0u), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 27, q, 0, static_cast<void*>(buf.data()), -4, 0u), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 27, q, 2, static_cast<void*>(buf.data()), 4, 0u), TESSIVA_S_OK);
    EXPECT_EQ(buf, before);
    t->DeletingDestructor(1);
}

}  // namespace
}  // namespace tessiva::test

namespace tessiva::test {
namespace {

TEST(SlotDispatch, StretchIsOpenCLOnly) {
    Tessiva* t = new Tessiva();
    std::vector<uint8_t> a = RandomBytes(64, 1), b = RandomBytes(64, 2);
    const std::vector<uint8_t> b0 = b;
    void* q = nullptr;
    auto stretch = [&](int32_t sk, void* s, int32_t dk, void* d) {
        return CallSlot<int32_t>(t, 40, q, sk, s, 4, 4, 16, dk, d, 2, 2, 8, 0u, 0u, 0u, 0u, 0u, 0u);
    };
    EXPECT_EQ(stretch(1, a.data(), 1, nullptr), TESSIVA_E_FAIL);
    EXPECT_EQ(stretch(0, a.data(), 0, b.data()), TESSIVA_E_NOTIMPL);
    EXPECT_EQ(stretch(1, a.data(), 0, b.data()), TESSIVA_E_NOTIMPL);
    EXPECT_EQ(b, b0);
    t->DeletingDestructor(1);
}

}  // namespace
}  // namespace tessiva::test
