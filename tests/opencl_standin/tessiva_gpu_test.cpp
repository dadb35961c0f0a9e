// The version-1 GPU path of RGB32toYUV32 against the scripted stand-in: the
// calls, their arguments and order, lazy creation, failures and destruction.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "opencl/kernel_source.h"
#include "opencl/program_cache.h"
#include "opencl_standin/standin_fixture.h"

namespace tessiva::test {
namespace {

std::string EmbeddedFirstLine() {
    uint32_t size = 0;
    if (LoadKernelSource("ColorConvert.cl", "Tessiva", &size, nullptr) != 0) return "?";
    std::string text(size + 1, '\0');
    LoadKernelSource("ColorConvert.cl", "Tessiva", &size, &text[0]);
    return text.substr(0, text.find('\n'));
}

using GpuTest = StandinTest;

TEST_F(GpuTest, FirstCallBuildsCreatesAndLaunches) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    ASSERT_TRUE(gpu.converter->OpenCLReady());
    ASSERT_EQ(gpu.Run(16, 8, 64, 80), TESSIVA_S_OK);

    std::vector<std::string> expected = {
        "clGetDeviceInfo device#1 0x1000 size=8",
        "clGetDeviceInfo device#1 0x102c size=100",
        "clCreateProgramWithSource program#1 " + EmbeddedFirstLine(),
        "clBuildProgram program#1 devices=0 options=null notify=null ok",
        "clCreateKernel RGB32toYUV32 ok kernel#1",
    };
    for (const std::string& call : LaunchCalls("RGB32toYUV32", 16, 8, 16, 20, "queue#1", "event#1", 128))
        expected.push_back(call);
    EXPECT_EQ(s.Log(), expected);
    EXPECT_EQ(gpu.converter->VendorClass(), uint32_t(kVendorOther));
    EXPECT_NE(gpu.converter->Program(), nullptr);
    EXPECT_NE(gpu.converter->Kernel(Tessiva::kKernelRGB32toYUV32), nullptr);
    EXPECT_EQ(s.LiveObjects("event"), 0);
}

TEST_F(GpuTest, LaterCallsReuseProgramAndKernel) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    ASSERT_EQ(gpu.Run(16, 8, 64, 64), TESSIVA_S_OK);
    s.ClearLog();
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Log(), LaunchCalls("RGB32toYUV32", 4, 2, 4, 4, "queue#1", "event#2", 8));
    EXPECT_EQ(s.LiveObjects("program"), 1);
    EXPECT_EQ(s.LiveObjects("kernel"), 1);
}

TEST_F(GpuTest, PitchesArriveInPixelsTruncated) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    ASSERT_EQ(gpu.Run(1920, 1080, 7680, 7683), TESSIVA_S_OK);
    const auto launch = s.Calls("clSetKernelArg");
    ASSERT_EQ(launch.size(), 6u);
    EXPECT_EQ(launch[2], "clSetKernelArg RGB32toYUV32 2 size=4 1920");
    EXPECT_EQ(launch[3], "clSetKernelArg RGB32toYUV32 3 size=4 1080");
    EXPECT_EQ(launch[4], "clSetKernelArg RGB32toYUV32 4 size=4 1920");
    EXPECT_EQ(launch[5], "clSetKernelArg RGB32toYUV32 5 size=4 1920");
    EXPECT_EQ(s.Calls("clEnqueueNDRangeKernel").at(0),
              "clEnqueueNDRangeKernel RGB32toYUV32 queue#1 dim=1 offset=null global=2073600 local=null wait=0 "
              "event#1");
}

