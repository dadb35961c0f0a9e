// tessiva-convert: raw frames (or the built-in test card) in, raw frames of
// another pixel format out, every conversion done by the Tessiva library loaded
// at run time. Run with --help for the usage.
#include <chrono>
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
#include "system.h"
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
    if (s.level >= 0 && !LevelCapAvailable(error)) return false;
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
    if (why.empty()) why = CheckSizeFor(plan->to, plan->size);
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
        pipeline->Add(std::make_unique<ConvertOperation>(library, plan.route, plan.from, plan.to, plan.size));
        return;
    }
    constexpr PixelFormat kRGB32 = PixelFormat::RGB32;
    if (!plan.route.empty())
        pipeline->Add(std::make_unique<ConvertOperation>(library, plan.route, plan.from, kRGB32, plan.size));
    pipeline->Add(MakeFieldOperation(library, s.fields, s.fieldMode, plan.size));
    if (!plan.after.empty())
        pipeline->Add(std::make_unique<ConvertOperation>(library, plan.after, kRGB32, plan.to, plan.size));
}

std::string Shown(const std::string& path) { return path == "-" ? "standard output" : "'" + path + "'"; }

// Refusals made before anything is opened for writing: an output that is the
// input (the same file under any name), OUTPUT and --png naming one file, and
// an existing file without -y. `input` is the opened input, if any.
bool CheckOutputs(const Settings& s, const FileIdentity& input, std::string* error) {
    const std::string* paths[2] = {&s.output, &s.png};
    FileIdentity identities[2];
    for (int i = 0; i < 2; ++i) {
        const std::string& path = *paths[i];
        if (path.empty()) continue;
        const bool stdOut = path == "-";
        identities[i] = stdOut ? IdentifyStream(stdout) : IdentifyPath(path);
        if (identities[i].SameFile(input)) {
            *error = Shown(path) + " is the input file" + (s.input == "-" ? "" : " '" + s.input + "'") +
                     ": write the output to another file";
            return false;
        }
        if (i == 1 && !stdOut && (path == s.output || identities[1].SameFile(identities[0]))) {
            *error = "OUTPUT and --png name the same file " + Shown(path);
            return false;
        }
        if (!stdOut && identities[i].regular && s.overwrite != Overwrite::kYes) {
            *error = Shown(path) + (s.overwrite == Overwrite::kNever ? " exists; -n keeps it"
                                                                     : " exists: give -y to replace it");
            return false;
        }
    }
    return true;
}

// Frames written and frames per second on standard error, redrawn in place at
// most twice a second once the run has taken a second. Only on a terminal.
class Progress {
public:
    explicit Progress(bool enabled) : enabled_(enabled), start_(Clock::now()) {}
    ~Progress() { End(); }

    void Update(int64_t frames) {
        frames_ = frames;
        if (!enabled_) return;
        const Clock::time_point now = Clock::now();
        if (now - start_ < std::chrono::seconds(1) || (shown_ && now - last_ < std::chrono::milliseconds(500)))
            return;
        Show(now);
    }
    // Finishes the line with the final figures, so that what follows starts
    // on a line of its own.
    void End() {
        if (!shown_) return;
        Show(Clock::now());
        std::fputc('\n', stderr);
        shown_ = false;
    }

private:
    using Clock = std::chrono::steady_clock;
    void Show(Clock::time_point now) {
        const double seconds = std::chrono::duration<double>(now - start_).count();
        std::fprintf(stderr, "\rtessiva-convert: %lld frames, %.1f fps   ", static_cast<long long>(frames_),
                     seconds > 0 ? double(frames_) / seconds : 0.0);
        std::fflush(stderr);
        shown_ = true;
        last_ = now;
    }

    bool enabled_;
    bool shown_ = false;
    int64_t frames_ = 0;
    Clock::time_point start_, last_;
};

// The first frame that reaches the output, as a PNG picture.
class PngPreview {
public:
    PngPreview(OutputFile* file, ITessiva* library) : file_(file), library_(library) {}
    bool Wanted() const { return file_->IsOpen() && !done_; }

