// NV12 writers (Y plane, then interleaved U,V at offset P x H, pitch P). They sit
// in the routine table; no interface operation calls them.
#pragma once
#include "convert/routine.h"

namespace tessiva {

TESSIVA_DECLARE_ROUTINE(YUY2toNV12_Plain);  // level 0: truncating row average
TESSIVA_DECLARE_ROUTINE(YUY2toNV12_MMX);    // levels 1-2: rounding-up row average
TESSIVA_DECLARE_ROUTINE(YUY2toNV12_SSE2);
TESSIVA_DECLARE_ROUTINE(RGB32toNV12_Plain);
TESSIVA_DECLARE_ROUTINE(RGB32toNV12_SSE2);
TESSIVA_DECLARE_ROUTINE(YUV32toNV12_Plain);
TESSIVA_DECLARE_ROUTINE(YUV32toNV12_SSE2);

}  // namespace tessiva
