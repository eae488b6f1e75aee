#include <C2ParamInternal.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2VendorParams.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <numeric>
#include <tuple>

#include "FakeDisplayMetadata.h"
#include "Fixture.h"

namespace lx2::test {

using ::testing::ElementsAreArray;

using Bytes = std::vector<uint8_t>;
using Params = std::vector<std::unique_ptr<C2Param>>;

constexpr const char* kTag = "LX2GrallocBuffer";
constexpr uint32_t kTrace = 0x01000002;
constexpr int kAvTimestamp = 1, kColor = 2, kInterlace = 4, kStatistics = 64, kRefreshRate = 256,
              kKva = 0x10000;

template <typename Value>
Bytes BytesOf(const Value& value, size_t size = sizeof(Value)) {
    const auto* begin = reinterpret_cast<const uint8_t*>(&value);
    return Bytes(begin, begin + size);
}

// Little-endian words of a parameter from its start.
std::vector<uint32_t> Words(const C2Param& param) {
    std::vector<uint32_t> words(param.size() / 4);
    memcpy(words.data(), &param, words.size() * 4);
    return words;
}

// As long as it says and no longer, so that reading past it is noticed.
std::shared_ptr<C2Info> InfoOf(uint32_t index, const Bytes& payload) {
    const uint32_t header[] = {static_cast<uint32_t>(8 + payload.size()), index};
    Bytes bytes = BytesOf(header);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    std::shared_ptr<C2Param> copy = C2Param::Copy(*C2Param::From(bytes.data(), bytes.size()));
    return std::static_pointer_cast<C2Info>(copy);
}

lxd::ColorMetaData Bt2020() {
    lxd::ColorMetaData record{};
    const uint32_t words[] = {9, 1, 16, 9};  // BT.2020, full range, ST 2084, BT.2020
    memcpy(&record, words, sizeof(words));
    return record;
}

Bytes KvaRecordOf(uint32_t payloadSize) {
    Bytes record(1072);
    std::iota(record.begin() + 4, record.end(), uint8_t{1});
    const uint32_t words[] = {30, 15, 7};
    memcpy(record.data(), &payloadSize, 4);
    memcpy(record.data() + 1028, words, sizeof(words));
    return record;
}

// The display-metadata library answers from a table, and what is written to it is noted.
class GrallocMetadataTest : public Fixture {
  protected:
    GrallocMetadataTest() {
        DisplayMetadataCalls().get = [this](void* handle, int type, void* data) {
            EXPECT_NE(handle, allocation->handle()) << "the imported handle is passed";
            const auto record = records.find(type);
            gets.push_back(type);
            lastGot = handle;
            if (record == records.end())
                return 1;
            memcpy(data, record->second.data(), record->second.size());
            return 0;
        };
        DisplayMetadataCalls().set = [this](void* handle, int type, void* data) {
            EXPECT_NE(handle, lastGot) << "what is read is not written back";
            // The first payload of all is a byte longer than a word.
            const size_t size = type == kColor         ? sizeof(lxd::ColorMetaData)
                                : type == kAvTimestamp ? sizeof(uint64_t)
                                : sets.empty()         ? 5
                                                       : 4;
            const auto* bytes = static_cast<const uint8_t*>(data);
            sets.emplace_back(type, Bytes(bytes, bytes + size));
            return setResult;
        };
        reopen(PixFormat::MIREL_NV12);
    }
    ~GrallocMetadataTest() override { DisplayMetadataCalls() = {}; }

    void reopen(uint32_t format) {
        buffer.reset();
        allocation = host::AllocateGraphic(64, 64, format, 0);
        buffer = std::make_unique<LX2GrallocBuffer>(allocation->handle());
        log.take();
    }

    LX2Status fetchAll() {
        infos.clear();
        updates.clear();
        return buffer->getMetadata(&infos, &updates);
    }

