// tessiva-convert: raw frames (or the built-in test card) in, raw frames of
// another pixel format out, every conversion done by the Tessiva library loaded
// at run time. Run with --help for the usage.
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "fields.h"
#include "formats.h"
#include "frame_io.h"
#include "library.h"
#include "options.h"
#include "pipeline.h"
#include "png_writer.h"
#include "route.h"
#include "test_card.h"

namespace tessiva::tool {
namespace {

constexpr int kExitFailure = 1, kExitUsage = 2;

int Fail(int status, const std::string& message) {
    std::fprintf(stderr, "tessiva-convert: %s\n", message.c_str());
    if (status == kExitUsage) std::fprintf(stderr, "Run 'tessiva-convert --help' for the usage.\n");
    return status;
}

void Note(const std::string& message) { std::fprintf(stderr, "tessiva-convert: %s\n", message.c_str()); }

// What the settings ask for, checked as a whole before the library is loaded.
// Without a field step, `route` converts from -> to. With one, `route` brings
// the input to rgb32 (no mirroring) and `after` takes the step's rgb32 frames to
// the output format, mirroring them with --invert.
struct Plan {
    bool card = false;
    PixelFormat from = PixelFormat::RGB32, to = PixelFormat::RGB32;
    FrameSize size;
    int64_t frames = -1;  // input frames to take; -1: until the input ends
    Route route;
    Route after;
};

std::string NoRouteReason(PixelFormat from, PixelFormat to, bool invert) {
    if (from == PixelFormat::RGB24 || from == PixelFormat::NV12)
        return std::string("cannot read ") + FormatName(from) +
               ": the library has no reader for it in host memory (it can only be written)";
    return std::string("no conversion from ") + FormatName(from) + " to " + FormatName(to) +
           (invert ? " with --invert" : "");
}

bool MakePlan(const Settings& s, Plan* plan, std::string* error) {
    plan->card = s.input.empty();
    if (plan->card) {
        if (s.fromGiven && s.from != PixelFormat::RGB32) {
            *error = "--from describes INPUT; without INPUT the test card (rgb32) is converted";
            return false;
        }
    } else if (!s.fromGiven || !s.sizeGiven) {
        *error = "reading raw frames needs --from FMT and --size WxH";
        return false;
    }
    if (s.output.empty() && s.png.empty()) {
        *error = "nothing to write: give OUTPUT, --png FILE or both";
        return false;
    }
    if (s.output == "-" && s.png == "-") {
        *error = "OUTPUT and --png cannot both be standard output";
        return false;
    }
    const bool fields = s.fields != FieldStep::kNone;
    if (s.fieldModeGiven && (!fields || s.fields == FieldStep::kWeave)) {
        *error = "--field-mode goes with --fields split, top or bottom";
        return false;
    }
    const bool weave = s.fields == FieldStep::kWeave;
    if (weave && s.frames % 2 != 0) {
        *error = "--fields weave takes frames in pairs: --frames " + std::to_string(s.frames) + " is odd";
        return false;
    }
    plan->frames = s.frames > 0 ? s.frames : !plan->card ? -1 : weave ? 2 : 1;
    plan->from = s.fromGiven ? s.from : PixelFormat::RGB32;
    plan->to = s.toGiven ? s.to : plan->from;
    plan->size = s.size;
    if (!fields) {
        if (!PlanRoute(plan->from, plan->to, s.invert, false, &plan->route)) {
            *error = NoRouteReason(plan->from, plan->to, s.invert);
            return false;
        }
    } else if (!PlanRoute(plan->from, PixelFormat::RGB32, false, false, &plan->route)) {
        *error = NoRouteReason(plan->from, PixelFormat::RGB32, false);
        return false;
    } else if (!PlanRoute(PixelFormat::RGB32, plan->to, s.invert, false, &plan->after)) {
        *error = NoRouteReason(PixelFormat::RGB32, plan->to, s.invert);
        return false;
    }
    std::string why = CheckSizeFor(plan->from, plan->size);
    for (const Route* r : {&plan->route, &plan->after})
        for (const Step* step : *r)
            if (why.empty()) why = CheckSizeFor(step->to, plan->size);
    if (!why.empty()) {
        *error = std::to_string(plan->size.width) + "x" + std::to_string(plan->size.height) + ": " + why;
        return false;
    }
    return true;
}

// Each kind of work is one FrameOperation here, with conversions to and from
// the format it needs around it.
void BuildPipeline(const Settings& s, const Plan& plan, ITessiva* library, Pipeline* pipeline) {
    if (s.fields == FieldStep::kNone) {
        pipeline->Add(
            std::make_unique<ConvertOperation>(library, s.level, plan.route, plan.from, plan.to, plan.size));
        return;
    }
    constexpr PixelFormat kRGB32 = PixelFormat::RGB32;
    if (!plan.route.empty())
        pipeline->Add(std::make_unique<ConvertOperation>(library, s.level, plan.route, plan.from, kRGB32, plan.size));
    pipeline->Add(MakeFieldOperation(library, s.fields, s.fieldMode, plan.size));
    if (!plan.after.empty())
        pipeline->Add(std::make_unique<ConvertOperation>(library, s.level, plan.after, kRGB32, plan.to, plan.size));
}

// The first frame that reaches the output, as a PNG picture.
class PngPreview {
public:
    PngPreview(const std::string& path, ITessiva* library, int level) : path_(path), library_(library), level_(level) {}
    bool Wanted() const { return !path_.empty() && !done_; }

