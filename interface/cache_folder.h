#pragma once
#include <string>

namespace tessiva {

// "OpenCLFolderTS<product version>\" from the version information of the loaded
// module `moduleName` ("Name.dll"), or of the host executable when that module is
// not loaded; empty when the file carries no product version. At most 259 units.
std::u16string ComposeCacheFolderName(const std::u16string& moduleName);

// Bounded copy of a NUL-terminated UTF-16 string into dst[capacity], as the
// runtime's wcscpy_s: 0 on success; 22 (EINVAL) for a null source and 34
// (ERANGE) when it does not fit, both leaving dst empty.
int CopyBoundedString(char16_t* dst, std::size_t capacity, const char16_t* src);

}  // namespace tessiva
