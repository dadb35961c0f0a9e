// Instruction-set level of the running processor, capped by the administrator's
// registry value InstructionSet under SoftWare\Brennix\CpuDetect\<host exe name>.
#pragma once
#include <cstdint>

namespace tessiva {

enum InstructionLevel : uint32_t {
    kLevelNone = 0,
    kLevelMMX = 1,
    kLevelSSE = 2,
    kLevelSSE2 = 3,
    kLevelSSE41 = 4,
    kLevelReserved = 5,  // never produced; selects like 4
    kLevelAVX2 = 6,
};

// Detects the level 0..6. When a cap is found in the registry it also sends one
// "CPUDetect : The highest instruction is ...\n" line to the debugger output.
uint32_t DetectInstructionSet();

}  // namespace tessiva
