// Planar 4:2:0 (YV12: Y plane, then V, then U) to and from RGB32 and YUV32.
// The YV12 side is the start of the whole buffer with the Y plane's pitch P.
#pragma once
#include "convert/routine.h"

namespace tessiva {

TESSIVA_DECLARE_ROUTINE(RGB32toYV12_Plain);
TESSIVA_DECLARE_ROUTINE(RGB32toYV12_SSE2);
TESSIVA_DECLARE_ROUTINE(InvertRGB32toYV12_Plain);
TESSIVA_DECLARE_ROUTINE(InvertRGB32toYV12_SSE2);
TESSIVA_DECLARE_ROUTINE(YV12toRGB32_Plain);
TESSIVA_DECLARE_ROUTINE(YV12toRGB32_SSE2);
TESSIVA_DECLARE_ROUTINE(InvertYV12toRGB32_Plain);
TESSIVA_DECLARE_ROUTINE(InvertYV12toRGB32_SSE2);
TESSIVA_DECLARE_ROUTINE(YUV32toYV12_Plain);
TESSIVA_DECLARE_ROUTINE(YUV32toYV12_SSE2);
// The processor path of YV12toYUV32 writes nothing at every level.
TESSIVA_DECLARE_ROUTINE(YV12toYUV32_None);

}  // namespace tessiva
