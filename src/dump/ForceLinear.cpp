#include "ForceLinear.h"

#include <C2PlatformSupport.h>
#include <base/LogModules.h>
#include <lx2/PixFormat.h>

namespace lx2 {

constexpr LogModule kLog = kFileDumpLog;

namespace {

// Read by the CPU (bit 0). Bit 16 goes through to the graphics allocator, for which it means a
// buffer that a video encoder reads: plain memory, in the layout of its format.
constexpr uint64_t kTargetUsage = 0x10001;

}  // namespace

uint32_t ForceLinear::prepare(const std::string& prefix, uint32_t format, uint32_t width,
                              uint32_t height) {
    mTarget.reset();
    const uint32_t linear = PixFormat::GetUncompressedFor(format);
    if (linear == 0)
        return format;
    LX2_LOGI("[%s] Force %s to linear %s", prefix.c_str(), PixFormat::Str(format),
             PixFormat::Str(linear));
    if (mPool == nullptr && !createPool()) {
        LX2_LOGE("[%s] failed to create graphic buffer pool !", prefix.c_str());
        return format;
    }
    if (!allocateTarget(linear, width, height)) {
        LX2_LOGE("[%s] Failed to allocate graphic buf for conversion !", prefix.c_str());
        mPool.reset();
        return format;
    }
    if (mConverter == nullptr)
        mConverter = std::make_unique<LX2ColorConverter>();
    return linear;
}

LX2Buffer::Graphic* ForceLinear::convert(const std::string& prefix, LX2Buffer::Graphic* view) {
    if (mTarget == nullptr)
        return nullptr;
    if (mConverter->convert(view, mTarget->graphic()) == 0)
        return mTarget->graphic();
    LX2_LOGE("[%s] Failed to dump uncompressed !", prefix.c_str());
    return nullptr;
}

bool ForceLinear::createPool() {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
    if (blocks != nullptr)
        mPool = LX2GraphicBufferPool::Create(std::move(blocks), false);
    return mPool != nullptr;
}

bool ForceLinear::allocateTarget(uint32_t format, uint32_t width, uint32_t height) {
    mPool->setUsage(kTargetUsage);
    mPool->setResolution(width, height);
    mPool->setFormat(format);
    return mPool->allocate(&mTarget) == C2_OK;
}

}  // namespace lx2
