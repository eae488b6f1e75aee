// Stand-in for the Codec 2.0 support library's <C2Config.h>: the standard parameters that this
// family, its examples and its tests use.
#pragma once

#include <C2ParamDef.h>

// Core indices of standard parameters.
enum C2ParamIndexKind : uint32_t {
    kParamIndexInitData = 0x0809,
    kParamIndexColorAspects = 0x1809,
    kParamIndexHdrStaticMetadata = 0x180A,
    kParamIndexDefaultColorAspects = 0x180B,
};

// Codec-specific data: the stream's headers, as bytes.
using C2StreamInitDataInfo = C2StreamParam<C2Info, C2BlobValue, kParamIndexInitData>;

struct C2Color {
    enum range_t : uint32_t {
        RANGE_UNSPECIFIED = 0,
        RANGE_FULL = 1,
        RANGE_LIMITED = 2,
        RANGE_OTHER = 255,
    };
    enum primaries_t : uint32_t {
        PRIMARIES_UNSPECIFIED = 0,
        PRIMARIES_BT709 = 1,
        PRIMARIES_BT470_M = 2,
        PRIMARIES_BT601_625 = 3,
        PRIMARIES_BT601_525 = 4,
        PRIMARIES_GENERIC_FILM = 5,
        PRIMARIES_BT2020 = 6,
        PRIMARIES_RP431 = 7,
        PRIMARIES_EG432 = 8,
        PRIMARIES_EBU3213 = 9,
        PRIMARIES_OTHER = 255,
    };
    enum transfer_t : uint32_t {
        TRANSFER_UNSPECIFIED = 0,
        TRANSFER_LINEAR = 1,
        TRANSFER_SRGB = 2,
        TRANSFER_170M = 3,
        TRANSFER_GAMMA22 = 4,
        TRANSFER_GAMMA28 = 5,
        TRANSFER_ST2084 = 6,
        TRANSFER_HLG = 7,
        TRANSFER_240M = 64,
        TRANSFER_XVYCC = 65,
        TRANSFER_BT1361 = 66,
        TRANSFER_ST428 = 67,
        TRANSFER_OTHER = 255,
    };
    enum matrix_t : uint32_t {
        MATRIX_UNSPECIFIED = 0,
        MATRIX_BT709 = 1,
        MATRIX_FCC47_73_682 = 2,
        MATRIX_BT601 = 3,
        MATRIX_240M = 4,
        MATRIX_BT2020 = 5,
        MATRIX_BT2020_CONSTANT = 6,
        MATRIX_OTHER = 255,
    };
};

struct C2ColorAspectsStruct {
    C2Color::range_t range = C2Color::RANGE_UNSPECIFIED;
    C2Color::primaries_t primaries = C2Color::PRIMARIES_UNSPECIFIED;
    C2Color::transfer_t transfer = C2Color::TRANSFER_UNSPECIFIED;
    C2Color::matrix_t matrix = C2Color::MATRIX_UNSPECIFIED;

    C2ColorAspectsStruct() = default;
    C2ColorAspectsStruct(C2Color::range_t r, C2Color::primaries_t p, C2Color::transfer_t t,
                         C2Color::matrix_t m)
        : range(r), primaries(p), transfer(t), matrix(m) {}

    DEFINE_AND_DESCRIBE_C2STRUCT(ColorAspects)
    C2FIELD(range, "range")
    C2FIELD(primaries, "primaries")
    C2FIELD(transfer, "transfer")
    C2FIELD(matrix, "matrix")
};

// What the stream says of its colors, and what the client wants where the stream is silent.
using C2StreamColorAspectsInfo =
    C2StreamParam<C2Info, C2ColorAspectsStruct, kParamIndexColorAspects>;
using C2StreamColorAspectsTuning =
    C2StreamParam<C2Tuning, C2ColorAspectsStruct, kParamIndexDefaultColorAspects>;

struct C2ColorXyStruct {
    float x;
    float y;
};

struct C2MasteringDisplayColorVolumeStruct {
    C2ColorXyStruct red;
    C2ColorXyStruct green;
    C2ColorXyStruct blue;
    C2ColorXyStruct white;
    float maxLuminance;  // cd/m2
    float minLuminance;  // cd/m2
};

struct C2HdrStaticMetadataStruct {
    C2MasteringDisplayColorVolumeStruct mastering;
    float maxCll;   // content light level, cd/m2
    float maxFall;  // frame-average light level, cd/m2
};

using C2StreamHdrStaticMetadataInfo =
    C2StreamParam<C2Info, C2HdrStaticMetadataStruct, kParamIndexHdrStaticMetadata>;
using C2StreamHdrStaticInfo = C2StreamHdrStaticMetadataInfo;
