// RGB32_Tool against plain per-channel references on random data.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "cpu/detect.h"
#include "field/image_tool.h"
#include "support/test_support.h"

namespace tessiva {
namespace {

using test::FirstDifference;
using test::GuardedBuffer;
using test::RandomBytes;

constexpr TessivaResult kOk = TESSIVA_S_OK;
constexpr TessivaResult kFail = TESSIVA_E_FAIL;
constexpr TessivaResult kPointer = TESSIVA_E_POINTER;

// A tool forced to `level` (its constructor still ran the detection).
std::unique_ptr<RGB32_Tool> MakeTool(uint32_t level, uint32_t width = 0, uint32_t height = 0) {
    auto tool = std::make_unique<RGB32_Tool>();
    tool->instructionLevel = level;
    tool->width = width;
    tool->height = height;
    return tool;
}

// A guarded buffer with a pointer `misalign` bytes after a 16-byte boundary.
struct Placed {
    GuardedBuffer buf;
    uint8_t* p;
    Placed(size_t bytes, uint32_t seed, size_t misalign) : buf(bytes + 32, seed) {
        const uintptr_t a = (reinterpret_cast<uintptr_t>(buf.data()) + 15) & ~uintptr_t(15);
        p = reinterpret_cast<uint8_t*>(a + misalign);
    }
    // The same position inside a copy of the whole allocation.
    uint8_t* In(std::vector<uint8_t>& copy) const { return copy.data() + (p - buf.all().data()); }
};

// AverageLine as documented. Levels 3 and up: every byte rounded up, in 4-pixel
// steps, then the two pixels after the last step, rewritten until the count is
// covered (count % 4 == 1 goes one pixel past, == 3 skips the last pixel);
// below 4 pixels exactly `count` pixels. Levels 0..2: bytes 0..2 rounded down,
// byte 3 untouched.
void ReferenceAverage(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t count, uint32_t level) {
    auto up = [&](uint32_t p) {
        for (uint32_t c = 4 * p; c < 4 * p + 4; ++c) out[c] = uint8_t((a[c] + b[c] + 1) / 2);
    };
    if (level < 3) {
        for (uint32_t p = 0; p < count; ++p)
            for (uint32_t c = 4 * p; c < 4 * p + 3; ++c) out[c] = uint8_t((a[c] + b[c]) / 2);
        return;
    }
    if (count < 4) {
        for (uint32_t p = 0; p < count; ++p) up(p);
        return;
    }
    const uint32_t full = count / 4 * 4;
    for (uint32_t p = 0; p < full; ++p) up(p);
    if (count % 4 != 0) {
        up(full);
        up(full + 1);
    }
}

TEST(RGB32Tool, ConstructionRunsItsOwnDetection) {
    RGB32_Tool tool;
    EXPECT_EQ(tool.flag, 1u);
    EXPECT_EQ(tool.bytesPerPixel, 4u);
    EXPECT_EQ(tool.width, 0u);
    EXPECT_EQ(tool.height, 0u);
    EXPECT_EQ(tool.instructionLevel, DetectInstructionSet());
}

TEST(RGB32Tool, CheckLinesOnlyTestsPointers) {
    auto tool = MakeTool(0);
    uint8_t x = 0;
    EXPECT_EQ(tool->CheckLines(&x, &x, &x), kOk);
    EXPECT_EQ(tool->CheckLines(nullptr, &x, &x), kFail);
    EXPECT_EQ(tool->CheckLines(&x, nullptr, &x), kFail);
    EXPECT_EQ(tool->CheckLines(&x, &x, nullptr), kFail);
}

// Every level, counts 1..12 (all four tails, twice), aligned and unaligned
// lines; the whole output allocation is compared, so a write one pixel too far
// or a missing write shows.
TEST(RGB32Tool, AverageLineMatchesReference) {
    uint32_t seed = 1;
    for (uint32_t level : {0u, 1u, 2u, 3u, 4u, 6u}) {
        for (uint32_t count = 1; count <= 12; ++count) {
            for (size_t misalign : {size_t(0), size_t(4), size_t(8)}) {
                SCOPED_TRACE(testing::Message() << "level " << level << " count " << count << " misalign " << misalign);
                const size_t bytes = 4 * (count + 2);
                Placed a(bytes, ++seed, misalign), b(bytes, ++seed, misalign == 4 ? 0 : misalign);
                Placed out(bytes, ++seed, (misalign * 3) % 16);
                const std::vector<uint8_t> aBefore = a.buf.all(), bBefore = b.buf.all();
                std::vector<uint8_t> expected = out.buf.all();
                ReferenceAverage(a.p, b.p, out.In(expected), count, level);

                auto tool = MakeTool(level);
                ASSERT_EQ(tool->AverageLine(a.p, b.p, out.p, count), kOk);
                EXPECT_EQ(FirstDifference(out.buf.all(), expected), -1);
                EXPECT_EQ(FirstDifference(a.buf.all(), aBefore), -1);
                EXPECT_EQ(FirstDifference(b.buf.all(), bBefore), -1);
            }
        }
    }
}

TEST(RGB32Tool, AverageLineDocumentedCases) {
    alignas(16) uint8_t a[48], b[48], out[48];
    // Rounding: down below level 3, up from level 3.
    std::memset(a, 1, sizeof a);
    std::memset(b, 2, sizeof b);
    auto scalar = MakeTool(2), vector = MakeTool(3);
    std::memset(out, 0xEE, sizeof out);
    ASSERT_EQ(scalar->AverageLine(a, b, out, 4), kOk);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[3], 0xEE);  // byte 3 untouched by the scalar path
    ASSERT_EQ(vector->AverageLine(a, b, out, 4), kOk);
    EXPECT_EQ(out[0], 2);
    EXPECT_EQ(out[3], 2);  // averaged by the vector path

