// Fixture of the stand-in tests: loads a build of the scripted OpenCL stand-in
// by path before the code under test loads "OpenCL.dll" by name (which then
// resolves to the module already loaded), and checks afterwards that nothing
// kept the loader loaded.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "interface/tessiva_v1.h"
#include "opencl/opencl_library.h"
#include "opencl_standin/opencl_test_helpers.h"
#include "opencl_standin/standin_control.h"

namespace tessiva::test {

// One loaded stand-in build: the default one beside the test executable, or a
// variant from its subfolder (no_image3d: lacks clCreateImage3D; no_svm_fill:
// lacks clEnqueueSVMMemFill).
class Standin {
public:
    explicit Standin(const std::string& variant = "") {
        const std::string folder = variant.empty() ? ExeFolder() : ExeFolder() + variant + kSeparator;
        handle_ = LoadByPath(folder + OpenCLLoaderFile());
        if (!handle_) return;
        Reset = reinterpret_cast<StandinResetFn>(SymbolOf(handle_, "StandinReset"));
        AddPlatform = reinterpret_cast<StandinAddPlatformFn>(SymbolOf(handle_, "StandinAddPlatform"));
        addDevice_ = reinterpret_cast<StandinAddDeviceFn>(SymbolOf(handle_, "StandinAddDevice"));
        SetOption = reinterpret_cast<StandinSetOptionFn>(SymbolOf(handle_, "StandinSetOption"));
        log_ = reinterpret_cast<StandinLogFn>(SymbolOf(handle_, "StandinLog"));
        ClearLog = reinterpret_cast<StandinClearLogFn>(SymbolOf(handle_, "StandinClearLog"));
        LiveObjects = reinterpret_cast<StandinLiveObjectsFn>(SymbolOf(handle_, "StandinLiveObjects"));
    }
    ~Standin() {
        if (handle_) UnloadHandle(handle_);
    }
    Standin(const Standin&) = delete;
    Standin& operator=(const Standin&) = delete;

    bool ok() const { return handle_ && Reset && AddPlatform && addDevice_ && SetOption && log_ && ClearLog && LiveObjects; }

    cl_device_id AddDevice(int platform, cl_device_type type, const char* vendor, const char* version) {
        return static_cast<cl_device_id>(addDevice_(platform, type, vendor, version));
    }
    std::string LogText() const { return log_(); }
    std::vector<std::string> Log() const {
        std::vector<std::string> lines;
        std::string text = log_();
        for (size_t at = 0; at < text.size();) {
            const size_t end = text.find('\n', at);
            lines.push_back(text.substr(at, end - at));
            at = end + 1;
        }
        return lines;
    }
    // Lines of the log that start with `prefix`.
    std::vector<std::string> Calls(const std::string& prefix) const {
        std::vector<std::string> out;
        for (const std::string& line : Log())
            if (line.compare(0, prefix.size(), prefix) == 0) out.push_back(line);
        return out;
    }
    size_t Count(const std::string& prefix) const { return Calls(prefix).size(); }

    StandinResetFn Reset = nullptr;
    StandinAddPlatformFn AddPlatform = nullptr;
    StandinSetOptionFn SetOption = nullptr;
    StandinClearLogFn ClearLog = nullptr;
    StandinLiveObjectsFn LiveObjects = nullptr;

private:
    void* handle_ = nullptr;
    StandinAddDeviceFn addDevice_ = nullptr;
    StandinLogFn log_ = nullptr;
};

// An OpenCLLibrary that is initialised, loaded on request and unloaded when it
// goes, as a converter does with its own.
struct Binding {
    Binding() { cl.Init(); }
    ~Binding() { cl.Unload(); }
    OpenCLLibrary cl;
};

// A version-1 converter, released through its deleting destructor.
struct TessivaDeleter {
    void operator()(Tessiva* t) const { t->DeletingDestructor(1); }
};
using TessivaPtr = std::unique_ptr<Tessiva, TessivaDeleter>;
inline TessivaPtr NewTessiva() { return TessivaPtr(new Tessiva()); }

class StandinTest : public testing::Test {
protected:
    // Loads the stand-in build `variant` (see Standin) and resets it when
    // `reset`, so that the test adds its own platforms.
    Standin& Load(const std::string& variant = "", bool reset = true) {
        standin_ = std::make_unique<Standin>(variant);
        // Nothing of a test can run without it: stop the test here.
        if (!standin_->ok()) throw std::runtime_error("stand-in '" + variant + "' not loaded");
        if (reset) standin_->Reset();
        return *standin_;
    }
    void SetUp() override {
        SetEnv("DetectOpenCL", nullptr);
        temp_ = std::make_unique<ScopedTempFolder>();
        EXPECT_FALSE(OpenCLLoaderLoaded()) << "an OpenCL loader is still loaded";
    }
    void TearDown() override {
        standin_.reset();
        EXPECT_FALSE(OpenCLLoaderLoaded()) << "the OpenCL loader was not freed";
        temp_.reset();
        SetEnv("DetectOpenCL", nullptr);
    }

