// Instruction-set detection: the rule over simulated processors and caps, the
// registry read of the cap (odd value types and sizes), and the real entry
// point with a cap in the registry and the debugger output captured.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cpu/detect.h"
#include "cpu/routine_table.h"
#include "interface/tessiva_v1.h"
#include "interface/tessiva_v2.h"
#include "support/test_support.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace tessiva {
namespace {

const char kAvx2[] = "CPUDetect : The highest instruction is AVX2.\n";
const char kSse42[] = "CPUDetect : The highest instruction is SSE42.\n";
const char kSse41[] = "CPUDetect : The highest instruction is SSE41.\n";
const char kSsse3[] = "CPUDetect : The highest instruction is SSSE3.\n";
const char kSse3[] = "CPUDetect : The highest instruction is SSE3.\n";
const char kSse2[] = "CPUDetect : The highest instruction is SSE2.\n";
const char kSse[] = "CPUDetect : The highest instruction is SSE.\n";
const char kMmx[] = "CPUDetect : The highest instruction is MMX.\n";
const char kNone[] = "CPUDetect : The highest instruction is None.\n";

// Identification bits as a processor reports them.
constexpr uint32_t kEdxMmx = 1u << 23, kEdxSse = 1u << 25, kEdxSse2 = 1u << 26;
constexpr uint32_t kEcxSse3 = 1u << 0, kEcxSsse3 = 1u << 9, kEcxSse41 = 1u << 19, kEcxSse42 = 1u << 20;
constexpr uint32_t kEcxOsXsave = 1u << 27, kEcxAvx = 1u << 28;
constexpr uint32_t kEbxBmi1 = 1u << 3, kEbxAvx2 = 1u << 5, kEbxBmi2 = 1u << 8;

// A processor with everything up to AVX2, and an OS that saves XMM and YMM.
CpuIdentification Avx2Processor() {
    CpuIdentification id;
    id.maxLeaf = 0x16;
    id.leaf1Edx = kEdxMmx | kEdxSse | kEdxSse2;
    id.leaf1Ecx = kEcxSse3 | kEcxSsse3 | kEcxSse41 | kEcxSse42 | kEcxOsXsave | kEcxAvx;
    id.leaf7Ebx = kEbxBmi1 | kEbxAvx2 | kEbxBmi2;
    id.xcr0 = 0x7;
    return id;
}

// SSE4.2 without AVX.
CpuIdentification Sse42Processor() {
    CpuIdentification id = Avx2Processor();
    id.leaf1Ecx &= ~(kEcxOsXsave | kEcxAvx);
    id.leaf7Ebx = 0;
    id.xcr0 = 0;
    return id;
}

struct Expect {
    uint32_t level;
    const char* message;  // null: no message
};

void ExpectDetection(const CpuIdentification& id, const uint32_t* cap, Expect e) {
    const Detection d = EvaluateInstructionSet(id, cap);
    EXPECT_EQ(d.level, e.level);
    if (e.message)
        EXPECT_STREQ(d.message, e.message);
    else
        EXPECT_EQ(d.message, nullptr);
}

TEST(DetectRule, MasksOnAnAvx2Processor) {
    const CpuIdentification cpu = Avx2Processor();
    const uint32_t none = 0, all = 0xFF, noAvx2 = 0x7F, sse42NoSse41 = 0x5F, avx2Only = 0x80, high = 0xFFFFFF00;
    {
        SCOPED_TRACE("no cap");
        ExpectDetection(cpu, nullptr, {kLevelAVX2, nullptr});
    }
    {
        SCOPED_TRACE("mask 0 clears everything");
        ExpectDetection(cpu, &none, {kLevelNone, kNone});
    }
    {
        SCOPED_TRACE("mask 0xFF changes nothing");
        ExpectDetection(cpu, &all, {kLevelAVX2, kAvx2});
    }
    {
        SCOPED_TRACE("mask 0x7F drops AVX2");
        ExpectDetection(cpu, &noAvx2, {kLevelSSE41, kSse42});
    }
    {
        SCOPED_TRACE("bit 6 kept, bit 5 dropped: message and level disagree");
        ExpectDetection(cpu, &sse42NoSse41, {kLevelSSE2, kSse42});
    }
    {
        SCOPED_TRACE("AVX2 alone still gives level 6");
        ExpectDetection(cpu, &avx2Only, {kLevelAVX2, kAvx2});
    }
    {
        SCOPED_TRACE("bits above 7 mean nothing");
        ExpectDetection(cpu, &high, {kLevelNone, kNone});
    }
}

TEST(DetectRule, EachMaskBitNamesItsFlag) {
    // One bit at a time on the AVX2 processor: the message names that flag.
    const Expect byBit[8] = {{kLevelMMX, kMmx},    {kLevelSSE, kSse},    {kLevelSSE2, kSse2}, {kLevelNone, kSse3},
                             {kLevelNone, kSsse3}, {kLevelSSE41, kSse41}, {kLevelNone, kSse42}, {kLevelAVX2, kAvx2}};
    for (int bit = 0; bit < 8; ++bit) {
        SCOPED_TRACE(bit);
        const uint32_t mask = 1u << bit;
        ExpectDetection(Avx2Processor(), &mask, byBit[bit]);
    }
}

TEST(DetectRule, Sse42ProcessorWithBit5Cleared) {
    const uint32_t mask = 0xDF;
    ExpectDetection(Sse42Processor(), &mask, {kLevelSSE2, kSse42});
    ExpectDetection(Sse42Processor(), nullptr, {kLevelSSE41, nullptr});
}

TEST(DetectRule, MaskNeverAddsWhatTheProcessorLacks) {
    CpuIdentification sse2Only;
    sse2Only.maxLeaf = 1;
    sse2Only.leaf1Edx = kEdxMmx | kEdxSse | kEdxSse2;
    const uint32_t all = 0xFF;
    ExpectDetection(sse2Only, &all, {kLevelSSE2, kSse2});
}

TEST(DetectRule, LevelsOfSmallerProcessors) {
    struct Case {
        const char* name;
        uint32_t edx, ecx;
        Expect e;  // with mask 0xFF
    } cases[] = {
        {"nothing", 0, 0, {kLevelNone, kNone}},
        {"MMX", kEdxMmx, 0, {kLevelMMX, kMmx}},
        {"SSE", kEdxMmx | kEdxSse, 0, {kLevelSSE, kSse}},
        {"SSE2", kEdxMmx | kEdxSse | kEdxSse2, 0, {kLevelSSE2, kSse2}},
        {"SSE3", kEdxMmx | kEdxSse | kEdxSse2, kEcxSse3, {kLevelSSE2, kSse3}},
        {"SSSE3, no SSE4.1", kEdxMmx | kEdxSse | kEdxSse2, kEcxSse3 | kEcxSsse3, {kLevelSSE2, kSsse3}},
        {"SSE4.1", kEdxMmx | kEdxSse | kEdxSse2, kEcxSse3 | kEcxSsse3 | kEcxSse41, {kLevelSSE41, kSse41}},
        {"SSE4.2 without SSE4.1", kEdxSse2, kEcxSse42, {kLevelSSE2, kSse42}},
    };
    const uint32_t all = 0xFF;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CpuIdentification id;
        id.maxLeaf = 1;
        id.leaf1Edx = c.edx;
        id.leaf1Ecx = c.ecx;
        ExpectDetection(id, &all, c.e);
        ExpectDetection(id, nullptr, {c.e.level, nullptr});
    }
}

