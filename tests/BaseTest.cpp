#include <lx2/BufFlag.h>
#include <lx2/Bundle.h>
#include <lx2/Memory.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>

#include <array>
#include <cerrno>
#include <random>
#include <tuple>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

// The other programs of the family compare the bare numbers.
static_assert(LX2_ERROR == -1 && LX2_BAD_ARG == -2);
static_assert(BufFlag::DROP_FRAME == 1 && BufFlag::END_OF_STREAM == 2 &&
              BufFlag::DISCARD_FRAME == 4 && BufFlag::INCOMPLETE == 8 &&
              BufFlag::SYNC_FRAME == 16 && BufFlag::CORRUPTED == 32 &&
              BufFlag::CODEC_CONFIG == 0x80000000);

TEST(BundleTest, PutReplacesEmplaceKeepsAndGetReadsOneTagOnly) {
    Bundle bundle;
    EXPECT_EQ(bundle.put("key", uint64_t{5}), C2_OK);
    EXPECT_EQ(bundle.put("key", uint64_t{7}), C2_OK);
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

TEST(LogSinkTest, CutsWhatIsLong) {
    CapturedLog log;
    __android_log_print(ANDROID_LOG_VERBOSE, "Tag", "%s", std::string(3000, 'x').c_str());
    EXPECT_THAT(log.take(),
                ElementsAre(LogLine{ANDROID_LOG_VERBOSE, "Tag", std::string(1023, 'x')}));
}

TEST(BufFlagTest, JoinsNamesAndKeepsUnknownBits) {
    EXPECT_EQ(BufFlag::Str(BufFlag::END_OF_STREAM | BufFlag::CODEC_CONFIG | (1ull << 40)),
              "EOS|CODEC_CONFIG|0x10000000000");
}

using LogTest = Fixture;

TEST_F(LogTest, TheLevelWordChoosesDetailAndGroupAndErrorsAlwaysPrint) {
    constexpr LogModule kLog{"LogTest", LogGroup::Gralloc};
    const std::pair<uint32_t, std::string> rows[] = {
        {0x00000000, "E"}, {0x00000001, "ED"}, {0x00000002, "ET"}, {0x01000003, "EDT"},
        {0x02000003, "E"}, {0x01000000, "E"},  {0x83000001, "ED"}, {0x80000003, "E"},
    };
    for (const auto& [level, printed] : rows) {
        std::string evaluated;
        const auto texts = textsAt(level, [&] {
            LX2_LOGE("%s", (evaluated += 'E').c_str());
            LX2_LOGD("%s", (evaluated += 'D').c_str());
            LX2_LOGT("%s", (evaluated += 'T').c_str());
        });
        EXPECT_EQ(evaluated, printed) << std::hex << level;
        EXPECT_EQ(texts.size(), printed.size());
    }
}

TEST(PixFormatTest, EveryFormatHasItsName) {
    std::string names;
    for (const uint32_t format :
         {0x1u, 0xC2000000, 0x23u, 0x109u, 0x32315659u, 0x7FA30C04u, 0x7FA30C06u, 0x7FA30C09u,
          0x7FA30C0Au, 0x22u, 0x102u, 0x7F000789u, 0u})
        names += PixFormat::Str(format) + std::string(" ");
    EXPECT_EQ(
        names,
        "RGBA8888 RGBA8888_CMPX I420 NV12 YV12 MIREL_NV12 MIREL_NV12_CMPX MIREL_TP10 MIREL_P010 "
        "IMPLEMENTATION_DEFINED ALLOC_NV12_102 ALLOC_NV12_789 UNKNOWN ");
}

// Figures worked out by hand from the tile sizes and paddings of each layout.
TEST(FrameSizeTest, CompressedFramesHaveTheVideoCoresSizes) {
    const std::tuple<uint32_t, uint64_t, uint64_t, uint64_t> rows[] = {
        {PixFormat::MIREL_NV12_CMPX, 1920, 0, 0},
        // progressive: 12288 + (544 + 1088) x 1920 + 8192, padded to 4096
        {PixFormat::MIREL_NV12_CMPX, 1920, 1088, 3153920},
        {PixFormat::MIREL_NV12, 1920, 1080, 0},
        {PixFormat::RGBA8888_CMPX, 100, 40, 128 * 49 * 4 / 4096 * 4096 + 4096},
        {PixFormat::RGBA8888_CMPX, 64, 0, 0},
        {PixFormat::RGBA8888_CMPX, (1ull << 32) + 64, 64, 0},
        {PixFormat::RGBA8888_CMPX, 64, (1ull << 32) + 64, 0},
    };
    for (const auto& [format, width, height, size] : rows)
        EXPECT_EQ(Platform::MirelBufferLayout::CompressedFrameSize(format, width, height), size);
}

TEST(FramePlanesTest, LieAsTheFormatAndTheHandleSay) {
    const struct {
        uint32_t format;
        std::vector<std::array<uint64_t, 4>> planes;  // offset, pitch, bytes of a row, rows
        uint64_t size;
    } kRows[] = {
        {PixFormat::RGBA8888, {{4096, 256, 148, 23}}, 9876},
        {PixFormat::I420, {{4096, 48, 37, 23}, {5200, 32, 18, 11}, {5568, 32, 18, 11}}, 5906},
        {PixFormat::YV12, {{4096, 48, 37, 23}, {5200, 32, 18, 11}, {5568, 32, 18, 11}}, 5906},
        {PixFormat::NV12, {{4096, 48, 37, 23}, {5200, 48, 36, 11}}, 5716},
        {PixFormat::MIREL_NV12, {{4096, 512, 37, 23}, {266240, 512, 36, 11}}, 271396},
        {PixFormat::MIREL_P010, {{4096, 256, 74, 23}, {12288, 256, 72, 11}}, 14920},
        {PixFormat::MIREL_NV12_CMPX, {}, 0},
    };
    for (const auto& row : kRows) {
        const auto block = GraphicBlock(37, 23, row.format);
        const_cast<C2Handle*>(block->handle())->data[16] = 4096;  // the offset of the record
        const LX2Buffer buffer(block);
        const FramePlanes planes = buffer.graphic()->planes();
        std::vector<std::array<uint64_t, 4>> found;
        for (const FramePlane& plane : planes)
            found.push_back({plane.offset, plane.pitch, plane.rowBytes, plane.rows});
        EXPECT_EQ(found, row.planes) << PixFormat::Str(row.format);
        EXPECT_EQ(planes.size(), row.size);
    }
    EXPECT_EQ(GraphicBuffer(37, 23, PixFormat::MIREL_P010)->graphic()->allocSize(), 12288u);
    EXPECT_EQ(LX2Buffer(std::shared_ptr<C2GraphicBlock>()).graphic()->planes().count, 0u);
}

TEST(FramePlanesTest, EndsAreExactOrTheLargestNumber) {
    __extension__ using Wide = unsigned __int128;
    std::mt19937_64 random(1);
    const auto figure = [&random] { return random() >> (random() % 64); };
    for (int i = 0; i < 20000; ++i) {
        const FramePlanes planes{{{figure(), figure(), figure(), figure()}, {0, 0, 1, 1}}, 2};
        const FramePlane& plane = planes[0];
        Wide end = Wide{plane.rows - 1} * plane.pitch + plane.rowBytes + plane.offset;
        end = plane.rows == 0 ? 0 : std::min<Wide>(end, ~uint64_t{0});
        EXPECT_EQ(plane.end(), static_cast<uint64_t>(end));
        EXPECT_EQ(planes.size(), std::max<uint64_t>(plane.end(), 1));
    }
}

}  // namespace lx2::test
