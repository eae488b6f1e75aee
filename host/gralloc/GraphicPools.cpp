#include <C2BlockInternal.h>
#include <Trace.h>
#include <lx2host/BlockPools.h>
#include <lx2host/Gralloc.h>
#include <lx2host/GraphicPools.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lx2::host {

namespace {

struct Geometry {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t format = 0;
    uint64_t usage = 0;

    bool operator==(const Geometry& other) const {
        return width == other.width && height == other.height && format == other.format &&
               usage == other.usage;
    }
};

std::shared_ptr<C2GraphicAllocation> Allocate(const Geometry& geometry, const std::string& track) {
    return AllocateGraphic(geometry.width, geometry.height, geometry.format, geometry.usage,
                           track.c_str());
}

class BasicGraphicPool : public C2BlockPool {
  public:
    explicit BasicGraphicPool(local_id_t id) : mId(id) {}
    local_id_t getLocalId() const override { return mId; }
    uint32_t getAllocatorId() const override { return 1; }

    c2_status_t fetchGraphicBlock(uint32_t width, uint32_t height, uint32_t format,
                                  C2MemoryUsage usage,
                                  std::shared_ptr<C2GraphicBlock>* block) override {
        auto allocation = Allocate({width, height, format, usage.expected}, mTrack);
        *block = allocation ? _C2BlockFactory::CreateGraphicBlock(allocation) : nullptr;
        return *block != nullptr ? C2_OK : C2_NO_MEMORY;
    }

  private:
    const local_id_t mId;
    const std::string mTrack = "graphic pool " + std::to_string(mId) + " buffer";
};

struct Slot {
    std::string track;
    std::shared_ptr<C2GraphicAllocation> allocation;
    Geometry geometry;
    size_t out = 0;  // blocks that hold the slot
};

}  // namespace

std::shared_ptr<C2BlockPool> CreateBasicGraphicPool(C2BlockPool::local_id_t id) {
    return std::make_shared<BasicGraphicPool>(id);
}

// Outlives the pool in the leases of its blocks.
struct SlotGraphicPool::State {
    explicit State(size_t count) : slots(count) {
        for (size_t i = 0; i < count; ++i)
            slots[i].track = name + " slot " + std::to_string(i);
    }

    const C2BlockPool::local_id_t id = NewBlockPoolId();
    const std::string name = "surface " + std::to_string(id);
    const std::string fetch = "fetch from " + name;
    std::mutex lock;
    std::vector<Slot> slots;
    std::optional<size_t>
        again;  // the slot that the next fetch of its geometry hands out, in use or not

    // Ties a slot to a block.
    struct Lease : _C2BlockPoolData {
        explicit Lease(std::shared_ptr<State> s) : state(std::move(s)) {}
        ~Lease() override {
            if (!index)
                return;
            std::lock_guard<std::mutex> guard(state->lock);
            --state->slots[*index].out;
        }
        type_t getType() const override { return TYPE_BUFFERQUEUE; }
        std::shared_ptr<State> state;
        std::optional<size_t> index;
        trace::Slice slice;
    };

    // A slot to hand out now, its buffer made to measure; none when all are out or memory is.
    std::optional<size_t> pick(const Geometry& geometry, c2_status_t* status) {
        const auto offered = std::exchange(again, std::nullopt);
        if (offered && slots[*offered].geometry == geometry)
            return offered;
        const auto isFree = [](const Slot& slot) { return slot.out == 0; };
        auto slot = std::find_if(slots.begin(), slots.end(), [&](const Slot& candidate) {
            return isFree(candidate) && candidate.allocation && candidate.geometry == geometry;
        });
        if (slot == slots.end())
            slot = std::find_if(slots.begin(), slots.end(), isFree);
        if (slot == slots.end()) {
            *status = C2_BLOCKING;
            return std::nullopt;
        }
        if (!slot->allocation || !(slot->geometry == geometry)) {
            slot->allocation.reset();  // and with it the slot's track
            slot->allocation = Allocate(geometry, slot->track);
            slot->geometry = geometry;
        }
        if (!slot->allocation) {
            *status = C2_NO_MEMORY;
            return std::nullopt;
        }
        return slot - slots.begin();
    }
};

SlotGraphicPool::SlotGraphicPool(size_t slots) : mState(std::make_shared<State>(slots)) {}
SlotGraphicPool::~SlotGraphicPool() = default;

C2BlockPool::local_id_t SlotGraphicPool::getLocalId() const {
    return mState->id;
}

uint32_t SlotGraphicPool::getAllocatorId() const {
    return 1;
}

c2_status_t SlotGraphicPool::fetchGraphicBlock(uint32_t width, uint32_t height, uint32_t format,
                                               C2MemoryUsage usage,
                                               std::shared_ptr<C2GraphicBlock>* block) {
    block->reset();
    const trace::Slice fetch = trace::OnThread(mState->fetch.c_str());
    // Whatever throws below, the lease brings its slot back, and finds the lock free.
    const auto lease = std::make_shared<State::Lease>(mState);
    std::shared_ptr<C2GraphicAllocation> allocation;
    {
        c2_status_t status = C2_OK;
        std::lock_guard<std::mutex> guard(mState->lock);
        lease->index = mState->pick({width, height, format, usage.expected}, &status);
        if (!lease->index) {
            const trace::Slice refused = trace::OnThread("refused");
            return status;
        }
        Slot& slot = mState->slots[*lease->index];
        ++slot.out;
        allocation = slot.allocation;
    }
    lease->slice = trace::Begin(trace::TrackOf(allocation->handle()->data[0]), "pool", "out");
    *block = _C2BlockFactory::CreateGraphicBlock(allocation, lease);
    return C2_OK;
}

bool SlotGraphicPool::offerAgain(uint64_t bufferId) {
    std::lock_guard<std::mutex> guard(mState->lock);
    for (size_t i = 0; i < mState->slots.size(); ++i) {
        const auto& allocation = mState->slots[i].allocation;
        if (allocation && BufferId(allocation->handle()) == bufferId) {
            mState->again = i;
            return true;
        }
    }
    return false;
}

size_t SlotGraphicPool::slotsOut() const {
    std::lock_guard<std::mutex> guard(mState->lock);
    return static_cast<size_t>(std::count_if(mState->slots.begin(), mState->slots.end(),
                                             [](const Slot& slot) { return slot.out > 0; }));
}

}  // namespace lx2::host
