// The allocator's own records, told from handles of another shape or another allocator.
#pragma once

#include <lx2device/PrivateHandle.h>
#include <lx2host/Gralloc.h>

namespace lx2::host {

// The record of a private handle; null for any other handle.
inline const PrivateHandle* PrivateRecordOf(const native_handle_t* handle) {
    if (handle == nullptr || handle->version != static_cast<int>(sizeof(native_handle_t)) ||
        handle->numFds != PrivateHandle::kNumFds || handle->numInts != PrivateHandle::kNumInts)
        return nullptr;
    const auto* record = reinterpret_cast<const PrivateHandle*>(handle);
    return record->reserved0 == kAllocatorMagic ? record : nullptr;
}

}  // namespace lx2::host
