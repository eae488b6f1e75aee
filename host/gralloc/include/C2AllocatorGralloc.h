// Stand-in for the Codec 2.0 support library's <C2AllocatorGralloc.h>: the handle of a graphic
// block is the allocator's private handle with further integers of Codec 2.0 behind its own.
#pragma once

#include <C2Buffer.h>

namespace android {

// The private handle alone, newly allocated; the descriptors are shared with handle, not
// duplicated. Null for a handle that Codec 2.0 did not wrap.
LX2_HOST_API native_handle_t* UnwrapNativeCodec2GrallocHandle(const C2Handle* const handle);

// The handle with Codec 2.0's integers, newly allocated, with descriptors of its own. Null when
// there is no handle or no memory or descriptor for another.
LX2_HOST_API C2Handle* WrapNativeCodec2GrallocHandle(const native_handle_t* const handle,
                                                     uint32_t width, uint32_t height,
                                                     uint32_t format, uint64_t usage,
                                                     uint32_t stride, uint32_t generation = 0,
                                                     uint64_t igbp_id = 0, uint32_t igbp_slot = 0);

}  // namespace android
