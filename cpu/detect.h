// Instruction-set level of the running processor, capped by the administrator's
// registry value InstructionSet under SoftWare\Brennix\CpuDetect\<host exe name>.
#pragma once
#include <cstdint>
#include <string>

namespace tessiva {

enum InstructionLevel : uint32_t {
    kLevelNone = 0,
    kLevelMMX = 1,
    kLevelSSE = 2,
    kLevelSSE2 = 3,
    kLevelSSE41 = 4,
    kLevelReserved = 5,  // never produced; selects like 4
    kLevelAVX2 = 6,
};

// Bits of the InstructionSet mask, one per feature flag.
enum InstructionMaskBit : uint32_t {
    kMaskMMX = 1u << 0,
    kMaskSSE = 1u << 1,
    kMaskSSE2 = 1u << 2,
    kMaskSSE3 = 1u << 3,
    kMaskSSSE3 = 1u << 4,
    kMaskSSE41 = 1u << 5,
    kMaskSSE42 = 1u << 6,
    kMaskAVX2 = 1u << 7,
};

// What the processor answered. Registers of leaves that were not queried (leaf 1
// when the highest leaf is not positive; leaf 7 and XCR0 when ECX bits 27 and 28
// of leaf 1 are not both set) are never looked at and may hold anything.
struct CpuIdentification {
    uint32_t maxLeaf = 0;   // leaf 0 EAX, compared as a signed number
    uint32_t leaf1Ecx = 0;
    uint32_t leaf1Edx = 0;
    uint32_t leaf7Ebx = 0;  // leaf 7, sub-leaf 0
    uint64_t xcr0 = 0;      // extended control register 0
};

struct InstructionFlags {
    bool mmx = false, sse = false, sse2 = false, sse3 = false, ssse3 = false, sse41 = false, sse42 = false,
         avx2 = false;
};

// The feature flags the identification results give.
InstructionFlags FlagsFromIdentification(const CpuIdentification& id);
// Keeps each flag only where its mask bit is set.
InstructionFlags ApplyInstructionMask(InstructionFlags flags, uint32_t mask);
// "CPUDetect : The highest instruction is ...\n" for the highest remaining flag.
const char* HighestInstructionMessage(const InstructionFlags& flags);
// 6 AVX2, 4 SSE4.1, 3 SSE2, 2 SSE, 1 MMX, 0 none (SSE3, SSSE3, SSE4.2 give no level).
uint32_t LevelOfFlags(const InstructionFlags& flags);

struct Detection {
    uint32_t level = kLevelNone;
    const char* message = nullptr;  // null when no cap was in force
};

// The whole rule over given identification results: `cap` is the InstructionSet
// value when one was read, null when the key or the value is missing.
Detection EvaluateInstructionSet(const CpuIdentification& id, const uint32_t* cap);

// Queries the running processor (leaves 0, 1 and 7, and XCR0 when allowed).
CpuIdentification IdentifyProcessor();

// "SoftWare\Brennix\CpuDetect\" followed by the file name of `executablePath`
// without folder and extension.
std::u16string InstructionCapKey(const std::u16string& executablePath);

// Reads InstructionSet under the cap key of the host executable into `mask`
// (preset to 0, buffer of 4 bytes, type not checked). False when the key or
// the value is missing or the value does not fit 4 bytes.
bool ReadInstructionCap(uint32_t* mask);

// Detects the level 0..6. When a cap is found in the registry it also sends one
// "CPUDetect : The highest instruction is ...\n" line to the debugger output.
uint32_t DetectInstructionSet();

}  // namespace tessiva
