#include <lx2host/ComponentChecks.h>

#include <cstdio>

#include "ReadStream.h"
#include "Session.h"

namespace lx2::example {

namespace {

// Long enough for every check, and decoded a dozen times in a short while.
constexpr size_t kMostUnits = 150;

}  // namespace

int Check(const Options& options, const std::shared_ptr<host::ComponentLibrary>& library,
          std::string* error) {
    std::vector<std::string> files;
    if (!options.file.empty())
        files = {options.file};
    std::vector<host::TestStream> streams;
    {
        const auto component = library->createComponent();
        if (component == nullptr) {
            *error = "the factory makes no component";
            return kExitFailed;
        }
        const auto type = host::MediaTypeOf(*component->intf());
        if (files.empty())
            for (const char* name :
                 {"avc.264", "avc_crop.264", "avc_resize.264", "hevc.265", "vp8.ivf", "vp9.ivf"})
                files.push_back(SamplePath(name));
        for (const std::string& file : files) {
            auto stream = ReadStream(file, kMostUnits, error);
            if (!stream)
                return kExitFailed;
            if (!options.file.empty() || stream->mediaType == type)
                streams.push_back(std::move(*stream));
        }
        if (streams.empty() && type != "video/raw")
            printf("no sample of %s is here: name a FILE for the checks that decode\n",
                   type.c_str());
        component->release();
    }
    size_t failed = 0;
    const auto done = [&](const host::ComponentCheck& check) {
        puts(check.faults.empty() ? "ok" : "FAIL");
        for (const std::string& fault : check.faults)
            printf("      %s\n", fault.c_str());
        for (const std::string& warning : check.warnings)
            printf("      warning: %s\n", warning.c_str());
        failed += check.faults.empty() ? 0 : 1;
    };
    // The name first: it tells where a component crashes or hangs.
    const auto begin = [](const std::string& name) {
        printf("%s: ", name.c_str());
        fflush(stdout);
    };
    const auto results =
        host::CheckComponent(library, streams, done, std::chrono::seconds(20), begin);
    printf("%zu checks, %zu failed\n", results.size(), failed);
    return failed == 0 ? 0 : kExitFailed;
}

}  // namespace lx2::example
