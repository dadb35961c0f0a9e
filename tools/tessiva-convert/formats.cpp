#include "formats.h"

#include <cctype>

namespace tessiva::tool {
namespace {

struct FormatInfo {
    PixelFormat format;
    const char* name;
    const char* ffmpeg;
};

constexpr FormatInfo kFormats[kFormatCount] = {
    {PixelFormat::RGB32, "rgb32", "bgra"},   {PixelFormat::RGB24, "rgb24", "bgr24"},
    {PixelFormat::YUV32, "yuv32", nullptr},  {PixelFormat::YUY2, "yuy2", "yuyv422"},
    {PixelFormat::YV12, "yv12", nullptr},    {PixelFormat::NV12, "nv12", "nv12"},
};

std::string Lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// Digits only, no sign, at most kMaxSide.
bool ParseSide(const std::string& text, int* value) {
    if (text.empty() || text.size() > 6) return false;
    int v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    *value = v;
    return true;
}

}  // namespace

const char* FormatName(PixelFormat f) { return kFormats[static_cast<int>(f)].name; }

bool ParseFormat(const std::string& text, PixelFormat* f) {
    const std::string name = Lower(text);
    for (const FormatInfo& info : kFormats) {
        if (name == info.name || (info.ffmpeg && name == info.ffmpeg)) {
            *f = info.format;
            return true;
        }
    }
    return false;
}

std::string FormatNames() {
    std::string names;
    for (const FormatInfo& info : kFormats) {
        if (!names.empty()) names += ", ";
        names += info.name;
        // nv12 is ffmpeg's name too.
        if (info.ffmpeg && std::string(info.ffmpeg) != info.name) names += std::string(" (") + info.ffmpeg + ")";
    }
    return names;
}

int32_t PackedPitch(PixelFormat f, int width) {
    switch (f) {
        case PixelFormat::RGB32:
        case PixelFormat::YUV32: return 4 * width;
        case PixelFormat::RGB24: return 3 * width;
        case PixelFormat::YUY2: return 2 * width;
        case PixelFormat::YV12:
        case PixelFormat::NV12: return width;
    }
    return 0;
}

std::size_t FrameBytes(PixelFormat f, FrameSize size) {
    const std::size_t area = std::size_t(size.width) * std::size_t(size.height);
    switch (f) {
        case PixelFormat::YV12:
        case PixelFormat::NV12: return area + area / 2;
        default: return std::size_t(PackedPitch(f, size.width)) * std::size_t(size.height);
    }
}

bool ParseSize(const std::string& text, FrameSize* size, std::string* error) {
    const std::size_t x = text.find_first_of("xX");
    FrameSize s;
    if (x == std::string::npos || !ParseSide(text.substr(0, x), &s.width) ||
        !ParseSide(text.substr(x + 1), &s.height)) {
        *error = "size '" + text + "' is not WIDTHxHEIGHT (for example 1920x1080)";
        return false;
    }
    if (s.width < 1 || s.height < 1 || s.width > kMaxSide || s.height > kMaxSide ||
        int64_t(s.width) * s.height > kMaxArea) {
        *error = "size '" + text + "' is out of range (each side 1.." + std::to_string(kMaxSide) +
                 ", at most " + std::to_string(kMaxArea) + " pixels)";
        return false;
    }
    *size = s;
    return true;
}

std::string CheckSizeFor(PixelFormat f, FrameSize size) {
    const bool oddWidth = size.width % 2 != 0, oddHeight = size.height % 2 != 0;
    switch (f) {
        case PixelFormat::YUY2:
            if (oddWidth) return "yuy2 needs an even width (two pixels share one U, V pair)";
            break;
        case PixelFormat::YV12:
        case PixelFormat::NV12:
            if (oddWidth || oddHeight)
                return std::string(FormatName(f)) + " needs an even width and height (one U, V pair per 2x2 block)";
            break;
        default: break;
    }
    return {};
}

}  // namespace tessiva::tool
