#include <C2PlatformSupport.h>
#include <lx2/PixFormat.h>

#include "DumpLog.h"
#include "FileDumpImpl.h"

namespace lx2 {

namespace {

// The targets are written by the blit library and read by the CPU.
constexpr uint64_t kTargetUsage = 0x10001;

}  // namespace

LX2Status LX2FileDump::Impl::initColorConversionIfNeeded() {
    if (!mForceLinear || !PixFormat::IsCompressed(mSourceFormat))
        return C2_OK;
    const uint32_t linear = PixFormat::GetUncompressedFor(mSourceFormat);
    if (linear == 0)
        return C2_OK;
    mWrittenFormat = linear;
    LX2_LOGI("[%s] Force %s to linear %s", mPrefix.c_str(), PixFormat::Str(mSourceFormat),
             PixFormat::Str(mWrittenFormat));
    if (mPool == nullptr && !createPool()) {
        LX2_LOGE("[%s] failed to create graphic buffer pool !", mPrefix.c_str());
        mWrittenFormat = mSourceFormat;
        return C2_CANNOT_DO;
    }
    if (!allocateTarget()) {
        LX2_LOGE("[%s] Failed to allocate graphic buf for conversion !", mPrefix.c_str());
        mTarget.reset();
        mPool.reset();
        mWrittenFormat = mSourceFormat;
        return C2_NO_MEMORY;
    }
    if (mConverter == nullptr)
        mConverter = std::make_unique<LX2ColorConverter>();
    return C2_OK;
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
