#include "Options.h"

#include <getopt.h>

#include <charconv>
#include <filesystem>
#include <system_error>

namespace lx2::example {

namespace {

constexpr size_t kMostSlots = 64;
// A dump's path has 127 characters at most.
constexpr size_t kLongestFolder = 127 - sizeof("/frames_9999.yuv");

std::string ReadSlots(const std::string& text, size_t* slots) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *slots);
    const bool good =
        result.ec == std::errc() && result.ptr == end && *slots > 0 && *slots <= kMostSlots;
    return good ? ""
                : "--slots takes a number from 1 to " + std::to_string(kMostSlots) + ", not \"" +
                      text + "\"";
}

std::string ReadFolder(const std::string& text, std::string* out) {
    *out = text;
    return text.empty() ? "the name of DIR is empty"
           : text.size() > kLongestFolder
               ? "the name of DIR has more than " + std::to_string(kLongestFolder) + " characters"
               : "";
}

}  // namespace

const char* const kUsage =
#include "Usage.inc"
    ;

bool ParseOptions(int argc, char** argv, Options* options, std::string* error) {
    enum { kEncode = 1, kComponent, kCheck, kSet, kList, kOut, kSlots, kHelp };
    static const option kOptions[] = {
        {"encode", no_argument, nullptr, kEncode},
        {"component", required_argument, nullptr, kComponent},
        {"check", required_argument, nullptr, kCheck},
        {"set", required_argument, nullptr, kSet},
        {"list-params", no_argument, nullptr, kList},
        {"out", required_argument, nullptr, kOut},
        {"slots", required_argument, nullptr, kSlots},
        {"help", no_argument, nullptr, kHelp},
        {nullptr, 0, nullptr, 0},
    };
    opterr = 0;
    for (int found; (found = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;) {
        const std::string value = optarg == nullptr ? "" : optarg;
        const size_t equals = value.find('=');
        switch (found) {
            case kEncode:
                options->mode = Options::Mode::Encode;
                break;
            case kList:
                options->mode = Options::Mode::ListParams;
                break;
            case kComponent:
                options->component = value;
                break;
            case kOut:
                *error = ReadFolder(value, &options->out);
                break;
            case kSlots:
                *error = ReadSlots(value, &options->slots);
                break;
            case kHelp:
                options->mode = Options::Mode::Help;
                return true;
            case kCheck:
                options->mode = Options::Mode::Check;
                options->component = value;
                break;
            case kSet:
                if (equals == std::string::npos)
                    *error = "--set takes KEY=VALUE, not \"" + value + "\"";
                else
                    options->settings.emplace_back(value.substr(0, equals),
                                                   value.substr(equals + 1));
                break;
            default:
                *error =
                    std::string("unknown option, or one without its value: ") + argv[optind - 1];
        }
        if (!error->empty())
            return false;
    }
    if (argc - optind > 1) {
        *error = std::string("more than one FILE: ") + argv[optind + 1];
        return false;
    }
    if (optind < argc)
        options->file = argv[optind];
    return true;
}

}  // namespace lx2::example
