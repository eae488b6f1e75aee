// What a stream says of its colors, in Codec 2.0 terms, and how a component settles it with what
// the client wants and puts it on a buffer.
#pragma once

#include <C2Config.h>
#include <lx2/LX2Buffer.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lx2::example {

// As the stream signals it; what it leaves out is unspecified.
struct CodedColor {
    C2ColorAspectsStruct aspects;
    std::optional<C2HdrStaticMetadataStruct> hdr;
};

// What the client configured for streams that are silent, and for VP8 and VP9.
struct DefaultColor {
    C2ColorAspectsStruct aspects;
    C2HdrStaticMetadataStruct hdr{};
};

// The infos for a buffer's display metadata: color aspects, and HDR static info where there is one.
struct SettledColor {
    C2ColorAspectsStruct aspects;
    bool hdr = false;
    std::vector<std::shared_ptr<C2Info>> infos;
};
SettledColor Settle(const std::string& mime, const CodedColor& coded, const DefaultColor& defaults);

// One line.
std::string Describe(const C2ColorAspectsStruct& aspects);
std::string Describe(const SettledColor& color);

}  // namespace lx2::example
