// Version-2 converter: frames as image objects; context, device and queue from
// the KorvMemMgr memory manager.
#pragma once
#include <cstdint>
#include <map>
#include <string>

#include "memmgr/memmgr_bridge.h"
#include "opencl/opencl_library.h"
#include "platform/platform.h"
#include "tessiva.h"

namespace tessiva {

class Tessiva2 final : public ITessiva2 {
public:
    Tessiva2();

    TessivaResult TESSIVA_CALL SetKernelSourceFolder(const TessivaChar16* folder) override;
#define TESSIVA_TWO_IMAGES ITessivaImage *src, ITessivaImage *dst
    TessivaResult TESSIVA_CALL RGB32toYUV32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUV32toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL RGB32toYUY2(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUY2toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL RGB32toRGB24(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL RGB24toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertRGB32toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertRGB32toRGB24(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertRGB32toYUV32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertYUV32toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertYUY2toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertRGB32toYUY2(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL RGB32toYV12(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YV12toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUV32toYV12(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YV12toYUV32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertRGB32toYV12(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertYV12toRGB32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUV32toYUY2(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUY2toYUV32(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUV32toRGB24(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertYUV32toRGB24(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL YUY2toRGB24(TESSIVA_TWO_IMAGES) override;
    TessivaResult TESSIVA_CALL InvertYUY2toRGB24(TESSIVA_TWO_IMAGES) override;
#undef TESSIVA_TWO_IMAGES
    TessivaResult TESSIVA_CALL FillColorToBuffer(ITessivaImage* image, uint32_t color) override;
    TessivaResult TESSIVA_CALL FieldToFrame(ITessivaImage* frameA, ITessivaImage* frameB, int32_t oddLines) override;
    TessivaResult TESSIVA_CALL FrameToField(ITessivaImage* frame, ITessivaImage* evenOut, ITessivaImage* oddOut,
                                            int32_t interpolate) override;
    TessivaResult TESSIVA_CALL MakeBottomField(ITessivaImage* frame, int32_t interpolate) override;
    TessivaResult TESSIVA_CALL MakeTopField(ITessivaImage* frame, int32_t interpolate) override;
    TessivaResult TESSIVA_CALL InterpolateFrameToField(ITessivaImage* frame, ITessivaImage* evenOut,
                                                       ITessivaImage* oddOut) override;
    TessivaResult TESSIVA_CALL InterpolateMakeBottomField(ITessivaImage* frame) override;
    TessivaResult TESSIVA_CALL InterpolateMakeTopField(ITessivaImage* frame) override;
    TessivaResult TESSIVA_CALL Stretch(ITessivaImage* src, ITessivaImage* dst, uint32_t fitMode, uint32_t quality,
                                       uint32_t srcAspectNum, uint32_t srcAspectDen, uint32_t dstAspectNum,
                                       uint32_t dstAspectDen) override;
    TessivaResult TESSIVA_CALL YUV32toNV12(ITessivaImage* nv12, ITessivaImage* yInput,
                                           ITessivaImage* uvInput) override;
    TessivaResult TESSIVA_CALL ThreeImageGpuOperation(ITessivaImage* first, ITessivaImage* second,
                                                      ITessivaImage* third) override;
    TessivaResult TESSIVA_CALL UpdateKorvMemMgrState() override;
    ITessiva2* TESSIVA_CALL DeletingDestructor(uint32_t flags) override;

    uint32_t InstructionLevel() const { return instructionLevel_; }
    const char16_t* CacheFolderName() const { return cacheFolderName_; }
    const char16_t* KernelSourceFolder() const { return kernelSourceFolder_; }
    bool HasMemoryManager() const { return memMgr_.HasManager(); }

private:
    ~Tessiva2();

    MemoryManagerBridge memMgr_;
    uint32_t instructionLevel_ = 0;
    OpenCLLibrary openCL_;
    platform::CriticalSection lock_;
    char16_t kernelSourceFolder_[260] = {};
    char16_t cacheFolderName_[260] = {};
    uint32_t vendorClass_ = 0;
    uint8_t flag_ = 0;
    uint8_t scrambleKey_ = 0;
    std::map<std::string, void*> programs_;
    std::map<std::string, void*> kernels_;
};

}  // namespace tessiva
