#include "route.h"

#include <cstdio>
#include <cstring>
#include <limits>

namespace tessiva::tool {
namespace {

using F = PixelFormat;

// RGB24 widened to RGB32 with alpha 255: the bytes that RGB24toRGB32 gives.
void RepackRGB24toRGB32(const uint8_t* src, uint8_t* dst, FrameSize size) {
    const std::size_t pixels = std::size_t(size.width) * std::size_t(size.height);
    for (std::size_t i = 0; i < pixels; ++i) {
        dst[4 * i + 0] = src[3 * i + 0];
        dst[4 * i + 1] = src[3 * i + 1];
        dst[4 * i + 2] = src[3 * i + 2];
        dst[4 * i + 3] = 255;
    }
}

// The chroma planes of packed YV12 and NV12 frames: YV12 holds V (W/2 x H/2)
// then U after the Y plane; NV12 holds U, V pairs there, U first.
struct ChromaPlanes {
    std::size_t lumaBytes, samples;
};
ChromaPlanes Chroma(FrameSize size) {
    const std::size_t luma = std::size_t(size.width) * std::size_t(size.height);
    return {luma, luma / 4};
}

void RepackYV12toNV12(const uint8_t* src, uint8_t* dst, FrameSize size) {
    const ChromaPlanes c = Chroma(size);
    std::memcpy(dst, src, c.lumaBytes);
    const uint8_t* v = src + c.lumaBytes;
    const uint8_t* u = v + c.samples;
    uint8_t* uv = dst + c.lumaBytes;
    for (std::size_t i = 0; i < c.samples; ++i) {
        uv[2 * i] = u[i];
        uv[2 * i + 1] = v[i];
    }
}

void RepackNV12toYV12(const uint8_t* src, uint8_t* dst, FrameSize size) {
    const ChromaPlanes c = Chroma(size);
    std::memcpy(dst, src, c.lumaBytes);
    const uint8_t* uv = src + c.lumaBytes;
    uint8_t* v = dst + c.lumaBytes;
    uint8_t* u = v + c.samples;
    for (std::size_t i = 0; i < c.samples; ++i) {
        u[i] = uv[2 * i];
        v[i] = uv[2 * i + 1];
    }
}

#define SLOT(n, a, b, inv, fn) {F::a, F::b, inv, Step::kSlot, n, &ITessiva::fn, nullptr, #fn}
#define REPACK(kind, a, b, fn) {F::a, F::b, false, Step::kind, -1, nullptr, fn, "repack"}

// Host-memory conversions only: RGB24toRGB32 (slot 7) runs on OpenCL memory
// alone, and YV12toYUV32 (slot 17) writes nothing in host memory.
const Step kSteps[] = {
    SLOT(2, RGB32, YUV32, false, RGB32toYUV32),
    SLOT(3, YUV32, RGB32, false, YUV32toRGB32),
    SLOT(4, RGB32, YUY2, false, RGB32toYUY2),
    SLOT(5, YUY2, RGB32, false, YUY2toRGB32),
    SLOT(6, RGB32, RGB24, false, RGB32toRGB24),
    SLOT(14, RGB32, YV12, false, RGB32toYV12),
    SLOT(15, YV12, RGB32, false, YV12toRGB32),
    SLOT(16, YUV32, YV12, false, YUV32toYV12),
    SLOT(20, YUV32, YUY2, false, YUV32toYUY2),
    SLOT(21, YUY2, YUV32, false, YUY2toYUV32),
    SLOT(22, YUV32, RGB24, false, YUV32toRGB24),
    SLOT(24, YUY2, RGB24, false, YUY2toRGB24),
    SLOT(8, RGB32, RGB32, true, InvertRGB32toRGB32),
    SLOT(9, RGB32, RGB24, true, InvertRGB32toRGB24),
    SLOT(10, RGB32, YUV32, true, InvertRGB32toYUV32),
    SLOT(11, YUV32, RGB32, true, InvertYUV32toRGB32),
    SLOT(12, YUY2, RGB32, true, InvertYUY2toRGB32),
    SLOT(13, RGB32, YUY2, true, InvertRGB32toYUY2),
    SLOT(18, RGB32, YV12, true, InvertRGB32toYV12),
    SLOT(19, YV12, RGB32, true, InvertYV12toRGB32),
    SLOT(23, YUV32, RGB24, true, InvertYUV32toRGB24),
    SLOT(25, YUY2, RGB24, true, InvertYUY2toRGB24),
    REPACK(kRepack, YV12, NV12, RepackYV12toNV12),
    REPACK(kPreviewRepack, RGB24, RGB32, RepackRGB24toRGB32),
    REPACK(kPreviewRepack, NV12, YV12, RepackNV12toYV12),
};
#undef SLOT
#undef REPACK

bool IsRgb(PixelFormat f) { return f == F::RGB32 || f == F::RGB24; }

// A repack moves bytes only: it costs less than any conversion.
int Cost(const Step& s) {
    if (s.kind != Step::kSlot) return 1;
    return 10 + (IsRgb(s.from) != IsRgb(s.to) ? 1 : 0);
}

}  // namespace

bool PlanRoute(PixelFormat from, PixelFormat to, bool invert, bool forPreview, Route* route) {
    route->clear();
    if (from == to && !invert) return true;
    // Dijkstra over (format, mirrored yet) states; twelve of them, so plain arrays.
    constexpr int kStates = kFormatCount * 2;
    constexpr int kInf = std::numeric_limits<int>::max();
    auto state = [](PixelFormat f, bool mirrored) { return static_cast<int>(f) * 2 + (mirrored ? 1 : 0); };
    int cost[kStates], previous[kStates];
    const Step* via[kStates] = {};
    bool done[kStates] = {};
    for (int i = 0; i < kStates; ++i) cost[i] = kInf, previous[i] = -1;
    cost[state(from, false)] = 0;
    for (;;) {
        int current = -1;
        for (int i = 0; i < kStates; ++i)
            if (!done[i] && cost[i] != kInf && (current < 0 || cost[i] < cost[current])) current = i;
        if (current < 0) break;
        done[current] = true;
        const PixelFormat format = static_cast<PixelFormat>(current / 2);
        const bool mirrored = current % 2 != 0;
        for (const Step& s : kSteps) {
            if (s.from != format || (s.kind == Step::kPreviewRepack && !forPreview)) continue;
            if (s.invert && (mirrored || !invert)) continue;
            const int next = state(s.to, mirrored || s.invert);
            if (cost[current] + Cost(s) < cost[next]) {
                cost[next] = cost[current] + Cost(s);
                previous[next] = current;
                via[next] = &s;
            }
        }
    }
    const int goal = state(to, invert);
    if (cost[goal] == kInf) return false;
    for (int at = goal; previous[at] >= 0; at = previous[at]) route->insert(route->begin(), via[at]);
    return true;
}

std::string DescribeRoute(PixelFormat from, const Route& route) {
    std::string text = FormatName(from);
    if (route.empty()) return text + " (copied unchanged)";
    for (const Step* s : route) {
        char detail[64];
        switch (s->kind) {
            case Step::kSlot: std::snprintf(detail, sizeof detail, "%s, slot %d", s->name, s->slot); break;
            default: std::snprintf(detail, sizeof detail, "byte repack"); break;
        }
        text += std::string(" -> ") + FormatName(s->to) + " (" + detail + ")";
    }
    return text;
}

std::string SlotFailure(const char* name, int slot, TessivaResult result) {
    char text[96];
    std::snprintf(text, sizeof text, "%s (slot %d) failed with 0x%08X", name, slot, static_cast<unsigned>(result));
    return text;
}

Converter::Converter(ITessiva* library, Route route, PixelFormat from, PixelFormat to, FrameSize size)
    : library_(library), route_(std::move(route)), from_(from), to_(to), size_(size) {}

bool Converter::Run(const uint8_t* in, std::vector<uint8_t>* out, std::string* error) {
    out->resize(FrameBytes(to_, size_));
    if (route_.empty()) {
        std::memcpy(out->data(), in, out->size());
        return true;
    }
    const int32_t w = size_.width, h = size_.height;
    const uint8_t* src = in;
    for (std::size_t i = 0; i < route_.size(); ++i) {
        const Step& s = *route_[i];
        std::vector<uint8_t>* target = i + 1 == route_.size() ? out : &scratch_[i % 2];
        target->resize(FrameBytes(s.to, size_));
        uint8_t* dst = target->data();
        if (s.kind != Step::kSlot) {
            s.repack(src, dst, size_);
            src = dst;
            continue;
        }
        const int32_t sp = PackedPitch(s.from, w), dp = PackedPitch(s.to, w);
        const TessivaResult r = (library_->*s.call)(nullptr, TESSIVA_MEMORY_HOST, const_cast<uint8_t*>(src), w, h,
                                                    sp, TESSIVA_MEMORY_HOST, dst, w, h, dp);
        if (r != TESSIVA_S_OK) {
            *error = SlotFailure(s.name, s.slot, r);
            return false;
        }
        src = dst;
    }
    return true;
}

}  // namespace tessiva::tool
