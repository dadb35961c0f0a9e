// Colour fills of 4-byte pixels. The two variants round odd counts in opposite
// directions: Plain (levels 0-2) up to even, SSE2 (level 3+) down to even.
#pragma once
#include "convert/routine.h"

namespace tessiva {

void FillColorToBuffer_Plain(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch, uint32_t color);
void FillColorToBuffer_SSE2(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch, uint32_t color);
void FillColorToLine_Plain(uint8_t* dst, uint32_t count, uint32_t color);
void FillColorToLine_SSE2(uint8_t* dst, uint32_t count, uint32_t color);

}  // namespace tessiva
