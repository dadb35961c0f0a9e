#include "opencl/opencl_library.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace tessiva {
namespace {

#define TESSIVA_CL_REQUIRED(name) {#name, offsetof(OpenCLEntryPoints, name)},
#define TESSIVA_CL_SKIP(name)
// The required entries in table order.
constexpr OpenCLEntryName kRequired[] = {TESSIVA_OPENCL_ENTRY_POINTS(TESSIVA_CL_REQUIRED, TESSIVA_CL_SKIP)};
#undef TESSIVA_CL_REQUIRED

#define TESSIVA_CL_ONE(name) +1
static_assert(0 TESSIVA_OPENCL_ENTRY_POINTS(TESSIVA_CL_ONE, TESSIVA_CL_SKIP) == OpenCLLibrary::kRequiredCount,
              "required entry points");
static_assert(0 TESSIVA_OPENCL_ENTRY_POINTS(TESSIVA_CL_SKIP, TESSIVA_CL_ONE) == OpenCLLibrary::kOpenCL2Count,
              "OpenCL 2.0 entry points");
#undef TESSIVA_CL_ONE
#undef TESSIVA_CL_SKIP

// The OpenCL 2.0 entries in the order they are looked up (not table order).
#define TESSIVA_CL_ENTRY(name) {#name, offsetof(OpenCLEntryPoints, name)}
constexpr OpenCLEntryName kOpenCL2[] = {
    TESSIVA_CL_ENTRY(clCreateCommandQueueWithProperties),
    TESSIVA_CL_ENTRY(clCreatePipe),
    TESSIVA_CL_ENTRY(clGetPipeInfo),
    TESSIVA_CL_ENTRY(clSVMAlloc),
    TESSIVA_CL_ENTRY(clSVMFree),
    TESSIVA_CL_ENTRY(clCreateSamplerWithProperties),
    TESSIVA_CL_ENTRY(clSetKernelArgSVMPointer),
    TESSIVA_CL_ENTRY(clSetKernelExecInfo),
    TESSIVA_CL_ENTRY(clEnqueueSVMFree),
    TESSIVA_CL_ENTRY(clEnqueueSVMMemcpy),
    TESSIVA_CL_ENTRY(clEnqueueSVMMemFill),
    TESSIVA_CL_ENTRY(clEnqueueSVMMap),
    TESSIVA_CL_ENTRY(clEnqueueSVMUnmap),
};
#undef TESSIVA_CL_ENTRY
static_assert(sizeof kOpenCL2 / sizeof kOpenCL2[0] == OpenCLLibrary::kOpenCL2Count, "OpenCL 2.0 lookup order");

// Reads a REG_DWORD switch: the type is asked first, the data only for a DWORD.
bool ReadSwitch(const platform::RegistryKey& key, const char16_t* name) {
    uint32_t type = 0;
    if (key.Query(name, &type, nullptr, nullptr) != platform::kRegOk || type != platform::kRegDword) return false;
    uint32_t value = 0, size = sizeof value;
    return key.Query(name, nullptr, &value, &size) == platform::kRegOk && value != 0;
}

// The decimal reading of the runtime's _wtoi: blanks, a sign, then digits.
long long DecimalValue(const std::u16string& text) {
    std::size_t i = 0;
    while (i < text.size() && (text[i] == u' ' || (text[i] >= u'\t' && text[i] <= u'\r'))) ++i;
    bool negative = false;
    if (i < text.size() && (text[i] == u'+' || text[i] == u'-')) negative = text[i++] == u'-';
    long long value = 0;
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9' && value < (1ll << 40); ++i)
        value = value * 10 + (text[i] - u'0');
    return negative ? -value : value;
}

// Major version of an "OpenCL <major>." text; 0 when it does not parse.
int MajorVersion(const char* text) {
    int major = 0;
    std::sscanf(text, "OpenCL %d.", &major);
    return major;
}

std::vector<cl_platform_id> PlatformIds(const OpenCLEntryPoints& api) {
    cl_uint count = 0;
    api.clGetPlatformIDs(0, nullptr, &count);
    std::vector<cl_platform_id> ids(count);
    if (count) api.clGetPlatformIDs(count, ids.data(), nullptr);
    return ids;
}

}  // namespace

