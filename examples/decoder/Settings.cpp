#include "Settings.h"

#include "../common/Session.h"

namespace lx2::example {

namespace {

constexpr size_t kMostSlots = 1024;

// What is wrong with the value of an option, or empty.
std::string TakeValue(const std::string& option, const std::string& value, Settings* settings) {
    if (option == "--set") {
        settings->parameters.push_back(value);
    } else if (option == "--out") {
        settings->out = value;
        return CheckFolderName(value);
    } else if (!ReadNumber(value, &settings->slots) || settings->slots == 0 ||
               settings->slots > kMostSlots) {
        return "--slots takes a number from 1 to " + std::to_string(kMostSlots) + ", not \"" +
               value + "\"";
    }
    return "";
}

// Likewise of an argument that has none.
std::string Take(const std::string& argument, Settings* settings) {
    if (argument == "--params")
        settings->listParameters = true;
    else if (argument == "--verbose")
        settings->verbose = true;
    else if (argument == "--help" || argument == "-h")
        settings->help = true;
    else if (argument.empty())
        return "the name of FILE is empty";
    else if (argument[0] == '-')
        return "unknown option " + argument;
    else if (!settings->input.empty())
        return "one FILE at a time, not " + settings->input + " and " + argument;
    else
        settings->input = argument;
    return "";
}

}  // namespace

const char* const kUsage =
    "lx2_decoder [--out DIR] [--set NAME=VALUE]... [--params] [--verbose] [FILE]\n"
    "Decodes FILE (raw H.264 or H.265, VP8 or VP9 in IVF; a sample without FILE).\n"
    "  --out DIR         write bitstream.<ext>, frames.yuv, component.log and system.log to DIR\n"
    "  --set NAME=VALUE  set a parameter of the component; any number of times\n"
    "  --params          list the component's parameters and stop\n"
    "  --verbose         describe every buffer\n"
    "  --slots N         let the surface have N buffers (10)\n";

bool ParseArguments(int argc, char** argv, Settings* settings, std::string* error) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const bool takesValue = argument == "--out" || argument == "--set" || argument == "--slots";
        if (takesValue && i + 1 == argc)
            *error = argument + " needs a value";
        else
            *error =
                takesValue ? TakeValue(argument, argv[++i], settings) : Take(argument, settings);
        if (!error->empty())
            return false;
    }
    return true;
}

}  // namespace lx2::example
