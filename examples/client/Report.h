// What the program prints: errors, each once, the figures at its end, the progress.
#pragma once

#include <lx2host/Client.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

class Report {
  public:
    // Takes the platform's log: into a file in the folder, or warnings and errors to standard error
    // without a folder. Makes the folder. Empty, or what is wrong in one line.
    std::string begin(const std::string& folder);

    // An error of one place. The same one of further places is counted.
    void error(const std::string& where, const std::string& what);
    void errors(const std::string& where, const std::vector<std::string>& all) {
        for (const std::string& what : all)
            error(where, what);
    }
    // The errors that an output tells of.
    void check(const host::Client::Output& output);

    // A fatal error of the component, and works that it does not give back.
    void check(const host::Client& client);
    // Bytes of a file that were written and are not there.
    void checkFile(const std::string& path, uint64_t bytes);

    // Shows a count on a terminal.
    void progress(const char* what, uint64_t count);

    static void count(const char* what, uint64_t count) { text(what, std::to_string(count)); }
    static void text(const char* what, const std::string& text);
    // The colors that the component's output has.
    static void color(const host::Client& client);
    // "N frames a second", by the wall clock since begin().
    void speed(uint64_t frames) const;

    // Prints the errors. The status to exit with.
    int conclude() const;

  private:
    struct Error {
        std::string where;
        std::string what;
        uint64_t count;
    };
    std::vector<Error> mErrors;
    std::chrono::steady_clock::time_point mStart;
    bool mTerminal = false;
};

}  // namespace lx2::example
