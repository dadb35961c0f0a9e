#include <gtest/gtest.h>

#include "cpu/routine_table.h"

TEST(RoutineTable, FillsEveryEntry) {
    tessiva::SelectRoutines(0);
    const void* const* entries = reinterpret_cast<const void* const*>(&tessiva::routineTable);
    for (size_t i = 0; i < tessiva::kRoutineCount; ++i) EXPECT_NE(entries[i], nullptr) << "entry " << i + 1;
}
