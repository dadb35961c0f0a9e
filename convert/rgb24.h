// Conversions into RGB24 and the plain vertical flip of RGB32.
#pragma once
#include "convert/routine.h"

namespace tessiva {

TESSIVA_DECLARE_ROUTINE(RGB32toRGB24_Plain);
TESSIVA_DECLARE_ROUTINE(RGB32toRGB24_SSE2);
TESSIVA_DECLARE_ROUTINE(InvertRGB32toRGB24_Plain);
TESSIVA_DECLARE_ROUTINE(InvertRGB32toRGB24_SSE2);
TESSIVA_DECLARE_ROUTINE(YUV32toRGB24_Plain);
TESSIVA_DECLARE_ROUTINE(YUV32toRGB24_SSE2);
TESSIVA_DECLARE_ROUTINE(InvertYUV32toRGB24_Plain);
TESSIVA_DECLARE_ROUTINE(InvertYUV32toRGB24_SSE2);
// Single variant, called directly rather than through the table.
TESSIVA_DECLARE_ROUTINE(InvertRGB32toRGB32);

}  // namespace tessiva
