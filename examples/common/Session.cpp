#include "Session.h"

#include <android/log.h>
#include <lx2host/LogSink.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace lx2::example {

namespace {

// The longest name of a file in a folder, and what a dump takes of a path.
constexpr const char* kLongestName = "/frames_9999.yuv";
constexpr size_t kLongestPath = 127;

}  // namespace

std::string CheckFolderName(const std::string& folder) {
    if (folder.empty())
        return "the name of DIR is empty";
    if (folder.size() + std::char_traits<char>::length(kLongestName) > kLongestPath)
        return "the name of DIR is too long: a dump's path has " + std::to_string(kLongestPath) +
               " characters at most";
    return "";
}

std::string BeginOutput(const std::string& folder, bool verbose) {
    std::shared_ptr<FILE> file;
    if (!folder.empty()) {
        std::error_code failure;
        std::filesystem::create_directories(folder, failure);
        if (failure)
            return folder + ": " + failure.message();
        const std::string path = folder + "/system.log";
        file.reset(fopen(path.c_str(), "we"),
                   [](FILE* open) { return open != nullptr ? fclose(open) : 0; });
        if (file == nullptr)
            return path + ": can't be made";
    }
    const bool progress = isatty(STDOUT_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
    host::SetLogSink([file, verbose, progress](int priority, const char* tag, const char* text) {
        if (file != nullptr)
            fprintf(file.get(), "%d %s: %s\n", priority, tag, text);
        else if (priority >= ANDROID_LOG_WARN || verbose)
            fprintf(stderr, "%s%s: %s\n", progress ? "\r\033[K" : "", tag, text);
    });
    return "";
}

void Errors::add(const std::string& where, const std::string& what) {
    const auto same = std::find_if(mErrors.begin(), mErrors.end(),
                                   [&what](const Error& error) { return error.what == what; });
    if (same == mErrors.end())
        mErrors.push_back({where, what, 1});
    else
        ++same->count;
}

void Errors::print() const {
    for (const auto& [where, what, count] : mErrors) {
        const std::string times = count > 1 ? " (" + std::to_string(count) + " times)" : "";
        printf("error: %s%s%s\n", where.c_str(), what.c_str(), times.c_str());
    }
}

void PrintCount(const char* what, uint64_t count) {
    PrintText(what, std::to_string(count));
}

void PrintText(const char* what, const std::string& text) {
    printf("  %-22s %s\n", what, text.c_str());
}

int Conclude(const host::OpenResources& before, bool clean) {
    const auto left = before.leftOpen();
    for (const std::string& line : left)
        printf("left open: %s\n", line.c_str());
    if (left.empty())
        printf("nothing is left open\n");
    return clean && left.empty() ? 0 : kExitDamaged;
}

}  // namespace lx2::example
