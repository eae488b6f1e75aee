#include <lx2/IVFHeaders.h>

#include <numeric>
#include <sstream>

#include "Fixture.h"

namespace lx2::test {

using ::testing::ElementsAreArray;

constexpr char kTag[] = "LX2StreamParser";

constexpr uint8_t kDefaultHeader[32] = {
    0x44, 0x4B, 0x49, 0x46, 0x00, 0x00, 0x20, 0x00, 0x56, 0x50, 0x38, 0x30, 0x40, 0x01, 0xF0, 0x00,
    0x30, 0x75, 0x00, 0x00, 0xE8, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

std::vector<uint8_t> BytesOf(const IVFStreamHeader& header) {
    std::unique_ptr<uint8_t[]> bytes;
    const size_t size = header.toBytes(&bytes);
    return {bytes.get(), bytes.get() + size};
}

class IVFHeadersTest : public Fixture {};

TEST_F(IVFHeadersTest, AnyBytesAreReadAsAStreamHeader) {
    EXPECT_THAT(BytesOf(IVFStreamHeader()), ElementsAreArray(kDefaultHeader));
    EXPECT_EQ(std::string(IVFStreamHeader::FourCC_VP9, 4), "VP90");
    // Ours in front, the bytes' own in the middle, and the reserved field cleared.
    std::vector<uint8_t> bytes(32);
    std::iota(bytes.begin(), bytes.end(), 0x80);
    const auto header = IVFStreamHeader::FromBytes(bytes.size(), bytes.data());
    ASSERT_NE(header, nullptr);
    std::copy_n(kDefaultHeader, 8, bytes.begin());
    std::fill_n(bytes.begin() + 28, 4, 0);
    EXPECT_EQ(BytesOf(*header), bytes);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(IVFHeadersTest, FrameHeaderWritesAWideTimestampAndReadsItsLowerHalf) {
    IVFFrameHeader frame;
    frame.frameSize = 0x01020304;
    frame.timestamp = (1ull << 32) + 0x80000005;
    auto bytes = std::make_unique<uint8_t[]>(3);  // replaced; the leak checker sees to the old one
    ASSERT_EQ(frame.toBytes(&bytes), 12u);
    EXPECT_THAT(std::vector<uint8_t>(&bytes[0], &bytes[12]),
                ElementsAre(4, 3, 2, 1, 5, 0, 0, 0x80, 1, 0, 0, 0));
    const auto back = IVFFrameHeader::FromBytes(12, bytes.get());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->frameSize, 0x01020304u);
    EXPECT_EQ(back->timestamp, 0x80000005u);
}

TEST_F(IVFHeadersTest, RefusesAMissingTargetAndTooFewBytes) {
    EXPECT_EQ(IVFStreamHeader().toBytes(nullptr), 0u);
    EXPECT_EQ(IVFFrameHeader().toBytes(nullptr), 0u);
    EXPECT_EQ(IVFStreamHeader::FromBytes(31, kDefaultHeader), nullptr);
    EXPECT_EQ(IVFStreamHeader::FromBytes(32, nullptr), nullptr);
    EXPECT_EQ(IVFFrameHeader::FromBytes(11, kDefaultHeader), nullptr);
    EXPECT_EQ(IVFFrameHeader::FromBytes(12, nullptr), nullptr);
    std::ostringstream full;
    full << "FromBytes: invalid buf(" << static_cast<const void*>(kDefaultHeader) << ")";
    const std::string null = "FromBytes: invalid buf((nil))";
    EXPECT_EQ(log.take(), Errors(kTag, {"IVFStreamHeader::toBytes: invalid buf handle",
                                        "IVFFrameHeader::toBytes: invalid buf handle",
                                        "IVFStreamHeader::" + full.str() + " sz=31 v/s 32",
                                        "IVFStreamHeader::" + null + " sz=32 v/s 32",
                                        "IVFFrameHeader::" + full.str() + " sz=11 v/s 12",
                                        "IVFFrameHeader::" + null + " sz=12 v/s 12"}));
}

}  // namespace lx2::test
