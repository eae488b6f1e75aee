// Stand-in for libutils' <utils/RefBase.h>: the count that sp<T> keeps.
#pragma once

#include <utils/StrongPointer.h>

#include <atomic>

namespace android {

class RefBase {
  public:
    void incStrong(const void*) const { ++mStrong; }
    void decStrong(const void*) const {
        if (--mStrong == 0)
            delete this;
    }

  protected:
    RefBase() = default;
    virtual ~RefBase() = default;

  private:
    mutable std::atomic<int> mStrong{0};
};

}  // namespace android
