// Pixel formats as tessiva-convert reads and writes them: whole frames packed
// without padding, so that a file or pipe holds frame after frame, each of
// FrameBytes() bytes.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace tessiva::tool {

enum class PixelFormat { RGB32, RGB24, YUV32, YUY2, YV12, NV12 };
constexpr int kFormatCount = 6;

struct FrameSize {
    int width = 0;
    int height = 0;
};

// "rgb32", "yuy2", ... (lower case, as the options take them).
const char* FormatName(PixelFormat f);
// Our name or ffmpeg's pixel-format name ("bgra", "yuyv422", ...),
// case-insensitive; false for unknown names.
bool ParseFormat(const std::string& text, PixelFormat* f);
// Every accepted name, for messages: "rgb32 (bgra), rgb24 (bgr24), ...".
std::string FormatNames();

// Row pitch in bytes of a packed frame (YV12 and NV12: of the luma plane).
int32_t PackedPitch(PixelFormat f, int width);
// Bytes of one packed frame: RGB32/YUV32 4 W H, RGB24 3 W H, YUY2 2 W H,
// YV12 and NV12 W H + W H / 2.
std::size_t FrameBytes(PixelFormat f, FrameSize size);

// Largest side and largest area a frame may have: keeps every pitch and plane
// offset well inside the 32-bit values the interface takes.
constexpr int kMaxSide = 32768;
constexpr int64_t kMaxArea = int64_t(16384) * 16384;

// Parses "WxH" (decimal, 'x' or 'X'). Checks nothing but the syntax and the limits.
bool ParseSize(const std::string& text, FrameSize* size, std::string* error);
// Empty when `size` suits `f`; else why not (4:2:2 needs an even width, 4:2:0
// an even width and height).
std::string CheckSizeFor(PixelFormat f, FrameSize size);

}  // namespace tessiva::tool
