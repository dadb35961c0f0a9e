// Frames flow from the input through a chain of operations to the output. An
// operation takes frames one at a time and may hand on fewer or more than it
// takes (a field split makes two frames of one, a weave one of two), so each
// new kind of work is one more FrameOperation, placed in the chain by
// BuildPipeline; the reading and writing around it stay as they are.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "formats.h"
#include "route.h"

namespace tessiva::tool {

struct Frame {
    PixelFormat format = PixelFormat::RGB32;
    FrameSize size;
    std::vector<uint8_t> bytes;  // FrameBytes(format, size), packed
};

class FrameOperation {
public:
    virtual ~FrameOperation() = default;
    // One line for --verbose.
    virtual std::string Describe() const = 0;
    // Takes one frame and appends the frames it completes to `out`.
    virtual bool Push(Frame frame, std::vector<Frame>* out, std::string* error) = 0;
    // The input has ended: append any frame still held back.
    virtual bool Finish(std::vector<Frame>* out, std::string* error) { return true; }
};

// Converts every frame from one format to another along a planned route.
class ConvertOperation : public FrameOperation {
public:
    ConvertOperation(ITessiva* library, Route route, PixelFormat from, PixelFormat to, FrameSize size);
    std::string Describe() const override;
    bool Push(Frame frame, std::vector<Frame>* out, std::string* error) override;

private:
    std::string description_;
    Converter converter_;
    PixelFormat to_;
    FrameSize size_;
};

class Pipeline {
public:
    void Add(std::unique_ptr<FrameOperation> operation) { operations_.push_back(std::move(operation)); }
    const std::vector<std::unique_ptr<FrameOperation>>& operations() const { return operations_; }
    // Runs one input frame through every operation; the finished frames land in `out`.
    bool Push(Frame frame, std::vector<Frame>* out, std::string* error);
    // Flushes the operations in order, each flush going through the rest of the chain.
    bool Finish(std::vector<Frame>* out, std::string* error);

private:
    bool PushFrom(std::size_t index, Frame frame, std::vector<Frame>* out, std::string* error);
    std::vector<std::unique_ptr<FrameOperation>> operations_;
};

}  // namespace tessiva::tool
