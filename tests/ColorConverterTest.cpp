#include <lx2/LX2ColorConverter.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>
#include <lx2device/PrivateHandle.h>
#include <lx2host/VideoCore.h>

#include <cstring>
#include <thread>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

using host::Frame;
using ::testing::EndsWith;

constexpr char kTag[] = "LX2ColorConverter";
constexpr uint32_t kYuvFormats[] = {PixFormat::I420,
                                    PixFormat::NV12,
                                    PixFormat::YV12,
                                    PixFormat::MIREL_NV12,
                                    PixFormat::MIREL_NV12_CMPX,
                                    PixFormat::MIREL_TP10};

uint32_t DepthOf(uint32_t format) {
    return format == PixFormat::MIREL_TP10 ? 10 : 8;
}

std::shared_ptr<LX2Buffer> Filled(uint32_t format, const Frame& frame) {
    auto buffer = GraphicBuffer(frame.width, frame.height, format);
    EXPECT_TRUE(host::WriteFrame(buffer->graphic()->fd(), 0, format, frame.view()));
    return buffer;
}

Frame Read(const LX2Buffer& buffer) {
    const auto& view = *buffer.graphic();
    return *host::ReadFrame(view.fd(), 0, view.format(), view.width(), view.height());
}

class ColorConverterTest : public Fixture {
  protected:
    // The result of converting into a fresh buffer, which is kept as target.
    int32_t convert(const std::shared_ptr<LX2Buffer>& source, uint32_t format) {
        target = GraphicBuffer(source->graphic()->width(), source->graphic()->height(), format);
        log.take();
        return converter.convert(source->graphic(), target->graphic());
    }

    LX2ColorConverter converter;
    std::shared_ptr<LX2Buffer> target;
};

TEST_F(ColorConverterTest, ConvertsEveryPairOfYuvFormatsExactly) {
    for (const auto& [width, height] : {std::pair(200u, 130u), std::pair(131u, 67u)}) {
        for (uint32_t from : kYuvFormats) {
            Frame frame = host::TestFrame(width, height, DepthOf(from), 5);
            // Of an odd size only the compressed formats keep the last chroma column and row: here
            // they are as the others extend them.
            if (width % 2 != 0)
                frame = Read(*Filled(PixFormat::I420, frame));
            const auto source = Filled(from, frame);
            for (uint32_t to : kYuvFormats) {
                ASSERT_EQ(convert(source, to), 0) << PixFormat::Str(from) << PixFormat::Str(to);
                EXPECT_THAT(log.take(), IsEmpty());
                EXPECT_TRUE(Read(*target) == frame.withBitDepth(DepthOf(to)))
                    << PixFormat::Str(from) << " to " << PixFormat::Str(to) << " " << width;
            }
        }
    }
}

// A buffer whose record says other figures than its allocation has.
std::shared_ptr<LX2Buffer> WithRecord(uint32_t height, uint32_t format,
                                      const std::function<void(PrivateHandle&)>& change) {
    const auto block = GraphicBlock(64, height, format);
    change(*reinterpret_cast<PrivateHandle*>(const_cast<C2Handle*>(block->handle())));
    return std::make_shared<LX2Buffer>(block);
}

TEST_F(ColorConverterTest, FramesMayStartInsideTheirAllocations) {
    const auto inside = [](PrivateHandle& record) {
        record.height = 48;
        record.offset = 4096;
    };
    const auto from = WithRecord(96, PixFormat::NV12, inside);
    const auto to = WithRecord(96, PixFormat::YV12, inside);
    const Frame frame = host::TestFrame(64, 48, 8, 9);
    ASSERT_TRUE(host::WriteFrame(from->graphic()->fd(), 4096, PixFormat::NV12, frame.view()));
    ASSERT_EQ(converter.convert(from->graphic(), to->graphic()), 0);
    EXPECT_TRUE(host::ReadFrame(to->graphic()->fd(), 4096, PixFormat::YV12, 64, 48) == frame);
}

