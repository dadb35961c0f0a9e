// Checks the files that tool_test.cmake has tessiva-convert write, against
// expectations computed here from the BT.601 formulas, PNG files through zlib,
// and conversions against ffmpeg's. Exit status 0 when the file is right.
//
//   tessiva_tool_check card  FILE W H           FILE is the test card (RGB32)
//   tessiva_tool_check yuv32 FILE W H [invert]  FILE is the card converted to YUV32
//   tessiva_tool_check rgb32 FILE W H           FILE is that YUV32 converted back
//   tessiva_tool_check png   FILE W H [RGB32]   FILE is a well-formed PNG (of the RGB32 frame)
//   tessiva_tool_check fields FILE W H split|top|bottom double|interpolate
//                                               FILE is the card through that field step (RGB32)
//   tessiva_tool_check nv12 FILE W H YV12       FILE holds the frames of YV12 with U, V interleaved
//   tessiva_tool_check compare yuy2|nv12 FILE REFERENCE W H LUMA CHROMA CHROMA_MEAN
//                                               no luma sample of FILE is more than LUMA from
//                                               REFERENCE's, no chroma sample more than CHROMA,
//                                               and the mean chroma difference is below CHROMA_MEAN
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "test_card.h"

namespace {

using Bytes = std::vector<uint8_t>;
using tessiva::tool::FrameSize;

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

[[noreturn]] void Fail(const std::string& what) { throw Failure(what); }

Bytes ReadFile(const std::string& path) {
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) Fail("cannot open " + path);
    Bytes bytes;
    uint8_t chunk[65536];
    std::size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
    std::fclose(f);
    return bytes;
}

std::string At(std::size_t pixel, int width) {
    return "pixel (" + std::to_string(pixel % width) + ", " + std::to_string(pixel / width) + ")";
}

void ExpectSize(const Bytes& b, std::size_t size, const std::string& what) {
    if (b.size() != size)
        Fail(what + " holds " + std::to_string(b.size()) + " bytes, expected " + std::to_string(size));
}

// ---- colour formulas (BT.601 studio range, 12-bit fixed point) ----

void RgbToYuv32(const uint8_t* bgra, uint8_t* vuya) {
    const int b = bgra[0], g = bgra[1], r = bgra[2];
    vuya[0] = uint8_t((1798 * r - 1507 * g - 291 * b + 526336) >> 12);
    vuya[1] = uint8_t((-606 * r - 1192 * g + 1798 * b + 526336) >> 12);
    vuya[2] = uint8_t((1053 * r + 2064 * g + 401 * b + 67584) >> 12);
    vuya[3] = bgra[3];
}

int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// B, G, R, A of a YUV32 pixel; `blue` is the factor of U in B (8265, or 8266 in
// the YUV32 readers of the SSE2 level and above).
void Yuv32ToRgb(const uint8_t* vuya, int blue, uint8_t* bgra) {
    const int l = 4768 * (vuya[2] - 16) + 2048, u = vuya[1] - 128, v = vuya[0] - 128;
    bgra[0] = uint8_t(Clamp((l + blue * u) >> 12));
    bgra[1] = uint8_t(Clamp((l - 1602 * u - 3330 * v) >> 12));
    bgra[2] = uint8_t(Clamp((l + 6537 * v) >> 12));
    bgra[3] = vuya[3];
}

Bytes CardYuv32(FrameSize size, bool invert) {
    const Bytes card = tessiva::tool::DrawTestCard(size);
    Bytes yuv(card.size());
    const std::size_t row = std::size_t(size.width) * 4;
    for (int y = 0; y < size.height; ++y) {
        const int from = invert ? size.height - 1 - y : y;
        for (int x = 0; x < size.width; ++x) RgbToYuv32(&card[from * row + x * 4], &yuv[y * row + x * 4]);
    }
    return yuv;
}

// ---- the test card ----

