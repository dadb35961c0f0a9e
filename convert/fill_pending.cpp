// Placeholders until these variants land; see convert/pending.h.
#include "convert/fill.h"

namespace tessiva {

void FillColorToBuffer_Plain(uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t) {}
void FillColorToBuffer_SSE2(uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t) {}
void FillColorToLine_Plain(uint8_t*, uint32_t, uint32_t) {}
void FillColorToLine_SSE2(uint8_t*, uint32_t, uint32_t) {}

}  // namespace tessiva
