#include "cpu/detect.h"

namespace tessiva {

// Until processor detection lands every converter runs the baseline routines.
uint32_t DetectInstructionSet() { return kLevelNone; }

}  // namespace tessiva