void CheckCard(const Bytes& file, FrameSize size) {
    const Bytes card = tessiva::tool::DrawTestCard(size);
    ExpectSize(file, card.size(), "the card");
    for (std::size_t i = 0; i < card.size(); ++i)
        if (file[i] != card[i])
            Fail("the card differs at " + At(i / 4, size.width) + ", byte " + std::to_string(i % 4));
    // Landmarks of the documented layout, independent of the drawing code.
    auto pixel = [&](int x, int y) { return &file[(std::size_t(y) * size.width + x) * 4]; };
    auto is = [](const uint8_t* p, int r, int g, int b) { return p[2] == r && p[1] == g && p[0] == b && p[3] == 255; };
    const int w = size.width, h = size.height;
    if (!is(pixel(0, 0), 255, 255, 255)) Fail("the first bar is not white");
    if (!is(pixel(w * 6 / 8 + 1, h / 4), 0, 0, 255)) Fail("the seventh bar is not blue");
    if (!is(pixel(w - 1, 0), 0, 0, 0)) Fail("the last bar is not black");
    const int rampRow = h * 8 / 12;
    if (!is(pixel(0, rampRow), 0, 0, 0) || !is(pixel(w - 1, rampRow), 255, 255, 255))
        Fail("the grey ramp does not run from black to white");
    for (std::size_t i = 3; i < file.size(); i += 4)
        if (file[i] != 255) Fail("alpha is not 255 at " + At(i / 4, w));
}

void CheckYuv32(const Bytes& file, FrameSize size, bool invert) {
    const Bytes expected = CardYuv32(size, invert);
    ExpectSize(file, expected.size(), "the YUV32 frame");
    static const char* kNames[4] = {"V", "U", "Y", "A"};
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (file[i] != expected[i])
            Fail(std::string("YUV32 ") + kNames[i % 4] + " at " + At(i / 4, size.width) + " is " +
                 std::to_string(file[i]) + ", expected " + std::to_string(expected[i]));
}

void CheckRgb32(const Bytes& file, FrameSize size) {
    const Bytes yuv = CardYuv32(size, false);
    ExpectSize(file, yuv.size(), "the RGB32 frame");
    for (std::size_t p = 0; p < yuv.size() / 4; ++p) {
        uint8_t a[4], b[4];
        Yuv32ToRgb(&yuv[p * 4], 8265, a);
        Yuv32ToRgb(&yuv[p * 4], 8266, b);
        const uint8_t* got = &file[p * 4];
        if (got[1] != a[1] || got[2] != a[2] || got[3] != a[3] || (got[0] != a[0] && got[0] != b[0]))
            Fail("RGB32 at " + At(p, size.width) + " is B,G,R,A " + std::to_string(got[0]) + "," +
                 std::to_string(got[1]) + "," + std::to_string(got[2]) + "," + std::to_string(got[3]) +
                 ", expected " + std::to_string(a[0]) + "," + std::to_string(a[1]) + "," + std::to_string(a[2]) +
                 "," + std::to_string(a[3]));
    }
}

// ---- fields ----
//
// A field step's frames against the card's lines. A line of the kept field is
// the card's line. A rebuilt line with kept lines above and below is, by
// doubling, the nearest kept line (above for the top field, below for the
// bottom field) and, by interpolation, their mean. The library rounds that mean
// according to its instruction level, so a file must follow one of three forms
// throughout (a from the line above, b from the line below, per byte):
//   down  (a + b) >> 1                   below the SSE2 level
//   up    (a + b + 1) >> 1               SSE2 level and above
//   pavg  ((a - 1) mod 256 + b + 1) >> 1 AVX2 level (two zero bytes give 128)
// (Below the SSE2 level the fourth byte is left as it was; the card's is 255
// throughout, which every form gives.)
// A rebuilt line at the top or bottom edge has a single kept neighbour; it must
// be that neighbour or, where the library keeps or takes it so, the card's own
// line.

struct Roundings {
    bool down = true, up = true, pavg = true;
    bool Any() const { return down || up || pavg; }
    std::string Names() const {
        std::string n = std::string(down ? " down" : "") + (up ? " up" : "") + (pavg ? " pavg" : "");
        return n.empty() ? " none" : n;
    }
};

std::string LineName(int frame, int y) {
    return "frame " + std::to_string(frame) + " line " + std::to_string(y);
}

