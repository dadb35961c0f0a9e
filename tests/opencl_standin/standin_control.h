// Control interface of the scripted OpenCL stand-in: a library named like the
// OpenCL loader (OpenCL.dll, libOpenCL.so.1) whose platforms, devices, build
// outcomes and program binaries a test sets, and which logs every call.
//
// A freshly loaded stand-in has one platform "Standin Platform" ("OpenCL 1.2
// Standin") with one GPU of vendor "Standin Vendor" ("OpenCL 1.2 Standin").
//
// Programs: a source builds unless it contains "#error" or the option
// FailBuilds is set; the kernels of a program are the names that follow
// "__kernel void " in its source. The binary of a built program is
// kStandinBinaryMagic followed by its source; a binary without that prefix is
// accepted by clCreateProgramWithBinary (status CL_INVALID_BINARY) and fails to
// build; an empty binary is refused with CL_INVALID_VALUE.
//
// The log holds one line per call, e.g. "clCreateKernel RGB32toYUV32 ok",
// "clSetKernelArg RGB32toYUV32 2 size=4 1920", "clReleaseEvent event#1".
#pragma once
#include <cstdint>

#define STANDIN_BINARY_MAGIC "STANDIN-BINARY\n"

extern "C" {
// Removes every platform, device and option and clears the log.
typedef void (*StandinResetFn)(void);
// Adds a platform; a null version makes CL_PLATFORM_VERSION report size 0.
typedef int (*StandinAddPlatformFn)(const char* name, const char* version);
// Adds a device to platform `platform` (index of StandinAddPlatform).
typedef void* (*StandinAddDeviceFn)(int platform, uint64_t type, const char* vendor, const char* version);
// Options: "FailBuilds" (every clBuildProgram fails), "BinarySizeZero"
// (CL_PROGRAM_BINARY_SIZES answers 0).
typedef void (*StandinSetOptionFn)(const char* name, int value);
// The call log, one line per call, each ending in '\n'.
typedef const char* (*StandinLogFn)(void);
typedef void (*StandinClearLogFn)(void);
// Objects of a kind ("program", "kernel", "event", "mem", "context", "queue")
// created and not yet released.
typedef int (*StandinLiveObjectsFn)(const char* kind);
}
