// Runs the code of the pages, which is taken from them as it stands there.
#include <C2PlatformSupport.h>
#include <lx2host/VideoCore.h>

#include "Blocks.h"
#include "Fixture.h"

#include "README.inc"
#include "writing-a-component.inc"

// The codec: writes a picture, and gives the middle row of what became of it.
void decodeInto(uint8_t* frame, uint32_t size, const uint8_t* unit, uint32_t unitSize) {
    EXPECT_EQ(std::string(unit, unit + unitSize), "unit");
    EXPECT_TRUE(host::WriteFrame(frame, size, PixFormat::MIREL_NV12_CMPX,
                                 host::TestFrame(1920, 1080, 8, 1)));
}
uint32_t encodeInto(uint8_t* unit, uint32_t, const LX2Buffer::Planes& frame) {
    std::copy_n(frame[0].row(540), frame[0].rowBytes, unit);
    return static_cast<uint32_t>(frame[0].rowBytes);
}
void decodeInto(uint8_t* memory, uint32_t) {
    memory[0] = 1;
}

namespace lx2::test {

using PagesTest = Fixture;

TEST_F(PagesTest, TheComponentsDecodeAndEncode) {
    std::shared_ptr<C2BlockPool> graphic, linear;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &graphic);
    android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &linear);
    const auto unit = LinearBuffer(4);
    std::copy_n("unit", 4, unit->linear()->map()->data());
    std::shared_ptr<C2Buffer> decoded, encoded;
    Decoder decoder(graphic);
    ASSERT_EQ(decoder.decode(unit->getSharedBuffer(), 1, &decoded), C2_OK);
    decoder.forget(1);
    Encoder encoder(graphic, linear);
    ASSERT_EQ(encoder.encode(decoded, &encoded), C2_OK);
    const auto row = LX2Buffer::CreateFromC2Buffer(encoded)->linear()->mapReadOnly();
    const auto picture = host::TestFrame(1920, 1080, 8, 1);
    EXPECT_TRUE(std::equal(row->data(), row->data() + 1920, picture.y.begin() + 540 * 1920));
    const auto shown = LX2Buffer::CreateFromC2Buffer(::decode(1, 2));
    EXPECT_EQ(shown->graphic()->mapReadOnly()->data()[0], 1);
}

}  // namespace lx2::test