    // Pixels written by the vector path for 5, 6 and 7 pixels: a pixel counts
    // as written when two runs over different fills give the same bytes.
    const std::vector<uint8_t> ra = RandomBytes(48, 7), rb = RandomBytes(48, 8);
    std::memcpy(a, ra.data(), 48);
    std::memcpy(b, rb.data(), 48);
    auto written = [&](uint32_t count) {
        alignas(16) uint8_t other[48];
        std::memset(out, 0x00, sizeof out);
        std::memset(other, 0xFF, sizeof other);
        EXPECT_EQ(vector->AverageLine(a, b, out, count), kOk);
        EXPECT_EQ(vector->AverageLine(a, b, other, count), kOk);
        std::vector<bool> w(12);
        for (int p = 0; p < 12; ++p) w[p] = std::memcmp(out + 4 * p, other + 4 * p, 4) == 0;
        return w;
    };
    const std::vector<bool> six = {1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(written(6), six);  // exact
    EXPECT_EQ(written(5), six);  // one past the end
    EXPECT_EQ(written(7), six);  // the seventh left as it was
}

TEST(RGB32Tool, AverageLineRejectsNullPointers) {
    alignas(16) uint8_t line[16] = {};
    for (uint32_t level : {0u, 3u}) {
        auto tool = MakeTool(level);
        alignas(16) uint8_t out[16];
        std::memset(out, 0x5A, sizeof out);
        EXPECT_EQ(tool->AverageLine(nullptr, line, out, 4), kFail);
        EXPECT_EQ(tool->AverageLine(line, nullptr, out, 4), kFail);
        EXPECT_EQ(tool->AverageLine(line, line, nullptr, 4), kFail);
        for (uint8_t v : out) EXPECT_EQ(v, 0x5A);
    }
}

// Plain box filter: output line 0 = (L0 + L1) / 2, lines 1 .. h - 3 the mean of
// three lines, line h - 2 (line 1 for h = 2, 3) = (L(y-1) + L(y)) / 2, all
// truncated, byte 3 = 0; line h - 1 (h >= 3) untouched; h < 2 no change.
void ReferenceBox(const uint8_t* src, uint8_t* out, uint32_t w, uint32_t h) {
    if (h < 2) return;
    const std::vector<uint8_t> in(src, src + size_t(4) * w * h);
    auto at = [&](uint32_t y, uint32_t x, int c) { return uint32_t(in[(size_t(y) * w + x) * 4 + c]); };
    auto write = [&](uint32_t y, uint32_t first, uint32_t lines) {
        for (uint32_t x = 0; x < w; ++x) {
            for (int c = 0; c < 3; ++c) {
                uint32_t s = 0;
                for (uint32_t i = 0; i < lines; ++i) s += at(first + i, x, c);
                out[(size_t(y) * w + x) * 4 + c] = uint8_t(s / lines);
            }
            out[(size_t(y) * w + x) * 4 + 3] = 0;
        }
    };
    write(0, 0, 2);
    for (uint32_t y = 1; y + 3 <= h; ++y) write(y, y - 1, 3);
    const uint32_t last = h >= 4 ? h - 2 : 1;
    write(last, last - 1, 2);
}

// Plain 1-2-1 filter per channel: C/2 + (P/2 + N/2 + (C and P both odd)) / 2,
// byte 3 = 0; first and last line kept.
void ReferenceSmooth(const uint8_t* src, uint8_t* out, uint32_t w, uint32_t h) {
    if (h == 0) return;
    const size_t pitch = size_t(4) * w;
    const std::vector<uint8_t> in(src, src + pitch * h);
    std::memcpy(out, in.data(), pitch);
    std::memcpy(out + (h - 1) * pitch, in.data() + (h - 1) * pitch, pitch);
    for (uint32_t y = 1; y + 1 < h; ++y) {
        for (size_t i = 0; i < pitch; i += 4) {
            for (int c = 0; c < 3; ++c) {
                const int p = in[(y - 1) * pitch + i + c], cc = in[y * pitch + i + c], n = in[(y + 1) * pitch + i + c];
                out[y * pitch + i + c] = uint8_t(cc / 2 + (p / 2 + n / 2 + (cc & p & 1)) / 2);
            }
            out[y * pitch + i + 3] = 0;
        }
    }
}

using Filter = TessivaResult (RGB32_Tool::*)(uint8_t*, uint8_t*);
using ReferenceFilter = void (*)(const uint8_t*, uint8_t*, uint32_t, uint32_t);

// Runs a filter with a destination and in place for heights 0..9 and compares
// source, destination and guards with the reference.
void CheckFilter(Filter filter, ReferenceFilter reference) {
    uint32_t seed = 100;
    for (uint32_t w : {1u, 6u, 9u}) {
        for (uint32_t h = 0; h <= 9; ++h) {
            SCOPED_TRACE(testing::Message() << "w " << w << " h " << h);
            const size_t bytes = size_t(4) * w * h;
            auto tool = MakeTool(3, w, h);
            {
                GuardedBuffer src(bytes, ++seed), dst(bytes, ++seed);
                const std::vector<uint8_t> srcBefore = src.all();
                std::vector<uint8_t> expected = dst.all();
                reference(src.data(), expected.data() + dst.guard(), w, h);
                ASSERT_EQ(((*tool).*filter)(src.data(), dst.data()), kOk);
                EXPECT_EQ(FirstDifference(dst.all(), expected), -1) << "with destination";
                EXPECT_EQ(FirstDifference(src.all(), srcBefore), -1) << "source changed";
            }
            {
                GuardedBuffer image(bytes, ++seed);
                std::vector<uint8_t> expected = image.all();
                reference(image.data(), expected.data() + image.guard(), w, h);
                ASSERT_EQ(((*tool).*filter)(image.data(), nullptr), kOk);
                EXPECT_EQ(FirstDifference(image.all(), expected), -1) << "in place";
            }
        }
    }
}

TEST(RGB32Tool, BoxFilterVerticalMatchesReference) { CheckFilter(&RGB32_Tool::BoxFilterVertical, ReferenceBox); }

TEST(RGB32Tool, SmoothVerticalMatchesReference) { CheckFilter(&RGB32_Tool::SmoothVertical, ReferenceSmooth); }

TEST(RGB32Tool, BoxFilterFourLinesWritesThreeLines) {
    const uint32_t w = 5, h = 4;
    GuardedBuffer src(4 * w * h, 11), dst(4 * w * h, 12);
    const std::vector<uint8_t> before = dst.all();
    auto tool = MakeTool(0, w, h);
    ASSERT_EQ(tool->BoxFilterVertical(src.data(), dst.data()), kOk);
    const size_t pitch = 4 * w;
    for (uint32_t y = 0; y < 3; ++y)
        EXPECT_NE(std::memcmp(dst.data() + y * pitch, before.data() + dst.guard() + y * pitch, pitch), 0) << y;
    EXPECT_EQ(std::memcmp(dst.data() + 3 * pitch, before.data() + dst.guard() + 3 * pitch, pitch), 0);
    // Line 1: mean of three, line 2: mean of lines 1 and 2.
    const uint8_t* s = src.data();
    EXPECT_EQ(dst.data()[pitch], (s[0] + s[pitch] + s[2 * pitch]) / 3);
    EXPECT_EQ(dst.data()[2 * pitch], (s[pitch] + s[2 * pitch]) / 2);
}

TEST(RGB32Tool, SmoothVerticalRoundingBitComesFromCentreAndUpper) {
    // One column of three lines: P above, C centre, N below; byte 3 set so that
    // the kept lines show they keep it and the filtered line shows 0.
    auto smooth = [](uint8_t p, uint8_t c, uint8_t n) {
        uint8_t img[12] = {p, p, p, 0xFF, c, c, c, 0xFF, n, n, n, 0xFF};
        auto tool = MakeTool(0, 1, 3);
        EXPECT_EQ(tool->SmoothVertical(img, nullptr), kOk);
        EXPECT_EQ(img[3], 0xFF);
        EXPECT_EQ(img[7], 0);
        EXPECT_EQ(img[11], 0xFF);
        return img[4];
    };
    EXPECT_EQ(smooth(1, 1, 2), 1);  // C and P odd: the bit counts
    EXPECT_EQ(smooth(1, 0, 3), 0);  // P and N odd, C even: no bit
    EXPECT_EQ(smooth(3, 2, 1), 1);  // 1 + (1 + 0 + 0) / 2
    EXPECT_EQ(smooth(255, 255, 255), 254);
}

TEST(RGB32Tool, SmoothVerticalTwoLinesOnlyCopies) {
    const uint32_t w = 3;
    GuardedBuffer src(4 * w * 2, 21), dst(4 * w * 2, 22);
    std::vector<uint8_t> expected = dst.all();
    std::memcpy(expected.data() + dst.guard(), src.data(), 4 * w * 2);
    auto tool = MakeTool(3, w, 2);
    ASSERT_EQ(tool->SmoothVertical(src.data(), dst.data()), kOk);
    EXPECT_EQ(FirstDifference(dst.all(), expected), -1);
}

TEST(RGB32Tool, FiltersRejectNullSource) {
    auto tool = MakeTool(3, 4, 4);
    uint8_t dst[64];
    EXPECT_EQ(tool->BoxFilterVertical(nullptr, dst), kPointer);
    EXPECT_EQ(tool->BoxFilterVertical(nullptr, nullptr), kPointer);
    EXPECT_EQ(tool->SmoothVertical(nullptr, dst), kPointer);
    EXPECT_EQ(tool->SmoothVertical(nullptr, nullptr), kPointer);
}

}  // namespace
}  // namespace tessiva
