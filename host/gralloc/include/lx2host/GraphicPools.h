// Block pools over the graphics allocator.
#pragma once

#include <C2Buffer.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace lx2::host {

// Allocates every block anew: the platform's basic graphic pool.
LX2_HOST_API std::shared_ptr<C2BlockPool> CreateBasicGraphicPool(
    C2BlockPool::local_id_t id = C2BlockPool::BASIC_GRAPHIC);

// A pool with a fixed number of slots, as one behind a surface. A fetch takes a slot and answers
// C2_BLOCKING when all are out; the slot comes back when the last block of it goes, which may be
// after the pool. Each pool has an id of its own, under which a component finds it once it is
// registered (lx2host/BlockPools.h). Safe to use from several threads.
class LX2_HOST_API SlotGraphicPool : public C2BlockPool {
  public:
    explicit SlotGraphicPool(size_t slots);
    ~SlotGraphicPool() override;

    local_id_t getLocalId() const override;
    uint32_t getAllocatorId() const override;
    c2_status_t fetchGraphicBlock(uint32_t width, uint32_t height, uint32_t format,
                                  C2MemoryUsage usage,
                                  std::shared_ptr<C2GraphicBlock>* block) override;

    // Lets the next fetch hand out the buffer of this id although an older block of it is still
    // out, as a consumer does that returns a buffer early. False when no slot holds that buffer.
    bool offerAgain(uint64_t bufferId);

    // Slots that are out.
    size_t slotsOut() const;

  private:
    struct State;
    std::shared_ptr<State> mState;
};

}  // namespace lx2::host
