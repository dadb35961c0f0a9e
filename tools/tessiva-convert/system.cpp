#include "system.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tessiva::tool {
namespace {

#if defined(_WIN32)
constexpr const char* kSeparators = "\\/";

FileIdentity IdentifyHandle(HANDLE handle) {
    FileIdentity id;
    if (handle == INVALID_HANDLE_VALUE || handle == nullptr) return id;
    id.exists = true;
    BY_HANDLE_FILE_INFORMATION info;
    if (GetFileType(handle) != FILE_TYPE_DISK || !GetFileInformationByHandle(handle, &info)) return id;
    id.regular = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    id.device = info.dwVolumeSerialNumber;
    id.index = uint64_t(info.nFileIndexHigh) << 32 | info.nFileIndexLow;
    return id;
}
#else
constexpr const char* kSeparators = "/";

FileIdentity FromStat(const struct stat& st) {
    FileIdentity id;
    id.exists = true;
    id.regular = S_ISREG(st.st_mode);
    id.device = uint64_t(st.st_dev);
    id.index = uint64_t(st.st_ino);
    return id;
}
#endif

// A new, empty file beside `path` that nobody else has opened: ".NAME.XXXXXX"
// in the same folder, so that the final rename stays within one file system.
std::FILE* CreateBeside(const std::string& path, std::string* name) {
    const std::size_t slash = path.find_last_of(kSeparators);
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
#if defined(_WIN32)
    for (unsigned attempt = 0; attempt < 1000; ++attempt) {
        *name = folder + "." + base + "." + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(attempt);
        const int fd = _open(name->c_str(), _O_CREAT | _O_EXCL | _O_WRONLY | _O_BINARY, _S_IREAD | _S_IWRITE);
        if (fd >= 0) return _fdopen(fd, "wb");
        if (errno != EEXIST) return nullptr;
    }
    return nullptr;
#else
    *name = folder + "." + base + ".XXXXXX";
    const int fd = mkstemp(&(*name)[0]);
    if (fd < 0) return nullptr;
    // mkstemp makes the file private to its owner; give it the permissions
    // of any file this user creates.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd, 0666 & ~mask);
    std::FILE* stream = fdopen(fd, "wb");
    if (!stream) {
        close(fd);
        std::remove(name->c_str());
    }
    return stream;
#endif
}

bool RenameOver(const std::string& from, const std::string& to) {
#if defined(_WIN32)
    return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
#else
    return std::rename(from.c_str(), to.c_str()) == 0;
#endif
}

}  // namespace

FileIdentity IdentifyPath(const std::string& path) {
#if defined(_WIN32)
    HANDLE h = CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    const FileIdentity id = IdentifyHandle(h);
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
    return id;
#else
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? FromStat(st) : FileIdentity();
#endif
}

FileIdentity IdentifyStream(std::FILE* stream) {
#if defined(_WIN32)
    return IdentifyHandle(reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))));
#else
    struct stat st;
    return fstat(fileno(stream), &st) == 0 ? FromStat(st) : FileIdentity();
#endif
}

bool IsTerminal(std::FILE* stream) {
#if defined(_WIN32)
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

bool SetEnvironment(const char* name, const char* value) {
#if defined(_WIN32)
    return SetEnvironmentVariableA(name, value) != 0;
#else
    return setenv(name, value, 1) == 0;
#endif
}

std::string ProgramBaseName() {
    std::string path;
#if defined(_WIN32)
    char buffer[MAX_PATH];
    const DWORD n = GetModuleFileNameA(nullptr, buffer, MAX_PATH);
    if (n > 0 && n < MAX_PATH) path.assign(buffer, n);
#else
    char buffer[4096];
    const ssize_t n = readlink("/proc/self/exe", buffer, sizeof buffer);
    if (n > 0 && std::size_t(n) < sizeof buffer) path.assign(buffer, std::size_t(n));
#endif
    const std::size_t slash = path.find_last_of(kSeparators);
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = base.rfind('.');
    if (dot != std::string::npos) base.resize(dot);
    return base;
}

#if !defined(_WIN32)
std::string CreateTemporaryFile(const char* prefix, const char* suffix) {
    const char* folder = std::getenv("TMPDIR");
    std::string name = std::string(folder && *folder ? folder : "/tmp") + "/" + prefix + "XXXXXX" + suffix;
    const int fd = mkstemps(&name[0], int(std::strlen(suffix)));
    if (fd < 0) return {};
    close(fd);
    return name;
}
#endif

std::FILE* BinaryStream(std::FILE* stream) {
#if defined(_WIN32)
    _setmode(_fileno(stream), _O_BINARY);
#endif
    return stream;
}

bool OutputFile::Open(const std::string& path, std::string* error) {
    path_ = path;
    if (path == "-") {
        stream_ = BinaryStream(stdout);
        return true;
    }
    const FileIdentity existing = IdentifyPath(path);
    if (existing.exists && !existing.regular) {
        stream_ = std::fopen(path.c_str(), "wb");
    } else {
        // A symbolic link stays a link: its target is what gets replaced.
        std::string target = path;
#if !defined(_WIN32)
        if (existing.exists) {
            char* resolved = realpath(path.c_str(), nullptr);
            if (resolved) target = resolved;
            std::free(resolved);
        }
#endif
        stream_ = CreateBeside(target, &temporary_);
        target_ = target;
        if (!stream_) temporary_.clear();
    }
    if (!stream_) {
        *error = "cannot create '" + path + "'" + (existing.exists ? "" : " (or a file beside it)") + ": " +
                 std::strerror(errno);
        return false;
    }
    owned_ = true;
    return true;
}

bool OutputFile::Write(const void* data, std::size_t bytes, std::string* error) {
    if (std::fwrite(data, 1, bytes, stream_) == bytes) return true;
    *error = path_ == "-" ? "cannot write to standard output" : "cannot write '" + path_ + "'";
    return false;
}

bool OutputFile::Commit(std::string* error) {
    if (!stream_) return true;
    bool ok = std::fflush(stream_) == 0;
    if (owned_) ok = std::fclose(stream_) == 0 && ok;
    stream_ = nullptr;
    owned_ = false;
    if (ok && !temporary_.empty()) {
        ok = RenameOver(temporary_, target_);
        if (ok) temporary_.clear();
    }
    if (!ok) {
        *error = path_ == "-" ? "cannot write to standard output" : "cannot write '" + path_ + "'";
        Discard();
    }
    return ok;
}

void OutputFile::Discard() {
    if (stream_ && owned_) std::fclose(stream_);
    stream_ = nullptr;
    owned_ = false;
    if (!temporary_.empty()) std::remove(temporary_.c_str());
    temporary_.clear();
}

}  // namespace tessiva::tool
