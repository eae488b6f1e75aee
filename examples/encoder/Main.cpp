// A whole encoder component on a workstation: encodes a file as a device's component would, decodes
// what it made to measure it, and says at its end what it did and what is left open.
#include <lx2/BufFlag.h>
#include <lx2/PixFormat.h>
#include <lx2host/OpenResources.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <sstream>

#include "Camera.h"
#include "Component.h"
#include "Quality.h"
#include "Settings.h"

namespace lx2::example {

namespace {

int Refuse(const std::string& what, int status) {
    fprintf(stderr, "lx2_encoder: %s\n", what.substr(0, what.find('\n')).c_str());
    return status;
}

std::string SizeText(uint32_t width, uint32_t height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// All parameters in the order in which they are to be set, tried beforehand: a mistake in one is
// told before anything is encoded. Empty if there is none.
std::string TryParameters(const Settings& settings) {
    std::ostringstream told;
    ComponentParams trial(ComponentParams::Kind::Encoder, told);
    Tuning tuning;
    const auto attempt = [&](const std::string& setting) {
        told.str("");
        return trial.apply({setting}) == 1 ? "" : told.str();
    };
    for (const std::string& setting : settings.parameters) {
        std::string problem = attempt(setting);
        if (!problem.empty())
            return problem;
    }
    std::string problem = ReadTuning(trial, settings.codec, &tuning);
    for (const auto& [frame, setting] : settings.changes) {
        if (problem.empty())
            problem = attempt(setting);
        if (problem.empty())
            problem = ReadTuning(trial, settings.codec, &tuning);
    }
    return problem;
}

SettledColor ColorFor(const Settings& settings, const ComponentParams& parameters) {
    DefaultColor defaults;
    defaults.aspects = parameters.defaultAspects();
    if (settings.hdr) {
        // A mastering display of P3 primaries.
        defaults.aspects = {C2Color::RANGE_LIMITED, C2Color::PRIMARIES_BT2020,
                            C2Color::TRANSFER_ST2084, C2Color::MATRIX_BT2020};
        defaults.hdr.mastering = {{0.68f, 0.32f},    {0.265f, 0.69f}, {0.15f, 0.06f},
                                  {0.3127f, 0.329f}, 1000.0f,         0.005f};
        defaults.hdr.maxCll = 1000.0f;
        defaults.hdr.maxFall = 400.0f;
    }
    return Settle(KindOf(settings.codec).mime, {}, defaults);
}

void PrintSummary(const RawVideo& video, const Settings& settings, const Camera& camera,
                  const Component& component, const Quality& quality, const FrameOutput& output) {
    const Statistics& statistics = component.statistics();
    const RawShape& shape = video.shape();
    const std::string visible = SizeText(shape.width, shape.height);
    const std::string coded =
        SizeText(shape.width + shape.width % 2, shape.height + shape.height % 2);
    printf("%s, %s%s, %zu frames\n", KindOf(settings.codec).mime, visible.c_str(),
           visible == coded ? "" : (" encoded as " + coded).c_str(), video.frames());
    PrintCount((std::string("frames in ") + PixFormat::Str(settings.format)).c_str(),
               statistics.frames);
    PrintCount("converted to it", camera.conversions());
    SettledColor color;
    color.aspects = component.color().aspects;
    if (component.color().hdr) {
        color.hdr = true;
        color.infos = {nullptr,
                       std::make_shared<C2StreamHdrStaticInfo::output>(0u, *component.color().hdr)};
    }
    PrintText("color at the hardware", Describe(color));
    PrintCount("access units", statistics.units);
    PrintCount("key frames", statistics.keyFrames);
    PrintCount("codec config buffers", statistics.headerBuffers);
    PrintCount("codec config, bytes", statistics.headerBytes);
    PrintCount("bytes", statistics.bytes);
    PrintCount("bits a second",
               statistics.bytes * 8 * shape.rate / std::max<uint64_t>(statistics.units, 1));
    PrintCount("frames decoded again", quality.frames());
    char psnr[20];
    snprintf(psnr, sizeof(psnr), "%.2f dB", quality.psnr());
    PrintText("PSNR", psnr);
    if (!settings.out.empty())
        PrintText("wrote", std::string("bitstream.") + KindOf(settings.codec).extension);
    for (const std::string& file : output.frameFiles())
        PrintText("wrote", file);
    if (!settings.out.empty())
        PrintText("play", "ffplay '" + settings.out + "/bitstream." +
                              KindOf(settings.codec).extension + "'");
}

// Everything that lives while the video is encoded, so that all of it is gone when this returns.
bool EncodeVideo(const RawVideo& video, const Settings& settings, ComponentParams* parameters) {
    const StreamKind& kind = KindOf(settings.codec);
    FrameOutput output(settings.out, kind.mime, kind.extension);
    Quality quality(settings.codec);
    Errors errors;
    Component component(settings.codec, video.shape().rate, video.frames(), settings.verbose,
                        &output, [&](const std::shared_ptr<LX2Buffer>& buffer) {
                            const bool config = (buffer->flags() & BufFlag::CODEC_CONFIG) != 0;
                            const auto received =
                                LX2Buffer::CreateFromC2Buffer(buffer->getSharedBuffer());
                            const auto mapping = received->linear()->mapReadOnly();
                            if (const auto bytes = received->linear()->bytes(mapping))
                                quality.take(bytes.data, bytes.size, config);
                            else
                                errors.add("", "an access unit can't be read");
                        });
    if (!component.isReady()) {
        printf("error: the installed library has no encoder for %s\n", kind.mime);
        return false;
    }
    const host::Frame first = video.frame(0);
    Camera camera(first.width, first.height, settings.format,
                  ColorFor(settings, *parameters).infos);
    Tuning tuning;
    ReadTuning(*parameters, settings.codec, &tuning);
    component.tune(tuning);
    for (size_t index = 0; index < video.frames(); ++index) {
        for (const auto& [frame, setting] : settings.changes) {
            if (frame != index)
                continue;
            parameters->apply({setting});
            ReadTuning(*parameters, settings.codec, &tuning);
            component.tune(tuning);
        }
        host::Frame frame = video.frame(index);
        std::string error;
        const auto buffer = camera.shoot(frame, index * 1000000 / video.shape().rate, &error);
        quality.expect(std::move(frame));
        if (buffer != nullptr)
            component.encode(buffer);
        else
            errors.add("frame " + std::to_string(index) + ": ", error);
    }
    component.finish();
    quality.finish();
    for (const std::string& line : output.close())
        errors.add("", line);
    for (const std::string& problem : {output.problem(), video.damage(), quality.problem()}) {
        if (!problem.empty())
            errors.add("", problem);
    }
    if (quality.frames() != video.frames())
        errors.add("", std::to_string(video.frames()) + " frames were encoded and " +
                           std::to_string(quality.frames()) + " decoded");
    component.statistics().errors.print();
    errors.print();
    PrintSummary(video, settings, camera, component, quality, output);
    return errors.empty() && component.statistics().errors.empty();
}

int Run(const Settings& settings) {
    std::string error = TryParameters(settings);
    if (!error.empty())
        return Refuse(error, kExitUsage);
    ComponentParams parameters(ComponentParams::Kind::Encoder);
    parameters.apply(settings.parameters);
    if (settings.listParameters) {
        parameters.list();
        return 0;
    }
    const auto video = settings.input.empty()
                           ? RawVideo::Make(320, 192, 60)
                           : RawVideo::Open(settings.input, settings.shape, &error);
    if (video == nullptr)
        return Refuse(error, kExitDamaged);
    error = BeginOutput(settings.out, settings.verbose);
    if (!error.empty())
        return Refuse(error, kExitDamaged);
    const host::OpenResources before;
    const bool clean = EncodeVideo(*video, settings, &parameters);
    return Conclude(before, clean);
}

}  // namespace

}  // namespace lx2::example

int main(int argc, char** argv) {
    lx2::example::Settings settings;
    std::string error;
    if (!lx2::example::ParseArguments(argc, argv, &settings, &error)) {
        fprintf(stderr, "lx2_encoder: %s\n%s", error.c_str(), lx2::example::kUsage);
        return lx2::example::kExitUsage;
    }
    if (settings.help) {
        printf("%s", lx2::example::kUsage);
        return 0;
    }
    return lx2::example::Run(settings);
}
