#include "Settings.h"

#include "../common/Session.h"

namespace lx2::example {

namespace {

constexpr size_t kMostSlots = 1024;

std::string TakeSlots(const std::string& value, size_t* slots) {
    if (ReadNumber(value, slots) && *slots > 0 && *slots <= kMostSlots)
        return "";
    return "--slots takes a number from 1 to " + std::to_string(kMostSlots) + ", not \"" + value +
           "\"";
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
    const Option slots{"--slots", true, [settings](const std::string& value) {
                           return TakeSlots(value, &settings->slots);
                       }};
    *error = ParseOptions(argc, argv, {slots}, settings);
    return error->empty();
}

}  // namespace lx2::example
