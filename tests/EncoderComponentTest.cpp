// What the encoder component does beyond what EncoderTest.sh sees: flushed, starved, changed on the
// way, and with pictures that lx2_client does not give it.
#include <lx2/PixFormat.h>
#include <lx2host/BlockPools.h>
#include <lx2host/Client.h>
#include <lx2host/ComponentLoader.h>
#include <lx2host/VideoCore.h>

#include <future>
#include <map>
#include <set>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

namespace {

using Color = C2StreamColorAspectsInfo::output;

std::shared_ptr<C2Buffer> Picture(uint32_t index, uint32_t format = PixFormat::NV12,
                                  const C2Rect& crop = C2Rect(192, 128), bool described = true) {
    const auto buffer = GraphicBuffer(192, 128, format);
    LX2Buffer::Graphic& view = *buffer->graphic();
    EXPECT_TRUE(host::WriteFrame(view.fd(), view.offset(), format,
                                 host::TestFrame(192, 128, 8, index).view()));
    view.setCrop(crop);
    if (described)
        view.setPrivateMetadata({std::make_shared<Color>()});
    return buffer->getSharedBuffer();
}

class EncoderComponentTest : public Fixture {
  protected:
    EncoderComponentTest() {
        const auto ids = C2PortBlockPoolsTuning::output::AllocUnique(1);
        ids->m.values[0] = host::RegisterBlockPool(pool, client.component());
        client.config({ids.get()});
        EXPECT_EQ(client.start(), C2_OK);
    }
    ~EncoderComponentTest() override { EXPECT_THAT(client.failures(), IsEmpty()); }

    void queue(std::shared_ptr<C2Buffer> picture, std::shared_ptr<C2Param> update = nullptr) {
        host::Client::Input input{std::move(picture), 0, ++time};
        if (update != nullptr)
            input.updates.push_back(std::move(update));
        EXPECT_EQ(client.queue(std::move(input)), C2_OK);
    }
    // Calls action within the component, as it asks for a buffer for the next picture.
    void onFetch(std::function<void()> action) {
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
    static std::string bytesOf(const host::Client::Output& unit) {
        const auto buffer = LX2Buffer::CreateFromC2Buffer(unit.buffer);
        const auto mapping = buffer->linear()->mapReadOnly();
        const auto bytes = buffer->linear()->bytes(mapping);
        return std::string(bytes.data, bytes.data + bytes.size);
    }

    const std::shared_ptr<FakePool> pool = std::make_shared<FakePool>();
    std::string error;
    host::Client client{host::ComponentLibrary::Open(LX2_ENCODER, &error)->createComponent()};
    uint64_t time = 0;
};

// The client takes the first work back while its unit is on the way, or waits for a buffer; later
// it stops during such a wait.
TEST_F(EncoderComponentTest, HeadersOutliveAFlushAndWaitsEnd) {
    for (const c2_status_t status : {C2_OK, C2_BLOCKING}) {
        pool->statuses = {status, C2_TIMED_OUT, C2_BLOCKING};
        onFetch([&] { EXPECT_EQ(client.flush(), C2_OK); });
        queue(Picture(1));
        const auto unit = client.next();
        const auto isHeaders = [](const auto& update) {
            return C2StreamInitDataInfo::output::From(update.get()) != nullptr;
        };
        EXPECT_TRUE(std::any_of(unit->updates.begin(), unit->updates.end(), isHeaders)) << status;
        EXPECT_NE(unit->buffer, nullptr);
        pool->statuses.assign(100000, C2_BLOCKING);
        onFetch([] {});
        EXPECT_EQ(client.stop(), C2_OK);
        EXPECT_GT(pool->statuses.size(), 90000u);
        EXPECT_EQ(client.start(), C2_OK);
    }
}

TEST_F(EncoderComponentTest, FollowsSettingsThatChangeOnTheWay) {
    std::map<uint32_t, std::shared_ptr<C2Param>> changes = {
        {5, std::make_shared<C2StreamRequestSyncFrameTuning::output>(0u, C2_TRUE)},
        {12, std::make_shared<C2StreamSyncFrameIntervalTuning::output>(0u, 100000)},
        {18, std::make_shared<C2StreamBitrateInfo::output>(0u, 50000)}};
    std::vector<uint32_t> keyFrames;
    size_t bytes[4] = {};
    for (uint32_t i = 0; i < 24; ++i) {
        queue(Picture(i), changes[i]);
        const auto unit = client.next();
        bytes[i / 6] += bytesOf(*unit).size();
        if (unit->buffer->hasInfo(C2StreamPictureTypeMaskInfo::output::PARAM_TYPE))
            keyFrames.push_back(i);
    }
    EXPECT_THAT(keyFrames, ElementsAre(0u, 5u, 12u, 15u, 18u, 21u));
    EXPECT_LT(bytes[3] * 2, bytes[2]);
}

// The same samples give the same unit, whatever the format. A picture that nobody described fails
// alone.
TEST_F(EncoderComponentTest, EncodesWhatTheCropShows) {
    std::set<std::string> units;
    for (const uint32_t format : {PixFormat::NV12, PixFormat::MIREL_NV12_CMPX, PixFormat::YV12,
                                  PixFormat::MIREL_TP10, PixFormat::RGBA8888}) {
        for (const C2Rect& crop : {C2Rect(101, 63), C2Rect(101, 63).at(16, 8)}) {
            queue(Picture(0, format, crop, false));
            EXPECT_EQ(client.next()->result, C2_CORRUPTED);
            queue(Picture(7, format, crop));
            units.insert(bytesOf(*client.next()));
            EXPECT_EQ(client.flush(), C2_OK);
        }
    }
    EXPECT_EQ(units.size(),
              5u);  // two crops, those in RGB, and the first, whose headers went ahead
}

}  // namespace

}  // namespace lx2::test
