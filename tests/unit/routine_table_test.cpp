// The routine table for every level -1..7: each of the 27 entries against the
// variant its column names (level >= 6, 4-5, 3, 1-2, anything else).
#include <gtest/gtest.h>

#include <cstring>

#include "convert/fill.h"
#include "convert/nv12.h"
#include "convert/rgb24.h"
#include "convert/rgb32_yuv32.h"
#include "convert/yuy2.h"
#include "convert/yv12.h"
#include "cpu/routine_table.h"

namespace tessiva {
namespace {

// Columns in the order of the selection rule.
enum Column { kAvx2Col, kSse41Col, kSse2Col, kMmxCol, kNoneCol, kColumns };

Column ColumnOf(int level) {
    if (level >= 6) return kAvx2Col;
    if (level >= 4) return kSse41Col;
    if (level == 3) return kSse2Col;
    if (level == 1 || level == 2) return kMmxCol;
    return kNoneCol;
}

#define V(f) reinterpret_cast<const void*>(&f)

// Entries 1..27 in table order.
const void* const kExpected[kRoutineCount][kColumns] = {
    {V(RGB32toYUY2_AVX2), V(RGB32toYUY2_SSE2), V(RGB32toYUY2_SSE2), V(RGB32toYUY2_Plain), V(RGB32toYUY2_Plain)},
    {V(InvertRGB32toYUY2_SSE2), V(InvertRGB32toYUY2_SSE2), V(InvertRGB32toYUY2_SSE2), V(InvertRGB32toYUY2_Plain), V(InvertRGB32toYUY2_Plain)},
    {V(YUY2toRGB32_AVX2), V(YUY2toRGB32_SSE2), V(YUY2toRGB32_SSE2), V(YUY2toRGB32_Plain), V(YUY2toRGB32_Plain)},
    {V(InvertYUY2toRGB32_SSE2), V(InvertYUY2toRGB32_SSE2), V(InvertYUY2toRGB32_SSE2), V(InvertYUY2toRGB32_Plain), V(InvertYUY2toRGB32_Plain)},
    {V(YUY2toRGB24_AVX2), V(YUY2toRGB24_SSE2), V(YUY2toRGB24_SSE2), V(YUY2toRGB24_Plain), V(YUY2toRGB24_Plain)},
    {V(InvertYUY2toRGB24_SSE2), V(InvertYUY2toRGB24_SSE2), V(InvertYUY2toRGB24_SSE2), V(InvertYUY2toRGB24_Plain), V(InvertYUY2toRGB24_Plain)},
    {V(RGB32toYUV32_AVX2), V(RGB32toYUV32_SSE41), V(RGB32toYUV32_SSE2), V(RGB32toYUV32_Plain), V(RGB32toYUV32_Plain)},
    {V(InvertRGB32toYUV32_AVX2), V(InvertRGB32toYUV32_SSE2), V(InvertRGB32toYUV32_SSE2), V(InvertRGB32toYUV32_Plain), V(InvertRGB32toYUV32_Plain)},
    {V(YUV32toRGB32_AVX2), V(YUV32toRGB32_SSE2), V(YUV32toRGB32_SSE2), V(YUV32toRGB32_Plain), V(YUV32toRGB32_Plain)},
    {V(InvertYUV32toRGB32_AVX2), V(InvertYUV32toRGB32_SSE2), V(InvertYUV32toRGB32_SSE2), V(InvertYUV32toRGB32_Plain), V(InvertYUV32toRGB32_Plain)},
    {V(YUV32toRGB24_SSE2), V(YUV32toRGB24_SSE2), V(YUV32toRGB24_SSE2), V(YUV32toRGB24_Plain), V(YUV32toRGB24_Plain)},
    {V(InvertYUV32toRGB24_SSE2), V(InvertYUV32toRGB24_SSE2), V(InvertYUV32toRGB24_SSE2), V(InvertYUV32toRGB24_Plain), V(InvertYUV32toRGB24_Plain)},
    {V(YUV32toYUY2_AVX2), V(YUV32toYUY2_SSE2), V(YUV32toYUY2_SSE2), V(YUV32toYUY2_Plain), V(YUV32toYUY2_Plain)},
    {V(YUY2toYUV32_AVX2), V(YUY2toYUV32_SSE2), V(YUY2toYUV32_SSE2), V(YUY2toYUV32_Plain), V(YUY2toYUV32_Plain)},
    {V(RGB32toRGB24_SSE2), V(RGB32toRGB24_SSE2), V(RGB32toRGB24_SSE2), V(RGB32toRGB24_Plain), V(RGB32toRGB24_Plain)},
    {V(InvertRGB32toRGB24_SSE2), V(InvertRGB32toRGB24_SSE2), V(InvertRGB32toRGB24_SSE2), V(InvertRGB32toRGB24_Plain), V(InvertRGB32toRGB24_Plain)},
    {V(YUY2toNV12_SSE2), V(YUY2toNV12_SSE2), V(YUY2toNV12_SSE2), V(YUY2toNV12_MMX), V(YUY2toNV12_Plain)},
    {V(RGB32toNV12_SSE2), V(RGB32toNV12_SSE2), V(RGB32toNV12_SSE2), V(RGB32toNV12_Plain), V(RGB32toNV12_Plain)},
    {V(RGB32toYV12_SSE2), V(RGB32toYV12_SSE2), V(RGB32toYV12_SSE2), V(RGB32toYV12_Plain), V(RGB32toYV12_Plain)},
    {V(InvertRGB32toYV12_SSE2), V(InvertRGB32toYV12_SSE2), V(InvertRGB32toYV12_SSE2), V(InvertRGB32toYV12_Plain), V(InvertRGB32toYV12_Plain)},
    {V(YV12toRGB32_SSE2), V(YV12toRGB32_SSE2), V(YV12toRGB32_SSE2), V(YV12toRGB32_Plain), V(YV12toRGB32_Plain)},
    {V(InvertYV12toRGB32_SSE2), V(InvertYV12toRGB32_SSE2), V(InvertYV12toRGB32_SSE2), V(InvertYV12toRGB32_Plain), V(InvertYV12toRGB32_Plain)},
    {V(YUV32toYV12_SSE2), V(YUV32toYV12_SSE2), V(YUV32toYV12_SSE2), V(YUV32toYV12_Plain), V(YUV32toYV12_Plain)},
    {V(YV12toYUV32_None), V(YV12toYUV32_None), V(YV12toYUV32_None), V(YV12toYUV32_None), V(YV12toYUV32_None)},
    {V(YUV32toNV12_SSE2), V(YUV32toNV12_SSE2), V(YUV32toNV12_SSE2), V(YUV32toNV12_Plain), V(YUV32toNV12_Plain)},
    {V(FillColorToBuffer_SSE2), V(FillColorToBuffer_SSE2), V(FillColorToBuffer_SSE2), V(FillColorToBuffer_Plain), V(FillColorToBuffer_Plain)},
    {V(FillColorToLine_SSE2), V(FillColorToLine_SSE2), V(FillColorToLine_SSE2), V(FillColorToLine_Plain), V(FillColorToLine_Plain)},
};

#undef V

const void* const* Entries(const RoutineTable& t) { return reinterpret_cast<const void* const*>(&t); }

TEST(RoutineTable, EveryLevelSelectsItsColumn) {
    for (int level = -1; level <= 7; ++level) {
        SCOPED_TRACE(level);
        const RoutineTable t = RoutinesForLevel(level);
        const Column c = ColumnOf(level);
        for (size_t i = 0; i < kRoutineCount; ++i) EXPECT_EQ(Entries(t)[i], kExpected[i][c]) << "entry " << i + 1;
    }
}

TEST(RoutineTable, SelectRoutinesFillsTheSharedTable) {
    for (int level = -1; level <= 7; ++level) {
        SCOPED_TRACE(level);
        routineTable = {};
        EXPECT_EQ(SelectRoutines(level), 0);
        const RoutineTable want = RoutinesForLevel(level);
        EXPECT_EQ(std::memcmp(&routineTable, &want, sizeof want), 0);
        for (size_t i = 0; i < kRoutineCount; ++i) EXPECT_NE(Entries(routineTable)[i], nullptr) << "entry " << i + 1;
    }
    SelectRoutines(0);
}

}  // namespace
}  // namespace tessiva
