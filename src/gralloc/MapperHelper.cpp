#include <android/hardware/graphics/mapper/3.0/IMapper.h>
#include <base/LogModules.h>
#include <lx2/LX2GrallocBuffer.h>

namespace lx2 {

constexpr LogModule kLog = kGrallocLog;

using android::hardware::hidl_handle;
using android::hardware::graphics::mapper::V3_0::Error;
using android::hardware::graphics::mapper::V3_0::IMapper;

LX2Mapper3Helper* LX2Mapper3Helper::Get() {
    if (sMapperHelper == nullptr) {
        std::lock_guard<std::mutex> lock(sLock);
        // Not tested again: of threads that race here the last one's instance replaces the others'.
        sMapperHelper = std::make_unique<LX2Mapper3Helper>();
    }
    return sMapperHelper.get();
}

LX2Mapper3Helper::LX2Mapper3Helper()
    : mMapper(IMapper::getService("default", false)), mUsable(true) {
    // The helper counts as usable also then: each import is logged as failed, and frees do nothing.
    if (mMapper == nullptr)
        LX2_LOGE("Failed to get mapper service");
}

LX2Mapper3Helper::~LX2Mapper3Helper() = default;

native_handle_t* LX2Mapper3Helper::importBuffer(const native_handle_t* handle) {
    native_handle_t* imported = nullptr;
    if (handle == nullptr) {
        LX2_LOGE("Invalid handle to import");
        return nullptr;
    }
    if (!mUsable) {
        LX2_LOGE("Invalid mapper helper, cannot import buffer");
        return nullptr;
    }
    if (mMapper != nullptr) {
        // The transport's status is left to the platform.
        (void)mMapper->importBuffer(hidl_handle(handle), [&imported](Error error, void* buffer) {
            if (error == Error::NONE)
                imported = static_cast<native_handle_t*>(buffer);
            else
                LX2_LOGE("Failed to import buffer from mapper %d", static_cast<int>(error));
        });
    }
    if (imported == nullptr) {
        LX2_LOGE("Failed to import buffer");
        return nullptr;
    }
    LX2_LOGI("Buffer %p imported as %p", static_cast<const void*>(handle),
             static_cast<void*>(imported));
    return imported;
}

void LX2Mapper3Helper::freeBuffer(native_handle_t* handle) {
    if (handle == nullptr) {
        LX2_LOGE("Invalid handle to free");
        return;
    }
    if (!mUsable) {
        LX2_LOGE("Invalid mapper helper, cannot free buffer");
        return;
    }
    if (mMapper == nullptr)
        return;
    const Error error = mMapper->freeBuffer(handle);
    if (error != Error::NONE)
        LX2_LOGE("Failed to free buffer %p, err %d", static_cast<void*>(handle),
                 static_cast<int>(error));
}

}  // namespace lx2
