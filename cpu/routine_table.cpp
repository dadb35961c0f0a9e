#include "cpu/routine_table.h"

#include "convert/fill.h"
#include "convert/nv12.h"
#include "convert/rgb24.h"
#include "convert/rgb32_yuv32.h"
#include "convert/yuy2.h"
#include "convert/yv12.h"

namespace tessiva {

RoutineTable routineTable = {};

namespace {

// Level groups, tested in this order: >= 6, >= 4, == 3, 1-2, anything else.
enum Group { kAvx2, kSse41, kSse2, kMmx, kNone };

Group GroupOf(int level) {
    if (level >= 6) return kAvx2;
    if (level >= 4) return kSse41;
    if (level == 3) return kSse2;
    if (level == 1 || level == 2) return kMmx;
    return kNone;
}

// Picks one of the five columns of a table row.
template <typename R>
R Pick(Group g, R avx2, R sse41, R sse2, R mmx, R none) {
    switch (g) {
        case kAvx2: return avx2;
        case kSse41: return sse41;
        case kSse2: return sse2;
        case kMmx: return mmx;
        default: return none;
    }
}

// The common row shapes: SSE2 from level 3 up, plain below; optionally AVX2 at 6.
template <typename R>
R Sse2OrPlain(Group g, R sse2, R plain) { return Pick(g, sse2, sse2, sse2, plain, plain); }
template <typename R>
R Avx2Sse2OrPlain(Group g, R avx2, R sse2, R plain) { return Pick(g, avx2, sse2, sse2, plain, plain); }

}  // namespace

RoutineTable RoutinesForLevel(int level) {
    const Group g = GroupOf(level);
    RoutineTable t;
    t.RGB32toYUY2 = Avx2Sse2OrPlain(g, RGB32toYUY2_AVX2, RGB32toYUY2_SSE2, RGB32toYUY2_Plain);
    t.InvertRGB32toYUY2 = Sse2OrPlain(g, InvertRGB32toYUY2_SSE2, InvertRGB32toYUY2_Plain);
    t.YUY2toRGB32 = Avx2Sse2OrPlain(g, YUY2toRGB32_AVX2, YUY2toRGB32_SSE2, YUY2toRGB32_Plain);
    t.InvertYUY2toRGB32 = Sse2OrPlain(g, InvertYUY2toRGB32_SSE2, InvertYUY2toRGB32_Plain);
    t.YUY2toRGB24 = Avx2Sse2OrPlain(g, YUY2toRGB24_AVX2, YUY2toRGB24_SSE2, YUY2toRGB24_Plain);
    t.InvertYUY2toRGB24 = Sse2OrPlain(g, InvertYUY2toRGB24_SSE2, InvertYUY2toRGB24_Plain);
    t.RGB32toYUV32 = Pick<ConvertRoutine>(g, RGB32toYUV32_AVX2, RGB32toYUV32_SSE41, RGB32toYUV32_SSE2,
                                          RGB32toYUV32_Plain, RGB32toYUV32_Plain);
    t.InvertRGB32toYUV32 = Avx2Sse2OrPlain(g, InvertRGB32toYUV32_AVX2, InvertRGB32toYUV32_SSE2, InvertRGB32toYUV32_Plain);
    t.YUV32toRGB32 = Avx2Sse2OrPlain(g, YUV32toRGB32_AVX2, YUV32toRGB32_SSE2, YUV32toRGB32_Plain);
    t.InvertYUV32toRGB32 = Avx2Sse2OrPlain(g, InvertYUV32toRGB32_AVX2, InvertYUV32toRGB32_SSE2, InvertYUV32toRGB32_Plain);
    t.YUV32toRGB24 = Sse2OrPlain(g, YUV32toRGB24_SSE2, YUV32toRGB24_Plain);
    t.InvertYUV32toRGB24 = Sse2OrPlain(g, InvertYUV32toRGB24_SSE2, InvertYUV32toRGB24_Plain);
    t.YUV32toYUY2 = Avx2Sse2OrPlain(g, YUV32toYUY2_AVX2, YUV32toYUY2_SSE2, YUV32toYUY2_Plain);
    t.YUY2toYUV32 = Avx2Sse2OrPlain(g, YUY2toYUV32_AVX2, YUY2toYUV32_SSE2, YUY2toYUV32_Plain);
    t.RGB32toRGB24 = Sse2OrPlain(g, RGB32toRGB24_SSE2, RGB32toRGB24_Plain);
    t.InvertRGB32toRGB24 = Sse2OrPlain(g, InvertRGB32toRGB24_SSE2, InvertRGB32toRGB24_Plain);
    t.YUY2toNV12 = Pick<ConvertRoutine>(g, YUY2toNV12_SSE2, YUY2toNV12_SSE2, YUY2toNV12_SSE2, YUY2toNV12_MMX,
                                        YUY2toNV12_Plain);
    t.RGB32toNV12 = Sse2OrPlain(g, RGB32toNV12_SSE2, RGB32toNV12_Plain);
    t.RGB32toYV12 = Sse2OrPlain(g, RGB32toYV12_SSE2, RGB32toYV12_Plain);
    t.InvertRGB32toYV12 = Sse2OrPlain(g, InvertRGB32toYV12_SSE2, InvertRGB32toYV12_Plain);
    t.YV12toRGB32 = Sse2OrPlain(g, YV12toRGB32_SSE2, YV12toRGB32_Plain);
    t.InvertYV12toRGB32 = Sse2OrPlain(g, InvertYV12toRGB32_SSE2, InvertYV12toRGB32_Plain);
    t.YUV32toYV12 = Sse2OrPlain(g, YUV32toYV12_SSE2, YUV32toYV12_Plain);
    t.YV12toYUV32 = YV12toYUV32_None;
    t.YUV32toNV12 = Sse2OrPlain(g, YUV32toNV12_SSE2, YUV32toNV12_Plain);
    t.FillColorToBuffer = Sse2OrPlain<FillBufferRoutine>(g, FillColorToBuffer_SSE2, FillColorToBuffer_Plain);
    t.FillColorToLine = Sse2OrPlain<FillLineRoutine>(g, FillColorToLine_SSE2, FillColorToLine_Plain);
    return t;
}

int SelectRoutines(int level) {
    routineTable = RoutinesForLevel(level);
    return 0;
}

}  // namespace tessiva
