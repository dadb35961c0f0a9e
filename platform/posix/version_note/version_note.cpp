// The product version record of one of our Linux modules: an ELF note of owner
// "Brennix", type 1, whose descriptor is the NUL-terminated version text. It is
// what the Windows build keeps in its VERSIONINFO resource.
#include <cstdint>

#ifndef TESSIVA_NOTE_VERSION
#error "TESSIVA_NOTE_VERSION must name the product version"
#endif

namespace {

struct VersionNote {
    uint32_t nameSize;
    uint32_t descSize;
    uint32_t type;
    char name[8];
    char desc[32];
};
static_assert(sizeof(TESSIVA_NOTE_VERSION) <= 32, "version text too long for the note");

__attribute__((section(".note.brennix.version"), used, aligned(4)))
const VersionNote kVersionNote = {8, 32, 1, "Brennix", TESSIVA_NOTE_VERSION};

}  // namespace
