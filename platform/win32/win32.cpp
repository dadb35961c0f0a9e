// Windows side of the platform layer: the Win32 calls themselves.
#include <windows.h>
#include <shlobj.h>

#include <new>
#include <vector>

#include "platform/platform.h"

namespace tessiva::platform {

static_assert(sizeof(CRITICAL_SECTION) <= 64, "lock storage too small");
static_assert(sizeof(wchar_t) == sizeof(char16_t), "UTF-16 wide characters");

namespace {
const wchar_t* W(const std::u16string& s) { return reinterpret_cast<const wchar_t*>(s.c_str()); }
const wchar_t* W(const char16_t* s) { return reinterpret_cast<const wchar_t*>(s); }
std::u16string U(const wchar_t* s) { return std::u16string(reinterpret_cast<const char16_t*>(s)); }
}  // namespace

CriticalSection::CriticalSection() { InitializeCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(storage_)); }
CriticalSection::~CriticalSection() { DeleteCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(storage_)); }
void CriticalSection::Enter() { EnterCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(storage_)); }
void CriticalSection::Leave() { LeaveCriticalSection(reinterpret_cast<CRITICAL_SECTION*>(storage_)); }

bool RegistryKey::Open(const std::u16string& path) {
    Close();
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, W(path), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
    handle_ = key;
    return true;
}

long RegistryKey::Query(const std::u16string& name, uint32_t* type, void* data, uint32_t* size) const {
    if (!handle_) return kRegNotFound;
    DWORD t = 0, s = size ? *size : 0;
    const LONG r = RegQueryValueExW(static_cast<HKEY>(handle_), W(name), nullptr, &t, static_cast<BYTE*>(data),
                                    size ? &s : nullptr);
    if (type) *type = t;
    if (size) *size = s;
    return r;
}

void RegistryKey::Close() {
    if (handle_) RegCloseKey(static_cast<HKEY>(handle_));
    handle_ = nullptr;
}

void DebugOutput(const char* text) { OutputDebugStringA(text); }

ModuleHandle LoadModule(const std::u16string& dllName) { return LoadLibraryW(W(dllName)); }

ModuleHandle GetLoadedModule(const std::u16string& dllName) { return GetModuleHandleW(W(dllName)); }

void* GetSymbol(ModuleHandle module, const char* name) {
    return module ? reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name)) : nullptr;
}

void UnloadModule(ModuleHandle module) {
    if (module) FreeLibrary(static_cast<HMODULE>(module));
}

std::u16string ModuleFileName(ModuleHandle module) {
    wchar_t buf[MAX_PATH + 1] = {};
    const DWORD n = GetModuleFileNameW(static_cast<HMODULE>(module), buf, MAX_PATH);
    return n ? U(buf) : std::u16string();
}

ModuleHandle OwnModule() {
    HMODULE h = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&OwnModule), &h);
    return h;
}

void* FindModuleResource(ModuleHandle module, uint16_t type, uint16_t id) {
    return FindResourceW(static_cast<HMODULE>(module), MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(type));
}

void* LoadModuleResource(ModuleHandle module, void* found) {
    return LoadResource(static_cast<HMODULE>(module), static_cast<HRSRC>(found));
}

const void* LockModuleResource(void* loaded) { return LockResource(static_cast<HGLOBAL>(loaded)); }

uint32_t ModuleResourceSize(ModuleHandle module, void* found) {
    return SizeofResource(static_cast<HMODULE>(module), static_cast<HRSRC>(found));
}

std::FILE* OpenFile(const std::u16string& path, const char* mode) {
    std::wstring wideMode;
    for (const char* m = mode; *m; ++m) wideMode += wchar_t(*m);
    return _wfopen(W(path), wideMode.c_str());
}

std::u16string ProductVersion(const std::u16string& fileName) {
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(W(fileName), &ignored);
    if (size == 0) return std::u16string();
    std::vector<unsigned char> info(size);
    if (!GetFileVersionInfoW(W(fileName), 0, size, info.data())) return std::u16string();
    struct Translation {
        WORD language;
        WORD codePage;
    };
    Translation* tr = nullptr;
    UINT trSize = 0;
    if (!VerQueryValueW(info.data(), L"\\VarFileInfo\\Translation", reinterpret_cast<void**>(&tr), &trSize) || !tr ||
        trSize < sizeof(Translation))
        return std::u16string();
    wchar_t query[200] = {};  // 400 bytes, cleared
    wsprintfW(query, L"\\StringFileInfo\\%04x%04x\\ProductVersion", tr->language, tr->codePage);
    wchar_t* version = nullptr;
    UINT len = 0;
    if (!VerQueryValueW(info.data(), query, reinterpret_cast<void**>(&version), &len) || !version || len == 0 ||
        !*version)
        return std::u16string();
    return U(version);
}

bool GetEnvironment(const char16_t* name, std::u16string* value) {
    const DWORD n = GetEnvironmentVariableW(W(name), nullptr, 0);
    if (n == 0) return false;
    std::vector<wchar_t> buf(n);
    if (GetEnvironmentVariableW(W(name), buf.data(), n) >= n) return false;
    *value = U(buf.data());
    return true;
}

bool SetEnvironment(const char16_t* name, const char16_t* value) {
    return SetEnvironmentVariableW(W(name), W(value)) != 0;
}

std::u16string TempFolder() {
    wchar_t buf[MAX_PATH + 2] = {};
    if (!GetTempPathW(MAX_PATH + 1, buf)) return std::u16string();
    std::u16string t = U(buf);
    if (!t.empty() && t.back() != u'\\') t += u'\\';
    return t;
}

bool CreateFolders(const std::u16string& path) {
    const int r = SHCreateDirectoryExW(nullptr, W(path), nullptr);
    return r == ERROR_SUCCESS || r == ERROR_ALREADY_EXISTS || r == ERROR_FILE_EXISTS;
}

std::u16string NativePath(const std::u16string& path) { return path; }

void* PageAlloc(std::size_t bytes) { return VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE); }

void PageFree(void* p, std::size_t) {
    if (p) VirtualFree(p, 0, MEM_RELEASE);
}

std::u16string Widen(const std::string& text) {
    if (text.empty()) return std::u16string();
    const int n = MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), nullptr, 0);
    std::u16string out(size_t(n), u'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), int(text.size()), reinterpret_cast<wchar_t*>(&out[0]), n);
    return out;
}

std::string Narrow(const std::u16string& text) {
    if (text.empty()) return std::string();
    const int n = WideCharToMultiByte(CP_ACP, 0, W(text), int(text.size()), nullptr, 0, nullptr, nullptr);
    std::string out(size_t(n), '\0');
    WideCharToMultiByte(CP_ACP, 0, W(text), int(text.size()), &out[0], n, nullptr, nullptr);
    return out;
}

}  // namespace tessiva::platform
