// Raw frames in: a file, or standard input for "-" (in binary mode on Windows,
// so that no byte is translated). Frames go out through OutputFile (system.h).
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace tessiva::tool {

class RawInput {
public:
    enum Result { kFrame, kEnd, kError };
    RawInput() = default;
    ~RawInput();
    RawInput(const RawInput&) = delete;
    RawInput& operator=(const RawInput&) = delete;

    bool Open(const std::string& path, std::string* error);
    // Reads exactly `bytes`: kEnd when the input ends before the first byte,
    // kError (with `error`) when it ends inside the frame or cannot be read.
    Result Read(uint8_t* data, std::size_t bytes, std::string* error);
    std::FILE* stream() const { return file_; }

private:
    FILE* file_ = nullptr;
    bool owned_ = false;
    std::string name_;
};

}  // namespace tessiva::tool
