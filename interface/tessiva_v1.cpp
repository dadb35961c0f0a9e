#include "interface/tessiva_v1.h"

#include "convert/rgb24.h"
#include "cpu/detect.h"
#include "field/frame_field.h"
#include "interface/cache_folder.h"
#include "opencl/program_cache.h"

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
    // Scratch buffers, then kernels, then the program that they belong to; the
    // OpenCL library goes last.
    for (void*& scratch : scratch_) {
        if (scratch) openCL_.ReleaseMemObject(static_cast<cl_mem>(scratch));
        scratch = nullptr;
    }
    for (void*& kernel : kernels_) {
        if (kernel) openCL_.ReleaseKernel(static_cast<cl_kernel>(kernel));
        kernel = nullptr;
    }
    if (program_) openCL_.ReleaseProgram(static_cast<cl_program>(program_));
    program_ = nullptr;
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

TessivaResult Tessiva::TwoImage(ConvertRoutine cpu, const ImageArgs& s, const ImageArgs& d, void* queue, GpuPath gpu) {
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
    // The lock is re-entrant: composed paths call the object's own slots under it.
    platform::ScopedLock hold(lock_);
    if (!openCL_.IsReady()) return TESSIVA_E_FAIL;
    // Slots whose kernels have not arrived yet have nothing to run.
    if (!gpu) return TESSIVA_E_FAIL;
    return (this->*gpu)(queue, s, d);
}

namespace {
// Kernel names by index in kernels_.
const char* const kKernelNames[Tessiva::kKernelCount] = {"RGB32toYUV32"};
}  // namespace

bool Tessiva::EnsureProgram() {
    if (!program_)
        program_ = BuildProgramV1(openCL_, static_cast<cl_context>(context_), static_cast<cl_device_id>(device_),
                                  kernelSourceFolder_, cacheFolderName_, &vendorClass_);
    return program_ != nullptr;
}

template <int kernel>
TessivaResult Tessiva::KernelOnGpu(void* queue, const ImageArgs& s, const ImageArgs& d) {
    return TwoImageOnGpu(queue, kernel, s, d);
}

TessivaResult Tessiva::TwoImageOnGpu(void* queue, int kernel, const ImageArgs& s, const ImageArgs& d) {
    if (!EnsureProgram()) return TESSIVA_E_FAIL;

    // A kernel that cannot be created stays null and is asked for again next
    // time. The call then answers 0 with nothing launched: the launch steps
    // would all fail on it anyway, and some runtimes (PoCL) crash on a null
    // kernel instead of refusing it.
    if (!kernels_[kernel]) {
        cl_int err = CL_SUCCESS;
        kernels_[kernel] = openCL_.CreateKernel(static_cast<cl_program>(program_), kKernelNames[kernel], &err);
    }
    const auto k = static_cast<cl_kernel>(kernels_[kernel]);
    if (!k) return TESSIVA_S_OK;
    const cl_mem src = static_cast<cl_mem>(s.memory), dst = static_cast<cl_mem>(d.memory);
    const cl_int width = s.width, height = s.height, srcPitch = s.pitch / 4, dstPitch = d.pitch / 4;
    openCL_.SetKernelArg(k, 0, sizeof src, &src);
    openCL_.SetKernelArg(k, 1, sizeof dst, &dst);
    openCL_.SetKernelArg(k, 2, sizeof width, &width);
    openCL_.SetKernelArg(k, 3, sizeof height, &height);
    openCL_.SetKernelArg(k, 4, sizeof srcPitch, &srcPitch);
    openCL_.SetKernelArg(k, 5, sizeof dstPitch, &dstPitch);
    const size_t global = size_t(uint32_t(width)) * size_t(uint32_t(height));
    cl_event done = nullptr;
    openCL_.EnqueueNDRangeKernel(static_cast<cl_command_queue>(queue), k, 1, nullptr, &global, nullptr, 0, nullptr,
                                 &done);
    openCL_.WaitForEvents(1, &done);
    openCL_.ReleaseEvent(done);
    return TESSIVA_S_OK;
}

