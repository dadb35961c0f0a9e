// Tessiva public interface: what a host compiles against.
//
// A host obtains converter objects only through the five exported functions
// below and gives them back through the matching release function. Every other
// call goes through the virtual slots of ITessiva (version 1) or ITessiva2
// (version 2). The order of the slots is a binary contract: slot i is entry i of
// the object's function table under MSVC, mingw-w64 and GCC alike, because the
// interfaces hold pure virtual functions only, no virtual destructor and no
// overloaded names. Never reorder, insert or remove a slot.
//
// Byte layouts of every pixel format: docs/formats.md.
#ifndef TESSIVA_H
#define TESSIVA_H

#include <stdint.h>

#if defined(_WIN32)
#define TESSIVA_CALL __cdecl
#if defined(TESSIVA_BUILDING_LIBRARY)
#define TESSIVA_EXPORT
#else
#define TESSIVA_EXPORT __declspec(dllimport)
#endif
typedef wchar_t TessivaChar16;  // UTF-16 code unit (2 bytes on Windows)
#else
#define TESSIVA_CALL
#define TESSIVA_EXPORT __attribute__((visibility("default")))
typedef char16_t TessivaChar16;  // UTF-16 code unit
#endif

// 32-bit result in the Windows HRESULT convention.
typedef int32_t TessivaResult;

#define TESSIVA_S_OK ((TessivaResult)0)                       // done, or nothing to do
#define TESSIVA_E_NOTIMPL ((TessivaResult)0x80004001u)        // mixed memory kinds, or not offered
#define TESSIVA_E_POINTER ((TessivaResult)0x80004003u)        // null pointer where one is required
#define TESSIVA_E_FAIL ((TessivaResult)0x80004005u)           // size mismatch, null argument, OpenCL not ready or failed
#define TESSIVA_E_OUTOFMEMORY ((TessivaResult)0x8007000Eu)    // an intermediate image could not be allocated

// Memory kinds of an image argument.
#define TESSIVA_MEMORY_HOST 0    // the image argument is a host pointer to the first byte
#define TESSIVA_MEMORY_OPENCL 1  // the image argument is a cl_mem of the context given to SetOpenCLDevice

#ifdef __cplusplus

// Image object of the version-2 interface, implemented by the host (usually by
// the surfaces of KorvMemMgr). The library calls slots 1, 2, 3, 4, 5, 6, 7, 8, 9,
// 11 and 12; slots 0 and 10 belong to the memory manager.
class ITessivaImage {
public:
    virtual int32_t TESSIVA_CALL GetFormat() = 0;                              // 0: pixel format code of the memory manager
    virtual int32_t TESSIVA_CALL GetMemoryKind() = 0;                          // 1: 1 = OpenCL memory, other values = host memory
    virtual void* TESSIVA_CALL GetContext() = 0;                               // 2: cl_context of the image, or null
    virtual void* TESSIVA_CALL GetDevice() = 0;                                // 3: cl_device_id of the image, or null
    virtual void* TESSIVA_CALL GetMemory() = 0;                                // 4: host address, SVM pointer or cl_mem
    virtual uint32_t TESSIVA_CALL GetByteSize() = 0;                           // 5: size of the memory in bytes
    virtual int32_t TESSIVA_CALL GetWidth() = 0;                               // 6: pixels per line
    virtual int32_t TESSIVA_CALL GetHeight() = 0;                              // 7: lines
    virtual int32_t TESSIVA_CALL GetPitch() = 0;                               // 8: bytes from one line to the next
    virtual int32_t TESSIVA_CALL GetDeviceNumber() = 0;                        // 9: device the memory lives on
    virtual void* TESSIVA_CALL GetHostPointer() = 0;                           // 10: host mapping, or null
    virtual void* TESSIVA_CALL GetPlaneMemory0() = 0;                          // 11: memory of the first plane (NV12: Y)
    virtual void* TESSIVA_CALL GetPlaneMemory1() = 0;                          // 12: memory of the second plane (NV12: UV)
};

