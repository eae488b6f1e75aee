// What the decoder component does beyond the checks of lx2_client --check, which DecoderTest.sh
// runs: starved, cut short, interrupted, with damage, with what it can't decode.
#include <lx2/LX2Buffer.h>
#include <lx2host/Client.h>
#include <lx2host/ComponentLoader.h>
#include <lx2host/OpenResources.h>
#include <lx2host/VideoCore.h>

#include <algorithm>
#include <random>
#include <set>
#include <thread>

#include "Fixture.h"
#include "client/ReadStream.h"

namespace lx2::test {

namespace {

using host::Client;
using Bytes = std::vector<uint8_t>;
using std::chrono::milliseconds;

constexpr uint32_t kEos = C2FrameData::FLAG_END_OF_STREAM;
constexpr size_t kSlots = 32;

using Clip = host::TestStream;

Clip ClipOf(const std::string& sample) {
    std::string error;
    auto clip = example::ReadStream(LX2_SAMPLES_DIR "/" + sample, SIZE_MAX, &error);
    EXPECT_TRUE(clip.has_value()) << error;
    return std::move(*clip);
}

class DecoderComponentTest : public Fixture {
  protected:
    ~DecoderComponentTest() override {
        EXPECT_THAT(failures(), IsEmpty());
        shown.clear();
        surface.reset();
        client.reset();
        log.take();
        EXPECT_THAT(before.leftOpen(), IsEmpty());
    }
    // Of a stream that jumps, pictures may come in another order.
    std::vector<std::string> failures() {
        auto lines = client == nullptr ? std::vector<std::string>() : client->failures();
        const auto isOrder = [](const std::string& line) {
            return line.find("shown at") != std::string::npos;
        };
        if (jumps)
            lines.erase(std::remove_if(lines.begin(), lines.end(), isOrder), lines.end());
        return lines;
    }

    // A component of its own for each clip.
    void begin(const Clip& clip, size_t slots = kSlots) {
        EXPECT_THAT(failures(), IsEmpty());
        shown.clear();
        client = std::make_unique<Client>(library->createComponent());
        const auto type = C2PortMediaTypeSetting::input::AllocUnique(clip.mediaType.size() + 1);
        memcpy(type->m.value, clip.mediaType.c_str(), clip.mediaType.size() + 1);
        client->config({type.get()});
        surface = client->useSurface(slots);
        ASSERT_EQ(client->start(), C2_OK);
    }
    void queue(const Clip::Unit& unit, uint32_t flags = 0) {
        flags |= unit.config ? uint32_t{C2FrameData::FLAG_CODEC_CONFIG} : 0;
        ASSERT_EQ(client->queue({host::LinearBuffer(unit.bytes.data(), unit.bytes.size()), flags,
                                 base + unit.timestamp}),
                  C2_OK);
    }
    void queueEnd() { ASSERT_EQ(client->queue({nullptr, kEos, 0}), C2_OK); }
    // Later than what was queued before.
    void queue(const Clip& clip, size_t from, size_t to) {
        for (size_t i = from; i < to; ++i)
            queue(clip.units[i]);
        base += 1000000000;
    }
    // Takes what comes until nothing is pending, or so many frames are there. They are kept.
    void take(size_t frames = SIZE_MAX) {
        while (shown.size() < frames) {
            auto output = client->next();
            if (!output)
                return;
            failed += output->result != C2_OK ? 1 : 0;
            damaged += (output->flags & C2FrameData::FLAG_CORRUPT) != 0 ? 1 : 0;
            last = output->flags;
            if (output->buffer != nullptr)
                shown.push_back(output->buffer);
        }
    }
    // The pictures that were taken, which the client lets go.
    std::vector<host::Frame> pictures() {
        std::vector<host::Frame> frames;
        for (const auto& buffer : shown) {
            const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
            const auto& view = *wrapped->graphic();
            frames.push_back(*host::ReadFrame(view.fd(), view.offset(), view.format(), view.width(),
                                              view.height()));
        }
        shown.clear();
        return frames;
    }
    // All of the clip's, by a component that nobody disturbs. The script compares those to
    // FFmpeg's.
    std::vector<host::Frame> whole(const Clip& clip) {
        begin(clip, clip.units.size() + 1);
        queue(clip, 0, clip.units.size());
        queueEnd();
        take();
        return pictures();
    }

