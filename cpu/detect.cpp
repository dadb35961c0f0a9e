#include "cpu/detect.h"

#include <cpuid.h>
#include <immintrin.h>

#include "platform/platform.h"

namespace tessiva {
namespace {

bool Bit(uint32_t value, int bit) { return ((value >> bit) & 1u) != 0; }

// ECX of leaf 1: the OS uses XSAVE (27) and the processor has AVX (28).
constexpr uint32_t kOsXsaveAndAvx = (1u << 27) | (1u << 28);
// EBX of leaf 7: BMI1 (3), AVX2 (5), BMI2 (8).
constexpr uint32_t kAvx2Group = 0x128;
// XCR0: the OS saves XMM (1) and YMM (2) state.
constexpr uint64_t kXmmYmmState = 6;

__attribute__((target("xsave"))) uint64_t ReadXcr0() { return _xgetbv(0); }

}  // namespace

InstructionFlags FlagsFromIdentification(const CpuIdentification& id) {
    InstructionFlags f;
    if (static_cast<int32_t>(id.maxLeaf) <= 0) return f;
    f.mmx = Bit(id.leaf1Edx, 23);
    f.sse = Bit(id.leaf1Edx, 25);
    f.sse2 = Bit(id.leaf1Edx, 26);
    f.sse3 = Bit(id.leaf1Ecx, 0);
    f.ssse3 = Bit(id.leaf1Ecx, 9);
    f.sse41 = Bit(id.leaf1Ecx, 19);
    f.sse42 = Bit(id.leaf1Ecx, 20);
    f.avx2 = (id.leaf1Ecx & kOsXsaveAndAvx) == kOsXsaveAndAvx && (id.leaf7Ebx & kAvx2Group) == kAvx2Group &&
             (id.xcr0 & kXmmYmmState) == kXmmYmmState;
    return f;
}

InstructionFlags ApplyInstructionMask(InstructionFlags f, uint32_t mask) {
    f.mmx = f.mmx && (mask & kMaskMMX);
    f.sse = f.sse && (mask & kMaskSSE);
    f.sse2 = f.sse2 && (mask & kMaskSSE2);
    f.sse3 = f.sse3 && (mask & kMaskSSE3);
    f.ssse3 = f.ssse3 && (mask & kMaskSSSE3);
    f.sse41 = f.sse41 && (mask & kMaskSSE41);
    f.sse42 = f.sse42 && (mask & kMaskSSE42);
    f.avx2 = f.avx2 && (mask & kMaskAVX2);
    return f;
}

const char* HighestInstructionMessage(const InstructionFlags& f) {
    if (f.avx2) return "CPUDetect : The highest instruction is AVX2.\n";
    if (f.sse42) return "CPUDetect : The highest instruction is SSE42.\n";
    if (f.sse41) return "CPUDetect : The highest instruction is SSE41.\n";
    if (f.ssse3) return "CPUDetect : The highest instruction is SSSE3.\n";
    if (f.sse3) return "CPUDetect : The highest instruction is SSE3.\n";
    if (f.sse2) return "CPUDetect : The highest instruction is SSE2.\n";
    if (f.sse) return "CPUDetect : The highest instruction is SSE.\n";
    if (f.mmx) return "CPUDetect : The highest instruction is MMX.\n";
    return "CPUDetect : The highest instruction is None.\n";
}

uint32_t LevelOfFlags(const InstructionFlags& f) {
    if (f.avx2) return kLevelAVX2;
    if (f.sse41) return kLevelSSE41;
    if (f.sse2) return kLevelSSE2;
    if (f.sse) return kLevelSSE;
    if (f.mmx) return kLevelMMX;
    return kLevelNone;
}

Detection EvaluateInstructionSet(const CpuIdentification& id, const uint32_t* cap) {
    InstructionFlags flags = FlagsFromIdentification(id);
    Detection d;
    if (cap) {
        flags = ApplyInstructionMask(flags, *cap);
        d.message = HighestInstructionMessage(flags);
    }
    d.level = LevelOfFlags(flags);
    return d;
}

CpuIdentification IdentifyProcessor() {
    CpuIdentification id;
    unsigned a = 0, b = 0, c = 0, d = 0;
    __cpuid(0, a, b, c, d);
    id.maxLeaf = a;
    if (static_cast<int32_t>(id.maxLeaf) <= 0) return id;
    __cpuid(1, a, b, c, d);
    id.leaf1Ecx = c;
    id.leaf1Edx = d;
    // Leaf 1 again for the AVX2 test, as the rule states it.
    __cpuid(1, a, b, c, d);
    if ((c & kOsXsaveAndAvx) != kOsXsaveAndAvx) return id;
    // Leaf 7 is asked without checking the highest leaf first; a processor
    // without it answers with the data of its highest leaf.
    __cpuid_count(7, 0, a, b, c, d);
    id.leaf7Ebx = b;
    if ((id.leaf7Ebx & kAvx2Group) != kAvx2Group) return id;
    // XGETBV is only legal once the OS has enabled XSAVE (leaf 1 ECX bit 27).
    id.xcr0 = ReadXcr0();
    return id;
}

std::u16string InstructionCapKey(const std::u16string& executablePath) {
    const size_t slash = executablePath.find_last_of(u"\\/");
    std::u16string base = slash == std::u16string::npos ? executablePath : executablePath.substr(slash + 1);
    const size_t dot = base.rfind(u'.');
    if (dot != std::u16string::npos) base.resize(dot);
    return u"SoftWare\\Brennix\\CpuDetect\\" + base;
}

bool ReadInstructionCap(uint32_t* mask) {
    *mask = 0;
    platform::RegistryKey key;
    if (!key.Open(InstructionCapKey(platform::ModuleFileName(nullptr)))) return false;
    uint32_t size = sizeof(*mask);
    const long r = key.Query(u"InstructionSet", nullptr, mask, &size);
    key.Close();
    if (r != platform::kRegOk) {
        *mask = 0;
        return false;
    }
    return true;
}

uint32_t DetectInstructionSet() {
    const CpuIdentification id = IdentifyProcessor();
    uint32_t mask = 0;
    const bool capped = ReadInstructionCap(&mask);
    const Detection d = EvaluateInstructionSet(id, capped ? &mask : nullptr);
    if (d.message) platform::DebugOutput(d.message);
    return d.level;
}

}  // namespace tessiva
