// Vendor families and the three program sources of the version-1 converter
// against the scripted stand-in: disk source, cached binary, embedded source
// with write-back.
#include <gtest/gtest.h>

#include "opencl/kernel_source.h"
#include "opencl/program_cache.h"
#include "opencl_standin/standin_fixture.h"

namespace tessiva::test {
namespace {

std::string EmbeddedSource() {
    uint32_t size = 0;
    if (LoadKernelSource("ColorConvert.cl", "Tessiva", &size, nullptr) != 0) return std::string();
    std::string text(size + 1, '\0');
    LoadKernelSource("ColorConvert.cl", "Tessiva", &size, &text[0]);
    text.resize(size);
    return text;
}

// What the stand-in answers as the binary of a program built from `source`.
std::string StandinBinary(const std::string& source) { return STANDIN_BINARY_MAGIC + source; }

const char* const kDiskSource =
    "// disk source\n__kernel void RGB32toYUV32(__global uchar4* s, __global uchar4* d, int w, int h, int sp, "
    "int dp) {}\n";

class ProgramCacheTest : public StandinTest {
protected:
    // The folder the executable's product version names (5.4.3.2: the
    // version given to this test executable).
    std::string CacheFolder() const { return Temp() + "OpenCLFolderTS5.4.3.2" + kSeparator; }
    std::string CacheFile(const char* extension) const {
        return CacheFolder() + "ColorConvert." + extension;
    }
    // Sets the kernel folder of the converter from a path of this system.
    static void SetKernelFolder(Tessiva& t, const std::string& folder) {
        const std::u16string wide = platform::Widen(folder);
        ASSERT_EQ(t.SetKernelSourceFolder(reinterpret_cast<const TessivaChar16*>(wide.c_str())), 0);
    }
};

TEST_F(ProgramCacheTest, CacheFolderNameFollowsTheExecutableVersion) {
    Load();
    TessivaPtr t = NewTessiva();
    EXPECT_EQ(std::u16string(t->CacheFolderName()), u"OpenCLFolderTS5.4.3.2\\");
}

TEST_F(ProgramCacheTest, VendorFamiliesChooseTheirCacheFile) {
    struct Case {
        const char* vendor;
        VendorCode code;
        const char* extension;  // null: no cache
    };
    const std::string longVendor(120, 'N');
    const Case cases[] = {
        {"Advanced Micro Devices, Inc.", kVendorAmdOrCpu, "bin"},
        {"AuthenticAMD", kVendorAmdOrCpu, "bin"},
        {"GenuineIntel", kVendorAmdOrCpu, "bin"},
        {"NVIDIA Corporation", kVendorNvidia, "ptx"},
        {"Intel Corporation", kVendorIntel, nullptr},
        {"Intel(R) Corporation", kVendorIntelR, "bin"},
        {"nvidia corporation", kVendorOther, nullptr},
        {"NVIDIA Corporation ", kVendorOther, nullptr},
        {"Advanced Micro Devices, Inc", kVendorOther, nullptr},
        {"Portable Computing Language", kVendorOther, nullptr},
        {longVendor.c_str(), kVendorOther, nullptr},  // does not fit the 100-byte buffer
    };
    const std::string source = EmbeddedSource();
    ASSERT_FALSE(source.empty());
    for (const Case& c : cases) {
        SCOPED_TRACE(c.vendor);
        std::filesystem::remove_all(CacheFolder());
        Standin& s = Load();
        {
            StandinGpu gpu(s, c.vendor);
            // For the families without a cache, valid binaries lie there unused.
            if (!c.extension) {
                WriteFileBytes(CacheFile("bin"), StandinBinary(source));
                WriteFileBytes(CacheFile("ptx"), StandinBinary(source));
            }

            // First object: built from the embedded source.
            ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
            EXPECT_EQ(gpu.converter->VendorClass(), uint32_t(c.code));
            EXPECT_EQ(s.Count("clCreateProgramWithBinary"), 0u);
            EXPECT_EQ(s.Count("clCreateProgramWithSource"), 1u);
            if (c.extension) {
                EXPECT_EQ(s.Calls("clGetProgramInfo"),
                          (std::vector<std::string>{"clGetProgramInfo program#1 0x1165 size=8",
                                                    "clGetProgramInfo program#1 0x1166 size=8"}));
                EXPECT_EQ(ReadFileBytes(CacheFile(c.extension)), StandinBinary(source));
                EXPECT_FALSE(FileExists(CacheFile(std::string(c.extension) == "bin" ? "ptx" : "bin")));
            } else {
                EXPECT_EQ(s.Count("clGetProgramInfo"), 0u);
            }

            // Second object: from the cache where there is one.
            s.ClearLog();
            TessivaPtr second = NewTessiva();
            second->SetOpenCLDevice(gpu.context, gpu.device);
            ASSERT_EQ(second->RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16), TESSIVA_S_OK);
            if (c.extension) {
                EXPECT_EQ(s.Calls("clCreateProgram"),
                          std::vector<std::string>{"clCreateProgramWithBinary program#2 length=" +
                                                   std::to_string(StandinBinary(source).size())});
                EXPECT_EQ(s.Count("clGetProgramInfo"), 0u);
            } else {
                EXPECT_EQ(s.Count("clCreateProgramWithBinary"), 0u);
                EXPECT_EQ(s.Count("clCreateProgramWithSource"), 1u);
                EXPECT_EQ(ReadFileBytes(CacheFile("bin")), StandinBinary(source));
                EXPECT_EQ(ReadFileBytes(CacheFile("ptx")), StandinBinary(source));
            }
            EXPECT_EQ(s.Count("clEnqueueNDRangeKernel RGB32toYUV32"), 1u);
        }
        standin_.reset();
    }
}

TEST_F(ProgramCacheTest, CacheFolderIsCreatedWithItsParents) {
    ScopedTempFolder nested("not" + std::string(1, kSeparator) + "there");
    Standin& s = Load();
    StandinGpu gpu(s, "AuthenticAMD");
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    const std::string file = nested.path() + "OpenCLFolderTS5.4.3.2" + kSeparator + "ColorConvert.bin";
    EXPECT_EQ(ReadFileBytes(file), StandinBinary(EmbeddedSource()));
}

TEST_F(ProgramCacheTest, EmptyCacheFileIsRebuiltAndRewritten) {
    WriteFileBytes(CacheFile("bin"), "");
    Standin& s = Load();
    StandinGpu gpu(s, "GenuineIntel");
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    const std::vector<std::string> programCalls = {
        "clCreateProgramWithBinary length=0 failed",
        "clCreateProgramWithSource program#1 " + EmbeddedSource().substr(0, EmbeddedSource().find('\n')),
    };
    EXPECT_EQ(s.Calls("clCreateProgram"), programCalls);
    EXPECT_EQ(ReadFileBytes(CacheFile("bin")), StandinBinary(EmbeddedSource()));
}

TEST_F(ProgramCacheTest, GarbageCacheFileIsRebuiltAndRewritten) {
    WriteFileBytes(CacheFile("ptx"), "garbage, not a program");
    Standin& s = Load();
    StandinGpu gpu(s, "NVIDIA Corporation");
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    const std::vector<std::string> builds = {
        "clBuildProgram program#1 devices=0 options=null notify=null failed",
        "clBuildProgram program#2 devices=0 options=null notify=null ok",
    };
    EXPECT_EQ(s.Calls("clBuildProgram"), builds);
    EXPECT_EQ(s.Calls("clCreateProgramWithBinary"),
              std::vector<std::string>{"clCreateProgramWithBinary program#1 length=22"});
    EXPECT_EQ(ReadFileBytes(CacheFile("ptx")), StandinBinary(EmbeddedSource()));
    // The program of the failed binary is left unreleased, as it always was.
    gpu.converter.reset();
    EXPECT_EQ(s.Count("clReleaseProgram program#1"), 0u);
    EXPECT_EQ(s.Count("clReleaseProgram program#2"), 1u);
}

TEST_F(ProgramCacheTest, DiskSourceWinsOverTheCacheAndIsNotCached) {
    const std::string cached = StandinBinary(EmbeddedSource());
    WriteFileBytes(CacheFile("bin"), cached);
    const std::string folder = Temp() + "kernels" + kSeparator;
    WriteFileBytes(folder + "OpenCLFolder" + kSeparator + "ColorConvert.cl", kDiskSource);
    Standin& s = Load();
    StandinGpu gpu(s, "AuthenticAMD");
    SetKernelFolder(*gpu.converter, folder);
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Calls("clCreateProgram"),
              std::vector<std::string>{"clCreateProgramWithSource program#1 // disk source"});
    EXPECT_EQ(s.Count("clGetProgramInfo"), 0u);
    EXPECT_EQ(ReadFileBytes(CacheFile("bin")), cached);
    EXPECT_FALSE(FileExists(CacheFile("ptx")));