TEST_F(ColorConverterTest, ConvertsRgbThroughTilesToYuvWithinItsRounding) {
    const auto rgb = Filled(PixFormat::RGBA8888, host::TestFrame(320, 180, 8, 3));
    const Frame wanted = Read(*rgb);
    ASSERT_EQ(convert(rgb, PixFormat::RGBA8888_CMPX), 0);
    const auto tiles = target;
    const auto close = [](int a, int b) { return std::abs(a - b) <= 2; };
    for (uint32_t to : {PixFormat::NV12, PixFormat::MIREL_NV12, PixFormat::MIREL_NV12_CMPX}) {
        ASSERT_EQ(convert(tiles, to), 0) << PixFormat::Str(to);
        const Frame got = Read(*target);
        EXPECT_TRUE(std::equal(wanted.y.begin(), wanted.y.end(), got.y.begin(), close));
        EXPECT_TRUE(std::equal(wanted.cb.begin(), wanted.cb.end(), got.cb.begin(), close));
        EXPECT_TRUE(std::equal(wanted.cr.begin(), wanted.cr.end(), got.cr.begin(), close));
    }
}

TEST_F(ColorConverterTest, GivesTheTargetTheSourcesCropBeforeItChecksAnything) {
    const auto source = GraphicBuffer(64, 48, PixFormat::NV12);
    const auto taller = GraphicBuffer(64, 64, PixFormat::NV12);
    ASSERT_EQ(source->graphic()->setCrop(C2Rect(32, 16).at(8, 4)), C2_OK);
    log.take();
    EXPECT_EQ(converter.convert(source->graphic(), nullptr), -2);
    EXPECT_EQ(converter.convert(nullptr, source->graphic()), -2);
    gC2LogLevel = 0x02000001;
    EXPECT_EQ(converter.convert(source->graphic(), taller->graphic()), -1);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, "convert: invalid buffers"),
                            Error(kTag, "convert: invalid buffers"),
                            Debug(kTag, "Convert: NV12[64x48] --> NV12[64x64]"),
                            Error(kTag,
                                  "convert: configure gbx engine failed, input and output "
                                  "buffer has different dimensions")));
    EXPECT_EQ(taller->graphic()->crop().left, 8u);
    EXPECT_EQ(taller->graphic()->effectiveWidth(), 32u);
}

std::shared_ptr<LX2Buffer> WithStride(uint32_t format, uint32_t stride) {
    return WithRecord(48, format, [&](PrivateHandle& record) { record.alignedWidth = stride; });
}

TEST_F(ColorConverterTest, ConfiguresOnlyWhenTheGeometryChanges) {
    const auto source = GraphicBuffer(64, 48, PixFormat::NV12);
    target = GraphicBuffer(64, 48, PixFormat::YV12);
    const auto configured = [&](const LX2Buffer& from, const LX2Buffer& to) {
        const auto texts = textsAt(
            0x01000002, [&] { EXPECT_EQ(converter.convert(from.graphic(), to.graphic()), 0); });
        return std::count(texts.begin(), texts.end(), "configure: configure successfully");
    };
    EXPECT_EQ(configured(*source, *target), 1);
    EXPECT_EQ(configured(*source, *target), 0);
    const std::pair<std::shared_ptr<LX2Buffer>, std::shared_ptr<LX2Buffer>> others[] = {
        {GraphicBuffer(62, 48, PixFormat::NV12), GraphicBuffer(62, 48, PixFormat::YV12)},
        {GraphicBuffer(64, 46, PixFormat::NV12), GraphicBuffer(64, 46, PixFormat::YV12)},
        {GraphicBuffer(64, 48, PixFormat::I420), target},
        {source, GraphicBuffer(64, 48, PixFormat::I420)},
        {WithStride(PixFormat::NV12, 80), target},
        {source, WithStride(PixFormat::YV12, 80)},
        {GraphicBuffer(64, 48, PixFormat::NV12, 3), target},
        {source, GraphicBuffer(64, 48, PixFormat::YV12, 3)},
    };
    for (const auto& [from, to] : others) {
        EXPECT_EQ(configured(*from, *to), 1) << &from - &others[0].first;
        EXPECT_EQ(configured(*source, *target), 1);
    }
}

