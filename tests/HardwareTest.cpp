// The stand-in hardware: how frames lie in memory, how it reaches that memory, what a buffer's
// metadata is, and what the blitter must refuse.
#include <C2AllocatorGralloc.h>
#include <lx2/PixFormat.h>
#include <lx2host/DisplayMetadata.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/HardwareMemory.h>
#include <lx2host/OpenResources.h>
#include <lx2host/VideoCore.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <random>

#include "Blitter.h"
#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

// Writes noise row by row in Values and checks it, value by value, where the description has it.
template <typename Value>
void ExpectRowsWhereDescribed(const host::PlaneLayout& plane, std::vector<uint8_t>* memory,
                              std::vector<uint8_t>* taken) {
    std::mt19937 random(plane.width);
    std::vector<Value> written(plane.values()), read(plane.values());
    std::vector<uint16_t> wide(plane.values());
    for (uint32_t y = 0; y < plane.height; ++y) {
        for (Value& value : written)
            value = static_cast<Value>(random() & (sizeof(Value) == 2 ? 0x3FF : 0xFF));
        plane.write(memory->data(), y, written.data());
        plane.read(memory->data(), y, read.data());
        plane.read(memory->data(), y, wide.data());
        ASSERT_EQ(read, written);
        ASSERT_TRUE(std::equal(wide.begin(), wide.end(), written.begin()));
        for (uint32_t i = 0; i < plane.values(); ++i) {
            const uint64_t at = plane.valueAt(i / plane.channels, i % plane.channels, y);
            uint32_t word = (*memory)[at];
            if (plane.packed) {  // three values of ten bits share a word
                memcpy(&word, &(*memory)[at], sizeof(word));
                word = word >> i % 3 * 10 & 0x3FF;
            } else if (plane.valueBytes == 2) {  // in the upper ten bits, little endian
                word |= static_cast<uint32_t>((*memory)[at + 1] << 8);
                word = word % 64 == 0 ? word / 64 : ~0u;
            }
            ASSERT_EQ(word, written[i]) << i << "," << y;
            ASSERT_LE(++taken->at(at), plane.packed ? 3 : 1) << i << "," << y;
        }
        for (uint32_t x = 0; plane.isTiled() && x < plane.rowBytes(); x += plane.tileBytes) {
            const uint64_t at = plane.metadataAt(x, y);
            ASSERT_EQ((*memory)[at], 1);
            ASSERT_EQ(taken->at(at) & 0x7F, 0) << x << "," << y;
            taken->at(at) = 0x80;
        }
    }
}

TEST(OpenResourcesTest, TellsWhatIsOpenAndWhoMadeIt) {
    const host::OpenResources before;
    const auto buffer = GraphicBuffer(64, 48, PixFormat::NV12);
    const auto mapping = buffer->graphic()->map();
    std::FILE* file = fopen("/dev/null", "r");
    EXPECT_THAT(
        before.leftOpen(),
        ElementsAre(MatchesRegex("5 descriptors: .*[0-9]+ is graphic 0x[0-9a-f]+ NV12 64x48 "
                                 "by hardware_test, 8192 bytes; .*[0-9]+ is metadata of "
                                 "0x[0-9a-f]+ by hardware_test, 16384 bytes.*"),
                    MatchesRegex("1 buffer mappings: [0-9a-f]+-[0-9a-f]+ is graphic "
                                 "0x[0-9a-f]+ NV12 64x48 by hardware_test"),
                    "1 imported handles", "1 cache brackets"));
    EXPECT_THAT(before.leftOpen()[0], HasSubstr(" is /dev/null"));
    fclose(file);
}

class BlitterTest : public ::testing::Test {
  protected:
    BlitterTest() {
        EXPECT_EQ(blit.map(0, source.data(), source.size(), blit::kMapFlags, &sourceGpu), 0);
        EXPECT_EQ(blit.map(0, target.data(), target.size(), blit::kMapFlags, &targetGpu), 0);
    }
    // NV12 of 64 x 64: 6144 bytes.
    static blit::SurfaceDef def(std::vector<uint8_t>& memory, uint64_t gpu) {
        const auto cpu = reinterpret_cast<uintptr_t>(memory.data());
        return {0x98, 64, 64, 0, {{cpu, gpu, 64, 0}, {cpu + 4096, gpu + 4096, 64, 0}, {}}};
    }

    host::Blitter blit;
    std::vector<uint8_t> source = std::vector<uint8_t>(8192, 1);
    std::vector<uint8_t> target = std::vector<uint8_t>(8192, 2);
    uint64_t sourceGpu = 0, targetGpu = 0;
};

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
