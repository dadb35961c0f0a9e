// Planar 4:2:0, RGB24 and NV12 writers at 1080p, levels 0, 3 and 6, beside
// memcpy and libyuv's counterparts: ARGBToI420, I420ToARGB, ARGBToRGB24 and
// ARGBToNV12. Levels 3 to 6 share the SSE2 entries; with the table filled for
// level 6 the YV12 and NV12 ones run their 256-bit internals, so each row
// fills the table for its level before it runs.
#include <libyuv.h>

#include <functional>

#include "cpu/routine_table.h"
#include "harness.h"

namespace tessiva::bench {
namespace {

const int kLevels[] = {0, 3, 6};
const FrameSize kSize = kSizes[0];  // 1080p

using Peer = std::function<void(const uint8_t* src, uint8_t* dst, int w, int h)>;

// Registers one group: memcpy, the libyuv peer and the Tessiva entry at each
// level, on frames of srcBytes and dstBytes; pitches are the width times the
// bytes per pixel of each side.
void Group(const char* name, ConvertRoutine RoutineTable::*entry, size_t srcBytes, size_t dstBytes,
           uint32_t srcBytesPerPixel, uint32_t dstBytesPerPixel, Peer peer, const char* peerName) {
    const std::string group = name;
    const std::string mem = RegisterMemcpy(group, kSize, srcBytes, dstBytes);
    const std::string peerRow = group + "/" + kSize.name + "/libyuv_" + peerName;
    const int w = kSize.width, h = kSize.height;
    benchmark::RegisterBenchmark(peerRow.c_str(), [=](benchmark::State& state) {
        RunFrames(state, srcBytes, dstBytes, [&](uint8_t* s, uint8_t* d) { peer(s, d, w, h); });
    })->UseRealTime()->Unit(benchmark::kMillisecond);
    for (int level : kLevels) {
        const std::string row = group + "/" + kSize.name + "/level" + std::to_string(level);
        benchmark::RegisterBenchmark(row.c_str(), [=](benchmark::State& state) {
            SelectRoutines(level);
            const ConvertRoutine f = routineTable.*entry;
            const uint32_t uw = uint32_t(w), uh = uint32_t(h);
            RunFrames(state, srcBytes, dstBytes, [&](uint8_t* s, uint8_t* d) {
                f(s, uw, uh, uw * srcBytesPerPixel, d, uw, uh, uw * dstBytesPerPixel);
            });
        })->UseRealTime()->Unit(benchmark::kMillisecond);
        Compare(row, mem);
        Compare(row, peerRow);
    }
}

int Register() {
    const size_t pixels = size_t(kSize.width) * kSize.height;
    const size_t rgb32 = pixels * 4, rgb24 = pixels * 3, yuv420 = pixels * 3 / 2;

    Group("RGB32toYV12", &RoutineTable::RGB32toYV12, rgb32, yuv420, 4, 1,
          [pixels](const uint8_t* s, uint8_t* d, int w, int h) {
              // YV12 order: V plane, then U.
              libyuv::ARGBToI420(s, w * 4, d, w, d + pixels + pixels / 4, w / 2, d + pixels, w / 2, w, h);
          },
          "ARGBToI420");
    Group("YV12toRGB32", &RoutineTable::YV12toRGB32, yuv420, rgb32, 1, 4,
          [pixels](const uint8_t* s, uint8_t* d, int w, int h) {
              libyuv::I420ToARGB(s, w, s + pixels + pixels / 4, w / 2, s + pixels, w / 2, d, w * 4, w, h);
          },
          "I420ToARGB");
    Group("RGB32toRGB24", &RoutineTable::RGB32toRGB24, rgb32, rgb24, 4, 3,
          [](const uint8_t* s, uint8_t* d, int w, int h) { libyuv::ARGBToRGB24(s, w * 4, d, w * 3, w, h); },
          "ARGBToRGB24");
    Group("RGB32toNV12", &RoutineTable::RGB32toNV12, rgb32, yuv420, 4, 1,
          [pixels](const uint8_t* s, uint8_t* d, int w, int h) {
              libyuv::ARGBToNV12(s, w * 4, d, w, d + pixels, w, w, h);
          },
          "ARGBToNV12");
    return 0;
}
const int registered = Register();

}  // namespace
}  // namespace tessiva::bench
