#include "field/image_tool.h"

#include <emmintrin.h>

#include <cstddef>
#include <cstring>

#include "cpu/detect.h"
#include "platform/platform.h"

namespace tessiva {

ImageTool::ImageTool() : instructionLevel(DetectInstructionSet()) {}

RGB32_Tool::RGB32_Tool() { bytesPerPixel = 4; }

TessivaResult RGB32_Tool::CheckLines(const void* a, const void* b, const void* c) {
    return a && b && c ? TESSIVA_S_OK : TESSIVA_E_FAIL;
}

namespace {

uint32_t LoadPixel(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

void StorePixel(uint8_t* p, uint32_t v) { std::memcpy(p, &v, 4); }

// Four pixels a step, the first one untested; then two-pixel steps that stay on
// the two pixels after the last full step (see the class comment).
template <bool kAligned>
void AverageVector(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t count) {
    uint32_t i = 0;
    do {
        const __m128i va = kAligned ? _mm_load_si128(reinterpret_cast<const __m128i*>(a))
                                    : _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
        const __m128i vb = kAligned ? _mm_load_si128(reinterpret_cast<const __m128i*>(b))
                                    : _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_avg_epu8(va, vb));
        a += 16;
        b += 16;
        out += 16;
        i += 4;
    } while (i <= count - 4);
    for (; i < count; i += 2) {
        const __m128i va = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a));
        const __m128i vb = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(b));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), _mm_avg_epu8(va, vb));
    }
}

}  // namespace

TessivaResult RGB32_Tool::AverageLine(const uint8_t* a, const uint8_t* b, uint8_t* out, uint32_t count) {
    if (!a || !b || !out) return TESSIVA_E_FAIL;
    if (instructionLevel >= kLevelSSE2) {
        if (count < 4) {
            // The vector loop's unsigned bound would wrap; average exactly
            // `count` pixels with the vector path's rounding instead.
            for (uint32_t i = 0; i < 4 * count; ++i) out[i] = uint8_t((a[i] + b[i] + 1) >> 1);
        } else if (((reinterpret_cast<uintptr_t>(a) | reinterpret_cast<uintptr_t>(b)) & 15) == 0) {
            AverageVector<true>(a, b, out, count);
        } else {
            AverageVector<false>(a, b, out, count);
        }
        return TESSIVA_S_OK;
    }
    for (uint32_t i = 0; i < count; ++i) {
        out[0] = uint8_t((a[0] + b[0]) >> 1);
        out[1] = uint8_t((a[1] + b[1]) >> 1);
        out[2] = uint8_t((a[2] + b[2]) >> 1);
        a += bytesPerPixel;
        b += bytesPerPixel;
        out += bytesPerPixel;
    }
    return TESSIVA_S_OK;
}

