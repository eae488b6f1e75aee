#include <lx2/LX2GrallocBuffer.h>
#include <lx2/Log.h>

#include <limits>
#include <optional>

namespace lx2 {

namespace {

constexpr LogModule kLog{"LX2GrallocUtils", LogGroup::Gralloc};

}  // namespace

// The first row of a key holds. The further rows of a key say what else it may stand for, which
// depends on the primaries and is settled in the conversion.

// The maps are there before anything else of the library runs, whatever order it was linked in.
#define LX2_BUILT_FIRST __attribute__((init_priority(200)))

// RP431 and the two values after it are paired with what the display stack takes for them, whatever
// its names say. Those two are numbers: which of them EBU3213 names differs between platforms.
LX2_BUILT_FIRST const std::unordered_map<C2Color::primaries_t, lxd::ColorPrimaries>
    LX2GrallocMetadataTranslater::kC2ToDispPrimariesMap{
        {C2Color::PRIMARIES_UNSPECIFIED, lxd::ColorPrimaries_Unspecified},
        {C2Color::PRIMARIES_BT709, lxd::ColorPrimaries_BT709_5},
        {C2Color::PRIMARIES_BT470_M, lxd::ColorPrimaries_BT470_6M},
        {C2Color::PRIMARIES_BT601_625, lxd::ColorPrimaries_BT601_6_625},
        {C2Color::PRIMARIES_BT601_525, lxd::ColorPrimaries_BT601_6_525},
        {C2Color::PRIMARIES_GENERIC_FILM, lxd::ColorPrimaries_GenericFilm},
        {C2Color::PRIMARIES_BT2020, lxd::ColorPrimaries_BT2020},
        {C2Color::PRIMARIES_RP431, lxd::ColorPrimaries_AdobeRGB},
        {C2Color::primaries_t(8), lxd::ColorPrimaries_DCIP3},
        {C2Color::primaries_t(9), lxd::ColorPrimaries_EBU3213},
        {C2Color::PRIMARIES_OTHER, lxd::ColorPrimaries_Max},
    };

LX2_BUILT_FIRST const std::unordered_map<C2Color::matrix_t, lxd::MatrixCoEfficients>
    LX2GrallocMetadataTranslater::kC2ToDispMatrixMap{
        {C2Color::MATRIX_UNSPECIFIED, lxd::MatrixCoEff_Unspecified},
        {C2Color::MATRIX_BT709, lxd::MatrixCoEff_BT709_5},
        {C2Color::MATRIX_FCC47_73_682, lxd::MatrixCoeff_FCC_73_682},
        {C2Color::MATRIX_BT601, lxd::MatrixCoEff_BT601_6_625},
        {C2Color::MATRIX_BT601, lxd::MatrixCoEff_BT601_6_525},  // ignored
        {C2Color::MATRIX_240M, lxd::MatrixCoEff_SMPTE240M},
        {C2Color::MATRIX_BT2020, lxd::MatrixCoEff_BT2020},
        {C2Color::MATRIX_BT2020_CONSTANT, lxd::MatrixCoEff_BT2020Constant},
        {C2Color::MATRIX_OTHER, lxd::MatrixCoEff_Max},
    };

LX2_BUILT_FIRST const std::unordered_map<C2Color::transfer_t, lxd::GammaTransfer>
    LX2GrallocMetadataTranslater::kC2ToDispTransferMap{
        {C2Color::TRANSFER_UNSPECIFIED, lxd::Transfer_Unspecified},
        {C2Color::TRANSFER_LINEAR, lxd::Transfer_Linear},
        {C2Color::TRANSFER_SRGB, lxd::Transfer_sYCC},
        {C2Color::TRANSFER_170M, lxd::Transfer_SMPTE_170M},
        {C2Color::TRANSFER_170M, lxd::Transfer_sRGB},        // ignored
        {C2Color::TRANSFER_170M, lxd::Transfer_BT2020_2_1},  // ignored
        {C2Color::TRANSFER_GAMMA22, lxd::Transfer_Gamma2_2},
        {C2Color::TRANSFER_GAMMA28, lxd::Transfer_Gamma2_8},
        {C2Color::TRANSFER_ST2084, lxd::Transfer_SMPTE_ST2084},
        {C2Color::TRANSFER_HLG, lxd::Transfer_HLG},
        {C2Color::TRANSFER_240M, lxd::Transfer_SMPTE_240M},
        {C2Color::TRANSFER_XVYCC, lxd::Transfer_XvYCC},
        {C2Color::TRANSFER_BT1361, lxd::Transfer_BT1361},
        {C2Color::TRANSFER_ST428, lxd::Transfer_ST_428},
        {C2Color::TRANSFER_OTHER, lxd::Transfer_Max},
    };

LX2_BUILT_FIRST const std::unordered_map<C2Color::range_t, lxd::ColorRange>
    LX2GrallocMetadataTranslater::kC2ToDispRangeMap{
        {C2Color::RANGE_UNSPECIFIED, lxd::Range_Limited},
        {C2Color::RANGE_FULL, lxd::Range_Full},
        {C2Color::RANGE_LIMITED, lxd::Range_Limited},
        {C2Color::RANGE_OTHER, lxd::Range_Max},
    };

namespace {

// Units of the record's integers.
constexpr double kChromaticity = 0.00002;
constexpr double kMinLuminance = 0.0001;
constexpr double kCandela = 1.0;

template <typename Map>
typename Map::mapped_type ToDisplay(const Map& map, typename Map::key_type key,
                                    typename Map::mapped_type missing, const char* field) {
    const auto row = map.find(key);
    if (row != map.end())
        return row->second;
    LX2_LOGW("%s does not exists for %d in C2 <-> Disp map", field, static_cast<int>(key));
    return missing;
}

// The smallest of the keys that stand for a value, 0 (unspecified) when none does. Only the limited
// range has two keys, and is meant to read back as the unspecified one.
template <typename Map>
typename Map::key_type ToC2(const Map& map, typename Map::mapped_type value) {
    using Key = typename Map::key_type;
    std::optional<Key> smallest;
    for (const auto& [key, display] : map) {
        if (display == value && (!smallest || key < *smallest))
            smallest = key;
    }
    return smallest.value_or(Key{});
}

// What the display calls the two matrices of BT.601, and the one transfer of BT.709, BT.601 and
// BT.2020, depends on the primaries.
lxd::MatrixCoEfficients Bt601Matrix(lxd::ColorPrimaries primaries) {
    return primaries == lxd::ColorPrimaries_BT601_6_625 ? lxd::MatrixCoEff_BT601_6_625
                                                        : lxd::MatrixCoEff_BT601_6_525;
}

lxd::GammaTransfer Smpte170mTransfer(lxd::ColorPrimaries primaries) {
    if (primaries == lxd::ColorPrimaries_BT2020)
        return lxd::Transfer_BT2020_2_1;
    if (primaries == lxd::ColorPrimaries_BT709_5)
        return lxd::Transfer_sRGB;
    return lxd::Transfer_SMPTE_170M;
}

// Rounded; values beyond the integer's range stop at its ends, and NaN gives 0.
uint32_t ToUnits(float value, double unit) {
    constexpr auto kMax = std::numeric_limits<uint32_t>::max();
    const double units = value / unit + 0.5;
    if (!(units > 0))
        return 0;
    return units < kMax ? static_cast<uint32_t>(units) : kMax;
}

// Mirrors the rounding of the other direction, though it doesn't undo it exactly.
float FromUnits(uint32_t units, double unit) {
    return static_cast<float>((units - 0.5) * unit);
}

lxd::Chromaticity ToUnits(const C2ColorXyStruct& point) {
    return {ToUnits(point.x, kChromaticity), ToUnits(point.y, kChromaticity)};
}

C2ColorXyStruct FromUnits(const lxd::Chromaticity& point) {
    C2ColorXyStruct result;
    result.x = FromUnits(point.x, kChromaticity);
    result.y = FromUnits(point.y, kChromaticity);
    return result;
}

}  // namespace

LX2Status LX2GrallocMetadataTranslater::convertAspectsToMetaData(
    const C2StreamColorAspectsInfo::output& aspects, lxd::ColorMetaData* md) {
    if (md == nullptr)
        return LX2_BAD_ARG;
    const auto primaries = ToDisplay(kC2ToDispPrimariesMap, aspects.primaries,
                                     lxd::ColorPrimaries_Unspecified, "Primaries");
    md->colorPrimaries = primaries;
    md->matrixCoefficients =
        aspects.matrix == C2Color::MATRIX_BT601
            ? Bt601Matrix(primaries)
            : ToDisplay(kC2ToDispMatrixMap, aspects.matrix, lxd::MatrixCoEff_Unspecified, "matrix");
    md->transfer = aspects.transfer == C2Color::TRANSFER_170M
                       ? Smpte170mTransfer(primaries)
                       : ToDisplay(kC2ToDispTransferMap, aspects.transfer,
                                   lxd::Transfer_Unspecified, "transfer");
    md->range = ToDisplay(kC2ToDispRangeMap, aspects.range, lxd::Range_Max, "range");
    return C2_OK;
}

LX2Status LX2GrallocMetadataTranslater::convertMetaDataToAspects(
    const lxd::ColorMetaData& md, C2StreamColorAspectsInfo::input* aspects) {
    if (aspects == nullptr)
        return LX2_BAD_ARG;
    aspects->primaries = ToC2(kC2ToDispPrimariesMap, md.colorPrimaries);
    aspects->matrix = ToC2(kC2ToDispMatrixMap, md.matrixCoefficients);
    aspects->transfer = ToC2(kC2ToDispTransferMap, md.transfer);
    aspects->range = ToC2(kC2ToDispRangeMap, md.range);
    return C2_OK;
}

LX2Status LX2GrallocMetadataTranslater::convertHsiToMetaData(
    const C2StreamHdrStaticMetadataInfo::output& hsi, lxd::ColorMetaData* md) {
    if (md == nullptr)
        return LX2_BAD_ARG;
    lxd::MasteringDisplay& display = md->masteringDisplay;
    display.present = 1;
    display.red = ToUnits(hsi.mastering.red);
    display.green = ToUnits(hsi.mastering.green);
    display.blue = ToUnits(hsi.mastering.blue);
    display.white = ToUnits(hsi.mastering.white);
    display.maxLuminance = ToUnits(hsi.mastering.maxLuminance, kCandela);
    display.minLuminance = ToUnits(hsi.mastering.minLuminance, kMinLuminance);
    md->contentLightLevel.present = 1;
    md->contentLightLevel.maxContent = ToUnits(hsi.maxCll, kCandela);
    md->contentLightLevel.maxFrameAverage = ToUnits(hsi.maxFall, kCandela);
    return C2_OK;
}

LX2Status LX2GrallocMetadataTranslater::convertMetaDataToHsi(
    const lxd::ColorMetaData& md, C2StreamHdrStaticMetadataInfo::input* hsi) {
    if (hsi == nullptr)
        return LX2_BAD_ARG;
    const lxd::MasteringDisplay& display = md.masteringDisplay;
    hsi->mastering.red = FromUnits(display.red);
    hsi->mastering.green = FromUnits(display.green);
    hsi->mastering.blue = FromUnits(display.blue);
    hsi->mastering.white = FromUnits(display.white);
    hsi->mastering.maxLuminance = FromUnits(display.maxLuminance, kCandela);
    hsi->mastering.minLuminance = FromUnits(display.minLuminance, kMinLuminance);
    hsi->maxCll = FromUnits(md.contentLightLevel.maxContent, kCandela);
    hsi->maxFall = FromUnits(md.contentLightLevel.maxFrameAverage, kCandela);
    return C2_OK;
}

}  // namespace lx2
