#include "FileDumpImpl.h"

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

void LX2FileDump::Impl::initColorConversionIfNeeded() {
    const uint32_t linear = PixFormat::GetUncompressedFor(mSourceFormat);
    if (!mForceLinear || !PixFormat::IsCompressed(mSourceFormat) || linear == 0)
        return;
    mWrittenFormat = linear;
    LX2_LOGI("[%s] Force %s to linear %s", mPrefix.c_str(), PixFormat::Str(mSourceFormat),
             PixFormat::Str(mWrittenFormat));
    if (mPool == nullptr && !createPool()) {
        LX2_LOGE("[%s] failed to create graphic buffer pool !", mPrefix.c_str());
        mWrittenFormat = mSourceFormat;
        return;
    }
    if (!allocateTarget()) {
        LX2_LOGE("[%s] Failed to allocate graphic buf for conversion !", mPrefix.c_str());
        mTarget.reset();
        mPool.reset();
        mWrittenFormat = mSourceFormat;
        return;
    }
    if (mConverter == nullptr)
        mConverter = std::make_unique<LX2ColorConverter>();
}

bool LX2FileDump::Impl::createPool() {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
    if (blocks != nullptr)
        mPool = LX2GraphicBufferPool::Create(std::move(blocks), false);
    return mPool != nullptr;
}

bool LX2FileDump::Impl::allocateTarget() {
    mPool->setUsage(kTargetUsage);
    mPool->setResolution(mWidth, mHeight);
    mPool->setFormat(mWrittenFormat);
    return mPool->allocate(&mTarget) == C2_OK && mTarget != nullptr &&
           mTarget->type() == C2BufferData::GRAPHIC;
}

}  // namespace lx2
