// The software blitter, asked for what it must refuse.
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <functional>

#include "Blitter.h"
#include "Fixture.h"

namespace lx2::test {
namespace {

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

TEST_F(BlitterTest, RefusesWhatDoesNotFitAndWritesNothing) {
    struct Request {
        blit::SurfaceDef from, to;
        uint32_t object = 0, sourceX = 0, configuration = blit::kConfigurationMask;
        uint32_t createType = blit::kCreateYuv;
    };
    const std::pair<const char*, std::function<void(Request&)>> rows[] = {
        {"a source that is not mapped", [](Request& r) { r.from.planes[0].gpu = 0xAAAAAAAA; }},
        {"a target behind its mapping", [](Request& r) { r.to.planes[0].gpu += 8192; }},
        {"pixels before the mapping", [](Request& r) { r.from.planes[0].cpu -= 1; }},
        {"luma that reaches beyond it", [](Request& r) { r.to.planes[0].stride = 1024; }},
        {"planes that the GPU sees elsewhere", [](Request& r) { r.from.planes[1].gpu += 64; }},
        {"rows longer than their stride", [](Request& r) { r.from.planes[0].stride = 63; }},
        {"an address that wraps", [](Request& r) { r.to.planes[1].cpu = ~uint64_t{0}; }},
        {"a size beyond all bounds", [](Request& r) { r.from.height = r.to.height = 1u << 31; }},
        {"an empty surface", [](Request& r) { r.from.width = r.to.width = 0; }},
        {"scaling", [](Request& r) { r.to.height = 32; }},
        {"a part of the source", [](Request& r) { r.sourceX = 1; }},
        {"an unknown surface", [](Request& r) { r.object = 100; }},
        {"an unknown configuration", [](Request& r) { r.configuration = 0; }},
        {"an unknown code", [](Request& r) { r.to.code = 0x99; }},
        {"an RGB record for YUV", [](Request& r) { r.createType = blit::kCreateRgb; }},
        {"a compressed frame without the room", [](Request& r) { r.to.code = 0x800098; }},
    };
    const auto run = [&](const std::function<void(Request&)>& tamper) {
        Request request{def(source, sourceGpu), def(target, targetGpu)};
        tamper(request);
        uint32_t from = 0, to = 0;
        int32_t status = blit.createSurface(&from, 1, blit::kCreateYuv, &request.from) +
                         blit.createSurface(&to, 2, request.createType, &request.to);
        blit::BlitObject object{};
        object.sourceSurface = from + request.object;
        object.configuration = request.configuration;
        object.source = {blit::ToFixed(request.sourceX), 0, blit::ToFixed(request.from.width),
                         blit::ToFixed(request.from.height)};
        object.target = {0, 0, blit::ToFixed(request.to.width), blit::ToFixed(request.to.height)};
        if (status == 0)
            status = blit.draw(to, &object, 1);
        blit.destroySurface(from);
        blit.destroySurface(to);
        return status;
    };
    for (const auto& [what, tamper] : rows) {
        EXPECT_NE(run(tamper), 0) << what;
        EXPECT_EQ(std::count(target.begin(), target.end(), 2), 8192) << what;
    }
    EXPECT_EQ(run([](Request&) {}), 0);
    EXPECT_EQ(std::count(target.begin(), target.end(), 1), 6144);
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

TEST_F(BlitterTest, TakesOnlyMemoryAndSurfacesThatAreThere) {
    uint64_t gpu = 0;
    auto* pages =
        static_cast<uint8_t*>(mmap(nullptr, 8192, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    munmap(pages + 4096, 4096);
    EXPECT_NE(blit.map(0, pages, 8192, 3, &gpu), 0);
    EXPECT_NE(blit.map(-1, pages, 4096, 3, &gpu), 0);
    EXPECT_EQ(blit.map(0, pages, 4096, 3, &gpu), 0);
    EXPECT_EQ(blit.unmap(gpu), 0);
    EXPECT_NE(blit.unmap(gpu), 0);
    munmap(pages, 4096);

    // Of a DMA-BUF only its own memory.
    const int fd = host::AllocateDmaBuf(8192);
    auto* shared = static_cast<uint8_t*>(mmap(nullptr, 8192, PROT_READ, MAP_SHARED, fd, 0));
    EXPECT_EQ(blit.map(fd, shared + 100, 8192 - 100, 3, &gpu), 0);
    EXPECT_EQ(blit.unmap(gpu), 0);
    EXPECT_NE(blit.map(fd, shared + 100, 8192 - 99, 3, &gpu), 0);
    EXPECT_NE(blit.map(fd, source.data(), 100, 3, &gpu), 0);
    munmap(shared, 8192);
    close(fd);

    auto record = def(source, sourceGpu);
    uint32_t surface = 0;
    ASSERT_EQ(blit.createSurface(&surface, 1, blit::kCreateYuv, &record), 0);
    EXPECT_EQ(blit.updateSurface(surface, 1, blit::kUpdateYuv, &record), 0);
    EXPECT_NE(blit.updateSurface(surface, 2, blit::kUpdateYuv, &record), 0);
    EXPECT_NE(blit.updateSurface(surface, 1, blit::kUpdateRgb, &record), 0);
    EXPECT_EQ(blit.destroySurface(surface), 0);
    EXPECT_NE(blit.destroySurface(surface), 0);
}

}  // namespace
}  // namespace lx2::test
