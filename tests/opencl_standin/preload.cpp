// The stand-in tests run in bin/standin, beside the stand-in loader; the
// library's own module, which holds the embedded kernel source, lies one folder
// up. Loading it once by path lets the code under test find it by name.
#include <gtest/gtest.h>

#include "opencl_standin/opencl_test_helpers.h"

namespace {

class PreloadTessiva : public testing::Environment {
public:
    void SetUp() override {
        const std::string exe = tessiva::test::ExeFolder();
        const std::string parent = exe.substr(0, exe.find_last_of("\\/", exe.size() - 2) + 1);
        ASSERT_TRUE(tessiva::test::PreloadTessivaLibrary(parent)) << "no " << tessiva::test::TessivaLibraryFile()
                                                                  << " in " << parent;
    }
};

testing::Environment* const preload = testing::AddGlobalTestEnvironment(new PreloadTessiva);

}  // namespace
