// A framework on a workstation: loads a Codec 2.0 component, decodes or encodes a clip with it, and
// says what it did, what was wrong, and what is left open.
#include <lx2host/LogSink.h>
#include <lx2host/OpenResources.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

extern "C" {
#include <libavutil/log.h>
}

#include "Parameters.h"
#include "Session.h"

namespace lx2::example {

namespace {

std::filesystem::path ProgramFolder() {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/exe", none).parent_path();
}

int Refuse(const std::string& error, int status) {
    fprintf(stderr, "lx2_client: %s\n", error.c_str());
    return status;
}

// Everything that lives while the component does, so that all of it is gone when this returns.
// *played: whether work was done.
int RunComponent(const Options& options, const std::shared_ptr<host::ComponentLibrary>& library,
                 bool* played) {
    const auto component = library->createComponent();
    if (component == nullptr)
        return Refuse("the factory makes no component", kExitFailed);
    Parameters parameters(*component->intf());
    if (options.mode == Options::Mode::ListParams) {
        parameters.list();
        return 0;
    }
    // Unknown parameters are refused before anything is read.
    const auto trial = library->createComponent();
    std::string error = parameters.set(trial->intf().get(), options.settings);
    trial->release();
    if (!error.empty())
        return Refuse(error, kExitUsage);
    Report report;
    error = report.begin(options.out);
    if (!error.empty())
        return Refuse(error, kExitFailed);
    host::Client client(component);
    const bool encode = options.mode == Options::Mode::Encode;
    if (!(encode ? Encode : Decode)(options, &parameters, &client, &report, &error))
        return Refuse(error, kExitFailed);
    *played = true;
    client.stop();
    report.errors("framework", client.failures());
    return report.conclude();
}

int Run(const Options& options) {
    std::string error;
    host::SetLogSink([](int, const char*, const char*) {});  // until a Report takes the log
    const bool encode = options.mode == Options::Mode::Encode;
    const char* own = encode ? "liblx2_encoder.so" : "liblx2_decoder.so";
    const auto library = host::ComponentLibrary::Open(
        options.component.empty() ? (ProgramFolder() / "../lib" / own).string() : options.component,
        &error);
    if (library == nullptr)
        return Refuse(error, kExitFailed);
    if (options.mode == Options::Mode::Check) {
        const int status = Check(options, library, &error);
        return error.empty() ? status : Refuse(error, kExitFailed);
    }
    const host::OpenResources before;
    bool played = false;
    const int status = RunComponent(options, library, &played);
    host::SetLogSink(nullptr);  // closes the log file
    const auto left = before.leftOpen();
    for (const std::string& line : left)
        printf("left open: %s\n", line.c_str());
    if (left.empty() && played)
        printf("nothing is left open\n");
    return left.empty() ? status : kExitFailed;
}

}  // namespace

std::string SamplePath(const char* name) {
    const auto installed = ProgramFolder() / "../share/lx2/samples" / name;
    std::error_code none;
    return std::filesystem::exists(installed, none) ? installed.string()
                                                    : std::string(LX2_SAMPLES_DIR "/") + name;
}

}  // namespace lx2::example

int main(int argc, char** argv) {
    using namespace lx2::example;
    av_log_set_level(AV_LOG_QUIET);  // what is wrong is said in lines of this program's own
    Options options;
    std::string error;
    if (!ParseOptions(argc, argv, &options, &error)) {
        fprintf(stderr, "lx2_client: %s\n%s", error.c_str(), kUsage);
        return kExitUsage;
    }
    if (options.mode == Options::Mode::Help)
        printf("%s", kUsage);
    const int status = options.mode == Options::Mode::Help ? 0 : Run(options);
    if (fflush(stdout) != 0 || ferror(stdout) != 0) {
        fprintf(stderr, "lx2_client: standard output: %s\n", strerror(errno));
        return kExitFailed;
    }
    return status;
}
