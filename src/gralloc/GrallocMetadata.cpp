#include <base/LogModules.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2VendorParams.h>
#include <lx2/PixFormat.h>

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

bool ReadyToGet(bool valid, bool outputs) {
    if (!Ready(valid, LX2LXDMetadata::sLibrary.getMetaDataAndUnmap, "getMetadata"))
        return false;
    if (!outputs)
        LX2_LOGW("infos is NULL, cannot set metadata");
    return outputs;
}

void TraceColorFetched() {
    LX2_LOGT("Get metadata: COLOR_METADATA suceeded");
}

void Set(void* handle, DisplayMetadataType type, void* data, const char* name) {
    const int error =
        LX2LXDMetadata::sLibrary.setMetaDataAndUnmap(handle, static_cast<int>(type), data);
    if (error == 0)
        LX2_LOGT("Set metadata: %s suceeded", name);
    else
        LX2_LOGW("Set metadata: %s failed !", name);
}

// A word at least goes to the display-metadata library: a shorter payload gets zeros behind it.
void SetPayload(void* handle, DisplayMetadataType type, C2Info* info, const char* name) {
    uint8_t* payload = reinterpret_cast<uint8_t*>(info) + sizeof(C2Param);
    const size_t size = info->size() - std::min<size_t>(info->size(), sizeof(C2Param));
    uint32_t padded = 0;
    if (size >= sizeof(padded))
        return Set(handle, type, payload, name);
    memcpy(&padded, payload, size);
    Set(handle, type, &padded, name);
}

}  // namespace

LX2Status LX2GrallocBuffer::getMetadata(const std::vector<C2Param::Type>& types,
                                        std::vector<std::unique_ptr<C2Param>>* out) {
    if (!ReadyToGet(mValid, out != nullptr))
        return LX2_ERROR;
    bool fetched = false;
    for (const C2Param::Type& type : types) {
        const uint32_t kind = type.type();
        if (kind == C2StreamAvTimestampTuning::input::PARAM_TYPE) {
            fetched |= FetchAvTimestamp(mHandle, out);
        } else if (kind == C2StreamColorAspectsInfo::input::PARAM_TYPE) {
            lxd::ColorMetaData record;
            if (FetchColorAspects(mHandle, out, &record)) {
                TraceColorFetched();
                fetched = true;
            }
        }
    }
    return fetched ? LX2Status{C2_OK} : LX2_ERROR;
}

LX2Status LX2GrallocBuffer::getMetadata(std::vector<std::unique_ptr<C2Param>>* infos,
                                        std::vector<std::unique_ptr<C2Param>>* configUpdates) {
    if (!ReadyToGet(mValid, infos != nullptr && configUpdates != nullptr))
        return LX2_ERROR;
    bool fetched = false;
    lxd::ColorMetaData record;
    if (FetchColorAspects(mHandle, configUpdates, &record)) {
        if (format() == PixFormat::MIREL_TP10 || format() == PixFormat::MIREL_P010)
            AppendHdrStatic(record, configUpdates);
        AppendHdrDynamic(record, infos);
        TraceColorFetched();
        fetched = true;
    }
    fetched |= FetchKva(mHandle, infos, configUpdates);
    fetched |= FetchStatistics(mHandle, infos);
    return fetched ? LX2Status{C2_OK} : LX2_ERROR;
}

LX2Status LX2GrallocBuffer::setMetadata(const std::vector<std::shared_ptr<C2Info>>& infos) {
    if (!Ready(mValid, LX2LXDMetadata::sLibrary.setMetaDataAndUnmap, "setMetadata"))
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
        Set(mHandle, DisplayMetadataType::Color, &record, "[Color]");
    return C2_OK;
}

}  // namespace lx2