void CheckFieldFrame(const uint8_t* got, int frame, const Bytes& card, FrameSize size, bool keepTop,
                     bool interpolate, Roundings* roundings, std::size_t* telling) {
    const std::size_t row = std::size_t(size.width) * 4;
    const auto cardLine = [&](int y) { return &card[std::size_t(y) * row]; };
    const auto same = [&](const uint8_t* a, const uint8_t* b) { return std::memcmp(a, b, row) == 0; };
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* line = got + std::size_t(y) * row;
        if ((y % 2 == 0) == keepTop) {
            if (!same(line, cardLine(y))) Fail(LineName(frame, y) + " is kept but differs from the card's");
            continue;
        }
        const bool above = y > 0, below = y + 1 < size.height;
        if (!interpolate && (keepTop ? above : below)) {
            const int n = keepTop ? y - 1 : y + 1;
            if (!same(line, cardLine(n)))
                Fail(LineName(frame, y) + " is not a copy of the card's line " + std::to_string(n));
            continue;
        }
        if (interpolate && above && below) {
            const uint8_t *a = cardLine(y - 1), *b = cardLine(y + 1);
            for (std::size_t i = 0; i < row; ++i) {
                const int av = a[i], bv = b[i], g = line[i];
                if (std::abs(av - bv) >= 2) ++*telling;  // no mean equals either line here
                const Roundings before = *roundings;
                roundings->down &= g == (av + bv) >> 1;
                roundings->up &= g == (av + bv + 1) >> 1;
                roundings->pavg &= g == (((av + 255) & 255) + bv + 1) >> 1;
                if (!roundings->Any())
                    Fail(LineName(frame, y) + " byte " + std::to_string(i) + " is " + std::to_string(g) +
                         " from " + std::to_string(av) + " above and " + std::to_string(bv) +
                         " below: not the mean as rounded so far (" + before.Names().substr(1) + ")");
            }
            continue;
        }
        const int n = above ? y - 1 : y + 1;
        if (!same(line, cardLine(n)) && !same(line, cardLine(y)))
            Fail(LineName(frame, y) + " at the edge is neither the card's line " + std::to_string(n) +
                 " nor its own");
    }
}

void CheckFields(const Bytes& file, FrameSize size, const std::string& op, const std::string& mode) {
    if (op != "split" && op != "top" && op != "bottom") Fail("unknown field step " + op);
    if (mode != "double" && mode != "interpolate") Fail("unknown field mode " + mode);
    const Bytes card = tessiva::tool::DrawTestCard(size);
    const int frames = op == "split" ? 2 : 1;
    ExpectSize(file, card.size() * frames, "the " + op + " output");
    const bool interpolate = mode == "interpolate";
    Roundings roundings;
    std::size_t telling = 0;
    for (int f = 0; f < frames; ++f) {
        const bool keepTop = op == "split" ? f == 0 : op == "top";
        CheckFieldFrame(&file[card.size() * f], f, card, size, keepTop, interpolate, &roundings, &telling);
    }
    if (interpolate) {
        if (telling == 0) Fail("no rebuilt byte tells a mean from a copy at this size");
        std::printf("interpolated lines follow:%s\n", roundings.Names().c_str());
    }
}

// ---- PNG ----

