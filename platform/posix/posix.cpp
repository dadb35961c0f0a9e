// POSIX side of the platform layer.
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/common/reg_file.h"
#include "platform/common/utf.h"
#include "platform/platform.h"

namespace tessiva::platform {

static_assert(sizeof(pthread_mutex_t) <= 64, "lock storage too small");

CriticalSection::CriticalSection() {
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(reinterpret_cast<pthread_mutex_t*>(storage_), &attr);
    pthread_mutexattr_destroy(&attr);
}
CriticalSection::~CriticalSection() { pthread_mutex_destroy(reinterpret_cast<pthread_mutex_t*>(storage_)); }
void CriticalSection::Enter() { pthread_mutex_lock(reinterpret_cast<pthread_mutex_t*>(storage_)); }
void CriticalSection::Leave() { pthread_mutex_unlock(reinterpret_cast<pthread_mutex_t*>(storage_)); }

namespace {

// An open key: the settings file as read at Open, and the key's full path.
struct OpenKey {
    RegFile file;
    std::u16string path;
};

std::string RegistryFilePath() {
    const char* p = std::getenv("BRENNIX_REGISTRY_FILE");
    return p && *p ? p : "/etc/brennix/registry.reg";
}

// "Name.dll" -> "libName.so"; "OpenCL.dll" -> "libOpenCL.so.1".
std::string SharedObjectName(const std::u16string& dllName) {
    std::string name = Utf16ToUtf8(dllName);
    const size_t slash = name.find_last_of("\\/");
    std::string dir = slash == std::string::npos ? "" : name.substr(0, slash + 1);
    for (auto& c : dir)
        if (c == '\\') c = '/';
    std::string base = slash == std::string::npos ? name : name.substr(slash + 1);
    if (base.size() > 4 && strcasecmp(base.c_str() + base.size() - 4, ".dll") == 0) base.resize(base.size() - 4);
    if (strcasecmp(base.c_str(), "OpenCL") == 0) return dir + "libOpenCL.so.1";
    return dir + "lib" + base + ".so";
}

}  // namespace

bool RegistryKey::Open(const std::u16string& path) {
    Close();
    auto* key = new (std::nothrow) OpenKey;
    if (!key) return false;
    key->path = u"HKEY_LOCAL_MACHINE\\" + path;
    if (!key->file.Load(RegistryFilePath()) || !key->file.HasKey(key->path)) {
        delete key;
        return false;
    }
    handle_ = key;
    return true;
}

long RegistryKey::Query(const std::u16string& name, uint32_t* type, void* data, uint32_t* size) const {
    const auto* key = static_cast<const OpenKey*>(handle_);
    if (!key) return kRegNotFound;
    const RegValue* v = key->file.Find(key->path, name);
    if (!v) return kRegNotFound;
    if (type) *type = v->type;
    const uint32_t needed = static_cast<uint32_t>(v->data.size());
    if (data) {
        if (!size || *size < needed) {
            if (size) *size = needed;
            return kRegMoreData;
        }
        if (needed) std::memcpy(data, v->data.data(), needed);
    }
    if (size) *size = needed;
    return kRegOk;
}

void RegistryKey::Close() {
    delete static_cast<OpenKey*>(handle_);
    handle_ = nullptr;
}

void DebugOutput(const char* text) {
    const char* path = std::getenv("BRENNIX_DEBUG_OUTPUT");
    if (!path || !*path || !text) return;
    const int fd = ::open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return;
    const size_t n = std::strlen(text);
    ssize_t w = ::write(fd, text, n);
    (void)w;
    ::close(fd);
}

ModuleHandle LoadModule(const std::u16string& dllName) {
    return dlopen(SharedObjectName(dllName).c_str(), RTLD_NOW | RTLD_LOCAL);
}

ModuleHandle GetLoadedModule(const std::u16string& dllName) {
    void* h = dlopen(SharedObjectName(dllName).c_str(), RTLD_NOW | RTLD_NOLOAD);
    // Like GetModuleHandle, take no reference: the module stays loaded by whoever loaded it.
    if (h) dlclose(h);
    return h;
}

void* GetSymbol(ModuleHandle module, const char* name) { return module ? dlsym(module, name) : nullptr; }

void UnloadModule(ModuleHandle module) {
    if (module) dlclose(module);
}

std::u16string ModuleFileName(ModuleHandle module) {
    std::string path;
    if (module) {
        struct link_map* map = nullptr;
        if (dlinfo(module, RTLD_DI_LINKMAP, &map) == 0 && map && map->l_name && *map->l_name) path = map->l_name;
    }
    if (path.empty()) {
        char buf[4096];
        const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
        if (n > 0) path.assign(buf, size_t(n));
    }
    std::u16string wide;
    Utf8ToUtf16(path, &wide);
    return wide;
}

ModuleHandle OwnModule() {
    Dl_info info;
    if (!dladdr(reinterpret_cast<void*>(&OwnModule), &info) || !info.dli_fname) return nullptr;
    void* h = dlopen(info.dli_fname, RTLD_NOW | RTLD_NOLOAD);
    if (h) dlclose(h);
    return h;
}

namespace {

// One loaded module's identity (its dynamic section) and, once found, its
// resource note of the wanted type and id.
struct NoteSearch {
    const void* dynamic;
    uint16_t type, id;
    const Elf64_Nhdr* found;
};

const Elf64_Nhdr* FindNote(const unsigned char* at, size_t size, uint16_t type, uint16_t id) {
    size_t pos = 0;
    while (pos + sizeof(Elf64_Nhdr) <= size) {
        const auto* note = reinterpret_cast<const Elf64_Nhdr*>(at + pos);
        const size_t nameAt = pos + sizeof(Elf64_Nhdr);
        const size_t descAt = nameAt + ((size_t(note->n_namesz) + 3) & ~size_t(3));
        const size_t next = descAt + ((size_t(note->n_descsz) + 3) & ~size_t(3));
        if (next > size || next <= pos) return nullptr;
        if (note->n_type == type && note->n_namesz == 8 && std::memcmp(at + nameAt, "Brennix", 8) == 0 &&
            note->n_descsz >= 4) {
            uint16_t noteId;
            std::memcpy(&noteId, at + descAt, 2);
            if (noteId == id) return note;
        }
        pos = next;
    }
    return nullptr;
}

int SearchModuleNotes(struct dl_phdr_info* info, size_t, void* data) {
    auto* search = static_cast<NoteSearch*>(data);
    bool ours = false;
    for (int i = 0; i < info->dlpi_phnum; ++i)
        if (info->dlpi_phdr[i].p_type == PT_DYNAMIC &&
            reinterpret_cast<const void*>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr) == search->dynamic)
            ours = true;
    if (!ours) return 0;
    for (int i = 0; i < info->dlpi_phnum && !search->found; ++i) {
        const ElfW(Phdr)& ph = info->dlpi_phdr[i];
        if (ph.p_type != PT_NOTE) continue;
        search->found = FindNote(reinterpret_cast<const unsigned char*>(info->dlpi_addr + ph.p_vaddr), ph.p_memsz,
                                 search->type, search->id);
    }
    return 1;
}

}  // namespace

