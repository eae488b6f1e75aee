// The C2 parameters that carry a buffer's display metadata.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Config.h>
#include <C2Param.h>
#include <lx2device/DisplayMetadataLibrary.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

namespace lx2 {

// Requested types.
constexpr uint32_t kAvTimestampRequest = 0x42008015;
constexpr uint32_t kColorAspectsRequest = C2StreamColorAspectsInfo::input::PARAM_TYPE;
static_assert(kColorAspectsRequest == 0xC2001809);

// Consumed infos.
constexpr uint32_t kColorAspectsOutput = C2StreamColorAspectsInfo::output::PARAM_TYPE;
constexpr uint32_t kHdrStaticOutput = C2StreamHdrStaticMetadataInfo::output::PARAM_TYPE;
constexpr uint32_t kInterlaceOutput = 0xD200800B;
constexpr uint32_t kRefreshRateOutput = 0xD2008035;
static_assert(kColorAspectsOutput == 0xD2001809);
static_assert(kHdrStaticOutput == 0xD200180A);

// Produced parameters that have a public type.
static_assert(sizeof(C2StreamColorAspectsInfo::input) == 24);
static_assert(C2StreamHdrStaticMetadataInfo::input::PARAM_TYPE == 0xC200180A);
static_assert(sizeof(C2StreamHdrStaticMetadataInfo::input) == 56);

// Produced parameters that have none. Offsets are from the parameter's start.
struct ParamHeader {
    uint32_t size;
    uint32_t index;
};
static_assert(sizeof(ParamHeader) == sizeof(C2Param));

struct AvTimestampParam {
    static constexpr uint32_t kIndex = 0x72008015;
    ParamHeader header;
    uint64_t reserved;
    uint64_t timestamp;
};
static_assert(offsetof(AvTimestampParam, timestamp) == 16);
static_assert(sizeof(AvTimestampParam) == 24);

struct HdrDynamicParam {
    static constexpr uint32_t kIndex = 0xC2011811;
    ParamHeader header;
    uint8_t payload[lxd::kMaxDynamicMetaData];  // as many as there are
};
static_assert(offsetof(HdrDynamicParam, payload) == 8);

struct KvaParam {
    static constexpr uint32_t kIndex = 0xC200802E;
    ParamHeader header;
    uint32_t payloadSize;
    uint8_t payload[KvaRecord::kMaxPayload];
    uint32_t flags;
    uint8_t further[KvaRecord::kFurther];
};
static_assert(offsetof(KvaParam, payloadSize) == 8);
static_assert(offsetof(KvaParam, payload) == 12);
static_assert(offsetof(KvaParam, flags) == 1036);
static_assert(offsetof(KvaParam, further) == 1040);
static_assert(sizeof(KvaParam) == 1072);

struct KvaRatesParam {
    static constexpr uint32_t kIndex = 0x4200802F;
    ParamHeader header;
    uint32_t captureRate;
    uint32_t kvaRate;
};
static_assert(offsetof(KvaRatesParam, captureRate) == 8);
static_assert(sizeof(KvaRatesParam) == 16);

struct StatisticsParam {
    static constexpr uint32_t kIndex = 0xC2008020;
    ParamHeader header;
    uint32_t word;
    uint8_t valid;
    uint8_t reserved[3];
    uint32_t tiles[StatisticsRecord::kTileSizes];
};
static_assert(offsetof(StatisticsParam, word) == 8);
static_assert(offsetof(StatisticsParam, valid) == 12);
static_assert(offsetof(StatisticsParam, tiles) == 16);
static_assert(sizeof(StatisticsParam) == 44);

// The parameter of such a structure, whose header is filled in here. size: of the parameter, when
// it is shorter than the structure.
template <typename Param>
std::unique_ptr<C2Param> MakeParam(Param param, size_t size = sizeof(Param)) {
    param.header = {static_cast<uint32_t>(size), Param::kIndex};
    // As bytes: the compiler may take a structure and the parameter read out of it for strangers.
    alignas(C2Param) uint8_t bytes[sizeof(Param)];
    memcpy(bytes, &param, sizeof(Param));
    return C2Param::Copy(*reinterpret_cast<const C2Param*>(bytes));
}

}  // namespace lx2
