// A whole decoder component on a workstation: decodes a file as a device's component would, hands
// the frames to a small framework that checks them, and says at its end what it did and what is
// left open.
#include <lx2host/Gralloc.h>
#include <lx2host/GraphicPools.h>
#include <lx2host/OpenResources.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "../common/ComponentParams.h"
#include "../common/Session.h"
#include "Component.h"

namespace lx2::example {

namespace {

std::string DefaultInput() {
    return std::string(LX2_SAMPLES_DIR) + "/avc.264";
}

void ShowProgress(const Statistics& statistics, size_t units) {
    if (isatty(STDOUT_FILENO) == 0)
        return;
    printf("\r%llu of %zu access units, %llu frames",
           static_cast<unsigned long long>(statistics.units), units,
           static_cast<unsigned long long>(statistics.frames));
    if (statistics.units == units)
        printf("\n");
    fflush(stdout);
}

void PrintSummary(const InputStream& input, const Statistics& statistics,
                  const FrameOutput& output) {
    printf("%s, %zu access units, %llu bytes\n", input.mime().c_str(), input.units().size(),
           static_cast<unsigned long long>(statistics.inputBytes));
    PrintCount("codec headers, bytes", statistics.headerBytes);
    PrintCount("frames", statistics.frames);
    for (const auto& [format, count] : statistics.formats)
        PrintCount(("  " + format).c_str(), count);
    PrintText("color in the stream", statistics.codedColor);
    PrintText("color", statistics.color);
    for (const auto& [formats, count] : output.conversionsByFormat())
        PrintCount(("  " + formats).c_str(), count);
    PrintCount("conversions", output.conversions());
    PrintCount("references held", statistics.holds);
    PrintCount("buffers parked", statistics.parked);
    PrintCount("buffers recycled", statistics.recycled);
    PrintCount("waits for a buffer", statistics.starved);
    PrintCount("deletions reported", statistics.deleted);
    if (statistics.memoryEarly > 0) {
        PrintCount("KiB at frame 1000", statistics.memoryEarly);
        PrintCount("KiB at the end", statistics.memoryLate);
    }
    for (const std::string& file : output.frameFiles())
        PrintText("wrote", file);
}

// Everything that lives while the stream is decoded, so that all of it is gone when this returns.
bool DecodeStream(const InputStream& input, const Settings& settings,
                  const DefaultColor& defaults) {
    auto surface = std::make_shared<host::SlotGraphicPool>(settings.slots);
    Framework framework(settings.frameworkDepth);
    // A surface has its buffer back as soon as it was shown, whoever else still looks at it.
    framework.onRelease([&surface](const C2Buffer& buffer) {
        const auto blocks = buffer.data().graphicBlocks();
        surface->offerAgain(host::BufferId(blocks.front().handle()));
    });
    FrameOutput output(settings.out, input.mime(), input.extension());
    Component component(input, settings, defaults, surface, &framework, &output);
    for (const InputUnit& unit : input.units()) {
        if (!component.decode(unit))
            break;
        ShowProgress(component.statistics(), input.units().size());
    }
    component.finish();
    std::vector<std::string> undone = output.close();
    if (!output.problem().empty())
        undone.push_back(output.problem());
    for (const std::string& line : undone)
        printf("error: %s\n", line.c_str());
    if (!input.damage().empty())
        printf("error: %s\n", input.damage().c_str());
    if (!input.note().empty())
        printf("note: %s\n", input.note().c_str());
    const Statistics& statistics = component.statistics();
    statistics.errors.print();
    for (const std::string& complaint : framework.complaints())
        printf("framework: %s\n", complaint.c_str());
    PrintSummary(input, statistics, output);
    PrintCount("frames shown", framework.received());
    if (const std::string play = output.playCommand(); !play.empty())
        PrintText("play", play);
    return input.damage().empty() && statistics.errors.empty() && undone.empty() &&
           framework.complaints().empty();
}

int Run(const Settings& settings) {
    ComponentParams parameters;
    if (parameters.apply(settings.parameters) != settings.parameters.size())
        return kExitUsage;
    if (settings.listParameters) {
        parameters.list();
        return 0;
    }
    std::string error;
    const auto input =
        InputStream::Open(settings.input.empty() ? DefaultInput() : settings.input, &error);
    if (input == nullptr) {
        fprintf(stderr, "lx2_decoder: %s\n", error.c_str());
        return kExitDamaged;
    }
    error = BeginOutput(settings.out, settings.verbose);
    if (!error.empty()) {
        fprintf(stderr, "lx2_decoder: %s\n", error.c_str());
        return kExitDamaged;
    }
    DefaultColor defaults;
    defaults.aspects = parameters.defaultAspects();
    const host::OpenResources before;
    const bool clean = DecodeStream(*input, settings, defaults);
    return Conclude(before, clean);
}

}  // namespace

}  // namespace lx2::example

int main(int argc, char** argv) {
    lx2::example::Settings settings;
    std::string error;
    if (!lx2::example::ParseArguments(argc, argv, &settings, &error)) {
        fprintf(stderr, "lx2_decoder: %s\n%s", error.c_str(), lx2::example::kUsage);
        return lx2::example::kExitUsage;
    }
    if (settings.help) {
        printf("%s", lx2::example::kUsage);
        return 0;
    }
    return lx2::example::Run(settings);
}
