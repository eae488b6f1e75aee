#include <lx2/LX2GrallocBuffer.h>

#include <utility>

namespace lx2 {

namespace {

// For these the client's word counts before the bitstream's.
bool ClientComesFirst(const std::string& mime) {
    return mime == "video/x-vnd.on2.vp8" || mime == "video/x-vnd.on2.vp9";
}

template <typename Enum>
Enum FirstSet(Enum primary, Enum fallback) {
    return primary != Enum{} ? primary : fallback;
}

// Red x stands for the whole mastering description: it alone tells whether there is one.
bool HasMastering(const C2HdrStaticMetadataStruct& hsi) {
    return hsi.mastering.red.x != 0.0f;
}

}  // namespace

LX2Status LX2ColorAspects::preferredColorAspects(const std::string& mime,
                                                 const C2StreamColorAspectsInfo::output& coded,
                                                 const C2StreamColorAspectsTuning::output& defaults,
                                                 C2StreamColorAspectsInfo::output* out) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    C2ColorAspectsStruct& result = *out;
    result = C2ColorAspectsStruct();

    const C2ColorAspectsStruct* primary = &coded;
    const C2ColorAspectsStruct* fallback = &defaults;
    if (ClientComesFirst(mime))
        std::swap(primary, fallback);
    result.primaries = FirstSet(primary->primaries, fallback->primaries);
    result.matrix = FirstSet(primary->matrix, fallback->matrix);
    result.transfer = FirstSet(primary->transfer, fallback->transfer);
    result.range = FirstSet(primary->range, fallback->range);
    return C2_OK;
}

LX2Status LX2ColorHsi::preferredHsi(const std::string& mime,
                                    const C2StreamHdrStaticMetadataInfo::output& coded,
                                    const C2StreamHdrStaticMetadataInfo::output& defaults,
                                    C2StreamHdrStaticMetadataInfo::output* out,
                                    bool codedAvailable) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    const bool takeCoded = !ClientComesFirst(mime) && codedAvailable &&
                           (HasMastering(coded) || !HasMastering(defaults));
    *out = takeCoded ? coded : defaults;
    return C2_OK;
}

}  // namespace lx2
