// Blocks and pools for tests.
#pragma once

#include <C2BlockInternal.h>
#include <C2Buffer.h>
#include <C2ParamDef.h>
#include <lx2/LX2Buffer.h>
#include <lx2host/Allocations.h>
#include <lx2host/DmaBuf.h>
#include <lx2host/Gralloc.h>
#include <unistd.h>

#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace lx2::test {

// A linear allocation with a handle of any shape: descriptors that it owns, then integers.
class LinearAllocation : public host::LinearMemory {
  public:
    LinearAllocation(uint32_t capacity, const std::vector<int>& fds)
        : LinearMemory(capacity), mHandle(native_handle_create(static_cast<int>(fds.size()), 0)) {
        std::copy(fds.begin(), fds.end(), mHandle->data);
    }
    ~LinearAllocation() override {
        native_handle_close(mHandle);
        native_handle_delete(mHandle);
    }
    const C2Handle* handle() const override { return mHandle; }

  private:
    native_handle_t* mHandle;
};

inline std::shared_ptr<C2LinearBlock> LinearBlock(uint32_t capacity) {
    return _C2BlockFactory::CreateLinearBlock(std::make_shared<LinearAllocation>(
        capacity, std::vector<int>{host::AllocateDmaBuf(capacity)}));
}

inline std::shared_ptr<LX2Buffer> LinearBuffer(uint32_t capacity, uint64_t usage = 0) {
    return std::make_shared<LX2Buffer>(LinearBlock(capacity), usage);
}

inline std::shared_ptr<C2GraphicBlock> GraphicBlock(uint32_t width, uint32_t height,
                                                    uint32_t format, uint64_t usage = 0) {
    return _C2BlockFactory::CreateGraphicBlock(host::AllocateGraphic(width, height, format, usage));
}

inline std::shared_ptr<LX2Buffer> GraphicBuffer(uint32_t width, uint32_t height, uint32_t format,
                                                uint64_t usage = 0) {
    return std::make_shared<LX2Buffer>(GraphicBlock(width, height, format, usage));
}

// A C2Buffer of any blocks.
class AnyC2Buffer : public C2Buffer {
  public:
    template <typename Block>
    explicit AnyC2Buffer(const std::vector<Block>& blocks) : C2Buffer(blocks) {}
};

// Rectangles that are empty or invalid are equal to each other; their words need not be.
inline std::vector<uint32_t> WordsOf(const C2Rect& rect) {
    return {rect.width, rect.height, rect.left, rect.top};
}

// An info of any core index and direction, with one value.
template <int CoreIndex>
using ValueInfo = C2StreamParam<C2Info, C2Uint32Value, CoreIndex>;

// What a fetch asked for.
struct Fetch {
    uint32_t width;   // or the capacity of a linear block
    uint32_t height;  // 0 for a linear block
    uint32_t format;
    uint64_t usage;

    bool operator==(const Fetch& other) const {
        return width == other.width && height == other.height && format == other.format &&
               usage == other.usage;
    }
};

// Answers fetches with the statuses it was given, and with blocks once they are used up: those that
// it is to offer, then new ones. Keeps what was asked.
class FakePool : public C2BlockPool {
  public:
    local_id_t getLocalId() const override { return PLATFORM_START; }
    uint32_t getAllocatorId() const override { return 0; }

    c2_status_t fetchLinearBlock(uint32_t capacity, C2MemoryUsage usage,
                                 std::shared_ptr<C2LinearBlock>* block) override {
        const c2_status_t status = next({capacity, 0, 0, usage.expected});
        *block = status == C2_OK ? LinearBlock(capacity) : nullptr;
        return status;
    }

    c2_status_t fetchGraphicBlock(uint32_t width, uint32_t height, uint32_t format,
                                  C2MemoryUsage usage,
                                  std::shared_ptr<C2GraphicBlock>* block) override {
        const c2_status_t status = next({width, height, format, usage.expected});
        *block = nullptr;
        if (status != C2_OK)
            return status;
        if (offered.empty()) {
            *block = GraphicBlock(width, height, format, usage.expected);
        } else {
            *block = std::move(offered.front());
            offered.pop_front();
        }
        return C2_OK;
    }

    std::vector<Fetch> fetches;
    std::deque<c2_status_t> statuses;
    std::deque<std::shared_ptr<C2GraphicBlock>> offered;
    std::function<void()> onFetch = [] {};

  private:
    c2_status_t next(const Fetch& fetch) {
        fetches.push_back(fetch);
        onFetch();
        if (statuses.empty())
            return C2_OK;
        const c2_status_t status = statuses.front();
        statuses.pop_front();
        return status;
    }
};

}  // namespace lx2::test
