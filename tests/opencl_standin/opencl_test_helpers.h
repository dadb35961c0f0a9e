// Helpers of the OpenCL tests: loading modules by path, a private temporary
// folder, the memory-manager registry switches, and small file utilities.
#pragma once
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

#include "support/test_support.h"

namespace tessiva::test {

// Folder of the running test executable, ending in a separator.
inline std::string ExeFolder() {
#if defined(_WIN32)
    char buf[MAX_PATH + 1] = {};
    GetModuleFileNameA(nullptr, buf, MAX_PATH);
    std::string path = buf;
#else
    char buf[4096] = {};
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    std::string path(buf, n > 0 ? size_t(n) : 0);
#endif
    return path.substr(0, path.find_last_of("\\/") + 1);
}

#if defined(_WIN32)
constexpr char kSeparator = '\\';
inline void* LoadByPath(const std::string& path) { return LoadLibraryA(path.c_str()); }
inline void UnloadHandle(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }
inline void* SymbolOf(void* module, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}
// Whether a module of that file name (OpenCL.dll) is loaded in the process.
inline bool OpenCLLoaderLoaded() { return GetModuleHandleA("OpenCL.dll") != nullptr; }
inline const char* OpenCLLoaderFile() { return "OpenCL.dll"; }
inline const char* TessivaLibraryFile() { return "Tessiva.dll"; }
#else
constexpr char kSeparator = '/';
inline void* LoadByPath(const std::string& path) { return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }
inline void UnloadHandle(void* module) { dlclose(module); }
inline void* SymbolOf(void* module, const char* name) { return dlsym(module, name); }
inline bool OpenCLLoaderLoaded() {
    void* h = dlopen("libOpenCL.so.1", RTLD_NOW | RTLD_NOLOAD);
    if (h) dlclose(h);
    return h != nullptr;
}
inline const char* OpenCLLoaderFile() { return "libOpenCL.so.1"; }
inline const char* TessivaLibraryFile() { return "libTessiva.so"; }
#endif

// Loads the library's own module (from `folder`) for the rest of the process,
// so that loading it by name ("Tessiva.dll") finds it, as in a host.
inline bool PreloadTessivaLibrary(const std::string& folder) {
    static void* handle = LoadByPath(folder + TessivaLibraryFile());
    return handle != nullptr;
}

// Loads the system's OpenCL loader once and keeps it for the rest of the
// process, as a host that works with OpenCL does; null when there is none.
// (The loader and its drivers keep memory that only their unloading orphans.)
inline void* KeepSystemOpenCLLoaded() {
#if defined(_WIN32)
    static void* handle = LoadByPath("OpenCL.dll");
#else
    static void* handle = LoadByPath("libOpenCL.so.1");
#endif
    return handle;
}

inline std::string ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteFileBytes(const std::string& path, const std::string& bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

inline bool FileExists(const std::string& path) { return std::filesystem::exists(path); }

// A fresh folder under the temporary folder that becomes the process's
// temporary folder (TMPDIR on Linux, TMP and TEMP on Windows) while it lives;
// removed with its contents afterwards. `nested` names a subfolder that is not
// created: the temporary folder then points at a folder that does not exist.
class ScopedTempFolder {
public:
    explicit ScopedTempFolder(const std::string& nested = "") {
        static int serial = 0;
        const std::filesystem::path base = std::filesystem::temp_directory_path();
#if defined(_WIN32)
        const unsigned long pid = GetCurrentProcessId();
#else
        const unsigned long pid = static_cast<unsigned long>(getpid());
#endif
        root_ = (base / ("tessiva-opencl-" + std::to_string(pid) + "-" + std::to_string(++serial))).string();
        std::filesystem::remove_all(root_);
        std::filesystem::create_directories(root_);
        path_ = root_ + kSeparator;
        if (!nested.empty()) path_ += nested + kSeparator;
        for (const char* name : kNames) {
            const char* old = std::getenv(name);
            saved_.push_back(old ? old : "");
            had_.push_back(old != nullptr);
            SetEnv(name, path_.c_str());
        }
    }
    ~ScopedTempFolder() {
        for (size_t i = 0; i < std::size(kNames); ++i) SetEnv(kNames[i], had_[i] ? saved_[i].c_str() : nullptr);
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    ScopedTempFolder(const ScopedTempFolder&) = delete;
    ScopedTempFolder& operator=(const ScopedTempFolder&) = delete;

    // The temporary folder as the library sees it, ending in a separator.
    const std::string& path() const { return path_; }
    // The folder this object created (the parent of path() when nested).
    const std::string& root() const { return root_; }

private:
#if defined(_WIN32)
    static constexpr const char* kNames[] = {"TMP", "TEMP"};
#else
    static constexpr const char* kNames[] = {"TMPDIR"};
#endif
    std::string root_, path_;
    std::vector<std::string> saved_;
    std::vector<bool> had_;
};

// Values under HKLM "Software\Brennix\KorvMemMgr" while it lives: the registry
// under Wine, the settings file on Linux. With no values the key is absent.
class ScopedMemMgrSwitches {
public:
    struct Value {
        std::string name;
        enum Kind { kDword, kString, kBinary } kind;
        uint32_t number;
        std::string text;
    };
    static Value Dword(const char* name, uint32_t v) { return {name, Value::kDword, v, ""}; }
    static Value String(const char* name, const char* s) { return {name, Value::kString, 0, s}; }
    static Value Binary(const char* name, uint32_t v) { return {name, Value::kBinary, v, ""}; }

    explicit ScopedMemMgrSwitches(const std::vector<Value>& values) {
#if defined(_WIN32)
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, kKey);
        if (values.empty()) return;
        HKEY key;
        if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr)) return;
        for (const Value& v : values) {
            const std::wstring name(v.name.begin(), v.name.end());
            if (v.kind == Value::kString) {
                const std::wstring text(v.text.begin(), v.text.end());
                RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                               DWORD((text.size() + 1) * sizeof(wchar_t)));
            } else {
                RegSetValueExW(key, name.c_str(), 0, v.kind == Value::kDword ? REG_DWORD : REG_BINARY,
                               reinterpret_cast<const BYTE*>(&v.number), sizeof v.number);
            }
        }
        RegCloseKey(key);
#else
        std::ostringstream s;
        s << "Windows Registry Editor Version 5.00\r\n\r\n";
        if (!values.empty()) s << "[HKEY_LOCAL_MACHINE\\Software\\Brennix\\KorvMemMgr]\r\n";
        for (const Value& v : values) {
            char data[64];
            if (v.kind == Value::kDword)
                std::snprintf(data, sizeof data, "dword:%08x", v.number);
            else if (v.kind == Value::kBinary)
                std::snprintf(data, sizeof data, "hex:%02x,%02x,%02x,%02x", v.number & 255, (v.number >> 8) & 255,
                              (v.number >> 16) & 255, v.number >> 24);
            else
                std::snprintf(data, sizeof data, "\"%s\"", v.text.c_str());
            s << "\"" << v.name << "\"=" << data << "\r\n";
        }
        file_ = std::make_unique<ScopedRegistryFile>(s.str());
#endif
    }
    ~ScopedMemMgrSwitches() {
#if defined(_WIN32)
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, kKey);
#endif
    }

private:
#if defined(_WIN32)
    static constexpr const wchar_t* kKey = L"Software\\Brennix\\KorvMemMgr";
#else
    std::unique_ptr<ScopedRegistryFile> file_;
#endif
};

}  // namespace tessiva::test