TEST_F(ColorConverterTest, FailsWithoutAPlatformBuffer) {
    const auto linear = LinearBuffer(16);
    for (const char* failure :
         {"convert: configure gbx engine failed",
          "convert: failed to map buffer from Graphic buffer (src (nil), dst (nil))"}) {
        EXPECT_EQ(converter.convert(linear->graphic(), linear->graphic()), -1);
        EXPECT_EQ(log.take().back(), Error(kTag, failure));
    }
}

TEST_F(ColorConverterTest, ReleasesTheTargetFirstAlsoWhenItFails) {
    const auto source = GraphicBuffer(64, 64, PixFormat::YV12);
    target = GraphicBuffer(64, 64, PixFormat::MIREL_NV12);
    const int from = source->graphic()->fd(), to = target->graphic()->fd();
    std::vector<std::pair<int, uint64_t>> seen;
    host::SetSyncHook([&](int fd, uint64_t flags) {
        seen.emplace_back(fd, flags);
        return 0;
    });
    const auto convertOnce = [&] {
        seen.clear();
        const int32_t status = converter.convert(source->graphic(), target->graphic());
        EXPECT_THAT(seen, ElementsAre(std::pair(from, 3u), std::pair(to, 3u), std::pair(to, 7u),
                                      std::pair(from, 7u)));
        return status;
    };
    EXPECT_EQ(convertOnce(), 0);
    log.take();
    target->graphic()->setAllocSize(4096);
    EXPECT_EQ(convertOnce(), -1);
    EXPECT_THAT(log.takeTexts(),
                ElementsAre(EndsWith("mSrcSize 8192, srcSize 8192, mDstSize 393216, dstSize 4096"),
                            "convert: convert failed"));
    // A target that claims more than there is can't be mapped, so its access ends at once.
    target->graphic()->setAllocSize(393217);
    EXPECT_EQ(convertOnce(), -1);
    EXPECT_THAT(log.take().back().text,
                MatchesRegex("convert: failed to get buffer base addr .src 0x[0-9a-f]+, dst "
                             ".nil.."));
}

TEST_F(ColorConverterTest, ThreadsTakeTurns) {
    LX2Mapper3Helper::Get();  // the first one is not to be made by two threads at once
    std::vector<std::thread::id> seen;
    host::SetSyncHook([&](int, uint64_t) {
        seen.push_back(std::this_thread::get_id());
        std::this_thread::yield();
        return 0;
    });
    const auto work = [this](const Frame& frame, uint32_t from, uint32_t to) {
        const auto source = Filled(from, frame), result = GraphicBuffer(frame.width, 32, to);
        for (uint32_t i = 0; i < 50; ++i)
            EXPECT_EQ(converter.convert(source->graphic(), result->graphic()), 0);
        EXPECT_TRUE(Read(*result) == frame);
    };
    std::thread other(work, host::TestFrame(96, 32, 8, 1), PixFormat::YV12, PixFormat::MIREL_NV12);
    work(host::TestFrame(64, 32, 8, 2), PixFormat::MIREL_NV12_CMPX, PixFormat::YV12);
    other.join();
    // Of one conversion the four synchronisations follow one another.
    ASSERT_EQ(seen.size(), 2 * 50 * 4u);
    for (size_t i = 0; i < seen.size(); i += 4)
        EXPECT_EQ(std::count(&seen[i], &seen[i] + 4, seen[i]), 4) << i;
}

TEST(ColorConverterCapabilities, AreKnownWithoutAConverter) {
    const std::map<uint32_t, std::vector<uint32_t>> expected = {
        {1, {0x7FA30C04, 0x7FA30C06}},
        {0x32315659, {0x7FA30C04, 0x7FA30C06}},
        {0x7FA30C06, {0x32315659, 0x7FA30C04}},
        {0x7FA30C09, {0x32315659}},
    };
    EXPECT_EQ(LX2ColorConverter::QueryCapabilities().targets, expected);
}

}  // namespace lx2::test
