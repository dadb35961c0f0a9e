// Minimal PNG writer: 8-bit RGB, no interlace, each row filtered with whichever
// of the five PNG filters gives the smallest sum of absolute differences.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace tessiva::tool {

// The PNG file of an RGB32 picture (bytes B, G, R, A per pixel; alpha dropped).
std::vector<uint8_t> EncodePng(const uint8_t* rgb32, int width, int height, int32_t pitch);

// Writes the bytes to `path`; false with `error` set on failure.
bool WriteFile(const std::string& path, const std::vector<uint8_t>& bytes, std::string* error);

}  // namespace tessiva::tool