TEST_F(GpuTest, ArgumentChecksComeBeforeOpenCL) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    Tessiva& t = *gpu.converter;
    // Sizes first, then kinds; unknown kinds do nothing.
    EXPECT_EQ(t.RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 5, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(t.RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 3, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(t.RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 0, gpu.dst, 5, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(t.RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 0, gpu.dst, 4, 2, 16), TESSIVA_E_NOTIMPL);
    EXPECT_EQ(t.RGB32toYUV32(gpu.queue, 2, gpu.src, 4, 2, 16, 2, gpu.dst, 4, 2, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.LogText(), "");
    EXPECT_EQ(t.Program(), nullptr);
}

TEST_F(GpuTest, OtherSlotsHaveNoGpuPathYet) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    EXPECT_EQ(gpu.converter->YUV32toRGB32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(s.LogText(), "");
}

TEST_F(GpuTest, NoDeviceGivesNoProgramUntilOneIsSet) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    TessivaPtr t = NewTessiva();
    t->SetOpenCLDevice(gpu.context, nullptr);
    s.ClearLog();
    EXPECT_EQ(t->RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(s.LogText(), "");
    // A null context keeps the stored one; the device arrives separately.
    t->SetOpenCLDevice(nullptr, gpu.device);
    EXPECT_EQ(t->Context(), gpu.context);
    EXPECT_EQ(t->RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Count("clEnqueueNDRangeKernel RGB32toYUV32"), 1u);
}

TEST_F(GpuTest, FailedBuildIsRetriedOnTheNextCall) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    s.SetOption("FailBuilds", 1);
    EXPECT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_E_FAIL);
    EXPECT_EQ(s.Count("clBuildProgram"), 1u);
    EXPECT_EQ(s.Count("clCreateKernel"), 0u);
    EXPECT_EQ(s.Count("clEnqueueNDRangeKernel"), 0u);
    EXPECT_EQ(gpu.converter->Program(), nullptr);
    EXPECT_EQ(s.LiveObjects("program"), 0);  // the failed source program is not kept

    s.SetOption("FailBuilds", 0);
    s.ClearLog();
    EXPECT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Count("clBuildProgram"), 1u);
    EXPECT_EQ(s.Count("clEnqueueNDRangeKernel RGB32toYUV32"), 1u);
}

TEST_F(GpuTest, MissingKernelAnswersZeroLaunchesNothingAndIsAskedForAgain) {
    Standin& s = Load();
    // A source file that builds but has no RGB32toYUV32.
    WriteFileBytes(Temp() + "kernels" + kSeparator + "OpenCLFolder" + kSeparator + "ColorConvert.cl",
                   "// other kernels\n__kernel void Something(__global int* p) { p[0] = 1; }\n");
    StandinGpu gpu(s, "Standin Vendor");
    const std::u16string folder = platform::Widen(Temp() + "kernels") + u"\\";
    ASSERT_EQ(gpu.converter->SetKernelSourceFolder(reinterpret_cast<const TessivaChar16*>(folder.c_str())), 0);
    EXPECT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(gpu.converter->Kernel(Tessiva::kKernelRGB32toYUV32), nullptr);
    // Nothing is launched with a null kernel.
    EXPECT_EQ(s.Log().back(), "clCreateKernel RGB32toYUV32 failed");
    s.ClearLog();
    EXPECT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Log(), std::vector<std::string>{"clCreateKernel RGB32toYUV32 failed"});
}

TEST_F(GpuTest, DestructionReleasesKernelsBeforeTheProgramThenTheLoader) {
    Standin& s = Load();
    {
        StandinGpu gpu(s, "Standin Vendor");
        ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
        s.ClearLog();
        gpu.converter.reset();
        EXPECT_EQ(s.Log(), (std::vector<std::string>{"clReleaseKernel kernel#1 RGB32toYUV32",
                                                      "clReleaseProgram program#1"}));
        EXPECT_EQ(s.LiveObjects("kernel"), 0);
        EXPECT_EQ(s.LiveObjects("program"), 0);
    }
    // The fixture's TearDown checks that the loader was unloaded by everyone.
}

TEST_F(GpuTest, NotReadyFailsAndLeavesTheLock) {
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    SetEnv("DetectOpenCL", "2");
    TessivaPtr t = NewTessiva();
    SetEnv("DetectOpenCL", nullptr);
    ASSERT_FALSE(t->OpenCLReady());
    t->SetOpenCLDevice(gpu.context, gpu.device);
    EXPECT_EQ(t->RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16), TESSIVA_E_FAIL);

    // Another thread must be able to take the lock.
    std::atomic<bool> done{false};
    std::atomic<TessivaResult> result{1};
    std::thread other([&] {
        result = t->RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16);
        done = true;
    });
    for (int i = 0; i < 500 && !done; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(done) << "the object lock was kept";
    other.join();
    EXPECT_EQ(result, TESSIVA_E_FAIL);
    EXPECT_EQ(s.LogText(), "");
}

}  // namespace
}  // namespace tessiva::test
