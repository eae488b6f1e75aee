#include <lx2/BufFlag.h>
#include <lx2/Bundle.h>
#include <lx2/FrameGeometry.h>
#include <lx2/Memory.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>

#include <cerrno>
#include <set>

#include "Fixture.h"

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The other programs of the family compare the bare numbers.
TEST(StatusTest, CarriesTheFamilysNumbers) {
    const LX2Status statuses[] = {C2_OK,       LX2_ERROR,    LX2_BAD_ARG,  C2_NOT_FOUND,
                                  C2_BLOCKING, C2_NO_MEMORY, C2_REFUSED,   C2_CORRUPTED,
                                  C2_NO_INIT,  C2_BAD_VALUE, C2_CANNOT_DO, C2_TIMED_OUT};
    EXPECT_THAT(statuses, ElementsAre(0, -1, -2, 2, 11, 12, 13, 14, 19, 22, 95, 110));
}

TEST(BundleTest, PutReplacesEmplaceKeepsAndGetReadsOneTagOnly) {
    Bundle bundle;
    EXPECT_EQ(bundle.put("key", uint64_t{5}), C2_OK);
    EXPECT_EQ(bundle.put("key", uint64_t{7}), C2_OK);
    EXPECT_EQ(bundle.size(), 1u);
    EXPECT_FALSE(bundle.emplace("key", Bundle::Item(uint64_t{9})));
    EXPECT_EQ(bundle.get<uint64_t>("key", 0), 7u);
    EXPECT_EQ(bundle.find("key")->second.tag(), 4u);
    EXPECT_EQ(bundle.put(bundle.begin()->first, uint64_t{11}), C2_OK) << "its own key";
    EXPECT_EQ(bundle.get<uint64_t>("key", 0), 11u);
    const std::pair<Bundle::Item, uint32_t> others[] = {
        {Bundle::Item(int32_t{12}), 1},       {Bundle::Item(uint32_t{12}), 2},
        {Bundle::Item(int64_t{12}), 3},       {Bundle::Item(12.0), 5},
        {Bundle::Item(std::string("12")), 6},
    };
    for (const auto& [item, tag] : others) {
        EXPECT_TRUE(bundle.emplace(std::to_string(tag), item));
        EXPECT_EQ(bundle.find(std::to_string(tag))->second.tag(), tag);
        EXPECT_EQ(bundle.get<uint64_t>(std::to_string(tag), 3), 3u) << tag;
    }
    EXPECT_EQ(bundle.get<uint64_t>("missing", 3), 3u);
}

TEST(MemoryTest, CopiesNothingBeyondTheDestination) {
    char room[4] = "abc";
    EXPECT_EQ(memcpy_s(room, 2, "xyz", 3), ERANGE);
    EXPECT_EQ(memcpy_s(nullptr, 2, "xy", 2), EINVAL);
    EXPECT_EQ(memcpy_s(room, 2, nullptr, 2), EINVAL);
    EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), 0);
    EXPECT_STREQ(room, "abc") << "untouched";
    EXPECT_EQ(memcpy_s(room, 2, "xy", 2), 0);
    EXPECT_STREQ(room, "xyc");
}

TEST(PixFormatTest, NamesEveryFormatApart) {
    std::set<std::string> names;
    const uint32_t formats[] = {1,     0xC2000000, 0x23,  0x109,      0x32315659, 0x7FA30C04,
                                0x102, 0x7FA30C06, 0x22,  0x7FA30C09, 0x7FA30C0A, 0x7F000789,
                                0x114, 0x125,      0x126, 0x128,      0x129,      0x130};
    for (uint32_t format : formats)
        EXPECT_TRUE(names.insert(PixFormat::Str(format)).second) << format;
    EXPECT_EQ(names.count("UNKNOWN"), 0u);
    EXPECT_STREQ(PixFormat::Str(0), "UNKNOWN");
}

