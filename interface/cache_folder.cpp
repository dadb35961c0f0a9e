#include "interface/cache_folder.h"

#include "platform/platform.h"

namespace tessiva {

std::u16string ComposeCacheFolderName(const std::u16string& moduleName) {
    // An unloaded module gives a null handle, whose file name is the host
    // executable's: its version names the folder then.
    const platform::ModuleHandle module = platform::GetLoadedModule(moduleName);
    const std::u16string version = platform::ProductVersion(platform::ModuleFileName(module));
    if (version.empty()) return std::u16string();
    std::u16string name = u"OpenCLFolderTS" + version;
    if (name.back() != u'\\') name += u'\\';
    if (name.size() > 259) name.clear();
    return name;
}

int CopyBoundedString(char16_t* dst, std::size_t capacity, const char16_t* src) {
    if (!src) {
        dst[0] = 0;
        return 22;
    }
    std::size_t n = 0;
    while (n < capacity && src[n]) ++n;
    if (n == capacity) {
        dst[0] = 0;
        return 34;
    }
    for (std::size_t i = 0; i <= n; ++i) dst[i] = src[i];
    return 0;
}

}  // namespace tessiva
