#include <lx2/LX2GrallocBuffer.h>

#include <cstdio>

#include "NameTable.h"

namespace lx2 {

namespace {

// The names are those that the log has always had: platforms differ in what they call 8, and 9 has
// none.
constexpr NameRow<C2Color::primaries_t> kPrimaries[] = {
    LX2_NAME_ROW(C2Color, PRIMARIES_UNSPECIFIED),   LX2_NAME_ROW(C2Color, PRIMARIES_BT709),
    LX2_NAME_ROW(C2Color, PRIMARIES_BT470_M),       LX2_NAME_ROW(C2Color, PRIMARIES_BT601_625),
    LX2_NAME_ROW(C2Color, PRIMARIES_BT601_525),     LX2_NAME_ROW(C2Color, PRIMARIES_GENERIC_FILM),
    LX2_NAME_ROW(C2Color, PRIMARIES_BT2020),        LX2_NAME_ROW(C2Color, PRIMARIES_RP431),
    {C2Color::primaries_t(8), "PRIMARIES_EBU3213"}, LX2_NAME_ROW(C2Color, PRIMARIES_OTHER),
};

constexpr NameRow<C2Color::matrix_t> kMatrices[] = {
    LX2_NAME_ROW(C2Color, MATRIX_UNSPECIFIED),
    LX2_NAME_ROW(C2Color, MATRIX_BT709),
    LX2_NAME_ROW(C2Color, MATRIX_FCC47_73_682),
    LX2_NAME_ROW(C2Color, MATRIX_BT601),
    LX2_NAME_ROW(C2Color, MATRIX_240M),
    LX2_NAME_ROW(C2Color, MATRIX_BT2020),
    LX2_NAME_ROW(C2Color, MATRIX_BT2020_CONSTANT),
    LX2_NAME_ROW(C2Color, MATRIX_OTHER),
};

constexpr NameRow<C2Color::transfer_t> kTransfers[] = {
    LX2_NAME_ROW(C2Color, TRANSFER_UNSPECIFIED), LX2_NAME_ROW(C2Color, TRANSFER_LINEAR),
    LX2_NAME_ROW(C2Color, TRANSFER_SRGB),        LX2_NAME_ROW(C2Color, TRANSFER_170M),
    LX2_NAME_ROW(C2Color, TRANSFER_GAMMA22),     LX2_NAME_ROW(C2Color, TRANSFER_GAMMA28),
    LX2_NAME_ROW(C2Color, TRANSFER_ST2084),      LX2_NAME_ROW(C2Color, TRANSFER_HLG),
    LX2_NAME_ROW(C2Color, TRANSFER_240M),        LX2_NAME_ROW(C2Color, TRANSFER_XVYCC),
    LX2_NAME_ROW(C2Color, TRANSFER_BT1361),      LX2_NAME_ROW(C2Color, TRANSFER_ST428),
    LX2_NAME_ROW(C2Color, TRANSFER_OTHER),
};

constexpr NameRow<C2Color::range_t> kRanges[] = {
    LX2_NAME_ROW(C2Color, RANGE_UNSPECIFIED),
    LX2_NAME_ROW(C2Color, RANGE_FULL),
    LX2_NAME_ROW(C2Color, RANGE_LIMITED),
    LX2_NAME_ROW(C2Color, RANGE_OTHER),
};

}  // namespace

const char* LX2ColorAspects::Str(const C2Color::primaries_t& primaries) {
    return NameOf(kPrimaries, primaries);
}

const char* LX2ColorAspects::Str(const C2Color::matrix_t& matrix) {
    return NameOf(kMatrices, matrix);
}

const char* LX2ColorAspects::Str(const C2Color::transfer_t& transfer) {
    return NameOf(kTransfers, transfer);
}

const char* LX2ColorAspects::Str(const C2Color::range_t& range) {
    return NameOf(kRanges, range);
}

const std::string& LX2ColorAspects::Describe(const C2ColorAspectsStruct& aspects,
                                             std::string* out) {
    char text[128];
    snprintf(text, sizeof(text), "{%s %s %s %s}", Str(aspects.primaries), Str(aspects.matrix),
             Str(aspects.transfer), Str(aspects.range));
    return *out = text;
}

template LX2_API const std::string& LX2ColorAspects::AsString(
    const C2StreamColorAspectsInfo::input&, std::string*);

const std::string& LX2ColorHsi::AsString(const C2StreamHdrStaticMetadataInfo::output& hsi,
                                         std::string* out) {
    const auto& mastering = hsi.mastering;
    char text[256];
    snprintf(text, sizeof(text),
             "R(%0.5f, %0.5f) G(%0.5f, %0.5f) B(%0.5f, %0.5f) W(%0.5f, %0.5f)"
             " : Lum(min=%f max=%f) maxCll=%f maxFall=%f",
             mastering.red.x, mastering.red.y, mastering.green.x, mastering.green.y,
             mastering.blue.x, mastering.blue.y, mastering.white.x, mastering.white.y,
             mastering.minLuminance, mastering.maxLuminance, hsi.maxCll, hsi.maxFall);
    return *out = text;
}

}  // namespace lx2
