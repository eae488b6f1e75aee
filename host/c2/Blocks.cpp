#include <C2BlockInternal.h>

#include <algorithm>

C2LinearAllocation::~C2LinearAllocation() = default;
C2GraphicAllocation::~C2GraphicAllocation() = default;
_C2BlockPoolData::~_C2BlockPoolData() = default;

C2Block1D::C2Block1D(Allocation allocation, PoolData data, uint32_t offset, uint32_t size)
    : mPoolData(std::move(data)),
      mAllocation(std::move(allocation)),
      mOffset(std::min(offset, mAllocation->capacity())),
      mSize(std::min(size, mAllocation->capacity() - mOffset)) {}

C2ConstLinearBlock C2LinearBlock::share(size_t offset, size_t size, C2Fence) {
    return C2ConstLinearBlock(mAllocation, mPoolData,
                              static_cast<uint32_t>(std::min<size_t>(offset, UINT32_MAX)),
                              static_cast<uint32_t>(std::min<size_t>(size, UINT32_MAX)));
}

C2Block2D::C2Block2D(Allocation allocation, PoolData data, C2Rect crop)
    : mPoolData(std::move(data)), mAllocation(std::move(allocation)), mCrop(crop) {}

C2ConstGraphicBlock C2GraphicBlock::share(const C2Rect& crop, C2Fence) {
    return C2ConstGraphicBlock(mAllocation, mPoolData, crop);
}

std::shared_ptr<C2LinearBlock> _C2BlockFactory::CreateLinearBlock(
    const std::shared_ptr<C2LinearAllocation>& allocation,
    const std::shared_ptr<_C2BlockPoolData>& data, size_t offset, size_t size) {
    return std::shared_ptr<C2LinearBlock>(new C2LinearBlock(
        allocation, data, static_cast<uint32_t>(std::min<size_t>(offset, UINT32_MAX)),
        static_cast<uint32_t>(std::min<size_t>(size, UINT32_MAX))));
}

std::shared_ptr<C2GraphicBlock> _C2BlockFactory::CreateGraphicBlock(
    const std::shared_ptr<C2GraphicAllocation>& allocation,
    const std::shared_ptr<_C2BlockPoolData>& data, const C2Rect* crop) {
    const C2Rect whole(allocation->width(), allocation->height());
    return std::shared_ptr<C2GraphicBlock>(
        new C2GraphicBlock(allocation, data, crop != nullptr ? *crop : whole));
}
