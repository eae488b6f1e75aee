// The allocator's own records, told from handles of another shape or another allocator.
#pragma once

#include <base/FormatTable.h>
#include <lx2device/PrivateHandle.h>
#include <lx2host/Gralloc.h>
#include <lx2host/HardwareMemory.h>

#include <memory>

namespace lx2::host {

// A handle whose descriptors and memory go with it, and its hold of the memory behind them.
struct CloseHandle {
    void operator()(native_handle_t* handle) const {
        HardwareMemory::Drop(handle);
        native_handle_close(handle);
        native_handle_delete(handle);
    }
};
using OwnedHandle = std::unique_ptr<native_handle_t, CloseHandle>;

using geometry::LayoutFormatOf;

// The record of a private handle; null for any other handle.
inline const PrivateHandle* PrivateRecordOf(const native_handle_t* handle) {
    if (handle == nullptr || handle->version != static_cast<int>(sizeof(native_handle_t)) ||
        handle->numFds != PrivateHandle::kNumFds || handle->numInts != PrivateHandle::kNumInts)
        return nullptr;
    const auto* record = reinterpret_cast<const PrivateHandle*>(handle);
    return record->reserved0 == kAllocatorMagic ? record : nullptr;
}

}  // namespace lx2::host
