// RGB32toYUV32 of the version-1 converter on a real OpenCL device (PoCL on the
// build machines, natively and under Wine): the bytes, the program cache and
// the "DetectOpenCL" veto. Skipped where no OpenCL device exists.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "convert/color.h"
#include "cpu/routine_table.h"
#include "interface/tessiva_v1.h"
#include "opencl/program_cache.h"
#include "opencl_standin/opencl_test_helpers.h"

namespace tessiva::test {
namespace {

// The system's loader is loaded before the first test and kept, as in a host.
class LoadOpenCLFirst : public testing::Environment {
public:
    void SetUp() override { KeepSystemOpenCLLoaded(); }
};
testing::Environment* const loadFirst = testing::AddGlobalTestEnvironment(new LoadOpenCLFirst);

struct TessivaDeleter {
    void operator()(Tessiva* t) const { t->DeletingDestructor(1); }
};
using TessivaPtr = std::unique_ptr<Tessiva, TessivaDeleter>;

// The first OpenCL device of the system with a context, a queue and the
// test's own binding to make buffers.
class OpenCLDeviceTest : public testing::Test {
protected:
    void SetUp() override {
        SetEnv("DetectOpenCL", nullptr);
        ASSERT_TRUE(PreloadTessivaLibrary(ExeFolder()));
        temp_ = std::make_unique<ScopedTempFolder>();
        cl_.Init();
        cl_.Load();
        if (!cl_.IsReady()) GTEST_SKIP() << "no OpenCL loader";
        const OpenCLEntryPoints& api = cl_.Entries();
        cl_platform_id platform = nullptr;
        cl_uint count = 0;
        if (api.clGetPlatformIDs(1, &platform, &count) != CL_SUCCESS || count == 0) GTEST_SKIP() << "no platform";
        if (api.clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device_, &count) != CL_SUCCESS || count == 0)
            GTEST_SKIP() << "no device";
        cl_int err = CL_SUCCESS;
        context_ = api.clCreateContext(nullptr, 1, &device_, nullptr, nullptr, &err);
        ASSERT_EQ(err, CL_SUCCESS);
        queue_ = api.clCreateCommandQueue(context_, device_, 0, &err);
        ASSERT_EQ(err, CL_SUCCESS);
        char vendor[256] = {};
        api.clGetDeviceInfo(device_, CL_DEVICE_VENDOR, sizeof vendor - 1, vendor, nullptr);
        vendor_ = vendor;
    }
    void TearDown() override {
        const OpenCLEntryPoints& api = cl_.Entries();
        for (cl_mem m : buffers_) api.clReleaseMemObject(m);
        if (queue_) api.clReleaseCommandQueue(queue_);
        if (context_) api.clReleaseContext(context_);
        cl_.Unload();
        temp_.reset();
    }

    cl_mem Buffer(const std::vector<uint8_t>& bytes) {
        cl_int err = CL_SUCCESS;
        cl_mem m = cl_.CreateBuffer(context_, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, bytes.size(),
                                    const_cast<uint8_t*>(bytes.data()), &err);
        EXPECT_EQ(err, CL_SUCCESS);
        buffers_.push_back(m);
        return m;
    }
    std::vector<uint8_t> Read(cl_mem m, size_t size) {
        std::vector<uint8_t> bytes(size);
        EXPECT_EQ(cl_.Entries().clEnqueueReadBuffer(queue_, m, CL_TRUE, 0, size, bytes.data(), 0, nullptr, nullptr),
                  CL_SUCCESS);
        return bytes;
    }
    TessivaPtr Converter() {
        TessivaPtr t(new Tessiva());
        t->SetOpenCLDevice(context_, device_);
        return t;
    }
    std::string CacheFolder(const Tessiva& t) const {
        std::string name = platform::Narrow(t.CacheFolderName());
        for (char& c : name)
            if (c == '\\') c = kSeparator;
        return temp_->path() + name;
    }

    OpenCLLibrary cl_;
    std::unique_ptr<ScopedTempFolder> temp_;
    cl_device_id device_ = nullptr;
    cl_context context_ = nullptr;
    cl_command_queue queue_ = nullptr;
    std::vector<cl_mem> buffers_;
    std::string vendor_;
};

// An RGB32 frame and the YUV32 frame that the 12-bit formulas make of it.
// Pitches are wider than the lines: their tails must stay as they were.
struct Frames {
    static constexpr int32_t kWidth = 96, kHeight = 40;
    static constexpr int32_t kSrcPitch = kWidth * 4 + 16, kDstPitch = kWidth * 4 + 36;
    std::vector<uint8_t> rgb = RandomBytes(size_t(kSrcPitch) * kHeight, 11);
    std::vector<uint8_t> dstBefore = RandomBytes(size_t(kDstPitch) * kHeight, 12);
    std::vector<uint8_t> Expected() const {
        std::vector<uint8_t> out = dstBefore;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const uint8_t* s = &rgb[size_t(y) * kSrcPitch + size_t(x) * 4];
                uint8_t* d = &out[size_t(y) * kDstPitch + size_t(x) * 4];
                d[0] = color::VOf(s[2], s[1], s[0]);
                d[1] = color::UOf(s[2], s[1], s[0]);
                d[2] = color::LumaOf(s[2], s[1], s[0]);
                d[3] = s[3];
            }
        return out;
    }
};

