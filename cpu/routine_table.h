// The process-wide table of processor routines, one entry per level-dispatched
// operation, filled by SelectRoutines from the instruction-set level. Interface
// operations make one indirect call through it per image.
#pragma once
#include <cstddef>
#include "convert/routine.h"

namespace tessiva {

struct RoutineTable {
    ConvertRoutine RGB32toYUY2;          // 1
    ConvertRoutine InvertRGB32toYUY2;    // 2
    ConvertRoutine YUY2toRGB32;          // 3
    ConvertRoutine InvertYUY2toRGB32;    // 4
    ConvertRoutine YUY2toRGB24;          // 5
    ConvertRoutine InvertYUY2toRGB24;    // 6
    ConvertRoutine RGB32toYUV32;         // 7
    ConvertRoutine InvertRGB32toYUV32;   // 8
    ConvertRoutine YUV32toRGB32;         // 9
    ConvertRoutine InvertYUV32toRGB32;   // 10
    ConvertRoutine YUV32toRGB24;         // 11
    ConvertRoutine InvertYUV32toRGB24;   // 12
    ConvertRoutine YUV32toYUY2;          // 13
    ConvertRoutine YUY2toYUV32;          // 14
    ConvertRoutine RGB32toRGB24;         // 15
    ConvertRoutine InvertRGB32toRGB24;   // 16
    ConvertRoutine YUY2toNV12;           // 17 (no interface operation calls it)
    ConvertRoutine RGB32toNV12;          // 18 (no interface operation calls it)
    ConvertRoutine RGB32toYV12;          // 19
    ConvertRoutine InvertRGB32toYV12;    // 20
    ConvertRoutine YV12toRGB32;          // 21
    ConvertRoutine InvertYV12toRGB32;    // 22
    ConvertRoutine YUV32toYV12;          // 23
    ConvertRoutine YV12toYUV32;          // 24 (empty at every level)
    ConvertRoutine YUV32toNV12;          // 25 (no interface operation calls it)
    FillBufferRoutine FillColorToBuffer; // 26
    FillLineRoutine FillColorToLine;     // 27
};
constexpr std::size_t kRoutineCount = 27;
static_assert(sizeof(RoutineTable) == kRoutineCount * sizeof(void*), "one pointer per entry");

// The table every converter object dispatches through. Written without a lock
// by each construction; all fills for one level write the same values.
extern RoutineTable routineTable;

// Fills all entries for `level` (0..6; higher selects like 6, negative like 0). Returns 0.
int SelectRoutines(int level);

// The entries SelectRoutines would write for `level`, without touching the table.
RoutineTable RoutinesForLevel(int level);

}  // namespace tessiva