// Vertical flip on OpenCL buffers: one buffer copy per line, then clFinish. The
// offsets are formed in signed 32-bit arithmetic, which limits images to 2 GiB.
TessivaResult Tessiva::FlipOnGpu(void* queue, const ImageArgs& s, const ImageArgs& d) {
    const auto q = static_cast<cl_command_queue>(queue);
    for (int32_t y = 0; y < s.height; ++y) {
        const int32_t from = (s.height - 1 - y) * s.pitch, to = y * d.pitch;
        openCL_.EnqueueCopyBuffer(q, static_cast<cl_mem>(s.memory), static_cast<cl_mem>(d.memory), size_t(from),
                                  size_t(to), size_t(s.width) * 4, 0, nullptr, nullptr);
    }
    openCL_.Finish(q);
    return TESSIVA_S_OK;
}

void* Tessiva::Scratch(int index, const ImageArgs& s) {
    // (pitch / 4) x height elements of 4 bytes; re-created when the count changes.
    const uint32_t elements = uint32_t(s.pitch / 4) * uint32_t(s.height);
    if (scratch_[index] && scratchSize_[index] == elements) return scratch_[index];
    if (scratch_[index]) openCL_.ReleaseMemObject(static_cast<cl_mem>(scratch_[index]));
    cl_int err = CL_SUCCESS;
    scratch_[index] = openCL_.CreateBuffer(static_cast<cl_context>(context_), CL_MEM_READ_WRITE,
                                           size_t(elements) * 4, nullptr, &err);
    scratchSize_[index] = scratch_[index] ? elements : 0;
    return scratch_[index];
}

template <Tessiva::SlotFn first, Tessiva::SlotFn second>
TessivaResult Tessiva::ComposedOnGpu(void* queue, const ImageArgs& s, const ImageArgs& d) {
    void* scratch = Scratch(0, s);
    if (!scratch) return TESSIVA_E_FAIL;
    // Through the object's own slots, kind 1 throughout; the scratch buffer takes
    // the source's sizes and pitch.
    const TessivaResult r = (this->*first)(queue, 1, s.memory, s.width, s.height, s.pitch, 1, scratch, s.width,
                                           s.height, s.pitch);
    if (r != TESSIVA_S_OK) return r;
    return (this->*second)(queue, 1, scratch, s.width, s.height, s.pitch, 1, d.memory, d.width, d.height, d.pitch);
}

// YUV32 -> scratch RGB32 -> flipped back into the source image -> RGB24: the
// destination is right and the source image ends up holding the flipped RGB32
// picture, as this operation has always done on OpenCL buffers.
TessivaResult Tessiva::InvertYUV32toRGB24OnGpu(void* queue, const ImageArgs& s, const ImageArgs& d) {
    void* scratch = Scratch(0, s);
    if (!scratch) return TESSIVA_E_FAIL;
    TessivaResult r = YUV32toRGB32(queue, 1, s.memory, s.width, s.height, s.pitch, 1, scratch, s.width, s.height,
                                   s.pitch);
    if (r == TESSIVA_S_OK)
        r = InvertRGB32toRGB32(queue, 1, scratch, s.width, s.height, s.pitch, 1, s.memory, s.width, s.height,
                               s.pitch);
    if (r == TESSIVA_S_OK)
        r = RGB32toRGB24(queue, 1, s.memory, s.width, s.height, s.pitch, 1, d.memory, d.width, d.height, d.pitch);
    return r;
}

// YUY2 -> first scratch RGB32 -> flipped into a second scratch -> RGB24.
TessivaResult Tessiva::InvertYUY2toRGB24OnGpu(void* queue, const ImageArgs& s, const ImageArgs& d) {
    void* first = Scratch(0, s);
    void* second = Scratch(1, s);
    if (!first || !second) return TESSIVA_E_FAIL;
    TessivaResult r = YUY2toRGB32(queue, 1, s.memory, s.width, s.height, s.pitch, 1, first, s.width, s.height,
                                  s.pitch);
    if (r == TESSIVA_S_OK)
        r = InvertRGB32toRGB32(queue, 1, first, s.width, s.height, s.pitch, 1, second, s.width, s.height, s.pitch);
    if (r == TESSIVA_S_OK)
        r = RGB32toRGB24(queue, 1, second, s.width, s.height, s.pitch, 1, d.memory, d.width, d.height, d.pitch);
    return r;
}

