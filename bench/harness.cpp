#include "harness.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>

namespace tessiva::bench {

size_t WorkingSet() {
    const char* mb = std::getenv("TESSIVA_BENCH_WORKING_SET_MB");
    const long v = mb ? std::atol(mb) : 0;
    return size_t(v > 0 ? v : 512) << 20;
}

FrameRing::FrameRing(size_t srcBytes, size_t dstBytes) {
    const size_t per = std::max<size_t>(srcBytes + dstBytes, 1);
    count_ = std::max<size_t>(2, (WorkingSet() + per - 1) / per);
    src_.resize(count_);
    dst_.resize(count_);
    uint32_t x = 12345;
    for (size_t i = 0; i < count_; ++i) {
        if (i == 0) {
            src_[0].resize(srcBytes);
            for (auto& b : src_[0]) {
                x = x * 1664525u + 1013904223u;
                b = uint8_t(x >> 24);
            }
        } else {
            src_[i] = src_[0];
        }
        dst_[i].assign(dstBytes, 0);
    }
}

void RunFrames(benchmark::State& state, size_t srcBytes, size_t dstBytes,
               const std::function<void(uint8_t*, uint8_t*)>& body) {
    FrameRing ring(srcBytes, dstBytes);
    // Touch every frame once so page faults stay out of the timing.
    for (size_t i = 0; i < ring.count(); ++i) body(ring.src(i), ring.dst(i));
    size_t i = 0;
    for (auto _ : state) {
        body(ring.src(i), ring.dst(i));
        benchmark::ClobberMemory();
        ++i;
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(srcBytes + dstBytes));
}

std::string RegisterMemcpy(const std::string& group, const FrameSize& size, size_t srcBytes, size_t dstBytes) {
    const std::string name = group + "/" + size.name + "/memcpy";
    // memcpy of n bytes reads n and writes n: n = (src + dst) / 2 moves the same traffic.
    const size_t n = (srcBytes + dstBytes) / 2;
    benchmark::RegisterBenchmark(name.c_str(), [n](benchmark::State& state) {
        RunFrames(state, n, n, [n](uint8_t* s, uint8_t* d) { std::memcpy(d, s, n); });
    })->UseRealTime()->Unit(benchmark::kMillisecond);
    return name;
}

namespace {
std::vector<std::pair<std::string, std::string>>& Comparisons() {
    static std::vector<std::pair<std::string, std::string>> list;
    return list;
}

// Console output plus a record of every median, for the ratio table.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& r : runs) {
            const bool single = r.run_type == Run::RT_Iteration && r.repetitions <= 1;
            const bool median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            std::string name = r.run_name.str();
            const std::string suffix = "/real_time";
            if (name.size() > suffix.size() && name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
                name.resize(name.size() - suffix.size());
            if (single || median) seconds_[name] = r.GetAdjustedRealTime();
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-58s %12s %12s %8s\n", "routine vs baseline", "ms/frame", "base ms", "ratio");
        for (const auto& [row, base] : Comparisons()) {
            const auto a = seconds_.find(row), b = seconds_.find(base);
            if (a == seconds_.end() || b == seconds_.end()) continue;
            std::printf("%-58s %12.3f %12.3f %8.2f\n", (row + " / " + base.substr(base.rfind('/') + 1)).c_str(),
                        a->second, b->second, b->second / a->second);
        }
    }

private:
    std::map<std::string, double> seconds_;
};
}  // namespace

void Compare(const std::string& row, const std::string& baseline) { Comparisons().emplace_back(row, baseline); }

}  // namespace tessiva::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    tessiva::bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
