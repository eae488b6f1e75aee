// The command line.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace lx2::example {

constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

struct Options {
    enum class Mode { Decode, Encode, Check, ListParams, Help } mode = Mode::Decode;
    std::string file;       // the program's own sample when empty
    std::string component;  // path of a library; the example's own when empty
    std::string out;        // folder; nothing is written when empty
    size_t slots = 10;
    std::vector<std::pair<std::string, std::string>> settings;  // keys and values
};

extern const char* const kUsage;

// False with one line in *error.
bool ParseOptions(int argc, char** argv, Options* options, std::string* error);

}  // namespace lx2::example