TEST_F(OpenCLDeviceTest, RGB32toYUV32MatchesTheProcessorAndCachesTheBinary) {
    Frames f;
    cl_mem src = Buffer(f.rgb);
    cl_mem dst = Buffer(f.dstBefore);
    const std::vector<uint8_t> expected = f.Expected();

    // The processor path of the same slot agrees with the formulas.
    {
        TessivaPtr t = Converter();
        std::vector<uint8_t> host = f.dstBefore;
        ASSERT_EQ(t->RGB32toYUV32(nullptr, 0, f.rgb.data(), f.kWidth, f.kHeight, f.kSrcPitch, 0, host.data(),
                                  f.kWidth, f.kHeight, f.kDstPitch),
                  TESSIVA_S_OK);
        ASSERT_EQ(FirstDifference(host, expected), -1);
    }

    // First object: no cache yet, the program is compiled from the embedded source.
    TessivaPtr first = Converter();
    ASSERT_TRUE(first->OpenCLReady());
    const std::string folder = CacheFolder(*first);
    const VendorCode code = ClassifyVendor(vendor_.c_str());
    const char* extension = CacheExtension(code);
    const std::string cacheFile = folder + "ColorConvert." + (extension ? extension : "bin");
    ASSERT_FALSE(FileExists(cacheFile));
    auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(first->RGB32toYUV32(queue_, 1, src, f.kWidth, f.kHeight, f.kSrcPitch, 1, dst, f.kWidth, f.kHeight,
                                  f.kDstPitch),
              TESSIVA_S_OK);
    const auto fromSource = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(FirstDifference(Read(dst, f.dstBefore.size()), expected), -1);
    EXPECT_EQ(first->VendorClass(), uint32_t(code)) << "vendor \"" << vendor_ << "\"";
    RecordProperty("vendor", vendor_);
    if (!extension) {
        // Families 2 and 4 cache nothing.
        EXPECT_FALSE(FileExists(folder + "ColorConvert.bin"));
        EXPECT_FALSE(FileExists(folder + "ColorConvert.ptx"));
        return;
    }
    ASSERT_TRUE(FileExists(cacheFile)) << cacheFile;
    const std::string binary = ReadFileBytes(cacheFile);
    EXPECT_FALSE(binary.empty());
    const auto written = std::filesystem::last_write_time(cacheFile);
    first.reset();

    // Second object: built from the cached binary, faster, same bytes, and
    // the file is left as it is.
    TessivaPtr second = Converter();
    const std::vector<uint8_t> cleared = RandomBytes(f.dstBefore.size(), 13);
    cl_mem dst2 = Buffer(cleared);
    start = std::chrono::steady_clock::now();
    ASSERT_EQ(second->RGB32toYUV32(queue_, 1, src, f.kWidth, f.kHeight, f.kSrcPitch, 1, dst2, f.kWidth, f.kHeight,
                                   f.kDstPitch),
              TESSIVA_S_OK);
    const auto fromBinary = std::chrono::steady_clock::now() - start;
    std::vector<uint8_t> expected2 = expected;
    for (int y = 0; y < f.kHeight; ++y)  // the pitch tails of this buffer
        for (int i = f.kWidth * 4; i < f.kDstPitch; ++i)
            expected2[size_t(y) * f.kDstPitch + size_t(i)] = cleared[size_t(y) * f.kDstPitch + size_t(i)];
    EXPECT_EQ(FirstDifference(Read(dst2, cleared.size()), expected2), -1);
    EXPECT_EQ(ReadFileBytes(cacheFile), binary);
    EXPECT_EQ(std::filesystem::last_write_time(cacheFile), written);
    const auto ms = [](auto d) { return std::chrono::duration_cast<std::chrono::milliseconds>(d).count(); };
    RecordProperty("first_call_from_source_ms", std::to_string(ms(fromSource)));
    RecordProperty("first_call_from_binary_ms", std::to_string(ms(fromBinary)));
    EXPECT_LT(fromBinary, fromSource) << "source " << ms(fromSource) << " ms, binary " << ms(fromBinary) << " ms";
}

