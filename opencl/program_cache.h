// Building the program "ColorConvert.cl" for a device from the first of three
// sources that works: a source file on disk, a cached program binary, the
// embedded kernel source (whose binary is then cached per vendor family).
#pragma once
#include <cstdint>
#include <string>

#include "opencl/opencl_library.h"

namespace tessiva {

// Vendor families of CL_DEVICE_VENDOR, by exact, case-sensitive comparison.
enum VendorCode : uint32_t {
    kVendorAmdOrCpu = 0,  // "Advanced Micro Devices, Inc.", "AuthenticAMD", "GenuineIntel": cache "bin"
    kVendorNvidia = 1,    // "NVIDIA Corporation": cache "ptx"
    kVendorIntel = 2,     // "Intel Corporation": no cache
    kVendorIntelR = 3,    // "Intel(R) Corporation": cache "bin"
    kVendorOther = 4,     // anything else: no cache
    kVendorNoDevice = 5,  // version 2, a surface without a device: no cache
};

constexpr const char* kProgramFile = "ColorConvert.cl";
constexpr const char* kProgramModule = "Tessiva";

VendorCode ClassifyVendor(const char* vendorText);
// Reads the device's CL_DEVICE_VENDOR into a 100-byte buffer and classifies it.
VendorCode DeviceVendorCode(const OpenCLLibrary& cl, cl_device_id device);
// Extension of the binary cache file of a vendor family, or null for none.
const char* CacheExtension(uint32_t vendor);
// The temporary folder followed by the converter's cache-folder name.
std::u16string CacheFolder(const char16_t* cacheFolderName);

// S: builds the source file at `ansiPath`; no binary is cached for it.
cl_program BuildFromSourceFile(const OpenCLLibrary& cl, cl_context context, const std::string& ansiPath);
// B: builds <cacheFolder><base>.bin / .ptx for vendor codes 0, 3 / 1.
cl_program BuildFromCachedBinary(const OpenCLLibrary& cl, cl_context context, cl_device_id device, uint32_t vendor,
                                 const std::u16string& cacheFolder, const std::string& programFile);
// R: builds the embedded source of `programFile` and writes its binary to the
// cache of the vendor family (none for codes 2, 4 and 5).
cl_program BuildFromResource(const OpenCLLibrary& cl, cl_context context, cl_device_id device, uint32_t vendor,
                             const std::u16string& cacheFolder, const std::string& programFile);

// The version-1 converter's program: nothing without a device; the device type
// is read first (unused), then its vendor family (stored in *vendor), then the
// three sources in order. The source file is `kernelSourceFolder` in the ANSI
// code page with "OpenCLFolder\ColorConvert.cl" appended, no separator added.
cl_program BuildProgramV1(const OpenCLLibrary& cl, cl_context context, cl_device_id device,
                          const char16_t* kernelSourceFolder, const char16_t* cacheFolderName, uint32_t* vendor);

}  // namespace tessiva
