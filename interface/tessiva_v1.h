// Version-1 converter: frames as loose arguments, OpenCL context, device and
// queue from the host.
#pragma once
#include <cstdint>

#include "cpu/routine_table.h"
#include "opencl/opencl_library.h"
#include "platform/platform.h"
#include "tessiva.h"

namespace tessiva {

class FrameFieldConvertor;

// One image as the interface passes it.
struct ImageArgs {
    int32_t kind;
    void* memory;
    int32_t width;
    int32_t height;
    int32_t pitch;
};

class Tessiva final : public ITessiva {
public:
    Tessiva();

    void TESSIVA_CALL SetOpenCLDevice(void* context, void* device) override;
    TessivaResult TESSIVA_CALL SetKernelSourceFolder(const TessivaChar16* folder) override;

#define TESSIVA_TWO_IMAGE_ARGS                                                                    \
    void *queue, int32_t srcKind, void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcPitch, \
        int32_t dstKind, void *dst, int32_t dstWidth, int32_t dstHeight, int32_t dstPitch
    TessivaResult TESSIVA_CALL RGB32toYUV32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUV32toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL RGB32toYUY2(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUY2toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL RGB32toRGB24(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL RGB24toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertRGB32toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertRGB32toRGB24(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertRGB32toYUV32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertYUV32toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertYUY2toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertRGB32toYUY2(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL RGB32toYV12(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YV12toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUV32toYV12(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YV12toYUV32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertRGB32toYV12(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertYV12toRGB32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUV32toYUY2(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUY2toYUV32(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUV32toRGB24(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertYUV32toRGB24(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL YUY2toRGB24(TESSIVA_TWO_IMAGE_ARGS) override;
    TessivaResult TESSIVA_CALL InvertYUY2toRGB24(TESSIVA_TWO_IMAGE_ARGS) override;
#undef TESSIVA_TWO_IMAGE_ARGS

    TessivaResult TESSIVA_CALL FillColorToBuffer(void* queue, int32_t kind, void* image, int32_t width,
                                                 int32_t height, int32_t pitch, uint32_t color) override;
    TessivaResult TESSIVA_CALL FillColorToLine(void* queue, int32_t kind, void* line, int32_t count,
                                               uint32_t color) override;
    TessivaResult TESSIVA_CALL FieldToFrame(void* queue, int32_t path, void* frameA, void* frameB, int32_t oddLines,
                                            int32_t width, int32_t height) override;
    TessivaResult TESSIVA_CALL FrameToField(void* queue, int32_t path, void* frame, void* evenOut, void* oddOut,
                                            int32_t width, int32_t height, int32_t interpolate) override;
    TessivaResult TESSIVA_CALL MakeBottomField(void* queue, int32_t path, void* frame, int32_t width, int32_t height,
                                               int32_t interpolate) override;
    TessivaResult TESSIVA_CALL MakeTopField(void* queue, int32_t path, void* frame, int32_t width, int32_t height,
                                            int32_t interpolate) override;
    TessivaResult TESSIVA_CALL DuplicateWeaveFields(void* queue, int32_t path, void* frameA, void* frameB,
                                                    void* output, int32_t width, int32_t height) override;
    TessivaResult TESSIVA_CALL DuplicateCopyField(void* queue, int32_t path, void* frameA, void* frameB,
                                                  int32_t width, int32_t height, int32_t oddLines) override;
    TessivaResult TESSIVA_CALL DuplicateSplitFrame(void* queue, int32_t path, void* frame, void* evenOut,
                                                   void* oddOut, int32_t width, int32_t height) override;
    TessivaResult TESSIVA_CALL DuplicateKeepEvenLines(void* queue, int32_t path, void* frame, int32_t width,
                                                      int32_t height) override;
    TessivaResult TESSIVA_CALL DuplicateKeepOddLines(void* queue, int32_t path, void* frame, int32_t width,
                                                     int32_t height) override;
    TessivaResult TESSIVA_CALL InterpolateFrameToField(void* queue, int32_t path, void* frame, void* evenOut,
                                                       void* oddOut, int32_t width, int32_t height) override;
    TessivaResult TESSIVA_CALL InterpolateMakeBottomField(void* queue, int32_t path, void* frame, int32_t width,
                                                          int32_t height) override;
    TessivaResult TESSIVA_CALL InterpolateMakeTopField(void* queue, int32_t path, void* frame, int32_t width,
                                                       int32_t height) override;
    TessivaResult TESSIVA_CALL Stretch(void* queue, int32_t srcKind, void* src, int32_t srcWidth, int32_t srcHeight,
                                       int32_t srcPitch, int32_t dstKind, void* dst, int32_t dstWidth,
                                       int32_t dstHeight, int32_t dstPitch, uint32_t fitMode, uint32_t quality,
                                       uint32_t srcAspectNum, uint32_t srcAspectDen, uint32_t dstAspectNum,
                                       uint32_t dstAspectDen) override;
    ITessiva* TESSIVA_CALL DeletingDestructor(uint32_t flags) override;

    // Read-only views for diagnostics and tests.
    uint32_t InstructionLevel() const { return instructionLevel_; }
    const char16_t* CacheFolderName() const { return cacheFolderName_; }
    const char16_t* KernelSourceFolder() const { return kernelSourceFolder_; }
    void* Context() const { return context_; }
    void* Device() const { return device_; }
    bool OpenCLReady() const { return openCL_.IsReady(); }
    uint32_t VendorClass() const { return vendorClass_; }
    void* Program() const { return program_; }
    void* Kernel(int index) const { return kernels_[index]; }

    static constexpr int kKernelCount = 34;
    // Index in kernels_ of each kernel a slot runs.
    static constexpr int kKernelRGB32toYUV32 = 0;

private:
    ~Tessiva();

    // A slot's OpenCL path, run under the object lock after the ready test.
    using GpuPath = TessivaResult (Tessiva::*)(void* queue, const ImageArgs& src, const ImageArgs& dst);
    // A two-image slot, as called through the interface.
    using SlotFn = TessivaResult (TESSIVA_CALL Tessiva::*)(void*, int32_t, void*, int32_t, int32_t, int32_t, int32_t,
                                                           void*, int32_t, int32_t, int32_t);
    // The preamble shared by the two-image slots: sizes, then kinds, then the
    // processor routine `cpu` (no lock) or, for kind 1, `gpu` under the object
    // lock after the ready test (null `gpu`: no OpenCL path yet, E_FAIL).
    TessivaResult TwoImage(ConvertRoutine cpu, const ImageArgs& src, const ImageArgs& dst, void* queue = nullptr,
                           GpuPath gpu = nullptr);
    template <int kernel>
    TessivaResult KernelOnGpu(void* queue, const ImageArgs& src, const ImageArgs& dst);
    // InvertRGB32toRGB32: one buffer copy per line.
    TessivaResult FlipOnGpu(void* queue, const ImageArgs& src, const ImageArgs& dst);
    // Two of the object's own slots joined by scratch buffer 0.
    template <SlotFn first, SlotFn second>
    TessivaResult ComposedOnGpu(void* queue, const ImageArgs& src, const ImageArgs& dst);
    TessivaResult InvertYUV32toRGB24OnGpu(void* queue, const ImageArgs& src, const ImageArgs& dst);
    TessivaResult InvertYUY2toRGB24OnGpu(void* queue, const ImageArgs& src, const ImageArgs& dst);
    // Scratch buffer `index` sized for `src` (created or re-created as needed); null on failure.
    void* Scratch(int index, const ImageArgs& src);
    // One kernel of the standard shape (caller holds the lock): builds the program
    // and the kernel on first use, runs `kernel` over width x height work-items
    // on `queue` and waits for it.
    TessivaResult TwoImageOnGpu(void* queue, int kernel, const ImageArgs& src, const ImageArgs& dst);
    // Builds program_ unless it exists (under the lock); false when no source
    // gives a program. A failed build is tried again on the next call.
    bool EnsureProgram();
    // OpenCL half of the frame/field slots; runs under the object lock.
    TessivaResult FieldOnGpu();
    // Runs `call` on a convertor made for this call (interpolating or doubling),
    // parked in currentConvertor_ while it runs.
    TessivaResult WithConvertor(bool interpolate, int32_t width, int32_t height,
                                TessivaResult (*call)(FrameFieldConvertor&, void*), void* args);
    // OpenCL half of the fills; runs under the object lock.
    TessivaResult FillOnGpu(void* queue, void* image, int32_t width, int32_t height, int32_t pitch, uint32_t color);

    uint32_t instructionLevel_ = 0;
    OpenCLLibrary openCL_;
    platform::CriticalSection lock_;
    char16_t kernelSourceFolder_[260] = {};
    char16_t cacheFolderName_[260] = {};
    void* context_ = nullptr;
    void* device_ = nullptr;
    uint32_t vendorClass_ = 0;
    uint8_t flag_ = 0;
    uint8_t scrambleKey_ = 0;
    void* scratch_[2] = {nullptr, nullptr};
    uint32_t scratchSize_[2] = {0, 0};
    void* program_ = nullptr;
    void* kernels_[kKernelCount] = {};
    FrameFieldConvertor* currentConvertor_ = nullptr;
};

}  // namespace tessiva
