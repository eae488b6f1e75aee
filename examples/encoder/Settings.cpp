#include "Settings.h"

#include <lx2/PixFormat.h>

#include "../common/Session.h"

namespace lx2::example {

namespace {

template <typename Value>
struct Choice {
    const char* name;
    Value value;
};

constexpr Choice<Codec> kCodecs[] = {
    {"avc", Codec::Avc}, {"hevc", Codec::Hevc}, {"vp8", Codec::Vp8}, {"vp9", Codec::Vp9}};
constexpr Choice<RawLayout> kLayouts[] = {
    {"nv12", RawLayout::Nv12}, {"yv12", RawLayout::Yv12}, {"i420", RawLayout::I420}};
constexpr Choice<uint32_t> kFormats[] = {
    {"cmpx", PixFormat::MIREL_NV12_CMPX},
    {"mirel-nv12", PixFormat::MIREL_NV12},
    {"nv12", PixFormat::NV12},
    {"yv12", PixFormat::YV12},
    {"tp10", PixFormat::MIREL_TP10},
    {"rgba", PixFormat::RGBA8888},
};

template <typename Value, size_t N>
std::string Choose(const Choice<Value> (&choices)[N], const std::string& option,
                   const std::string& text, Value* value) {
    std::string names;
    for (const auto& choice : choices) {
        if (text == choice.name) {
            *value = choice.value;
            return "";
        }
        names += std::string(names.empty() ? "" : ", ") + choice.name;
    }
    return option + " takes one of " + names + ", not \"" + text + "\"";
}

bool ReadSide(const std::string& text, uint32_t* side) {
    return ReadNumber(text, side) && *side > 0 && *side <= kLargestSide;
}

std::string TakeSize(const std::string& text, RawShape* shape) {
    const size_t x = text.find('x');
    if (x != std::string::npos && ReadSide(text.substr(0, x), &shape->width) &&
        ReadSide(text.substr(x + 1), &shape->height))
        return "";
    return "--size takes WIDTHxHEIGHT, each from 1 to " + std::to_string(kLargestSide) +
           ", not \"" + text + "\"";
}

std::string TakeChange(const std::string& text, Settings* settings) {
    const size_t colon = text.find(':');
    uint64_t frame = 0;
    if (colon == std::string::npos || !ReadNumber(text.substr(0, colon), &frame))
        return "--at takes FRAME:NAME=VALUE, not \"" + text + "\"";
    settings->changes.emplace_back(frame, text.substr(colon + 1));
    return "";
}

// What only together is wrong.
std::string CheckTogether(Settings* settings) {
    if (settings->format == 0)
        settings->format = settings->hdr ? PixFormat::MIREL_TP10 : PixFormat::MIREL_NV12_CMPX;
    if (settings->hdr &&
        (settings->format != PixFormat::MIREL_TP10 || settings->codec != Codec::Hevc))
        return "--hdr takes --codec hevc and --format tp10";
    const RawShape& shape = settings->shape;
    if ((shape.layout != RawLayout::None) != (shape.width != 0))
        return "--size and --pixels go together";
    if (settings->input.empty() && shape.width != 0)
        return "--size and --pixels need a FILE";
    return "";
}

}  // namespace

const char* const kUsage =
    "lx2_encoder [--codec avc|hevc|vp8|vp9] [--format FORMAT] [--out DIR] [option]... [FILE]\n"
    "Encodes FILE (Y4M, or raw frames with --size and --pixels; without FILE a moving picture).\n"
    "  --codec CODEC     avc, hevc, vp8 or vp9 (avc)\n"
    "  --format FORMAT   of the buffers: cmpx, mirel-nv12, nv12, yv12, tp10 or rgba (cmpx)\n"
    "  --size WxH        of raw frames\n"
    "  --pixels LAYOUT   of raw frames: nv12, yv12 or i420\n"
    "  --hdr             attach HDR10 metadata; for hevc in tp10\n"
    "  --out DIR         write bitstream.<ext>, frames.yuv, component.log and system.log to DIR\n"
    "  --set NAME=VALUE  set a parameter of the component; any number of times\n"
    "  --at N:NAME=VALUE set a parameter before frame N; any number of times\n"
    "  --params          list the component's parameters and stop\n"
    "  --verbose         describe every buffer\n";

bool ParseArguments(int argc, char** argv, Settings* settings, std::string* error) {
    using Text = const std::string&;
    const std::vector<Option> options = {
        {"--codec", true,
         [=](Text value) { return Choose(kCodecs, "--codec", value, &settings->codec); }},
        {"--format", true,
         [=](Text value) { return Choose(kFormats, "--format", value, &settings->format); }},
        {"--pixels", true,
         [=](Text value) { return Choose(kLayouts, "--pixels", value, &settings->shape.layout); }},
        {"--size", true, [=](Text value) { return TakeSize(value, &settings->shape); }},
        {"--at", true, [=](Text value) { return TakeChange(value, settings); }},
        {"--hdr", false,
         [=](Text) {
             settings->hdr = true;
             return std::string();
         }},
    };
    *error = ParseOptions(argc, argv, options, settings);
    if (error->empty())
        *error = CheckTogether(settings);
    return error->empty();
}

}  // namespace lx2::example
