#include <lx2/LX2GrallocBuffer.h>

#include <cstdio>

#include "NameTable.h"

namespace lx2 {

namespace {

// Unspecified values have no name.

constexpr NameRow<lxd::ColorPrimaries> kPrimaries[] = {
    LX2_NAME_ROW(lxd, ColorPrimaries_BT709_5),     LX2_NAME_ROW(lxd, ColorPrimaries_BT470_6M),
    LX2_NAME_ROW(lxd, ColorPrimaries_BT601_6_625), LX2_NAME_ROW(lxd, ColorPrimaries_BT601_6_525),
    LX2_NAME_ROW(lxd, ColorPrimaries_SMPTE_240M),  LX2_NAME_ROW(lxd, ColorPrimaries_GenericFilm),
    LX2_NAME_ROW(lxd, ColorPrimaries_BT2020),      LX2_NAME_ROW(lxd, ColorPrimaries_SMPTE_ST428),
    LX2_NAME_ROW(lxd, ColorPrimaries_AdobeRGB),    LX2_NAME_ROW(lxd, ColorPrimaries_DCIP3),
    LX2_NAME_ROW(lxd, ColorPrimaries_EBU3213),     LX2_NAME_ROW(lxd, ColorPrimaries_Max),
};

constexpr NameRow<lxd::MatrixCoEfficients> kMatrices[] = {
    LX2_NAME_ROW(lxd, MatrixCoEff_Identity),
    LX2_NAME_ROW(lxd, MatrixCoEff_BT709_5),
    LX2_NAME_ROW(lxd, MatrixCoeff_FCC_73_682),
    LX2_NAME_ROW(lxd, MatrixCoEff_BT601_6_625),
    LX2_NAME_ROW(lxd, MatrixCoEff_BT601_6_525),
    LX2_NAME_ROW(lxd, MatrixCoEff_SMPTE240M),
    LX2_NAME_ROW(lxd, MatrixCoEff_YCgCo),
    LX2_NAME_ROW(lxd, MatrixCoEff_BT2020),
    LX2_NAME_ROW(lxd, MatrixCoEff_BT2020Constant),
    LX2_NAME_ROW(lxd, MatrixCoEff_BT601_6_Unadjusted),
    LX2_NAME_ROW(lxd, MatrixCoEff_DCIP3),
    LX2_NAME_ROW(lxd, MatrixCoEff_Chroma_NonConstant),
    LX2_NAME_ROW(lxd, MatrixCoEff_Max),
};

constexpr NameRow<lxd::GammaTransfer> kTransfers[] = {
    LX2_NAME_ROW(lxd, Transfer_sRGB),       LX2_NAME_ROW(lxd, Transfer_Gamma2_2),
    LX2_NAME_ROW(lxd, Transfer_Gamma2_8),   LX2_NAME_ROW(lxd, Transfer_SMPTE_170M),
    LX2_NAME_ROW(lxd, Transfer_SMPTE_240M), LX2_NAME_ROW(lxd, Transfer_Linear),
    LX2_NAME_ROW(lxd, Transfer_Log),        LX2_NAME_ROW(lxd, Transfer_Log_Sqrt),
    LX2_NAME_ROW(lxd, Transfer_XvYCC),      LX2_NAME_ROW(lxd, Transfer_BT1361),
    LX2_NAME_ROW(lxd, Transfer_sYCC),       LX2_NAME_ROW(lxd, Transfer_BT2020_2_1),
    LX2_NAME_ROW(lxd, Transfer_BT2020_2_2), LX2_NAME_ROW(lxd, Transfer_SMPTE_ST2084),
    LX2_NAME_ROW(lxd, Transfer_ST_428),     LX2_NAME_ROW(lxd, Transfer_HLG),
    LX2_NAME_ROW(lxd, Transfer_Max),
};

constexpr NameRow<lxd::ColorRange> kRanges[] = {
    LX2_NAME_ROW(lxd, Range_Limited),
    LX2_NAME_ROW(lxd, Range_Full),
    LX2_NAME_ROW(lxd, Range_Max),
};

}  // namespace

const char* LX2GrallocMetadataTranslater::Str(const lxd::ColorPrimaries& primaries) {
    return NameOf(kPrimaries, primaries);
}

const char* LX2GrallocMetadataTranslater::Str(const lxd::MatrixCoEfficients& matrix) {
    return NameOf(kMatrices, matrix);
}

const char* LX2GrallocMetadataTranslater::Str(const lxd::GammaTransfer& transfer) {
    return NameOf(kTransfers, transfer);
}

const char* LX2GrallocMetadataTranslater::Str(const lxd::ColorRange& range) {
    return NameOf(kRanges, range);
}

const std::string& LX2GrallocMetadataTranslater::AsString(const lxd::ColorMetaData& md,
                                                          std::string* out) {
    char text[128];
    snprintf(text, sizeof(text), "{%s %s %s %s}", Str(md.colorPrimaries),
             Str(md.matrixCoefficients), Str(md.transfer), Str(md.range));
    return *out = text;
}

}  // namespace lx2
