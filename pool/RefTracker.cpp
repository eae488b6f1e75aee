#include <lx2/LX2GraphicBufferPoolImpl.h>

#include <algorithm>
#include <utility>

#include "PoolLog.h"

namespace lx2 {

namespace {

uint64_t PlatformId(const std::shared_ptr<LX2Buffer>& buffer) {
    return buffer->graphic()->id();
}

}  // namespace

using RefTracker = LX2GraphicBufferPoolImpl::RefTracker;

LX2Status RefTracker::holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer) {
    std::lock_guard<std::mutex> guard(mLock);
    if (buffer == nullptr || buffer->type() != C2BufferData::GRAPHIC)
        return LX2_BAD_ARG;
    LX2_LOGT("REF: Added Ref for graphic buf with id:%lu", PlatformId(buffer));
    // A buffer that is refused stays in the argument, which goes after the lock.
    return mHeld.try_emplace(id, std::move(buffer)).second ? C2_OK : C2_CANNOT_DO;
}

LX2Status RefTracker::dropReference(uint64_t id) {
    std::shared_ptr<LX2Buffer> dropped;  // released after the lock: its deleter may call back
    std::lock_guard<std::mutex> guard(mLock);
    const auto held = mHeld.find(id);
    if (held == mHeld.end())
        return C2_CANNOT_DO;
    dropped = std::move(held->second);
    mHeld.erase(held);
    if (dropped == nullptr)
        return LX2_ERROR;
    const uint64_t platformId = PlatformId(dropped);
    const auto stashed = std::find_if(
        mStashed.begin(), mStashed.end(),
        [platformId](const auto& candidate) { return PlatformId(candidate) == platformId; });
    if (stashed != mStashed.end()) {
        LX2_LOGT("REF: Released Ref for graphic buf with id : %lu", platformId);
        mAvailable.splice(mAvailable.end(), mStashed, stashed);
    }
    return C2_OK;
}

bool RefTracker::stashIfReferenced(const std::shared_ptr<LX2Buffer>& buffer) {
    std::lock_guard<std::mutex> guard(mLock);
    const uint64_t platformId = PlatformId(buffer);
    const bool held = std::any_of(mHeld.begin(), mHeld.end(), [platformId](const auto& entry) {
        return PlatformId(entry.second) == platformId;
    });
    if (held)
        mStashed.push_back(buffer);
    return held;
}

LX2Status RefTracker::getPreFetchedAndAvailable(std::shared_ptr<LX2Buffer>* out) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    out->reset();
    std::lock_guard<std::mutex> guard(mLock);
    if (mAvailable.empty())
        return C2_NOT_FOUND;
    *out = std::move(mAvailable.front());
    mAvailable.pop_front();
    return C2_OK;
}

RefTracker::Contents RefTracker::takeAll() {
    std::lock_guard<std::mutex> guard(mLock);
    Contents all;
    all.held.swap(mHeld);
    all.stashed.swap(mStashed);
    all.available.swap(mAvailable);
    return all;
}

LX2Status RefTracker::reset() {
    Contents all = takeAll();
    all.held.clear();
    all.stashed.clear();
    return C2_OK;
}

}  // namespace lx2
