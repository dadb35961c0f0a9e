#include "memmgr/memmgr_bridge.h"

namespace tessiva {

// Until the memory-manager bridge lands, a version-2 converter has no manager:
// it constructs and releases normally and Update answers E_FAIL.
void MemoryManagerBridge::Create(const char16_t*) {}

TessivaResult MemoryManagerBridge::Update() { return HasManager() ? TESSIVA_S_OK : TESSIVA_E_FAIL; }

void MemoryManagerBridge::Destroy() {
    module_ = nullptr;
    manager_ = nullptr;
}

}  // namespace tessiva