#define TESSIVA_TWO_IMAGE_PARAMS                                                                  \
    void *queue, int32_t srcKind, void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcPitch, \
        int32_t dstKind, void *dst, int32_t dstWidth, int32_t dstHeight, int32_t dstPitch
#define TESSIVA_TWO_IMAGE_SLOT(name, routine, gpu)                                                       \
    TessivaResult Tessiva::name(TESSIVA_TWO_IMAGE_PARAMS) {                                              \
        return TwoImage(routine, {srcKind, src, srcWidth, srcHeight, srcPitch},                          \
                        {dstKind, dst, dstWidth, dstHeight, dstPitch}, queue, gpu);                      \
    }
#define TESSIVA_COMPOSED(first, second) &Tessiva::ComposedOnGpu<&Tessiva::first, &Tessiva::second>
#define TESSIVA_KERNEL(kernel) &Tessiva::KernelOnGpu<kernel>

// Slots whose kernels are not in the program yet pass nullptr: on OpenCL
// buffers they answer E_FAIL after the ready test.
TESSIVA_TWO_IMAGE_SLOT(RGB32toYUV32, routineTable.RGB32toYUV32, TESSIVA_KERNEL(kKernelRGB32toYUV32))
TESSIVA_TWO_IMAGE_SLOT(YUV32toRGB32, routineTable.YUV32toRGB32, nullptr)
TESSIVA_TWO_IMAGE_SLOT(RGB32toYUY2, routineTable.RGB32toYUY2, nullptr)
TESSIVA_TWO_IMAGE_SLOT(YUY2toRGB32, routineTable.YUY2toRGB32, nullptr)
TESSIVA_TWO_IMAGE_SLOT(RGB32toRGB24, routineTable.RGB32toRGB24, nullptr)
TESSIVA_TWO_IMAGE_SLOT(RGB24toRGB32, nullptr, nullptr)  // OpenCL only: host memory answers E_NOTIMPL
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toRGB32, tessiva::InvertRGB32toRGB32, &Tessiva::FlipOnGpu)
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toRGB24, routineTable.InvertRGB32toRGB24,
                       TESSIVA_COMPOSED(InvertRGB32toRGB32, RGB32toRGB24))
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toYUV32, routineTable.InvertRGB32toYUV32,
                       TESSIVA_COMPOSED(InvertRGB32toRGB32, RGB32toYUV32))
TESSIVA_TWO_IMAGE_SLOT(InvertYUV32toRGB32, routineTable.InvertYUV32toRGB32,
                       TESSIVA_COMPOSED(YUV32toRGB32, InvertRGB32toRGB32))
TESSIVA_TWO_IMAGE_SLOT(InvertYUY2toRGB32, routineTable.InvertYUY2toRGB32,
                       TESSIVA_COMPOSED(YUY2toRGB32, InvertRGB32toRGB32))
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toYUY2, routineTable.InvertRGB32toYUY2,
                       TESSIVA_COMPOSED(InvertRGB32toRGB32, RGB32toYUY2))
TESSIVA_TWO_IMAGE_SLOT(RGB32toYV12, routineTable.RGB32toYV12, nullptr)
TESSIVA_TWO_IMAGE_SLOT(YV12toRGB32, routineTable.YV12toRGB32, nullptr)
TESSIVA_TWO_IMAGE_SLOT(YUV32toYV12, routineTable.YUV32toYV12, nullptr)
TESSIVA_TWO_IMAGE_SLOT(YV12toYUV32, routineTable.YV12toYUV32, nullptr)
TESSIVA_TWO_IMAGE_SLOT(InvertRGB32toYV12, routineTable.InvertRGB32toYV12,
                       TESSIVA_COMPOSED(InvertRGB32toRGB32, RGB32toYV12))
TESSIVA_TWO_IMAGE_SLOT(InvertYV12toRGB32, routineTable.InvertYV12toRGB32,
                       TESSIVA_COMPOSED(YV12toRGB32, InvertRGB32toRGB32))
