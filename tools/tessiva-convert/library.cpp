#include "library.h"

namespace tessiva::tool {

Library::~Library() {
    if (converter_ && release_) release_(converter_);
    platform::UnloadModule(module_);
}

bool Library::Load(std::string* error) {
#if defined(_WIN32)
    const char* file = "Tessiva.dll";
#else
    const char* file = "libTessiva.so";
#endif
    // Beside this program first, named by full path: a search by bare name on
    // Linux depends on who calls dlopen (a sanitizer's interceptor has no
    // RUNPATH of ours). Then the system's search, as a host would load it.
    const std::u16string program = platform::ModuleFileName(nullptr);
    const std::size_t slash = program.find_last_of(u"\\/");
    if (slash != std::u16string::npos)
        module_ = platform::LoadModule(program.substr(0, slash + 1) + u"Tessiva.dll");
    if (!module_) module_ = platform::LoadModule(u"Tessiva.dll");
    if (!module_) {
        *error = std::string("cannot load ") + file +
                 " (looked for beside this program, then on the system's library path)";
        return false;
    }
    using GetFunction = TessivaHandle(TESSIVA_CALL*)();
    auto get = reinterpret_cast<GetFunction>(platform::GetSymbol(module_, "GetTessiva"));
    release_ = reinterpret_cast<ReleaseFunction>(platform::GetSymbol(module_, "ReleaseTessiva"));
    if (!get || !release_) {
        *error = std::string(file) + " does not export GetTessiva and ReleaseTessiva";
        return false;
    }
    // The tool converts host memory only: keep the OpenCL runtime unloaded
    // (faster start, and no driver state left behind at exit).
    std::u16string detect;
    if (!platform::GetEnvironment(u"DetectOpenCL", &detect)) platform::SetEnvironment(u"DetectOpenCL", u"2");
    converter_ = get();
    if (!converter_) {
        *error = "GetTessiva returned no converter";
        return false;
    }
    return true;
}

}  // namespace tessiva::tool
