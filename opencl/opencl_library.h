// Per-converter binding to the system's OpenCL loader, resolved by name at run
// time: the library never links against OpenCL.
#pragma once
#include <cstdint>

#include "platform/platform.h"

namespace tessiva {

class OpenCLLibrary {
public:
    // Clears every flag and reads AllowOCL2ForAll / AllowFineGrainForAll.
    void Init();
    // Loads the OpenCL loader once and resolves its entry points.
    void Load();
    // True once the loader is loaded and every required entry point resolved.
    bool IsReady() const { return ready_ != 0; }
    bool OpenCL2Available() const { return openCL2Available_ != 0; }
    // Frees the loader if one is held.
    void Unload();

private:
    uint8_t allowOpenCL2ForAll_ = 0;
    uint8_t allowFineGrainForAll_ = 0;
    uint8_t loadAttempted_ = 0;
    uint8_t ready_ = 0;
    platform::ModuleHandle module_ = nullptr;
    uint8_t openCL2Available_ = 0;
};

}  // namespace tessiva
