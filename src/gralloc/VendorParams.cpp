#include <lx2/LX2VendorParams.h>

namespace lx2 {

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
