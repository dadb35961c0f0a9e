// Interpolating frame/field operations at 1080p beside a memcpy of the same
// traffic: the SSE2-level forms with their line tool at level 0 (scalar) and 3
// (SSE2), and the AVX2 forms where the processor has AVX2.
//  - FrameToField reads the frame and writes two frames.
//  - MakeBottomField / MakeTopField work in place: they read one field and
//    write the other, half a frame each way.
#include <memory>

#include "field/frame_field.h"
#include "harness.h"

namespace tessiva::bench {
namespace {

bool HasAVX2() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}

std::shared_ptr<RGB32_Tool> ToolAt(uint32_t level, int w, int h) {
    auto tool = std::make_shared<RGB32_Tool>();
    tool->instructionLevel = level;
    tool->width = uint32_t(w);
    tool->height = uint32_t(h);
    return tool;
}

void Row(const std::string& name, const std::string& baseline, size_t srcBytes, size_t dstBytes,
         std::function<void(uint8_t*, uint8_t*)> body) {
    benchmark::RegisterBenchmark(name.c_str(), [srcBytes, dstBytes, body](benchmark::State& state) {
        RunFrames(state, srcBytes, dstBytes, body);
    })->UseRealTime()->Unit(benchmark::kMillisecond);
    Compare(name, baseline);
}

int Register() {
    const FrameSize& size = kSizes[0];  // 1080p
    const int w = size.width, h = size.height;
    const size_t frame = size_t(w) * h * 4;
    const bool avx2 = HasAVX2();
    const struct {
        const char* name;
        uint32_t level;
    } levels[] = {{"scalar", 0}, {"sse2", 3}};

    {
        const std::string group = "FrameToFieldInterpolate";
        const std::string mem = RegisterMemcpy(group, size, frame, 2 * frame);
        const std::string prefix = group + "/" + size.name + "/";
        for (const auto& l : levels) {
            auto tool = ToolAt(l.level, w, h);
            Row(prefix + l.name, mem, frame, 2 * frame, [tool, w, h, frame](uint8_t* s, uint8_t* d) {
                FrameToFieldWithTool(*tool, s, d, d + frame, w, h, 1);
            });
        }
        if (avx2)
            Row(prefix + "avx2", mem, frame, 2 * frame,
                [w, h, frame](uint8_t* s, uint8_t* d) { FrameToFieldAVX2(s, d, d + frame, w, h, 1); });
    }
    // In place on the source frames; no destination.
    for (const bool top : {false, true}) {
        const std::string group = top ? "MakeTopFieldInterpolate" : "MakeBottomFieldInterpolate";
        const std::string mem = RegisterMemcpy(group, size, frame / 2, frame / 2);
        const std::string prefix = group + "/" + size.name + "/";
        for (const auto& l : levels) {
            auto tool = ToolAt(l.level, w, h);
            Row(prefix + l.name, mem, frame, 0, [tool, w, h, top](uint8_t* s, uint8_t*) {
                if (top)
                    MakeTopFieldWithTool(*tool, s, w, h, 1);
                else
                    MakeBottomFieldWithTool(*tool, s, w, h, 1);
            });
        }
        if (avx2)
            Row(prefix + "avx2", mem, frame, 0, [w, h, top](uint8_t* s, uint8_t*) {
                if (top)
                    MakeTopFieldAVX2(s, w, h, 1);
                else
                    MakeBottomFieldAVX2(s, w, h, 1);
            });
    }
    return 0;
}
const int registered = Register();

}  // namespace
}  // namespace tessiva::bench
