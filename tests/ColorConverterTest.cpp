#include <lx2/LX2ColorConverter.h>
#include <lx2/PixFormat.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/VideoCore.h>

#include <cmath>
#include <random>
#include <thread>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {
namespace {

using host::Frame;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kTag[] = "LX2ColorConverter";
constexpr uint32_t kYuvFormats[] = {PixFormat::I420,
                                    PixFormat::NV12,
                                    PixFormat::YV12,
                                    PixFormat::MIREL_NV12,
                                    PixFormat::MIREL_NV12_CMPX,
                                    PixFormat::MIREL_TP10};
constexpr uint32_t kRgbFormats[] = {PixFormat::RGBA8888, PixFormat::RGBA8888_CMPX};

uint32_t DepthOf(uint32_t format) {
    return format == PixFormat::MIREL_TP10 ? 10 : 8;
}

std::shared_ptr<LX2Buffer> Filled(uint32_t format, const Frame& frame) {
    auto buffer = GraphicBuffer(frame.width, frame.height, format);
    const auto mapping = buffer->graphic()->map();
    EXPECT_TRUE(host::WriteFrame(mapping->data(), mapping->size(), format, frame));
    return buffer;
}

Frame Read(const LX2Buffer& buffer) {
    const auto* view = buffer.graphic();
    const auto mapping = view->mapReadOnly();
    return *host::ReadFrame(mapping->data(), mapping->size(), view->format(), view->width(),
                            view->height());
}

// Any bytes, for RGBA in its two layouts.
std::shared_ptr<LX2Buffer> FilledWithNoise(uint32_t format, uint32_t width, uint32_t height) {
    auto buffer = GraphicBuffer(width, height, format);
    const auto mapping = buffer->graphic()->map();
    std::mt19937 random(7);
    for (uint32_t i = 0; i < mapping->size(); ++i)
        mapping->data()[i] = static_cast<uint8_t>(random());
    return buffer;
}

std::vector<uint8_t> Pixels(const LX2Buffer& buffer) {
    const auto* view = buffer.graphic();
    const auto plane = host::LayoutOf(view->format(), view->width(), view->height())->planes[0];
    const auto mapping = view->mapReadOnly();
    std::vector<uint8_t> pixels;
    for (uint32_t y = 0; y < view->height(); ++y) {
        for (uint32_t x = 0; x < view->width() * 4; ++x)
            pixels.push_back(mapping->data()[plane.valueAt(x / 4, x % 4, y)]);
    }
    return pixels;
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
    for (uint32_t from : kYuvFormats) {
        const Frame frame = host::TestFrame(200, 130, DepthOf(from), 5);
        const auto source = Filled(from, frame);
        for (uint32_t to : kYuvFormats) {
            ASSERT_EQ(convert(source, to), 0) << PixFormat::Str(from) << PixFormat::Str(to);
            EXPECT_THAT(log.take(), IsEmpty());
            EXPECT_TRUE(Read(*target) == frame.withBitDepth(DepthOf(to)))
                << PixFormat::Str(from) << " to " << PixFormat::Str(to);
        }
    }
}

TEST_F(ColorConverterTest, ConvertsFramesOfAnOddSize) {
    const Frame frame = host::TestFrame(131, 67, 8, 2);
    for (uint32_t from : kYuvFormats) {
        for (uint32_t to : kYuvFormats) {
            ASSERT_EQ(convert(Filled(from, frame), to), 0)
                << PixFormat::Str(from) << " to " << PixFormat::Str(to);
            const Frame result = Read(*target).withBitDepth(8);
            EXPECT_EQ(result.y, frame.y);
            for (uint32_t y = 0; y < 33; ++y)
                EXPECT_TRUE(
                    std::equal(&frame.cr[y * 66], &frame.cr[y * 66 + 65], &result.cr[y * 66]));
        }
    }
}

// Against the floating-point form of BT.601.
TEST_F(ColorConverterTest, ConvertsColoursWithinRounding) {
    for (uint32_t rgb : kRgbFormats) {
        for (uint32_t yuv : kYuvFormats) {
            SCOPED_TRACE(std::string(PixFormat::Str(rgb)) + " and " + PixFormat::Str(yuv));
            const auto noise = FilledWithNoise(rgb, 62, 34);
            const auto pixels = Pixels(*noise);
            ASSERT_EQ(convert(noise, yuv), 0);
            const Frame result = Read(*target).withBitDepth(8);
            for (size_t i = 0; i < result.y.size(); ++i) {
                const uint8_t* p = &pixels[4 * i];
                ASSERT_NEAR(result.y[i],
                            16 + (65.738 * p[0] + 129.057 * p[1] + 25.064 * p[2]) / 256, 0.51);
            }
            double cb = 0, cr = 0;
            for (size_t i : {0, 1, 62, 63}) {
                const uint8_t* p = &pixels[4 * i];
                cb += 32 + (-37.945 * p[0] - 74.494 * p[1] + 112.439 * p[2]) / 1024;
                cr += 32 + (112.439 * p[0] - 94.154 * p[1] - 18.285 * p[2]) / 1024;
            }
            EXPECT_NEAR(result.cb[0], cb, 0.51);
            EXPECT_NEAR(result.cr[0], cr, 0.51);

            const auto clamp = [](double value) { return std::min(255.0, std::max(0.0, value)); };
            const Frame frame = host::TestFrame(62, 34, 8, 9);
            ASSERT_EQ(convert(Filled(yuv, frame), rgb), 0);
            const auto back = Pixels(*target);
            for (uint32_t i = 0; i < frame.y.size(); ++i) {
                const uint32_t at = i / 62 / 2 * 31 + i % 62 / 2;
                const double y = 1.16438 * (frame.y[i] - 16);
                const int u = frame.cb[at] - 128, v = frame.cr[at] - 128;
                ASSERT_NEAR(back[4 * i], clamp(y + 1.59603 * v), 0.51);
                ASSERT_NEAR(back[4 * i + 1], clamp(y - 0.39176 * u - 0.81297 * v), 0.51);
                ASSERT_NEAR(back[4 * i + 2], clamp(y + 2.01723 * u), 0.51);
                ASSERT_EQ(back[4 * i + 3], 255);
            }
        }
        for (uint32_t other : kRgbFormats) {
            const auto noise = FilledWithNoise(rgb, 61, 35);
            ASSERT_EQ(convert(noise, other), 0);
            EXPECT_EQ(Pixels(*target), Pixels(*noise));
        }
    }
}

TEST_F(ColorConverterTest, GivesTheTargetTheSourcesCropBeforeItChecksAnything) {
    const auto source = GraphicBuffer(64, 48, PixFormat::NV12);
    const auto taller = GraphicBuffer(64, 64, PixFormat::NV12);
    ASSERT_EQ(source->graphic()->setCrop({32, 16, 8, 4}), C2_OK);
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

TEST_F(ColorConverterTest, ConfiguresOnlyWhenTheGeometryChanges) {
    const auto source = Filled(PixFormat::NV12, host::TestFrame(64, 48, 8, 0));
    const auto configured = [&](uint32_t format) {
        gC2LogLevel = 0x01000002;
        EXPECT_EQ(convert(source, format), 0);
        gC2LogLevel = 0;
        const auto texts = log.takeTexts();
        return std::count(texts.begin(), texts.end(), "configure: configure successfully");
    };
    EXPECT_EQ(configured(PixFormat::YV12), 1);
    EXPECT_EQ(configured(PixFormat::YV12), 0);
    EXPECT_EQ(configured(PixFormat::I420), 1);
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

TEST_F(ColorConverterTest, FailsForBuffersThatAreTooSmallOrCannotBeMapped) {
    const auto source = GraphicBuffer(64, 64, PixFormat::YV12);
    const auto small = GraphicBuffer(64, 64, PixFormat::MIREL_NV12);
    small->graphic()->setAllocSize(4096);
    EXPECT_EQ(converter.convert(source->graphic(), small->graphic()), -1);
    auto lines = log.take();
    EXPECT_EQ(lines.back(), Error(kTag, "convert: convert failed"));
    EXPECT_THAT(lines[lines.size() - 2].text,
                ::testing::EndsWith("mSrcSize 8192, srcSize 8192, mDstSize 393216, dstSize 4096"));
    small->graphic()->setAllocSize(0);
    EXPECT_EQ(converter.convert(source->graphic(), small->graphic()), -1);
    EXPECT_THAT(log.take().back().text,
                ::testing::MatchesRegex(
                    "convert: failed to get buffer base addr .src 0x[0-9a-f]+, dst .nil.."));
}

TEST_F(ColorConverterTest, ReleasesTheTargetFirst) {
    const auto source = GraphicBuffer(64, 64, PixFormat::YV12);
    target = GraphicBuffer(64, 64, PixFormat::MIREL_NV12);
    std::vector<std::pair<int, uint64_t>> seen;
    host::SetSyncHook([&](int fd, uint64_t flags) {
        seen.emplace_back(fd, flags);
        return 0;
    });
    EXPECT_EQ(converter.convert(source->graphic(), target->graphic()), 0);
    const int from = source->graphic()->fd(), to = target->graphic()->fd();
    EXPECT_THAT(seen, ElementsAre(std::pair(from, 3u), std::pair(to, 3u), std::pair(to, 7u),
                                  std::pair(from, 7u)));
}

TEST_F(ColorConverterTest, ThreadsTakeTurns) {
    const auto work = [this](uint32_t width, uint32_t from, uint32_t to) {
        for (uint32_t i = 0; i < 20; ++i) {
            const Frame frame = host::TestFrame(width, 32, 8, i);
            const auto source = Filled(from, frame);
            const auto result = GraphicBuffer(width, 32, to);
            EXPECT_EQ(converter.convert(source->graphic(), result->graphic()), 0);
            EXPECT_TRUE(Read(*result) == frame);
        }
    };
    std::thread other(work, 96, PixFormat::YV12, PixFormat::MIREL_NV12);
    work(64, PixFormat::MIREL_NV12_CMPX, PixFormat::YV12);
    other.join();
}

TEST_F(ColorConverterTest, NamesWhatItCanDo) {
    const auto& capabilities = LX2ColorConverter::QueryCapabilities();
    EXPECT_EQ(&capabilities, &LX2ColorConverter::QueryCapabilities());
    EXPECT_EQ(capabilities.reserved, 0u);
    const std::map<uint32_t, std::vector<uint32_t>> expected = {
        {1, {0x7FA30C04, 0x7FA30C06}},
        {0x32315659, {0x7FA30C04, 0x7FA30C06}},
        {0x7FA30C06, {0x32315659, 0x7FA30C04}},
        {0x7FA30C09, {0x32315659}},
    };
    EXPECT_EQ(capabilities.targets, expected);
}

}  // namespace
}  // namespace lx2::test
