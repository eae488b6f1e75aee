// The command lines of the programs around the components.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace lx2::example {

struct CommonSettings {
    std::string input;                    // what the program has of its own when empty
    std::string out;                      // directory of dumps and log; none when empty
    std::vector<std::string> parameters;  // name=value
    bool listParameters = false;
    bool verbose = false;  // describe every buffer
    bool help = false;
};

// An option of a program's own: takes its value, and returns what is wrong with it or nothing.
struct Option {
    const char* name;
    bool hasValue;
    std::function<std::string(const std::string& value)> take;
};

// Takes the arguments, those that both programs know too. Returns what is wrong in one line, or
// nothing.
std::string ParseOptions(int argc, char** argv, const std::vector<Option>& options,
                         CommonSettings* settings);

}  // namespace lx2::example
