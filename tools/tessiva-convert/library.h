// The Tessiva library as tessiva-convert uses it: linked as any host links it
// (libTessiva.so, or Tessiva.dll through its import library) and reached only
// through the exported functions and the slots of one version-1 converter,
// which lives as long as this object.
#pragma once
#include <cstdint>
#include <string>

#include "tessiva.h"

namespace tessiva::tool {

class Library {
public:
    Library() = default;
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Creates the converter; false with `error` set. `level` (0, 1, 2, 3, 4
    // or 6) caps the instruction-set level the library may use; -1 leaves it
    // to the library.
    bool Load(int level, std::string* error);
    ITessiva* converter() const { return converter_; }

private:
    ITessiva* converter_ = nullptr;
    std::string capFile_;
};

// Whether Load can cap the level on this system; false with `why` set.
bool LevelCapAvailable(std::string* why);

// The mask of extensions (the registry value InstructionSet) that leaves the
// library `level` (0, 1, 2, 3, 4 or 6) at most.
uint32_t LevelMask(int level);

}  // namespace tessiva::tool
