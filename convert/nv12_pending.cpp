// Placeholders until these variants land; see convert/pending.h.
#include "convert/pending.h"
#include "convert/nv12.h"

namespace tessiva {

TESSIVA_PENDING_ROUTINE(YUY2toNV12_Plain)
TESSIVA_PENDING_ROUTINE(YUY2toNV12_MMX)
TESSIVA_PENDING_ROUTINE(YUY2toNV12_SSE2)
TESSIVA_PENDING_ROUTINE(RGB32toNV12_Plain)
TESSIVA_PENDING_ROUTINE(RGB32toNV12_SSE2)
TESSIVA_PENDING_ROUTINE(YUV32toNV12_Plain)
TESSIVA_PENDING_ROUTINE(YUV32toNV12_SSE2)

}  // namespace tessiva