    bool Write(const Frame& frame, std::string* error) {
        done_ = true;
        Route route;
        if (!PlanRoute(frame.format, PixelFormat::RGB32, false, true, &route)) {
            *error = std::string("no way to show ") + FormatName(frame.format) + " as a picture";
            return false;
        }
        Converter converter(library_, level_, route, frame.format, PixelFormat::RGB32, frame.size);
        std::vector<uint8_t> rgb32;
        if (!converter.Run(frame.bytes.data(), &rgb32, error)) return false;
        const FrameSize size = frame.size;
        const std::vector<uint8_t> png =
            EncodePng(rgb32.data(), size.width, size.height, PackedPitch(PixelFormat::RGB32, size.width));
        if (path_ != "-") return WriteFile(path_, png, error);
        FILE* out = BinaryStdout();
        if (std::fwrite(png.data(), 1, png.size(), out) != png.size() || std::fflush(out) != 0) {
            *error = "cannot write the PNG to standard output";
            return false;
        }
        return true;
    }
    std::string Describe(const Frame& frame) const {
        Route route;
        PlanRoute(frame.format, PixelFormat::RGB32, false, true, &route);
        return "png: " + DescribeRoute(frame.format, route);
    }

private:
    std::string path_;
    ITessiva* library_;
    int level_;
    bool done_ = false;
};

int Run(int argc, char** argv) {
    Settings settings;
    std::string error;
    if (!ParseArguments(argc - 1, argv + 1, &settings, &error)) return Fail(kExitUsage, error);
    if (settings.help) {
        std::fputs(UsageText().c_str(), stdout);
        return 0;
    }
    Plan plan;
    if (!MakePlan(settings, &plan, &error)) return Fail(kExitUsage, error);
    if (plan.size.width % 2 != 0 && (!plan.route.empty() || !plan.after.empty()))
        Note("warning: odd width: the library's routines at some levels leave the last column unconverted");

    Library library;
    if (!library.Load(&error)) return Fail(kExitFailure, error);
    Pipeline pipeline;
    BuildPipeline(settings, plan, library.converter(), &pipeline);
    if (settings.verbose)
        for (const auto& operation : pipeline.operations()) Note(operation->Describe());

    RawInput input;
    RawOutput output;
    std::vector<uint8_t> card;
    if (plan.card) card = DrawTestCard(plan.size);
    else if (!input.Open(settings.input, &error)) return Fail(kExitFailure, error);
    if (!settings.output.empty() && !output.Open(settings.output, &error)) return Fail(kExitFailure, error);
    PngPreview preview(settings.png, library.converter(), settings.level);

    int64_t read = 0, written = 0;
    auto deliver = [&](std::vector<Frame>& frames) {
        for (const Frame& f : frames) {
            if (preview.Wanted()) {
                if (settings.verbose) Note(preview.Describe(f));
                if (!preview.Write(f, &error)) return false;
            }
            if (!settings.output.empty() && !output.Write(f.bytes.data(), f.bytes.size(), &error)) return false;
            ++written;
        }
        return true;
    };
    while (plan.frames < 0 || read < plan.frames) {
        Frame frame;
        frame.format = plan.from;
        frame.size = plan.size;
        if (plan.card) {
            frame.bytes = card;
        } else {
            frame.bytes.resize(FrameBytes(plan.from, plan.size));
            const RawInput::Result r = input.Read(frame.bytes.data(), frame.bytes.size(), &error);
            if (r == RawInput::kEnd) break;
            if (r == RawInput::kError) return Fail(kExitFailure, error);
        }
        ++read;
        std::vector<Frame> done;
        if (!pipeline.Push(std::move(frame), &done, &error) || !deliver(done))
            return Fail(kExitFailure, error);
    }
    std::vector<Frame> rest;
    if (!pipeline.Finish(&rest, &error) || !deliver(rest)) return Fail(kExitFailure, error);
    if (!output.Close(&error)) return Fail(kExitFailure, error);
    if (read == 0) return Fail(kExitFailure, "the input holds no frame");
    if (settings.verbose)
        Note(std::to_string(read) + " frame(s) read, " + std::to_string(written) + " written");
    return 0;
}

}  // namespace
}  // namespace tessiva::tool

int main(int argc, char** argv) {
    try {
        return tessiva::tool::Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return tessiva::tool::Fail(tessiva::tool::kExitFailure, "out of memory");
    }
}
