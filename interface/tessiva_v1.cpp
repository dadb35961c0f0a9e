#include "interface/tessiva_v1.h"

#include "convert/rgb24.h"
#include "cpu/detect.h"
#include "interface/cache_folder.h"

namespace tessiva {

Tessiva::Tessiva() {
    openCL_.Init();
    openCL_.Load();
    instructionLevel_ = DetectInstructionSet();
    SelectRoutines(static_cast<int>(instructionLevel_));
    scrambleKey_ = 0x3C;
    const std::u16string cache = ComposeCacheFolderName(u"Dravik.dll");
    CopyBoundedString(cacheFolderName_, 260, cache.c_str());
}

Tessiva::~Tessiva() {
    // Scratch buffers, kernels and the program are released by the OpenCL path
    // that creates them; the binding is unloaded last.
    openCL_.Unload();
}

ITessiva* Tessiva::DeletingDestructor(uint32_t flags) {
    this->~Tessiva();
    if (flags & 1) ::operator delete(this);
    return this;
}

void Tessiva::SetOpenCLDevice(void* context, void* device) {
    if (context) context_ = context;
    if (device) device_ = device;
}

TessivaResult Tessiva::SetKernelSourceFolder(const TessivaChar16* folder) {
    return CopyBoundedString(kernelSourceFolder_, 260, reinterpret_cast<const char16_t*>(folder));
}

TessivaResult Tessiva::TwoImage(ConvertRoutine cpu, const ImageArgs& s, const ImageArgs& d) {
    if (s.width != d.width) return TESSIVA_E_FAIL;
    if (s.height != d.height) return TESSIVA_E_FAIL;
    if (s.kind != d.kind) return TESSIVA_E_NOTIMPL;
    if (s.kind == TESSIVA_MEMORY_HOST) {
        if (!cpu) return TESSIVA_E_NOTIMPL;
        // Some variants do not test their pointers; null buffers stop here.
        if (!s.memory || !d.memory) return TESSIVA_E_FAIL;
        cpu(static_cast<const uint8_t*>(s.memory), uint32_t(s.width), uint32_t(s.height), uint32_t(s.pitch),
            static_cast<uint8_t*>(d.memory), uint32_t(d.width), uint32_t(d.height), uint32_t(d.pitch));
        return TESSIVA_S_OK;
    }
    if (s.kind != TESSIVA_MEMORY_OPENCL) return TESSIVA_S_OK;
    return TwoImageOnGpu(s, d);
}

TessivaResult Tessiva::TwoImageOnGpu(const ImageArgs&, const ImageArgs&) {
    platform::ScopedLock hold(lock_);
    if (!openCL_.IsReady()) return TESSIVA_E_FAIL;
    // Kernel launches arrive with the OpenCL program; until then a ready binding
    // still has nothing to run.
    return TESSIVA_E_FAIL;
}

#define TESSIVA_TWO_IMAGE_PARAMS                                                                  \
    void *queue, int32_t srcKind, void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcPitch, \
        int32_t dstKind, void *dst, int32_t dstWidth, int32_t dstHeight, int32_t dstPitch
#define TESSIVA_TWO_IMAGE_SLOT(name, routine)                                                            \
    TessivaResult Tessiva::name(TESSIVA_TWO_IMAGE_PARAMS) {                                              \
        (void)queue;                                                                                     \
        return TwoImage(routine, {srcKind, src, srcWidth, srcHeight, srcPitch},                          \
                        {dstKind, dst, dstWidth, dstHeight, dstPitch});                                  \
    }

TESSIVA_TWO_IMAGE_SLOT(RGB32toYUV32, routineTable.RGB32toYUV32)
TESSIVA_TWO_IMAGE_SLOT(YUV32toRGB32, routineTable.YUV32toRGB32)
TESSIVA_TWO_IMAGE_SLOT(RGB32toYUY2, routineTable.RGB32toYUY2)
TESSIVA_TWO_IMAGE_SLOT(YUY2toRGB32, routineTable.YUY2toRGB32)
TESSIVA_TWO_IMAGE_SLOT(RGB32toRGB24, routineTable.RGB32toRGB24)
TESSIVA_TWO_IMAGE_SLOT(RGB24toRGB32, nullptr)  // OpenCL only: host memory answers E_NOTIMPL
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toRGB32, tessiva::InvertRGB32toRGB32)
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toRGB24, routineTable.InvertRGB32toRGB24)
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toYUV32, routineTable.InvertRGB32toYUV32)
TESSIVA_TWO_IMAGE_SLOT(InvertYUV32toRGB32, routineTable.InvertYUV32toRGB32)
TESSIVA_TWO_IMAGE_SLOT(InvertYUY2toRGB32, routineTable.InvertYUY2toRGB32)
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toYUY2, routineTable.InvertRGB32toYUY2)
TESSIVA_TWO_IMAGE_SLOT(RGB32toYV12, routineTable.RGB32toYV12)
TESSIVA_TWO_IMAGE_SLOT(YV12toRGB32, routineTable.YV12toRGB32)
TESSIVA_TWO_IMAGE_SLOT(YUV32toYV12, routineTable.YUV32toYV12)
TESSIVA_TWO_IMAGE_SLOT(YV12toYUV32, routineTable.YV12toYUV32)
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toYV12, routineTable.InvertRGB32toYV12)
TESSIVA_TWO_IMAGE_SLOT(InvertYV12toRGB32, routineTable.InvertYV12toRGB32)
TESSIVA_TWO_IMAGE_SLOT(YUV32toYUY2, routineTable.YUV32toYUY2)
TESSIVA_TWO_IMAGE_SLOT(YUY2toYUV32, routineTable.YUY2toYUV32)
TESSIVA_TWO_IMAGE_SLOT(YUV32toRGB24, routineTable.YUV32toRGB24)
TESSIVA_TWO_IMAGE_SLOT(InvertYUV32toRGB24, routineTable.InvertYUV32toRGB24)
TESSIVA_TWO_IMAGE_SLOT(YUY2toRGB24, routineTable.YUY2toRGB24)
TESSIVA_TWO_IMAGE_SLOT(InvertYUY2toRGB24, routineTable.InvertYUY2toRGB24)
#undef TESSIVA_TWO_IMAGE_SLOT
#undef TESSIVA_TWO_IMAGE_PARAMS

