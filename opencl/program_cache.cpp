#include "opencl/program_cache.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "opencl/kernel_source.h"
#include "platform/platform.h"

namespace tessiva {
namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// Creates a program from one NUL-terminated text and builds it for the
// context's devices. A program that fails to build is released.
cl_program BuildText(const OpenCLLibrary& cl, cl_context context, const char* text) {
    cl_int err = CL_SUCCESS;
    const char* strings[1] = {text};
    cl_program program = cl.CreateProgramWithSource(context, 1, strings, nullptr, &err);
    if (!program || err != CL_SUCCESS) return nullptr;
    if (cl.BuildProgram(program, 0, nullptr, nullptr, nullptr, nullptr) != CL_SUCCESS) {
        cl.ReleaseProgram(program);
        return nullptr;
    }
    return program;
}

std::u16string CacheFile(const std::u16string& folder, const std::string& programFile, const char* extension) {
    return folder + platform::Widen(SplitPath(programFile).base + "." + extension);
}

}  // namespace

VendorCode ClassifyVendor(const char* vendor) {
    if (!std::strcmp(vendor, "Advanced Micro Devices, Inc.") || !std::strcmp(vendor, "AuthenticAMD") ||
        !std::strcmp(vendor, "GenuineIntel"))
        return kVendorAmdOrCpu;
    if (!std::strcmp(vendor, "NVIDIA Corporation")) return kVendorNvidia;
    if (!std::strcmp(vendor, "Intel Corporation")) return kVendorIntel;
    if (!std::strcmp(vendor, "Intel(R) Corporation")) return kVendorIntelR;
    return kVendorOther;
}

VendorCode DeviceVendorCode(const OpenCLLibrary& cl, cl_device_id device) {
    char vendor[100] = {};
    cl.GetDeviceInfo(device, CL_DEVICE_VENDOR, sizeof vendor, vendor, nullptr);
    vendor[sizeof vendor - 1] = 0;
    return ClassifyVendor(vendor);
}

const char* CacheExtension(uint32_t vendor) {
    switch (vendor) {
    case kVendorAmdOrCpu:
    case kVendorIntelR:
        return "bin";
    case kVendorNvidia:
        return "ptx";
    default:
        return nullptr;
    }
}

std::u16string CacheFolder(const char16_t* cacheFolderName) {
    std::u16string folder = platform::TempFolder();
    if (!folder.empty() && folder.back() != u'\\' && folder.back() != u'/') folder += u'\\';
    return folder + cacheFolderName;
}

cl_program BuildFromSourceFile(const OpenCLLibrary& cl, cl_context context, const std::string& ansiPath) {
    File file(platform::OpenFile(platform::Widen(ansiPath), "rb"));
    if (!file) return nullptr;
    std::string text;
    char chunk[4096];
    for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, file.get())) > 0;) text.append(chunk, n);
    return BuildText(cl, context, text.c_str());
}

cl_program BuildFromCachedBinary(const OpenCLLibrary& cl, cl_context context, cl_device_id device, uint32_t vendor,
                                 const std::u16string& cacheFolder, const std::string& programFile) {
    const char* extension = CacheExtension(vendor);
    if (!extension) return nullptr;
    platform::CreateFolders(cacheFolder);
    File file(platform::OpenFile(CacheFile(cacheFolder, programFile, extension), "rb"));
    if (!file) return nullptr;
    if (std::fseek(file.get(), 0, SEEK_END) != 0) return nullptr;
    const long end = std::ftell(file.get());
    if (end < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return nullptr;
    std::vector<unsigned char> binary(static_cast<std::size_t>(end));
    if (!binary.empty() && std::fread(binary.data(), 1, binary.size(), file.get()) != binary.size()) return nullptr;
    file.reset();

    const size_t length = binary.size();
    const unsigned char* binaries[1] = {binary.data()};
    cl_int status = CL_SUCCESS, err = CL_SUCCESS;
    cl_program program = cl.CreateProgramWithBinary(context, 1, &device, &length, binaries, &status, &err);
    if (!program || err != CL_SUCCESS) return nullptr;
    // A binary that does not build is left as it is (not released); its file
    // is rewritten from the embedded source.
    if (cl.BuildProgram(program, 0, nullptr, nullptr, nullptr, nullptr) != CL_SUCCESS) return nullptr;
    return program;
}

cl_program BuildFromResource(const OpenCLLibrary& cl, cl_context context, cl_device_id device, uint32_t vendor,
                             const std::u16string& cacheFolder, const std::string& programFile) {
    platform::CreateFolders(cacheFolder);
    const std::u16string binFile = CacheFile(cacheFolder, programFile, "bin");
    const std::u16string ptxFile = CacheFile(cacheFolder, programFile, "ptx");

    uint32_t length = 0;
    if (LoadKernelSource(programFile.c_str(), kProgramModule, &length, nullptr) != TESSIVA_S_OK || length == 0)
        return nullptr;
    std::unique_ptr<char[]> text(new (std::nothrow) char[std::size_t(length) + 1]);
    if (!text || LoadKernelSource(programFile.c_str(), kProgramModule, &length, text.get()) != TESSIVA_S_OK)
        return nullptr;
    cl_program program = BuildText(cl, context, text.get());
    if (!program) return nullptr;
    if (vendor == kVendorIntel || vendor == kVendorOther) return program;

    size_t size = 0;
    cl.GetProgramInfo(program, CL_PROGRAM_BINARY_SIZES, sizeof size, &size, nullptr);
    std::vector<unsigned char> binary(size);
    unsigned char* binaries[1] = {size ? binary.data() : nullptr};
    cl.GetProgramInfo(program, CL_PROGRAM_BINARIES, sizeof binaries, binaries, nullptr);
    const std::u16string* target = vendor == kVendorNvidia ? &ptxFile
                                   : (vendor == kVendorAmdOrCpu || vendor == kVendorIntelR) ? &binFile
                                                                                           : nullptr;
    if (target && size) {
        File file(platform::OpenFile(*target, "wb"));
        if (file) std::fwrite(binary.data(), 1, size, file.get());
    }
    return program;
}

cl_program BuildProgramV1(const OpenCLLibrary& cl, cl_context context, cl_device_id device,
                          const char16_t* kernelSourceFolder, const char16_t* cacheFolderName, uint32_t* vendor) {
    if (!device) return nullptr;
    cl_device_type type = 0;
    cl.GetDeviceInfo(device, CL_DEVICE_TYPE, sizeof type, &type, nullptr);
    *vendor = DeviceVendorCode(cl, device);

    const std::string sourcePath = platform::Narrow(kernelSourceFolder) + "OpenCLFolder\\" + kProgramFile;
    if (cl_program program = BuildFromSourceFile(cl, context, sourcePath)) return program;
    const std::u16string folder = CacheFolder(cacheFolderName);
    if (cl_program program = BuildFromCachedBinary(cl, context, device, *vendor, folder, kProgramFile))
        return program;
    return BuildFromResource(cl, context, device, *vendor, folder, kProgramFile);
}

}  // namespace tessiva
