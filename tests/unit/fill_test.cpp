// Colour fills at both levels against a plain model of each level's rounding:
// the baseline rounds odd counts up (rows drift right), SSE2 rounds them down
// (rows drift left) except on contiguous rows, where it fills (W x H) / 2 pairs.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "convert/fill.h"
#include "support/test_support.h"

namespace {

using tessiva::test::FirstDifference;
using tessiva::test::GuardedBuffer;

void PutPixels(std::vector<uint8_t>& all, long at, long pixels, uint32_t color) {
    for (long i = 0; i < pixels; ++i) std::memcpy(&all[size_t(at + 4 * i)], &color, 4);
}

// Expected allocation: row r starts at r x pitch plus r x (written - W) pixels.
std::vector<uint8_t> ExpectedBuffer(bool sse, const GuardedBuffer& buf, long w, long h, long pitch, uint32_t color) {
    std::vector<uint8_t> out = buf.all();
    const long base = long(buf.guard());
    if (sse && pitch == w * 4) {
        PutPixels(out, base, w * h / 2 * 2, color);
        return out;
    }
    const long written = sse ? w / 2 * 2 : (w + 1) / 2 * 2;
    for (long r = 0; r < h; ++r) PutPixels(out, base + r * pitch + r * (written - w) * 4, written, color);
    return out;
}

uint32_t ColorOf(uint32_t seed) {
    const std::vector<uint8_t> b = tessiva::test::RandomBytes(4, seed);
    uint32_t c;
    std::memcpy(&c, b.data(), 4);
    return c;
}

TEST(FillColorToBuffer, BothLevelsMatchTheirModels) {
    uint32_t seed = 1;
    for (bool sse : {false, true})
        for (uint32_t w = 0; w <= 40; ++w)
            for (uint32_t h = 0; h <= 5; ++h)
                for (uint32_t pad : {0u, 4u, 7u, 36u}) {
                    const uint32_t pitch = w * 4 + pad, color = ColorOf(seed);
                    GuardedBuffer buf(size_t(pitch) * h, seed++, 67 + 4 * h);
                    const std::vector<uint8_t> want = ExpectedBuffer(sse, buf, w, h, pitch, color);
                    (sse ? tessiva::FillColorToBuffer_SSE2 : tessiva::FillColorToBuffer_Plain)(buf.data(), w, h, pitch, color);
                    const long diff = FirstDifference(buf.all(), want);
                    ASSERT_EQ(diff, -1) << (sse ? "SSE2" : "Plain") << " W=" << w << " H=" << h << " pitch=" << pitch
                                        << " first wrong byte at " << diff - long(buf.guard());
                }
}

TEST(FillColorToBuffer, LargeRows) {
    for (bool sse : {false, true})
        for (uint32_t w : {1919u, 1920u, 4097u})
            for (uint32_t pad : {0u, 20u}) {
                const uint32_t h = 3, pitch = w * 4 + pad, color = ColorOf(w + pad);
                GuardedBuffer buf(size_t(pitch) * h, w, 80);
                const std::vector<uint8_t> want = ExpectedBuffer(sse, buf, w, h, pitch, color);
                (sse ? tessiva::FillColorToBuffer_SSE2 : tessiva::FillColorToBuffer_Plain)(buf.data(), w, h, pitch, color);
                ASSERT_EQ(FirstDifference(buf.all(), want), -1) << (sse ? "SSE2" : "Plain") << " W=" << w;
            }
}

TEST(FillColorToLine, BaselineRoundsUpSseRoundsDown) {
    for (bool sse : {false, true})
        for (uint32_t count = 0; count <= 41; ++count) {
            const uint32_t color = ColorOf(count + 100);
            GuardedBuffer buf(size_t(count) * 4, count, 67);
            std::vector<uint8_t> want = buf.all();
            PutPixels(want, long(buf.guard()), sse ? count / 2 * 2 : (count + 1) / 2 * 2, color);
            (sse ? tessiva::FillColorToLine_SSE2 : tessiva::FillColorToLine_Plain)(buf.data(), count, color);
            ASSERT_EQ(FirstDifference(buf.all(), want), -1) << (sse ? "SSE2" : "Plain") << " count=" << count;
        }
}

// Byte ranges a fill of a 2- or 3-row buffer writes, stated directly.
struct Span { long from, to; };  // [from, to)
void ExpectWritten(const GuardedBuffer& before, const GuardedBuffer& after, uint32_t color,
                   std::initializer_list<Span> spans, const char* what) {
    const long g = long(before.guard());
    for (long i = 0; i < long(after.all().size()); ++i) {
        const long off = i - g;
        bool inside = false;
        for (const Span& s : spans) inside = inside || (off >= s.from && off < s.to);
        if (inside) {
            uint8_t c[4];
            std::memcpy(c, &color, 4);
            ASSERT_EQ(after.all()[size_t(i)], c[off & 3]) << what << " byte " << off;  // spans start on pixels
        } else {
            ASSERT_EQ(after.all()[size_t(i)], before.all()[size_t(i)]) << what << " byte " << off;
        }
    }
}

TEST(FillColorEdges, EvenWidthFillsEveryByte) {
    const uint32_t color = 0xFF336699u;
    for (bool sse : {false, true}) {
        GuardedBuffer before(32, 5), buf = before;
        (sse ? tessiva::FillColorToBuffer_SSE2 : tessiva::FillColorToBuffer_Plain)(buf.data(), 4, 2, 16, color);
        ExpectWritten(before, buf, color, {{0, 32}}, sse ? "SSE2" : "Plain");
    }
}

TEST(FillColorEdges, OddWidthDriftsOppositeWays) {
    const uint32_t color = 0x80112233u;
    GuardedBuffer before(32, 6), plain = before, sse = before;
    tessiva::FillColorToBuffer_Plain(plain.data(), 3, 2, 16, color);
    ExpectWritten(before, plain, color, {{0, 16}, {20, 36}}, "Plain");  // row 1 starts 4 bytes late
    tessiva::FillColorToBuffer_SSE2(sse.data(), 3, 2, 16, color);
    ExpectWritten(before, sse, color, {{0, 8}, {12, 20}}, "SSE2");  // row 1 starts 4 bytes early
}

TEST(FillColorEdges, ContiguousOddTotalLeavesTheLastPixel) {
    const uint32_t color = 0x01020304u;
    GuardedBuffer before(36, 7), buf = before;
    tessiva::FillColorToBuffer_SSE2(buf.data(), 3, 3, 12, color);
    ExpectWritten(before, buf, color, {{0, 32}}, "SSE2");
}

TEST(FillColorEdges, LineOfFive) {
    const uint32_t color = 0xDEADBEEFu;
    GuardedBuffer before(24, 8), plain = before, sse = before;
    tessiva::FillColorToLine_Plain(plain.data(), 5, color);
    ExpectWritten(before, plain, color, {{0, 24}}, "Plain");
    tessiva::FillColorToLine_SSE2(sse.data(), 5, color);
    ExpectWritten(before, sse, color, {{0, 16}}, "SSE2");
}

TEST(FillColorEdges, NullAndEmptyWriteNothing) {
    for (bool sse : {false, true}) {
        GuardedBuffer before(64, 9), buf = before;
        auto fill = sse ? tessiva::FillColorToBuffer_SSE2 : tessiva::FillColorToBuffer_Plain;
        auto line = sse ? tessiva::FillColorToLine_SSE2 : tessiva::FillColorToLine_Plain;
        fill(nullptr, 4, 4, 16, 1);
        line(nullptr, 4, 1);
        fill(buf.data(), 4, 0, 16, 1);   // no rows
        fill(buf.data(), 0, 4, 16, 1);   // empty rows
        line(buf.data(), 0, 1);
        EXPECT_EQ(FirstDifference(buf.all(), before.all()), -1) << (sse ? "SSE2" : "Plain");
        if (sse) {
            line(buf.data(), 1, 1);  // rounded down to no pair
            EXPECT_EQ(FirstDifference(buf.all(), before.all()), -1);
        }
    }
}

}  // namespace
