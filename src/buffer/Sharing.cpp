#include <lx2/LX2Buffer.h>
#include <lx2/Log.h>

#include <utility>
#include <vector>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

LX2SharedBuffer::LX2SharedBuffer(C2ConstLinearBlock block)
    : C2Buffer(std::vector<C2ConstLinearBlock>{std::move(block)}) {}

LX2SharedBuffer::LX2SharedBuffer(C2ConstGraphicBlock block)
    : C2Buffer(std::vector<C2ConstGraphicBlock>{std::move(block)}) {}

std::shared_ptr<C2Buffer> LX2Buffer::Linear::share() {
    if (!mValid || mBlock == nullptr)
        return nullptr;
    return std::make_shared<LX2SharedBuffer>(mBlock->share(mOffset, mSize, C2Fence()));
}

std::shared_ptr<C2Buffer> LX2Buffer::Graphic::share() {
    if (mBlock == nullptr) {
        LX2_LOGW("LX2Buffer::Graphic::share: Source buffer is invalid");
        return nullptr;
    }
    return std::make_shared<LX2SharedBuffer>(mBlock->share(mCrop, C2Fence()));
}

std::shared_ptr<C2Buffer> LX2Buffer::getSharedBuffer() {
    if (mC2Buffer != nullptr)
        return mC2Buffer;
    std::shared_ptr<C2Buffer> shared;
    if (mType == C2BufferData::LINEAR)
        shared = mLinear->share();
    else if (mType == C2BufferData::GRAPHIC)
        shared = mGraphic->share();
    if (shared == nullptr)
        return nullptr;
    // Values and configuration updates stay behind: components carry them in their work items.
    for (const auto& info : mInfos)
        shared->setInfo(info);
    return shared;
}

}  // namespace lx2
