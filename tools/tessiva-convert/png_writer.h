// PNG writer: 8-bit RGB, no interlace, each row filtered with whichever of the
// five PNG filters gives the smallest sum of absolute differences, compressed
// by zlib.
#pragma once
#include <cstdint>
#include <vector>

namespace tessiva::tool {

// The PNG file of an RGB32 picture (bytes B, G, R, A per pixel; alpha dropped).
std::vector<uint8_t> EncodePng(const uint8_t* rgb32, int width, int height, int32_t pitch);

}  // namespace tessiva::tool