    std::map<int, Bytes> records;
    std::vector<int> gets;
    std::vector<std::pair<int, Bytes>> sets;
    int setResult = 0;
    void* lastGot = nullptr;
    std::shared_ptr<C2GraphicAllocation> allocation;
    std::unique_ptr<LX2GrallocBuffer> buffer;
    Params infos, updates;
};

TEST_F(GrallocMetadataTest, FetchesWhatIsAskedForWhateverTheStream) {
    Params out;
    EXPECT_EQ(buffer->getMetadata(std::vector<C2Param::Type>(), &out), LX2_ERROR);
    EXPECT_EQ(buffer->getMetadata({0xC2001234, 0xD2001809}, &out), LX2_ERROR);
    EXPECT_THAT(gets, IsEmpty());
    EXPECT_EQ(buffer->getMetadata({0x42008015u, 0xC2001809}, &out), LX2_ERROR);
    EXPECT_THAT(out, IsEmpty());
    EXPECT_THAT(log.take(), ElementsAre(Warning(kTag, "Failed to get metadata: av timestamp"),
                                        Warning(kTag, "Failed to get metadata: COLOR_METADATA")));

    records[kAvTimestamp] = BytesOf(uint64_t{0x1122334455667788});
    EXPECT_EQ(buffer->getMetadata({0xC2001809, 0x42008015u}, &out), C2_OK) << "one is enough";
    ASSERT_EQ(out.size(), 1u);
    records[kColor] = BytesOf(Bt2020());
    EXPECT_THAT(
        textsAt(kTrace,
                [&] {
                    buffer->getMetadata({0x42308015u, 0xC2001234, 0xC3E01809}, &out);
                }),
        ElementsAre("get av timestamp", "av timestamp: 1234605616436508552", "get color metadata",
                    "Color Metadata: {ColorPrimaries_BT2020 MatrixCoEff_BT2020 "
                    "Transfer_SMPTE_ST2084 Range_Full}",
                    "Gralloc -> C2 Aspects: {PRIMARIES_BT2020 MATRIX_BT2020 TRANSFER_ST2084 "
                    "RANGE_FULL}",
                    "Get metadata: COLOR_METADATA suceeded"));
    ASSERT_EQ(out.size(), 3u);
    for (size_t i : {0, 1})
        EXPECT_THAT(Words(*out[i]), ElementsAre(24, 0x72008015, 0, 0, 0x55667788, 0x11223344));
    EXPECT_THAT(Words(*out[2]), ElementsAre(24, 0xC2001809, 1, 6, 6, 5));
    records.erase(kAvTimestamp);
    EXPECT_EQ(buffer->getMetadata({0xC2001809, 0x42008015u}, &out), C2_OK) << "so is the first";
}

TEST_F(GrallocMetadataTest, FetchesEveryKindInOrder) {
    const uint32_t statistics[] = {9, 0xFFFFFF02, 1, 2, 3, 4, 5, 6, 7};
    records = {
        {kColor, BytesOf(Bt2020())}, {kKva, KvaRecordOf(100)}, {kStatistics, BytesOf(statistics)}};
    const auto texts = textsAt(kTrace, [&] { EXPECT_EQ(fetchAll(), C2_OK); });
    EXPECT_THAT(std::vector<std::string>(texts.begin() + 3, texts.end()),
                ElementsAre("Get metadata: COLOR_METADATA suceeded",
                            "KVA Metadata: size 100 capture rate 30 kva rate 15 flag 7",
                            "Get metadata: GET_KVA_METADATA suceeded",
                            "cmpx stats: 32 Tile = 1 64 Tile = 2 96 Tile = 3128 Tile = 4 "
                            "160 Tile = 5 192 Tile = 6 256 Tile = 7\n",
                            "Get metadata: GET_CMPX_CR_STATS_INFO suceeded"));
    EXPECT_THAT(gets, ElementsAre(kColor, kKva, kStatistics));
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_THAT(Words(*infos[1]), ElementsAre(44, 0xC2008020, 9, 2, 1, 2, 3, 4, 5, 6, 7));
    ASSERT_EQ(updates.size(), 2u);
    EXPECT_THAT(Words(*updates[0]), ElementsAre(24, 0xC2001809, 1, 6, 6, 5));
    EXPECT_THAT(Words(*updates[1]), ElementsAre(16, 0x4200802F, 30, 15));
    for (uint32_t silent : {0x02000003u, 0x01000001u})
        EXPECT_THAT(textsAt(silent, [&] { fetchAll(); }), IsEmpty()) << silent;

    records = {{kStatistics, Bytes(4)}};  // the rest, and with it the mark, is zero
    EXPECT_THAT(textsAt(2, [&] { EXPECT_EQ(fetchAll(), C2_OK); }),
                ElementsAre("get color metadata", "Failed to get metadata: COLOR_METADATA",
                            "Get metadata: GET_CMPX_CR_STATS_INFO suceeded"));
    records.clear();
    EXPECT_THAT(textsAt(0, [&] { EXPECT_EQ(fetchAll(), LX2_ERROR); }),
                ElementsAre("Failed to get metadata: COLOR_METADATA"));
}

TEST_F(GrallocMetadataTest, HdrInfoComesAsTheFormatAndTheRecordAllowAndPayloadsHeldToTheirRoom) {
    const struct {
        uint32_t format;
        uint8_t mastering, lightLevel;
        bool hdrStatic;
        uint32_t length, held;
    } rows[] = {
        {PixFormat::MIREL_TP10, 1, 0, true, 0, 0},
        {PixFormat::MIREL_TP10, 0, 1, true, 1, 1},
        {PixFormat::MIREL_TP10, 0, 0, false, 1024, 1024},
        {PixFormat::MIREL_P010, 2, 1, true, 1025, 1024},
        {PixFormat::MIREL_NV12, 1, 1, false, ~0u, 1024},
        {PixFormat::RGBA8888, 1, 1, false, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(PixFormat::Str(row.format) + std::to_string(row.length));
        reopen(row.format);
        lxd::ColorMetaData record = Bt2020();
        record.masteringDisplay.present = row.mastering;
        record.masteringDisplay.minLuminance = 500;
        record.contentLightLevel.present = row.lightLevel;
        record.dynamicMetaDataLength = row.length;
        std::iota(std::begin(record.dynamicMetaData), std::end(record.dynamicMetaData), uint8_t{3});
        records = {{kColor, BytesOf(record)}, {kKva, KvaRecordOf(row.length)}};
        EXPECT_EQ(fetchAll(), C2_OK);

        ASSERT_EQ(updates.size(), row.hdrStatic ? 3u : 2u);
        if (row.hdrStatic) {
            const auto* hsi = C2StreamHdrStaticMetadataInfo::input::From(updates[1].get());
            ASSERT_NE(hsi, nullptr);
            EXPECT_EQ(hsi->mastering.minLuminance, 0.04995f);
        }
        ASSERT_EQ(infos.size(), row.held == 0 ? 1u : 2u);
        if (row.held != 0) {
            EXPECT_EQ(uint32_t(infos[0]->index()), 0xC2011811);
            ASSERT_EQ(infos[0]->size(), 8 + row.held);
            EXPECT_EQ(memcmp(infos[0].get() + 1, record.dynamicMetaData, row.held), 0);
        }
        const Bytes& kva = records[kKva];
        Bytes expected(1072);
        const uint32_t header[] = {1072, 0xC200802E, row.held};
        memcpy(&expected[0], header, sizeof(header));
        memcpy(&expected[12], &kva[4], row.held);
        memcpy(&expected[1036], &kva[1036], 4 + 32);
        EXPECT_EQ(BytesOf(*infos.back(), infos.back()->size()), expected);
    }
}

TEST_F(GrallocMetadataTest, WritesColorAsOneRecordAndPayloadsAsTheyAre) {
    const auto aspects = std::make_shared<C2StreamColorAspectsInfo::output>(
        0u, C2Color::RANGE_FULL, C2Color::PRIMARIES_BT709, C2Color::TRANSFER_170M,
        C2Color::MATRIX_BT601);
    const auto hsi = std::make_shared<C2StreamHdrStaticMetadataInfo::output>();
    hsi->maxCll = 1000;
    std::vector<std::shared_ptr<C2Info>> written = {
        InfoOf(0xC2001809, Bytes(16)),  // input
        InfoOf(0xD2201809, Bytes(16)),  // stream 1
        InfoOf(0xD2001809, Bytes(15)),  // too short
        InfoOf(0xD200180A, Bytes(47)),
        InfoOf(0xD2008020, Bytes(16)),  // of no kind that can be written
        nullptr,
    };
    EXPECT_EQ(buffer->setMetadata({}), C2_OK);
    EXPECT_EQ(buffer->setMetadata(written), C2_OK);
    EXPECT_THAT(sets, IsEmpty());

    const auto sizeless = InfoOf(0xD200800B, {});
    memset(static_cast<void*>(sizeless.get()), 0, sizeof(uint32_t));
    written.insert(written.end(), {aspects, InfoOf(0xD200800B, {1, 2, 3, 4, 5}), hsi,
                                   InfoOf(0xD2008035, {7, 8, 9}), sizeless});
    lxd::ColorMetaData color{};
    LX2GrallocMetadataTranslater::convertAspectsToMetaData(*aspects, &color);
    LX2GrallocMetadataTranslater::convertHsiToMetaData(*hsi, &color);
    for (const auto& [result, priority, end] : {std::tuple(0, ANDROID_LOG_DEBUG, "suceeded"),
                                                std::tuple(5, ANDROID_LOG_WARN, "failed !")}) {
        sets.clear();
        setResult = result;
        gC2LogLevel = result == 0 ? kTrace : 0;
        EXPECT_EQ(buffer->setMetadata(written), C2_OK);
        EXPECT_THAT(sets, ElementsAre(std::pair(kInterlace, Bytes{1, 2, 3, 4, 5}),
                                      std::pair(kRefreshRate, Bytes{7, 8, 9, 0}),
                                      std::pair(kInterlace, Bytes{0, 0, 0, 0}),
                                      std::pair(kColor, BytesOf(color))));
        std::vector<LogLine> lines;
        for (const char* name : {"[Interlace] ", "[RefreshRate] ", "[Interlace] ", "[Color] "})
            lines.push_back({priority, kTag, std::string("Set metadata: ") + name + end});
        EXPECT_EQ(log.take(), lines);
    }
    for (const auto& info : std::vector<std::shared_ptr<C2Info>>{aspects, hsi}) {
        sets.clear();
        EXPECT_EQ(buffer->setMetadata({info}), C2_OK);
        ASSERT_EQ(sets.size(), 1u) << "either is enough";
        EXPECT_EQ(sets[0].first, kColor);
    }
}

TEST(VendorParamsTest, FieldsHaveNamesAndPlaces) {
    std::string seen;
    for (const auto& fields :
         {C2AvTimestampStruct::FieldList(), C2CmpxStatisticsStruct::FieldList(),
          C2KvaMetadataStruct::FieldList(), C2KvaRatesStruct::FieldList()})
        for (const C2FieldDescriptor& field : fields)
            seen += field.name() + "@" + std::to_string(_C2ParamInspector::GetOffset(field)) + " ";
    EXPECT_EQ(seen,
              "timestamp@8 header@0 tiles@8 payload-size@0 payload@4 flags@1028 further@1032 "
              "capture-rate@0 kva-rate@4 ");
}

TEST_F(GrallocMetadataTest, CopyWritesTimeAndColorRecordAndListsTheRest) {
    const auto other = host::AllocateGraphic(64, 64, PixFormat::NV12, 0);
    LX2GrallocBuffer target(other->handle());
    log.take();
    std::vector<C2Param::Index> omitted = {5u};
    EXPECT_EQ(buffer->copyMetadataTo(nullptr, &omitted), LX2_BAD_ARG);
    EXPECT_EQ(buffer->copyMetadataTo(&target, &omitted), C2_OK);
    EXPECT_THAT(sets, IsEmpty());
    EXPECT_THAT(log.take(), IsEmpty()) << "to have no metadata is no failure";

    Bytes color(sizeof(lxd::ColorMetaData));
    std::iota(color.begin(), color.end(), uint8_t{1});
    const Bytes time = {1, 2, 3, 4, 5, 6, 7, 8};
    records = {{kAvTimestamp, time}, {kColor, color}, {kKva, Bytes(1072)}, {kStatistics, Bytes(4)}};
    EXPECT_EQ(buffer->copyMetadataTo(&target, nullptr), C2_OK);
    EXPECT_EQ(buffer->copyMetadataTo(&target, &omitted), C2_OK);
    const std::pair timeSet(kAvTimestamp, time), colorSet(kColor, color);
    EXPECT_THAT(sets, ElementsAre(timeSet, colorSet, timeSet, colorSet));
    EXPECT_THAT(omitted, ElementsAre(5, 0xC200802E, 0x4200802F, 0xC2008020));
    setResult = 5;
    omitted.clear();
    EXPECT_EQ(buffer->copyMetadataTo(&target, &omitted), C2_OK);
    EXPECT_THAT(omitted, ElementsAre(0x72008015, 0xC2001809, 0xC200802E, 0x4200802F, 0xC2008020));
    EXPECT_EQ(target.setPresentationTime(1), LX2_ERROR);
    const LogLine noTime = Warning(kTag, "Set metadata: [AvTimestamp] failed !");
    EXPECT_THAT(log.take(),
                ElementsAre(noTime, Warning(kTag, "Set metadata: [Color] failed !"), noTime));
}

TEST_F(GrallocMetadataTest, RefusesWithoutAHandleOrAnOutput) {
    Params list;
    EXPECT_EQ(buffer->getMetadata({0xC2001809}, nullptr), LX2_ERROR);
    EXPECT_EQ(buffer->getMetadata(nullptr, &list), LX2_ERROR);
    EXPECT_EQ(buffer->getMetadata(&list, nullptr), LX2_ERROR);
    const LogLine noList = Warning(kTag, "infos is NULL, cannot set metadata");
    EXPECT_THAT(log.take(), ElementsAre(noList, noList, noList));

    LX2GrallocBuffer invalid(nullptr);
    log.take();
    EXPECT_EQ(invalid.getMetadata({0xC2001809}, nullptr), LX2_ERROR);
    EXPECT_EQ(invalid.getMetadata(nullptr, nullptr), LX2_ERROR);
    EXPECT_EQ(invalid.setMetadata({}), LX2_ERROR);
    EXPECT_EQ(invalid.setPresentationTime(1), LX2_ERROR);
    EXPECT_EQ(invalid.copyMetadataTo(buffer.get(), nullptr), LX2_ERROR);
    EXPECT_EQ(buffer->copyMetadataTo(&invalid, nullptr), LX2_ERROR);
    EXPECT_THAT(log.take(), ElementsAreArray(std::vector(
                                6, Warning(kTag, "private handle NULL, cannot set metadata"))));
    EXPECT_THAT(gets, IsEmpty());
}

}  // namespace lx2::test
