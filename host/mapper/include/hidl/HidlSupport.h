// Stand-in for the HIDL runtime's <hidl/HidlSupport.h> and <hidl/Status.h>: what a call to the
// mapper service takes and gives.
#pragma once

#include <cutils/native_handle.h>

#include <utility>

namespace android::hardware {

// A native handle that is not owned.
class hidl_handle {
  public:
    hidl_handle() = default;
    hidl_handle(const native_handle_t* handle) : mHandle(handle) {}
    const native_handle_t* getNativeHandle() const { return mHandle; }

  private:
    const native_handle_t* mHandle = nullptr;
};

// The result of a call. There is no transport here that could fail.
template <typename T>
class Return {
  public:
    Return(T value) : mValue(std::move(value)) {}
    operator T() const { return mValue; }
    bool isOk() const { return true; }

  private:
    T mValue;
};

template <>
class Return<void> {
  public:
    bool isOk() const { return true; }
};

inline Return<void> Void() {
    return {};
}

}  // namespace android::hardware
