// The OpenCL C source embedded in the library as a resource of type 97:
// the program's base name and a NUL, the source length L (32-bit little-endian),
// then the L source bytes and a NUL, each XOR-ed with kKernelSourceKey.
#pragma once
#include <cstdint>
#include <string>

#include "tessiva.h"

namespace tessiva {

constexpr uint16_t kKernelSourceResourceType = 97;
constexpr uint8_t kKernelSourceKey = 0x3C;

// A path split as _splitpath does: drive ("C:"), folder (up to the last slash
// or backslash), base name, extension (from the last dot of the name).
struct PathParts {
    std::string drive, folder, base, extension;
};
PathParts SplitPath(const std::string& path);

// Resource id of a base name: the sum of its characters taken as signed
// 8-bit values, truncated to 16 bits ("ColorConvert" gives 1248).
uint16_t KernelSourceResourceId(const std::string& baseName);

// Reads the kernel source of `programFile` (only its base name counts) from the
// module `moduleName` (only its base name counts; ".dll" is put in its place).
// With *size == 0 and no buffer it stores L in *size; any other call writes the
// L + 1 unscrambled bytes (text and NUL) to `buffer`. Answers 0, or E_FAIL with
// a message on the debugger output when the module or resource is not there.
TessivaResult LoadKernelSource(const char* programFile, const char* moduleName, uint32_t* size, char* buffer);

}  // namespace tessiva