// Version-1 converter. Images are five loose arguments: kind, image, width,
// height, pitch in bytes. Kind 0 runs the processor routine, kind 1 the OpenCL
// kernel, any other kind returns S_OK and touches nothing. Two-image slots check,
// in this order: widths equal (else E_FAIL), heights equal (else E_FAIL), kinds
// equal (else E_NOTIMPL). `queue` is a cl_command_queue, ignored on host memory.
class ITessiva {
public:
    // 0: store the cl_context and cl_device_id used by the OpenCL paths; a null argument keeps the stored value.
    virtual void TESSIVA_CALL SetOpenCLDevice(void* context, void* device) = 0;
    // 1: folder (ending in a backslash) under which "OpenCLFolder\ColorConvert.cl" overrides the built-in kernels; 260 units at most with the terminator.
    virtual TessivaResult TESSIVA_CALL SetKernelSourceFolder(const TessivaChar16* folder) = 0;

#define TESSIVA_TWO_IMAGE_ARGS                                                                    \
    void *queue, int32_t srcKind, void *src, int32_t srcWidth, int32_t srcHeight, int32_t srcPitch, \
        int32_t dstKind, void *dst, int32_t dstWidth, int32_t dstHeight, int32_t dstPitch
    virtual TessivaResult TESSIVA_CALL RGB32toYUV32(TESSIVA_TWO_IMAGE_ARGS) = 0;        // 2
    virtual TessivaResult TESSIVA_CALL YUV32toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;        // 3
    virtual TessivaResult TESSIVA_CALL RGB32toYUY2(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 4
    virtual TessivaResult TESSIVA_CALL YUY2toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 5
    virtual TessivaResult TESSIVA_CALL RGB32toRGB24(TESSIVA_TWO_IMAGE_ARGS) = 0;        // 6
    virtual TessivaResult TESSIVA_CALL RGB24toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;        // 7: OpenCL memory only
    virtual TessivaResult TESSIVA_CALL InvertRGB32toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;  // 8: vertical flip
    virtual TessivaResult TESSIVA_CALL InvertRGB32toRGB24(TESSIVA_TWO_IMAGE_ARGS) = 0;  // 9
    virtual TessivaResult TESSIVA_CALL InvertRGB32toYUV32(TESSIVA_TWO_IMAGE_ARGS) = 0;  // 10: source read bottom-up
    virtual TessivaResult TESSIVA_CALL InvertYUV32toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;  // 11: destination written bottom-up
    virtual TessivaResult TESSIVA_CALL InvertYUY2toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;   // 12
    virtual TessivaResult TESSIVA_CALL InvertRGB32toYUY2(TESSIVA_TWO_IMAGE_ARGS) = 0;   // 13
    virtual TessivaResult TESSIVA_CALL RGB32toYV12(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 14: YV12 image = start of the three planes
    virtual TessivaResult TESSIVA_CALL YV12toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 15
    virtual TessivaResult TESSIVA_CALL YUV32toYV12(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 16
    virtual TessivaResult TESSIVA_CALL YV12toYUV32(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 17: OpenCL memory only (host memory: S_OK, untouched)
    virtual TessivaResult TESSIVA_CALL InvertRGB32toYV12(TESSIVA_TWO_IMAGE_ARGS) = 0;   // 18
    virtual TessivaResult TESSIVA_CALL InvertYV12toRGB32(TESSIVA_TWO_IMAGE_ARGS) = 0;   // 19
    virtual TessivaResult TESSIVA_CALL YUV32toYUY2(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 20
    virtual TessivaResult TESSIVA_CALL YUY2toYUV32(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 21
    virtual TessivaResult TESSIVA_CALL YUV32toRGB24(TESSIVA_TWO_IMAGE_ARGS) = 0;        // 22
    virtual TessivaResult TESSIVA_CALL InvertYUV32toRGB24(TESSIVA_TWO_IMAGE_ARGS) = 0;  // 23
    virtual TessivaResult TESSIVA_CALL YUY2toRGB24(TESSIVA_TWO_IMAGE_ARGS) = 0;         // 24
    virtual TessivaResult TESSIVA_CALL InvertYUY2toRGB24(TESSIVA_TWO_IMAGE_ARGS) = 0;   // 25
#undef TESSIVA_TWO_IMAGE_ARGS

    // 26: fill width x height pixels of 4 bytes with `color` (little-endian word, byte 0 = B).
    virtual TessivaResult TESSIVA_CALL FillColorToBuffer(void* queue, int32_t kind, void* image, int32_t width,
                                                         int32_t height, int32_t pitch, uint32_t color) = 0;
    // 27: fill `count` pixels of one line with `color`.
    virtual TessivaResult TESSIVA_CALL FillColorToLine(void* queue, int32_t kind, void* line, int32_t count,
                                                       uint32_t color) = 0;

    // Frame/field slots work on full-height RGB32 frames of w x h pixels packed
    // without padding (pitch 4 x w). `path`: 0 host memory, 1 OpenCL buffers, any
    // other value returns S_OK and does nothing. Null frames and negative sizes
    // answer E_FAIL. Even lines form the top field. Some line plans touch lines past
    // an odd-height (or very short) frame: give every frame buffer two spare lines
    // (8 x w bytes) after it and results inside the frame are exact (docs/formats.md).
    // 28: flag set: B's odd lines into A; flag clear: A's even lines into B.
    virtual TessivaResult TESSIVA_CALL FieldToFrame(void* queue, int32_t path, void* frameA, void* frameB,
                                                    int32_t oddLines, int32_t width, int32_t height) = 0;
    // 29: split a frame into an even-line and an odd-line frame (both required), by doubling or interpolation.
    virtual TessivaResult TESSIVA_CALL FrameToField(void* queue, int32_t path, void* frame, void* evenOut,
                                                    void* oddOut, int32_t width, int32_t height,
                                                    int32_t interpolate) = 0;
    // 30: rebuild the odd lines from the even ones, in place.
    virtual TessivaResult TESSIVA_CALL MakeBottomField(void* queue, int32_t path, void* frame, int32_t width,
                                                       int32_t height, int32_t interpolate) = 0;
    // 31: rebuild the even lines from the odd ones, in place.
    virtual TessivaResult TESSIVA_CALL MakeTopField(void* queue, int32_t path, void* frame, int32_t width,
                                                    int32_t height, int32_t interpolate) = 0;
    // 32: output even lines from A, odd lines from B.
    virtual TessivaResult TESSIVA_CALL DuplicateWeaveFields(void* queue, int32_t path, void* frameA, void* frameB,
                                                            void* output, int32_t width, int32_t height) = 0;
    // 33: flag set: B's odd lines into A; flag clear: A's even lines into B.
    virtual TessivaResult TESSIVA_CALL DuplicateCopyField(void* queue, int32_t path, void* frameA, void* frameB,
                                                          int32_t width, int32_t height, int32_t oddLines) = 0;
    // 34: split by line doubling; either output may be null.
    virtual TessivaResult TESSIVA_CALL DuplicateSplitFrame(void* queue, int32_t path, void* frame, void* evenOut,
                                                           void* oddOut, int32_t width, int32_t height) = 0;
    // 35: double the even lines over the odd ones, in place.
    virtual TessivaResult TESSIVA_CALL DuplicateKeepEvenLines(void* queue, int32_t path, void* frame, int32_t width,
                                                              int32_t height) = 0;
    // 36: double the odd lines over the even ones, in place.
    virtual TessivaResult TESSIVA_CALL DuplicateKeepOddLines(void* queue, int32_t path, void* frame, int32_t width,
                                                             int32_t height) = 0;
    // 37: split by interpolation into an even-line and an odd-line frame (both outputs required).
    virtual TessivaResult TESSIVA_CALL InterpolateFrameToField(void* queue, int32_t path, void* frame, void* evenOut,
                                                               void* oddOut, int32_t width, int32_t height) = 0;
    // 38: interpolate the odd lines from the even ones, in place.
    virtual TessivaResult TESSIVA_CALL InterpolateMakeBottomField(void* queue, int32_t path, void* frame,
                                                                  int32_t width, int32_t height) = 0;
    // 39: interpolate the even lines from the odd ones, in place.
    virtual TessivaResult TESSIVA_CALL InterpolateMakeTopField(void* queue, int32_t path, void* frame, int32_t width,
                                                               int32_t height) = 0;
    // 40: scale an RGB32 OpenCL buffer into another (both kinds must be 1). fitMode 0 stretch, 1 bars, 2 crop,
    // 3 match display sizes; quality 0 nearest, 2 automatic, other bilinear; aspect 0:0 = the pixel ratio.
    virtual TessivaResult TESSIVA_CALL Stretch(void* queue, int32_t srcKind, void* src, int32_t srcWidth,
                                               int32_t srcHeight, int32_t srcPitch, int32_t dstKind, void* dst,
                                               int32_t dstWidth, int32_t dstHeight, int32_t dstPitch,
                                               uint32_t fitMode, uint32_t quality, uint32_t srcAspectNum,
                                               uint32_t srcAspectDen, uint32_t dstAspectNum,
                                               uint32_t dstAspectDen) = 0;
    // 41: destroy the object; bit 0 of `flags` also frees it. Called by ReleaseTessiva with 1.
    virtual ITessiva* TESSIVA_CALL DeletingDestructor(uint32_t flags) = 0;
};

// Version-2 converter. Images are ITessivaImage objects; context, device and
// queue come from the KorvMemMgr memory manager. Kind 1 runs on OpenCL, every
// other kind on host memory. Two-image slots check: null image (E_FAIL), sizes
// (E_FAIL), kinds (E_NOTIMPL).
class ITessiva2 {
public:
    // 0: as ITessiva slot 1.
    virtual TessivaResult TESSIVA_CALL SetKernelSourceFolder(const TessivaChar16* folder) = 0;

#define TESSIVA_TWO_IMAGES ITessivaImage *src, ITessivaImage *dst
    virtual TessivaResult TESSIVA_CALL RGB32toYUV32(TESSIVA_TWO_IMAGES) = 0;         // 1
    virtual TessivaResult TESSIVA_CALL YUV32toRGB32(TESSIVA_TWO_IMAGES) = 0;         // 2
    virtual TessivaResult TESSIVA_CALL RGB32toYUY2(TESSIVA_TWO_IMAGES) = 0;          // 3
    virtual TessivaResult TESSIVA_CALL YUY2toRGB32(TESSIVA_TWO_IMAGES) = 0;          // 4
    virtual TessivaResult TESSIVA_CALL RGB32toRGB24(TESSIVA_TWO_IMAGES) = 0;         // 5
    virtual TessivaResult TESSIVA_CALL RGB24toRGB32(TESSIVA_TWO_IMAGES) = 0;         // 6
    virtual TessivaResult TESSIVA_CALL InvertRGB32toRGB32(TESSIVA_TWO_IMAGES) = 0;   // 7
    virtual TessivaResult TESSIVA_CALL InvertRGB32toRGB24(TESSIVA_TWO_IMAGES) = 0;   // 8
    virtual TessivaResult TESSIVA_CALL InvertRGB32toYUV32(TESSIVA_TWO_IMAGES) = 0;   // 9
    virtual TessivaResult TESSIVA_CALL InvertYUV32toRGB32(TESSIVA_TWO_IMAGES) = 0;   // 10
    virtual TessivaResult TESSIVA_CALL InvertYUY2toRGB32(TESSIVA_TWO_IMAGES) = 0;    // 11
    virtual TessivaResult TESSIVA_CALL InvertRGB32toYUY2(TESSIVA_TWO_IMAGES) = 0;    // 12
    virtual TessivaResult TESSIVA_CALL RGB32toYV12(TESSIVA_TWO_IMAGES) = 0;          // 13
    virtual TessivaResult TESSIVA_CALL YV12toRGB32(TESSIVA_TWO_IMAGES) = 0;          // 14
    virtual TessivaResult TESSIVA_CALL YUV32toYV12(TESSIVA_TWO_IMAGES) = 0;          // 15
    virtual TessivaResult TESSIVA_CALL YV12toYUV32(TESSIVA_TWO_IMAGES) = 0;          // 16
    virtual TessivaResult TESSIVA_CALL InvertRGB32toYV12(TESSIVA_TWO_IMAGES) = 0;    // 17
    virtual TessivaResult TESSIVA_CALL InvertYV12toRGB32(TESSIVA_TWO_IMAGES) = 0;    // 18
    virtual TessivaResult TESSIVA_CALL YUV32toYUY2(TESSIVA_TWO_IMAGES) = 0;          // 19
    virtual TessivaResult TESSIVA_CALL YUY2toYUV32(TESSIVA_TWO_IMAGES) = 0;          // 20
    virtual TessivaResult TESSIVA_CALL YUV32toRGB24(TESSIVA_TWO_IMAGES) = 0;         // 21
    virtual TessivaResult TESSIVA_CALL InvertYUV32toRGB24(TESSIVA_TWO_IMAGES) = 0;   // 22
    virtual TessivaResult TESSIVA_CALL YUY2toRGB24(TESSIVA_TWO_IMAGES) = 0;          // 23
    virtual TessivaResult TESSIVA_CALL InvertYUY2toRGB24(TESSIVA_TWO_IMAGES) = 0;    // 24
#undef TESSIVA_TWO_IMAGES

    // 25: fill the image with `color`.
    virtual TessivaResult TESSIVA_CALL FillColorToBuffer(ITessivaImage* image, uint32_t color) = 0;
    // 26: flag set: B's odd lines into A; flag clear: A's even lines into B.
    virtual TessivaResult TESSIVA_CALL FieldToFrame(ITessivaImage* frameA, ITessivaImage* frameB,
                                                    int32_t oddLines) = 0;
    // 27: split into an even-line and an odd-line frame, by doubling or interpolation.
    virtual TessivaResult TESSIVA_CALL FrameToField(ITessivaImage* frame, ITessivaImage* evenOut,
                                                    ITessivaImage* oddOut, int32_t interpolate) = 0;
    // 28: rebuild the odd lines from the even ones, in place.
    virtual TessivaResult TESSIVA_CALL MakeBottomField(ITessivaImage* frame, int32_t interpolate) = 0;
    // 29: rebuild the even lines from the odd ones, in place.
    virtual TessivaResult TESSIVA_CALL MakeTopField(ITessivaImage* frame, int32_t interpolate) = 0;
    // 30: split by interpolation.
    virtual TessivaResult TESSIVA_CALL InterpolateFrameToField(ITessivaImage* frame, ITessivaImage* evenOut,
                                                               ITessivaImage* oddOut) = 0;
    // 31: interpolate the odd lines, in place.
    virtual TessivaResult TESSIVA_CALL InterpolateMakeBottomField(ITessivaImage* frame) = 0;
    // 32: interpolate the even lines, in place.
    virtual TessivaResult TESSIVA_CALL InterpolateMakeTopField(ITessivaImage* frame) = 0;
    // 33: scale RGB32 (OpenCL images only); arguments as ITessiva slot 40.
    virtual TessivaResult TESSIVA_CALL Stretch(ITessivaImage* src, ITessivaImage* dst, uint32_t fitMode,
                                               uint32_t quality, uint32_t srcAspectNum, uint32_t srcAspectDen,
                                               uint32_t dstAspectNum, uint32_t dstAspectDen) = 0;
    // 34: YUV32 to two-plane NV12 on OpenCL: the NV12 image, then the images whose memory feeds the Y and UV kernels.
    virtual TessivaResult TESSIVA_CALL YUV32toNV12(ITessivaImage* nv12, ITessivaImage* yInput,
                                                   ITessivaImage* uvInput) = 0;
    // 35: three-image OpenCL operation: checks only (first kind 1, second kind 2, equal sizes).
    virtual TessivaResult TESSIVA_CALL ThreeImageGpuOperation(ITessivaImage* first, ITessivaImage* second,
                                                              ITessivaImage* third) = 0;
    // 36: (re)create the memory manager if needed and refresh its two capability flags.
    virtual TessivaResult TESSIVA_CALL UpdateKorvMemMgrState() = 0;
    // 37: destroy the object; bit 0 of `flags` also frees it. Called by ReleaseTessiva2 with 1.
    virtual ITessiva2* TESSIVA_CALL DeletingDestructor(uint32_t flags) = 0;
};

extern "C" {
#endif  // __cplusplus

#ifdef __cplusplus
typedef ITessiva* TessivaHandle;
typedef ITessiva2* Tessiva2Handle;
#else
typedef struct ITessiva* TessivaHandle;
typedef struct ITessiva2* Tessiva2Handle;
#endif

// New version-1 converter, or null when memory is short.
TESSIVA_EXPORT TessivaHandle TESSIVA_CALL GetTessiva(void);
// Destroys a converter from GetTessiva; null is ignored. Always 0.
TESSIVA_EXPORT TessivaResult TESSIVA_CALL ReleaseTessiva(TessivaHandle converter);
// New version-2 converter, or null when memory is short.
TESSIVA_EXPORT Tessiva2Handle TESSIVA_CALL GetTessiva2(void);
// Destroys a converter from GetTessiva2; null is ignored. Always 0.
TESSIVA_EXPORT TessivaResult TESSIVA_CALL ReleaseTessiva2(Tessiva2Handle converter);
// Forwards to slot 36 of a version-2 converter (which must not be null).
TESSIVA_EXPORT TessivaResult TESSIVA_CALL GetUpdateKorvMemMgrState(Tessiva2Handle converter);

#ifdef __cplusplus
}
#endif

#endif  // TESSIVA_H
