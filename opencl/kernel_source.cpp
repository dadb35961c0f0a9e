#include "opencl/kernel_source.h"

#include <cstring>
#include <memory>
#include <new>

#include "platform/platform.h"

namespace tessiva {

PathParts SplitPath(const std::string& path) {
    PathParts parts;
    std::size_t at = 0;
    if (path.size() >= 2 && path[1] == ':') {
        parts.drive = path.substr(0, 2);
        at = 2;
    }
    const std::size_t slash = path.find_last_of("\\/");
    if (slash != std::string::npos && slash >= at) {
        parts.folder = path.substr(at, slash + 1 - at);
        at = slash + 1;
    }
    const std::string name = path.substr(at);
    const std::size_t dot = name.rfind('.');
    parts.base = name.substr(0, dot);
    if (dot != std::string::npos) parts.extension = name.substr(dot);
    return parts;
}

uint16_t KernelSourceResourceId(const std::string& baseName) {
    uint32_t sum = 0;
    for (char c : baseName) sum += static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(c)));
    return static_cast<uint16_t>(sum);
}

TessivaResult LoadKernelSource(const char* programFile, const char* moduleName, uint32_t* size, char* buffer) {
    const std::string base = SplitPath(programFile).base;
    const std::string module = SplitPath(moduleName).base + ".dll";

    // The module is this library: loading it by name yields its own handle. The
    // extra reference is never given back.
    const platform::ModuleHandle handle = platform::LoadModule(platform::Widen(module));
    if (!handle) {
        platform::DebugOutput("Could not load target DLL.");
        return TESSIVA_E_FAIL;
    }
    void* found = platform::FindModuleResource(handle, kKernelSourceResourceType, KernelSourceResourceId(base));
    if (!found) {
        platform::DebugOutput("Could not locate the ecl resource.");
        return TESSIVA_E_FAIL;
    }
    void* loaded = platform::LoadModuleResource(handle, found);
    if (!loaded) {
        platform::DebugOutput("Could not load ecl resource.");
        return TESSIVA_E_FAIL;
    }
    const auto* data = static_cast<const unsigned char*>(platform::LockModuleResource(loaded));
    if (!data) {
        platform::DebugOutput("Could not lock ecl resource");
        return TESSIVA_E_FAIL;
    }

    // The stored name is skipped by the length of the caller's, unread.
    const unsigned char* at = data + base.size() + 1;
    uint32_t length;
    std::memcpy(&length, at, sizeof length);
    const unsigned char* payload = at + sizeof length;
    if (*size == 0 && !buffer) {
        *size = length;
        return TESSIVA_S_OK;
    }
    const std::size_t count = std::size_t(length) + 1;
    std::unique_ptr<char[]> plain(new (std::nothrow) char[count]);
    if (!plain) return TESSIVA_E_FAIL;
    for (std::size_t i = 0; i < count; ++i) plain[i] = static_cast<char>(payload[i] ^ kKernelSourceKey);
    std::memcpy(buffer, plain.get(), count);
    return TESSIVA_S_OK;
}

}  // namespace tessiva
