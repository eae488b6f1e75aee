// Display metadata of any content: records that come from elsewhere, and infos of any length.
#include <lx2/LX2GrallocBuffer.h>
#include <lx2device/DisplayMetadataLibrary.h>
#include <lx2host/DisplayMetadata.h>

#include <cstring>

#include "HandleMaker.h"

namespace lx2::fuzz {
namespace {

using Params = std::vector<std::unique_ptr<C2Param>>;

struct Kind {
    DisplayMetadataType type;
    size_t size;  // of its record
};
constexpr Kind kKinds[] = {{DisplayMetadataType::AvTimestamp, sizeof(uint64_t)},
                           {DisplayMetadataType::Color, sizeof(lxd::ColorMetaData)},
                           {DisplayMetadataType::Interlace, sizeof(uint32_t)},
                           {DisplayMetadataType::Statistics, sizeof(StatisticsRecord)},
                           {DisplayMetadataType::RefreshRate, sizeof(uint32_t)},
                           {DisplayMetadataType::Kva, sizeof(KvaRecord)}};

constexpr uint32_t kInfos[] = {C2StreamColorAspectsInfo::output::PARAM_TYPE,
                               C2StreamHdrStaticMetadataInfo::output::PARAM_TYPE, 0xD200800B,
                               0xD2008035};

constexpr uint32_t kRequests[] = {0x42008015, 0xC2001809, 0x42208015, 0xC2401809, 0xC200180A};

// The allocator's own handle, imported: the one that the display-metadata library takes.
class Imported {
  public:
    explicit Imported(const native_handle_t* wrapped) {
        const HandleRecord plain(android::UnwrapNativeCodec2GrallocHandle(wrapped));
        mHandle = LX2Mapper3Helper::Get()->importBuffer(plain.get());
    }
    ~Imported() { LX2Mapper3Helper::Get()->freeBuffer(mHandle); }
    Imported(const Imported&) = delete;
    Imported& operator=(const Imported&) = delete;

    native_handle_t* get() const { return mHandle; }

