#include <C2BlockInternal.h>
#include <Trace.h>
#include <lx2host/Allocations.h>
#include <lx2host/DmaBuf.h>

#include "LinearPool.h"

namespace lx2::host {

namespace {

// The handle of a linear block: the memory's descriptor, the capacity's two words, a mark.
class DmaBufAllocation : public LinearMemory {
  public:
    DmaBufAllocation(uint32_t capacity, const std::string& track)
        : LinearMemory(capacity), mHandle(native_handle_create(1, 3)) {
        if (mHandle == nullptr)
            return;
        mHandle->data[0] = AllocateDmaBuf(capacity, "linear");
        mHandle->data[1] = static_cast<int>(capacity);
        mHandle->data[2] = 0;  // the capacity's upper half
        mHandle->data[3] = static_cast<int>(0xC2696F00);
        if (isValid())
            mLife = trace::Allocated(mHandle->data[0], track.c_str(), 0, capacity, "linear");
    }
    ~DmaBufAllocation() override {
        if (isValid())
            native_handle_close(mHandle);
        native_handle_delete(mHandle);
    }
    DmaBufAllocation(const DmaBufAllocation&) = delete;
    DmaBufAllocation& operator=(const DmaBufAllocation&) = delete;

    bool isValid() const { return mHandle != nullptr && mHandle->data[0] >= 0; }
    const C2Handle* handle() const override { return mHandle; }

  private:
    native_handle_t* mHandle;
    trace::Slice mLife;
};

class LinearPool : public C2BlockPool {
  public:
    explicit LinearPool(local_id_t id) : mId(id) {}
    local_id_t getLocalId() const override { return mId; }
    uint32_t getAllocatorId() const override { return 0; }

    c2_status_t fetchLinearBlock(uint32_t capacity, C2MemoryUsage,
                                 std::shared_ptr<C2LinearBlock>* block) override {
        auto allocation = std::make_shared<DmaBufAllocation>(capacity, mTrack);
        block->reset();
        if (!allocation->isValid())
            return C2_NO_MEMORY;
        *block = _C2BlockFactory::CreateLinearBlock(std::move(allocation));
        return C2_OK;
    }

  private:
    const local_id_t mId;
    const std::string mTrack = "linear pool " + std::to_string(mId) + " buffer";
};

}  // namespace

std::shared_ptr<C2BlockPool> CreateLinearPool(C2BlockPool::local_id_t id) {
    return std::make_shared<LinearPool>(id);
}

}  // namespace lx2::host
