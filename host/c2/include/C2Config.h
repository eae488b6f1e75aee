// Stand-in for the Codec 2.0 support library's <C2Config.h>: the standard parameters that this
// family, its examples and its tests use.
#pragma once

#include <C2Component.h>
#include <C2ParamDef.h>

// Core indices of standard parameters.
enum C2ParamIndexKind : uint32_t {
    // Structures inside others; the published numbers are not known here.
    kParamIndexColorXy = 1,
    kParamIndexMasteringDisplayColorVolume,

    kParamIndexComponentName = 0x0802,
    kParamIndexComponentKind = 0x0804,
    kParamIndexComponentDomain = 0x0805,
    kParamIndexComponentAttributes = 0x0806,
    kParamIndexTimeStretch = 0x0807,
    kParamIndexProfileLevel = 0x0808,
    kParamIndexInitData = 0x0809,
    kParamIndexMediaType = 0x080C,
    kParamIndexDelay = 0x080E,
    kParamIndexDelayRequest = C2Param::CoreIndex::IS_REQUEST_FLAG | kParamIndexDelay,
    kParamIndexSubscribedParamIndices = 0x0814,
    kParamIndexAllocators = 0x0819,
    kParamIndexBlockPools = 0x081A,
    kParamIndexBufferType = 0x081B,
    kParamIndexMaxBufferSize = 0x081E,
    kParamIndexBitrate = 0x1000,
    kParamIndexPictureSize = 0x1800,
    kParamIndexCropRect = 0x1801,
    kParamIndexPixelFormat = 0x1802,
    kParamIndexColorAspects = 0x1809,
    kParamIndexHdrStaticMetadata = 0x180A,
    kParamIndexDefaultColorAspects = 0x180B,
    kParamIndexPictureTypeMask = 0x1810,
    kParamIndexHdr10PlusMetadata = 0x1811,
    kParamIndexHdrDynamicMetadata = 0x1813,
    kParamIndexFrameRate = 0x2000,
    kParamIndexMaxPictureSize = 0x2003,
    kParamIndexSyncFrameInterval = 0x2005,
    kParamIndexRequestSyncFrame = 0x2006,
};

// The component as a whole.
using C2ComponentNameSetting = C2GlobalParam<C2Setting, C2StringValue, kParamIndexComponentName>;
using C2ComponentKindSetting =
    C2GlobalParam<C2Setting, C2SimpleValueStruct<C2Component::kind_t>, kParamIndexComponentKind>;
using C2ComponentDomainSetting =
    C2GlobalParam<C2Setting, C2SimpleValueStruct<C2Component::domain_t>,
                  kParamIndexComponentDomain>;
using C2ComponentAttributesSetting =
    C2GlobalParam<C2Setting, C2SimpleValueStruct<C2Component::attrib_t>,
                  kParamIndexComponentAttributes>;
using C2ComponentTimeStretchTuning = C2GlobalParam<C2Tuning, C2FloatValue, kParamIndexTimeStretch>;
using C2SubscribedParamIndicesTuning =
    C2GlobalParam<C2Tuning, C2SimpleArrayStruct<C2Param::Index>, kParamIndexSubscribedParamIndices>;
constexpr char C2_PARAMKEY_COMPONENT_NAME[] = "component.name";
constexpr char C2_PARAMKEY_COMPONENT_KIND[] = "component.kind";
constexpr char C2_PARAMKEY_COMPONENT_DOMAIN[] = "component.domain";

// Its ports: kind of data, buffers, pools. Delays are in frames.
using C2PortMediaTypeSetting = C2PortParam<C2Setting, C2StringValue, kParamIndexMediaType>;
using C2StreamBufferTypeSetting =
    C2StreamParam<C2Setting, C2SimpleValueStruct<C2BufferData::type_t>, kParamIndexBufferType>;
using C2StreamMaxBufferSizeInfo =
    C2StreamParam<C2Info, C2Uint32Value, kParamIndexMaxBufferSize>;  // bytes
using C2PortAllocatorsTuning =
    C2PortParam<C2Tuning, C2SimpleArrayStruct<C2AllocatorStore::id_t>, kParamIndexAllocators>;
using C2PortBlockPoolsTuning =
    C2PortParam<C2Tuning, C2SimpleArrayStruct<C2BlockPool::local_id_t>, kParamIndexBlockPools>;
