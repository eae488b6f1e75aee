#include <lx2/LX2VendorParams.h>

namespace lx2 {

// As the display stack's other users have them: offsets from the parameter's start, less the eight
// bytes of its header.
static_assert(C2StreamAvTimestampTuning::input::PARAM_TYPE == 0x42008015);
static_assert(C2StreamAvTimestampTuning::PARAM_TYPE == 0x72008015);
static_assert(sizeof(C2StreamAvTimestampTuning) == 24);
static_assert(offsetof(C2AvTimestampStruct, timestamp) == 16 - 8);
static_assert(C2StreamCmpxStatisticsInfo::input::PARAM_TYPE == 0xC2008020);
static_assert(sizeof(C2StreamCmpxStatisticsInfo::input) == 44);
static_assert(offsetof(C2CmpxStatisticsStruct, valid) == 12 - 8);
static_assert(offsetof(C2CmpxStatisticsStruct, tiles) == 16 - 8);
static_assert(C2StreamKvaMetadataInfo::input::PARAM_TYPE == 0xC200802E);
static_assert(sizeof(C2StreamKvaMetadataInfo::input) == 1072);
static_assert(offsetof(C2KvaMetadataStruct, payload) == 12 - 8);
static_assert(offsetof(C2KvaMetadataStruct, flags) == 1036 - 8);
static_assert(offsetof(C2KvaMetadataStruct, further) == 1040 - 8);
static_assert(C2StreamKvaRatesTuning::input::PARAM_TYPE == 0x4200802F);
static_assert(sizeof(C2StreamKvaRatesTuning::input) == 16);
static_assert(C2StreamHdr10PlusInfo::input::PARAM_TYPE == 0xC2011811);
static_assert(C2StreamInterlaceInfo::output::PARAM_TYPE == 0xD200800B);
static_assert(C2StreamRefreshRateInfo::output::PARAM_TYPE == 0xD2008035);

const std::vector<C2FieldDescriptor> C2AvTimestampStruct::FieldList() {
    return {DESCRIBE_C2FIELD(timestamp, "timestamp")};
}

// A byte alone is no field: whether the counts are valid goes untold.
const std::vector<C2FieldDescriptor> C2CmpxStatisticsStruct::FieldList() {
    return {DESCRIBE_C2FIELD(header, "header") DESCRIBE_C2FIELD(tiles, "tiles")};
}

const std::vector<C2FieldDescriptor> C2KvaMetadataStruct::FieldList() {
    return {DESCRIBE_C2FIELD(payloadSize, "payload-size") DESCRIBE_C2FIELD(payload, "payload")
                DESCRIBE_C2FIELD(flags, "flags") DESCRIBE_C2FIELD(further, "further")};
}

const std::vector<C2FieldDescriptor> C2KvaRatesStruct::FieldList() {
    return {DESCRIBE_C2FIELD(captureRate, "capture-rate") DESCRIBE_C2FIELD(kvaRate, "kva-rate")};
}

}  // namespace lx2
