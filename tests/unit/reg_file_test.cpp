// The .reg settings reader (portable; it backs the registry on Linux) and the
// RegistryKey semantics both targets share.
#include <gtest/gtest.h>

#include "platform/common/reg_file.h"
#include "platform/platform.h"
#include "support/test_support.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace tessiva::test {
namespace {

using platform::RegFile;
using platform::RegValue;

std::vector<uint8_t> Utf16Bytes(const std::u16string& s) {
    std::vector<uint8_t> out;
    for (char16_t c : s) {
        out.push_back(uint8_t(c));
        out.push_back(uint8_t(c >> 8));
    }
    out.push_back(0);
    out.push_back(0);
    return out;
}

const char kSample[] =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "; settings for the converter\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Brennix\\CpuDetect\\HostApp]\r\n"
    "\"InstructionSet\"=dword:0000007f\r\n"
    "\"Wide\"=hex(b):01,02,03,04,05,06,07,08\r\n"
    "\"Text\"=\"a \\\"quoted\\\" \\\\ path\"\r\n"
    "\"Blob\"=hex:de,ad,\\\r\n"
    "  be,ef\r\n"
    "\"Expand\"=hex(2):41,00,00,00\r\n"
    "@=\"default\"\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\Software\\Brennix\\KorvMemMgr]\r\n"
    "\"AllowOCL2ForAll\"=dword:00000001\r\n";

TEST(RegFile, ReadsEveryValueTypeWithCaseInsensitiveNames) {
    RegFile f;
    ASSERT_TRUE(f.Parse(kSample));
    const std::u16string key = u"hkey_local_machine\\software\\BRENNIX\\cpudetect\\hostapp\\";
    ASSERT_TRUE(f.HasKey(key));

    const RegValue* v = f.Find(key, u"instructionset");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->type, 4u);
    EXPECT_EQ(v->data, (std::vector<uint8_t>{0x7f, 0, 0, 0}));

    v = f.Find(key, u"Wide");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->type, 11u);
    EXPECT_EQ(v->data.size(), 8u);

    v = f.Find(key, u"TEXT");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->type, 1u);
    EXPECT_EQ(v->data, Utf16Bytes(u"a \"quoted\" \\ path"));

    v = f.Find(key, u"Blob");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->type, 3u);
    EXPECT_EQ(v->data, (std::vector<uint8_t>{0xde, 0xad, 0xbe, 0xef}));

    v = f.Find(key, u"Expand");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->type, 2u);

    v = f.Find(key, u"");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->data, Utf16Bytes(u"default"));

    EXPECT_EQ(f.Find(key, u"Missing"), nullptr);
    EXPECT_EQ(f.Find(u"HKEY_LOCAL_MACHINE\\Software\\Other", u"InstructionSet"), nullptr);
    EXPECT_NE(f.Find(u"HKEY_LOCAL_MACHINE\\software\\brennix\\korvmemmgr", u"allowocl2forall"), nullptr);
}

TEST(RegFile, ReadsUtf16WithByteOrderMark) {
    const std::string text = "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:00000010\r\n";
    std::string utf16 = "\xFF\xFE";
    for (char c : text) {
        utf16.push_back(c);
        utf16.push_back('\0');
    }
    RegFile f;
    ASSERT_TRUE(f.Parse(utf16));
    const RegValue* v = f.Find(u"HKEY_LOCAL_MACHINE\\k", u"v");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->data[0], 0x10);
}

