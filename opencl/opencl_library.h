// Per-converter binding to the system's OpenCL loader, resolved by name at run
// time: the library never links against OpenCL.
#pragma once
#include <cstddef>
#include <cstdint>

#include "opencl/cl_api.h"
#include "platform/platform.h"

namespace tessiva {

// Name of an entry point and where its pointer lives in OpenCLEntryPoints.
struct OpenCLEntryName {
    const char* name;
    std::size_t offset;
};

// One typed pointer per OpenCL entry point, in table order; null until resolved.
struct OpenCLEntryPoints {
#define TESSIVA_CL_FIELD(name) decltype(&::name) name = nullptr;
    TESSIVA_OPENCL_ENTRY_POINTS(TESSIVA_CL_FIELD, TESSIVA_CL_FIELD)
#undef TESSIVA_CL_FIELD
};

class OpenCLLibrary {
public:
    static constexpr std::size_t kRequiredCount = 74;
    static constexpr std::size_t kOpenCL2Count = 13;

    // Clears every flag and reads AllowOCL2ForAll / AllowFineGrainForAll.
    void Init();
    // Loads the OpenCL loader once and resolves its entry points. The
    // "DetectOpenCL" veto returns before the attempt is counted.
    void Load();
    // True once the loader is loaded and every required entry point resolved.
    bool IsReady() const { return ready_ != 0; }
    bool OpenCL2Available() const { return openCL2Available_ != 0; }
    bool AllowOpenCL2ForAll() const { return allowOpenCL2ForAll_ != 0; }
    bool AllowFineGrainForAll() const { return allowFineGrainForAll_ != 0; }
    bool LoadAttempted() const { return loadAttempted_ != 0; }
    bool HoldsModule() const { return module_ != nullptr; }
    // Frees the loader if one is held. Flags stay as they are.
    void Unload();

    // Whether some platform (whose lower-cased name contains `vendorFilter`,
    // when one is given) offers OpenCL 2.0 with GPUs of 2.0 or later. The
    // smallest GPU version is carried from one platform to the next.
    bool CheckOpenCL2Support(const char* vendorFilter) const;

    // The whole table, for callers that need an entry without a forwarder.
    const OpenCLEntryPoints& Entries() const { return api_; }

    // Thin forwarders: no checks, no translation.
    cl_int GetDeviceInfo(cl_device_id device, cl_device_info name, size_t size, void* value, size_t* sizeRet) const {
        return api_.clGetDeviceInfo(device, name, size, value, sizeRet);
    }
    cl_mem CreateBuffer(cl_context context, cl_mem_flags flags, size_t size, void* host, cl_int* err) const {
        return api_.clCreateBuffer(context, flags, size, host, err);
    }
    cl_int ReleaseMemObject(cl_mem mem) const { return api_.clReleaseMemObject(mem); }
    cl_program CreateProgramWithSource(cl_context context, cl_uint count, const char** strings, const size_t* lengths,
                                       cl_int* err) const {
        return api_.clCreateProgramWithSource(context, count, strings, lengths, err);
    }
    cl_program CreateProgramWithBinary(cl_context context, cl_uint count, const cl_device_id* devices,
                                       const size_t* lengths, const unsigned char** binaries, cl_int* status,
                                       cl_int* err) const {
        return api_.clCreateProgramWithBinary(context, count, devices, lengths, binaries, status, err);
    }
    cl_int ReleaseProgram(cl_program program) const { return api_.clReleaseProgram(program); }
    cl_int BuildProgram(cl_program program, cl_uint count, const cl_device_id* devices, const char* options,
                        void(CL_CALLBACK* notify)(cl_program, void*), void* userData) const {
        return api_.clBuildProgram(program, count, devices, options, notify, userData);
    }
    cl_int GetProgramInfo(cl_program program, cl_program_info name, size_t size, void* value, size_t* sizeRet) const {
        return api_.clGetProgramInfo(program, name, size, value, sizeRet);
    }
    cl_kernel CreateKernel(cl_program program, const char* name, cl_int* err) const {
        return api_.clCreateKernel(program, name, err);
    }
    cl_int ReleaseKernel(cl_kernel kernel) const { return api_.clReleaseKernel(kernel); }
    cl_int SetKernelArg(cl_kernel kernel, cl_uint index, size_t size, const void* value) const {
        return api_.clSetKernelArg(kernel, index, size, value);
    }
    cl_int SetKernelArgSVMPointer(cl_kernel kernel, cl_uint index, const void* value) const {
        return api_.clSetKernelArgSVMPointer(kernel, index, value);
    }
    cl_int WaitForEvents(cl_uint count, const cl_event* events) const { return api_.clWaitForEvents(count, events); }
    cl_int ReleaseEvent(cl_event event) const { return api_.clReleaseEvent(event); }
    cl_int Finish(cl_command_queue queue) const { return api_.clFinish(queue); }
    cl_int EnqueueCopyBuffer(cl_command_queue queue, cl_mem src, cl_mem dst, size_t srcOffset, size_t dstOffset,
                             size_t size, cl_uint waitCount, const cl_event* waitList, cl_event* event) const {
        return api_.clEnqueueCopyBuffer(queue, src, dst, srcOffset, dstOffset, size, waitCount, waitList, event);
    }
    cl_int EnqueueNDRangeKernel(cl_command_queue queue, cl_kernel kernel, cl_uint dims, const size_t* offset,
                                const size_t* global, const size_t* local, cl_uint waitCount,
                                const cl_event* waitList, cl_event* event) const {
        return api_.clEnqueueNDRangeKernel(queue, kernel, dims, offset, global, local, waitCount, waitList, event);
    }

private:
    // Resolves the named entries into the table; false at the first one missing.
    bool Resolve(const OpenCLEntryName* entries, std::size_t count);
    // Frees the loader after a missing entry point: OpenCL stays off.
    void Abandon();

    uint8_t allowOpenCL2ForAll_ = 0;
    uint8_t allowFineGrainForAll_ = 0;
    uint8_t loadAttempted_ = 0;
    uint8_t ready_ = 0;
    platform::ModuleHandle module_ = nullptr;
    uint8_t openCL2Available_ = 0;
    OpenCLEntryPoints api_;
};

}  // namespace tessiva
