// The Tessiva library loaded at run time, as a host loads it: LoadModule on
// "Tessiva.dll" (libTessiva.so on Linux), GetTessiva / ReleaseTessiva looked up
// by name, and one version-1 converter for the life of this object.
#pragma once
#include <string>

#include "platform/platform.h"
#include "tessiva.h"

namespace tessiva::tool {

class Library {
public:
    Library() = default;
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Loads the module and creates the converter; false with `error` set.
    bool Load(std::string* error);
    ITessiva* converter() const { return converter_; }

private:
    using ReleaseFunction = TessivaResult(TESSIVA_CALL*)(TessivaHandle);
    platform::ModuleHandle module_ = nullptr;
    ReleaseFunction release_ = nullptr;
    ITessiva* converter_ = nullptr;
};

}  // namespace tessiva::tool
