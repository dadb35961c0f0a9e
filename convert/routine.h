// Shapes shared by every processor conversion routine.
#pragma once
#include <cstdint>

namespace tessiva {

// Source first, then destination: pointer to the first byte of row 0, width in
// pixels, height in rows, pitch in bytes. A routine returns without writing when
// the sizes disagree (and, where it tests them, when a pointer is null).
using ConvertRoutine = void (*)(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcPitch,
                                uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstPitch);
// Fills width x height pixels of 4 bytes with one colour word.
using FillBufferRoutine = void (*)(uint8_t* dst, uint32_t width, uint32_t height, uint32_t pitch, uint32_t color);
// Fills a run of pixels of 4 bytes with one colour word.
using FillLineRoutine = void (*)(uint8_t* dst, uint32_t count, uint32_t color);

// Declares a conversion routine of the ConvertRoutine shape.
#define TESSIVA_DECLARE_ROUTINE(name)                                                                       \
    void name(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcPitch, uint8_t* dst, \
              uint32_t dstWidth, uint32_t dstHeight, uint32_t dstPitch)

// True when source and destination sizes agree.
inline bool SameSize(uint32_t srcWidth, uint32_t srcHeight, uint32_t dstWidth, uint32_t dstHeight) {
    return srcWidth == dstWidth && srcHeight == dstHeight;
}

}  // namespace tessiva
