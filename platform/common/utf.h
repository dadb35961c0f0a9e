#pragma once
#include <string>

namespace tessiva::platform {

// UTF-8 to UTF-16; false (and a partial result) on malformed input.
bool Utf8ToUtf16(const std::string& in, std::u16string* out);
// UTF-16 to UTF-8; unpaired surrogates become U+FFFD.
std::string Utf16ToUtf8(const std::u16string& in);

}  // namespace tessiva::platform
