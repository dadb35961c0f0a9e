#include "options.h"

#include <algorithm>

namespace tessiva::tool {
namespace {

using Apply = bool (*)(const std::string& value, Settings* s, std::string* error);

struct Option {
    const char* name;       // without the leading "--"
    const char* shortName;  // without the leading "-"; null when there is none
    const char* argument;   // null for a switch
    const char* help;
    Apply apply;
};

bool ParseCount(const std::string& text, int64_t low, int64_t high, int64_t* value) {
    if (text.empty() || text.size() > 12) return false;
    int64_t v = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    if (v < low || v > high) return false;
    *value = v;
    return true;
}

bool FormatValue(const std::string& value, const char* option, PixelFormat* f, std::string* error) {
    if (ParseFormat(value, f)) return true;
    *error = std::string("unknown format '") + value + "' for --" + option + " (" + FormatNames() + ")";
    return false;
}

bool SetOverwrite(Overwrite policy, Settings* s, std::string* error) {
    if (s->overwriteGiven && s->overwrite != policy) {
        *error = "-y and -n cannot be used together";
        return false;
    }
    s->overwriteGiven = true;
    s->overwrite = policy;
    return true;
}

const Option kOptions[] = {
    {"from", nullptr, "FMT", "format of INPUT (needed with INPUT)",
     [](const std::string& v, Settings* s, std::string* e) {
         s->fromGiven = true;
         return FormatValue(v, "from", &s->from, e);
     }},
    {"to", nullptr, "FMT", "format of OUTPUT (default: the input's format)",
     [](const std::string& v, Settings* s, std::string* e) {
         s->toGiven = true;
         return FormatValue(v, "to", &s->to, e);
     }},
    {"size", "s", "WxH", "frame size (needed with INPUT; test card: default\n1920x1080)",
     [](const std::string& v, Settings* s, std::string* e) {
         s->sizeGiven = true;
         return ParseSize(v, &s->size, e);
     }},
    {"frames", nullptr, "N", "read at most N frames (test card: use it N times; default\nonce, twice for --fields weave)",
     [](const std::string& v, Settings* s, std::string* e) {
         if (ParseCount(v, 1, int64_t(1) << 40, &s->frames)) return true;
         *e = "--frames needs a positive whole number, not '" + v + "'";
         return false;
     }},
    {"invert", nullptr, nullptr, "mirror the picture vertically, with the library's\nInvert slots",
     [](const std::string&, Settings* s, std::string*) {
         s->invert = true;
         return true;
     }},
    {"fields", nullptr, "OP", "split, top, bottom or weave: work on the fields of the\nframes (see Fields below)",
     [](const std::string& v, Settings* s, std::string* e) {
         if (ParseFieldStep(v, &s->fields)) return true;
         *e = "unknown value '" + v + "' for --fields (split, top, bottom or weave)";
         return false;
     }},
    {"field-mode", nullptr, "MODE",
     "double or interpolate: how --fields split, top and\nbottom rebuild the missing lines (default double)",
     [](const std::string& v, Settings* s, std::string* e) {
         s->fieldModeGiven = true;
         if (ParseFieldMode(v, &s->fieldMode)) return true;
         *e = "unknown value '" + v + "' for --field-mode (double or interpolate)";
         return false;
     }},
    {"level", nullptr, "N",
     "cap the library's instruction-set level at N: 0 none,\n1 MMX, 2 SSE, 3 SSE2, 4 SSE4.1, 6 AVX2 (Linux only;\n"
     "default: the best the processor offers)",
     [](const std::string& v, Settings* s, std::string* e) {
         int64_t level = 0;
         if (ParseCount(v, 0, 6, &level) && level != 5) {
             s->level = static_cast<int>(level);
             return true;
         }
         *e = "--level needs 0, 1, 2, 3, 4 or 6, not '" + v + "'";
         return false;
     }},
    {"png", nullptr, "FILE", "also write the first output frame as an RGB PNG picture",
     [](const std::string& v, Settings* s, std::string* e) {
         if (v.empty()) {
             *e = "--png needs a file name";
             return false;
         }
         s->png = v;
         return true;
     }},
    {"overwrite", "y", nullptr, "replace OUTPUT and the --png file if they exist",
     [](const std::string&, Settings* s, std::string* e) { return SetOverwrite(Overwrite::kYes, s, e); }},
    {"no-overwrite", "n", nullptr, "never replace an existing file (the default)",
     [](const std::string&, Settings* s, std::string* e) { return SetOverwrite(Overwrite::kNever, s, e); }},
    {"verbose", nullptr, nullptr, "report the steps and the frame count on standard\nerror",
     [](const std::string&, Settings* s, std::string*) {
         s->verbose = true;
         return true;
     }},
    {"quiet", nullptr, nullptr, "no progress line (shown on a terminal once a run takes\nmore than a second)",
     [](const std::string&, Settings* s, std::string*) {
         s->quiet = true;
         return true;
     }},
    {"help", "h", nullptr, "show this text",
     [](const std::string&, Settings* s, std::string*) {
         s->help = true;
         return true;
     }},
};

const Option* FindOption(const std::string& name, bool shortName) {
    for (const Option& o : kOptions)
        if (shortName ? o.shortName && name == o.shortName : name == o.name) return &o;
    return nullptr;
}

}  // namespace

bool ParseArguments(int count, const char* const* args, Settings* settings, std::string* error) {
    std::string positional[2];
    int positionals = 0;
    bool optionsEnded = false;
    for (int i = 0; i < count; ++i) {
        const std::string arg = args[i];
        if (optionsEnded || arg == "-" || arg.empty() || arg[0] != '-') {
            if (positionals == 2) {
                *error = "too many file names ('" + arg + "'): give at most INPUT and OUTPUT";
                return false;
            }
            positional[positionals++] = arg;
            continue;
        }
        if (arg == "--") {
            optionsEnded = true;
            continue;
        }
        // "--name", "--name=VALUE" or "-n"; a short name takes its value
        // from the next argument, as ffmpeg's do.
        const bool isLong = arg.compare(0, 2, "--") == 0;
        const std::size_t equals = isLong ? arg.find('=') : std::string::npos;
        const std::string name =
            arg.substr(isLong ? 2 : 1, equals == std::string::npos ? std::string::npos : equals - 2);
        const Option* option = FindOption(name, !isLong);
        const std::string shown = (isLong ? "--" : "-") + name;
        if (!option) {
            *error = "unknown option '" + shown + "'";
            return false;
        }
        std::string value;
        if (option->argument) {
            if (equals != std::string::npos) {
                value = arg.substr(equals + 1);
            } else if (i + 1 < count) {
                value = args[++i];
            } else {
                *error = shown + " needs a value (" + option->argument + ")";
                return false;
            }
        } else if (equals != std::string::npos) {
            *error = shown + " takes no value";
            return false;
        }
        if (!option->apply(value, settings, error)) return false;
    }
    // One name is OUTPUT (the test card is the input); two are INPUT and OUTPUT.
    if (positionals == 1) settings->output = positional[0];
    if (positionals == 2) {
        settings->input = positional[0];
        settings->output = positional[1];
    }
    return true;
}

std::string UsageText() {
    std::string text =
        "Usage: tessiva-convert [options] [INPUT] [OUTPUT]\n"
        "\n"
        "Converts raw video frames with the Tessiva library, through its exported\n"
        "interface as a host uses it. With two names, frames are read from INPUT\n"
        "until it ends; with one name, that name is OUTPUT and the built-in test card\n"
        "is converted; with none, only --png is written. \"-\" is standard input or\n"
        "output. Frames are packed without padding, one after another.\n"
        "\n"
        "Files: an existing OUTPUT or --png file is replaced only with -y. Files are\n"
        "written under a temporary name beside their own and renamed into place when\n"
        "the whole run has succeeded; a failed run leaves no file behind and an\n"
        "existing one as it was. An output that is the input (the same file under any\n"
        "name or link) is refused. Standard output is written as frames are done.\n"
        "\n"
        "Options:\n";
    // Help texts start in one column, after the widest option; a '\n' in a
    // help text continues it on the next line in that column.
    auto left = [](const Option& o) {
        return std::string(o.shortName ? "  -" + std::string(o.shortName) + ", --" : "      --") + o.name +
               (o.argument ? std::string(" ") + o.argument : "");
    };
    std::size_t column = 0;
    for (const Option& o : kOptions) column = std::max(column, left(o).size() + 2);
    for (const Option& o : kOptions) {
        std::string line = left(o);
        line.resize(column, ' ');
        for (const char* c = o.help; *c; ++c) {
            line += *c;
            if (*c == '\n') line.append(column, ' ');
        }
        text += line + "\n";
    }
    text +=
        "\n"
        "Formats (FMT), their bytes and the ffmpeg -f rawvideo -pix_fmt with the same\n"
        "bytes; FMT may be either name:\n"
        "  rgb32   bgra      B, G, R, A per pixel\n"
        "  rgb24   bgr24     B, G, R per pixel (write only)\n"
        "  yuv32   -         V, U, Y, A per pixel; ffmpeg has no such format\n"
        "  yuy2    yuyv422   Y0, U, Y1, V per pair of pixels (even width)\n"
        "  yv12    -         planes Y, V, U, chroma halved both ways (even width and\n"
        "                    height); ffmpeg has no yv12: its yuv420p holds U before V,\n"
        "                    so read yv12 as yuv420p and swap them: -vf shuffleplanes=0:2:1\n"
        "  nv12    nv12      plane Y, then one plane of U, V pairs (write only; even\n"
        "                    width and height)\n"
        "YUV is BT.601 studio range (ffmpeg: -colorspace smpte170m -color_range tv).\n"
        "\n"
        "Every conversion runs through the library's interface, through rgb32 or yuv32\n"
        "when no slot converts directly. No slot writes nv12 in host memory: nv12 is\n"
        "the library's yv12 with U and V interleaved (the same samples). Nothing is\n"
        "read from rgb24 or nv12: the library has no reader for them in host memory.\n"
        "The PNG shows the output frame converted to RGB by the library (rgb24 and\n"
        "nv12 are first laid out as rgb32 and yv12, moving bytes only).\n"
        "\n"
        "Fields (--fields): the frames are taken as interlaced, their even lines\n"
        "(0, 2, ...) the top field and their odd lines the bottom field. The step\n"
        "works on rgb32: frames of another format are converted to rgb32 first and to\n"
        "the output format afterwards, all by the library; --invert mirrors the frames\n"
        "after the step, so the fields are those of INPUT.\n"
        "  split   each frame becomes two: the top field's frame (even lines kept, odd\n"
        "          lines rebuilt), then the bottom field's (odd lines kept)\n"
        "  top     each frame keeps its top field; the odd lines are rebuilt\n"
        "  bottom  each frame keeps its bottom field; the even lines are rebuilt\n"
        "  weave   each pair of frames A, B becomes one frame of A's even lines and\n"
        "          B's odd lines; an odd number of frames is an error (status 1 when\n"
        "          the input ends on an unpaired frame, which is not written)\n"
        "--field-mode double repeats the nearest line of the kept field (the line\n"
        "above for the top field, below for the bottom field); interpolate takes the\n"
        "mean of the kept lines above and below, rounded as the library's routines for\n"
        "this processor (or --level) round.\n"
        "\n"
        "Test card: colour bars, a grey ramp, a zone plate and one-pixel line\n"
        "patterns for judging chroma sub-sampling and fields; drawn as rgb32.\n"
        "\n"
        "Example, as part of an ffmpeg pipe:\n"
        "  ffmpeg -i in.mp4 -vf scale=1920:1080 -f rawvideo -pix_fmt bgra - |\n"
        "    tessiva-convert --from bgra -s 1920x1080 --to yuyv422 - - |\n"
        "    ffmpeg -f rawvideo -pix_fmt yuyv422 -s 1920x1080 -r 25 -i - out.mkv\n"
        "\n"
        "Each field of an interlaced clip as a frame of its own, at twice the rate:\n"
        "  ffmpeg -i in.mkv -f rawvideo -pix_fmt yuyv422 - |\n"
        "    tessiva-convert --from yuy2 --size 1920x1080 --fields split - - |\n"
        "    ffmpeg -f rawvideo -pix_fmt yuyv422 -s 1920x1080 -r 50 -i - fields.mkv\n"
        "\n"
        "Exit status: 0 done; 1 a failure while converting; 2 bad arguments, or an\n"
        "output refused before anything was read (the input itself, or an existing\n"
        "file without -y).\n";
    return text;
}

}  // namespace tessiva::tool