TEST(PixFormatTest, CompressedFormatsHaveALinearCounterpart) {
    const std::pair<uint32_t, uint32_t> rows[] = {
        {PixFormat::RGBA8888_CMPX, PixFormat::RGBA8888},
        {PixFormat::MIREL_NV12_CMPX, PixFormat::MIREL_NV12},
        {PixFormat::MIREL_TP10, PixFormat::YV12},
        {PixFormat::MIREL_NV12, 0},
        {0, 0},
    };
    for (const auto& [format, counterpart] : rows) {
        EXPECT_EQ(PixFormat::GetUncompressedFor(format), counterpart) << PixFormat::Str(format);
        EXPECT_EQ(PixFormat::IsCompressed(format), counterpart != 0) << PixFormat::Str(format);
    }
}

TEST(BufFlagTest, JoinsNamesAndKeepsUnknownBits) {
    EXPECT_EQ(BufFlag::Str(0), "NONE");
    EXPECT_EQ(BufFlag::Str(BufFlag::END_OF_STREAM | BufFlag::CODEC_CONFIG | (1ull << 40)),
              "EOS|CODEC_CONFIG|0x10000000000");
}

TEST(LogGateTest, FollowsTheLevelWord) {
    struct Row {
        uint32_t level;
        LogDetail detail;
        LogGroup group;
        bool passes;
    };
    const Row rows[] = {
        {0x00000000, LogDetail::Debug, LogGroup::Buffer, false},
        {0x00000001, LogDetail::Debug, LogGroup::Buffer, true},
        {0x00000001, LogDetail::Trace, LogGroup::Buffer, false},
        {0x02000003, LogDetail::Trace, LogGroup::Buffer, true},
        {0x02000003, LogDetail::Trace, LogGroup::Gralloc, false},
        {0x01000001, LogDetail::Debug, LogGroup::Gralloc, true},
        {0x01000001, LogDetail::Debug, LogGroup::Buffer, false},
        {0x02000000, LogDetail::Debug, LogGroup::Buffer, false},
        {0x80000003, LogDetail::Debug, LogGroup::Buffer, false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(LogPasses(row.level, row.detail, row.group), row.passes) << std::hex << row.level;
}

class LogTest : public Fixture {};

TEST_F(LogTest, ArgumentsOfASilentMessageAreNotEvaluated) {
    constexpr LogModule kLog{"LogTest", LogGroup::Gralloc};
    int evaluated = 0;
    gC2LogLevel = 0x02000003;
    LX2_LOGD("%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    EXPECT_THAT(log.take(), IsEmpty());
    gC2LogLevel = 0x01000002;
    LX2_LOGT("%d", ++evaluated);
    LX2_LOGW("%s", "always");
    EXPECT_THAT(log.take(), ElementsAre(Debug("LogTest", "1"), Warning("LogTest", "always")));
}

// Figures worked out by hand from the tile sizes and paddings of each layout.
TEST(FrameSizeTest, CompressedFramesHaveTheVideoCoresSizes) {
    struct Row {
        uint32_t format;
        uint64_t width, height, size;
    };
    const Row rows[] = {
        {PixFormat::MIREL_NV12_CMPX, 0, 1080, 0},
        {PixFormat::MIREL_NV12_CMPX, 1920, 0, 0},
        // field-coded: 2 x (544 x 1920 + 8192 + 288 x 1920 + 4096), each piece padded to 4096
        {PixFormat::MIREL_NV12_CMPX, 1920, 1080, 2 * (1044480 + 8192 + 552960 + 4096)},
        // progressive: 12288 + (544 + 1088) x 1920 + 8192, padded to 4096
        {PixFormat::MIREL_NV12_CMPX, 1920, 1088, 3153920},
        // 4096 + 256 x (16 + 16) + 4096
        {PixFormat::MIREL_TP10, 1, 1, 16384},
        {PixFormat::MIREL_NV12, 1920, 1080, 0},
        {PixFormat::RGBA8888_CMPX, 64, 0, 0},
        {PixFormat::RGBA8888_CMPX, 1ull << 32, 64, 0},
    };
    for (const Row& row : rows)
        EXPECT_EQ(
            Platform::MirelBufferLayout::CompressedFrameSize(row.format, row.width, row.height),
            row.size);
}

}  // namespace
}  // namespace lx2::test
