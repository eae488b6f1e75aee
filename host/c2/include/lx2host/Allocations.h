// What allocations of the stand-ins have in common.
#pragma once

#include <C2Buffer.h>

namespace lx2::host {

// An allocation of which only the handle is used: it is not mapped through the platform here.
class LinearMemory : public C2LinearAllocation {
  public:
    using C2LinearAllocation::C2LinearAllocation;
    c2_status_t map(size_t, size_t, C2MemoryUsage, C2Fence*, void**) override { return C2_OMITTED; }
    c2_status_t unmap(void*, size_t, C2Fence*) override { return C2_OMITTED; }
    uint32_t getAllocatorId() const override { return 0; }
    bool equals(const std::shared_ptr<C2LinearAllocation>& other) const override {
        return other.get() == this;
    }
};

class GraphicMemory : public C2GraphicAllocation {
  public:
    using C2GraphicAllocation::C2GraphicAllocation;
    c2_status_t map(C2Rect, C2MemoryUsage, C2Fence*, C2PlanarLayout*, uint8_t**) override {
        return C2_OMITTED;
    }
    c2_status_t unmap(uint8_t**, C2Rect, C2Fence*) override { return C2_OMITTED; }
    uint32_t getAllocatorId() const override { return 1; }
    bool equals(const std::shared_ptr<const C2GraphicAllocation>& other) const override {
        return other.get() == this;
    }
};

}  // namespace lx2::host