using C2PortActualDelayTuning = C2PortParam<C2Tuning, C2Uint32Value, kParamIndexDelay>;
using C2PortRequestedDelayTuning = C2PortParam<C2Tuning, C2Uint32Value, kParamIndexDelayRequest>;
using C2ActualPipelineDelayTuning = C2GlobalParam<C2Tuning, C2Uint32Value, kParamIndexDelay>;
constexpr char C2_PARAMKEY_INPUT_MEDIA_TYPE[] = "input.media-type";
constexpr char C2_PARAMKEY_OUTPUT_MEDIA_TYPE[] = "output.media-type";
constexpr char C2_PARAMKEY_INPUT_STREAM_BUFFER_TYPE[] = "input.buffers.type";
constexpr char C2_PARAMKEY_OUTPUT_STREAM_BUFFER_TYPE[] = "output.buffers.type";
constexpr char C2_PARAMKEY_INPUT_MAX_BUFFER_SIZE[] = "input.buffers.max-size";
constexpr char C2_PARAMKEY_OUTPUT_ALLOCATORS[] = "output.buffers.allocator-ids";
constexpr char C2_PARAMKEY_OUTPUT_BLOCK_POOLS[] = "output.buffers.pool-ids";
constexpr char C2_PARAMKEY_INPUT_DELAY[] = "input.delay";
constexpr char C2_PARAMKEY_OUTPUT_DELAY[] = "output.delay";
constexpr char C2_PARAMKEY_PIPELINE_DELAY[] = "algo.delay";

struct C2Config {
    // Of which only what no stream has is named here.
    enum profile_t : uint32_t { PROFILE_UNUSED = 0 };
    enum level_t : uint32_t { LEVEL_UNUSED = 0 };
    enum picture_type_t : uint32_t {
        SYNC_FRAME = 1 << 0,
        I_FRAME = 1 << 1,
        P_FRAME = 1 << 2,
        B_FRAME = 1 << 3,
    };
    enum hdr_dynamic_metadata_type_t : uint32_t {};
};

// The coded stream. Codec-specific data: the stream's headers, as bytes.
struct C2ProfileLevelStruct {
    C2Config::profile_t profile;
    C2Config::level_t level;

    C2ProfileLevelStruct(C2Config::profile_t p = C2Config::PROFILE_UNUSED,
                         C2Config::level_t l = C2Config::LEVEL_UNUSED)
        : profile(p), level(l) {}

    DEFINE_AND_DESCRIBE_C2STRUCT(ProfileLevel)
    C2FIELD(profile, "profile")
    C2FIELD(level, "level")
};
using C2StreamProfileLevelInfo = C2StreamParam<C2Info, C2ProfileLevelStruct>;
using C2StreamInitDataInfo = C2StreamParam<C2Info, C2BlobValue, kParamIndexInitData>;
using C2StreamBitrateInfo =
    C2StreamParam<C2Info, C2Uint32Value, kParamIndexBitrate>;  // bits per second
using C2StreamPictureTypeMaskInfo =
    C2StreamParam<C2Info, C2SimpleValueStruct<C2Config::picture_type_t>,
                  kParamIndexPictureTypeMask>;
using C2StreamSyncFrameIntervalTuning =
    C2StreamParam<C2Tuning, C2Int64Value, kParamIndexSyncFrameInterval>;  // microseconds
using C2StreamRequestSyncFrameTuning =
    C2StreamParam<C2Tuning, C2SimpleValueStruct<c2_bool_t>, kParamIndexRequestSyncFrame>;
constexpr char C2_PARAMKEY_PROFILE_LEVEL[] = "coded.pl";
constexpr char C2_PARAMKEY_INIT_DATA[] = "coded.init-data";
constexpr char C2_PARAMKEY_BITRATE[] = "coded.bitrate";
constexpr char C2_PARAMKEY_FRAME_RATE[] = "coded.frame-rate";
constexpr char C2_PARAMKEY_PICTURE_TYPE[] = "coded.picture-type";
constexpr char C2_PARAMKEY_SYNC_FRAME_INTERVAL[] = "coding.sync-frame-interval";
constexpr char C2_PARAMKEY_REQUEST_SYNC_FRAME[] = "coding.request-sync-frame";

// The pictures.
struct C2PictureSizeStruct {
    uint32_t width;
    uint32_t height;

    C2PictureSizeStruct(uint32_t w = 0, uint32_t h = 0) : width(w), height(h) {}

