// A converter whose libraries are broken in the way that the build names.
#include <lx2/LX2ColorConverter.h>
#include <lx2/PixFormat.h>

#include <algorithm>
#include <string>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {
namespace {

class ColorUnboundTest : public Fixture {};

TEST_F(ColorUnboundTest, SaysWhyAndFailsEveryConversion) {
    const std::pair<std::string, const char*> reasons[] = {
        {"no_blit", "Engine: open libGBX2.so failed (.*libGBX2.so.*), gbx disabled"},
        {"no_utility",
         "Engine: sopen libferrum_utils.so failed (.*libferrum_utils.so.*), gbx disabled"},
        {"no_finish", "Engine: dlsym gbxFinish failed, disable gbx engine"},
    };
    const std::string broken = LX2_TEST_BROKEN;
    const auto reason = std::find_if(std::begin(reasons), std::end(reasons),
                                     [&](const auto& row) { return row.first == broken; });
    ASSERT_NE(reason, std::end(reasons));

    const auto source = GraphicBuffer(64, 64, PixFormat::NV12);
    const auto target = GraphicBuffer(64, 64, PixFormat::YV12);
    log.take();
    LX2ColorConverter converter;
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].priority, ANDROID_LOG_ERROR);
    EXPECT_THAT(lines[0].text, ::testing::MatchesRegex(reason->second));

    EXPECT_EQ(converter.convert(source->graphic(), target->graphic()), -1);
    EXPECT_EQ(converter.convert(source->graphic(), target->graphic()), -1);
    EXPECT_THAT(
        log.take(),
        ::testing::ElementsAre(
            Error("LX2GBXEngine", "configure: configure failed, gbx disabled"),
            Error("LX2ColorConverter", "convert: configure gbx engine failed"),
            Error("LX2GBXEngine", "convert:  can't do color conversion now (enable 0, config 0)"),
            Error("LX2ColorConverter", "convert: convert failed")));
}

}  // namespace
}  // namespace lx2::test
