// The only door to the operating system. Windows builds implement it with Win32
// calls (win32.cpp); Linux builds with POSIX equivalents (posix.cpp): a .reg-format
// settings file for the registry, a file for the debugger output, libName.so for
// Name.dll, and an ELF note for a module's product version.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace tessiva::platform {

using ModuleHandle = void*;

// Re-entrant lock (a critical section on Windows, a recursive mutex elsewhere).
class CriticalSection {
public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;
    void Enter();
    void Leave();
private:
    alignas(8) unsigned char storage_[64];
};

class ScopedLock {
public:
    explicit ScopedLock(CriticalSection& cs) : cs_(cs) { cs_.Enter(); }
    ~ScopedLock() { cs_.Leave(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;
private:
    CriticalSection& cs_;
};

// Registry value types (Windows numbering).
enum : uint32_t { kRegNone = 0, kRegSz = 1, kRegExpandSz = 2, kRegBinary = 3, kRegDword = 4, kRegMultiSz = 7, kRegQword = 11 };
// Results of RegistryKey::Query (Windows error numbering).
enum : long { kRegOk = 0, kRegNotFound = 2, kRegMoreData = 234 };

// A read-only key under HKEY_LOCAL_MACHINE.
class RegistryKey {
public:
    RegistryKey() = default;
    ~RegistryKey() { Close(); }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    // Opens `path` (relative to HKEY_LOCAL_MACHINE, compared case-insensitively).
    bool Open(const std::u16string& path);
    // As RegQueryValueExW: `type` and `data` may be null; `size` holds the buffer
    // size in bytes on entry and the value's size on return. A buffer that is too
    // small gives kRegMoreData and copies nothing.
    long Query(const std::u16string& name, uint32_t* type, void* data, uint32_t* size) const;
    void Close();
    bool IsOpen() const { return handle_ != nullptr; }
private:
    void* handle_ = nullptr;
};

// Sends ANSI text to the debugger output (appended to $BRENNIX_DEBUG_OUTPUT on POSIX).
void DebugOutput(const char* text);

// Loads "Name.dll" (libName.so on POSIX; "OpenCL.dll" is libOpenCL.so.1) with the
// system's search. Null on failure.
ModuleHandle LoadModule(const std::u16string& dllName);
// The handle of "Name.dll" if it is already loaded, without loading it; else null.
ModuleHandle GetLoadedModule(const std::u16string& dllName);
void* GetSymbol(ModuleHandle module, const char* name);
void UnloadModule(ModuleHandle module);
// Full file name of a loaded module; null names the host executable.
std::u16string ModuleFileName(ModuleHandle module);
// The module that holds this code (Tessiva.dll / libTessiva.so, or the test binary).
ModuleHandle OwnModule();

// A resource of numeric `type` and `id` in a loaded module, in the three steps of
// FindResourceW / LoadResource / LockResource (on POSIX: a note of owner
// "Brennix" with note type `type` in the module's loaded PT_NOTE segments, whose
// descriptor starts with the 16-bit id and a 16-bit language). Each step answers
// null on failure.
void* FindModuleResource(ModuleHandle module, uint16_t type, uint16_t id);
void* LoadModuleResource(ModuleHandle module, void* found);
const void* LockModuleResource(void* loaded);
// Size in bytes of a found resource (SizeofResource); 0 on failure.
uint32_t ModuleResourceSize(ModuleHandle module, void* found);

// The ProductVersion string of a file's version information (first translation),
// or empty when the file carries none.
std::u16string ProductVersion(const std::u16string& fileName);

// Environment variable; false when unset.
bool GetEnvironment(const char16_t* name, std::u16string* value);
// Sets an environment variable of this process.
bool SetEnvironment(const char16_t* name, const char16_t* value);

// The user's temporary folder, ending in a path separator.
std::u16string TempFolder();
// Creates a folder and its missing parents; an existing folder is success.
bool CreateFolders(const std::u16string& path);
// Turns a path written with backslashes into the platform's form.
std::u16string NativePath(const std::u16string& path);

// fopen with a UTF-16 path written with backslashes (_wfopen on Windows).
std::FILE* OpenFile(const std::u16string& path, const char* mode);

// Committed read-write pages (VirtualAlloc / mmap); null on failure.
void* PageAlloc(std::size_t bytes);
void PageFree(void* p, std::size_t bytes);

// ANSI code page (UTF-8 on POSIX) to UTF-16 and back.
std::u16string Widen(const std::string& text);
std::string Narrow(const std::u16string& text);

}  // namespace tessiva::platform
