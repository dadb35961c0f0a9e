// RGB32 to YUV32 at every level, beside memcpy and libyuv's closest peer:
// ARGBToI444 (the same 4:4:4 arithmetic, three planes instead of one packed).
#include <libyuv.h>

#include "cpu/routine_table.h"
#include "harness.h"

namespace tessiva::bench {
namespace {

const int kLevels[] = {0, 3, 4, 6};

int Register() {
    for (const FrameSize& size : kSizes) {
        const size_t bytes = size_t(size.width) * size.height * 4;
        const std::string group = std::string("RGB32toYUV32");
        const std::string mem = RegisterMemcpy(group, size, bytes, bytes);
        const std::string peer = group + "/" + size.name + "/libyuv_ARGBToI444";
        benchmark::RegisterBenchmark(peer.c_str(), [size, bytes](benchmark::State& state) {
            const int w = size.width, h = size.height;
            RunFrames(state, bytes, bytes, [w, h](uint8_t* s, uint8_t* d) {
                libyuv::ARGBToI444(s, w * 4, d, w, d + size_t(w) * h, w, d + size_t(w) * h * 2, w, w, h);
            });
        })->UseRealTime()->Unit(benchmark::kMillisecond);
        for (int level : kLevels) {
            const std::string row = group + "/" + size.name + "/level" + std::to_string(level);
            benchmark::RegisterBenchmark(row.c_str(), [size, bytes, level](benchmark::State& state) {
                const ConvertRoutine f = RoutinesForLevel(level).RGB32toYUV32;
                const uint32_t w = uint32_t(size.width), h = uint32_t(size.height);
                RunFrames(state, bytes, bytes, [&](uint8_t* s, uint8_t* d) { f(s, w, h, w * 4, d, w, h, w * 4); });
            })->UseRealTime()->Unit(benchmark::kMillisecond);
            Compare(row, mem);
            Compare(row, peer);
        }
    }
    return 0;
}
const int registered = Register();

}  // namespace
}  // namespace tessiva::bench
