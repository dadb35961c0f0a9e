#include "fields.h"

#include <cstring>
#include <utility>

namespace tessiva::tool {
namespace {

constexpr int32_t kHostPath = 0;  // path selector of the frame/field slots: host memory

// What every field operation shares: the frame geometry, the spare lines and
// the reporting of a slot's result.
//
// Some line plans of the library read or write a line or two past an
// odd-height or very short frame, so every buffer handed to a frame/field slot
// carries two spare lines (8 x width bytes) after the frame. They are added on
// the way in, as copies of the frame's last line (the one plan that brings a
// spare line into the frame, the bottom field of a one-line frame by
// interpolation, then gives the frame back unchanged), and cut off before a
// frame moves on, so the rest of the pipeline only ever sees packed frames.
class FieldOperation : public FrameOperation {
protected:
    FieldOperation(ITessiva* library, FrameSize size)
        : library_(library),
          size_(size),
          frameBytes_(FrameBytes(PixelFormat::RGB32, size)),
          spareBytes_(std::size_t(8) * std::size_t(size.width)) {}

    void AddSpareLines(Frame* frame) const {
        frame->bytes.resize(frameBytes_ + spareBytes_);
        if (frameBytes_ == 0) return;
        uint8_t* end = frame->bytes.data() + frameBytes_;
        const std::size_t line = spareBytes_ / 2;
        std::memcpy(end, end - line, line);
        std::memcpy(end + line, end - line, line);
    }
    void CutSpareLines(Frame* frame) const { frame->bytes.resize(frameBytes_); }
    Frame NewFrame() const {
        Frame f;
        f.format = PixelFormat::RGB32;
        f.size = size_;
        f.bytes.resize(frameBytes_ + spareBytes_);
        return f;
    }

    static bool Check(TessivaResult result, const char* name, int slot, std::string* error) {
        if (result == TESSIVA_S_OK) return true;
        *error = SlotFailure(name, slot, result);
        return false;
    }

    ITessiva* library_;
    FrameSize size_;
    std::size_t frameBytes_, spareBytes_;
};

const char* Rebuilding(FieldMode mode) { return mode == FieldMode::kInterpolate ? "interpolating" : "doubling"; }

class SplitFields final : public FieldOperation {
public:
    SplitFields(ITessiva* library, FieldMode mode, FrameSize size) : FieldOperation(library, size), mode_(mode) {}

    std::string Describe() const override {
        return std::string("fields: split into the top field's frame and the bottom field's, ") + Rebuilding(mode_) +
               " the missing lines (FrameToField, slot 29)";
    }

    bool Push(Frame frame, std::vector<Frame>* out, std::string* error) override {
        AddSpareLines(&frame);
        // Both outputs start as copies of the frame: whatever the library
        // leaves as it is (an output too short to interpolate, the fourth
        // byte of averaged pixels below the SSE2 level) then holds the
        // frame's own bytes rather than stale memory.
        Frame top = frame, bottom = frame;
        const TessivaResult r =
            library_->FrameToField(nullptr, kHostPath, frame.bytes.data(), top.bytes.data(), bottom.bytes.data(),
                                   size_.width, size_.height, mode_ == FieldMode::kInterpolate ? 1 : 0);
        if (!Check(r, "FrameToField", 29, error)) return false;
        CutSpareLines(&top);
        CutSpareLines(&bottom);
        out->push_back(std::move(top));
        out->push_back(std::move(bottom));
        return true;
    }

private:
    FieldMode mode_;
};

class KeepField final : public FieldOperation {
public:
    KeepField(ITessiva* library, bool top, FieldMode mode, FrameSize size)
        : FieldOperation(library, size), top_(top), mode_(mode) {}

    std::string Describe() const override {
        return std::string("fields: keep the ") + (top_ ? "top" : "bottom") + " field, " + Rebuilding(mode_) +
               " the " + (top_ ? "bottom" : "top") + " field's lines (" +
               (top_ ? "MakeBottomField, slot 30)" : "MakeTopField, slot 31)");
    }

    bool Push(Frame frame, std::vector<Frame>* out, std::string* error) override {
        AddSpareLines(&frame);
        const int32_t interpolate = mode_ == FieldMode::kInterpolate ? 1 : 0;
        uint8_t* data = frame.bytes.data();
        // Keeping the top field means making the bottom one, and the other way round.
        const TessivaResult r =
            top_ ? library_->MakeBottomField(nullptr, kHostPath, data, size_.width, size_.height, interpolate)
                 : library_->MakeTopField(nullptr, kHostPath, data, size_.width, size_.height, interpolate);
        if (!Check(r, top_ ? "MakeBottomField" : "MakeTopField", top_ ? 30 : 31, error)) return false;
        CutSpareLines(&frame);
        out->push_back(std::move(frame));
        return true;
    }

private:
    bool top_;
    FieldMode mode_;
};

class WeaveFields final : public FieldOperation {
public:
    WeaveFields(ITessiva* library, FrameSize size) : FieldOperation(library, size) {}

    std::string Describe() const override {
        return "fields: weave each pair of frames, even lines from the first, odd lines from the second "
               "(DuplicateWeaveFields, slot 32)";
    }

    bool Push(Frame frame, std::vector<Frame>* out, std::string* error) override {
        ++taken_;
        AddSpareLines(&frame);
        if (taken_ % 2 != 0) {
            first_ = std::move(frame);
            return true;
        }
        Frame woven = NewFrame();
        const TessivaResult r = library_->DuplicateWeaveFields(nullptr, kHostPath, first_.bytes.data(),
                                                               frame.bytes.data(), woven.bytes.data(), size_.width,
                                                               size_.height);
        if (!Check(r, "DuplicateWeaveFields", 32, error)) return false;
        CutSpareLines(&woven);
        out->push_back(std::move(woven));
        return true;
    }

    bool Finish(std::vector<Frame>*, std::string* error) override {
        if (taken_ % 2 == 0) return true;
        *error = "--fields weave: the input ended after " + std::to_string(taken_) +
                 " frames, an odd number; the last one has no partner and was not written";
        return false;
    }

private:
    int64_t taken_ = 0;
    Frame first_;
};

}  // namespace

bool ParseFieldStep(const std::string& text, FieldStep* step) {
    static const std::pair<const char*, FieldStep> kNames[] = {
        {"split", FieldStep::kSplit}, {"top", FieldStep::kTop}, {"bottom", FieldStep::kBottom},
        {"weave", FieldStep::kWeave}};
    for (const auto& n : kNames)
        if (text == n.first) {
            *step = n.second;
            return true;
        }
    return false;
}

bool ParseFieldMode(const std::string& text, FieldMode* mode) {
    if (text == "double") *mode = FieldMode::kDouble;
    else if (text == "interpolate") *mode = FieldMode::kInterpolate;
    else return false;
    return true;
}

std::unique_ptr<FrameOperation> MakeFieldOperation(ITessiva* library, FieldStep step, FieldMode mode,
                                                   FrameSize size) {
    switch (step) {
        case FieldStep::kSplit: return std::make_unique<SplitFields>(library, mode, size);
        case FieldStep::kTop: return std::make_unique<KeepField>(library, true, mode, size);
        case FieldStep::kBottom: return std::make_unique<KeepField>(library, false, mode, size);
        case FieldStep::kWeave: return std::make_unique<WeaveFields>(library, size);
        case FieldStep::kNone: break;
    }
    return nullptr;
}

}  // namespace tessiva::tool
