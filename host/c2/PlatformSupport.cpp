#include <C2BlockInternal.h>
#include <C2PlatformSupport.h>
#include <Trace.h>
#include <lx2host/Allocations.h>
#include <lx2host/DmaBuf.h>
#include <lx2host/GraphicPools.h>
#include <unistd.h>

namespace {

// The handle of a linear block: the memory's descriptor, the capacity's two words, a mark.
class DmaBufAllocation : public lx2::host::LinearMemory {
  public:
    explicit DmaBufAllocation(uint32_t capacity)
        : LinearMemory(capacity), mHandle(native_handle_create(1, 3)) {
        if (mHandle == nullptr)
            return;
        mHandle->data[0] = lx2::host::AllocateDmaBuf(capacity, "linear");
        mHandle->data[1] = static_cast<int>(capacity);
        mHandle->data[2] = 0;  // the capacity's upper half
        mHandle->data[3] = static_cast<int>(0xC2696F00);
        if (isValid())
            mLife = lx2::host::trace::Begin(lx2::host::trace::Kind::Memory, mHandle->data[0],
                                            "linear", capacity);
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
    lx2::host::trace::Slice mLife;
};

class BasicLinearPool : public C2BlockPool {
  public:
    local_id_t getLocalId() const override { return BASIC_LINEAR; }
    uint32_t getAllocatorId() const override { return 0; }

    c2_status_t fetchLinearBlock(uint32_t capacity, C2MemoryUsage,
                                 std::shared_ptr<C2LinearBlock>* block) override {
        auto allocation = std::make_shared<DmaBufAllocation>(capacity);
        block->reset();
        if (!allocation->isValid())
            return C2_NO_MEMORY;
        *block = _C2BlockFactory::CreateLinearBlock(
            lx2::host::trace::WhileOut<C2LinearAllocation>(std::move(allocation)));
        return C2_OK;
    }
};

}  // namespace

namespace android {

c2_status_t GetCodec2BlockPool(C2BlockPool::local_id_t id, std::shared_ptr<const C2Component>,
                               std::shared_ptr<C2BlockPool>* pool) {
    if (pool == nullptr)
        return C2_BAD_VALUE;
    switch (id) {
        case C2BlockPool::BASIC_LINEAR:
            *pool = std::make_shared<BasicLinearPool>();
            return C2_OK;
        case C2BlockPool::BASIC_GRAPHIC:
            *pool = lx2::host::CreateBasicGraphicPool();
            return C2_OK;
        default:
            *pool = nullptr;
            return C2_NOT_FOUND;
    }
}

}  // namespace android
