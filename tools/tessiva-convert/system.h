// What tessiva-convert needs of the operating system beyond the C library:
// file identities, terminals, the environment and safe replacement of files.
// POSIX calls on Linux, Win32 calls on Windows (system.cpp).
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>

namespace tessiva::tool {

// What a path or an open stream refers to. Two names of one file (hard or
// symbolic links included) have equal `device` and `index`: device and inode
// on POSIX, volume serial number and file index on Windows.
struct FileIdentity {
    bool exists = false;
    bool regular = false;  // an ordinary file on disk (not a device, pipe or folder)
    uint64_t device = 0, index = 0;
    bool SameFile(const FileIdentity& other) const {
        return regular && other.regular && device == other.device && index == other.index;
    }
};

// Follows links; `exists` is false when nothing is there.
FileIdentity IdentifyPath(const std::string& path);
// Of an open stream (standard input or output included); `exists` is false
// for a pipe, a terminal or anything else without an identity.
FileIdentity IdentifyStream(std::FILE* stream);

bool IsTerminal(std::FILE* stream);
bool SetEnvironment(const char* name, const char* value);
// The running program's file name without folder and extension.
std::string ProgramBaseName();
#if !defined(_WIN32)
// A file of the temporary folder ($TMPDIR, else /tmp) that did not exist
// before, created empty; empty on failure.
std::string CreateTemporaryFile(const char* prefix, const char* suffix);
#endif

// A file written under a temporary name beside its final name and renamed
// into place by Commit(). Until then an existing file of that name stays as
// it was; a file that is not committed is removed. "-" is standard output,
// written directly; so is an existing non-regular file such as /dev/null,
// which a rename would replace.
class OutputFile {
public:
    OutputFile() = default;
    ~OutputFile() { Discard(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool Open(const std::string& path, std::string* error);
    bool IsOpen() const { return stream_ != nullptr; }
    bool Write(const void* data, std::size_t bytes, std::string* error);
    // Flushes, closes and renames into place; false with `error` set.
    bool Commit(std::string* error);
    // Closes and removes the temporary file, if any.
    void Discard();

private:
    std::FILE* stream_ = nullptr;
    bool owned_ = false;
    std::string path_, target_;  // as given; the file it names, links resolved
    std::string temporary_;      // empty: written in place
};

// Standard input or output in binary mode (no byte translated on Windows).
std::FILE* BinaryStream(std::FILE* stream);

}  // namespace tessiva::tool
