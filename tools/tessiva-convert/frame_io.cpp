#include "frame_io.h"

#include <cerrno>
#include <cstring>

#include "system.h"

namespace tessiva::tool {

RawInput::~RawInput() {
    if (owned_) std::fclose(file_);
}

bool RawInput::Open(const std::string& path, std::string* error) {
    if (path == "-") {
        file_ = BinaryStream(stdin);
        name_ = "standard input";
        return true;
    }
    file_ = std::fopen(path.c_str(), "rb");
    if (!file_) {
        *error = "cannot open '" + path + "': " + std::strerror(errno);
        return false;
    }
    owned_ = true;
    name_ = "'" + path + "'";
    return true;
}

RawInput::Result RawInput::Read(uint8_t* data, std::size_t bytes, std::string* error) {
    const std::size_t got = std::fread(data, 1, bytes, file_);
    if (got == bytes) return kFrame;
    if (std::ferror(file_)) {
        *error = "cannot read " + name_;
        return kError;
    }
    if (got == 0) return kEnd;
    *error = name_ + " ends inside a frame (" + std::to_string(got) + " of " + std::to_string(bytes) +
             " bytes): check --from and --size";
    return kError;
}

}  // namespace tessiva::tool
