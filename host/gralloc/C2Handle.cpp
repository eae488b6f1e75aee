#include <C2AllocatorGralloc.h>

#include <algorithm>
#include <iterator>

namespace {

// Codec 2.0's integers behind the private handle's end with a mark of their kind: those of a buffer
// that the graphics allocator made, or of a hardware buffer, which nothing here wraps.
constexpr uint32_t kGralloc = 0xC2677200;
constexpr int kGrallocInts = 11;
constexpr uint32_t kHardwareBuffer = 0xC2687700;
constexpr int kHardwareBufferInts = 9;

// How many of a handle's integers are Codec 2.0's; 0 for a handle that it did not wrap.
int FurtherInts(const C2Handle* handle) {
    if (handle == nullptr || handle->version != static_cast<int>(sizeof(native_handle_t)) ||
        handle->numFds < 0 || handle->numInts < kHardwareBufferInts)
        return 0;
    const auto mark = static_cast<uint32_t>(handle->data[handle->numFds + handle->numInts - 1]);
    if (mark == kHardwareBuffer)
        return kHardwareBufferInts;
    return mark == kGralloc && handle->numInts >= kGrallocInts ? kGrallocInts : 0;
}

}  // namespace

namespace android {

native_handle_t* UnwrapNativeCodec2GrallocHandle(const C2Handle* const handle) {
    const int further = FurtherInts(handle);
    if (further == 0)
        return nullptr;
    native_handle_t* bare = native_handle_create(handle->numFds, handle->numInts - further);
    if (bare != nullptr)
        std::copy_n(handle->data, bare->numFds + bare->numInts, bare->data);
    return bare;
}

C2Handle* WrapNativeCodec2GrallocHandle(const native_handle_t* const handle, uint32_t width,
                                        uint32_t height, uint32_t format, uint64_t usage,
                                        uint32_t stride, uint32_t generation, uint64_t igbp_id,
                                        uint32_t igbp_slot) {
    if (handle == nullptr)
        return nullptr;
    const uint32_t further[kGrallocInts] = {width,
                                            height,
                                            format,
                                            static_cast<uint32_t>(usage),
                                            static_cast<uint32_t>(usage >> 32),
                                            stride,
                                            generation,
                                            static_cast<uint32_t>(igbp_id),
                                            static_cast<uint32_t>(igbp_id >> 32),
                                            igbp_slot,
                                            kGralloc};
    native_handle_t* own = native_handle_clone(handle);
    native_handle_t* wrapped =
        own != nullptr ? native_handle_create(own->numFds, own->numInts + kGrallocInts) : nullptr;
    if (wrapped != nullptr)
        std::copy(std::begin(further), std::end(further),
                  std::copy_n(own->data, own->numFds + own->numInts, wrapped->data));
    else if (own != nullptr)
        native_handle_close(own);
    native_handle_delete(own);
    return wrapped;
}

}  // namespace android
