#define ATRACE_TAG ATRACE_TAG_VIDEO
#include <cutils/trace.h>
#include <lx2/LX2GraphicBufferPoolImpl.h>
#include <lx2/Log.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

using RefTracker = LX2GraphicBufferPoolImpl::RefTracker;

namespace {

// What happens to a buffer is a slice in the system's trace. Its cookie is the lower half of the
// buffer's platform id.
constexpr char kParked[] = "parked", kAvailable[] = "recyclable";

void TraceBegin(const char* what, uint64_t platformId) {
    ATRACE_ASYNC_BEGIN(what, static_cast<int32_t>(platformId));
}

void TraceEnd(const char* what, uint64_t platformId) {
    ATRACE_ASYNC_END(what, static_cast<int32_t>(platformId));
}

void TraceHold(void (*trace)(const char*, uint64_t), uint64_t id, uint64_t platformId) {
    if (!ATRACE_ENABLED())
        return;
    char what[32];
    snprintf(what, sizeof(what), "held id=%" PRIu64, id);
    trace(what, platformId);
}

}  // namespace

RefTracker::~RefTracker() {
    takeAll();
}

LX2Status RefTracker::holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer) {
    std::lock_guard<std::mutex> guard(mLock);
    if (buffer == nullptr || buffer->type() != C2BufferData::GRAPHIC)
        return LX2_BAD_ARG;
    const uint64_t platformId = buffer->graphic()->id();
    LX2_LOGT("REF: Added Ref for graphic buf with id:%" PRIu64, platformId);
    if (mHeld.count(id) != 0)
        return C2_CANNOT_DO;  // the buffer stays in the argument, which goes after the lock
    mHeld.emplace(id, Tracked{std::move(buffer), platformId});
    TraceHold(TraceBegin, id, platformId);
    return C2_OK;
}

// Takes the buffer of an id out, and frees one that is parked behind it to be handed out.
LX2Status RefTracker::takeHeld(uint64_t id, Tracked* out) {
    std::lock_guard<std::mutex> guard(mLock);
    const auto held = mHeld.find(id);
    if (held == mHeld.end())
        return C2_CANNOT_DO;
    *out = std::move(held->second);
    mHeld.erase(held);
    TraceHold(TraceEnd, id, out->platformId);
    const auto parked = std::find_if(
        mStashed.begin(), mStashed.end(),
        [out](const Tracked& candidate) { return candidate.platformId == out->platformId; });
    if (parked != mStashed.end()) {
        LX2_LOGT("REF: Released Ref for graphic buf with id : %" PRIu64, out->platformId);
        TraceEnd(kParked, out->platformId);
        TraceBegin(kAvailable, out->platformId);
        mAvailable.splice(mAvailable.end(), mStashed, parked);
    }
    return C2_OK;
}

LX2Status RefTracker::dropReference(uint64_t id) {
    Tracked dropped{};
    const LX2Status status = takeHeld(id, &dropped);
    dropped.buffer.reset();  // without the lock: its deleter may call back
    if (status == C2_OK)
        noteDrop();
    return status;
}

// Comes after the buffers have gone back to the C2 pool, which a waiting thread then asks.
void RefTracker::noteDrop() {
    {
        std::lock_guard<std::mutex> guard(mLock);
        ++mDrops;
    }
    mDropped.notify_all();
}

uint64_t RefTracker::dropCount() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mDrops;
}

bool RefTracker::waitForDrop(uint64_t seen, std::chrono::steady_clock::time_point until) {
    std::unique_lock<std::mutex> lock(mLock);
    ATRACE_BEGIN("wait for a buffer");
    const bool dropped = mDropped.wait_until(lock, until, [&] { return mDrops != seen; });
    ATRACE_END();
    return dropped;
}

bool RefTracker::stashIfReferenced(const std::shared_ptr<LX2Buffer>& buffer) {
    const uint64_t platformId = buffer->graphic()->id();
    std::lock_guard<std::mutex> guard(mLock);
    const bool isHeld = std::any_of(mHeld.begin(), mHeld.end(), [platformId](const auto& entry) {
        return entry.second.platformId == platformId;
    });
    if (isHeld) {
        mStashed.push_back({buffer, platformId});
        TraceBegin(kParked, platformId);
    }
    return isHeld;
}

LX2Status RefTracker::getPreFetchedAndAvailable(std::shared_ptr<LX2Buffer>* out) {
    if (out == nullptr)
        return LX2_BAD_ARG;
    out->reset();
    std::lock_guard<std::mutex> guard(mLock);
    if (mAvailable.empty())
        return C2_NOT_FOUND;
    TraceEnd(kAvailable, mAvailable.front().platformId);
    *out = std::move(mAvailable.front().buffer);
    mAvailable.pop_front();
    return C2_OK;
}

RefTracker::Contents RefTracker::takeAll() {
    std::lock_guard<std::mutex> guard(mLock);
    Contents all;
    all.held.swap(mHeld);
    all.stashed.swap(mStashed);
    all.available.swap(mAvailable);
    for (const auto& [id, held] : all.held)
        TraceHold(TraceEnd, id, held.platformId);
    for (const Tracked& parked : all.stashed)
        TraceEnd(kParked, parked.platformId);
    for (const Tracked& available : all.available)
        TraceEnd(kAvailable, available.platformId);
    return all;
}

LX2Status RefTracker::reset() {
    Contents all = takeAll();
    all.held.clear();
    all.stashed.clear();
    all.available.clear();
    noteDrop();
    return C2_OK;
}

uint64_t RefTracker::heldCount() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mHeld.size();
}

uint64_t RefTracker::pendingCount() const {
    std::lock_guard<std::mutex> guard(mLock);
    return mAvailable.size() + mStashed.size();
}

}  // namespace lx2
