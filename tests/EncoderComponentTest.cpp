// What the encoder component does beyond what EncoderTest.sh sees: flushed, starved, changed on the
// way, and with pictures that lx2_client does not give it.
#include <lx2/PixFormat.h>
#include <lx2host/BlockPools.h>
#include <lx2host/Client.h>
#include <lx2host/ComponentLoader.h>
#include <lx2host/OpenResources.h>
#include <lx2host/VideoCore.h>

#include <cstdlib>
#include <future>

#include "Blocks.h"
#include "Fixture.h"

// The encoder of the system doesn't free all at its end.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libx265";
}

namespace lx2::test {

namespace {

using host::Client;
using Hdr = C2StreamHdrStaticInfo;
using Color = C2StreamColorAspectsInfo;
using Infos = std::vector<std::shared_ptr<C2Info>>;

const C2Rect kWhole(192, 128);
const Infos kDescribed = {
    std::make_shared<Color::output>(0u, C2Color::RANGE_FULL, C2Color::PRIMARIES_UNSPECIFIED,
                                    C2Color::TRANSFER_UNSPECIFIED, C2Color::MATRIX_UNSPECIFIED)};

std::shared_ptr<C2Buffer> Picture(uint32_t index, uint32_t format = PixFormat::NV12,
                                  const C2Rect& crop = kWhole, const Infos& infos = kDescribed) {
    const auto buffer = GraphicBuffer(kWhole.width, kWhole.height, format);
    LX2Buffer::Graphic& view = *buffer->graphic();
    const auto frame = host::TestFrame(kWhole.width, kWhole.height, 10, index);
    EXPECT_TRUE(host::WriteFrame(view.fd(), view.offset(), format, frame.view()));
    view.setCrop(crop);
    view.setPrivateMetadata(infos);
    return buffer->getSharedBuffer();
}

host::Frame FrameOf(const std::shared_ptr<C2Buffer>& picture) {
    const auto buffer = LX2Buffer::CreateFromC2Buffer(picture);
    const auto& view = *buffer->graphic();
    return *host::ReadFrame(view.fd(), view.offset(), view.format(), view.width(), view.height());
}

template <typename MediaType>
std::unique_ptr<Client> MakeClient(const char* library, const std::string& mediaType) {
    std::string error;
    auto client =
        std::make_unique<Client>(host::ComponentLibrary::Open(library, &error)->createComponent());
    const auto type = MediaType::AllocUnique(mediaType.size() + 1);
    memcpy(type->m.value, mediaType.c_str(), mediaType.size() + 1);
    EXPECT_EQ(client->config({type.get()}), C2_OK);
    return client;
}

class EncoderComponentTest : public Fixture, public ::testing::WithParamInterface<const char*> {
  protected:
    EncoderComponentTest() {
        const auto ids = C2PortBlockPoolsTuning::output::AllocUnique(1);
        ids->m.values[0] = host::RegisterBlockPool(pool, client->component());
        client->config({ids.get()});
    }
    ~EncoderComponentTest() override {
        EXPECT_THAT(client->failures(), IsEmpty());
        client.reset();
        units.clear();
        log.take();
        EXPECT_THAT(before.leftOpen(), IsEmpty());
    }
    void queue(std::shared_ptr<C2Buffer> picture, std::shared_ptr<C2Param> update = nullptr) {
        Client::Input input{std::move(picture), 0, time += 33333};
        if (update != nullptr)
            input.updates.push_back(std::move(update));
        ASSERT_EQ(client->queue(std::move(input)), C2_OK);
    }
    void take(size_t count) {
        units.clear();
        while (auto output = client->next())
            units.push_back(std::move(*output));
        ASSERT_EQ(units.size(), count);
    }
    // Calls action within the component, as it asks for a buffer.
    void onFirstFetch(std::function<void()> action) {
        std::promise<void> done;
        pool->onFetch = [&, first = true]() mutable {
            if (std::exchange(first, false)) {
                action();
                done.set_value();
            }
        };
        queue(Picture(0));
        done.get_future().wait();
    }
    static const C2StreamInitDataInfo::output* headersOf(const Client::Output& unit) {
        const C2StreamInitDataInfo::output* found = nullptr;
        for (const auto& update : unit.updates)
            found = found != nullptr ? found : C2StreamInitDataInfo::output::From(update.get());
        return found;
    }
    size_t bytesOf(size_t from, size_t to) const {
        size_t bytes = 0;
        for (size_t i = from; i < to; ++i)
            bytes += units[i].buffer->data().linearBlocks().front().size();
        return bytes;
    }
    std::vector<size_t> keyFrames() const {
        std::vector<size_t> found;
        for (size_t i = 0; i < units.size(); ++i)
            if (units[i].buffer->hasInfo(C2StreamPictureTypeMaskInfo::output::PARAM_TYPE))
                found.push_back(i);
        return found;
    }
    // What the decoder component makes of the last unit and its headers.
    std::unique_ptr<Client> decode(std::optional<host::Frame>* frame) const {
        auto decoder = MakeClient<C2PortMediaTypeSetting::input>(LX2_DECODER, GetParam());
        EXPECT_EQ(decoder->start(), C2_OK);
        if (const auto* init = headersOf(units.back()))
            decoder->queue({host::LinearBuffer(init->m.value, init->flexCount()),
                            C2FrameData::FLAG_CODEC_CONFIG, 0});
        decoder->queue({units.back().buffer, C2FrameData::FLAG_END_OF_STREAM, 1});
        while (const auto output = decoder->next())
            if (output->buffer != nullptr)
                *frame = FrameOf(output->buffer);
        return decoder;
    }

