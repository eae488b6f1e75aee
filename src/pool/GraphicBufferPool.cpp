#include <lx2/LX2GraphicBufferPoolImpl.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>
#include <lx2device/PrivateHandle.h>

#include <algorithm>
#include <cinttypes>
#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

namespace {

// Ends a buffer's life and tells whoever wants to know.
class GraphicBufferDeleter {
  public:
    explicit GraphicBufferDeleter(std::weak_ptr<LX2BufferDeleteCallback> callback)
        : mCallback(std::move(callback)) {}

    void operator()(LX2Buffer* buffer) const {
        // The block goes back to its pool before anyone hears of it.
        delete buffer;
        if (const auto callback = mCallback.lock())
            callback->onBufferDeleted(buffer);  // NOLINT(clang-analyzer-cplusplus.NewDelete)
    }

  private:
    std::weak_ptr<LX2BufferDeleteCallback> mCallback;
};

}  // namespace

LX2BufferDeleteCallback::~LX2BufferDeleteCallback() = default;
LX2GraphicBufferPool::~LX2GraphicBufferPool() = default;

std::unique_ptr<LX2GraphicBufferPool> LX2GraphicBufferPool::Create(
    std::shared_ptr<C2BlockPool> pool, bool flag) {
    return std::make_unique<LX2GraphicBufferPoolImpl>(std::move(pool), flag);
}

LX2Status LX2GraphicBufferPool::configure(uint32_t width, uint32_t height, uint32_t format,
                                          uint64_t usage) {
    setFormat(format);
    setUsage(usage);
    return setResolution(width, height);
}

// For pools of others, which may not know how to wait.
LX2Status LX2GraphicBufferPool::allocateWithin(std::shared_ptr<LX2Buffer>* out,
                                               std::chrono::milliseconds,
                                               const std::atomic<bool>*) {
    return allocate(out);
}

LX2GraphicBufferPoolImpl::LX2GraphicBufferPoolImpl(std::shared_ptr<C2BlockPool> pool, bool flag)
    : mFlag(flag), mPool(std::move(pool)) {}

LX2GraphicBufferPoolImpl::~LX2GraphicBufferPoolImpl() = default;

LX2Status LX2GraphicBufferPoolImpl::registerCallback(
    std::weak_ptr<LX2BufferDeleteCallback> callback) {
    // "override" says that the new callback is alive, not that it replaces one.
    if (callback.lock() != nullptr)
        LX2_LOGE("registerCallback graphicBufferPool override");
    else
        LX2_LOGE("registerCallback graphicBufferPool");
    mDeleteCallback = std::move(callback);
    return C2_OK;
}

LX2Status LX2GraphicBufferPoolImpl::setResolution(uint32_t width, uint32_t height) {
    mWidth = width;
    mHeight = height;
    return C2_OK;
}

LX2Status LX2GraphicBufferPoolImpl::setFormat(uint32_t format) {
    mCompressed = PixFormat::IsCompressed(format);
    if (mCompressed)
        mUsage |= kUsageCompressed;
    else
        mUsage &= ~kUsageCompressed;
    // To the allocator compressed RGBA is RGBA with the usage bit.
    mFormat = format == PixFormat::RGBA8888_CMPX ? PixFormat::RGBA8888 : format;
    return C2_OK;
}

LX2Status LX2GraphicBufferPoolImpl::setUsage(uint64_t usage) {
    // Asked of the format as it was set: compressed RGBA is stored as RGBA and keeps the bit too.
    mUsage = usage | (mCompressed ? mUsage & kUsageCompressed : 0);
    return C2_OK;
}

bool LX2GraphicBufferPoolImpl::fits(const LX2Buffer::Graphic& view) const {
    return view.width() == mWidth && view.height() == mHeight && view.format() == mFormat;
}

bool LX2GraphicBufferPoolImpl::takeRecycled(std::shared_ptr<LX2Buffer>* out) {
    // Each further call drops the buffer before it, which did not fit.
    while (mRefTracker.getPreFetchedAndAvailable(out) == C2_OK) {
        if (fits(*(*out)->graphic())) {
            LX2_LOGT("REF: Recycled graphic buf with id : %" PRIu64, (*out)->graphic()->id());
            return true;
        }
    }
    return false;
}

