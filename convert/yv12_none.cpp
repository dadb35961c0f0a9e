#include "convert/yv12.h"

namespace tessiva {

// YV12 to YUV32 exists only on the OpenCL path; the processor entry writes
// nothing at every level.
void YV12toYUV32_None(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t, uint32_t, uint32_t) {}

}  // namespace tessiva
