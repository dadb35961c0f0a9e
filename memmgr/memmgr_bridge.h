// The version-2 converter's side of the KorvMemMgr cooperation: queues,
// intermediate images and two capability flags come from the memory manager.
#pragma once
#include <cstdint>

#include "tessiva.h"
#include "platform/platform.h"

namespace tessiva {

class MemoryManagerBridge {
public:
    // Loads "KorvMemMgr.dll" and registers as `clientName`; silent on failure.
    void Create(const char16_t* clientName);
    // Creates the manager if none is held, then refreshes both capability flags.
    TessivaResult Update();
    // Hands intermediate images back, releases the manager and frees the module.
    void Destroy();

    bool HasManager() const { return manager_ != nullptr; }
    bool SvmEnabled() const { return svmEnabled_; }
    bool SecondCapability() const { return secondCapability_; }

private:
    platform::ModuleHandle module_ = nullptr;
    void* manager_ = nullptr;
    void* intermediate_[2] = {nullptr, nullptr};
    char16_t clientName_[256] = {};
    bool svmEnabled_ = false;
    bool secondCapability_ = false;
};

}  // namespace tessiva