uint32_t BE32(const uint8_t* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

int Paeth(int a, int b, int c) {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
}

// Without `rgb32` (empty) the pixels are not compared.
void CheckPng(const Bytes& png, FrameSize size, const Bytes& rgb32) {
    static const uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (png.size() < 8 || std::memcmp(png.data(), kSignature, 8) != 0) Fail("no PNG signature");
    Bytes stream;
    std::string order;
    bool ended = false;
    for (std::size_t at = 8; at < png.size();) {
        if (ended) Fail("bytes after IEND");
        if (at + 12 > png.size()) Fail("a chunk runs past the end");
        const uint32_t length = BE32(&png[at]);
        if (length > png.size() - at - 12) Fail("a chunk runs past the end");
        const std::string type(reinterpret_cast<const char*>(&png[at + 4]), 4);
        if (crc32(0L, &png[at + 4], uInt(length + 4)) != BE32(&png[at + 8 + length])) Fail("CRC of chunk " + type);
        const uint8_t* data = &png[at + 8];
        if (type == "IHDR") {
            if (!order.empty() || length != 13) Fail("IHDR is not the first chunk of 13 bytes");
            if (BE32(data) != uint32_t(size.width) || BE32(data + 4) != uint32_t(size.height))
                Fail("IHDR size " + std::to_string(BE32(data)) + "x" + std::to_string(BE32(data + 4)));
            if (data[8] != 8 || data[9] != 2 || data[10] != 0 || data[11] != 0 || data[12] != 0)
                Fail("IHDR is not 8-bit RGB, deflate, filter 0, no interlace");
        } else if (type == "IDAT") {
            if (order.empty() || (order.back() != 'H' && order.back() != 'D')) Fail("IDAT chunks are not consecutive");
            stream.insert(stream.end(), data, data + length);
        } else if (type == "IEND") {
            if (length != 0) Fail("IEND carries data");
            ended = true;
        } else if (!(type[0] & 0x20)) {
            Fail("unknown critical chunk " + type);
        }
        order += type == "IHDR" ? 'H' : type == "IDAT" ? 'D' : type == "IEND" ? 'E' : 'x';
        at += 12 + length;
    }
    if (!ended || order.find('D') == std::string::npos) Fail("IDAT or IEND missing");

    // One whole zlib stream (checked by zlib: header, data, Adler-32) that
    // inflates to exactly one filter byte and 3 x width bytes per row.
    const std::size_t rowBytes = std::size_t(size.width) * 3;
    Bytes raw((rowBytes + 1) * size.height + 1);
    uLongf rawBytes = uLongf(raw.size());
    uLong streamBytes = uLong(stream.size());
    const int z = uncompress2(raw.data(), &rawBytes, stream.data(), &streamBytes);
    if (z != Z_OK) Fail("zlib cannot inflate the image data (" + std::to_string(z) + ")");
    if (streamBytes != stream.size()) Fail("bytes after the end of the zlib stream");
    raw.resize(rawBytes);
    ExpectSize(raw, (rowBytes + 1) * size.height, "the inflated image data");

    // Undo the row filters and compare with the frame's R, G, B.
    if (rgb32.empty()) return;
    ExpectSize(rgb32, std::size_t(size.width) * size.height * 4, "the RGB32 reference");
    Bytes previous(rowBytes, 0), row(rowBytes);
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* line = &raw[y * (rowBytes + 1)];
        for (std::size_t i = 0; i < rowBytes; ++i) {
            const int left = i >= 3 ? row[i - 3] : 0, up = previous[i], corner = i >= 3 ? previous[i - 3] : 0;
            int predictor = 0;
            switch (line[0]) {
                case 0: break;
                case 1: predictor = left; break;
                case 2: predictor = up; break;
                case 3: predictor = (left + up) / 2; break;
                case 4: predictor = Paeth(left, up, corner); break;
                default: Fail("filter type " + std::to_string(line[0]) + " on row " + std::to_string(y));
            }
            row[i] = uint8_t(line[1 + i] + predictor);
        }
        for (int x = 0; x < size.width; ++x) {
            const uint8_t* want = &rgb32[(std::size_t(y) * size.width + x) * 4];
            if (row[x * 3] != want[2] || row[x * 3 + 1] != want[1] || row[x * 3 + 2] != want[0])
                Fail("PNG pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") differs from the frame");
        }
        previous.swap(row);
    }
}

// ---- NV12 and ffmpeg ----

// Each frame of `nv12` must be the same frame of `yv12` (Y, then V and U
// planes of a quarter each) with the chroma as U, V pairs.
void CheckNv12(const Bytes& nv12, const Bytes& yv12, FrameSize size) {
    const std::size_t luma = std::size_t(size.width) * size.height, quarter = luma / 4, frame = luma + 2 * quarter;
    if (yv12.empty() || yv12.size() % frame != 0) Fail("the YV12 reference is not whole frames");
    ExpectSize(nv12, yv12.size(), "the NV12 file");
    for (std::size_t f = 0; f < yv12.size() / frame; ++f) {
        const uint8_t* n = &nv12[f * frame];
        const uint8_t* y = &yv12[f * frame];
        if (std::memcmp(n, y, luma) != 0) Fail("the Y plane of frame " + std::to_string(f) + " differs");
        for (std::size_t i = 0; i < quarter; ++i)
            if (n[luma + 2 * i] != y[luma + quarter + i] || n[luma + 2 * i + 1] != y[luma + i])
                Fail("frame " + std::to_string(f) + " chroma sample " + std::to_string(i) +
                     " is not the YV12 frame's U, V pair");
    }
}

