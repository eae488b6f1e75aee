// The converter's worker over the blit library: binds it, keeps one source and one target surface,
// and knows how the blit library sees each pixel format.
#pragma once

#include <dlfcn.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2device/BlitLibrary.h>
#include <lx2device/GpuUtility.h>

namespace lx2 {

class LX2ColorConverter::Engine {
  public:
    // Never fails outwardly: an engine that can't bind its libraries is disabled, which it logs.
    Engine();
    ~Engine();

    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Sets both sides up for conversions of this geometry. 0, or -1, logged, with the earlier
    // surfaces possibly gone.
    int32_t configure(const Format& src, const Format& dst);

    // Converts one frame. Bases are CPU mappings of the whole buffers, sizes those of the
    // allocations, all in bytes. 0; 12 when the software path finds a buffer too small; -1 for
    // any other failure, logged.
    int32_t convert(int32_t srcFd, uint8_t* srcBase, uint32_t srcOffset, uint32_t srcSize,
                    int32_t dstFd, uint8_t* dstBase, uint32_t dstOffset, uint32_t dstSize);

    // 0 on failure, logged.
    uint64_t getMappedGPUAddr(int32_t fd, void* ptr, uint32_t length);
    bool unmapGPUAddr(uint64_t gpuAddress);

    static const Capabilities& QueryCapabilities();

    static bool isYUVSurface(uint32_t format);
    static bool isRGBSurface(uint32_t format);
    static uint32_t getGBXColorFormat(uint32_t format);

    // Bytes, in the blit library's 32-bit arithmetic; 0, logged, for an unsupported format.
    uint32_t calcStride(uint32_t format, uint32_t width, bool isSource) const;
    uint32_t calcYSize(uint32_t format, uint32_t width, uint32_t height) const;
    uint32_t calcSize(uint32_t format, uint32_t width, uint32_t height, bool isSource) const;

    // Creates a side's surface anew, its addresses to be filled in before each draw.
    // The blit library's status, or -1.
    int32_t getDummySurfaceDef(uint32_t format, uint32_t width, uint32_t height, bool isSource);

    // Give a side's surface its addresses. The blit library's status.
    int32_t updateYUVSurfaceDef(uint64_t gpuAddress, uint8_t* cpuBase, uint32_t offset,
                                bool isSource);
    int32_t updateRGBSurfaceDef(uint64_t gpuAddress, uint8_t* cpuBase, uint32_t offset,
                                bool isSource);

  private:
    struct CloseLibrary {
        void operator()(void* library) const { dlclose(library); }
    };
    using Library = std::unique_ptr<void, CloseLibrary>;

    // One side of a conversion. The record is null until first needed.
    struct Side {
        const uint32_t bits;
        const char* const name;  // in the log
        uint32_t surface = 0;    // 0: none
        std::unique_ptr<blit::SurfaceDef> def = nullptr;
        uint32_t width = 0;
        uint32_t height = 0;
        uint32_t format = 0;
        uint32_t size = 0;
        uint32_t lumaSize = 0;
    };
    Side& side(bool isSource) { return isSource ? mSrc : mDst; }

    bool bind();
    bool resolve();
    static void setSide(Side* side, const Format& from);
    int32_t createSurface(Side* side, uint32_t type);
    int32_t updateSurface(const Side& side, uint32_t type);
    void destroySurface(Side* side);
    void fillBlitObject();

    bool refresh(uint64_t gpuAddress, uint8_t* base, uint32_t offset, bool isSource);
    bool draw();
    int32_t convertByBlit(int32_t srcFd, uint8_t* srcBase, uint32_t srcOffset, int32_t dstFd,
                          uint8_t* dstBase, uint32_t dstOffset);

    std::mutex mLock;
    bool mEnabled = true;
    bool mConfigured = false;
    // Closed once the sides are gone, the blit library first.
    Library mUtilityLibrary;
    gpuutility::AlignFunction mAlign = nullptr;
    Library mBlitLibrary;
    blit::EntryPoints mBlit;

    blit::BlitObject mObject{};
    Side mSrc{blit::kSourceBits, "src"};
    Side mDst{blit::kTargetBits, "dst"};
    uint32_t mSrcStride = 0;  // pixels; 0: the format's own
};

}  // namespace lx2
