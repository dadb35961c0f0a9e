// Command line of tessiva-convert. Options are rows of one table (options.cpp):
// a new option is one row and one field of Settings. Long names take "--name
// VALUE" or "--name=VALUE"; the short names, as ffmpeg spells them, "-s VALUE".
#pragma once
#include <cstdint>
#include <string>

#include "fields.h"
#include "formats.h"

namespace tessiva::tool {

// What to do with an output file that exists already (ffmpeg's -y and -n).
enum class Overwrite { kRefuse, kYes, kNever };

struct Settings {
    bool fromGiven = false;
    PixelFormat from = PixelFormat::RGB32;
    bool toGiven = false;
    PixelFormat to = PixelFormat::RGB32;
    bool sizeGiven = false;
    FrameSize size{1920, 1080};
    int64_t frames = 0;  // 0: until the input ends (the test card: once, a pair for weave)
    bool invert = false;
    FieldStep fields = FieldStep::kNone;
    bool fieldModeGiven = false;
    FieldMode fieldMode = FieldMode::kDouble;
    int level = -1;      // cap of the library's instruction-set level; -1: none
    Overwrite overwrite = Overwrite::kRefuse;
    bool overwriteGiven = false;
    std::string png;     // empty: no preview
    bool verbose = false;
    bool quiet = false;
    bool help = false;
    std::string input;   // empty: the test card
    std::string output;  // empty: no raw output
};

// Fills `settings` from the arguments (argv[0] excluded: pass argc - 1, argv + 1).
// False with `error` set on a bad argument; the consistency of the whole is
// checked by the caller.
bool ParseArguments(int count, const char* const* args, Settings* settings, std::string* error);

std::string UsageText();

}  // namespace tessiva::tool