// Differences between two files of the same frames; luma and chroma apart.
void Compare(const std::string& format, const Bytes& file, const Bytes& reference, FrameSize size, int lumaLimit,
             int chromaLimit, double chromaMeanLimit) {
    if (format != "yuy2" && format != "nv12") Fail("unknown format " + format);
    ExpectSize(file, reference.size(), "the file");
    const std::size_t luma = std::size_t(size.width) * size.height;
    const std::size_t frame = format == "yuy2" ? 2 * luma : luma + luma / 2;
    if (reference.empty() || reference.size() % frame != 0) Fail("the reference is not whole frames");
    int lumaMax = 0, chromaMax = 0;
    double chromaSum = 0, lumaSum = 0;
    std::size_t chromaCount = 0, lumaCount = 0;
    for (std::size_t i = 0; i < file.size(); ++i) {
        const std::size_t at = i % frame;
        // YUY2: Y, U, Y, V; NV12: the Y plane, then U, V pairs.
        const bool isLuma = format == "yuy2" ? at % 2 == 0 : at < luma;
        const int d = std::abs(int(file[i]) - int(reference[i]));
        if (isLuma) {
            lumaMax = std::max(lumaMax, d);
            lumaSum += d;
            ++lumaCount;
        } else {
            chromaMax = std::max(chromaMax, d);
            chromaSum += d;
            ++chromaCount;
        }
    }
    const double chromaMean = chromaSum / double(chromaCount);
    std::printf("%s: luma max %d mean %.3f, chroma max %d mean %.3f\n", format.c_str(), lumaMax,
                lumaSum / double(lumaCount), chromaMax, chromaMean);
    if (lumaMax > lumaLimit) Fail("luma differs by up to " + std::to_string(lumaMax));
    if (chromaMax > chromaLimit) Fail("chroma differs by up to " + std::to_string(chromaMax));
    if (!(chromaMean < chromaMeanLimit)) Fail("mean chroma difference " + std::to_string(chromaMean));
}

FrameSize SizeArg(const char* w, const char* h) { return {std::atoi(w), std::atoi(h)}; }

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::string mode = argc > 1 ? argv[1] : "";
        if (mode == "card" && argc == 5) {
            CheckCard(ReadFile(argv[2]), SizeArg(argv[3], argv[4]));
        } else if (mode == "yuv32" && (argc == 5 || argc == 6)) {
            CheckYuv32(ReadFile(argv[2]), SizeArg(argv[3], argv[4]), argc == 6 && std::string(argv[5]) == "invert");
        } else if (mode == "rgb32" && argc == 5) {
            CheckRgb32(ReadFile(argv[2]), SizeArg(argv[3], argv[4]));
        } else if (mode == "fields" && argc == 7) {
            CheckFields(ReadFile(argv[2]), SizeArg(argv[3], argv[4]), argv[5], argv[6]);
        } else if (mode == "nv12" && argc == 6) {
            CheckNv12(ReadFile(argv[2]), ReadFile(argv[5]), SizeArg(argv[3], argv[4]));
        } else if (mode == "compare" && argc == 10) {
            Compare(argv[2], ReadFile(argv[3]), ReadFile(argv[4]), SizeArg(argv[5], argv[6]), std::atoi(argv[7]),
                    std::atoi(argv[8]), std::atof(argv[9]));
        } else if (mode == "png" && (argc == 5 || argc == 6)) {
            CheckPng(ReadFile(argv[2]), SizeArg(argv[3], argv[4]), argc == 6 ? ReadFile(argv[5]) : Bytes());
        } else {
            std::fprintf(stderr, "usage: tessiva_tool_check card|yuv32|rgb32|png FILE W H [invert|RGB32FILE]\n"
                         "       tessiva_tool_check fields FILE W H split|top|bottom double|interpolate\n"
                         "       tessiva_tool_check nv12 FILE W H YV12FILE\n"
                         "       tessiva_tool_check compare yuy2|nv12 FILE REFERENCE W H LUMA CHROMA MEAN\n");
            return 2;
        }
    } catch (const Failure& f) {
        std::fprintf(stderr, "%s: %s\n", argc > 2 ? argv[2] : "?", f.what());
        return 1;
    }
    std::printf("%s: ok\n", argc > 2 ? argv[2] : "?");
    return 0;
}