TEST(DetectRule, Avx2NeedsEveryPart) {
    struct Case {
        const char* name;
        void (*spoil)(CpuIdentification&);
    } cases[] = {
        {"OS does not save YMM", [](CpuIdentification& id) { id.xcr0 = 0x3; }},
        {"OS does not save XMM", [](CpuIdentification& id) { id.xcr0 = 0x5; }},
        {"no OSXSAVE", [](CpuIdentification& id) { id.leaf1Ecx &= ~kEcxOsXsave; }},
        {"no AVX", [](CpuIdentification& id) { id.leaf1Ecx &= ~kEcxAvx; }},
        {"no BMI1", [](CpuIdentification& id) { id.leaf7Ebx &= ~kEbxBmi1; }},
        {"no AVX2 bit", [](CpuIdentification& id) { id.leaf7Ebx &= ~kEbxAvx2; }},
        {"no BMI2", [](CpuIdentification& id) { id.leaf7Ebx &= ~kEbxBmi2; }},
    };
    const uint32_t all = 0xFF;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CpuIdentification id = Avx2Processor();
        c.spoil(id);
        ExpectDetection(id, &all, {kLevelSSE41, kSse42});
    }
    // Other bits of leaf 7 and XCR0 do not matter.
    CpuIdentification extra = Avx2Processor();
    extra.leaf7Ebx = 0xFFFFFFFF;
    extra.xcr0 = 0xE7;
    ExpectDetection(extra, nullptr, {kLevelAVX2, nullptr});
}

TEST(DetectRule, NoIdentificationLeavesEverythingFalse) {
    // Highest leaf 0 (or negative as a signed number): leaf 1 is not consulted,
    // whatever it would have said.
    for (uint32_t maxLeaf : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(maxLeaf);
        CpuIdentification id = Avx2Processor();
        id.maxLeaf = maxLeaf;
        const uint32_t all = 0xFF;
        ExpectDetection(id, &all, {kLevelNone, kNone});
        ExpectDetection(id, nullptr, {kLevelNone, nullptr});
    }
}

