// The stand-ins: what is left open is named, frames lie as described, and memory is mapped as a
// device maps it.
#include <lx2/PixFormat.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/OpenResources.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

TEST(OpenResourcesTest, TellsWhatIsOpenAndWhoMadeIt) {
    const host::OpenResources before;
    const auto buffer = GraphicBuffer(64, 48, PixFormat::NV12);
    const auto mapping = buffer->graphic()->map();
    std::FILE* file = fopen("/dev/null", "r");
    EXPECT_THAT(
        before.leftOpen(),
        ElementsAre(MatchesRegex("5 descriptors: .*[0-9]+ is graphic 0x[0-9a-f]+ NV12 64x48 "
                                 "by host_test, 8192 bytes; .*[0-9]+ is metadata of "
                                 "0x[0-9a-f]+ by host_test, 16384 bytes.*"),
                    MatchesRegex("1 buffer mappings: [0-9a-f]+-[0-9a-f]+ is graphic "
                                 "0x[0-9a-f]+ NV12 64x48 by host_test"),
                    "1 imported handles", "1 cache brackets"));
    EXPECT_THAT(before.leftOpen()[0], HasSubstr(" is /dev/null"));
    fclose(file);
}

// All values are written before the first one is looked at: none lies on another one.
TEST(FrameLayoutTest, EachValueLiesWhereItIsDescribed) {
    for (const uint32_t format :
         {PixFormat::NV12, PixFormat::YV12, PixFormat::RGBA8888, PixFormat::MIREL_P010,
          PixFormat::MIREL_NV12_CMPX, PixFormat::MIREL_TP10, PixFormat::RGBA8888_CMPX}) {
        const host::FrameLayout layout = *host::LayoutOf(format, 322, 70);
        std::vector<uint8_t> memory(layout.end());
        const auto value = [&](uint32_t plane, uint32_t row, uint32_t i) {
            return uint16_t((plane * 501 + row * 337 + i * 29) % (1u << layout.bitDepth));
        };
        for (const bool written : {false, true}) {
            for (uint32_t p = 0; p < layout.planeCount; ++p) {
                const host::PlaneLayout& plane = layout.planes[p];
                std::vector<uint16_t> values(plane.values());
                for (uint32_t y = 0; y < plane.height; ++y) {
                    for (uint32_t i = 0; i < plane.values(); ++i) {
                        values[i] = value(p, y, i);
                        uint32_t word = 0;
                        memcpy(&word,
                               &memory[plane.valueAt(i / plane.channels, i % plane.channels, y)],
                               plane.packed ? 4 : plane.valueBytes);
                        word = plane.packed            ? word >> i % 3 * 10 & 0x3FF
                               : plane.valueBytes == 2 ? word >> 6
                                                       : word;
                        ASSERT_TRUE(!written || word == values[i])
                            << format << " " << p << " " << i;
                    }
                    if (!written)
                        plane.write(memory.data(), y, values.data());
                }
            }
        }
    }
}

// A sanitizer's own page faults would count.
__attribute__((no_sanitize("address", "thread"))) void Touch(volatile uint8_t* bytes, size_t size) {
    for (size_t at = 0; at < size; at += 4096)
        bytes[at] = 1;
}

// Mapped as a device does: all pages at once, none beyond the end, gone when unmapped.
TEST(DmaBufTest, MapsWholePagesInPlaceAndNothingElse) {
    constexpr size_t kPages = 256, kPage = 4096;
    const int fd = host::AllocateDmaBuf(kPages * kPage - 100);
    for (const auto& [length, offset] :
         {std::pair(kPages * kPage + 1, 0), std::pair(kPages * kPage, 4096), {1, 1 << 20}}) {
        errno = 0;
        EXPECT_EQ(mmap(nullptr, length, PROT_READ, MAP_SHARED, fd, offset), MAP_FAILED) << length;
        EXPECT_EQ(errno, EINVAL);
    }
    const auto map = [fd](int protection) {
        return static_cast<volatile uint8_t*>(
            mmap(nullptr, kPages * kPage, protection, MAP_SHARED, fd, 0));
    };
    auto* bytes = map(PROT_READ | PROT_WRITE);
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    Touch(bytes, kPages * kPage);
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_minflt - before.ru_minflt, 16);
    munmap(const_cast<uint8_t*>(bytes), kPages * kPage);
    EXPECT_DEATH(bytes[0] = 2, "");
    bytes = map(PROT_READ);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_DEATH(bytes[0] = 2, "");
    munmap(const_cast<uint8_t*>(bytes), kPages * kPage);
    close(fd);
}

}  // namespace lx2::test
