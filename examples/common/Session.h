// What the programs around the components share: arguments, the platform's log, errors, the end.
#pragma once

#include <lx2host/OpenResources.h>

#include <charconv>
#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

constexpr int kExitDamaged = 1;
constexpr int kExitUsage = 2;

// The whole text as a number.
template <typename Number>
bool ReadNumber(const std::string& text, Number* number) {
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, *number);
    return result.ec == std::errc() && result.ptr == end;
}

// What is wrong with a folder for dumps in a few words, or empty.
std::string CheckFolderName(const std::string& folder);

// Makes the folder and sends the platform's log into a file there, or without a folder to standard
// error: warnings, all of it when verbose, and clear of the line that shows the progress. Empty on
// success, else what is wrong in one line.
std::string BeginOutput(const std::string& folder, bool verbose);

// The same error of several places is kept once.
class Errors {
  public:
    void add(const std::string& where, const std::string& what);
    bool empty() const { return mErrors.empty(); }
    void print() const;

  private:
    struct Error {
        std::string where;
        std::string what;
        uint64_t count;
    };
    std::vector<Error> mErrors;
};

void PrintCount(const char* what, uint64_t count);
void PrintText(const char* what, const std::string& text);

// The last lines. Returns the program's exit status.
int Conclude(const host::OpenResources& before, bool clean);

}  // namespace lx2::example
