#include <C2AllocatorGralloc.h>

#include <algorithm>

namespace {

// What Codec 2.0 puts behind the private handle's integers.
struct Extra {
    uint32_t width;
    uint32_t height;
    uint32_t format;
    uint32_t usageLow;
    uint32_t usageHigh;
    uint32_t stride;
    uint32_t magic;
};
constexpr uint32_t kMagic = 0xC2A110C8;
constexpr int kExtraInts = sizeof(Extra) / sizeof(int);

// A record of other counts with the same descriptors and as many of the integers as fit.
native_handle_t* Resized(const native_handle_t* handle, int numInts) {
    native_handle_t* copy = native_handle_create(handle->numFds, numInts);
    if (copy != nullptr)
        std::copy_n(handle->data, handle->numFds + std::min(handle->numInts, numInts), copy->data);
    return copy;
}

bool IsWrapped(const C2Handle* handle) {
    return handle != nullptr && handle->version == static_cast<int>(sizeof(native_handle_t)) &&
           handle->numFds >= 0 && handle->numInts >= kExtraInts &&
           static_cast<uint32_t>(handle->data[handle->numFds + handle->numInts - 1]) == kMagic;
}

}  // namespace

namespace android {

native_handle_t* UnwrapNativeCodec2GrallocHandle(const C2Handle* const handle) {
    return IsWrapped(handle) ? Resized(handle, handle->numInts - kExtraInts) : nullptr;
}

C2Handle* WrapNativeCodec2GrallocHandle(const native_handle_t* const handle, uint32_t width,
                                        uint32_t height, uint32_t format, uint64_t usage,
                                        uint32_t stride) {
    if (handle == nullptr)
        return nullptr;
    C2Handle* wrapped = Resized(handle, handle->numInts + kExtraInts);
    if (wrapped != nullptr) {
        const Extra extra{width,
                          height,
                          format,
                          static_cast<uint32_t>(usage),
                          static_cast<uint32_t>(usage >> 32),
                          stride,
                          kMagic};
        memcpy(&wrapped->data[handle->numFds + handle->numInts], &extra, sizeof(extra));
    }
    return wrapped;
}

}  // namespace android