    // Without a cached binary none is written either.
    std::filesystem::remove_all(CacheFolder());
    TessivaPtr second = NewTessiva();
    second->SetOpenCLDevice(gpu.context, gpu.device);
    SetKernelFolder(*second, folder);
    ASSERT_EQ(second->RGB32toYUV32(gpu.queue, 1, gpu.src, 4, 2, 16, 1, gpu.dst, 4, 2, 16), TESSIVA_S_OK);
    EXPECT_FALSE(FileExists(CacheFile("bin")));
}

TEST_F(ProgramCacheTest, KernelFolderGetsNoSeparatorAdded) {
    // "<temp>kernels" + "OpenCLFolder\ColorConvert.cl" names a sibling folder.
    WriteFileBytes(Temp() + "kernelsOpenCLFolder" + kSeparator + "ColorConvert.cl", kDiskSource);
    WriteFileBytes(Temp() + "kernels" + kSeparator + "OpenCLFolder" + kSeparator + "ColorConvert.cl",
                   "// the other one\n");
    Standin& s = Load();
    StandinGpu gpu(s, "Standin Vendor");
    SetKernelFolder(*gpu.converter, Temp() + "kernels");
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Calls("clCreateProgram"),
              std::vector<std::string>{"clCreateProgramWithSource program#1 // disk source"});
}

