// RGB32 <-> YUV32 (the four routines) at levels 0, 3, 4 and 6, beside a memcpy
// of the same traffic and libyuv's closest peers:
//   RGB32toYUV32        ARGBToI444 (same 4:4:4 arithmetic, three planes out)
//   InvertRGB32toYUV32  ARGBToI444 with a negative height (source read bottom-up)
//   YUV32toRGB32        I444ToARGB (three planes in)
//   InvertYUV32toRGB32  I444ToARGB with a negative height
//   any                 ARGBColorMatrix (packed 4 bytes in, 4 out, 8-bit matrix):
//                       the same memory layout as ours, simpler arithmetic
// The planar peers read or write W x H x 3 bytes instead of 4; their GB/s
// is still counted over the 8 bytes per pixel of the packed routines.
#include <libyuv.h>

#include <algorithm>
#include <vector>

#include "cpu/routine_table.h"
#include "harness.h"

namespace tessiva::bench {
namespace {

const int kLevels[] = {0, 3, 4, 6};

struct Routine {
    const char* name;
    ConvertRoutine RoutineTable::*entry;
    bool toYuv;
    bool invert;
};

const Routine kRoutines[] = {
    {"RGB32toYUV32", &RoutineTable::RGB32toYUV32, true, false},
    {"InvertRGB32toYUV32", &RoutineTable::InvertRGB32toYUV32, true, true},
    {"YUV32toRGB32", &RoutineTable::YUV32toRGB32, false, false},
    {"InvertYUV32toRGB32", &RoutineTable::InvertYUV32toRGB32, false, true},
};

// An 8-bit BT.601-like matrix for ARGBColorMatrix (values /64); only the cost matters.
const int8_t kMatrix[16] = {25, 64, 16, 0, -38, 64, -17, 0, 6, 64, -26, 0, 0, 0, 0, 64};

// Besides mean and median, the fastest repetition: on a shared machine it is the
// closest to what the routine does undisturbed.
void Register(benchmark::internal::Benchmark* b) {
    b->UseRealTime()->Unit(benchmark::kMillisecond)->ComputeStatistics("min", [](const std::vector<double>& v) {
        return v.empty() ? 0.0 : *std::min_element(v.begin(), v.end());
    });
}

int RegisterAll() {
    for (const FrameSize& size : kSizes) {
        const size_t bytes = size_t(size.width) * size.height * 4;
        const int w = size.width, h = size.height;
        const std::string prefix = std::string("RGB32_YUV32/") + size.name + "/";
        // One memcpy row per size: all four routines move the same traffic.
        const std::string mem = RegisterMemcpy("RGB32_YUV32", size, bytes, bytes);
        const std::string matrix = prefix + "libyuv_ARGBColorMatrix";
        Register(benchmark::RegisterBenchmark(matrix.c_str(), [=](benchmark::State& state) {
            RunFrames(state, bytes, bytes, [=](uint8_t* s, uint8_t* d) { libyuv::ARGBColorMatrix(s, w * 4, d, w * 4, kMatrix, w, h); });
        }));
        for (const Routine& r : kRoutines) {
            const int sh = r.invert ? -h : h;
            const std::string peer = prefix + r.name + "/libyuv_" + (r.toYuv ? "ARGBToI444" : "I444ToARGB") + (r.invert ? "_flip" : "");
            const size_t plane = size_t(w) * h;
            if (r.toYuv) {
                Register(benchmark::RegisterBenchmark(peer.c_str(), [=](benchmark::State& state) {
                    RunFrames(state, bytes, bytes, [=](uint8_t* s, uint8_t* d) {
                        libyuv::ARGBToI444(s, w * 4, d, w, d + plane, w, d + plane * 2, w, w, sh);
                    });
                }));
            } else {
                Register(benchmark::RegisterBenchmark(peer.c_str(), [=](benchmark::State& state) {
                    RunFrames(state, bytes, bytes, [=](uint8_t* s, uint8_t* d) {
                        libyuv::I444ToARGB(s, w, s + plane, w, s + plane * 2, w, d, w * 4, w, sh);
                    });
                }));
            }
            for (int level : kLevels) {
                const std::string row = prefix + r.name + "/level" + std::to_string(level);
                const ConvertRoutine f = RoutinesForLevel(level).*(r.entry);
                Register(benchmark::RegisterBenchmark(row.c_str(), [=](benchmark::State& state) {
                    const uint32_t uw = uint32_t(w), uh = uint32_t(h);
                    RunFrames(state, bytes, bytes, [=](uint8_t* s, uint8_t* d) { f(s, uw, uh, uw * 4, d, uw, uh, uw * 4); });
                }));
                Compare(row, mem);
                Compare(row, peer);
                Compare(row, matrix);
            }
        }
    }
    return 0;
}
const int registered = RegisterAll();

}  // namespace
}  // namespace tessiva::bench
