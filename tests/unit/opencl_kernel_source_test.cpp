// The kernel-source resource of the library module: its id rule, its byte
// layout, and the two-call protocol of LoadKernelSource with its messages.
#include <gtest/gtest.h>

#include <string>

#include "opencl/kernel_source.h"
#include "opencl_standin/opencl_test_helpers.h"
#include "platform/platform.h"

namespace tessiva::test {
namespace {

// The kernel source as it lies in the source tree.
std::string KernelSourceFile() {
    std::string root = __FILE__;
    root = root.substr(0, root.rfind("tests"));
#if defined(_WIN32)
    if (!root.empty() && root[0] == '/') root = "Z:" + root;  // the Unix root under Wine
#endif
    return ReadFileBytes(root + "opencl/ColorConvert.cl");
}

class KernelSourceTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(PreloadTessivaLibrary(ExeFolder())); }
};

TEST(KernelSourceId, SumsSignedCharactersIntoSixteenBits) {
    EXPECT_EQ(KernelSourceResourceId("ColorConvert"), 1248);
    EXPECT_EQ(KernelSourceResourceId(""), 0);
    EXPECT_EQ(KernelSourceResourceId("\xC4"), 0xFFC4);  // -60
    EXPECT_EQ(KernelSourceResourceId("a\xFF"), 96);     // 97 - 1
    EXPECT_EQ(KernelSourceResourceId(std::string(600, 'z')), (600 * 122) & 0xFFFF);
}

TEST(KernelSourcePath, SplitsLikeSplitPath) {
    struct Case {
        const char* path;
        const char *drive, *folder, *base, *extension;
    };
    const Case cases[] = {
        {"ColorConvert.cl", "", "", "ColorConvert", ".cl"},
        {"C:\\kernels\\v1\\ColorConvert.txt", "C:", "\\kernels\\v1\\", "ColorConvert", ".txt"},
        {"dir/sub.d/ColorConvert", "", "dir/sub.d/", "ColorConvert", ""},
        {"D:Tessiva.old.dll", "D:", "", "Tessiva.old", ".dll"},
        {"folder\\", "", "folder\\", "", ""},
    };
    for (const Case& c : cases) {
        const PathParts p = SplitPath(c.path);
        EXPECT_EQ(p.drive, c.drive) << c.path;
        EXPECT_EQ(p.folder, c.folder) << c.path;
        EXPECT_EQ(p.base, c.base) << c.path;
        EXPECT_EQ(p.extension, c.extension) << c.path;
    }
}

TEST_F(KernelSourceTest, ResourceHoldsNameLengthAndScrambledSource) {
    const std::string source = KernelSourceFile();
    ASSERT_FALSE(source.empty());
    const platform::ModuleHandle module = platform::LoadModule(u"Tessiva.dll");
    ASSERT_NE(module, nullptr);
    void* found = platform::FindModuleResource(module, 97, 1248);
    ASSERT_NE(found, nullptr);
    const auto* data = static_cast<const unsigned char*>(
        platform::LockModuleResource(platform::LoadModuleResource(module, found)));
    ASSERT_NE(data, nullptr);
    ASSERT_EQ(platform::ModuleResourceSize(module, found), 13 + 4 + source.size() + 1);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(data), 13), std::string("ColorConvert", 13));
    const uint32_t length = data[13] | data[14] << 8 | data[15] << 16 | uint32_t(data[16]) << 24;
    EXPECT_EQ(length, source.size());
    std::string plain;
    for (size_t i = 0; i <= source.size(); ++i) plain += char(data[17 + i] ^ 0x3C);
    EXPECT_EQ(plain, source + '\0');
    // Nothing else of type 97 with a neighbouring id.
    EXPECT_EQ(platform::FindModuleResource(module, 97, 1247), nullptr);
    EXPECT_EQ(platform::FindModuleResource(module, 96, 1248), nullptr);
#if defined(_WIN32)
    EXPECT_NE(FindResourceExW(static_cast<HMODULE>(module), MAKEINTRESOURCEW(97), MAKEINTRESOURCEW(1248),
                              MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL)),
              nullptr);
#endif
    platform::UnloadModule(module);
}

