// Stand-in for libutils' strong pointers: sp<T> holds a reference that T counts itself.
#pragma once

#include <cstddef>
#include <utility>

namespace android {

template <typename T>
class sp {
  public:
    sp() = default;
    sp(std::nullptr_t) {}
    sp(T* object) : mObject(object) { acquire(); }
    sp(const sp& other) : mObject(other.mObject) { acquire(); }
    sp(sp&& other) noexcept : mObject(std::exchange(other.mObject, nullptr)) {}
    template <typename U>
    sp(const sp<U>& other) : sp(static_cast<T*>(other.get())) {}
    ~sp() { release(); }

    sp& operator=(sp other) noexcept {
        std::swap(mObject, other.mObject);
        return *this;
    }

    T* get() const { return mObject; }
    T* operator->() const { return mObject; }
    T& operator*() const { return *mObject; }
    bool operator==(std::nullptr_t) const { return mObject == nullptr; }
    bool operator!=(std::nullptr_t) const { return mObject != nullptr; }

  private:
    void acquire() {
        if (mObject != nullptr)
            mObject->incStrong(this);
    }
    void release() {
        if (mObject != nullptr)
            mObject->decStrong(this);
    }

    T* mObject = nullptr;
};

}  // namespace android
