// Just enough of zlib for PNG files: the two checksums and a compressor that
// writes one deflate block with the fixed Huffman codes, fed by a hash-chain
// LZ77 matcher.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessiva::tool {

// CRC-32 of ISO 3309 / PNG (reflected polynomial 0xEDB88320). Pass the previous
// result as `crc` to continue a running checksum; start with 0.
uint32_t Crc32(const uint8_t* data, std::size_t size, uint32_t crc = 0);
// Adler-32 of RFC 1950; start with 1 to continue a running checksum.
uint32_t Adler32(const uint8_t* data, std::size_t size, uint32_t adler = 1);

// A complete zlib stream (RFC 1950 header, RFC 1951 data, Adler-32 trailer).
std::vector<uint8_t> ZlibCompress(const uint8_t* data, std::size_t size);

}  // namespace tessiva::tool
