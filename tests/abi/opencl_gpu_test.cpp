// Slot 2 on OpenCL memory as a host sees it: the host loads the system's
// OpenCL itself, makes its context, queue and buffers, and hands them to a
// converter obtained from the library's exports. Skipped without a device.
#include <gtest/gtest.h>

#include <memory>

#define CL_TARGET_OPENCL_VERSION 120
#include <CL/cl.h>

#include "opencl_standin/opencl_test_helpers.h"
#include "tessiva.h"

namespace tessiva::test {
namespace {

// The host's own OpenCL entry points, resolved by name from the system's
// loader, which stays loaded for the whole run as in a host that uses OpenCL.
struct HostOpenCL {
    void* module = nullptr;
#define HOST_CL(name) decltype(&::name) name = nullptr;
#define HOST_CL_ALL(X)                                                                                             \
    X(clGetPlatformIDs) X(clGetDeviceIDs) X(clCreateContext) X(clReleaseContext) X(clCreateCommandQueue)           \
        X(clReleaseCommandQueue) X(clCreateBuffer) X(clReleaseMemObject) X(clEnqueueReadBuffer)
    HOST_CL_ALL(HOST_CL)
#undef HOST_CL

    HostOpenCL() {
        module = KeepSystemOpenCLLoaded();
        if (!module) return;
#define HOST_CL(name) name = reinterpret_cast<decltype(&::name)>(SymbolOf(module, #name));
        HOST_CL_ALL(HOST_CL)
#undef HOST_CL
    }
    bool ok() const { return module && clGetPlatformIDs && clEnqueueReadBuffer; }
};

HostOpenCL& Host() {
    static HostOpenCL host;
    return host;
}

// Loaded before the first test, so that every converter of the run shares it.
class LoadOpenCLFirst : public testing::Environment {
public:
    void SetUp() override { Host(); }
};
testing::Environment* const loadFirst = testing::AddGlobalTestEnvironment(new LoadOpenCLFirst);

struct Release {
    void operator()(ITessiva* t) const { ReleaseTessiva(t); }
};

TEST(OpenCLHost, RGB32toYUV32OnHostBuffers) {
    HostOpenCL& cl = Host();
    if (!cl.ok()) GTEST_SKIP() << "no OpenCL loader";
    cl_platform_id platform = nullptr;
    cl_device_id device = nullptr;
    cl_uint n = 0;
    if (cl.clGetPlatformIDs(1, &platform, &n) != CL_SUCCESS || !n) GTEST_SKIP() << "no platform";
    if (cl.clGetDeviceIDs(platform, CL_DEVICE_TYPE_ALL, 1, &device, &n) != CL_SUCCESS || !n)
        GTEST_SKIP() << "no device";
    ScopedTempFolder temp;
    cl_int err = CL_SUCCESS;
    cl_context context = cl.clCreateContext(nullptr, 1, &device, nullptr, nullptr, &err);
    ASSERT_EQ(err, CL_SUCCESS);
    cl_command_queue queue = cl.clCreateCommandQueue(context, device, 0, &err);
    ASSERT_EQ(err, CL_SUCCESS);

    const int32_t width = 32, height = 6, pitch = width * 4;
    std::vector<uint8_t> rgb = RandomBytes(size_t(pitch) * height, 21);
    std::vector<uint8_t> yuv(rgb.size(), 0xEE);
    cl_mem src = cl.clCreateBuffer(context, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, rgb.size(), rgb.data(), &err);
    cl_mem dst = cl.clCreateBuffer(context, CL_MEM_READ_WRITE | CL_MEM_COPY_HOST_PTR, yuv.size(), yuv.data(), &err);

    std::unique_ptr<ITessiva, Release> t(GetTessiva());
    ASSERT_TRUE(t);
    std::vector<uint8_t> expected(rgb.size());
    ASSERT_EQ(t->RGB32toYUV32(nullptr, 0, rgb.data(), width, height, pitch, 0, expected.data(), width, height, pitch),
              TESSIVA_S_OK);
    // Without a context and device the GPU path has nothing to build for.
    EXPECT_EQ(t->RGB32toYUV32(queue, 1, src, width, height, pitch, 1, dst, width, height, pitch), TESSIVA_E_FAIL);
    t->SetOpenCLDevice(context, device);
    ASSERT_EQ(t->RGB32toYUV32(queue, 1, src, width, height, pitch, 1, dst, width, height, pitch), TESSIVA_S_OK);
    ASSERT_EQ(cl.clEnqueueReadBuffer(queue, dst, CL_TRUE, 0, yuv.size(), yuv.data(), 0, nullptr, nullptr),
              CL_SUCCESS);
    EXPECT_EQ(FirstDifference(yuv, expected), -1);
    t.reset();

    cl.clReleaseMemObject(src);
    cl.clReleaseMemObject(dst);
    cl.clReleaseCommandQueue(queue);
    cl.clReleaseContext(context);
}

}  // namespace
}  // namespace tessiva::test
