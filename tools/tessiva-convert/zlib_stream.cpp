#include "zlib_stream.h"

#include <algorithm>
#include <array>

namespace tessiva::tool {
namespace {

// Writes bits least significant first, as deflate packs them into bytes.
class BitWriter {
public:
    explicit BitWriter(std::vector<uint8_t>* out) : out_(out) {}
    void Bits(uint32_t value, int count) {
        acc_ |= uint64_t(value) << used_;
        used_ += count;
        while (used_ >= 8) {
            out_->push_back(static_cast<uint8_t>(acc_));
            acc_ >>= 8;
            used_ -= 8;
        }
    }
    // A Huffman code goes out most significant bit first.
    void Code(uint32_t code, int length) {
        uint32_t reversed = 0;
        for (int i = 0; i < length; ++i) reversed |= ((code >> i) & 1u) << (length - 1 - i);
        Bits(reversed, length);
    }
    void Flush() {
        if (used_ > 0) out_->push_back(static_cast<uint8_t>(acc_));
        acc_ = 0;
        used_ = 0;
    }

private:
    std::vector<uint8_t>* out_;
    uint64_t acc_ = 0;
    int used_ = 0;
};

// Fixed literal/length code of RFC 1951, 3.2.6.
void PutSymbol(BitWriter& bits, int symbol) {
    if (symbol < 144) bits.Code(0x30 + symbol, 8);
    else if (symbol < 256) bits.Code(0x190 + symbol - 144, 9);
    else if (symbol < 280) bits.Code(symbol - 256, 7);
    else bits.Code(0xC0 + symbol - 280, 8);
}

constexpr std::array<int, 29> kLengthBase = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                             31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr std::array<int, 29> kLengthExtra = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                              2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};
constexpr std::array<int, 30> kDistanceBase = {1,   2,   3,   4,   5,   7,    9,    13,   17,   25,
                                               33,  49,  65,  97,  129, 193,  257,  385,  513,  769,
                                               1025, 1537, 2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577};
constexpr std::array<int, 30> kDistanceExtra = {0, 0, 0, 0, 1, 1, 2, 2,  3,  3,  4,  4,  5,  5,  6,
                                                6, 7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13};

// Index of the last base not above `value`.
template <std::size_t N>
int CodeIndex(const std::array<int, N>& bases, int value) {
    return static_cast<int>(std::upper_bound(bases.begin(), bases.end(), value) - bases.begin()) - 1;
}

void PutMatch(BitWriter& bits, int length, int distance) {
    const int li = CodeIndex(kLengthBase, length);
    PutSymbol(bits, 257 + li);
    bits.Bits(uint32_t(length - kLengthBase[li]), kLengthExtra[li]);
    const int di = CodeIndex(kDistanceBase, distance);
    bits.Code(uint32_t(di), 5);
    bits.Bits(uint32_t(distance - kDistanceBase[di]), kDistanceExtra[di]);
}

constexpr int kWindow = 32768, kMinMatch = 3, kMaxMatch = 258, kMaxChain = 16;
constexpr int kHashBits = 16;

uint32_t Hash3(const uint8_t* p) {
    return ((uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | p[2]) * 2654435761u) >> (32 - kHashBits);
}

void Deflate(const uint8_t* data, std::size_t size, std::vector<uint8_t>* out) {
    BitWriter bits(out);
    bits.Bits(1, 1);  // BFINAL: one block holds everything
    bits.Bits(1, 2);  // BTYPE 01: fixed Huffman codes
    // head: newest position + 1 per hash (0 = none); prev: the chain, by position mod window.
    std::vector<uint32_t> head(std::size_t(1) << kHashBits, 0), prev(kWindow, 0);
    auto insert = [&](std::size_t pos) {
        const uint32_t h = Hash3(data + pos);
        prev[pos % kWindow] = head[h];
        head[h] = static_cast<uint32_t>(pos + 1);
    };
    std::size_t pos = 0;
    while (pos < size) {
        int bestLength = 0, bestDistance = 0;
        if (size - pos >= kMinMatch) {
            const int limit = static_cast<int>(std::min<std::size_t>(kMaxMatch, size - pos));
            uint32_t candidate = head[Hash3(data + pos)];
            for (int chain = 0; candidate != 0 && chain < kMaxChain; ++chain) {
                const std::size_t from = candidate - 1;
                if (pos - from > kWindow) break;
                int length = 0;
                while (length < limit && data[from + length] == data[pos + length]) ++length;
                if (length > bestLength) {
                    bestLength = length;
                    bestDistance = static_cast<int>(pos - from);
                    if (length == limit) break;
                }
                const uint32_t next = prev[from % kWindow];
                if (next == 0 || next - 1 >= from) break;  // the slot was reused by a newer position
                candidate = next;
            }
        }
        if (bestLength >= kMinMatch) {
            PutMatch(bits, bestLength, bestDistance);
            const std::size_t end = pos + bestLength;
            for (; pos < end; ++pos)
                if (size - pos >= kMinMatch) insert(pos);
        } else {
            PutSymbol(bits, data[pos]);
            if (size - pos >= kMinMatch) insert(pos);
            ++pos;
        }
    }
    PutSymbol(bits, 256);  // end of block
    bits.Flush();
}

}  // namespace

uint32_t Crc32(const uint8_t* data, std::size_t size, uint32_t crc) {
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = n;
            for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    crc = ~crc;
    for (std::size_t i = 0; i < size; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

uint32_t Adler32(const uint8_t* data, std::size_t size, uint32_t adler) {
    constexpr uint32_t kMod = 65521;
    uint32_t a = adler & 0xFFFF, b = adler >> 16;
    while (size > 0) {
        // 5552 bytes is the most that cannot overflow b before the reduction.
        const std::size_t run = std::min<std::size_t>(size, 5552);
        for (std::size_t i = 0; i < run; ++i) {
            a += data[i];
            b += a;
        }
        a %= kMod;
        b %= kMod;
        data += run;
        size -= run;
    }
    return b << 16 | a;
}

std::vector<uint8_t> ZlibCompress(const uint8_t* data, std::size_t size) {
    std::vector<uint8_t> out;
    out.reserve(size / 4 + 64);
    out.push_back(0x78);  // deflate, 32 KiB window
    out.push_back(0x01);  // no dictionary; 0x7801 is a multiple of 31
    Deflate(data, size, &out);
    const uint32_t adler = Adler32(data, size);
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(adler >> shift));
    return out;
}

}  // namespace tessiva::tool
