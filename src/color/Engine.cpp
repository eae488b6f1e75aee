// Binding, configuration and conversion.
#include <base/LogModules.h>
#include <cinttypes>

#include "Engine.h"
#include "SoftwareConvert.h"

namespace lx2 {

constexpr LogModule kLog = kEngineLog;

namespace {

template <typename Function>
bool Resolve(void* library, const char* name, Function* function) {
    *function = reinterpret_cast<Function>(dlsym(library, name));
    if (*function == nullptr)
        LX2_LOGE("%s: dlsym %s failed, disable gbx engine", "Engine", name);
    return *function != nullptr;
}

void* Pointer(uint64_t address) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(address));
}

}  // namespace

LX2ColorConverter::Engine::Engine() {
    // After a failure, what is open by then stays open until the engine goes.
    mEnabled = bind();
}

LX2ColorConverter::Engine::~Engine() {
    destroySurface(&mSrc);
    destroySurface(&mDst);
}

bool LX2ColorConverter::Engine::bind() {
    mBlitLibrary.reset(dlopen(blit::kLibrary, RTLD_NOW));
    if (mBlitLibrary == nullptr) {
        LX2_LOGE("%s: open libGBX2.so failed (%s), gbx disabled", "Engine", dlerror());
        return false;
    }
    mUtilityLibrary.reset(dlopen(gpuutility::kLibrary, RTLD_NOW));
    if (mUtilityLibrary == nullptr) {
        LX2_LOGE("%s: sopen libferrum_utils.so failed (%s), gbx disabled", "Engine", dlerror());
        return false;
    }
    return resolve();
}

bool LX2ColorConverter::Engine::resolve() {
    void* library = mBlitLibrary.get();
    return Resolve(library, "gbxCreateSurface", &mBlit.createSurface) &&
           Resolve(library, "gbxUpdateSurface", &mBlit.updateSurface) &&
           Resolve(library, "gbxReadSurface", &mBlit.readSurface) &&
           Resolve(library, "gbxDraw", &mBlit.draw) && Resolve(library, "gbxFlush", &mBlit.flush) &&
           Resolve(library, "gbxFinish", &mBlit.finish) &&
           Resolve(library, "gbxWaitTimestamp", &mBlit.waitTimestamp) &&
           Resolve(library, "gbxDestroySurface", &mBlit.destroySurface) &&
           Resolve(library, "gbxMapAddr", &mBlit.mapAddr) &&
           Resolve(library, "gbxUnMapAddr", &mBlit.unMapAddr) &&
           Resolve(mUtilityLibrary.get(), gpuutility::kAlignFunction, &mAlign);
}

const LX2ColorConverter::Capabilities& LX2ColorConverter::Engine::QueryCapabilities() {
    static const Capabilities capabilities{
        0,
        {{PixFormat::RGBA8888, {PixFormat::MIREL_NV12, PixFormat::MIREL_NV12_CMPX}},
         {PixFormat::YV12, {PixFormat::MIREL_NV12, PixFormat::MIREL_NV12_CMPX}},
         {PixFormat::MIREL_NV12_CMPX, {PixFormat::YV12, PixFormat::MIREL_NV12}},
         {PixFormat::MIREL_TP10, {PixFormat::YV12}}}};
    return capabilities;
}

int32_t LX2ColorConverter::Engine::configure(const Format& src, const Format& dst) {
    std::lock_guard<std::mutex> lock(mLock);
    if (!mEnabled) {
        LX2_LOGE("%s: configure failed, gbx disabled", "configure");
        return -1;
    }
    mSrcStride = src.stride;
    setSide(&mSrc, src);
    setSide(&mDst, dst);
    mSrc.size = calcSize(src.format, src.width, src.height, true);
    mDst.size = calcSize(dst.format, dst.width, dst.height, false);
    mSrc.lumaSize = calcYSize(src.format, src.width, src.height);
    mDst.lumaSize = calcYSize(dst.format, dst.width, dst.height);
    const int32_t srcStatus = getDummySurfaceDef(src.format, src.width, src.height, true);
    const int32_t dstStatus = getDummySurfaceDef(dst.format, dst.width, dst.height, false);
    if (srcStatus != 0 || dstStatus != 0) {
        // An earlier configuration still counts: conversions go on to fail at what is missing.
        LX2_LOGE("%s: configure failed", "configure");
        return -1;
    }
    fillBlitObject();
    LX2_LOGT("%s: configure successfully", "configure");
    mConfigured = true;
    return 0;
}

void LX2ColorConverter::Engine::setSide(Side* side, const Format& from) {
    side->width = from.width;
    side->height = from.height;
    side->format = from.format;
}

void LX2ColorConverter::Engine::fillBlitObject() {
    mObject = {};
    mObject.sourceSurface = mSrc.surface;
    mObject.configuration = blit::kConfigurationMask;
    mObject.source = {0, 0, blit::ToFixed(mSrc.width), blit::ToFixed(mSrc.height)};
    mObject.target = {0, 0, blit::ToFixed(mDst.width), blit::ToFixed(mDst.height)};
}

