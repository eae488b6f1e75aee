// The software blitter behind its entry points, asked for what it must refuse.
#include <BlitInterface.h>
#include <dlfcn.h>
#include <sys/mman.h>

#include <functional>
#include <string>
#include <vector>

#include "Fixture.h"

namespace lx2::test {
namespace {

class BlitterTest : public Fixture {
  protected:
    BlitterTest() : mLibrary(dlopen(blit::kLibrary, RTLD_NOW)), source(8192, 1), target(8192, 2) {
        resolve("gbxCreateSurface", &blit.createSurface);
        resolve("gbxUpdateSurface", &blit.updateSurface);
        resolve("gbxDraw", &blit.draw);
        resolve("gbxDestroySurface", &blit.destroySurface);
        resolve("gbxMapAddr", &blit.mapAddr);
        resolve("gbxUnMapAddr", &blit.unMapAddr);
        EXPECT_EQ(map(source, &sourceGpu), 0);
        EXPECT_EQ(map(target, &targetGpu), 0);
    }
    ~BlitterTest() override {
        blit.unMapAddr(sourceGpu);
        blit.unMapAddr(targetGpu);
        dlclose(mLibrary);
    }

    template <typename Function>
    void resolve(const char* name, Function* function) {
        *function = reinterpret_cast<Function>(dlsym(mLibrary, name));
        ASSERT_NE(*function, nullptr);
    }
    int32_t map(std::vector<uint8_t>& memory, uint64_t* gpu) {
        return blit.mapAddr(0, memory.data(), memory.size(), 0, blit::kMapFlags, gpu);
    }
    // NV12 of 64 x 64: 6144 bytes.
    static blit::SurfaceDef def(std::vector<uint8_t>& memory, uint64_t gpu) {
        const auto cpu = reinterpret_cast<uintptr_t>(memory.data());
        return {0x98, 64, 64, 0, {{cpu, gpu, 64, 0}, {cpu + 4096, gpu + 4096, 64, 0}, {}}};
    }

    void* mLibrary;
    blit::EntryPoints blit;
    std::vector<uint8_t> source, target;
    uint64_t sourceGpu = 0, targetGpu = 0;
};

struct Request {
    blit::SurfaceDef from, to;
    blit::BlitObject object;
    uint32_t createType = blit::kCreateYuv;
};

TEST_F(BlitterTest, RefusesWhatDoesNotFitAndWritesNothing) {
    const std::pair<const char*, std::function<void(Request&)>> rows[] = {
        {"a source that is not mapped", [](Request& r) { r.from.planes[0].gpu = 0xAAAAAAAA; }},
        {"a target behind its mapping", [](Request& r) { r.to.planes[0].gpu += 8192; }},
        {"pixels before the mapping", [](Request& r) { r.from.planes[0].cpu -= 1; }},
        {"chroma that reaches beyond it",
         [](Request& r) {
             r.to.planes[1].cpu += 2048 + 1;
             r.to.planes[1].gpu += 2048 + 1;
         }},
        {"luma that reaches beyond it", [](Request& r) { r.to.planes[0].stride = 1024; }},
        {"planes that the GPU sees elsewhere", [](Request& r) { r.from.planes[1].gpu += 64; }},
        {"rows longer than their stride", [](Request& r) { r.from.planes[0].stride = 63; }},
        {"an address that wraps", [](Request& r) { r.to.planes[1].cpu = ~uint64_t{0}; }},
        {"a size beyond all bounds", [](Request& r) { r.from.height = r.to.height = 1u << 31; }},
        {"an empty surface", [](Request& r) { r.from.width = r.to.width = 0; }},
        {"scaling", [](Request& r) { r.to.height = 32; }},
        {"a part of the source", [](Request& r) { r.object.source.x = 1 << 16; }},
        {"an unknown surface", [](Request& r) { r.object.sourceSurface += 100; }},
        {"an unknown configuration", [](Request& r) { r.object.configuration = 0; }},
        {"an unknown code", [](Request& r) { r.to.code = 0x99; }},
        {"an RGB record for YUV", [](Request& r) { r.createType = blit::kCreateRgb; }},
        {"a compressed frame without the room", [](Request& r) { r.to.code = 0x800098; }},
    };
    const auto run = [&](const std::function<void(Request&)>& tamper) {
        Request request{def(source, sourceGpu), def(target, targetGpu), {}};
        Request plain = request;
        uint32_t from = 0, to = 0;
        // Whichever surfaces come out: their numbers must be known before they are tampered with.
        EXPECT_EQ(blit.createSurface(&from, 1, blit::kCreateYuv, &plain.from), 0);
        blit.destroySurface(from);
        request.object.sourceSurface = from + 1;
        request.object.configuration = blit::kConfigurationMask;
        request.object.source = {0, 0, 64 << 16, 64 << 16};
        tamper(request);
        if (request.from.height != 64 || request.from.width != 64)
            request.object.source = {0, 0, blit::ToFixed(request.from.width),
                                     blit::ToFixed(request.from.height)};
        request.object.target = {0, 0, blit::ToFixed(request.to.width),
                                 blit::ToFixed(request.to.height)};
        int32_t status = blit.createSurface(&from, 1, blit::kCreateYuv, &request.from);
        if (status == 0)
            status = blit.createSurface(&to, 2, request.createType, &request.to);
        if (status == 0)
            status = blit.draw(to, 0, 0, 0, 0, &request.object, 1);
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

TEST_F(BlitterTest, MapsOnlyMemoryThatIsThere) {
    uint64_t gpu = 0;
    uint8_t* pages =
        static_cast<uint8_t*>(mmap(nullptr, 8192, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    munmap(pages + 4096, 4096);
    EXPECT_NE(blit.mapAddr(0, pages, 8192, 0, 3, &gpu), 0);
    EXPECT_NE(blit.mapAddr(-1, pages, 4096, 0, 3, &gpu), 0);
    EXPECT_NE(blit.mapAddr(0, pages, 0, 0, 3, &gpu), 0);
    EXPECT_EQ(blit.mapAddr(0, pages, 4096, 0, 3, &gpu), 0);
    EXPECT_EQ(blit.unMapAddr(gpu), 0);
    EXPECT_NE(blit.unMapAddr(gpu), 0);
    munmap(pages, 4096);
}

TEST_F(BlitterTest, UpdatesOnlyWhatItCreated) {
    auto record = def(source, sourceGpu);
    uint32_t surface = 0;
    ASSERT_EQ(blit.createSurface(&surface, 1, blit::kCreateYuv, &record), 0);
    EXPECT_EQ(blit.updateSurface(surface, 1, blit::kUpdateYuv, &record), 0);
    EXPECT_NE(blit.updateSurface(surface, 2, blit::kUpdateYuv, &record), 0);
    EXPECT_NE(blit.updateSurface(surface, 1, blit::kUpdateRgb, &record), 0);
    record.width = 32;
    EXPECT_NE(blit.updateSurface(surface, 1, blit::kUpdateYuv, &record), 0);
    EXPECT_EQ(blit.destroySurface(surface), 0);
    EXPECT_NE(blit.destroySurface(surface), 0);
}

}  // namespace
}  // namespace lx2::test
