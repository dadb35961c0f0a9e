#include "opencl/opencl_library.h"

namespace tessiva {

// Until the OpenCL binding lands, every converter stands as "not ready": the
// GPU paths answer E_FAIL and the host-memory paths work as usual.
void OpenCLLibrary::Init() {
    allowOpenCL2ForAll_ = allowFineGrainForAll_ = loadAttempted_ = ready_ = openCL2Available_ = 0;
    module_ = nullptr;
}

void OpenCLLibrary::Load() {}

void OpenCLLibrary::Unload() {
    if (module_) platform::UnloadModule(module_);
}

}  // namespace tessiva
