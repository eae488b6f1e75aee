// Stand-in for the graphics mapper service's interface, version 3.0.
#pragma once

#include <hidl/HidlSupport.h>
#include <utils/RefBase.h>

#include <cstdint>
#include <functional>
#include <string>

namespace android::hardware::graphics::mapper::V3_0 {

enum class Error : int32_t {
    NONE = 0,
    BAD_DESCRIPTOR = 1,
    BAD_BUFFER = 2,
    BAD_VALUE = 3,
    NO_RESOURCES = 5,
    UNSUPPORTED = 7,
};

// Safe to call from any thread.
struct __attribute__((visibility("default"))) IMapper : public RefBase {
    using importBuffer_cb = std::function<void(Error error, void* buffer)>;

    // The service of that name; null when there is none.
    static sp<IMapper> getService(const std::string& serviceName = "default", bool getStub = false);

    // Gives a handle of its own with descriptors of its own.
    virtual Return<void> importBuffer(const hidl_handle& rawHandle, importBuffer_cb callback) = 0;

    // Takes an imported handle back. BAD_BUFFER for one that was never imported or is freed
    // already.
    virtual Return<Error> freeBuffer(void* buffer) = 0;
};

}  // namespace android::hardware::graphics::mapper::V3_0
