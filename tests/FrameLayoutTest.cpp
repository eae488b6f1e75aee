#include <lx2/PixFormat.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/VideoCore.h>

#include <vector>

#include "Fixture.h"

namespace lx2::test {
namespace {

using host::Frame;
using host::FrameLayout;

constexpr uint32_t kFormats[] = {PixFormat::RGBA8888,
                                 PixFormat::RGBA8888_CMPX,
                                 PixFormat::I420,
                                 PixFormat::NV12,
                                 PixFormat::YV12,
                                 PixFormat::MIREL_NV12,
                                 PixFormat::MIREL_NV12_CMPX,
                                 PixFormat::MIREL_TP10};

constexpr std::pair<uint32_t, uint32_t> kSizes[] = {
    {1, 1}, {2, 2}, {3, 5}, {33, 9}, {49, 17}, {200, 131}, {640, 360}, {1921, 64}, {1919, 1081}};

TEST(FrameLayoutTest, EveryValueHasAPlaceOfItsOwnInTheAllocation) {
    for (uint32_t format : kFormats) {
        for (const auto& [width, height] : kSizes) {
            SCOPED_TRACE(std::string(PixFormat::Str(format)) + " " + std::to_string(width) + "x" +
                         std::to_string(height));
            const auto layout = host::LayoutOf(format, width, height);
            ASSERT_TRUE(layout);
            std::vector<uint8_t> taken(host::AllocationOf(format, width, height).size);
            EXPECT_LE(layout->end(), taken.size());
            for (uint32_t i = 0; i < layout->planeCount; ++i) {
                const auto& plane = layout->planes[i];
                // Ten-bit values share a word and so a first byte.
                const uint8_t most = plane.packed ? 3 : 1;
                for (uint32_t y = 0; y < plane.height; ++y) {
                    for (uint32_t x = 0; x < plane.values(); ++x)
                        ASSERT_LT(
                            taken.at(plane.valueAt(x / plane.channels, x % plane.channels, y))++,
                            most)
                            << x << "," << y;
                    for (uint32_t x = 0;
                         plane.isTiled() && y % plane.tileRows() == 0 && x < plane.rowBytes();
                         x += plane.tileBytes)
                        ASSERT_EQ(taken.at(plane.metadataAt(x, y))++, 0) << x << "," << y;
                }
            }
        }
    }
}

// Addresses worked out by hand from the tile shapes, for a frame of 200 x 131.
TEST(FrameLayoutTest, PutsSamplesWhereTheTilingsSay) {
    struct Row {
        uint32_t format, plane, x, channel, y;
        uint64_t at;
    };
    const Row rows[] = {
        {PixFormat::YV12, 0, 5, 0, 3, 3 * 208 + 5},
        {PixFormat::YV12, 1, 99, 0, 64, 131 * 208 + 64 * 112 + 99},
        {PixFormat::YV12, 2, 0, 0, 1, 131 * 208 + 131 * 112 / 2 + 112},
        {PixFormat::NV12, 1, 7, 1, 2, 131 * 208 + 2 * 208 + 15},
        {PixFormat::MIREL_NV12, 1, 7, 1, 2, 512 * 512 + 2 * 512 + 15},
        {PixFormat::RGBA8888, 0, 7, 2, 2, 2 * 896 + 30},
        // second row of tiles, third tile, row 3 of it, second pixel
        {PixFormat::RGBA8888_CMPX, 0, 33, 2, 7, 4 * 896 + 2 * 256 + 3 * 64 + 4 + 2},
        // 64 bytes a row and 32 rows of metadata in a page; tile 1, 1 of 32 x 8
        {PixFormat::MIREL_NV12_CMPX, 0, 40, 0, 9, 4096 + 8 * 256 + 256 + 32 + 8},
        {PixFormat::MIREL_NV12_CMPX, 1, 17, 1, 9, 4096 + 160 * 256 + 4096 + 8 * 256 + 256 + 32 + 3},
        // 64 bytes a row and 48 rows of metadata in a page; tile 1, 1 of 48 x 4
        {PixFormat::MIREL_TP10, 0, 52, 0, 5, 4096 + 4 * 512 + 256 + 64 + 4},
        {PixFormat::MIREL_TP10, 1, 26, 0, 5, 4096 + 144 * 512 + 4096 + 4 * 512 + 256 + 64 + 4},
    };
    for (const Row& row : rows)
        EXPECT_EQ(host::LayoutOf(row.format, 200, 131)
                      ->planes[row.plane]
                      .valueAt(row.x, row.channel, row.y),
                  row.at)
            << PixFormat::Str(row.format) << " plane " << row.plane;
}

TEST(VideoCoreTest, ReadsBackWhatItWroteAndTouchesNothingElse) {
    for (uint32_t format : kFormats) {
        if (format == PixFormat::RGBA8888 || format == PixFormat::RGBA8888_CMPX)
            continue;
        const bool ten = format == PixFormat::MIREL_TP10;
        const Frame frame = host::TestFrame(200, 130, ten ? 10 : 8, 3);
        const uint64_t size = host::LayoutOf(format, 200, 130)->end();
        std::vector<uint8_t> memory(size + 1, 0xEE);
        EXPECT_FALSE(host::WriteFrame(memory.data(), size - 1, format, frame));
        EXPECT_EQ(std::count(memory.begin(), memory.end(), 0xEE), memory.size());
        ASSERT_TRUE(host::WriteFrame(memory.data(), size, format, frame));
        EXPECT_EQ(memory[size], 0xEE) << PixFormat::Str(format);
        EXPECT_FALSE(host::ReadFrame(memory.data(), size - 1, format, 200, 130));
        EXPECT_EQ(host::ReadFrame(memory.data(), size, format, 200, 130), frame)
            << PixFormat::Str(format);
    }
    EXPECT_FALSE(host::LayoutOf(PixFormat::MIREL_P010, 64, 64));
    EXPECT_FALSE(host::LayoutOf(PixFormat::NV12, 0, 64));
    EXPECT_FALSE(host::LayoutOf(PixFormat::NV12, 0xFFFFFFFF, 64));
}

}  // namespace
}  // namespace lx2::test
