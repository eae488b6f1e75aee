// Stand-in for the Codec 2.0 support library's <C2PlatformSupport.h>: the platform's block pools
// and its component store.
#pragma once

#include <C2Buffer.h>
#include <C2Component.h>

namespace android {

// The platform's allocators, by id.
class C2PlatformAllocatorStore : public C2AllocatorStore {
  public:
    enum : id_t { ION = PLATFORM_START, GRALLOC, BUFFERQUEUE, BLOB };
};

// The block pool of an id: C2BlockPool::BASIC_LINEAR, C2BlockPool::BASIC_GRAPHIC, or a pool that
// was made for this component (CreateCodec2BlockPool(), lx2host/GraphicPools.h) and is still held
// by somebody. C2_OK; C2_NOT_FOUND for any other id or component; C2_BAD_VALUE for a null
// out-pointer.
LX2_HOST_API c2_status_t GetCodec2BlockPool(C2BlockPool::local_id_t id,
                                            std::shared_ptr<const C2Component> component,
                                            std::shared_ptr<C2BlockPool>* pool);

// A new pool over an allocator, with an id of its own: linear blocks (ION, BLOB), graphic blocks
// (GRALLOC), graphic blocks in 64 slots (BUFFERQUEUE). The caller alone holds it. C2_OK;
// C2_NOT_FOUND for any other allocator; C2_BAD_VALUE for a null out-pointer.
LX2_HOST_API c2_status_t CreateCodec2BlockPool(C2PlatformAllocatorStore::id_t allocatorId,
                                               std::shared_ptr<const C2Component> component,
                                               std::shared_ptr<C2BlockPool>* pool);

// One store for the process. It lists no components and has no parameters; its reflector, a
// C2ReflectorHelper, is the one that components add their structures to.
LX2_HOST_API std::shared_ptr<C2ComponentStore> GetCodec2PlatformComponentStore();

}  // namespace android