TESSIVA_TWO_IMAGE_SLOT(YUV32toYUY2, routineTable.YUV32toYUY2, nullptr)
TESSIVA_TWO_IMAGE_SLOT(YUY2toYUV32, routineTable.YUY2toYUV32, nullptr)
TESSIVA_TWO_IMAGE_SLOT(YUV32toRGB24, routineTable.YUV32toRGB24, TESSIVA_COMPOSED(YUV32toRGB32, RGB32toRGB24))
TESSIVA_TWO_IMAGE_SLOT(InvertYUV32toRGB24, routineTable.InvertYUV32toRGB24, &Tessiva::InvertYUV32toRGB24OnGpu)
TESSIVA_TWO_IMAGE_SLOT(YUY2toRGB24, routineTable.YUY2toRGB24, TESSIVA_COMPOSED(YUY2toRGB32, RGB32toRGB24))
TESSIVA_TWO_IMAGE_SLOT(InvertYUY2toRGB24, routineTable.InvertYUY2toRGB24, &Tessiva::InvertYUY2toRGB24OnGpu)
#undef TESSIVA_COMPOSED
#undef TESSIVA_KERNEL
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

// Frame/field slots. `path` 0 runs on host memory, 1 on OpenCL buffers, other
// values do nothing. Null frames and negative sizes answer E_FAIL before any work.
namespace {
bool BadSize(int32_t width, int32_t height) { return width < 0 || height < 0; }
}  // namespace

TessivaResult Tessiva::FieldOnGpu() {
    platform::ScopedLock hold(lock_);
    if (!openCL_.IsReady()) return TESSIVA_E_FAIL;
    return TESSIVA_E_FAIL;  // the field kernels and line copies arrive with the OpenCL program
}

TessivaResult Tessiva::WithConvertor(bool interpolate, int32_t width, int32_t height,
                                              TessivaResult (*call)(FrameFieldConvertor&, void*), void* args) {
    FrameFieldConvertor* convertor = CreateFrameFieldConvertor(interpolate, uint32_t(width), uint32_t(height));
    if (!convertor) return TESSIVA_S_OK;
    // Parked in the object while it runs: one object must not run these from two threads.
    currentConvertor_ = convertor;
    const TessivaResult r = call(*convertor, args);
    convertor->DeletingDestructor(1);
    currentConvertor_ = nullptr;
    return r;
}

TessivaResult Tessiva::FieldToFrame(void*, int32_t path, void* frameA, void* frameB, int32_t oddLines, int32_t width,
                                    int32_t height) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frameA || !frameB || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    return tessiva::FieldToFrame(static_cast<uint8_t*>(frameA), static_cast<uint8_t*>(frameB), oddLines, width,
                                 height);
}

TessivaResult Tessiva::FrameToField(void*, int32_t path, void* frame, void* evenOut, void* oddOut, int32_t width,
                                    int32_t height, int32_t interpolate) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || !evenOut || !oddOut || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    return FrameToFieldForLevel(instructionLevel_, static_cast<const uint8_t*>(frame), static_cast<uint8_t*>(evenOut),
                                static_cast<uint8_t*>(oddOut), width, height, interpolate);
}

TessivaResult Tessiva::MakeBottomField(void*, int32_t path, void* frame, int32_t width, int32_t height,
                                       int32_t interpolate) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    return MakeBottomFieldForLevel(instructionLevel_, static_cast<uint8_t*>(frame), width, height, interpolate);
}

TessivaResult Tessiva::MakeTopField(void*, int32_t path, void* frame, int32_t width, int32_t height,
                                    int32_t interpolate) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    return MakeTopFieldForLevel(instructionLevel_, static_cast<uint8_t*>(frame), width, height, interpolate);
}

TessivaResult Tessiva::DuplicateWeaveFields(void*, int32_t path, void* frameA, void* frameB, void* output,
                                            int32_t width, int32_t height) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frameA || !frameB || !output || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    void* args[] = {frameA, frameB, output};
    return WithConvertor(false, width, height, [](FrameFieldConvertor& c, void* a) {
        void** p = static_cast<void**>(a);
        return c.WeaveFields(static_cast<const uint8_t*>(p[0]), static_cast<const uint8_t*>(p[1]),
                             static_cast<uint8_t*>(p[2]));
    }, args);
}