TEST_F(KernelSourceTest, SizeQueryThenFetchGivesTheTextAndItsTerminator) {
    const std::string source = KernelSourceFile();
    uint32_t size = 0;
    ASSERT_EQ(LoadKernelSource("ColorConvert.cl", "Tessiva", &size, nullptr), TESSIVA_S_OK);
    ASSERT_EQ(size, source.size());

    GuardedBuffer buffer(size + 1, 7);
    const std::vector<uint8_t> before = buffer.all();
    ASSERT_EQ(LoadKernelSource("ColorConvert.cl", "Tessiva", &size, reinterpret_cast<char*>(buffer.data())),
              TESSIVA_S_OK);
    EXPECT_EQ(size, source.size());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.data()), size + 1), source + '\0');
    std::vector<uint8_t> expected = before;
    std::copy(source.begin(), source.end(), expected.begin() + long(buffer.guard()));
    expected[buffer.guard() + size] = 0;
    EXPECT_EQ(FirstDifference(buffer.all(), expected), -1);
}

TEST_F(KernelSourceTest, SizeZeroWithABufferIsAFetch) {
    const std::string source = KernelSourceFile();
    std::string text(source.size() + 1, 'x');
    uint32_t size = 0;
    ASSERT_EQ(LoadKernelSource("ColorConvert.cl", "Tessiva", &size, &text[0]), TESSIVA_S_OK);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(text, source + '\0');
}

TEST_F(KernelSourceTest, OnlyBaseNamesCount) {
    const std::string source = KernelSourceFile();
    const char* programs[] = {"C:\\kernels\\v1\\ColorConvert.txt", "some/folder/ColorConvert", "ColorConvert.cl.cl"};
    const char* modules[] = {"Tessiva", "D:\\elsewhere\\Tessiva.exe", "plugins/Tessiva.old"};
    for (const char* program : programs) {
        for (const char* module : modules) {
            const bool sameBase = SplitPath(program).base == "ColorConvert";
            uint32_t size = 0;
            const TessivaResult r = LoadKernelSource(program, module, &size, nullptr);
            if (!sameBase) {
                EXPECT_EQ(r, TESSIVA_E_FAIL) << program;
                continue;
            }
            EXPECT_EQ(r, TESSIVA_S_OK) << program << " in " << module;
            EXPECT_EQ(size, source.size()) << program << " in " << module;
        }
    }
}

TEST_F(KernelSourceTest, ACollidingNameFindsTheOtherResource) {
    const std::string source = KernelSourceFile();
    // Same characters, same length: the whole text.
    ASSERT_EQ(KernelSourceResourceId("ConvertColor"), 1248);
    uint32_t size = 0;
    ASSERT_EQ(LoadKernelSource("ConvertColor.cl", "Tessiva", &size, nullptr), TESSIVA_S_OK);
    std::string text(size + 1, '\0');
    ASSERT_EQ(LoadKernelSource("ConvertColor.cl", "Tessiva", &size, &text[0]), TESSIVA_S_OK);
    EXPECT_EQ(text, source + '\0');

    // A shorter name with the same sum skips too few bytes: the length is read
    // from the stored name's terminator on (no check of the name is made).
    ASSERT_EQ(KernelSourceResourceId("rrrrrrrrrrl"), 1248);
    size = 0;
    ASSERT_EQ(LoadKernelSource("rrrrrrrrrrl", "Tessiva", &size, nullptr), TESSIVA_S_OK);
    EXPECT_EQ(size, uint32_t(source.size()) << 8);
}

TEST_F(KernelSourceTest, CharactersAboveOneTwentySevenCountNegative) {
    // 0xE9 counts as -23; read as 233 the sum would be 1504.
    const std::string name = "\xE9uuuuuuuuuue";
    ASSERT_EQ(KernelSourceResourceId(name), 1248);
    uint32_t size = 0;
    ASSERT_EQ(LoadKernelSource((name + ".cl").c_str(), "Tessiva", &size, nullptr), TESSIVA_S_OK);
    EXPECT_EQ(size, KernelSourceFile().size());
}

TEST_F(KernelSourceTest, FailuresSayWhatIsMissing) {
    {
        DebugCapture debug;
        uint32_t size = 5;
        EXPECT_EQ(LoadKernelSource("ColorConvert.cl", "NoSuchModule", &size, nullptr), TESSIVA_E_FAIL);
        EXPECT_EQ(size, 5u);
        EXPECT_EQ(debug.Text(), "Could not load target DLL.");
    }
    {
        DebugCapture debug;
        uint32_t size = 0;
        EXPECT_EQ(LoadKernelSource("Nothing.cl", "Tessiva", &size, nullptr), TESSIVA_E_FAIL);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(debug.Text(), "Could not locate the ecl resource.");
    }
}

}  // namespace
}  // namespace tessiva::test
