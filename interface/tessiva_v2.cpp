#include "interface/tessiva_v2.h"

#include "cpu/detect.h"
#include "cpu/routine_table.h"
#include "interface/cache_folder.h"

namespace tessiva {

Tessiva2::Tessiva2() {
    openCL_.Init();
    openCL_.Load();
    instructionLevel_ = DetectInstructionSet();
    SelectRoutines(static_cast<int>(instructionLevel_));
    scrambleKey_ = 0x3C;
    memMgr_.Create(u"Tessiva2");
    // Version 2 names its cache folder after this library's own version.
    const std::u16string cache = ComposeCacheFolderName(u"Tessiva.dll");
    CopyBoundedString(cacheFolderName_, 260, cache.c_str());
}

Tessiva2::~Tessiva2() {
    kernels_.clear();
    programs_.clear();
    memMgr_.Destroy();
    openCL_.Unload();
}

ITessiva2* Tessiva2::DeletingDestructor(uint32_t flags) {
    this->~Tessiva2();
    if (flags & 1) ::operator delete(this);
    return this;
}

TessivaResult Tessiva2::SetKernelSourceFolder(const TessivaChar16* folder) {
    return CopyBoundedString(kernelSourceFolder_, 260, reinterpret_cast<const char16_t*>(folder));
}

TessivaResult Tessiva2::UpdateKorvMemMgrState() { return memMgr_.Update(); }

// The image operations arrive with the version-2 interface; until then they
// answer E_NOTIMPL and touch nothing.
#define TESSIVA_V2_PENDING(name) \
    TessivaResult Tessiva2::name(ITessivaImage*, ITessivaImage*) { return TESSIVA_E_NOTIMPL; }
TESSIVA_V2_PENDING(RGB32toYUV32)
TESSIVA_V2_PENDING(YUV32toRGB32)
TESSIVA_V2_PENDING(RGB32toYUY2)
TESSIVA_V2_PENDING(YUY2toRGB32)
TESSIVA_V2_PENDING(RGB32toRGB24)
TESSIVA_V2_PENDING(RGB24toRGB32)
TESSIVA_V2_PENDING(InvertRGB32toRGB32)
TESSIVA_V2_PENDING(InvertRGB32toRGB24)
TESSIVA_V2_PENDING(InvertRGB32toYUV32)
TESSIVA_V2_PENDING(InvertYUV32toRGB32)
TESSIVA_V2_PENDING(InvertYUY2toRGB32)
TESSIVA_V2_PENDING(InvertRGB32toYUY2)
TESSIVA_V2_PENDING(RGB32toYV12)
TESSIVA_V2_PENDING(YV12toRGB32)
TESSIVA_V2_PENDING(YUV32toYV12)
TESSIVA_V2_PENDING(YV12toYUV32)
TESSIVA_V2_PENDING(InvertRGB32toYV12)
TESSIVA_V2_PENDING(InvertYV12toRGB32)
TESSIVA_V2_PENDING(YUV32toYUY2)
TESSIVA_V2_PENDING(YUY2toYUV32)
TESSIVA_V2_PENDING(YUV32toRGB24)
TESSIVA_V2_PENDING(InvertYUV32toRGB24)
TESSIVA_V2_PENDING(YUY2toRGB24)
TESSIVA_V2_PENDING(InvertYUY2toRGB24)
#undef TESSIVA_V2_PENDING

TessivaResult Tessiva2::FillColorToBuffer(ITessivaImage*, uint32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::FieldToFrame(ITessivaImage*, ITessivaImage*, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::FrameToField(ITessivaImage*, ITessivaImage*, ITessivaImage*, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva2::MakeBottomField(ITessivaImage*, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::MakeTopField(ITessivaImage*, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::InterpolateFrameToField(ITessivaImage*, ITessivaImage*, ITessivaImage*) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva2::InterpolateMakeBottomField(ITessivaImage*) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::InterpolateMakeTopField(ITessivaImage*) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::Stretch(ITessivaImage*, ITessivaImage*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                uint32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva2::YUV32toNV12(ITessivaImage*, ITessivaImage*, ITessivaImage*) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva2::ThreeImageGpuOperation(ITessivaImage*, ITessivaImage*, ITessivaImage*) {
    return TESSIVA_E_NOTIMPL;
}

}  // namespace tessiva