TessivaResult Tessiva::DuplicateCopyField(void*, int32_t path, void* frameA, void* frameB, int32_t width,
                                          int32_t height, int32_t oddLines) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frameA || !frameB || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    struct Args {
        void* a;
        void* b;
        int32_t odd;
    } args{frameA, frameB, oddLines};
    return WithConvertor(false, width, height, [](FrameFieldConvertor& c, void* a) {
        Args* p = static_cast<Args*>(a);
        return c.CopyField(static_cast<uint8_t*>(p->a), static_cast<uint8_t*>(p->b), p->odd);
    }, &args);
}

TessivaResult Tessiva::DuplicateSplitFrame(void*, int32_t path, void* frame, void* evenOut, void* oddOut,
                                           int32_t width, int32_t height) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || BadSize(width, height)) return TESSIVA_E_FAIL;  // either output may be null
    if (path == 1) return FieldOnGpu();
    void* args[] = {frame, evenOut, oddOut};
    return WithConvertor(false, width, height, [](FrameFieldConvertor& c, void* a) {
        void** p = static_cast<void**>(a);
        return c.SplitFrame(static_cast<const uint8_t*>(p[0]), static_cast<uint8_t*>(p[1]),
                            static_cast<uint8_t*>(p[2]));
    }, args);
}

TessivaResult Tessiva::DuplicateKeepEvenLines(void*, int32_t path, void* frame, int32_t width, int32_t height) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    return WithConvertor(false, width, height, [](FrameFieldConvertor& c, void* a) {
        return c.KeepEvenLines(static_cast<uint8_t*>(a));
    }, frame);
}

TessivaResult Tessiva::DuplicateKeepOddLines(void*, int32_t path, void* frame, int32_t width, int32_t height) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    return WithConvertor(false, width, height, [](FrameFieldConvertor& c, void* a) {
        return c.KeepOddLines(static_cast<uint8_t*>(a));
    }, frame);
}

TessivaResult Tessiva::InterpolateFrameToField(void*, int32_t path, void* frame, void* evenOut, void* oddOut,
                                               int32_t width, int32_t height) {
    if (path != 0 && path != 1) return TESSIVA_S_OK;
    if (!frame || !evenOut || !oddOut || BadSize(width, height)) return TESSIVA_E_FAIL;
    if (path == 1) return FieldOnGpu();
    void* args[] = {frame, evenOut, oddOut};
    return WithConvertor(true, width, height, [](FrameFieldConvertor& c, void* a) {
        void** p = static_cast<void**>(a);
        return c.SplitFrame(static_cast<const uint8_t*>(p[0]), static_cast<uint8_t*>(p[1]),
                            static_cast<uint8_t*>(p[2]));
    }, args);
}

TessivaResult Tessiva::InterpolateMakeBottomField(void* queue, int32_t path, void* frame, int32_t width,
                                                  int32_t height) {
    return MakeBottomField(queue, path, frame, width, height, 1);
}

TessivaResult Tessiva::InterpolateMakeTopField(void* queue, int32_t path, void* frame, int32_t width, int32_t height) {
    return MakeTopField(queue, path, frame, width, height, 1);
}

TessivaResult Tessiva::Stretch(void*, int32_t srcKind, void* src, int32_t, int32_t, int32_t, int32_t dstKind,
                               void* dst, int32_t, int32_t, int32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                               uint32_t) {
    if (!src || !dst) return TESSIVA_E_FAIL;
    // There is no host-memory stretch: both images must be OpenCL buffers.
    if (srcKind != TESSIVA_MEMORY_OPENCL || dstKind != TESSIVA_MEMORY_OPENCL) return TESSIVA_E_NOTIMPL;
    platform::ScopedLock hold(lock_);
    if (!openCL_.IsReady()) return TESSIVA_E_FAIL;
    return TESSIVA_E_FAIL;  // the sampling kernels arrive with the OpenCL program
}

}  // namespace tessiva