    DEFINE_AND_DESCRIBE_C2STRUCT(PictureSize)
    C2FIELD(width, "width")
    C2FIELD(height, "height")
};
using C2StreamPictureSizeInfo = C2StreamParam<C2Info, C2PictureSizeStruct>;
using C2StreamMaxPictureSizeTuning =
    C2StreamParam<C2Tuning, C2PictureSizeStruct, kParamIndexMaxPictureSize>;

struct C2RectStruct : C2Rect {
    C2RectStruct() = default;
    C2RectStruct(const C2Rect& rect) : C2Rect(rect) {}

    enum : uint32_t { CORE_INDEX = kParamIndexCropRect };
    static const std::vector<C2FieldDescriptor> FieldList() {
        using _type = C2Rect;
        return {C2FIELD(width, "width") C2FIELD(height, "height") C2FIELD(left, "left")
                    C2FIELD(top, "top")};
    }
};
using C2StreamCropRectInfo = C2StreamParam<C2Info, C2RectStruct>;
using C2StreamPixelFormatInfo = C2StreamParam<C2Info, C2Uint32Value, kParamIndexPixelFormat>;
using C2StreamFrameRateInfo =
    C2StreamParam<C2Info, C2FloatValue, kParamIndexFrameRate>;  // frames per second
constexpr char C2_PARAMKEY_PICTURE_SIZE[] = "raw.size";
constexpr char C2_PARAMKEY_MAX_PICTURE_SIZE[] = "raw.max-size";
constexpr char C2_PARAMKEY_CROP_RECT[] = "raw.crop";
constexpr char C2_PARAMKEY_PIXEL_FORMAT[] = "raw.pixel-format";

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
constexpr char C2_PARAMKEY_VUI_COLOR_ASPECTS[] = "coded.vui.color";
constexpr char C2_PARAMKEY_DEFAULT_COLOR_ASPECTS[] = "default.color";
constexpr char C2_PARAMKEY_COLOR_ASPECTS[] = "raw.color";

struct C2ColorXyStruct {
    float x;
    float y;

    DEFINE_AND_DESCRIBE_C2STRUCT(ColorXy)
    C2FIELD(x, "x")
    C2FIELD(y, "y")
};

struct C2MasteringDisplayColorVolumeStruct {
    C2ColorXyStruct red;
    C2ColorXyStruct green;
    C2ColorXyStruct blue;
    C2ColorXyStruct white;
    float maxLuminance;  // cd/m2
    float minLuminance;  // cd/m2

    DEFINE_AND_DESCRIBE_C2STRUCT(MasteringDisplayColorVolume)
    C2FIELD(red, "red")
    C2FIELD(green, "green")
    C2FIELD(blue, "blue")
    C2FIELD(white, "white")
    C2FIELD(maxLuminance, "max-luminance")
    C2FIELD(minLuminance, "min-luminance")
};

struct C2HdrStaticMetadataStruct {
    C2MasteringDisplayColorVolumeStruct mastering;
    float maxCll;   // content light level, cd/m2
    float maxFall;  // frame-average light level, cd/m2

    DEFINE_AND_DESCRIBE_C2STRUCT(HdrStaticMetadata)
    C2FIELD(mastering, "mastering")
    C2FIELD(maxCll, "max-cll")
    C2FIELD(maxFall, "max-fall")
};

using C2StreamHdrStaticMetadataInfo =
    C2StreamParam<C2Info, C2HdrStaticMetadataStruct, kParamIndexHdrStaticMetadata>;
using C2StreamHdrStaticInfo = C2StreamHdrStaticMetadataInfo;
constexpr char C2_PARAMKEY_HDR_STATIC_INFO[] = "raw.hdr-static-info";

// HDR metadata that changes with the frames: HDR10+ alone, as many bytes as the frame has, ...
using C2StreamHdr10PlusInfo = C2StreamParam<C2Info, C2BlobValue, kParamIndexHdr10PlusMetadata>;

// ... and of any type.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
struct C2HdrDynamicMetadataStruct {
    using FlexType = uint8_t;
    C2Config::hdr_dynamic_metadata_type_t type_;
    uint8_t data[0];

    enum : uint32_t { CORE_INDEX = kParamIndexHdrDynamicMetadata };
    static const std::vector<C2FieldDescriptor> FieldList() {
        return {C2FieldDescriptor(static_cast<decltype(type_)*>(nullptr), "type"),
                C2FieldDescriptor(C2FieldDescriptor::BLOB, 0, "data", sizeof(type_), 1)};
    }
};
#pragma GCC diagnostic pop
using C2StreamHdrDynamicMetadataInfo = C2StreamParam<C2Info, C2HdrDynamicMetadataStruct>;