void OpenCLLibrary::Init() {
    allowOpenCL2ForAll_ = allowFineGrainForAll_ = loadAttempted_ = ready_ = openCL2Available_ = 0;
    module_ = nullptr;
    api_ = OpenCLEntryPoints();
    platform::RegistryKey key;
    if (!key.Open(u"Software\\Brennix\\KorvMemMgr")) return;
    if (ReadSwitch(key, u"AllowOCL2ForAll")) allowOpenCL2ForAll_ = 1;
    if (ReadSwitch(key, u"AllowFineGrainForAll")) allowFineGrainForAll_ = 1;
    key.Close();
}

bool OpenCLLibrary::Resolve(const OpenCLEntryName* entries, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        void* symbol = platform::GetSymbol(module_, entries[i].name);
        if (!symbol) return false;
        std::memcpy(reinterpret_cast<unsigned char*>(&api_) + entries[i].offset, &symbol, sizeof symbol);
    }
    return true;
}

void OpenCLLibrary::Abandon() {
    ready_ = 0;
    platform::UnloadModule(module_);
    module_ = nullptr;
}

void OpenCLLibrary::Load() {
    std::u16string detect;
    if (platform::GetEnvironment(u"DetectOpenCL", &detect) && DecimalValue(detect) == 2) return;
    if (loadAttempted_) return;
    loadAttempted_ = 1;

    module_ = platform::LoadModule(u"OpenCL.dll");
    if (!module_) return;
    ready_ = 1;
    if (!Resolve(kRequired, kRequiredCount)) {
        Abandon();
        return;
    }

    // Two or more platforms never get the 2.0 entry points.
    cl_uint platformCount = 0;
    api_.clGetPlatformIDs(0, nullptr, &platformCount);
    if (platformCount != 1) return;

    if (!CheckOpenCL2Support(allowOpenCL2ForAll_ ? nullptr : "Intel")) return;

    int bestMajor = 0, bestMinor = 0;
    for (cl_platform_id id : PlatformIds(api_)) {
        char version[1024] = {};
        api_.clGetPlatformInfo(id, CL_PLATFORM_VERSION, sizeof version, version, nullptr);
        int major = 0, minor = 0;
        std::sscanf(version, "OpenCL %d.%d", &major, &minor);
        if (major > bestMajor || (major == bestMajor && minor > bestMinor)) {
            bestMajor = major;
            bestMinor = minor;
        }
    }
    if (bestMajor < 2) return;

    // A loader that claims 2.0 but lacks a 2.0 export is not trusted at all.
    if (!Resolve(kOpenCL2, kOpenCL2Count)) {
        Abandon();
        return;
    }
    openCL2Available_ = 1;
}

bool OpenCLLibrary::CheckOpenCL2Support(const char* vendorFilter) const {
    std::string filter;
    if (vendorFilter) {
        filter = vendorFilter;
        for (char& c : filter) c = char(std::tolower(static_cast<unsigned char>(c)));
    }
    bool result = false;
    int smallestGpuMajor = 100;  // carried across platforms on purpose
    for (cl_platform_id id : PlatformIds(api_)) {
        size_t versionSize = 0;
        api_.clGetPlatformInfo(id, CL_PLATFORM_VERSION, 0, nullptr, &versionSize);
        if (versionSize == 0) continue;
        if (vendorFilter) {
            char name[1024] = {};
            api_.clGetPlatformInfo(id, CL_PLATFORM_NAME, sizeof name, name, nullptr);
            for (char& c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
            if (!std::strstr(name, filter.c_str())) continue;
        }
        char version[1024] = {};
        api_.clGetPlatformInfo(id, CL_PLATFORM_VERSION, sizeof version, version, nullptr);
        if (MajorVersion(version) < 2) return result;

        cl_uint deviceCount = 0;
        api_.clGetDeviceIDs(id, CL_DEVICE_TYPE_GPU, 0, nullptr, &deviceCount);
        if (deviceCount == 0) {
            smallestGpuMajor = 0;
        } else {
            std::vector<cl_device_id> devices(deviceCount);
            api_.clGetDeviceIDs(id, CL_DEVICE_TYPE_GPU, deviceCount, devices.data(), nullptr);
            for (cl_device_id device : devices) {
                char deviceVersion[1024] = {};
                api_.clGetDeviceInfo(device, CL_DEVICE_VERSION, sizeof deviceVersion, deviceVersion, nullptr);
                const int major = MajorVersion(deviceVersion);
                if (major < smallestGpuMajor) smallestGpuMajor = major;
            }
        }
        if (smallestGpuMajor >= 2) result = true;
    }
    return result;
}

void OpenCLLibrary::Unload() {
    if (module_) platform::UnloadModule(module_);
    module_ = nullptr;
}

}  // namespace tessiva
