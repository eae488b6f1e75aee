#include <lx2/IVFHeaders.h>

#include <cstring>

#include "Fixture.h"
#include "Ivf.h"

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

constexpr char kTag[] = "LX2StreamParser";

constexpr uint8_t kDefaultHeader[32] = {
    0x44, 0x4B, 0x49, 0x46, 0x00, 0x00, 0x20, 0x00, 0x56, 0x50, 0x38, 0x30, 0x40, 0x01, 0xF0, 0x00,
    0x30, 0x75, 0x00, 0x00, 0xE8, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

class IVFHeadersTest : public Fixture {
  protected:
    template <class Record>
    std::vector<uint8_t> bytesOf(const Record& record) {
        std::unique_ptr<uint8_t[]> bytes;
        const size_t size = record.toBytes(&bytes);
        return {bytes.get(), bytes.get() + size};
    }
};

TEST_F(IVFHeadersTest, StreamHeaderIsTheFilesBytes) {
    EXPECT_THAT(bytesOf(IVFStreamHeader()), ElementsAreArray(kDefaultHeader));
    IVFStreamHeader vp9;
    vp9.fourcc[2] = '9';
    EXPECT_EQ(memcmp(vp9.fourcc, IVFStreamHeader::FourCC_VP9, 4), 0);
}

TEST_F(IVFHeadersTest, AnyBytesAreReadAsAStreamHeader) {
    uint8_t bytes[32];
    for (int i = 0; i < 32; ++i)
        bytes[i] = 0x80 + i;
    const auto header = IVFStreamHeader::FromBytes(sizeof(bytes), bytes);
    ASSERT_NE(header, nullptr);
    // Ours in front, the bytes' own in the middle, and the reserved field cleared.
    std::vector<uint8_t> expected(bytes, bytes + 32);
    std::copy_n(kDefaultHeader, 8, expected.begin());
    std::fill_n(expected.begin() + 28, 4, 0);
    EXPECT_EQ(bytesOf(*header), expected);
    EXPECT_EQ(header->width, 0x8D8C);
    EXPECT_EQ(header->frameCount, 0x9B9A9998);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(IVFHeadersTest, FrameHeaderWritesAWideTimestampAndReadsItsLowerHalf) {
    IVFFrameHeader frame;
    frame.frameSize = 0x01020304;
    frame.timestamp = (1ull << 32) + 5;
    const std::vector<uint8_t> bytes = bytesOf(frame);
    EXPECT_THAT(bytes, ElementsAre(4, 3, 2, 1, 5, 0, 0, 0, 1, 0, 0, 0));
    const auto back = IVFFrameHeader::FromBytes(bytes.size(), bytes.data());
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->frameSize, 0x01020304u);
    EXPECT_EQ(back->timestamp, 5u);
}

TEST_F(IVFHeadersTest, RefusesAMissingTargetAndTooFewBytes) {
    EXPECT_EQ(IVFStreamHeader().toBytes(nullptr), 0u);
    EXPECT_EQ(IVFFrameHeader().toBytes(nullptr), 0u);
    EXPECT_EQ(IVFStreamHeader::FromBytes(31, kDefaultHeader), nullptr);
    EXPECT_EQ(IVFStreamHeader::FromBytes(32, nullptr), nullptr);
    EXPECT_EQ(IVFFrameHeader::FromBytes(11, kDefaultHeader), nullptr);
    EXPECT_EQ(IVFFrameHeader::FromBytes(12, nullptr), nullptr);
    char at[32];
    snprintf(at, sizeof(at), "buf(%p)", static_cast<const void*>(kDefaultHeader));
    const std::string full = at, null = "buf((nil))";
    EXPECT_THAT(
        log.take(),
        ElementsAre(Error(kTag, "IVFStreamHeader::toBytes: invalid buf handle"),
                    Error(kTag, "IVFFrameHeader::toBytes: invalid buf handle"),
                    Error(kTag, "IVFStreamHeader::FromBytes: invalid " + full + " sz=31 v/s 32"),
                    Error(kTag, "IVFStreamHeader::FromBytes: invalid " + null + " sz=32 v/s 32"),
                    Error(kTag, "IVFFrameHeader::FromBytes: invalid " + full + " sz=11 v/s 12"),
                    Error(kTag, "IVFFrameHeader::FromBytes: invalid " + null + " sz=12 v/s 12")));
}

TEST_F(IVFHeadersTest, ReplacesTheArrayThatWasThere) {
    auto bytes = std::make_unique<uint8_t[]>(3);  // the leak checker sees to the old one
    EXPECT_EQ(IVFStreamHeader().toBytes(&bytes), 32u);
    EXPECT_EQ(bytes[31], 0);
    EXPECT_EQ(IVFFrameHeader().toBytes(&bytes), 12u);
}

// Through the examples' reader, files that another program wrote.
TEST_F(IVFHeadersTest, ReadsFilesOfOthers) {
    for (const char* fourcc : {"VP80", "VP90"}) {
        const std::string name = fourcc[2] == '8' ? "vp8.ivf" : "vp9.ivf";
        example::IvfFile file;
        EXPECT_EQ(example::ReadIvf(LX2_SAMPLES_DIR "/" + name, &file), "");
        EXPECT_EQ(std::string(file.header.fourcc, 4), fourcc);
        EXPECT_EQ(file.header.width, 320);
        EXPECT_EQ(file.header.height, 180);
        ASSERT_EQ(file.frames.size(), 72u);
        EXPECT_EQ(file.frames[71].timestamp, 71u * file.header.rate / file.header.scale / 24);
        EXPECT_EQ(file.frames[71].offset + file.frames[71].size, file.bytes.size());
    }
    example::IvfFile file;
    EXPECT_EQ(example::ReadIvf(LX2_SAMPLES_DIR "/avc.264", &file), "is not an IVF file");
}

}  // namespace
}  // namespace lx2::test