int32_t LX2ColorConverter::Engine::convert(int32_t srcFd, uint8_t* srcBase, uint32_t srcOffset,
                                           uint32_t srcSize, int32_t dstFd, uint8_t* dstBase,
                                           uint32_t dstOffset, uint32_t dstSize) {
    std::lock_guard<std::mutex> lock(mLock);
    if (!mEnabled || !mConfigured) {
        LX2_LOGE("%s:  can't do color conversion now (enable %d, config %d)", "convert", mEnabled,
                 mConfigured);
        return -1;
    }
    if (dstBase == nullptr || srcBase == nullptr || srcFd < 0 || dstFd < 0 || mSrc.size > srcSize ||
        mDst.size > dstSize) {
        LX2_LOGE(
            "%s: convert failed, incorrect input parameters: srcFd %d, dstFd %d, srcBase %p, "
            "dstBase %p, mSrcSize %u, srcSize %u, mDstSize %u, dstSize %u",
            "convert", srcFd, dstFd, static_cast<void*>(srcBase), static_cast<void*>(dstBase),
            mSrc.size, srcSize, mDst.size, dstSize);
        return -1;
    }
    if (mSrc.format == PixFormat::YV12 && mDst.format == PixFormat::MIREL_NV12) {
        LX2_LOGD("%s: using SW conversion for YV12 --> MIREL_NV12", "convert");
        return color::ConvertYv12ToMirelNv12(srcBase, srcSize, dstBase, dstSize, mSrc.width,
                                             mSrc.height);
    }
    return convertByBlit(srcFd, srcBase, srcOffset, dstFd, dstBase, dstOffset);
}

int32_t LX2ColorConverter::Engine::convertByBlit(int32_t srcFd, uint8_t* srcBase,
                                                 uint32_t srcOffset, int32_t dstFd,
                                                 uint8_t* dstBase, uint32_t dstOffset) {
    const uint64_t srcGpu = getMappedGPUAddr(srcFd, srcBase + srcOffset, mSrc.size);
    if (srcGpu == 0) {
        LX2_LOGE("%s: get mapped src GPU address failed", "convert");
        return -1;
    }
    if (!refresh(srcGpu, srcBase, srcOffset, true)) {
        unmapGPUAddr(srcGpu);
        return -1;
    }
    const uint64_t dstGpu = getMappedGPUAddr(dstFd, dstBase + dstOffset, mDst.size);
    if (dstGpu == 0) {
        LX2_LOGE("%s: get mapped dst GPU adress failed", "convert");
        unmapGPUAddr(srcGpu);
        return -1;
    }
    const bool drawn = refresh(dstGpu, dstBase, dstOffset, false) && draw();
    const bool srcUnmapped = unmapGPUAddr(srcGpu);
    const bool dstUnmapped = unmapGPUAddr(dstGpu);
    if (!drawn)
        return -1;
    if (srcUnmapped && dstUnmapped)
        return 0;
    LX2_LOGE("%s: unmapping GPU address failed (%d, %d)", "convert", srcUnmapped, dstUnmapped);
    return -1;
}

bool LX2ColorConverter::Engine::refresh(uint64_t gpuAddress, uint8_t* base, uint32_t offset,
                                        bool isSource) {
    const Side& side = this->side(isSource);
    int32_t status;
    if (isRGBSurface(side.format)) {
        status = updateRGBSurfaceDef(gpuAddress, base, offset, isSource);
    } else if (isYUVSurface(side.format)) {
        status = updateYUVSurfaceDef(gpuAddress, base, offset, isSource);
    } else {
        LX2_LOGE("%s: unsupported %s color format %s(%d)", "convert", side.name,
                 PixFormat::Str(side.format), static_cast<int>(side.format));
        return false;
    }
    if (status != 0)
        LX2_LOGE("%s: Update %s surface def failed (%d)", "convert", side.name, status);
    return status == 0;
}

bool LX2ColorConverter::Engine::draw() {
    mObject.sourceSurface = mSrc.surface;
    const int32_t status = mBlit.draw(mDst.surface, 0, 0, 0, 0, &mObject, 1);
    mBlit.finish(mDst.surface);
    if (status != 0)
        LX2_LOGE("%s: GBX draw failed (%d)", "convert", status);
    return status == 0;
}

uint64_t LX2ColorConverter::Engine::getMappedGPUAddr(int32_t fd, void* ptr, uint32_t length) {
    uint64_t gpu = 0;
    const int32_t status = mBlit.mapAddr(fd, ptr, length, 0, blit::kMapFlags, &gpu);
    if (status != 0) {
        LX2_LOGE("%s: gbxMapAddr failed: status %d, fd %d, ptr %p, len %u, flags %d",
                 "getMappedGPUAddr", status, fd, ptr, length, static_cast<int>(blit::kMapFlags));
        return 0;
    }
    LX2_LOGT("%s: mapping created: gpuaddr %p, fd %d, ptr %p, len %u", "getMappedGPUAddr",
             Pointer(gpu), fd, ptr, length);
    return gpu;
}

bool LX2ColorConverter::Engine::unmapGPUAddr(uint64_t gpuAddress) {
    const int32_t status = mBlit.unMapAddr(gpuAddress);
    if (status != 0)
        LX2_LOGE("%s: gbxUnMapAddr failed: status %d, gpuAddr 0x%" PRIx64, "unmapGPUAddr", status,
                 gpuAddress);
    LX2_LOGT("%s: unmapped: gpuaddr %p", "unmapGPUAddr", Pointer(gpuAddress));
    return status == 0;
}

}  // namespace lx2
