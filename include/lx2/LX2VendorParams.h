// The vendor's Codec 2.0 parameters of a buffer's display metadata, which the gralloc buffer's
// getMetadata() and setMetadata() produce and take: indices, layouts, types. Numbers are
// little-endian; what a field means beyond its name is the display stack's to say.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Config.h>
#include <C2Param.h>
#include <C2ParamDef.h>
#include <lx2/Export.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lx2 {

enum : uint32_t {
    kParamIndexInterlace = C2Param::TYPE_INDEX_VENDOR_START + 0x0B,
    kParamIndexAvTimestamp = C2Param::TYPE_INDEX_VENDOR_START + 0x15,
    kParamIndexCmpxStatistics = C2Param::TYPE_INDEX_VENDOR_START + 0x20,
    kParamIndexKvaMetadata = C2Param::TYPE_INDEX_VENDOR_START + 0x2E,
    kParamIndexKvaRates = C2Param::TYPE_INDEX_VENDOR_START + 0x2F,
    kParamIndexRefreshRate = C2Param::TYPE_INDEX_VENDOR_START + 0x35,
};

// The presentation time of the frame in a buffer.
struct LX2_API C2AvTimestampStruct {
    uint64_t reserved;   // 0
    uint64_t timestamp;  // in the component's own units

    DEFINE_C2STRUCT(AvTimestamp)
} C2_PACK;
// Requested by the type of its input form, and produced as this type itself, whose index has no
// direction.
using C2StreamAvTimestampTuning = C2StreamParam<C2Tuning, C2AvTimestampStruct>;
constexpr uint32_t kAvTimestampProduced = C2StreamAvTimestampTuning::PARAM_TYPE;

// Statistics of the compressed layout.
struct LX2_API C2CmpxStatisticsStruct {
    uint32_t header;
    uint8_t valid;  // whether the counts are
    uint8_t padding[3];
    uint32_t tiles[7];  // of 32, 64, 96, 128, 160, 192 and 256 bytes

    DEFINE_C2STRUCT(CmpxStatistics)
} C2_PACK;
using C2StreamCmpxStatisticsInfo = C2StreamParam<C2Info, C2CmpxStatisticsStruct>;

// Data of the vision processor.
struct LX2_API C2KvaMetadataStruct {
    uint32_t payloadSize;  // bytes
    uint8_t payload[1024];
    uint32_t flags;
    uint8_t further[32];

    DEFINE_C2STRUCT(KvaMetadata)
} C2_PACK;
using C2StreamKvaMetadataInfo = C2StreamParam<C2Info, C2KvaMetadataStruct>;

// Its frame rates.
struct LX2_API C2KvaRatesStruct {
    uint32_t captureRate;
    uint32_t kvaRate;

    DEFINE_C2STRUCT(KvaRates)
} C2_PACK;
using C2StreamKvaRatesTuning = C2StreamParam<C2Tuning, C2KvaRatesStruct>;

// Taken by setMetadata() as they are: a word at least of what the display stack defines.
using C2StreamInterlaceInfo = C2StreamParam<C2Info, C2Uint32Value, kParamIndexInterlace>;
using C2StreamRefreshRateInfo = C2StreamParam<C2Info, C2Uint32Value, kParamIndexRefreshRate>;

}  // namespace lx2