    bool Write(const Frame& frame, std::string* error) {
        done_ = true;
        Route route;
        if (!PlanRoute(frame.format, PixelFormat::RGB32, false, true, &route)) {
            *error = std::string("no way to show ") + FormatName(frame.format) + " as a picture";
            return false;
        }
        Converter converter(library_, route, frame.format, PixelFormat::RGB32, frame.size);
        std::vector<uint8_t> rgb32;
        if (!converter.Run(frame.bytes.data(), &rgb32, error)) return false;
        const FrameSize size = frame.size;
        const std::vector<uint8_t> png =
            EncodePng(rgb32.data(), size.width, size.height, PackedPitch(PixelFormat::RGB32, size.width));
        return file_->Write(png.data(), png.size(), error);
    }
    std::string Describe(const Frame& frame) const {
        Route route;
        PlanRoute(frame.format, PixelFormat::RGB32, false, true, &route);
        return "png: " + DescribeRoute(frame.format, route);
    }

private:
    OutputFile* file_;
    ITessiva* library_;
    bool done_ = false;
};

// Reads, converts and writes every frame. The outputs are committed by the
// caller only when this succeeds.
bool Convert(const Settings& settings, const Plan& plan, Pipeline* pipeline, RawInput* input, OutputFile* output,
             PngPreview* preview, Progress* progress, std::string* error) {
    std::vector<uint8_t> card;
    if (plan.card) card = DrawTestCard(plan.size);
    int64_t read = 0, written = 0;
    auto deliver = [&](std::vector<Frame>& frames) {
        for (const Frame& f : frames) {
            if (preview->Wanted()) {
                if (settings.verbose) Note(preview->Describe(f));
                if (!preview->Write(f, error)) return false;
            }
            if (output->IsOpen() && !output->Write(f.bytes.data(), f.bytes.size(), error)) return false;
            progress->Update(++written);
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
            const RawInput::Result r = input->Read(frame.bytes.data(), frame.bytes.size(), error);
            if (r == RawInput::kEnd) break;
            if (r == RawInput::kError) return false;
        }
        ++read;
        std::vector<Frame> done;
        if (!pipeline->Push(std::move(frame), &done, error) || !deliver(done)) return false;
    }
    std::vector<Frame> rest;
    if (!pipeline->Finish(&rest, error) || !deliver(rest)) return false;
    if (read == 0) {
        *error = "the input holds no frame";
        return false;
    }
    progress->End();
    if (settings.verbose) Note(std::to_string(read) + " frame(s) read, " + std::to_string(written) + " written");
    return true;
}

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

    RawInput input;
    if (!plan.card && !input.Open(settings.input, &error)) return Fail(kExitFailure, error);
    if (!CheckOutputs(settings, plan.card ? FileIdentity() : IdentifyStream(input.stream()), &error))
        return Fail(kExitUsage, error);
    if (plan.size.width % 2 != 0 && (!plan.route.empty() || !plan.after.empty()))
        Note("warning: odd width: the library's routines at some levels leave the last column unconverted");

    Library library;
    if (!library.Load(settings.level, &error)) return Fail(kExitFailure, error);
    Pipeline pipeline;
    BuildPipeline(settings, plan, library.converter(), &pipeline);
    if (settings.verbose)
        for (const auto& operation : pipeline.operations()) Note(operation->Describe());

    OutputFile output, png;
    if (!settings.output.empty() && !output.Open(settings.output, &error)) return Fail(kExitFailure, error);
    if (!settings.png.empty() && !png.Open(settings.png, &error)) return Fail(kExitFailure, error);
    PngPreview preview(&png, library.converter());
    Progress progress(!settings.quiet && IsTerminal(stderr));
    const bool done = Convert(settings, plan, &pipeline, &input, &output, &preview, &progress, &error) &&
                      png.Commit(&error) && output.Commit(&error);
    progress.End();
    // A failed run leaves no file behind: the outputs' destructors remove
    // what was written under temporary names.
    return done ? 0 : Fail(kExitFailure, error);
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
