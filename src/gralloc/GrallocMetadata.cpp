#include <base/FormatTable.h>
#include <base/LogModules.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2VendorParams.h>

#include <algorithm>
#include <cstring>

#include "DisplayMetadata.h"
#include "GrallocMetadataFetch.h"

namespace lx2 {

constexpr LogModule kLog = kGrallocLog;

namespace {

// What every operation needs. The text is the same for get and set.
bool Ready(bool valid, DisplayMetadataFunction function, const char* operation) {
    if (!valid) {
        LX2_LOGW("private handle NULL, cannot set metadata");
        return false;
    }
    if (function == nullptr) {
        LX2_LOGW("interface %s in invalid", operation);
        return false;
    }
    return true;
}

bool ReadyToGet(bool valid) {
    return Ready(valid, LX2LXDMetadata::sLibrary.getMetaDataAndUnmap, "getMetadata");
}

bool ReadyToSet(bool valid) {
    return Ready(valid, LX2LXDMetadata::sLibrary.setMetaDataAndUnmap, "setMetadata");
}

bool HasOutputs(bool outputs) {
    if (!outputs)
        LX2_LOGW("infos is NULL, cannot set metadata");
    return outputs;
}

// The display-metadata library takes a word at least: a shorter payload gets zeros behind it.
void SetPayload(void* handle, DisplayMetadataType type, C2Info* info, const char* name) {
    uint8_t* payload = reinterpret_cast<uint8_t*>(info) + sizeof(C2Param);
    uint8_t padded[sizeof(uint32_t)] = {};
    const size_t size = info->size() - std::min(info->size(), sizeof(C2Param));
    const bool isShort = size < sizeof(padded);
    if (isShort)
        memcpy(padded, payload, size);
    SetRecord(handle, type, isShort ? padded : payload, name);
}

}  // namespace

LX2Status LX2GrallocBuffer::getMetadata(const std::vector<C2Param::Type>& types,
                                        std::vector<std::unique_ptr<C2Param>>* out) {
    if (!ReadyToGet(mValid) || !HasOutputs(out != nullptr))
        return LX2_ERROR;
    bool fetched = false;
    for (const C2Param::Type& type : types) {
        const uint32_t kind = type.type();
        if (kind == C2StreamAvTimestampTuning::input::PARAM_TYPE) {
            fetched |= FetchAvTimestamp(mHandle, out);
        } else if (kind == C2StreamColorAspectsInfo::input::PARAM_TYPE) {
            lxd::ColorMetaData record;
            fetched |= FetchColorAspects(mHandle, out, &record);
        }
    }
    return fetched ? C2_OK : LX2_ERROR;
}

LX2Status LX2GrallocBuffer::getMetadata(std::vector<std::unique_ptr<C2Param>>* infos,
                                        std::vector<std::unique_ptr<C2Param>>* configUpdates) {
    if (!ReadyToGet(mValid) || !HasOutputs(infos != nullptr && configUpdates != nullptr))
        return LX2_ERROR;
    bool fetched = false;
    lxd::ColorMetaData record;
    if (FetchColorAspects(mHandle, configUpdates, &record)) {
        if (geometry::RowOf(format()).bitDepth == 10)
            AppendHdrStatic(record, configUpdates);
        AppendHdrDynamic(record, infos);
        fetched = true;
    }
    fetched |= FetchKva(mHandle, infos, configUpdates);
    fetched |= FetchStatistics(mHandle, infos);
    return fetched ? C2_OK : LX2_ERROR;
}

LX2Status LX2GrallocBuffer::setMetadata(const std::vector<std::shared_ptr<C2Info>>& infos) {
    if (!ReadyToSet(mValid))
        return LX2_ERROR;
    lxd::ColorMetaData record{};
    bool colorChanged = false;
    for (const auto& info : infos) {
        if (info == nullptr)
            continue;
        switch (static_cast<uint32_t>(info->index())) {
            case C2StreamColorAspectsInfo::output::PARAM_TYPE:
                if (const auto* aspects = C2StreamColorAspectsInfo::output::From(info.get()))
                    colorChanged = LX2GrallocMetadataTranslater::convertAspectsToMetaData(
                                       *aspects, &record) == C2_OK;
                break;
            case C2StreamHdrStaticMetadataInfo::output::PARAM_TYPE:
                if (const auto* hsi = C2StreamHdrStaticMetadataInfo::output::From(info.get())) {
                    colorChanged = true;
                    LX2GrallocMetadataTranslater::convertHsiToMetaData(*hsi, &record);
                }
                break;
            case C2StreamInterlaceInfo::output::PARAM_TYPE:
                SetPayload(mHandle, DisplayMetadataType::Interlace, info.get(), "[Interlace]");
                break;
            case C2StreamRefreshRateInfo::output::PARAM_TYPE:
                SetPayload(mHandle, DisplayMetadataType::RefreshRate, info.get(), "[RefreshRate]");
                break;
            default:
                break;
        }
    }
    if (colorChanged)
        SetRecord(mHandle, DisplayMetadataType::Color, &record, "[Color]");
    return C2_OK;
}

LX2Status LX2GrallocBuffer::setPresentationTime(uint64_t timestamp) {
    const bool done = ReadyToSet(mValid) && SetRecord(mHandle, DisplayMetadataType::AvTimestamp,
                                                      &timestamp, "[AvTimestamp]");
    return done ? C2_OK : LX2_ERROR;
}

LX2Status LX2GrallocBuffer::copyMetadataTo(LX2GrallocBuffer* target,
                                           std::vector<C2Param::Index>* omitted) {
    if (target == nullptr)
        return LX2_BAD_ARG;
    if (!ReadyToGet(mValid) || !ReadyToSet(target->mValid))
        return LX2_ERROR;
    const auto omit = [omitted](uint32_t index) {
        if (omitted != nullptr)
            omitted->emplace_back(index);
    };
    uint64_t timestamp;
    if (GetRecord(mHandle, DisplayMetadataType::AvTimestamp, &timestamp) &&
        target->setPresentationTime(timestamp) != C2_OK)
        omit(kAvTimestampProduced);
    lxd::ColorMetaData color;
    // As a record, and not by way of parameters: those can't express all of its values.
    if (GetRecord(mHandle, DisplayMetadataType::Color, &color) &&
        !SetRecord(target->mHandle, DisplayMetadataType::Color, &color, "[Color]"))
        omit(C2StreamColorAspectsInfo::input::PARAM_TYPE);
    KvaRecord kva;
    if (GetRecord(mHandle, DisplayMetadataType::Kva, &kva)) {
        omit(C2StreamKvaMetadataInfo::input::PARAM_TYPE);
        omit(C2StreamKvaRatesTuning::input::PARAM_TYPE);
    }
    StatisticsRecord statistics;
    if (GetRecord(mHandle, DisplayMetadataType::Statistics, &statistics))
        omit(C2StreamCmpxStatisticsInfo::input::PARAM_TYPE);
    return C2_OK;
}

}  // namespace lx2
