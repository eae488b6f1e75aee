#include "Report.h"

#include <C2Config.h>
#include <android/log.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2host/LogSink.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "Options.h"

namespace lx2::example {

std::string Report::begin(const std::string& folder) {
    mStart = std::chrono::steady_clock::now();
    mTerminal = isatty(STDOUT_FILENO) != 0;
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
    const char* clear = mTerminal ? "\r\033[K" : "";
    host::SetLogSink([file, clear](int priority, const char* tag, const char* text) {
        if (file != nullptr)
            fprintf(file.get(), "%d %s: %s\n", priority, tag, text);
        else if (priority >= ANDROID_LOG_WARN)
            fprintf(stderr, "%s%s: %s\n", clear, tag, text);
    });
    return "";
}

void Report::error(const std::string& where, const std::string& what) {
    const auto same = std::find_if(mErrors.begin(), mErrors.end(),
                                   [&](const Error& error) { return error.what == what; });
    if (same == mErrors.end())
        mErrors.push_back({where, what, 1});
    else
        ++same->count;
}

void Report::check(const host::Client::Output& output) {
    const std::string where = "work " + std::to_string(output.frameIndex);
    if (output.result != C2_OK)
        error(where, "failed with status " + std::to_string(output.result));
    else if ((output.flags & C2FrameData::FLAG_CORRUPT) != 0)
        error(where, "its picture is damaged");
}

void Report::check(const host::Client& client) {
    if (client.fatalError() != C2_OK)
        error("the component", "failed with status " + std::to_string(client.fatalError()));
    else if (client.pending() != 0)
        error("the component", "does not give " + std::to_string(client.pending()) + " works back");
}

void Report::checkFile(const std::string& path, uint64_t bytes) {
    std::error_code none;
    const uint64_t there = std::filesystem::file_size(path, none);
    if (none || there < bytes)
        error(path, "holds " + std::to_string(none ? 0 : there) + " of " + std::to_string(bytes) +
                        " bytes: is the disk full?");
}

void Report::color(const host::Client& client) {
    const auto color = client.query<C2StreamColorAspectsInfo::output>();
    if (!color)
        return;
    std::string line = std::string(LX2ColorAspects::Str(color->primaries)) + " " +
                       LX2ColorAspects::Str(color->transfer) + " " +
                       LX2ColorAspects::Str(color->matrix) + " " +
                       LX2ColorAspects::Str(color->range);
    std::string hdr;
    const auto info = client.query<C2StreamHdrStaticInfo::output>();
    if (info && info->mastering.red.x != 0)
        line += ", " + LX2ColorHsi::AsString(*info, &hdr);
    text("color", line);
}

void Report::progress(const char* what, uint64_t count) {
    if (mTerminal && count % 16 == 0) {
        printf("\r%s %llu", what, static_cast<unsigned long long>(count));
        fflush(stdout);
    }
}

void Report::text(const char* what, const std::string& text) {
    printf("  %-22s %s\n", what, text.c_str());
}

void Report::speed(uint64_t frames) const {
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - mStart;
    count("frames a second", static_cast<uint64_t>(static_cast<double>(frames) / seconds.count()));
}

int Report::conclude() const {
    for (const auto& [where, what, count] : mErrors) {
        const std::string times = count > 1 ? " (" + std::to_string(count) + " times)" : "";
        printf("error: %s: %s%s\n", where.c_str(), what.c_str(), times.c_str());
    }
    return mErrors.empty() ? 0 : kExitFailed;
}

}  // namespace lx2::example