TEST(RegFile, MalformedFilesHoldNoValues) {
    const char* bad[] = {
        "",
        "REGEDIT4\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:00000001\r\n",
        "Windows Registry Editor Version 5.00\r\n\"V\"=dword:00000001\r\n",              // value before any key
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K\r\n",             // unclosed key
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:0000000g\r\n",
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=dword:000000001\r\n",
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=hex:1,2\r\n",
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V=\"x\"\r\n",
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=\"unterminated\r\n",
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\nV=dword:1\r\n",
        "\xFF\xFEW\0i\0",                                                                   // UTF-16 without the header
        "Windows Registry Editor Version 5.00\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"V\"=\"\xC3\x28\"\r\n",  // bad UTF-8
    };
    for (const char* text : bad) {
        RegFile f;
        EXPECT_FALSE(f.Parse(text)) << text;
        EXPECT_FALSE(f.HasKey(u"HKEY_LOCAL_MACHINE\\K")) << text;
    }
    RegFile missing;
    EXPECT_FALSE(missing.Load("/nonexistent/folder/registry.reg"));
}

// Values written where RegistryKey looks: the registry itself under Wine, the
// settings file on Linux.
class RegistryKeyTest : public ::testing::Test {
protected:
#if defined(_WIN32)
    void SetUp() override {
        HKEY key;
        ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Brennix\\TessivaTest", 0, nullptr, 0, KEY_ALL_ACCESS,
                                  nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        const DWORD dword = 0x12345678;
        const unsigned long long qword = 0x0102030405060708ull;
        RegSetValueExW(key, L"Dword", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&dword), 4);
        RegSetValueExW(key, L"Qword", 0, REG_QWORD, reinterpret_cast<const BYTE*>(&qword), 8);
        RegSetValueExW(key, L"Text", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"1"), 4);
        RegCloseKey(key);
    }
    void TearDown() override { RegDeleteKeyW(HKEY_LOCAL_MACHINE, L"Software\\Brennix\\TessivaTest"); }
#else
    ScopedRegistryFile file_{
        "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\Software\\Brennix\\TessivaTest]\n"
        "\"Dword\"=dword:12345678\n\"Qword\"=hex(b):08,07,06,05,04,03,02,01\n\"Text\"=\"1\"\n"};
#endif
};

TEST_F(RegistryKeyTest, QueryBehavesLikeTheRegistry) {
    platform::RegistryKey key;
    ASSERT_TRUE(key.Open(u"SOFTWARE\\brennix\\tessivatest"));
    uint32_t type = 0, value = 0, size = 4;
    EXPECT_EQ(key.Query(u"dword", &type, &value, &size), platform::kRegOk);
    EXPECT_EQ(type, platform::kRegDword);
    EXPECT_EQ(value, 0x12345678u);

    // An 8-byte value does not fit a 4-byte buffer.
    value = 0;
    size = 4;
    EXPECT_EQ(key.Query(u"Qword", &type, &value, &size), platform::kRegMoreData);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(value, 0u);

    // Type-only query, then a string of two UTF-16 units (with terminator) fitting 4 bytes.
    EXPECT_EQ(key.Query(u"Text", &type, nullptr, nullptr), platform::kRegOk);
    EXPECT_EQ(type, platform::kRegSz);
    size = 4;
    EXPECT_EQ(key.Query(u"Text", nullptr, &value, &size), platform::kRegOk);
    EXPECT_EQ(value, 0x31u);

    EXPECT_EQ(key.Query(u"Absent", &type, &value, &size), platform::kRegNotFound);
    platform::RegistryKey missing;
    EXPECT_FALSE(missing.Open(u"Software\\Brennix\\NoSuchKey"));
}

#if !defined(_WIN32)
TEST(RegistryKeyPosix, MissingOrMalformedFileMeansNoKeys) {
    SetEnv("BRENNIX_REGISTRY_FILE", "/nonexistent/registry.reg");
    platform::RegistryKey key;
    EXPECT_FALSE(key.Open(u"Software"));
    SetEnv("BRENNIX_REGISTRY_FILE", nullptr);
    ScopedRegistryFile garbage("Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\Software]\n\"V\"=dword:xyz\n");
    EXPECT_FALSE(key.Open(u"Software"));
}
#endif

}  // namespace
}  // namespace tessiva::test
