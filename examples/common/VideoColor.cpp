#include "VideoColor.h"

#include <lx2/LX2GrallocBuffer.h>

#include <cstdio>

namespace lx2::example {

SettledColor Settle(const std::string& mime, const CodedColor& coded,
                    const DefaultColor& defaults) {
    SettledColor settled;
    const C2StreamColorAspectsInfo::output codedAspects(0u, coded.aspects);
    const C2StreamColorAspectsTuning::output defaultAspects(0u, defaults.aspects);
    auto aspects = std::make_shared<C2StreamColorAspectsInfo::output>();
    LX2ColorAspects::preferredColorAspects(mime, codedAspects, defaultAspects, aspects.get());
    settled.aspects = *aspects;
    settled.infos.push_back(aspects);

    const C2StreamHdrStaticInfo::output codedHdr(0u,
                                                 coded.hdr.value_or(C2HdrStaticMetadataStruct{}));
    const C2StreamHdrStaticInfo::output defaultHdr(0u, defaults.hdr);
    auto hdr = std::make_shared<C2StreamHdrStaticInfo::output>();
    LX2ColorHsi::preferredHsi(mime, codedHdr, defaultHdr, hdr.get(), coded.hdr.has_value());
    // A source without a mastering display has nothing to tell the display.
    settled.hdr = hdr->mastering.red.x != 0.0f;
    if (settled.hdr)
        settled.infos.push_back(hdr);
    return settled;
}

std::string Describe(const C2ColorAspectsStruct& aspects) {
    return std::string(LX2ColorAspects::Str(aspects.primaries)) + " " +
           LX2ColorAspects::Str(aspects.transfer) + " " + LX2ColorAspects::Str(aspects.matrix) +
           " " + LX2ColorAspects::Str(aspects.range);
}

std::string Describe(const SettledColor& color) {
    std::string text = Describe(color.aspects);
    if (color.hdr) {
        std::string hdr;
        text +=
            ", " + LX2ColorHsi::AsString(
                       static_cast<const C2StreamHdrStaticInfo::output&>(*color.infos[1]), &hdr);
    }
    return text;
}

}  // namespace lx2::example
