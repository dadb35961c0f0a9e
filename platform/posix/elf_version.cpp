// Reads the product version note (owner "Brennix", type 1) of an ELF file.
#include <elf.h>

#include <cstring>
#include <fstream>
#include <vector>

#include "platform/common/utf.h"
#include "platform/platform.h"

namespace tessiva::platform {
namespace {

bool ReadAt(std::ifstream& f, uint64_t offset, void* out, size_t size) {
    f.seekg(static_cast<std::streamoff>(offset));
    f.read(static_cast<char*>(out), static_cast<std::streamsize>(size));
    return static_cast<size_t>(f.gcount()) == size;
}

// Walks the notes of one SHT_NOTE section for ours.
bool FindInNotes(const std::vector<char>& notes, std::string* version) {
    size_t pos = 0;
    while (pos + 12 <= notes.size()) {
        uint32_t nameSize, descSize, type;
        std::memcpy(&nameSize, &notes[pos], 4);
        std::memcpy(&descSize, &notes[pos + 4], 4);
        std::memcpy(&type, &notes[pos + 8], 4);
        const size_t nameAt = pos + 12;
        const size_t descAt = nameAt + ((uint64_t(nameSize) + 3) & ~uint64_t(3));
        const size_t next = descAt + ((uint64_t(descSize) + 3) & ~uint64_t(3));
        if (next > notes.size() || next <= pos) return false;
        if (type == 1 && nameSize == 8 && std::memcmp(&notes[nameAt], "Brennix", 8) == 0) {
            const char* desc = &notes[descAt];
            *version = std::string(desc, strnlen(desc, descSize));
            return true;
        }
        pos = next;
    }
    return false;
}

}  // namespace

std::u16string ProductVersion(const std::u16string& fileName) {
    std::ifstream f(Utf16ToUtf8(fileName), std::ios::binary);
    if (!f) return std::u16string();
    Elf64_Ehdr eh;
    if (!ReadAt(f, 0, &eh, sizeof eh) || std::memcmp(eh.e_ident, ELFMAG, SELFMAG) != 0 ||
        eh.e_ident[EI_CLASS] != ELFCLASS64 || eh.e_shentsize != sizeof(Elf64_Shdr) || eh.e_shnum > 4096)
        return std::u16string();
    for (unsigned i = 0; i < eh.e_shnum; ++i) {
        Elf64_Shdr sh;
        if (!ReadAt(f, eh.e_shoff + uint64_t(i) * sizeof sh, &sh, sizeof sh)) return std::u16string();
        if (sh.sh_type != SHT_NOTE || sh.sh_size > (1u << 20)) continue;
        std::vector<char> notes(sh.sh_size);
        if (!ReadAt(f, sh.sh_offset, notes.data(), notes.size())) continue;
        std::string version;
        if (FindInNotes(notes, &version)) {
            std::u16string wide;
            Utf8ToUtf16(version, &wide);
            return wide;
        }
    }
    return std::u16string();
}

}  // namespace tessiva::platform