TEST(DetectRule, CapKeyIsTheExecutableBaseName) {
    EXPECT_EQ(InstructionCapKey(u"C:\\Program Files\\Host\\app.exe"), u"SoftWare\\Brennix\\CpuDetect\\app");
    EXPECT_EQ(InstructionCapKey(u"C:\\a.b\\host"), u"SoftWare\\Brennix\\CpuDetect\\host");
    EXPECT_EQ(InstructionCapKey(u"/usr/bin/my.app.exe"), u"SoftWare\\Brennix\\CpuDetect\\my.app");
    EXPECT_EQ(InstructionCapKey(u"tool"), u"SoftWare\\Brennix\\CpuDetect\\tool");
}

// ---- The cap in the registry ---------------------------------------------

// Sets up this executable's cap key for its lifetime (the real registry on
// Windows, a .reg settings file on Linux): InstructionSet with an arbitrary
// type and bytes, the key without the value, or no key at all.
class ScopedCapValue {
public:
    enum Shape { kValue, kKeyOnly, kNoKey };
    ScopedCapValue(Shape shape, uint32_t type = 0, const std::vector<uint8_t>& bytes = {})
#if defined(_WIN32)
    {
        const std::string base = test::ExecutableBaseName();
        key_ = L"SoftWare\\Brennix\\CpuDetect\\" + std::wstring(base.begin(), base.end());
        if (shape == kNoKey) {
            RegDeleteKeyW(HKEY_LOCAL_MACHINE, key_.c_str());
            return;
        }
        HKEY key;
        if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, key_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr))
            return;
        RegDeleteValueW(key, L"InstructionSet");
        if (shape == kValue) RegSetValueExW(key, L"InstructionSet", 0, type, bytes.data(), DWORD(bytes.size()));
        RegCloseKey(key);
    }
    ~ScopedCapValue() {
        HKEY key;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key_.c_str(), 0, KEY_ALL_ACCESS, &key)) return;
        RegDeleteValueW(key, L"InstructionSet");
        RegCloseKey(key);
    }

private:
    std::wstring key_;
#else
        : file_(Text(shape, type, bytes)) {
    }

private:
    static std::string Text(Shape shape, uint32_t type, const std::vector<uint8_t>& bytes) {
        std::string t = "Windows Registry Editor Version 5.00\r\n\r\n";
        if (shape == kNoKey) return t + "[HKEY_LOCAL_MACHINE\\SoftWare\\Brennix\\CpuDetect\\SomeOtherHost]\r\n";
        t += "[HKEY_LOCAL_MACHINE\\SoftWare\\Brennix\\CpuDetect\\" + test::ExecutableBaseName() + "]\r\n";
        if (shape == kValue) {
            char head[40];
            std::snprintf(head, sizeof head, "\"InstructionSet\"=hex(%x):", unsigned(type));
            t += head;
            for (size_t i = 0; i < bytes.size(); ++i) {
                char b[4];
                std::snprintf(b, sizeof b, i ? ",%02x" : "%02x", bytes[i]);
                t += b;
            }
            t += "\r\n";
        }
        return t;
    }
    test::ScopedRegistryFile file_;
#endif
};

constexpr uint32_t kRegSz = 1, kRegBinary = 3, kRegDword = 4, kRegQword = 11;

