#include "GrallocMetadataFetch.h"

#include <base/LogModules.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2VendorParams.h>
#include <lx2/Memory.h>

#include <algorithm>
#include <cinttypes>
#include <utility>

#include "DisplayMetadata.h"

namespace lx2 {

constexpr LogModule kLog = kGrallocLog;

namespace {

// A length that came with a record, clamped to the capacity of the record's payload.
uint32_t ClampLength(uint32_t length, size_t capacity) {
    return std::min(length, static_cast<uint32_t>(capacity));
}

}  // namespace

bool FetchAvTimestamp(void* handle, MetadataParams* out) {
    LX2_LOGT("get av timestamp");
    uint64_t timestamp;
    if (!GetRecord(handle, DisplayMetadataType::AvTimestamp, &timestamp)) {
        LX2_LOGW("Failed to get metadata: av timestamp");
        return false;
    }
    LX2_LOGT("av timestamp: %" PRIu64, timestamp);
    auto param = std::make_unique<C2StreamAvTimestampTuning>();
    param->reserved = 0;
    param->timestamp = timestamp;
    out->push_back(std::move(param));
    return true;
}

bool FetchColorAspects(void* handle, MetadataParams* out, lxd::ColorMetaData* record) {
    LX2_LOGT("get color metadata");
    if (!GetRecord(handle, DisplayMetadataType::Color, record)) {
        LX2_LOGW("Failed to get metadata: COLOR_METADATA");
        return false;
    }
    std::string text;
    LX2_LOGT("Color Metadata: %s", LX2GrallocMetadataTranslater::AsString(*record, &text).c_str());
    auto aspects = std::make_unique<C2StreamColorAspectsInfo::input>();
    LX2GrallocMetadataTranslater::convertMetaDataToAspects(*record, aspects.get());
    LX2_LOGT("Gralloc -> C2 Aspects: %s", LX2ColorAspects::AsString(*aspects, &text).c_str());
    out->push_back(std::move(aspects));
    LX2_LOGT("Get metadata: COLOR_METADATA suceeded");
    return true;
}

void AppendHdrStatic(const lxd::ColorMetaData& record, MetadataParams* out) {
    if (record.masteringDisplay.present == 0 && record.contentLightLevel.present == 0)
        return;
    auto hsi = std::make_unique<C2StreamHdrStaticMetadataInfo::input>();
    LX2GrallocMetadataTranslater::convertMetaDataToHsi(record, hsi.get());
    out->push_back(std::move(hsi));
}

void AppendHdrDynamic(const lxd::ColorMetaData& record, MetadataParams* out) {
    const uint32_t length =
        ClampLength(record.dynamicMetaDataLength, sizeof(record.dynamicMetaData));
    if (length == 0)
        return;
    auto param = C2StreamHdr10PlusInfo::input::AllocUnique(length, 0u);
    memcpy_s(param->m.value, length, record.dynamicMetaData, length);
    out->push_back(std::move(param));
}

bool FetchKva(void* handle, MetadataParams* infos, MetadataParams* configUpdates) {
    KvaRecord record;
    if (!GetRecord(handle, DisplayMetadataType::Kva, &record))
        return false;
    auto metadata = std::make_unique<C2StreamKvaMetadataInfo::input>();
    metadata->payloadSize = ClampLength(record.payloadSize, sizeof(record.payload));
    metadata->flags = record.flags;
    memcpy_s(metadata->payload, metadata->payloadSize, record.payload, metadata->payloadSize);
    memcpy_s(metadata->further, sizeof(metadata->further), record.further, sizeof(record.further));
    auto rates = std::make_unique<C2StreamKvaRatesTuning::input>();
    rates->captureRate = record.captureRate;
    rates->kvaRate = record.kvaRate;
    LX2_LOGT("KVA Metadata: size %u capture rate %u kva rate %u flag %u", metadata->payloadSize,
             rates->captureRate, rates->kvaRate, metadata->flags);
    infos->push_back(std::move(metadata));
    configUpdates->push_back(std::move(rates));
    LX2_LOGT("Get metadata: GET_KVA_METADATA suceeded");
    return true;
}

bool FetchStatistics(void* handle, MetadataParams* infos) {
    StatisticsRecord record;
    if (!GetRecord(handle, DisplayMetadataType::Statistics, &record))
        return false;
    auto param = std::make_unique<C2StreamCmpxStatisticsInfo::input>();
    param->header = record.header;
    param->valid = record.valid;
    std::copy(std::begin(record.tiles), std::end(record.tiles), param->tiles);
    if (param->valid != 0)
        LX2_LOGT(
            "cmpx stats: 32 Tile = %u 64 Tile = %u 96 Tile = %u128 Tile = %u 160 Tile = %u "
            "192 Tile = %u 256 Tile = %u\n",
            param->tiles[0], param->tiles[1], param->tiles[2], param->tiles[3], param->tiles[4],
            param->tiles[5], param->tiles[6]);
    infos->push_back(std::move(param));
    LX2_LOGT("Get metadata: GET_CMPX_CR_STATS_INFO suceeded");
    return true;
}

}  // namespace lx2
