// A converter whose libraries are broken: one test for each way, run with the broken one in front.
#include <lx2/LX2ColorConverter.h>
#include <lx2/PixFormat.h>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

class ColorUnboundTest : public Fixture, public ::testing::WithParamInterface<const char*> {};

TEST_P(ColorUnboundTest, SaysWhyAndFailsEveryConversion) {
    const auto source = GraphicBuffer(64, 64, PixFormat::NV12);
    const auto target = GraphicBuffer(64, 64, PixFormat::YV12);
    log.take();
    LX2ColorConverter converter;
    const std::string what = GetParam();
    EXPECT_THAT(
        log.takeTexts(),
        ElementsAre(MatchesRegex(
            what == "no_blit" ? "Engine: open libGBX2.so failed (.*libGBX2.so.*), gbx disabled"
            : what == "no_utility"
                ? "Engine: sopen libferrum_utils.so failed (.*libferrum_utils.so.*), gbx disabled"
                : "Engine: dlsym " + what + " failed, disable gbx engine")));
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(converter.convert(source->graphic(), target->graphic()), -1);
    EXPECT_THAT(log.take(),
                ElementsAre(Error("LX2GBXEngine", "configure: configure failed, gbx disabled"),
                            Error("LX2ColorConverter", "convert: configure gbx engine failed"),
                            Error("LX2GBXEngine",
                                  "convert:  can't do color conversion now (enable 0, config 0)"),
                            Error("LX2ColorConverter", "convert: convert failed")));
}

INSTANTIATE_TEST_SUITE_P(Without, ColorUnboundTest,
                         ::testing::Values("no_blit", "no_utility", "gbxCreateSurface",
                                           "gbxUpdateSurface", "gbxReadSurface", "gbxDraw",
                                           "gbxFlush", "gbxFinish", "gbxWaitTimestamp",
                                           "gbxDestroySurface", "gbxMapAddr", "gbxUnMapAddr",
                                           "compute_fmt_aligned_width_and_height"),
                         [](const auto& row) { return std::string(row.param); });

}  // namespace lx2::test