TessivaResult RGB32_Tool::BoxFilterVertical(uint8_t* src, uint8_t* dst) {
    if (!src) return TESSIVA_E_POINTER;
    const size_t w = width;
    const uint32_t h = height;
    const size_t pitch = 4 * w;
    const bool inPlace = dst == nullptr;
    // Sums of B, G, R (and an unused fourth word) per column; in place also a
    // 32-byte aligned copy of the unfiltered line that is subtracted later.
    const size_t blockBytes = inPlace ? 20 * w + 64 : 16 * w + 32;
    uint8_t* block = static_cast<uint8_t*>(platform::PageAlloc(blockBytes));
    if (!block) return TESSIVA_E_OUTOFMEMORY;
    if (h >= 2) {
        uint32_t* sum = reinterpret_cast<uint32_t*>(block);
        uint8_t* saved = reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(block) + 16 * w + 31) & ~uintptr_t(31));
        uint8_t* out = inPlace ? src : dst;
        auto line = [pitch](uint8_t* base, size_t y) { return base + y * pitch; };

        const uint8_t* l0 = line(src, 0);
        const uint8_t* l1 = line(src, 1);
        for (size_t x = 0; x < w; ++x) {
            uint32_t* s = sum + 4 * x;
            for (int c = 0; c < 3; ++c) s[c] = uint32_t(l0[4 * x + c]) + l1[4 * x + c];
            if (inPlace) std::memcpy(saved + 4 * x, l0 + 4 * x, 4);
            StorePixel(out + 4 * x, (s[0] >> 1) | (s[1] >> 1) << 8 | (s[2] >> 1) << 16);
        }
        // h - 1 > 2 as the unsigned test it is: h >= 4 here.
        uint32_t y = 2;
        if (h - 1 > 2u) {
            for (; y <= h - 2; ++y) {
                const uint8_t* add = line(src, y);
                uint8_t* mid = line(out, y - 1);            // in place: also source line y - 1
                const uint8_t* sub = line(src, y - 2);      // with a destination only
                for (size_t x = 0; x < w; ++x) {
                    uint32_t* s = sum + 4 * x;
                    for (int c = 0; c < 3; ++c) s[c] += add[4 * x + c];
                    const uint32_t o = (s[0] / 3) | (s[1] / 3) << 8 | (s[2] / 3) << 16;
                    const uint8_t* old = inPlace ? saved + 4 * x : sub + 4 * x;
                    for (int c = 0; c < 3; ++c) s[c] -= old[c];
                    if (inPlace) std::memcpy(saved + 4 * x, mid + 4 * x, 4);
                    StorePixel(mid + 4 * x, o);
                }
            }
        }
        uint8_t* last = line(out, y - 1);
        for (size_t x = 0; x < w; ++x) {
            const uint32_t* s = sum + 4 * x;
            StorePixel(last + 4 * x, (s[0] >> 1) | (s[1] >> 1) << 8 | (s[2] >> 1) << 16);
        }
    }
    platform::PageFree(block, blockBytes);
    return TESSIVA_S_OK;
}

namespace {

uint32_t Smooth(uint32_t p, uint32_t c, uint32_t n) {
    const uint32_t t = ((p >> 1) & 0x7F7F7Fu) + (c & p & 0x010101u) + ((n & 0xFEFEFEu) >> 1);
    return ((c & 0xFEFEFEu) >> 1) + ((t >> 1) & 0x7F7F7Fu);
}

}  // namespace

TessivaResult RGB32_Tool::SmoothVertical(uint8_t* src, uint8_t* dst) {
    if (!src) return TESSIVA_E_POINTER;
    const size_t w = width;
    const uint32_t h = height;
    if (h == 0) return TESSIVA_S_OK;  // no first or last line to keep
    const size_t pitch = 4 * w;
    const bool filter = int32_t(h - 2) > 0;
    if (dst) {
        std::memcpy(dst, src, pitch);
        std::memcpy(dst + (h - 1) * pitch, src + (h - 1) * pitch, pitch);
        if (filter) {
            for (size_t y = 1; y <= h - 2; ++y) {
                const uint8_t* p = src + (y - 1) * pitch;
                const uint8_t* c = p + pitch;
                const uint8_t* n = c + pitch;
                uint8_t* o = dst + y * pitch;
                for (size_t x = 0; x < 4 * w; x += 4) StorePixel(o + x, Smooth(LoadPixel(p + x), LoadPixel(c + x), LoadPixel(n + x)));
            }
        }
        return TESSIVA_S_OK;
    }
    // In place: the unfiltered previous line lives in a page-allocated buffer.
    const size_t bufferBytes = 4 * w + 32;
    uint8_t* previous = static_cast<uint8_t*>(platform::PageAlloc(bufferBytes));
    if (!previous) return TESSIVA_E_OUTOFMEMORY;
    if (filter) {
        std::memcpy(previous, src, pitch);
        for (size_t y = 1; y <= h - 2; ++y) {
            uint8_t* c = src + y * pitch;
            const uint8_t* n = c + pitch;
            for (size_t x = 0; x < 4 * w; x += 4) {
                const uint32_t centre = LoadPixel(c + x);
                StorePixel(c + x, Smooth(LoadPixel(previous + x), centre, LoadPixel(n + x)));
                StorePixel(previous + x, centre);
            }
        }
    }
    platform::PageFree(previous, bufferBytes);
    return TESSIVA_S_OK;
}

}  // namespace tessiva
