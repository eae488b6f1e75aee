// Stand-in for the Codec 2.0 support library's <C2BlockInternal.h>: how a pool makes its blocks.
#pragma once

#include <C2Buffer.h>

class LX2_HOST_API _C2BlockFactory {
  public:
    // A block of [offset, offset + size) of the allocation, clipped to it.
    static std::shared_ptr<C2LinearBlock> CreateLinearBlock(
        const std::shared_ptr<C2LinearAllocation>& allocation,
        const std::shared_ptr<_C2BlockPoolData>& data = nullptr, size_t offset = 0,
        size_t size = SIZE_MAX);

    // A block of what the crop and the allocation have in common.
    static std::shared_ptr<C2GraphicBlock> CreateGraphicBlock(
        const std::shared_ptr<C2GraphicAllocation>& allocation,
        const std::shared_ptr<_C2BlockPoolData>& data = nullptr,
        const C2Rect& crop = C2Rect(~0u, ~0u));
};
