// Reader of the Windows .reg export format ("Windows Registry Editor Version
// 5.00"), which stands in for the registry on POSIX and is tested on both
// targets. Keys compare case-insensitively. A file that does not parse as a
// whole yields no values at all.
#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tessiva::platform {

struct RegValue {
    uint32_t type = 0;           // REG_SZ 1, REG_EXPAND_SZ 2, REG_BINARY 3, REG_DWORD 4, REG_MULTI_SZ 7, REG_QWORD 11, ...
    std::vector<uint8_t> data;   // bytes as RegQueryValueExW returns them (strings in UTF-16LE with terminator)
};

class RegFile {
public:
    // Parses `text` (UTF-8, or UTF-16LE with a byte-order mark). False, and no
    // values, when it is not a well-formed .reg file.
    bool Parse(const std::string& text);
    // Reads and parses a file; false when it is missing or malformed.
    bool Load(const std::string& path);
    // Full key path "HKEY_LOCAL_MACHINE\..." (case-insensitive, no trailing backslash).
    bool HasKey(const std::u16string& key) const;
    // Null when absent. An empty name is the key's default value ("@").
    const RegValue* Find(const std::u16string& key, const std::u16string& name) const;

private:
    // Lower-cased key path -> lower-cased value name -> value.
    std::map<std::u16string, std::map<std::u16string, RegValue>> keys_;
};

// Lower-cases ASCII letters and drops trailing backslashes, as key comparison needs.
std::u16string FoldKey(const std::u16string& key);

}  // namespace tessiva::platform
