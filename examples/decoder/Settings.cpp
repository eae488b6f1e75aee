#include "Settings.h"

#include <cstdlib>

namespace lx2::example {

const char* const kUsage =
    "lx2_decoder [--out DIR] [--set NAME=VALUE]... [--params] [--verbose] [FILE]\n"
    "Decodes FILE (raw H.264 or H.265, VP8 or VP9 in IVF; a sample without FILE).\n"
    "  --out DIR         write bitstream.<ext>, frames.yuv and component.log to DIR\n"
    "  --set NAME=VALUE  set a parameter of the component; any number of times\n"
    "  --params          list the component's parameters and stop\n"
    "  --verbose         describe every buffer\n"
    "  --slots N         let the surface have N buffers (10)\n";

bool ParseArguments(int argc, char** argv, Settings* settings, std::string* error) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool takesValue = argument == "--out" || argument == "--set" || argument == "--slots";
        if (takesValue && i + 1 == argc) {
            *error = argument + " needs a value";
            return false;
        }
        if (argument == "--out")
            settings->out = argv[++i];
        else if (argument == "--set")
            settings->parameters.emplace_back(argv[++i]);
        else if (argument == "--slots")
            settings->slots = std::strtoul(argv[++i], nullptr, 10);
        else if (argument == "--params")
            settings->listParameters = true;
        else if (argument == "--verbose")
            settings->verbose = true;
        else if (argument == "--help")
            settings->help = true;
        else if (argument.empty()) {
            *error = "the name of FILE is empty";
            return false;
        } else if (argument[0] == '-') {
            *error = "unknown option " + argument;
            return false;
        } else {
            settings->input = argument;
        }
    }
    return true;
}

}  // namespace lx2::example