void* FindModuleResource(ModuleHandle module, uint16_t type, uint16_t id) {
    struct link_map* map = nullptr;
    if (!module || dlinfo(module, RTLD_DI_LINKMAP, &map) != 0 || !map) return nullptr;
    NoteSearch search{map->l_ld, type, id, nullptr};
    dl_iterate_phdr(SearchModuleNotes, &search);
    return const_cast<Elf64_Nhdr*>(search.found);
}

void* LoadModuleResource(ModuleHandle module, void* found) { return module ? found : nullptr; }

const void* LockModuleResource(void* loaded) {
    if (!loaded) return nullptr;
    const auto* note = static_cast<const Elf64_Nhdr*>(loaded);
    // Past the header, the 8-byte owner name, and the id and language.
    return reinterpret_cast<const unsigned char*>(note + 1) + 8 + 4;
}

uint32_t ModuleResourceSize(ModuleHandle, void* found) {
    return found ? static_cast<const Elf64_Nhdr*>(found)->n_descsz - 4 : 0;
}

std::FILE* OpenFile(const std::u16string& path, const char* mode) {
    return std::fopen(Utf16ToUtf8(NativePath(path)).c_str(), mode);
}

bool GetEnvironment(const char16_t* name, std::u16string* value) {
    const char* v = std::getenv(Utf16ToUtf8(name).c_str());
    if (!v) return false;
    Utf8ToUtf16(v, value);
    return true;
}

bool SetEnvironment(const char16_t* name, const char16_t* value) {
    return setenv(Utf16ToUtf8(name).c_str(), Utf16ToUtf8(value).c_str(), 1) == 0;
}

std::u16string TempFolder() {
    const char* t = std::getenv("TMPDIR");
    std::string dir = t && *t ? t : "/tmp";
    if (dir.back() != '/') dir += '/';
    std::u16string wide;
    Utf8ToUtf16(dir, &wide);
    return wide;
}

bool CreateFolders(const std::u16string& path) {
    const std::string p = Utf16ToUtf8(NativePath(path));
    if (p.empty()) return false;
    for (size_t i = 1; i <= p.size(); ++i) {
        if (i != p.size() && p[i] != '/') continue;
        const std::string part = p.substr(0, i);
        if (::mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return false;
    }
    struct stat st;
    return ::stat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::u16string NativePath(const std::u16string& path) {
    std::u16string p = path;
    for (auto& c : p)
        if (c == u'\\') c = u'/';
    return p;
}

void* PageAlloc(std::size_t bytes) {
    void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return p == MAP_FAILED ? nullptr : p;
}

void PageFree(void* p, std::size_t bytes) {
    if (p) munmap(p, bytes);
}

std::u16string Widen(const std::string& text) {
    std::u16string out;
    Utf8ToUtf16(text, &out);
    return out;
}

std::string Narrow(const std::u16string& text) { return Utf16ToUtf8(text); }

}  // namespace tessiva::platform