    const host::OpenResources before;
    const std::shared_ptr<FakePool> pool = std::make_shared<FakePool>();
    std::unique_ptr<Client> client =
        MakeClient<C2PortMediaTypeSetting::output>(LX2_ENCODER, GetParam());
    std::vector<Client::Output> units;
    uint64_t time = 0;
};
INSTANTIATE_TEST_SUITE_P(Codecs, EncoderComponentTest,
                         ::testing::Values("video/avc", "video/hevc"));

// The client takes the first work back while its unit is on the way, or waits for a buffer; later
// it stops during such a wait.
TEST_P(EncoderComponentTest, HeadersOutliveAFlushAndWaitsEnd) {
    for (const c2_status_t status : {C2_OK, C2_BLOCKING, C2_TIMED_OUT}) {
        ASSERT_EQ(client->start(), C2_OK);
        pool->statuses = {status};
        onFirstFetch([&] { EXPECT_EQ(client->flush(), C2_OK); });
        pool->onFetch = [] {};
        queue(Picture(1));
        take(1);
        EXPECT_NE(headersOf(units[0]), nullptr) << status;
        EXPECT_EQ(keyFrames().size(), 1u);
        EXPECT_EQ(client->flush(), C2_OK);
        pool->statuses.assign(100000, C2_BLOCKING);
        onFirstFetch([] {});
        EXPECT_EQ(client->stop(), C2_OK);
        EXPECT_GT(pool->statuses.size(), 90000u);
    }
}

TEST_P(EncoderComponentTest, FollowsSettingsThatChangeOnTheWay) {
    std::map<uint32_t, std::shared_ptr<C2Param>> changes = {
        {5, std::make_shared<C2StreamRequestSyncFrameTuning::output>(0u, C2_TRUE)},
        {12, std::make_shared<C2StreamSyncFrameIntervalTuning::output>(0u, 100000)},
        {18, std::make_shared<C2StreamBitrateInfo::output>(0u, 50000)}};
    ASSERT_EQ(client->start(), C2_OK);
    for (uint32_t i = 0; i < 24; ++i)
        queue(Picture(i), changes[i]);
    take(24);
    EXPECT_THAT(keyFrames(), ElementsAre(0u, 5u, 12u, 15u, 18u, 21u));
    EXPECT_LT(bytesOf(18, 24) * 2, bytesOf(12, 18));
}

// A picture of each format; one that nobody described fails alone.
TEST_P(EncoderComponentTest, EncodesWhatTheCropShows) {
    for (const uint32_t format : {PixFormat::NV12, PixFormat::RGBA8888, PixFormat::MIREL_NV12_CMPX,
                                  PixFormat::MIREL_TP10, PixFormat::YV12}) {
        SCOPED_TRACE(PixFormat::Str(format));
        const bool ten = format == PixFormat::MIREL_TP10 && GetParam() == std::string("video/hevc");
        ASSERT_EQ(client->start(), C2_OK);
        queue(Picture(0, format, kWhole, {}));
        const auto picture = Picture(7, format, C2Rect(101, 63).at(16, 8));
        queue(picture);
        take(2);
        EXPECT_EQ(units[0].result, C2_CORRUPTED);
        std::optional<host::Frame> frame;
        decode(&frame);
        ASSERT_TRUE(frame);
        EXPECT_EQ(frame->bitDepth, ten ? 10u : 8u);
        ASSERT_EQ(frame->width, 102u);
        ASSERT_EQ(frame->height, 64u);
        const auto given = FrameOf(picture).withBitDepth(frame->bitDepth);
        int error = 0;
        for (size_t y = 0; y < 30; ++y)
            for (size_t x = 0; x < 50; ++x)
                error += std::abs(frame->y[y * 102 + x] - given.y[(y + 8) * 192 + x + 16]) +
                         std::abs(frame->cr[y * 51 + x] - given.cr[(y + 4) * 96 + x + 8]);
        EXPECT_LT(error / 1500, ten ? 24 : 8);
        EXPECT_EQ(client->stop(), C2_OK);
    }
}

TEST_P(EncoderComponentTest, WritesColorAndHdrOfThePictureElseOfTheClient) {
    C2HdrStaticMetadataStruct hdr{};
    hdr.mastering = {{0.68f, 0.32f}, {0.265f, 0.69f}, {0.15f, 0.06f}, {0.3127f, 0.329f}, 1000, 1};
    hdr.maxCll = 999.6f;
    hdr.maxFall = 400;
    Hdr::input wanted(0u, hdr);
    Color::input color(0u, C2Color::RANGE_LIMITED, C2Color::PRIMARIES_BT2020,
                       C2Color::TRANSFER_ST2084, C2Color::MATRIX_BT2020);
    client->config({&wanted, &color});
    hdr.maxFall = 300;
    Infos shown = kDescribed;
    shown.push_back(std::make_shared<Hdr::output>(0u, hdr));
    const bool has = GetParam() == std::string("video/hevc");
    for (const auto& infos : {kDescribed, shown}) {
        ASSERT_EQ(client->start(), C2_OK);
        queue(Picture(0, PixFormat::MIREL_TP10, kWhole, infos));
        take(1);
        std::optional<host::Frame> frame;
        const auto decoder = decode(&frame);
        const auto coded = decoder->query<Hdr::output>();
        EXPECT_EQ(coded->maxCll, has ? 1000.0f : 0.0f);
        EXPECT_EQ(coded->maxFall, !has ? 0.0f : infos.size() == 1 ? 400.0f : 300.0f);
        EXPECT_NEAR(coded->mastering.green.y, has ? 0.69f : 0.0f, 1e-4);
        const auto aspects = decoder->query<Color::input>();
        EXPECT_EQ(aspects->range, C2Color::RANGE_FULL);
        EXPECT_EQ(aspects->primaries, C2Color::PRIMARIES_BT2020);
        EXPECT_EQ(aspects->transfer, C2Color::TRANSFER_ST2084);
        EXPECT_EQ(client->stop(), C2_OK);
    }
}

}  // namespace

}  // namespace lx2::test
