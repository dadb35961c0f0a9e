// Shared by the routine tests: picture shapes to sweep and the routine-table
// filling under which a check runs.
#pragma once
#include <cstdint>
#include <string>

#include "cpu/routine_table.h"

namespace tessiva::test {

struct Shape {
    uint32_t width, height, srcPad, dstPad;  // pads in bytes
};

inline std::string Describe(const char* name, const Shape& s) {
    return std::string(name) + " W=" + std::to_string(s.width) + " H=" + std::to_string(s.height) +
           " srcPad=" + std::to_string(s.srcPad) + " dstPad=" + std::to_string(s.dstPad);
}

// Some SSE2 entries run 256-bit internals when the routine table was last
// filled for level 6 on a processor with AVX2: checks run under both fillings.
class ScopedTableLevel {
public:
    explicit ScopedTableLevel(int level) : saved_(routineTable) { SelectRoutines(level); }
    ~ScopedTableLevel() { routineTable = saved_; }
    ScopedTableLevel(const ScopedTableLevel&) = delete;
    ScopedTableLevel& operator=(const ScopedTableLevel&) = delete;

private:
    RoutineTable saved_;
};

inline std::vector<int> TableLevels() {
    if (__builtin_cpu_supports("avx2")) return {3, 6};
    return {3};
}

}  // namespace tessiva::test
