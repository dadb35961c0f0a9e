// OpenCLLibrary against the scripted stand-in: registry switches, the
// "DetectOpenCL" veto, entry-point resolution, the platform-count rule and the
// OpenCL 2.0 test.
#include <gtest/gtest.h>

#include "opencl_standin/standin_fixture.h"

namespace tessiva::test {
namespace {

using Switches = ScopedMemMgrSwitches;

class BindingTest : public StandinTest {
protected:
    // One platform with one GPU.
    void OnePlatform(const char* name, const char* version, const char* gpuVersion) {
        const int p = standin_->AddPlatform(name, version);
        standin_->AddDevice(p, CL_DEVICE_TYPE_GPU, "Intel(R) Corporation", gpuVersion);
    }
    static bool AllOpenCL2EntriesNull(const OpenCLLibrary& cl) {
        const OpenCLEntryPoints& e = cl.Entries();
        return !e.clCreateCommandQueueWithProperties && !e.clCreatePipe && !e.clGetPipeInfo && !e.clSVMAlloc &&
               !e.clSVMFree && !e.clCreateSamplerWithProperties && !e.clSetKernelArgSVMPointer &&
               !e.clSetKernelExecInfo && !e.clEnqueueSVMFree && !e.clEnqueueSVMMap && !e.clEnqueueSVMMemcpy &&
               !e.clEnqueueSVMMemFill && !e.clEnqueueSVMUnmap;
    }
};

TEST_F(BindingTest, AllowSwitchesCountOnlyNonZeroDwords) {
    struct Case {
        const char* what;
        std::vector<Switches::Value> values;
        bool ocl2, fineGrain;
    };
    const Case cases[] = {
        {"no key", {}, false, false},
        {"both 1", {Switches::Dword("AllowOCL2ForAll", 1), Switches::Dword("AllowFineGrainForAll", 1)}, true, true},
        {"large", {Switches::Dword("AllowOCL2ForAll", 0x80000000u)}, true, false},
        {"zero", {Switches::Dword("AllowOCL2ForAll", 0), Switches::Dword("AllowFineGrainForAll", 0)}, false, false},
        {"fine grain only", {Switches::Dword("AllowFineGrainForAll", 7)}, false, true},
        {"string \"1\"", {Switches::String("AllowOCL2ForAll", "1"), Switches::String("AllowFineGrainForAll", "1")},
         false, false},
        {"binary 01000000", {Switches::Binary("AllowOCL2ForAll", 1), Switches::Binary("AllowFineGrainForAll", 1)},
         false, false},
        {"other names", {Switches::Dword("AllowOCL2", 1), Switches::Dword("allowfinegrain", 1)}, false, false},
    };
    for (const Case& c : cases) {
        Switches values(c.values);
        OpenCLLibrary cl;
        cl.Init();
        EXPECT_EQ(cl.AllowOpenCL2ForAll(), c.ocl2) << c.what;
        EXPECT_EQ(cl.AllowFineGrainForAll(), c.fineGrain) << c.what;
        EXPECT_FALSE(cl.LoadAttempted() || cl.IsReady() || cl.OpenCL2Available() || cl.HoldsModule()) << c.what;
    }
}

TEST_F(BindingTest, DetectOpenCLTwoVetoesTheLoadWithoutUsingTheAttempt) {
    Standin& s = Load("", false);
    Binding b;
    SetEnv("DetectOpenCL", "2");
    b.cl.Load();
    EXPECT_FALSE(b.cl.LoadAttempted());
    EXPECT_FALSE(b.cl.IsReady());
    EXPECT_FALSE(b.cl.HoldsModule());
    EXPECT_EQ(s.LogText(), "");

    // The variable is read again on the next call: without it the load happens.
    SetEnv("DetectOpenCL", nullptr);
    b.cl.Load();
    EXPECT_TRUE(b.cl.LoadAttempted());
    EXPECT_TRUE(b.cl.IsReady());
    EXPECT_TRUE(b.cl.HoldsModule());
}

TEST_F(BindingTest, DetectOpenCLOtherValuesAreIgnored) {
    Load("", false);
    for (const char* value : {"1", "0", "20", "-2", "two", ""}) {
        SetEnv("DetectOpenCL", value);
        Binding b;
        b.cl.Load();
        EXPECT_TRUE(b.cl.IsReady()) << "DetectOpenCL=" << value;
        EXPECT_TRUE(b.cl.LoadAttempted()) << "DetectOpenCL=" << value;
    }
}

TEST_F(BindingTest, LoadIsAttemptedOnce) {
    Standin& s = Load("", false);
    Binding b;
    b.cl.Load();
    ASSERT_TRUE(b.cl.IsReady());
    const size_t calls = s.Log().size();
    b.cl.Load();
    EXPECT_EQ(s.Log().size(), calls);
    // A default stand-in platform is 1.2: the table is usable, 2.0 is off.
    EXPECT_FALSE(b.cl.OpenCL2Available());
    EXPECT_NE(b.cl.Entries().clGetExtensionFunctionAddress, nullptr);
    EXPECT_TRUE(AllOpenCL2EntriesNull(b.cl));
}

TEST_F(BindingTest, MissingRequiredEntryPointFreesTheLoader) {
    Standin& s = Load("no_image3d", false);
    Binding b;
    b.cl.Load();
    EXPECT_TRUE(b.cl.LoadAttempted());
    EXPECT_FALSE(b.cl.IsReady());
    EXPECT_FALSE(b.cl.HoldsModule());
    // Resolution stops before any call: not even the platforms are counted.
    EXPECT_EQ(s.LogText(), "");
    // No second attempt for this object.
    b.cl.Load();
    EXPECT_FALSE(b.cl.IsReady());
    // TearDown checks that our own handle was the last one.
}

TEST_F(BindingTest, TwoPlatformsNeverGetOpenCL2) {
    Standin& s = Load();
    OnePlatform("Intel(R) OpenCL", "OpenCL 2.0", "OpenCL 2.0");
    OnePlatform("Intel(R) OpenCL HD Graphics", "OpenCL 2.1", "OpenCL 2.1");
    Switches values({Switches::Dword("AllowOCL2ForAll", 1)});
    Binding b;
    b.cl.Load();
    EXPECT_TRUE(b.cl.IsReady());
    EXPECT_FALSE(b.cl.OpenCL2Available());
    EXPECT_TRUE(AllOpenCL2EntriesNull(b.cl));
    // Only the count was asked for.
    EXPECT_EQ(s.Log(), std::vector<std::string>{"clGetPlatformIDs"});
}

TEST_F(BindingTest, NoPlatformIsOneXOnly) {
    Load();
    Binding b;
    b.cl.Load();
    EXPECT_TRUE(b.cl.IsReady());
    EXPECT_FALSE(b.cl.OpenCL2Available());
}

TEST_F(BindingTest, VendorFilterIsACaseInsensitiveSubstringOfThePlatformName) {
    struct Case {
        const char* platform;
        bool allowAll;
        bool ocl2;
    };
    const Case cases[] = {
        {"AMD Accelerated Parallel Processing", false, false},
        {"AMD Accelerated Parallel Processing", true, true},
        {"Intel(R) OpenCL HD Graphics", false, true},
        {"INTEL GPU", false, true},
        {"Integrated", false, false},
    };
    for (const Case& c : cases) {
        Standin& s = Load();
        OnePlatform(c.platform, "OpenCL 2.0 test", "OpenCL 2.0 test");
        Switches values({Switches::Dword("AllowOCL2ForAll", c.allowAll ? 1 : 0)});
        {
            Binding b;
            b.cl.Load();
            EXPECT_TRUE(b.cl.IsReady()) << c.platform;
            EXPECT_EQ(b.cl.OpenCL2Available(), c.ocl2) << c.platform << " allowAll=" << c.allowAll;
            EXPECT_EQ(AllOpenCL2EntriesNull(b.cl), !c.ocl2) << c.platform;
            // Without the switch the name is read before anything else.
            if (!c.allowAll) {
                EXPECT_EQ(s.Calls("clGetPlatformInfo").at(1),
                          "clGetPlatformInfo " + std::string(c.platform) + " 0x902 size=1024");
            }
        }
        standin_.reset();
    }
}

TEST_F(BindingTest, OpenCL2NeedsEveryGpuAtTwoOrMore) {
    struct Case {
        const char* platformVersion;
        std::vector<const char*> gpus;  // device versions; none: no GPU
        bool ocl2;
    };
    const Case cases[] = {
        {"OpenCL 2.1 Intel", {"OpenCL 1.2"}, false},
        {"OpenCL 2.1 Intel", {"OpenCL 2.0"}, true},
        {"OpenCL 2.1 Intel", {"OpenCL 2.0", "OpenCL 1.2"}, false},
        {"OpenCL 2.1 Intel", {"OpenCL 3.0", "OpenCL 2.1"}, true},
        {"OpenCL 2.1 Intel", {"Intel OpenCL 2.0"}, false},  // unparsable: counts as 0
        {"OpenCL 2.1 Intel", {}, false},
        {"OpenCL 1.2 Intel", {"OpenCL 2.0"}, false},
        {"Intel OpenCL 2.0", {"OpenCL 2.0"}, false},
    };
    for (const Case& c : cases) {
        Load();
        const int p = standin_->AddPlatform("Intel(R) OpenCL", c.platformVersion);
        standin_->AddDevice(p, CL_DEVICE_TYPE_CPU, "GenuineIntel", "OpenCL 2.1");  // not a GPU: not looked at
        for (const char* v : c.gpus) standin_->AddDevice(p, CL_DEVICE_TYPE_GPU, "Intel(R) Corporation", v);
        {
            Binding b;
            b.cl.Load();
            std::string what = std::string(c.platformVersion) + " /";
            for (const char* v : c.gpus) what += std::string(" ") + v;
            EXPECT_TRUE(b.cl.IsReady()) << what;
            EXPECT_EQ(b.cl.OpenCL2Available(), c.ocl2) << what;
            EXPECT_EQ(AllOpenCL2EntriesNull(b.cl), !c.ocl2) << what;
        }
        standin_.reset();
    }
}

TEST_F(BindingTest, MissingOpenCL2EntryPointSwitchesOpenCLOff) {
    Standin& s = Load("no_svm_fill");
    OnePlatform("Intel(R) OpenCL", "OpenCL 2.0", "OpenCL 2.0");
    Binding b;
    b.cl.Load();
    EXPECT_TRUE(b.cl.LoadAttempted());
    EXPECT_FALSE(b.cl.IsReady());
    EXPECT_FALSE(b.cl.OpenCL2Available());
    EXPECT_FALSE(b.cl.HoldsModule());
    EXPECT_GT(s.Count("clGetDeviceInfo"), 0u);  // it got as far as the 2.0 test
}

TEST_F(BindingTest, MissingOpenCL2EntryPointDoesNotMatterBelowTwo) {
    Load("no_svm_fill");
    OnePlatform("Intel(R) OpenCL", "OpenCL 1.2", "OpenCL 2.0");
    Binding b;
    b.cl.Load();
    EXPECT_TRUE(b.cl.IsReady());
    EXPECT_FALSE(b.cl.OpenCL2Available());
}

// The 2.0 test on its own: several platforms are only seen through it, since
// the load stops at a platform count other than 1.
class CheckOpenCL2Test : public BindingTest {
protected:
    void SetUp() override {
        BindingTest::SetUp();
        Load();
    }
    int Platform(const char* name, const char* version, std::vector<const char*> gpus) {
        const int p = standin_->AddPlatform(name, version);
        for (const char* v : gpus) standin_->AddDevice(p, CL_DEVICE_TYPE_GPU, "Intel(R) Corporation", v);
        return p;
    }
    bool Check(const char* filter) {
        b_ = std::make_unique<Binding>();
        b_->cl.Load();
        EXPECT_TRUE(b_->cl.IsReady());
        standin_->ClearLog();
        return b_->cl.CheckOpenCL2Support(filter);
    }
    void TearDown() override {
        b_.reset();
        BindingTest::TearDown();
    }
    std::unique_ptr<Binding> b_;
};

TEST_F(CheckOpenCL2Test, APlatformWithoutGpusTurnsLaterPlatformsToNo) {
    Platform("Intel A", "OpenCL 2.0", {});
    Platform("Intel B", "OpenCL 2.0", {"OpenCL 2.0"});
    EXPECT_FALSE(Check("Intel"));
}

TEST_F(CheckOpenCL2Test, AOneXGpuTurnsLaterPlatformsToNo) {
    Platform("Intel A", "OpenCL 2.0", {"OpenCL 1.2"});
    Platform("Intel B", "OpenCL 2.0", {"OpenCL 2.0"});
    EXPECT_FALSE(Check("Intel"));
}

TEST_F(CheckOpenCL2Test, AYesIsNotTakenBack) {
    Platform("Intel A", "OpenCL 2.0", {"OpenCL 2.0"});
    Platform("Intel B", "OpenCL 2.0", {"OpenCL 1.2"});
    EXPECT_TRUE(Check("Intel"));
}

TEST_F(CheckOpenCL2Test, AOneXPlatformEndsTheTest) {
    Platform("Intel A", "OpenCL 1.2", {"OpenCL 2.0"});
    Platform("Intel B", "OpenCL 2.0", {"OpenCL 2.0"});
    EXPECT_FALSE(Check("Intel"));
    for (const std::string& call : standin_->Log()) EXPECT_EQ(call.find("Intel B"), std::string::npos) << call;
}

TEST_F(CheckOpenCL2Test, FilteredAndVersionlessPlatformsAreSkipped) {
    Platform("AMD Accelerated Parallel Processing", "OpenCL 1.2", {});
    Platform("Intel without version", nullptr, {});
    Platform("Intel B", "OpenCL 2.0", {"OpenCL 2.0"});
    EXPECT_TRUE(Check("INTEL"));
    // The filtered platform is dropped after its name, the versionless one
    // after the size of its version.
    const std::vector<std::string> expected = {
        "clGetPlatformIDs",
        "clGetPlatformIDs",
        "clGetPlatformInfo AMD Accelerated Parallel Processing 0x901 size=0",
        "clGetPlatformInfo AMD Accelerated Parallel Processing 0x902 size=1024",
        "clGetPlatformInfo Intel without version 0x901 size=0",
        "clGetPlatformInfo Intel B 0x901 size=0",
        "clGetPlatformInfo Intel B 0x902 size=1024",
        "clGetPlatformInfo Intel B 0x901 size=1024",
        "clGetDeviceIDs Intel B type=0x4",
        "clGetDeviceIDs Intel B type=0x4",
        "clGetDeviceInfo device#1 0x102f size=1024",
    };
    EXPECT_EQ(standin_->Log(), expected);
}

TEST_F(CheckOpenCL2Test, NoFilterLooksAtEveryPlatform) {
    Platform("AMD Accelerated Parallel Processing", "OpenCL 2.0", {"OpenCL 2.0"});
    EXPECT_FALSE(Check("Intel"));
    EXPECT_TRUE(b_->cl.CheckOpenCL2Support(nullptr));
}

}  // namespace
}  // namespace tessiva::test
