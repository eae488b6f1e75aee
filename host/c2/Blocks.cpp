#include <C2BlockInternal.h>

#include <algorithm>

C2LinearAllocation::~C2LinearAllocation() = default;
C2GraphicAllocation::~C2GraphicAllocation() = default;
_C2BlockPoolData::~_C2BlockPoolData() = default;

namespace {

uint32_t Saturated(size_t value) {
    return static_cast<uint32_t>(std::min<size_t>(value, UINT32_MAX));
}

// In 32 bits, as the platform adds: the far edge of a crop may wrap.
C2Rect Common(const C2Rect& a, const C2Rect& b) {
    const uint32_t left = std::max(a.left, b.left), top = std::max(a.top, b.top);
    const uint32_t right = std::min(a.left + a.width, b.left + b.width);
    const uint32_t bottom = std::min(a.top + a.height, b.top + b.height);
    return C2Rect(right - std::min(left, right), bottom - std::min(top, bottom)).at(left, top);
}

}  // namespace

C2Block1D::C2Block1D(Allocation allocation, PoolData data, uint32_t offset, uint32_t size)
    : mAllocation(std::move(allocation)),
      mPoolData(std::move(data)),
      mOffset(std::min(offset, mAllocation->capacity())),
      mSize(std::min(size, mAllocation->capacity() - mOffset)) {}

C2ConstLinearBlock C2LinearBlock::share(size_t offset, size_t size, C2Fence) {
    return C2ConstLinearBlock(mAllocation, mPoolData, std::max(Saturated(offset), mOffset),
                              std::min(Saturated(size), mSize));
}

C2Block2D::C2Block2D(Allocation allocation, PoolData data, C2Rect crop)
    : mAllocation(std::move(allocation)), mPoolData(std::move(data)), mCrop(crop) {}

C2ConstGraphicBlock C2GraphicBlock::share(const C2Rect& crop, C2Fence) {
    return C2ConstGraphicBlock(mAllocation, mPoolData, Common(crop, mCrop));
}

std::shared_ptr<C2LinearBlock> _C2BlockFactory::CreateLinearBlock(
    const std::shared_ptr<C2LinearAllocation>& allocation,
    const std::shared_ptr<_C2BlockPoolData>& data, size_t offset, size_t size) {
    return std::shared_ptr<C2LinearBlock>(
        new C2LinearBlock(allocation, data, Saturated(offset), Saturated(size)));
}

std::shared_ptr<C2GraphicBlock> _C2BlockFactory::CreateGraphicBlock(
    const std::shared_ptr<C2GraphicAllocation>& allocation,
    const std::shared_ptr<_C2BlockPoolData>& data, const C2Rect& crop) {
    const C2Rect whole(allocation->width(), allocation->height());
    return std::shared_ptr<C2GraphicBlock>(
        new C2GraphicBlock(allocation, data, Common(crop, whole)));
}