TEST_F(OpenCLDeviceTest, MissingKernelAnswersZeroAndLeavesTheDestination) {
    // A kernel folder whose source builds but lacks RGB32toYUV32: every launch
    // step gets a null kernel, which the OpenCL runtime refuses.
    const std::string folder = temp_->path() + "kernels" + kSeparator;
    WriteFileBytes(folder + "OpenCLFolder" + kSeparator + "ColorConvert.cl",
                   "__kernel void Other(__global int* p) { p[0] = 1; }\n");
    Frames f;
    cl_mem src = Buffer(f.rgb);
    cl_mem dst = Buffer(f.dstBefore);
    TessivaPtr t = Converter();
    const std::u16string wide = platform::Widen(folder);
    ASSERT_EQ(t->SetKernelSourceFolder(reinterpret_cast<const TessivaChar16*>(wide.c_str())), 0);
    EXPECT_EQ(t->RGB32toYUV32(queue_, 1, src, f.kWidth, f.kHeight, f.kSrcPitch, 1, dst, f.kWidth, f.kHeight,
                              f.kDstPitch),
              TESSIVA_S_OK);
    EXPECT_NE(t->Program(), nullptr);
    EXPECT_EQ(t->Kernel(Tessiva::kKernelRGB32toYUV32), nullptr);
    EXPECT_EQ(FirstDifference(Read(dst, f.dstBefore.size()), f.dstBefore), -1);
    // Built from the disk file: nothing cached.
    EXPECT_FALSE(FileExists(CacheFolder(*t) + "ColorConvert.bin"));
}

TEST_F(OpenCLDeviceTest, DetectOpenCLTwoTurnsTheGpuPathOff) {
    Frames f;
    cl_mem src = Buffer(f.rgb);
    cl_mem dst = Buffer(f.dstBefore);
    SetEnv("DetectOpenCL", "2");
    TessivaPtr t = Converter();
    SetEnv("DetectOpenCL", nullptr);
    EXPECT_FALSE(t->OpenCLReady());
    EXPECT_EQ(t->RGB32toYUV32(queue_, 1, src, f.kWidth, f.kHeight, f.kSrcPitch, 1, dst, f.kWidth, f.kHeight,
                              f.kDstPitch),
              TESSIVA_E_FAIL);
    EXPECT_EQ(FirstDifference(Read(dst, f.dstBefore.size()), f.dstBefore), -1);
}

}  // namespace
}  // namespace tessiva::test

namespace tessiva::test {
namespace {

// The flip runs as line copies and InvertRGB32toYUV32 as the flip into the
// object's scratch buffer followed by the RGB32toYUV32 kernel; both give the
// bytes of their host-memory paths, pitch padding untouched.
TEST_F(OpenCLDeviceTest, FlipAndComposedInvertMatchTheHostPaths) {
    Frames f;
    TessivaPtr t = Converter();
    ASSERT_TRUE(t->OpenCLReady());
    using Slot = TessivaResult (TESSIVA_CALL Tessiva::*)(void*, int32_t, void*, int32_t, int32_t, int32_t, int32_t,
                                                         void*, int32_t, int32_t, int32_t);
    for (Slot slot : {Slot(&Tessiva::InvertRGB32toRGB32), Slot(&Tessiva::InvertRGB32toYUV32)}) {
        std::vector<uint8_t> host = f.dstBefore;
        ASSERT_EQ(((*t).*slot)(nullptr, 0, f.rgb.data(), f.kWidth, f.kHeight, f.kSrcPitch, 0, host.data(), f.kWidth,
                               f.kHeight, f.kDstPitch),
                  TESSIVA_S_OK);
        cl_mem src = Buffer(f.rgb);
        cl_mem dst = Buffer(f.dstBefore);
        ASSERT_EQ(((*t).*slot)(queue_, 1, src, f.kWidth, f.kHeight, f.kSrcPitch, 1, dst, f.kWidth, f.kHeight,
                               f.kDstPitch),
                  TESSIVA_S_OK);
        EXPECT_EQ(FirstDifference(Read(dst, f.dstBefore.size()), host), -1);
        EXPECT_EQ(FirstDifference(Read(src, f.rgb.size()), f.rgb), -1);
    }
    // Slots whose kernels are not in the program yet answer E_FAIL on OpenCL buffers.
    cl_mem a = Buffer(f.rgb);
    cl_mem b = Buffer(f.dstBefore);
    EXPECT_EQ(t->YUV32toRGB32(queue_, 1, a, f.kWidth, f.kHeight, f.kSrcPitch, 1, b, f.kWidth, f.kHeight, f.kDstPitch),
              TESSIVA_E_FAIL);
}

}  // namespace
}  // namespace tessiva::test
