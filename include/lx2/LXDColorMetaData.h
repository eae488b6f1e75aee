// The display stack's color record of a graphic buffer, as the display-metadata library keeps it.
// Components write it through this library, hardware and display write and read it too.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lxd {

enum ColorPrimaries : uint32_t {
    ColorPrimaries_BT709_5 = 1,
    ColorPrimaries_Unspecified = 2,
    ColorPrimaries_BT470_6M = 4,
    ColorPrimaries_BT601_6_625 = 5,
    ColorPrimaries_BT601_6_525 = 6,
    ColorPrimaries_SMPTE_240M = 7,
    ColorPrimaries_GenericFilm = 8,
    ColorPrimaries_BT2020 = 9,
    ColorPrimaries_SMPTE_ST428 = 10,
    ColorPrimaries_AdobeRGB = 11,
    ColorPrimaries_DCIP3 = 12,
    ColorPrimaries_EBU3213 = 22,
    ColorPrimaries_Max = 255,
};

enum MatrixCoEfficients : uint32_t {
    MatrixCoEff_Identity = 0,
    MatrixCoEff_BT709_5 = 1,
    MatrixCoEff_Unspecified = 2,
    MatrixCoeff_FCC_73_682 = 4,
    MatrixCoEff_BT601_6_625 = 5,
    MatrixCoEff_BT601_6_525 = 6,
    MatrixCoEff_SMPTE240M = 7,
    MatrixCoEff_YCgCo = 8,
    MatrixCoEff_BT2020 = 9,
    MatrixCoEff_BT2020Constant = 10,
    MatrixCoEff_BT601_6_Unadjusted = 11,
    MatrixCoEff_DCIP3 = 12,
    MatrixCoEff_Chroma_NonConstant = 13,
    MatrixCoEff_Max = 255,
};

enum GammaTransfer : uint32_t {
    Transfer_sRGB = 1,
    Transfer_Unspecified = 2,
    Transfer_Gamma2_2 = 4,
    Transfer_Gamma2_8 = 5,
    Transfer_SMPTE_170M = 6,
    Transfer_SMPTE_240M = 7,
    Transfer_Linear = 8,
    Transfer_Log = 9,
    Transfer_Log_Sqrt = 10,
    Transfer_XvYCC = 11,
    Transfer_BT1361 = 12,
    Transfer_sYCC = 13,
    Transfer_BT2020_2_1 = 14,
    Transfer_BT2020_2_2 = 15,
    Transfer_SMPTE_ST2084 = 16,
    Transfer_ST_428 = 17,
    Transfer_HLG = 18,
    Transfer_Max = 255,
};

enum ColorRange : uint32_t {
    Range_Limited = 0,
    Range_Full = 1,
    Range_Max = 255,
};

// In units of 0.00002.
struct Chromaticity {
    uint32_t x;
    uint32_t y;
};

struct MasteringDisplay {
    uint8_t present;  // boolean
    uint8_t reserved[3];
    Chromaticity red;
    Chromaticity green;
    Chromaticity blue;
    Chromaticity white;
    uint32_t maxLuminance;  // cd/m2
    uint32_t minLuminance;  // 0.0001 cd/m2
};

struct ContentLightLevel {
    uint8_t present;  // boolean
    uint8_t reserved[3];
    uint32_t maxContent;       // cd/m2
    uint32_t maxFrameAverage;  // cd/m2
};

constexpr size_t kMaxDynamicMetaData = 1024;

// Shared with the display stack, byte for byte. A record is zeroed before it is filled; what one
// holds that came from elsewhere is not to be trusted.
struct ColorMetaData {
    ColorPrimaries colorPrimaries;
    ColorRange range;
    GammaTransfer transfer;
    MatrixCoEfficients matrixCoefficients;
    MasteringDisplay masteringDisplay;
    ContentLightLevel contentLightLevel;
    uint8_t reserved[1704];
    uint32_t dynamicMetaDataLength;  // bytes
    uint8_t dynamicMetaData[kMaxDynamicMetaData];
};

static_assert(offsetof(ColorMetaData, colorPrimaries) == 0);
static_assert(offsetof(ColorMetaData, range) == 4);
static_assert(offsetof(ColorMetaData, transfer) == 8);
static_assert(offsetof(ColorMetaData, matrixCoefficients) == 12);
static_assert(offsetof(ColorMetaData, masteringDisplay.present) == 16);
static_assert(offsetof(ColorMetaData, masteringDisplay.red) == 20);
static_assert(offsetof(ColorMetaData, masteringDisplay.green) == 28);
static_assert(offsetof(ColorMetaData, masteringDisplay.blue) == 36);
static_assert(offsetof(ColorMetaData, masteringDisplay.white) == 44);
static_assert(offsetof(ColorMetaData, masteringDisplay.maxLuminance) == 52);
static_assert(offsetof(ColorMetaData, masteringDisplay.minLuminance) == 56);
static_assert(offsetof(ColorMetaData, contentLightLevel.present) == 60);
static_assert(offsetof(ColorMetaData, contentLightLevel.maxContent) == 64);
static_assert(offsetof(ColorMetaData, contentLightLevel.maxFrameAverage) == 68);
static_assert(offsetof(ColorMetaData, dynamicMetaDataLength) == 1776);
static_assert(offsetof(ColorMetaData, dynamicMetaData) == 1780);
static_assert(sizeof(ColorMetaData) == 2804);

}  // namespace lxd