TEST_F(ProgramCacheTest, BrokenDiskSourceFallsThroughToTheCache) {
    const std::string cached = StandinBinary(EmbeddedSource());
    WriteFileBytes(CacheFile("bin"), cached);
    const std::string folder = Temp() + "kernels" + kSeparator;
    WriteFileBytes(folder + "OpenCLFolder" + kSeparator + "ColorConvert.cl", "// broken\n#error broken\n");
    Standin& s = Load();
    StandinGpu gpu(s, "Intel(R) Corporation");
    SetKernelFolder(*gpu.converter, folder);
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    const std::vector<std::string> programCalls = {
        "clCreateProgramWithSource program#1 // broken",
        "clCreateProgramWithBinary program#2 length=" + std::to_string(cached.size()),
    };
    EXPECT_EQ(s.Calls("clCreateProgram"), programCalls);
    EXPECT_EQ(s.Count("clReleaseProgram program#1"), 1u);
    EXPECT_EQ(s.Count("clEnqueueNDRangeKernel RGB32toYUV32"), 1u);
}

TEST_F(ProgramCacheTest, EmptyBinaryIsNotWritten) {
    Standin& s = Load();
    StandinGpu gpu(s, "AuthenticAMD");
    s.SetOption("BinarySizeZero", 1);
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Count("clGetProgramInfo"), 2u);
    EXPECT_TRUE(std::filesystem::is_directory(CacheFolder()));
    EXPECT_FALSE(FileExists(CacheFile("bin")));
}

TEST_F(ProgramCacheTest, UnusableCacheFolderOnlyMeansNoCache) {
    // A file where the cache folder should be.
    WriteFileBytes(Temp() + "OpenCLFolderTS5.4.3.2", "in the way");
    Standin& s = Load();
    StandinGpu gpu(s, "AuthenticAMD");
    ASSERT_EQ(gpu.Run(4, 2, 16, 16), TESSIVA_S_OK);
    EXPECT_EQ(s.Count("clCreateProgramWithSource"), 1u);
    EXPECT_EQ(s.Count("clEnqueueNDRangeKernel RGB32toYUV32"), 1u);
    EXPECT_EQ(ReadFileBytes(Temp() + "OpenCLFolderTS5.4.3.2"), "in the way");
}

}  // namespace
}  // namespace tessiva::test
