// The cache-folder name comes from a module's product version: a VERSIONINFO
// resource on Windows, the version note of our modules on Linux.
#include <gtest/gtest.h>

#include "interface/cache_folder.h"
#include "interface/tessiva_v1.h"
#include "interface/tessiva_v2.h"
#include "platform/platform.h"

namespace tessiva::test {
namespace {

// Loads a test module from the folder of the test executable.
platform::ModuleHandle LoadBeside(const std::u16string& dllName) {
    std::u16string exe = platform::ModuleFileName(nullptr);
    const size_t slash = exe.find_last_of(u"\\/");
    return platform::LoadModule(exe.substr(0, slash + 1) + dllName);
}

TEST(CacheFolder, NamedAfterTheLoadedModulesVersion) {
    platform::ModuleHandle dravik = LoadBeside(u"Dravik.dll");
    ASSERT_NE(dravik, nullptr);
    EXPECT_EQ(ComposeCacheFolderName(u"Dravik.dll"), u"OpenCLFolderTS9.8.7.6\\");

    // The version-1 converter names its folder after Dravik.dll.
    Tessiva* t = new Tessiva();
    EXPECT_EQ(std::u16string(t->CacheFolderName()), u"OpenCLFolderTS9.8.7.6\\");
    t->DeletingDestructor(1);
    platform::UnloadModule(dravik);
}

TEST(CacheFolder, EmptyForAModuleWithoutVersion) {
    platform::ModuleHandle plain = LoadBeside(u"NoVersion.dll");
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(ComposeCacheFolderName(u"NoVersion.dll"), u"");
    platform::UnloadModule(plain);
}

TEST(CacheFolder, FallsBackToTheHostExecutable) {
    // Not loaded: the host executable's version (7.6.5.4 for this test binary) names the folder.
    EXPECT_EQ(ComposeCacheFolderName(u"NotLoadedAnywhere.dll"), u"OpenCLFolderTS7.6.5.4\\");
    // The version-2 converter asks for Tessiva.dll: the library's own version
    // when other tests of this binary loaded it, else this binary's.
    const bool libraryLoaded = platform::GetLoadedModule(u"Tessiva.dll") != nullptr;
    Tessiva2* t = new Tessiva2();
    EXPECT_EQ(std::u16string(t->CacheFolderName()),
              libraryLoaded ? u"OpenCLFolderTS" + platform::ProductVersion(platform::ModuleFileName(
                                                     platform::GetLoadedModule(u"Tessiva.dll"))) + u"\\"
                            : std::u16string(u"OpenCLFolderTS7.6.5.4\\"));
    t->DeletingDestructor(1);
}

TEST(CacheFolder, VersionOfFilesWithoutRecordIsEmpty) {
    EXPECT_EQ(platform::ProductVersion(u"/nonexistent/file"), u"");
    EXPECT_EQ(platform::ProductVersion(u""), u"");
}

TEST(BoundedCopy, RefusesTooLongAndNull) {
    char16_t buf[8];
    EXPECT_EQ(CopyBoundedString(buf, 8, u"1234567"), 0);
    EXPECT_EQ(std::u16string(buf), u"1234567");
    EXPECT_EQ(CopyBoundedString(buf, 8, u"12345678"), 34);
    EXPECT_EQ(buf[0], 0);
    EXPECT_EQ(CopyBoundedString(buf, 8, nullptr), 22);
}

}  // namespace
}  // namespace tessiva::test
