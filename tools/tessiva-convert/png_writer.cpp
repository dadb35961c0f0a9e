#include "png_writer.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace tessiva::tool {
namespace {

constexpr int kChannels = 3;  // bytes per pixel of the PNG rows, the filters' distance

void PutBE32(std::vector<uint8_t>* out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out->push_back(static_cast<uint8_t>(v >> shift));
}

void PutChunk(std::vector<uint8_t>* out, const char type[4], const uint8_t* data, std::size_t size) {
    PutBE32(out, static_cast<uint32_t>(size));
    const std::size_t start = out->size();
    out->insert(out->end(), type, type + 4);
    out->insert(out->end(), data, data + size);
    PutBE32(out, uint32_t(crc32(0L, out->data() + start, uInt(size + 4))));
}

int Paeth(int a, int b, int c) {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    if (pa <= pb && pa <= pc) return a;
    return pb <= pc ? b : c;
}

// Filters `row` (above: the previous unfiltered row, zeros for the first) with
// filter type `type` into `out`, and returns the sum of the results taken as
// signed bytes, the usual measure for choosing a filter.
long FilterRow(int type, const uint8_t* row, const uint8_t* above, std::size_t bytes, uint8_t* out) {
    long cost = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const int a = i >= kChannels ? row[i - kChannels] : 0;
        const int b = above[i];
        const int c = i >= kChannels ? above[i - kChannels] : 0;
        int predictor = 0;
        switch (type) {
            case 1: predictor = a; break;
            case 2: predictor = b; break;
            case 3: predictor = (a + b) / 2; break;
            case 4: predictor = Paeth(a, b, c); break;
            default: break;
        }
        out[i] = static_cast<uint8_t>(row[i] - predictor);
        cost += std::abs(static_cast<int8_t>(out[i]));
    }
    return cost;
}

}  // namespace

std::vector<uint8_t> EncodePng(const uint8_t* rgb32, int width, int height, int32_t pitch) {
    const std::size_t rowBytes = std::size_t(width) * kChannels;
    std::vector<uint8_t> filtered((rowBytes + 1) * std::size_t(height));
    std::vector<uint8_t> row(rowBytes), above(rowBytes, 0), trial(rowBytes);
    for (int y = 0; y < height; ++y) {
        const uint8_t* src = rgb32 + std::size_t(y) * std::size_t(pitch);
        for (int x = 0; x < width; ++x) {
            row[std::size_t(x) * 3 + 0] = src[x * 4 + 2];
            row[std::size_t(x) * 3 + 1] = src[x * 4 + 1];
            row[std::size_t(x) * 3 + 2] = src[x * 4 + 0];
        }
        uint8_t* line = filtered.data() + std::size_t(y) * (rowBytes + 1);
        long best = -1;
        for (int type = 0; type < 5; ++type) {
            const long cost = FilterRow(type, row.data(), above.data(), rowBytes, trial.data());
            if (best < 0 || cost < best) {
                best = cost;
                line[0] = static_cast<uint8_t>(type);
                std::memcpy(line + 1, trial.data(), rowBytes);
            }
        }
        row.swap(above);
    }

    std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<uint8_t> header;
    PutBE32(&header, static_cast<uint32_t>(width));
    PutBE32(&header, static_cast<uint32_t>(height));
    header.push_back(8);  // bits per sample
    header.push_back(2);  // colour type: RGB
    header.push_back(0);  // compression: deflate
    header.push_back(0);  // filter method 0
    header.push_back(0);  // no interlace
    PutChunk(&png, "IHDR", header.data(), header.size());
    uLongf streamBytes = compressBound(uLong(filtered.size()));
    std::vector<uint8_t> stream(streamBytes);
    // compress2 fails only for want of memory with a buffer of compressBound().
    if (compress2(stream.data(), &streamBytes, filtered.data(), uLong(filtered.size()), Z_DEFAULT_COMPRESSION) !=
        Z_OK)
        throw std::bad_alloc();
    stream.resize(streamBytes);
    constexpr std::size_t kChunk = 1 << 20;
    for (std::size_t at = 0; at < stream.size(); at += kChunk)
        PutChunk(&png, "IDAT", stream.data() + at, std::min(kChunk, stream.size() - at));
    PutChunk(&png, "IEND", nullptr, 0);
    return png;
}

}  // namespace tessiva::tool
