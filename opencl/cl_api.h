// OpenCL types, constants and prototypes, for their types only: no code of the
// library links against OpenCL; every call goes through OpenCLLibrary's table.
#pragma once

#ifndef CL_TARGET_OPENCL_VERSION
#define CL_TARGET_OPENCL_VERSION 200
#endif
#ifndef CL_USE_DEPRECATED_OPENCL_1_0_APIS
#define CL_USE_DEPRECATED_OPENCL_1_0_APIS
#endif
#ifndef CL_USE_DEPRECATED_OPENCL_1_1_APIS
#define CL_USE_DEPRECATED_OPENCL_1_1_APIS
#endif
#ifndef CL_USE_DEPRECATED_OPENCL_1_2_APIS
#define CL_USE_DEPRECATED_OPENCL_1_2_APIS
#endif
#include <CL/cl.h>

// Every OpenCL entry point of the binding, in table order. R marks the 74
// required entry points, V2 the 13 OpenCL 2.0 ones (filled only when the
// platform qualifies for 2.0).
#define TESSIVA_OPENCL_ENTRY_POINTS(R, V2)                                                                  \
    /* platform and device */                                                                                \
    R(clGetPlatformIDs) R(clGetPlatformInfo) R(clGetDeviceIDs) R(clGetDeviceInfo)                            \
    /* context */                                                                                            \
    R(clCreateContext) R(clCreateContextFromType) R(clRetainContext) R(clReleaseContext) R(clGetContextInfo) \
    /* queue */                                                                                              \
    R(clCreateCommandQueue) V2(clCreateCommandQueueWithProperties) R(clRetainCommandQueue)                   \
    R(clReleaseCommandQueue) R(clGetCommandQueueInfo) R(clSetCommandQueueProperty)                           \
    /* memory */                                                                                             \
    R(clCreateBuffer) R(clCreateSubBuffer) R(clCreateImage2D) R(clCreateImage3D) V2(clCreatePipe)            \
    R(clRetainMemObject) R(clReleaseMemObject) R(clGetSupportedImageFormats) R(clGetMemObjectInfo)           \
    R(clGetImageInfo) V2(clGetPipeInfo) R(clSetMemObjectDestructorCallback) V2(clSVMAlloc) V2(clSVMFree)     \
    /* sampler */                                                                                            \
    R(clCreateSampler) V2(clCreateSamplerWithProperties) R(clRetainSampler) R(clReleaseSampler)              \
    R(clGetSamplerInfo)                                                                                      \
    /* program */                                                                                            \
    R(clCreateProgramWithSource) R(clCreateProgramWithBinary) R(clRetainProgram) R(clReleaseProgram)         \
    R(clBuildProgram) R(clUnloadCompiler) R(clGetProgramInfo) R(clGetProgramBuildInfo)                      \
    /* kernel */                                                                                             \
    R(clCreateKernel) R(clCreateKernelsInProgram) R(clRetainKernel) R(clReleaseKernel) R(clSetKernelArg)     \
    V2(clSetKernelArgSVMPointer) V2(clSetKernelExecInfo) R(clGetKernelInfo) R(clGetKernelWorkGroupInfo)      \
    /* event */                                                                                              \
    R(clWaitForEvents) R(clGetEventInfo) R(clCreateUserEvent) R(clRetainEvent) R(clReleaseEvent)             \
    R(clSetUserEventStatus) R(clSetEventCallback) R(clGetEventProfilingInfo)                                 \
    /* flush */                                                                                              \
    R(clFlush) R(clFinish)                                                                                   \
    /* enqueue */                                                                                            \
    R(clEnqueueReadBuffer) R(clEnqueueReadBufferRect) R(clEnqueueWriteBuffer) R(clEnqueueWriteBufferRect)    \
    R(clEnqueueCopyBuffer) R(clEnqueueCopyBufferRect) R(clEnqueueReadImage) R(clEnqueueWriteImage)           \
    R(clEnqueueCopyImage) R(clEnqueueCopyImageToBuffer) R(clEnqueueCopyBufferToImage) R(clEnqueueMapBuffer)  \
    R(clEnqueueMapImage) R(clEnqueueUnmapMemObject) R(clEnqueueNDRangeKernel) R(clEnqueueTask)               \
    R(clEnqueueNativeKernel) R(clEnqueueMarker) R(clEnqueueWaitForEvents) R(clEnqueueBarrier)                \
    V2(clEnqueueSVMFree) V2(clEnqueueSVMMap) V2(clEnqueueSVMMemcpy) V2(clEnqueueSVMMemFill)                  \
    V2(clEnqueueSVMUnmap)                                                                                    \
    /* extension */                                                                                          \
    R(clGetExtensionFunctionAddress)
