#include <C2PlatformSupport.h>
#include <lx2host/BlockPools.h>
#include <lx2host/GraphicPools.h>

#include <atomic>
#include <mutex>

#include "LinearPool.h"

namespace lx2::host {

namespace {

// As many buffers as a surface may have.
constexpr size_t kSurfaceSlots = 64;

// The pools that were made for components, by id.
struct Registry {
    struct Entry {
        std::weak_ptr<C2BlockPool> pool;
        std::weak_ptr<const C2Component> component;
    };

    std::mutex lock;
    std::map<C2BlockPool::local_id_t, Entry> entries;
};

// Never destroyed: pools may be asked for while the process ends.
Registry& TheRegistry() {
    static Registry& registry = *new Registry;
    return registry;
}

std::shared_ptr<C2BlockPool> NewPool(android::C2PlatformAllocatorStore::id_t allocator) {
    switch (allocator) {
        case android::C2PlatformAllocatorStore::ION:
        case android::C2PlatformAllocatorStore::BLOB:
            return CreateLinearPool(NewBlockPoolId());
        case android::C2PlatformAllocatorStore::GRALLOC:
            return CreateBasicGraphicPool(NewBlockPoolId());
        case android::C2PlatformAllocatorStore::BUFFERQUEUE:
            return std::make_shared<SlotGraphicPool>(kSurfaceSlots);
        default:
            return nullptr;
    }
}

std::shared_ptr<C2BlockPool> FindPool(C2BlockPool::local_id_t id,
                                      const std::shared_ptr<const C2Component>& component) {
    if (id == C2BlockPool::BASIC_LINEAR)
        return CreateLinearPool(id);
    if (id == C2BlockPool::BASIC_GRAPHIC)
        return CreateBasicGraphicPool(id);
    std::lock_guard<std::mutex> guard(TheRegistry().lock);
    const auto found = TheRegistry().entries.find(id);
    const bool isTheirs =
        found != TheRegistry().entries.end() && found->second.component.lock() == component;
    return isTheirs ? found->second.pool.lock() : nullptr;
}

}  // namespace

C2BlockPool::local_id_t NewBlockPoolId() {
    static std::atomic<C2BlockPool::local_id_t> next{C2BlockPool::PLATFORM_START};
    return next++;
}

C2BlockPool::local_id_t RegisterBlockPool(const std::shared_ptr<C2BlockPool>& pool,
                                          const std::shared_ptr<const C2Component>& component) {
    const auto id = pool->getLocalId();
    auto& [lock, entries] = TheRegistry();
    std::lock_guard<std::mutex> guard(lock);
    for (auto entry = entries.begin(); entry != entries.end();)
        entry = entry->second.pool.expired() ? entries.erase(entry) : std::next(entry);
    entries[id] = {pool, component};
    return id;
}

}  // namespace lx2::host

namespace android {

c2_status_t GetCodec2BlockPool(C2BlockPool::local_id_t id,
                               std::shared_ptr<const C2Component> component,
                               std::shared_ptr<C2BlockPool>* pool) {
    if (pool == nullptr)
        return C2_BAD_VALUE;
    *pool = lx2::host::FindPool(id, component);
    return *pool != nullptr ? C2_OK : C2_NOT_FOUND;
}

c2_status_t CreateCodec2BlockPool(C2PlatformAllocatorStore::id_t allocatorId,
                                  std::shared_ptr<const C2Component> component,
                                  std::shared_ptr<C2BlockPool>* pool) {
    if (pool == nullptr)
        return C2_BAD_VALUE;
    *pool = lx2::host::NewPool(allocatorId);
    if (*pool == nullptr)
        return C2_NOT_FOUND;
    lx2::host::RegisterBlockPool(*pool, component);
    return C2_OK;
}

}  // namespace android