// Fills. Host memory: a null image or a negative size answers E_FAIL, and so does
// a pitch shorter than a row (a filled row would run into the next one).
TessivaResult Tessiva::FillColorToBuffer(void* queue, int32_t kind, void* image, int32_t width, int32_t height,
                                         int32_t pitch, uint32_t color) {
    if (kind == TESSIVA_MEMORY_HOST) {
        if (!image || width < 0 || height < 0 || pitch < 0 || int64_t(pitch) < int64_t(width) * 4)
            return TESSIVA_E_FAIL;
        routineTable.FillColorToBuffer(static_cast<uint8_t*>(image), uint32_t(width), uint32_t(height),
                                       uint32_t(pitch), color);
        return TESSIVA_S_OK;
    }
    if (kind != TESSIVA_MEMORY_OPENCL) return TESSIVA_S_OK;
    return FillOnGpu(queue, image, width, height, pitch, color);
}

TessivaResult Tessiva::FillColorToLine(void* queue, int32_t kind, void* line, int32_t count, uint32_t color) {
    if (kind == TESSIVA_MEMORY_HOST) {
        if (!line || count < 0) return TESSIVA_E_FAIL;
        routineTable.FillColorToLine(static_cast<uint8_t*>(line), uint32_t(count), color);
        return TESSIVA_S_OK;
    }
    if (kind != TESSIVA_MEMORY_OPENCL) return TESSIVA_S_OK;
    return FillOnGpu(queue, line, count, 1, count * 4, color);
}

TessivaResult Tessiva::FillOnGpu(void*, void*, int32_t, int32_t, int32_t, uint32_t) {
    platform::ScopedLock hold(lock_);
    if (!openCL_.IsReady()) return TESSIVA_E_FAIL;
    return TESSIVA_E_FAIL;  // the fill kernel arrives with the OpenCL program
}

// Frame/field and stretch slots: their routines arrive with the issues that own
// them. Until then they answer E_NOTIMPL and touch nothing.
TessivaResult Tessiva::FieldToFrame(void*, int32_t, void*, void*, int32_t, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::FrameToField(void*, int32_t, void*, void*, void*, int32_t, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::MakeBottomField(void*, int32_t, void*, int32_t, int32_t, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva::MakeTopField(void*, int32_t, void*, int32_t, int32_t, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva::DuplicateWeaveFields(void*, int32_t, void*, void*, void*, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::DuplicateCopyField(void*, int32_t, void*, void*, int32_t, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::DuplicateSplitFrame(void*, int32_t, void*, void*, void*, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::DuplicateKeepEvenLines(void*, int32_t, void*, int32_t, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva::DuplicateKeepOddLines(void*, int32_t, void*, int32_t, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva::InterpolateFrameToField(void*, int32_t, void*, void*, void*, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::InterpolateMakeBottomField(void*, int32_t, void*, int32_t, int32_t) {
    return TESSIVA_E_NOTIMPL;
}
TessivaResult Tessiva::InterpolateMakeTopField(void*, int32_t, void*, int32_t, int32_t) { return TESSIVA_E_NOTIMPL; }
TessivaResult Tessiva::Stretch(void*, int32_t, void*, int32_t, int32_t, int32_t, int32_t, void*, int32_t, int32_t,
                               int32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {
    return TESSIVA_E_NOTIMPL;
}

}  // namespace tessiva
