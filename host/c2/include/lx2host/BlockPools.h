// The pools that a client makes for a component.
#pragma once

#include <C2Buffer.h>

#include <memory>

class C2Component;

namespace lx2::host {

// An id that no other pool of the process has, C2BlockPool::PLATFORM_START or more. Safe to call
// from any thread.
LX2_HOST_API C2BlockPool::local_id_t NewBlockPoolId();

// Lets android::GetCodec2BlockPool() find the pool under its getLocalId(), for this component alone
// (null: for whoever names no component), as long as the pool is held. Returns that id, for
// C2PortBlockPoolsTuning. A pool that had the id before is not found any more. Safe to call from
// any thread.
LX2_HOST_API C2BlockPool::local_id_t RegisterBlockPool(
    const std::shared_ptr<C2BlockPool>& pool, const std::shared_ptr<const C2Component>& component);

}  // namespace lx2::host
