#include "pipeline.h"

namespace tessiva::tool {

ConvertOperation::ConvertOperation(ITessiva* library, Route route, PixelFormat from, PixelFormat to,
                                   FrameSize size)
    : description_("convert " + DescribeRoute(from, route)),
      converter_(library, std::move(route), from, to, size),
      to_(to),
      size_(size) {}

std::string ConvertOperation::Describe() const { return description_; }

bool ConvertOperation::Push(Frame frame, std::vector<Frame>* out, std::string* error) {
    Frame result;
    result.format = to_;
    result.size = size_;
    if (!converter_.Run(frame.bytes.data(), &result.bytes, error)) return false;
    out->push_back(std::move(result));
    return true;
}

bool Pipeline::PushFrom(std::size_t index, Frame frame, std::vector<Frame>* out, std::string* error) {
    if (index == operations_.size()) {
        out->push_back(std::move(frame));
        return true;
    }
    std::vector<Frame> produced;
    if (!operations_[index]->Push(std::move(frame), &produced, error)) return false;
    for (Frame& f : produced)
        if (!PushFrom(index + 1, std::move(f), out, error)) return false;
    return true;
}

bool Pipeline::Push(Frame frame, std::vector<Frame>* out, std::string* error) {
    return PushFrom(0, std::move(frame), out, error);
}

bool Pipeline::Finish(std::vector<Frame>* out, std::string* error) {
    for (std::size_t i = 0; i < operations_.size(); ++i) {
        std::vector<Frame> flushed;
        if (!operations_[i]->Finish(&flushed, error)) return false;
        for (Frame& f : flushed)
            if (!PushFrom(i + 1, std::move(f), out, error)) return false;
    }
    return true;
}

}  // namespace tessiva::tool
