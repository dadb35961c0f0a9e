// Raw frames in and out: a file, or standard input / output for "-" (switched to
// binary mode on Windows so that no byte is translated).
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

private:
    FILE* file_ = nullptr;
    bool owned_ = false;
    std::string name_;
};

class RawOutput {
public:
    RawOutput() = default;
    ~RawOutput();
    RawOutput(const RawOutput&) = delete;
    RawOutput& operator=(const RawOutput&) = delete;

    bool Open(const std::string& path, std::string* error);
    bool Write(const uint8_t* data, std::size_t bytes, std::string* error);
    // Flushes and closes; a failure here (a full disk) is reported too.
    bool Close(std::string* error);

private:
    FILE* file_ = nullptr;
    bool owned_ = false;
    std::string name_;
};

// Standard output in binary mode (for the PNG preview written to "-").
FILE* BinaryStdout();

}  // namespace tessiva::tool
