// Version-1 slots called through the raw function table of an object obtained
// from the exported factory, as a host compiled elsewhere would call them.
#include <gtest/gtest.h>

#include <thread>

#include "support/test_support.h"
#include "tessiva.h"

namespace tessiva::test {
namespace {

constexpr int kRGB32toYUV32 = 2, kYUV32toRGB32 = 3, kInvertRGB32toYUV32 = 10, kInvertYUV32toRGB32 = 11;
constexpr int kSetOpenCLDevice = 0, kSetKernelSourceFolder = 1, kDeletingDestructor = 41;

int32_t TwoImage(ITessiva* t, int slot, int32_t sk, void* s, int32_t sw, int32_t sh, int32_t sp, int32_t dk, void* d,
                 int32_t dw, int32_t dh, int32_t dpitch) {
    return CallSlot<int32_t>(t, slot, static_cast<void*>(nullptr), sk, s, sw, sh, sp, dk, d, dw, dh, dpitch);
}

// Scalar BT.601 arithmetic, written out independently of the library.
void RgbToYuv(const uint8_t* p, uint8_t* q) {
    const int b = p[0], g = p[1], r = p[2];
    q[0] = uint8_t((1798 * r - 1507 * g - 291 * b + 526336) >> 12);
    q[1] = uint8_t((-606 * r - 1192 * g + 1798 * b + 526336) >> 12);
    q[2] = uint8_t((1053 * r + 2064 * g + 401 * b + 67584) >> 12);
    q[3] = p[3];
}
uint8_t Clamp(int v) { return uint8_t(v < 0 ? 0 : v > 255 ? 255 : v); }
void YuvToRgb(const uint8_t* p, uint8_t* q, int blue) {
    const int l = 4768 * (p[2] - 16) + 2048, u = p[1] - 128, v = p[0] - 128;
    q[0] = Clamp((l + blue * u) >> 12);
    q[1] = Clamp((l - 1602 * u - 3330 * v) >> 12);
    q[2] = Clamp((l + 6537 * v) >> 12);
    q[3] = p[3];
}

class InterfaceV1 : public ::testing::Test {
protected:
    // The baseline level, so that the expected values below hold on any processor.
    ScopedInstructionCap cap_{0};
    ITessiva* t_ = GetTessiva();
    void TearDown() override { EXPECT_EQ(ReleaseTessiva(t_), 0); }

