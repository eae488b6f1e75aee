#include <lx2/LX2Buffer.h>
#include <lx2/Log.h>

#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

LX2Buffer::Linear::Linear(LX2Buffer* parent, std::shared_ptr<C2LinearBlock> block, uint64_t usage)
    : mValid(parent->type() == C2BufferData::LINEAR),
      mUsage(usage),
      mParent(parent),
      mBlock(std::move(block)) {
    if (mBlock == nullptr) {
        mValid = false;
        return;
    }
    // The whole capacity and not the block's present size: a fetched block is filled by the
    // component, which sets the range afterwards.
    init(mBlock->share(mBlock->offset(), mBlock->capacity(), C2Fence()));
}

LX2Buffer::Linear::Linear(LX2Buffer* parent, const C2ConstLinearBlock& block)
    : mValid(parent->type() == C2BufferData::LINEAR), mParent(parent) {
    init(block);
}

void LX2Buffer::Linear::init(const C2ConstLinearBlock& block) {
    if (!mValid)
        return;
    mOffset = block.offset();
    mSize = block.size();
    mCapacity = block.capacity();
    const native_handle_t* handle = block.handle();
    if (handle == nullptr || handle->numFds <= 0) {
        LX2_LOGE("%s: invalid handle", "init");
        mValid = false;
        return;
    }
    mFd = handle->data[0];
}

LX2Status LX2Buffer::Linear::setRange(uint32_t offset, uint32_t size) {
    if (mBlock == nullptr) {
        LX2_LOGE("LX2Buffer::Linear: cannot update range on a read-only buffer");
        return C2_CANNOT_DO;
    }
    if (offset > mCapacity) {
        LX2_LOGE("LX2Buffer::Linear: offset(%u) exceeds capacity %u", offset, mCapacity);
        return C2_CANNOT_DO;
    }
    mOffset = offset;
    // The 32-bit sum may wrap: a size close to 2^32 that wraps past zero is stored as it is.
    if (offset + size <= mCapacity) {
        mSize = size;
    } else {
        mSize = mCapacity - offset;
        LX2_LOGE("LX2Buffer::Linear: range(%u, %u) exceeds %u ...trimming size to %u", offset, size,
                 mCapacity, mSize);
    }
    return C2_OK;
}

std::unique_ptr<LX2Buffer::Mapping> LX2Buffer::Linear::mapInternal(bool writable) const {
    if (!mValid)
        return nullptr;
    if ((mUsage & C2MemoryUsage::READ_PROTECTED) != 0) {
        LX2_LOGE("LX2Buffer::Mapping: Cannot map a secure buffer");
        return nullptr;
    }
    return std::make_unique<Mapping>(mParent->shared_from_this(), mFd, mOffset, mCapacity,
                                     writable);
}

}  // namespace lx2