TEST(DetectCap, ValueTypeIsNotCheckedButItsSizeIs) {
    struct Case {
        const char* name;
        uint32_t type;
        std::vector<uint8_t> bytes;
        bool reads;
        uint32_t mask;
    } cases[] = {
        {"dword", kRegDword, {0x7F, 0, 0, 0}, true, 0x7F},
        {"string \"7\" is 4 bytes", kRegSz, {'7', 0, 0, 0}, true, 0x37},
        {"string \"77\" is 6 bytes", kRegSz, {'7', 0, '7', 0, 0, 0}, false, 0},
        {"qword is 8 bytes", kRegQword, {0xFF, 0, 0, 0, 0, 0, 0, 0}, false, 0},
        {"two binary bytes fill the low half", kRegBinary, {0x3F, 0x01}, true, 0x013F},
        {"empty binary reads as 0", kRegBinary, {}, true, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ScopedCapValue value(ScopedCapValue::kValue, c.type, c.bytes);
        uint32_t mask = 0xDEAD;
        EXPECT_EQ(ReadInstructionCap(&mask), c.reads);
        EXPECT_EQ(mask, c.mask);
    }
}

TEST(DetectCap, MissingValueOrKey) {
    for (ScopedCapValue::Shape shape : {ScopedCapValue::kKeyOnly, ScopedCapValue::kNoKey}) {
        SCOPED_TRACE(shape);
        ScopedCapValue cap(shape);
        test::DebugCapture capture;
        uint32_t mask = 0xDEAD;
        EXPECT_FALSE(ReadInstructionCap(&mask));
        EXPECT_EQ(mask, 0u);
        EXPECT_EQ(DetectInstructionSet(), EvaluateInstructionSet(IdentifyProcessor(), nullptr).level);
        EXPECT_EQ(capture.Text(), "");
    }
}

TEST(DetectCap, OddValuesReachTheMessage) {
    // A 4-byte string is a mask like any other: "7" is 0x37 (MMX, SSE, SSE2,
    // SSSE3, SSE4.1). An 8-byte value is no cap at all: no message.
    const CpuIdentification cpu = IdentifyProcessor();
    {
        ScopedCapValue cap(ScopedCapValue::kValue, kRegSz, {'7', 0, 0, 0});
        test::DebugCapture capture;
        const uint32_t mask = 0x37;
        EXPECT_EQ(DetectInstructionSet(), EvaluateInstructionSet(cpu, &mask).level);
        EXPECT_EQ(capture.Text(), EvaluateInstructionSet(cpu, &mask).message);
    }
    {
        ScopedCapValue cap(ScopedCapValue::kValue, kRegQword, {0, 0, 0, 0, 0, 0, 0, 0});
        test::DebugCapture capture;
        EXPECT_EQ(DetectInstructionSet(), EvaluateInstructionSet(cpu, nullptr).level);
        EXPECT_EQ(capture.Text(), "");
    }
}

// ---- The real entry point --------------------------------------------------

const CpuIdentification& ThisProcessor() {
    static const CpuIdentification id = IdentifyProcessor();
    return id;
}

TEST(DetectInstructionSet, WithoutCapFollowsTheProcessorSilently) {
    test::ScopedInstructionCap none(-1);
    test::DebugCapture capture;
    EXPECT_EQ(DetectInstructionSet(), EvaluateInstructionSet(ThisProcessor(), nullptr).level);
    EXPECT_EQ(capture.Text(), "");
}

TEST(DetectInstructionSet, CapsAreHonouredAndReported) {
    for (uint32_t mask : {0x00u, 0xFFu, 0x7Fu, 0x5Fu, 0x07u, 0x01u}) {
        SCOPED_TRACE(mask);
        test::ScopedInstructionCap cap(mask);
        test::DebugCapture capture;
        const Detection expected = EvaluateInstructionSet(ThisProcessor(), &mask);
        EXPECT_EQ(DetectInstructionSet(), expected.level);
        EXPECT_EQ(capture.Text(), expected.message);
    }
}

TEST(DetectInstructionSet, ThisProcessorWithMask0x7F) {
    if (EvaluateInstructionSet(ThisProcessor(), nullptr).level != kLevelAVX2) GTEST_SKIP() << "needs an AVX2 processor";
    test::ScopedInstructionCap cap(0x7F);
    test::DebugCapture capture;
    EXPECT_EQ(DetectInstructionSet(), kLevelSSE41);
    EXPECT_EQ(capture.Text(), kSse42);
}

// Each converter construction detects, reports and refills the process-wide table.
TEST(DetectInstructionSet, ConstructionFillsTheTableForTheCappedLevel) {
    const uint32_t top = EvaluateInstructionSet(ThisProcessor(), nullptr).level;
    for (uint32_t mask : {0x00u, 0x07u, 0x3Fu, 0xFFu}) {
        SCOPED_TRACE(mask);
        const uint32_t level = EvaluateInstructionSet(ThisProcessor(), &mask).level;
        test::ScopedInstructionCap cap(mask);
        test::DebugCapture capture;
        routineTable = {};
        Tessiva* v1 = new Tessiva();
        EXPECT_EQ(v1->InstructionLevel(), level);
        const RoutineTable want = RoutinesForLevel(int(level));
        EXPECT_EQ(std::memcmp(&routineTable, &want, sizeof want), 0);
        v1->DeletingDestructor(1);
        routineTable = {};
        Tessiva2* v2 = new Tessiva2();
        EXPECT_EQ(v2->InstructionLevel(), level);
        EXPECT_EQ(std::memcmp(&routineTable, &want, sizeof want), 0);
        v2->DeletingDestructor(1);
        const std::string message = EvaluateInstructionSet(ThisProcessor(), &mask).message;
        EXPECT_EQ(capture.Text(), message + message);
    }
    SelectRoutines(int(top));
}

}  // namespace
}  // namespace tessiva
