// Runs the code of the README, which is taken from it as it stands there.
#include "Fixture.h"

#include "README.inc"

void decodeInto(uint8_t* memory, uint32_t) {
    memory[0] = 1;
}

namespace lx2::test {

using PagesTest = Fixture;

TEST_F(PagesTest, TheReadmesDecoderWritesAFrame) {
    const auto shown = LX2Buffer::CreateFromC2Buffer(::decode(1, 2));
    EXPECT_EQ(shown->graphic()->mapReadOnly()->data()[0], 1);
}

}  // namespace lx2::test