    // The private temporary folder of the test, ending in a separator.
    const std::string& Temp() const { return temp_->path(); }

    std::unique_ptr<ScopedTempFolder> temp_;
    std::unique_ptr<Standin> standin_;
    ScopedMemMgrSwitches noSwitches_{{}};
};

}  // namespace tessiva::test

namespace tessiva::test {

// A context, a queue and two buffers made through the stand-in for one GPU of
// vendor `vendor`, and a converter set to that context and device. The log is
// cleared once everything is in place.
struct StandinGpu {
    StandinGpu(Standin& standin, const char* vendor, size_t srcBytes = 4096, size_t dstBytes = 4096)
        : s(standin) {
        s.Reset();
        const int p = s.AddPlatform("Standin Platform", "OpenCL 1.2 Standin");
        device = s.AddDevice(p, CL_DEVICE_TYPE_GPU, vendor, "OpenCL 1.2 Standin");
        b.cl.Load();
        const OpenCLEntryPoints& cl = b.cl.Entries();
        cl_int err = CL_SUCCESS;
        context = cl.clCreateContext(nullptr, 1, &device, nullptr, nullptr, &err);
        queue = cl.clCreateCommandQueue(context, device, 0, &err);
        src = cl.clCreateBuffer(context, CL_MEM_READ_WRITE, srcBytes, nullptr, &err);
        dst = cl.clCreateBuffer(context, CL_MEM_READ_WRITE, dstBytes, nullptr, &err);
        converter = NewTessiva();
        converter->SetOpenCLDevice(context, device);
        s.ClearLog();
    }
    // Slot 2 on the two buffers.
    TessivaResult Run(int32_t width, int32_t height, int32_t srcPitch, int32_t dstPitch) {
        return converter->RGB32toYUV32(queue, 1, src, width, height, srcPitch, 1, dst, width, height, dstPitch);
    }
    ~StandinGpu() { converter.reset(); }

    Standin& s;
    Binding b;
    cl_device_id device = nullptr;
    cl_context context = nullptr;
    cl_command_queue queue = nullptr;
    cl_mem src = nullptr, dst = nullptr;
    TessivaPtr converter;
};

// The launch of slot 2 as the stand-in logs it.
inline std::vector<std::string> LaunchCalls(const std::string& kernel, int32_t width, int32_t height,
                                            int32_t srcArg, int32_t dstArg, const std::string& queue,
                                            const std::string& event, unsigned long long global) {
    return {
        "clSetKernelArg " + kernel + " 0 size=8 mem#1",
        "clSetKernelArg " + kernel + " 1 size=8 mem#2",
        "clSetKernelArg " + kernel + " 2 size=4 " + std::to_string(width),
        "clSetKernelArg " + kernel + " 3 size=4 " + std::to_string(height),
        "clSetKernelArg " + kernel + " 4 size=4 " + std::to_string(srcArg),
        "clSetKernelArg " + kernel + " 5 size=4 " + std::to_string(dstArg),
        "clEnqueueNDRangeKernel " + kernel + " " + queue + " dim=1 offset=null global=" + std::to_string(global) +
            " local=null wait=0 " + event,
        "clWaitForEvents 1 " + event,
        "clReleaseEvent " + event,
    };
}

}  // namespace tessiva::test
