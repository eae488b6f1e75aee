// What the blit library's entry points act on: mappings of memory, and surfaces that point into
// them. Safe to use from several threads, which take turns.
#pragma once

#include <Trace.h>
#include <lx2device/BlitLibrary.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/HardwareMemory.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace lx2::host {

enum BlitStatus : int32_t {
    kBlitOk = 0,
    kBlitBadArgument = 1,
    kBlitUnknownSurface = 2,
    kBlitUnknownFormat = 3,
    kBlitBadAddress = 4,    // not mapped, or the planes reach beyond the mapping
    kBlitNotSupported = 5,  // scaling, parts of a surface, several objects
    kBlitNoMemory = 6,
};

class Blitter {
  public:
    int32_t createSurface(uint32_t* id, uint32_t bits, uint32_t type, const void* definition);
    int32_t updateSurface(uint32_t id, uint32_t bits, uint32_t type, const void* definition);
    int32_t destroySurface(uint32_t id);
    int32_t finish(uint32_t target);
    int32_t draw(uint32_t target, const blit::BlitObject* objects, uint32_t count);
    int32_t map(int fd, void* cpu, size_t length, uint32_t flags, uint64_t* gpu);
    int32_t unmap(uint64_t gpu);

  private:
    struct Surface {
        uint32_t bits = 0;
        uint32_t format = 0;
        blit::SurfaceDef def{};
    };
    struct Mapping {
        const uint8_t* cpu = nullptr;  // what the caller calls it
        uint8_t* bytes = nullptr;      // where the blitter has it
        size_t length = 0;
        std::shared_ptr<HardwareMemory> memory;  // of a DMA-BUF
        trace::Track* track = nullptr;           // when it is traced
    };
    // A surface's frame in mapped memory.
    struct Target {
        uint8_t* memory = nullptr;
        FrameLayout layout;
        trace::Track* track = nullptr;
    };

    const Surface* find(uint32_t id, uint32_t bits) const;
    const Mapping* mappingAt(uint64_t gpu) const;
    std::optional<Target> resolve(const Surface& surface) const;

    std::mutex mLock;
    std::map<uint32_t, Surface> mSurfaces;
    std::map<uint64_t, Mapping> mMappings;  // by GPU address
    uint32_t mNextSurface = 1;
    uint64_t mNextAddress = 0x100000000;
};

}  // namespace lx2::host
