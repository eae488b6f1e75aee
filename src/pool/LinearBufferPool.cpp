#include <lx2/LX2BufferPool.h>
#include <lx2/Log.h>

#include <cinttypes>
#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

LX2LinearBufferPool::LX2LinearBufferPool(std::shared_ptr<C2BlockPool> pool, uint64_t usage)
    : mPool(std::move(pool)), mUsage(usage) {}

LX2Status LX2LinearBufferPool::setBufferSize(uint32_t size) {
    // Mask arithmetic, exact for powers of two; the sum may wrap.
    mBufferSize = (size + mAlignment - 1) & (~mAlignment + 1);
    return C2_OK;
}

LX2Status LX2LinearBufferPool::setAlignment(uint32_t alignment) {
    if (alignment == 0) {
        LX2_LOGE("Reject 0 alignment");
        return C2_BAD_VALUE;
    }
    mAlignment = alignment;
    return C2_OK;
}

LX2Status LX2LinearBufferPool::setUsage(uint64_t usage) {
    // A pool of secure buffers stays one; every other former bit goes.
    mUsage = (mUsage & C2MemoryUsage::READ_PROTECTED) | usage;
    return C2_OK;
}

LX2Status LX2LinearBufferPool::allocate(std::shared_ptr<LX2Buffer>* out) {
    if (out == nullptr)
        return LX2_ERROR;
    if (mPool == nullptr) {
        LX2_LOGE("LX2LinearBufferPool::allocate: No pool to allocate!");
        out->reset();
        return C2_NO_INIT;
    }
    if (mBufferSize == 0) {
        LX2_LOGE("LX2LinearBufferPool::allocate: buffer-size not provided!");
        out->reset();
        return C2_NO_INIT;
    }
    out->reset();
    std::shared_ptr<C2LinearBlock> block;
    const LX2Status status = mPool->fetchLinearBlock(mBufferSize, C2MemoryUsage(mUsage), &block);
    if (status != C2_OK) {
        LX2_LOGE("%s: failed to allocate linear block sz(%u)/usage*(%" PRIx64 ")", "allocate",
                 mBufferSize, mUsage);
        return status;
    }
    *out = std::make_shared<LX2Buffer>(std::move(block), mUsage);
    return C2_OK;
}

}  // namespace lx2
