// The framework that checks a component's output notices each kind of broken promise.
#include <C2Config.h>
#include <lx2/PixFormat.h>
#include <lx2host/Framework.h>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

using FrameworkTest = Fixture;

TEST_F(FrameworkTest, SaysWhatIsNotAsPromised) {
    const auto buffer = GraphicBuffer(64, 48, PixFormat::NV12);
    buffer->graphic()->setPrivateMetadata({std::make_shared<C2StreamColorAspectsInfo::output>(
        0u, C2Color::RANGE_FULL, C2Color::PRIMARIES_BT709, C2Color::TRANSFER_LINEAR,
        C2Color::MATRIX_BT709)});
    int released = 0;
    host::Framework framework(1);
    framework.onRelease([&](const C2Buffer&) { ++released; });
    const host::Promise kept{1, UINT64_MAX, C2Rect(64, 48), {}, false, 0};  // no time is set
    framework.receive(buffer->getSharedBuffer(), kept);
    EXPECT_THAT(framework.complaints(), ElementsAre());
    host::Promise broken{2, 7, C2Rect(64, 47), C2ColorAspectsStruct(), true, 1};
    framework.receive(buffer->getSharedBuffer(), broken);
    framework.receive(nullptr, kept);
    EXPECT_THAT(framework.complaints(),
                ElementsAre("frame 2: another crop than promised",
                            "frame 2: another number of infos than promised",
                            "frame 2: another time stamp than promised",
                            HasSubstr("frame 2: presented at 7 us, the frame before it at "),
                            "frame 2: other colors than promised", "frame 2: no HDR static info",
                            "frame 1: no buffer"));
    EXPECT_EQ(released, 1);
    EXPECT_TRUE(framework.releaseOldest());
    EXPECT_FALSE(framework.releaseOldest());
    EXPECT_EQ(released, 2);
}

}  // namespace lx2::test
