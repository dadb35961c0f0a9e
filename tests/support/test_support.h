// Test helpers: random data, guarded buffers, the instruction-set cap and the
// capture of debugger output, on Linux and under Wine alike.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tessiva::test {

// Deterministic pseudo-random bytes (never constant fills: they hide indexing errors).
std::vector<uint8_t> RandomBytes(size_t count, uint32_t seed);

// A buffer with `guard` random bytes before and after the `size` usable bytes,
// themselves random. Compare whole allocations to catch stray reads and writes.
class GuardedBuffer {
public:
    GuardedBuffer(size_t size, uint32_t seed, size_t guard = 64);
    uint8_t* data() { return bytes_.data() + guard_; }
    const uint8_t* data() const { return bytes_.data() + guard_; }
    size_t size() const { return size_; }
    size_t guard() const { return guard_; }
    // The whole allocation, guards included.
    const std::vector<uint8_t>& all() const { return bytes_; }
    std::vector<uint8_t>& all() { return bytes_; }

private:
    size_t size_, guard_;
    std::vector<uint8_t> bytes_;
};

// Index of the first differing byte of two allocations, or -1 when equal.
long FirstDifference(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

// File name of the running test executable without folder and extension: the
// registry key of the instruction-set cap ends with it.
std::string ExecutableBaseName();

// Sets InstructionSet under SoftWare\Brennix\CpuDetect\<exe> for its lifetime
// (the registry under Wine, a .reg settings file on Linux); a negative mask
// removes the value so that no cap is in force.
class ScopedInstructionCap {
public:
    explicit ScopedInstructionCap(long long mask);
    ~ScopedInstructionCap();
    ScopedInstructionCap(const ScopedInstructionCap&) = delete;
    ScopedInstructionCap& operator=(const ScopedInstructionCap&) = delete;
};

// Writes `text` as the POSIX registry settings file (Linux) for its lifetime.
// On Windows it does nothing: tests write the real registry there.
class ScopedRegistryFile {
public:
    explicit ScopedRegistryFile(const std::string& text);
    ~ScopedRegistryFile();
    const std::string& path() const { return path_; }
private:
    std::string path_;
};

// Collects what the library sends to the debugger output while it lives.
class DebugCapture {
public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;
    std::string Text() const;
private:
    std::string path_;
    void* handler_ = nullptr;
};

// Calls virtual slot `slot` of a COM-style object through its raw function
// table, as a host compiled by another compiler would: entry i of the table
// takes the object as its first argument.
template <typename R, typename... Args>
R CallSlot(void* object, int slot, Args... args) {
    using Entry = R (*)(void*, Args...);
    void** table = *static_cast<void***>(object);
    return reinterpret_cast<Entry>(table[slot])(object, args...);
}

// Sets (or, with null, removes) an environment variable of this process.
void SetEnv(const char* name, const char* value);

}  // namespace tessiva::test
