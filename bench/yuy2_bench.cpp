// YUY2 routines at levels 0, 3 and 6 beside memcpy and, where libyuv has the same
// conversion, its routine: ARGBToYUY2 for RGB32toYUY2, YUY2ToARGB for YUY2toRGB32.
#include <libyuv.h>

#include "cpu/routine_table.h"
#include "harness.h"

namespace tessiva::bench {
namespace {

const int kLevels[] = {0, 3, 6};

struct Group {
    const char* name;
    ConvertRoutine RoutineTable::*entry;
    int srcBytes, dstBytes;  // per pixel (YUY2: 2)
    const char* peerName;    // libyuv row, or null
    void (*peer)(const uint8_t* src, uint8_t* dst, int w, int h);
};

void LibyuvArgbToYuy2(const uint8_t* s, uint8_t* d, int w, int h) { libyuv::ARGBToYUY2(s, w * 4, d, w * 2, w, h); }
void LibyuvYuy2ToArgb(const uint8_t* s, uint8_t* d, int w, int h) { libyuv::YUY2ToARGB(s, w * 2, d, w * 4, w, h); }

const Group kGroups[] = {
    {"RGB32toYUY2", &RoutineTable::RGB32toYUY2, 4, 2, "libyuv_ARGBToYUY2", LibyuvArgbToYuy2},
    {"YUY2toRGB32", &RoutineTable::YUY2toRGB32, 2, 4, "libyuv_YUY2ToARGB", LibyuvYuy2ToArgb},
    {"YUY2toRGB24", &RoutineTable::YUY2toRGB24, 2, 3, nullptr, nullptr},
    {"YUV32toYUY2", &RoutineTable::YUV32toYUY2, 4, 2, nullptr, nullptr},
    {"YUY2toYUV32", &RoutineTable::YUY2toYUV32, 2, 4, nullptr, nullptr},
};

int Register() {
    for (const Group& g : kGroups) {
        for (const FrameSize& size : kSizes) {
            const size_t pixels = size_t(size.width) * size.height;
            const size_t srcBytes = pixels * g.srcBytes, dstBytes = pixels * g.dstBytes;
            const std::string mem = RegisterMemcpy(g.name, size, srcBytes, dstBytes);
            std::string peer;
            if (g.peer) {
                peer = std::string(g.name) + "/" + size.name + "/" + g.peerName;
                benchmark::RegisterBenchmark(peer.c_str(), [&g, size, srcBytes, dstBytes](benchmark::State& state) {
                    RunFrames(state, srcBytes, dstBytes,
                              [&g, size](uint8_t* s, uint8_t* d) { g.peer(s, d, size.width, size.height); });
                })->UseRealTime()->Unit(benchmark::kMillisecond);
            }
            for (int level : kLevels) {
                const std::string row = std::string(g.name) + "/" + size.name + "/level" + std::to_string(level);
                benchmark::RegisterBenchmark(row.c_str(), [&g, size, srcBytes, dstBytes, level](benchmark::State& state) {
                    const ConvertRoutine f = RoutinesForLevel(level).*g.entry;
                    const uint32_t w = uint32_t(size.width), h = uint32_t(size.height);
                    const uint32_t sp = w * g.srcBytes, dp = w * g.dstBytes;
                    RunFrames(state, srcBytes, dstBytes, [&](uint8_t* s, uint8_t* d) { f(s, w, h, sp, d, w, h, dp); });
                })->UseRealTime()->Unit(benchmark::kMillisecond);
                Compare(row, mem);
                if (!peer.empty()) Compare(row, peer);
            }
        }
    }
    return 0;
}
const int registered = Register();

}  // namespace
}  // namespace tessiva::bench
