#include "frame_io.h"

#include <cerrno>
#include <cstring>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

namespace tessiva::tool {
namespace {

FILE* Binary(FILE* stream) {
#if defined(_WIN32)
    _setmode(_fileno(stream), _O_BINARY);
#endif
    return stream;
}

}  // namespace

FILE* BinaryStdout() { return Binary(stdout); }

RawInput::~RawInput() {
    if (owned_) std::fclose(file_);
}

bool RawInput::Open(const std::string& path, std::string* error) {
    if (path == "-") {
        file_ = Binary(stdin);
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

RawOutput::~RawOutput() {
    if (owned_ && file_) std::fclose(file_);
}

bool RawOutput::Open(const std::string& path, std::string* error) {
    if (path == "-") {
        file_ = Binary(stdout);
        name_ = "standard output";
        return true;
    }
    file_ = std::fopen(path.c_str(), "wb");
    if (!file_) {
        *error = "cannot create '" + path + "': " + std::strerror(errno);
        return false;
    }
    owned_ = true;
    name_ = "'" + path + "'";
    return true;
}

bool RawOutput::Write(const uint8_t* data, std::size_t bytes, std::string* error) {
    if (std::fwrite(data, 1, bytes, file_) == bytes) return true;
    *error = "cannot write " + name_;
    return false;
}

bool RawOutput::Close(std::string* error) {
    if (!file_) return true;
    bool ok = std::fflush(file_) == 0;
    if (owned_) ok = std::fclose(file_) == 0 && ok;
    file_ = nullptr;
    if (!ok) *error = "cannot write " + name_;
    return ok;
}

}  // namespace tessiva::tool