LX2Status LX2GraphicBufferPoolImpl::fetch(std::shared_ptr<C2GraphicBlock>* block) {
    const LX2Status status =
        mPool->fetchGraphicBlock(mWidth, mHeight, mFormat, C2MemoryUsage(mUsage), block);
    if (status == C2_TIMED_OUT || status == C2_BLOCKING) {
        LX2_LOGD("%s: timed out allocating graphic block", "allocate");
        return C2_TIMED_OUT;
    }
    if (status != C2_OK)
        LX2_LOGE("%s: failed to alloc graphic block w(%u)/h(%u)/f(%x)/usage(%" PRIx64 ")",
                 "allocate", mWidth, mHeight, mFormat, mUsage);
    return status;
}

std::shared_ptr<LX2Buffer> LX2GraphicBufferPoolImpl::wrap(
    std::shared_ptr<C2GraphicBlock> block) const {
    auto buffer = std::make_unique<LX2Buffer>(std::move(block));
    if (mDeleteCallback.lock() == nullptr)
        return buffer;
    return std::shared_ptr<LX2Buffer>(buffer.release(), GraphicBufferDeleter(mDeleteCallback));
}

LX2Status LX2GraphicBufferPoolImpl::allocate(std::shared_ptr<LX2Buffer>* out) {
    bool parked = false;
    return allocateOnce(out, &parked);
}

LX2Status LX2GraphicBufferPoolImpl::allocateOnce(std::shared_ptr<LX2Buffer>* out, bool* parked) {
    if (out == nullptr)
        return LX2_ERROR;
    if (mPool == nullptr) {
        LX2_LOGE("LX2GraphicBufferPoolImpl::allocate: No pool to allocate!");
        out->reset();
        return C2_NO_INIT;
    }
    if (mWidth == 0 || mHeight == 0 || mFormat == 0) {
        LX2_LOGE("LX2GraphicBufferPoolImpl::allocate: resolution and pixel-format not specified!");
        out->reset();
        return C2_NO_INIT;
    }
    out->reset();
    if (takeRecycled(out))
        return C2_OK;
    std::shared_ptr<C2GraphicBlock> block;
    const LX2Status status = fetch(&block);
    if (status != C2_OK)
        return status;
    auto buffer = wrap(std::move(block));
    *parked = mRefTracker.stashIfReferenced(buffer);
    if (*parked) {
        LX2_LOGT("REF: Allocated buf with id = %" PRIu64 " is still referenced",
                 buffer->graphic()->id());
        // Like a fetch that timed out: the caller tries again later.
        return C2_TIMED_OUT;
    }
    *out = std::move(buffer);
    return C2_OK;
}

LX2Status LX2GraphicBufferPoolImpl::allocateWithin(std::shared_ptr<LX2Buffer>* out,
                                                   std::chrono::milliseconds limit,
                                                   const std::atomic<bool>* cancel) {
    using std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kPoll{5}, kLongest = std::chrono::hours(24 * 365);
    const auto end = steady_clock::now() + std::min(limit, kLongest);
    for (;;) {
        if (cancel != nullptr && *cancel) {
            if (out != nullptr)
                out->reset();
            return C2_CANCELED;
        }
        const uint64_t drops = mRefTracker.dropCount();
        bool parked = false;
        const LX2Status status = allocateOnce(out, &parked);
        const auto now = steady_clock::now();
        if (status != C2_TIMED_OUT || now >= end)
            return status;
        if (!parked)
            mRefTracker.waitForDrop(drops, std::min(end, now + kPoll));
    }
}

LX2Status LX2GraphicBufferPoolImpl::holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer) {
    return mRefTracker.holdReference(id, std::move(buffer));
}

LX2Status LX2GraphicBufferPoolImpl::dropReference(uint64_t id) {
    return mRefTracker.dropReference(id);
}

LX2Status LX2GraphicBufferPoolImpl::dropAllReferences() {
    return mRefTracker.reset();
}

void LX2GraphicBufferPoolImpl::counts(uint64_t* held, uint64_t* pending) const {
    if (held != nullptr)
        *held = mRefTracker.heldCount();
    if (pending != nullptr)
        *pending = mRefTracker.pendingCount();
}

}  // namespace lx2