  private:
    native_handle_t* mHandle;
};

// Stretches of input bytes in a record of any bytes, zeros or ones.
void FillRecord(Input* input, ExactBytes* record) {
    memset(record->data(), input->ConsumeIntegral<uint8_t>(), record->size());
    for (int i = input->ConsumeIntegralInRange<int>(0, 4); i > 0; --i) {
        const size_t at = input->ConsumeIntegralInRange<size_t>(0, record->size() - 1);
        const std::vector<uint8_t> bytes = input->ConsumeBytes<uint8_t>(
            input->ConsumeIntegralInRange<size_t>(0, std::min<size_t>(record->size() - at, 64)));
        std::copy(bytes.begin(), bytes.end(), record->data() + at);
    }
}

void WriteRecords(Input* input, native_handle_t* handle) {
    for (int i = input->ConsumeIntegralInRange<int>(0, 4); i > 0; --i) {
        const Kind& kind = kKinds[input->ConsumeIntegralInRange<size_t>(0, std::size(kKinds) - 1)];
        ExactBytes record(kind.size);
        FillRecord(input, &record);
        FUZZ_CHECK(setMetaDataAndUnmap(handle, static_cast<int>(kind.type), record.data()) == 0);
    }
}

void CheckParams(const Params& params) {
    for (const auto& param : params) {
        FUZZ_CHECK(param != nullptr && param->size() >= sizeof(C2Param) && param->size() <= 1072);
        Touch(param.get(), param->size());
        if (param->index() == 0xC200802Eu) {
            uint32_t payloadSize;
            memcpy(&payloadSize, reinterpret_cast<uint8_t*>(param.get()) + 8, sizeof(payloadSize));
            FUZZ_CHECK(payloadSize <= KvaRecord::kMaxPayload);
        }
    }
}

void Fetch(Input* input, LX2PlatformBuffer* buffer) {
    std::vector<C2Param::Type> types;
    for (int i = input->ConsumeIntegralInRange<int>(0, 4); i > 0; --i)
        types.push_back(input->ConsumeBool() ? input->PickValueInArray(kRequests)
                                             : AnyNumber(input));
    Params asked, infos, updates;
    const LX2Status status = buffer->getMetadata(types, &asked);
    FUZZ_CHECK((status == C2_OK) == !asked.empty());
    CheckParams(asked);
    buffer->getMetadata(&infos, &updates);
    CheckParams(infos);
    CheckParams(updates);
}

std::shared_ptr<C2Info> AnyInfo(Input* input) {
    const uint32_t index =
        input->ConsumeBool() ? input->PickValueInArray(kInfos) : AnyNumber(input);
    std::vector<uint8_t> payload =
        input->ConsumeBytes<uint8_t>(input->ConsumeIntegralInRange<size_t>(0, 72));
    const uint32_t header[] = {static_cast<uint32_t>(sizeof(C2Param) + payload.size()), index};
    std::vector<uint8_t> bytes(sizeof(header));
    memcpy(bytes.data(), header, sizeof(header));
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    std::shared_ptr<C2Param> info = C2Param::Copy(*C2Param::From(bytes.data(), bytes.size()));
    return std::static_pointer_cast<C2Info>(info);
}

void SetInfos(Input* input, LX2PlatformBuffer* buffer) {
    std::vector<std::shared_ptr<C2Info>> infos(1);
    for (int i = input->ConsumeIntegralInRange<int>(0, 4); i > 0; --i)
        infos.push_back(AnyInfo(input));
    FUZZ_CHECK(buffer->setMetadata(infos) == C2_OK);
}

// The fields of a parameter, from its header on, take input bytes.
template <typename Param>
void FillParam(Input* input, Param* param) {
    auto* body = reinterpret_cast<uint8_t*>(param) + sizeof(C2Param);
    const std::vector<uint8_t> bytes =
        input->ConsumeBytes<uint8_t>(sizeof(Param) - sizeof(C2Param));
    std::copy(bytes.begin(), bytes.end(), body);
}

void Translate(Input* input) {
    using Translater = LX2GrallocMetadataTranslater;
    C2StreamColorAspectsInfo::output aspects;
    C2StreamHdrStaticMetadataInfo::output hsi;
    FillParam(input, &aspects);
    FillParam(input, &hsi);
    lxd::ColorMetaData record{};
    FUZZ_CHECK(Translater::convertAspectsToMetaData(aspects, &record) == C2_OK);
    FUZZ_CHECK(Translater::convertHsiToMetaData(hsi, &record) == C2_OK);
    std::string text;
    Touch(Translater::AsString(record, &text).data(), text.size());
    Touch(LX2ColorHsi::AsString(hsi, &text).data(), text.size());

    ExactBytes bytes(sizeof(record));
    FillRecord(input, &bytes);
    memcpy(static_cast<void*>(&record), bytes.data(), sizeof(record));
    C2StreamColorAspectsInfo::input aspectsBack;
    C2StreamHdrStaticMetadataInfo::input hsiBack;
    FUZZ_CHECK(Translater::convertMetaDataToAspects(record, &aspectsBack) == C2_OK);
    FUZZ_CHECK(Translater::convertMetaDataToHsi(record, &hsiBack) == C2_OK);
    Touch(Translater::AsString(record, &text).data(), text.size());
    Touch(LX2ColorAspects::AsString(aspectsBack, &text).data(), text.size());

    C2StreamColorAspectsTuning::output defaults;
    C2StreamHdrStaticMetadataInfo::output hsiDefaults, hsiChosen;
    C2StreamColorAspectsInfo::output chosen;
    FillParam(input, &defaults);
    FillParam(input, &hsiDefaults);
    const std::string mime = input->ConsumeBool() ? "video/x-vnd.on2.vp9" : "video/avc";
    LX2ColorAspects::preferredColorAspects(mime, aspects, defaults, &chosen);
    LX2ColorHsi::preferredHsi(mime, hsi, hsiDefaults, &hsiChosen, input->ConsumeBool());
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2;
    using namespace lx2::fuzz;
    constexpr uint32_t kFormats[] = {PixFormat::MIREL_NV12, PixFormat::MIREL_TP10,
                                     PixFormat::MIREL_P010};
    Input input(data, size);
    const auto allocation = host::AllocateGraphic(16, 16, input.PickValueInArray(kFormats), 0);
    const auto buffer = LX2PlatformBuffer::Create(allocation->handle());
    {
        const Imported handle(allocation->handle());
        WriteRecords(&input, handle.get());
    }
    Fetch(&input, buffer.get());
    SetInfos(&input, buffer.get());
    Fetch(&input, buffer.get());
    Translate(&input);
    return 0;
}