    std::vector<uint8_t> Convert(int slot, const std::vector<uint8_t>& pixels) {
        std::vector<uint8_t> in = pixels, out(pixels.size(), 0xEE);
        const int32_t w = int32_t(pixels.size() / 4);
        EXPECT_EQ(TwoImage(t_, slot, 0, in.data(), w, 1, w * 4, 0, out.data(), w, 1, w * 4), 0);
        return out;
    }
};

TEST_F(InterfaceV1, ColourArithmeticAtBaseline) {
    ASSERT_NE(t_, nullptr);
    // Black, white and red, each with its own alpha; two pixels per pair.
    const std::vector<uint8_t> rgb = {0, 0, 0, 0x7F, 255, 255, 255, 0x00, 0, 0, 255, 0xA5, 0, 0, 255, 0xFF};
    EXPECT_EQ(Convert(kRGB32toYUV32, rgb),
              (std::vector<uint8_t>{128, 128, 16, 0x7F, 128, 128, 235, 0x00, 240, 90, 82, 0xA5, 240, 90, 82, 0xFF}));

    // YUV (16,128,128) is black, (235,128,128) white, Y = 0 clamps to 0; blue factor 8265 gives 56.
    EXPECT_EQ(Convert(kYUV32toRGB32, {128, 128, 16, 1, 128, 128, 235, 2, 128, 128, 0, 3, 128, 156, 16, 4}),
              (std::vector<uint8_t>{0, 0, 0, 1, 255, 255, 255, 2, 0, 0, 0, 3, 56, 0, 0, 4}));
}

// Whole allocations compared, guards included: only the destination's pixels change.
TEST_F(InterfaceV1, SlotsMatchReferenceAndRowOrders) {
    for (int slot : {kRGB32toYUV32, kYUV32toRGB32, kInvertRGB32toYUV32, kInvertYUV32toRGB32}) {
        for (int32_t w : {2, 4, 6, 38}) {
            for (int32_t h : {1, 2, 5}) {
                const int32_t sp = w * 4 + 12, dp = w * 4 + 20;
                GuardedBuffer src(size_t(sp) * h, 100 + w * 7 + h), dst(size_t(dp) * h, 200 + w + h * 3);
                std::vector<uint8_t> expected = dst.all();
                const bool flipSrc = slot == kInvertRGB32toYUV32, flipDst = slot == kInvertYUV32toRGB32;
                for (int32_t y = 0; y < h; ++y) {
                    const uint8_t* s = src.data() + size_t(flipSrc ? h - 1 - y : y) * sp;
                    uint8_t* d = expected.data() + dst.guard() + size_t(flipDst ? h - 1 - y : y) * dp;
                    for (int32_t x = 0; x < w; ++x) {
                        if (slot == kRGB32toYUV32 || slot == kInvertRGB32toYUV32)
                            RgbToYuv(s + 4 * x, d + 4 * x);
                        else
                            YuvToRgb(s + 4 * x, d + 4 * x, 8265);
                    }
                }
                const std::vector<uint8_t> srcBefore = src.all();
                ASSERT_EQ(TwoImage(t_, slot, 0, src.data(), w, h, sp, 0, dst.data(), w, h, dp), 0);
                EXPECT_EQ(FirstDifference(dst.all(), expected), -1) << "slot " << slot << " w " << w << " h " << h;
                EXPECT_EQ(src.all(), srcBefore);
            }
        }
    }
}

// At the baseline an odd width converts floor(W / 2) pairs and every next row
// starts one pixel further left; only the bytes so addressed change.
TEST_F(InterfaceV1, BaselineOddWidthShiftsRows) {
    const int32_t w = 3, h = 3, pitch = 16;
    GuardedBuffer src(size_t(pitch) * h, 1), dst(size_t(pitch) * h, 2);
    std::vector<uint8_t> expected = dst.all();
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < 2; ++x) {
            const size_t at = size_t(y) * pitch - size_t(y) * 4 + size_t(x) * 4;
            RgbToYuv(src.data() + at, expected.data() + dst.guard() + at);
        }
    ASSERT_EQ(TwoImage(t_, kRGB32toYUV32, 0, src.data(), w, h, pitch, 0, dst.data(), w, h, pitch), 0);
    EXPECT_EQ(FirstDifference(dst.all(), expected), -1);
}

TEST_F(InterfaceV1, PreambleOrderAndKinds) {
    GuardedBuffer a(64, 3), b(64, 4);
    const std::vector<uint8_t> before = b.all();
    // Sizes are tested before kinds.
    EXPECT_EQ(TwoImage(t_, kRGB32toYUV32, 0, a.data(), 4, 2, 16, 1, b.data(), 2, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(TwoImage(t_, kRGB32toYUV32, 0, a.data(), 4, 2, 16, 1, b.data(), 4, 3, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(TwoImage(t_, kRGB32toYUV32, 0, a.data(), 4, 2, 16, 1, b.data(), 4, 2, 16), TESSIVA_E_NOTIMPL);
    EXPECT_EQ(TwoImage(t_, kRGB32toYUV32, 1, a.data(), 4, 2, 16, 0, b.data(), 4, 2, 16), TESSIVA_E_NOTIMPL);
    // Unknown kinds: nothing to do.
    EXPECT_EQ(TwoImage(t_, kYUV32toRGB32, 2, a.data(), 4, 2, 16, 2, b.data(), 4, 2, 16), TESSIVA_S_OK);
    // Null host buffers never reach a routine.
    EXPECT_EQ(TwoImage(t_, kRGB32toYUV32, 0, nullptr, 4, 2, 16, 0, b.data(), 4, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(TwoImage(t_, kRGB32toYUV32, 0, a.data(), 4, 2, 16, 0, nullptr, 4, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(b.all(), before);
}

TEST_F(InterfaceV1, OpenCLPathWithoutRuntimeFailsAndReleasesLock) {
    SetEnv("DetectOpenCL", "2");
    ITessiva* t = GetTessiva();
    SetEnv("DetectOpenCL", nullptr);
    ASSERT_NE(t, nullptr);
    int dummy = 0;
    EXPECT_EQ(TwoImage(t, kRGB32toYUV32, 1, &dummy, 4, 2, 16, 1, &dummy, 4, 2, 16), TESSIVA_E_FAIL);
    // Another thread gets through the lock: the failing call left it.
    int32_t fromThread = 0;
    std::thread([&] { fromThread = TwoImage(t, kYUV32toRGB32, 1, &dummy, 4, 2, 16, 1, &dummy, 4, 2, 16); }).join();
    EXPECT_EQ(fromThread, TESSIVA_E_FAIL);
    EXPECT_EQ(ReleaseTessiva(t), 0);
}

TEST_F(InterfaceV1, SettersAndLifecycle) {
    // SetOpenCLDevice returns nothing and takes nulls as "keep".
    CallSlot<void>(t_, kSetOpenCLDevice, reinterpret_cast<void*>(0x10), static_cast<void*>(nullptr));
    CallSlot<void>(t_, kSetOpenCLDevice, static_cast<void*>(nullptr), reinterpret_cast<void*>(0x20));
    const TessivaChar16 folder[] = {'C', ':', '\\', 'k', '\\', 0};
    EXPECT_EQ(CallSlot<int32_t>(t_, kSetKernelSourceFolder, folder), 0);
    // 260 units with the terminator fit; one more is refused without overrunning.
    std::vector<TessivaChar16> longest(260, 'b');
    longest.back() = 0;
    EXPECT_EQ(CallSlot<int32_t>(t_, kSetKernelSourceFolder, longest.data()), 0);
    std::vector<TessivaChar16> tooLong(261, 'a');
    tooLong.back() = 0;
    EXPECT_EQ(CallSlot<int32_t>(t_, kSetKernelSourceFolder, tooLong.data()), 34);
    EXPECT_EQ(CallSlot<int32_t>(t_, kSetKernelSourceFolder, static_cast<const TessivaChar16*>(nullptr)), 22);

    // Release through the exports; null is ignored. Slot 41 with flag 0 destroys without freeing.
    EXPECT_EQ(ReleaseTessiva(nullptr), 0);
    EXPECT_EQ(ReleaseTessiva2(nullptr), 0);
    ITessiva* other = GetTessiva();
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(CallSlot<void*>(other, kDeletingDestructor, 0u), static_cast<void*>(other));
    ::operator delete(other);
}

TEST(InterfaceV2, LifecycleWithoutMemoryManager) {
    ITessiva2* t = GetTessiva2();
    ASSERT_NE(t, nullptr);
    // No KorvMemMgr beside the library: the object works, the refresh fails every time.
    EXPECT_EQ(GetUpdateKorvMemMgrState(t), TESSIVA_E_FAIL);
    EXPECT_EQ(CallSlot<int32_t>(t, 36), TESSIVA_E_FAIL);
    const TessivaChar16 folder[] = {'x', '\\', 0};
    EXPECT_EQ(CallSlot<int32_t>(t, 0, folder), 0);
    EXPECT_EQ(ReleaseTessiva2(t), 0);
}

}  // namespace
}  // namespace tessiva::test
