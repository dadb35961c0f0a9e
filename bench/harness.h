// Frame-rotating benchmark harness. Each benchmark walks through enough frames
// to touch far more than the last-level cache, so frames come from main memory,
// not from cache: 512 MiB by default (measured here, a 96 MiB ring still ran
// memcpy 20% faster than a 1 GiB one), or TESSIVA_BENCH_WORKING_SET_MB. Rows are grouped: a Tessiva routine is
// compared with a memcpy of the same bytes read plus written, and with the
// closest libyuv conversion, and the ratios are printed after the run.
#pragma once
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace tessiva::bench {

// Bytes every benchmark's working set covers at least.
size_t WorkingSet();

struct FrameSize {
    const char* name;  // "1080p", "4K"
    int width, height;
};
constexpr FrameSize kSizes[] = {{"1080p", 1920, 1080}, {"4K", 3840, 2160}};

// N source and N destination frames of the given byte sizes, N chosen so that
// all of them together cover kWorkingSet; sources hold random bytes.
class FrameRing {
public:
    FrameRing(size_t srcBytes, size_t dstBytes);
    uint8_t* src(size_t i) { return src_[i % count_].data(); }
    uint8_t* dst(size_t i) { return dst_[i % count_].data(); }
    size_t count() const { return count_; }

private:
    size_t count_;
    std::vector<std::vector<uint8_t>> src_, dst_;
};

// Runs `body(src, dst)` once per iteration on the next frame pair and reports
// bytes read plus written per frame.
void RunFrames(benchmark::State& state, size_t srcBytes, size_t dstBytes,
               const std::function<void(uint8_t* src, uint8_t* dst)>& body);

// Registers "<group>/<size>/memcpy": one memcpy of srcBytes + dstBytes halves,
// i.e. moving the same number of bytes read plus written as the group's routine.
// Returns the row name.
std::string RegisterMemcpy(const std::string& group, const FrameSize& size, size_t srcBytes, size_t dstBytes);

// Asks the final report to print `row` relative to `baseline` (a ratio of
// throughputs: > 1 means `row` is faster).
void Compare(const std::string& row, const std::string& baseline);

}  // namespace tessiva::bench
