#include "support/test_support.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <sstream>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace tessiva::test {

std::vector<uint8_t> RandomBytes(size_t count, uint32_t seed) {
    std::vector<uint8_t> v(count);
    uint64_t x = 0x9E3779B97F4A7C15ull ^ (uint64_t(seed) * 0xBF58476D1CE4E5B9ull);
    for (size_t i = 0; i < count; ++i) {
        x ^= x >> 12;
        x ^= x << 25;
        x ^= x >> 27;
        v[i] = uint8_t((x * 0x2545F4914F6CDD1Dull) >> 56);
    }
    return v;
}

GuardedBuffer::GuardedBuffer(size_t size, uint32_t seed, size_t guard)
    : size_(size), guard_(guard), bytes_(RandomBytes(size + 2 * guard, seed)) {}

long FirstDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size()) return 0;
    for (size_t i = 0; i < a.size(); ++i)
        if (a[i] != b[i]) return long(i);
    return -1;
}

void SetEnv(const char* name, const char* value) {
#if defined(_WIN32)
    SetEnvironmentVariableA(name, value);
    _putenv_s(name, value ? value : "");
#else
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
#endif
}

namespace {

std::string TempPath(const char* stem) {
#if defined(_WIN32)
    char dir[MAX_PATH + 1] = {};
    GetTempPathA(MAX_PATH, dir);
    return std::string(dir) + stem + std::to_string(GetCurrentProcessId());
#else
    const char* t = std::getenv("TMPDIR");
    return std::string(t && *t ? t : "/tmp") + "/" + stem + std::to_string(getpid());
#endif
}

}  // namespace

std::string ExecutableBaseName() {
    std::string path;
#if defined(_WIN32)
    char buf[MAX_PATH + 1] = {};
    GetModuleFileNameA(nullptr, buf, MAX_PATH);
    path = buf;
#else
    char buf[4096];
    const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n > 0) path.assign(buf, size_t(n));
#endif
    const size_t slash = path.find_last_of("\\/");
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = base.rfind('.');
    if (dot != std::string::npos) base.resize(dot);
    return base;
}

ScopedRegistryFile::ScopedRegistryFile(const std::string& text) {
#if !defined(_WIN32)
    path_ = TempPath("tessiva-registry-") + ".reg";
    std::ofstream(path_, std::ios::binary) << text;
    SetEnv("BRENNIX_REGISTRY_FILE", path_.c_str());
#else
    (void)text;
#endif
}

ScopedRegistryFile::~ScopedRegistryFile() {
#if !defined(_WIN32)
    SetEnv("BRENNIX_REGISTRY_FILE", nullptr);
    std::remove(path_.c_str());
#endif
}

#if defined(_WIN32)
namespace {
std::wstring CapKey() {
    const std::string base = ExecutableBaseName();
    return L"SoftWare\\Brennix\\CpuDetect\\" + std::wstring(base.begin(), base.end());
}
}  // namespace

ScopedInstructionCap::ScopedInstructionCap(long long mask) {
    HKEY key;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, CapKey().c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr))
        return;
    if (mask < 0) {
        RegDeleteValueW(key, L"InstructionSet");
    } else {
        const DWORD v = DWORD(mask);
        RegSetValueExW(key, L"InstructionSet", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&v), sizeof v);
    }
    RegCloseKey(key);
}

ScopedInstructionCap::~ScopedInstructionCap() {
    HKEY key;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, CapKey().c_str(), 0, KEY_ALL_ACCESS, &key)) return;
    RegDeleteValueW(key, L"InstructionSet");
    RegCloseKey(key);
}

namespace {
std::mutex captureMutex;
std::string* captureSink = nullptr;

// OutputDebugStringA raises DBG_PRINTEXCEPTION_C with the text; continuing
// execution from the handler swallows it.
LONG CALLBACK CatchDebugPrint(EXCEPTION_POINTERS* info) {
    if (info->ExceptionRecord->ExceptionCode != 0x40010006L) return EXCEPTION_CONTINUE_SEARCH;
    std::lock_guard<std::mutex> hold(captureMutex);
    if (captureSink && info->ExceptionRecord->NumberParameters >= 2) {
        const char* text = reinterpret_cast<const char*>(info->ExceptionRecord->ExceptionInformation[1]);
        const size_t len = size_t(info->ExceptionRecord->ExceptionInformation[0]);
        if (text) captureSink->append(text, len && text[len - 1] == 0 ? len - 1 : len);
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}
std::string captured;
}  // namespace

DebugCapture::DebugCapture() {
    std::lock_guard<std::mutex> hold(captureMutex);
    captured.clear();
    captureSink = &captured;
    handler_ = AddVectoredExceptionHandler(1, CatchDebugPrint);
}

DebugCapture::~DebugCapture() {
    RemoveVectoredExceptionHandler(handler_);
    std::lock_guard<std::mutex> hold(captureMutex);
    captureSink = nullptr;
}

std::string DebugCapture::Text() const {
    std::lock_guard<std::mutex> hold(captureMutex);
    return captured;
}
#else
namespace {
std::string CapFileText(long long mask) {
    std::ostringstream s;
    s << "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SoftWare\\Brennix\\CpuDetect\\"
      << ExecutableBaseName() << "]\r\n";
    if (mask >= 0) {
        char v[16];
        std::snprintf(v, sizeof v, "%08llx", mask & 0xFFFFFFFFll);
        s << "\"InstructionSet\"=dword:" << v << "\r\n";
    }
    return s.str();
}
std::string capPath;
}  // namespace

ScopedInstructionCap::ScopedInstructionCap(long long mask) {
    capPath = TempPath("tessiva-cap-") + ".reg";
    std::ofstream(capPath, std::ios::binary) << CapFileText(mask);
    SetEnv("BRENNIX_REGISTRY_FILE", capPath.c_str());
}

ScopedInstructionCap::~ScopedInstructionCap() {
    SetEnv("BRENNIX_REGISTRY_FILE", nullptr);
    std::remove(capPath.c_str());
}

DebugCapture::DebugCapture() : path_(TempPath("tessiva-debug-") + ".txt") {
    std::remove(path_.c_str());
    SetEnv("BRENNIX_DEBUG_OUTPUT", path_.c_str());
}

DebugCapture::~DebugCapture() {
    SetEnv("BRENNIX_DEBUG_OUTPUT", nullptr);
    std::remove(path_.c_str());
}

std::string DebugCapture::Text() const {
    std::ifstream in(path_, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}
#endif

}  // namespace tessiva::test
