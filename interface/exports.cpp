// The library's five exported functions; everything else is reached through the
// objects' interface tables.
#include <new>

#include "interface/tessiva_v1.h"
#include "interface/tessiva_v2.h"

using tessiva::Tessiva;
using tessiva::Tessiva2;

extern "C" {

TESSIVA_EXPORT TessivaHandle TESSIVA_CALL GetTessiva(void) { return new (std::nothrow) Tessiva(); }

TESSIVA_EXPORT TessivaResult TESSIVA_CALL ReleaseTessiva(TessivaHandle converter) {
    if (converter) converter->DeletingDestructor(1);
    return TESSIVA_S_OK;
}

TESSIVA_EXPORT Tessiva2Handle TESSIVA_CALL GetTessiva2(void) { return new (std::nothrow) Tessiva2(); }

TESSIVA_EXPORT TessivaResult TESSIVA_CALL ReleaseTessiva2(Tessiva2Handle converter) {
    if (converter) converter->DeletingDestructor(1);
    return TESSIVA_S_OK;
}

// A bare forward: a null converter is the caller's fault.
TESSIVA_EXPORT TessivaResult TESSIVA_CALL GetUpdateKorvMemMgrState(Tessiva2Handle converter) {
    return converter->UpdateKorvMemMgrState();
}

}  // extern "C"