    const host::OpenResources before;
    std::string error;
    const std::shared_ptr<host::ComponentLibrary> library =
        host::ComponentLibrary::Open(LX2_DECODER, &error);
    std::unique_ptr<Client> client;
    std::shared_ptr<host::SlotGraphicPool> surface;
    std::vector<std::shared_ptr<C2Buffer>> shown;
    size_t failed = 0, damaged = 0;
    uint32_t last = 0;
    bool jumps = false;
    uint64_t base = 0;
};

// The raw samples carry no times, and have pictures that are shown before those in front of them.
TEST_F(DecoderComponentTest, RawStreamsAreTimedInTheOrderOfDisplay) {
    for (const char* name : {"avc.264", "hevc.265"}) {
        std::set<uint64_t> times;
        for (const Clip::Unit& unit : ClipOf(name).units)
            times.insert(unit.timestamp);
        EXPECT_EQ(*times.rbegin(), (times.size() - 1) * 1000000 / 24) << name;
    }
}

// After a drain without an end of the stream what follows may still refer to what was before.
TEST_F(DecoderComponentTest, ADrainGivesOutWhatWaitsAndLosesNothing) {
    for (const char* name : {"avc.264", "hevc.265", "vp9.ivf"}) {
        SCOPED_TRACE(name);
        const Clip clip = ClipOf(name);
        const auto expected = whole(clip);
        begin(clip, clip.units.size() + 1);
        std::vector<host::Frame> seen;
        for (size_t at = 0; at < clip.units.size(); at += 9) {
            queue(clip, at, std::min(at + 9, clip.units.size()));
            EXPECT_EQ(client->drain(C2Component::DRAIN_COMPONENT_NO_EOS), C2_OK);
            take();
            EXPECT_EQ(last & kEos, 0u);
        }
        seen = pictures();
        EXPECT_TRUE(
            std::is_permutation(expected.begin(), expected.end(), seen.begin(), seen.end()));
    }
}

TEST_F(DecoderComponentTest, HeadersAreKeptOverAFlush) {
    const Clip clip = ClipOf("avc.264");
    const auto expected = whole(clip);
    begin(clip, clip.units.size() + 1);
    queue(clip, 0, 1);
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(client->flush(), C2_OK);
        queue(clip, 1, clip.units.size());
        queueEnd();
        take();
        EXPECT_EQ(pictures(), expected);
    }
}

TEST_F(DecoderComponentTest, AnUnwantedPictureIsDecodedAndNotGivenOut) {
    const Clip clip = ClipOf("vp8.ivf");
    auto expected = whole(clip);
    begin(clip, clip.units.size() + 1);
    queue(clip.units[0], C2FrameData::FLAG_DROP_FRAME);
    queue(clip, 1, clip.units.size());
    take();
    expected.erase(expected.begin());
    EXPECT_EQ(pictures(), expected);
}

// A macroblock of 4:4:4.
TEST_F(DecoderComponentTest, WhatItCantDecodeAtAllIsToldOnceAndResetHelps) {
    const char head[] =
        "\0\0\0\1\x67\xf4\0\x0a\x91\x96\x9c\x40\0\0\0\1\x68\xce\x38\x80\0\0\0\1\x65\x88\x84\x86"
        "\x80";
    Bytes unit(head, head + sizeof(head) - 1);
    unit.insert(unit.end(), 768, 0x40);
    unit.push_back(0x80);
    const Clip clip = ClipOf("avc.264");
    begin(clip);
    queue({unit, false, true, 0});
    queue({unit, false, true, 40000}, kEos);
    take();
    for (int i = 0; i < 1000 && client->fatalError() == C2_OK; ++i)
        std::this_thread::sleep_for(milliseconds(5));
    EXPECT_EQ(client->fatalError(), C2_OMITTED);
    EXPECT_EQ(failed, 2u);
    EXPECT_EQ(client->component()->start(), C2_BAD_STATE);
    EXPECT_EQ(client->stop(), C2_BAD_STATE);
    EXPECT_EQ(client->reset(), C2_OK);
    EXPECT_EQ(whole(clip).size(), clip.units.size() - 1);
}

TEST_F(DecoderComponentTest, DamageIsToldWithItsWork) {
    std::mt19937 random(7);
    jumps = true;
    for (const char* name : {"avc.264", "hevc.265", "vp8.ivf", "vp9.ivf"}) {
        SCOPED_TRACE(name);
        Clip clip = ClipOf(name);
        for (size_t i = 10; i < 30; ++i) {
            Bytes& unit = clip.units[i].bytes;
            for (int n = 0; n < 8; ++n)
                unit[random() % unit.size()] ^= 1 << random() % 8;
            unit.resize(i % 4 == 0 ? std::min<size_t>(unit.size(), 9) : unit.size());
        }
        failed = damaged = 0;
        begin(clip, clip.units.size() + 1);
        queue(clip, 0, clip.units.size());
        queueEnd();
        take();
        EXPECT_GT(failed + damaged, 0u);
        EXPECT_GE(shown.size() + failed + damaged, clip.units.size());
    }
}

TEST_F(DecoderComponentTest, CallsMayComeInAnyOrder) {
    static unsigned seed = 0;  // another one with --gtest_repeat
    std::mt19937 random(++seed);
    jumps = true;
    const Clip clips[] = {ClipOf("avc_crop.264"), ClipOf("hevc.265"), ClipOf("vp9.ivf")};
    for (int round = 0; round < 60; ++round) {
        const Clip& clip = clips[round % 3];
        begin(clip);
        for (int step = 0; step < 6; ++step) {
            const size_t from = random() % clip.units.size();
            queue(clip, from, std::min(clip.units.size(), from + random() % 8));
            if (random() % 4 == 0)
                queueEnd();
            if (random() % 3 == 0)
                std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
            if (random() % 3 == 0)
                client->flush();
            if (random() % 4 == 0)
                client->drain(C2Component::drain_mode_t(random() % 2));
        }
        if (round % 2 == 0) {
            queueEnd();
            take();
            EXPECT_EQ(client->pending(), 0u);
        }
        EXPECT_EQ(round % 5 == 0 ? client->reset() : client->stop(), C2_OK);
    }
}

}  // namespace

}  // namespace lx2::test
