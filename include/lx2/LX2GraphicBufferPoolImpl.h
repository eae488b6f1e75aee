// The graphic buffer pool itself, for components that own one directly;
// LX2GraphicBufferPool::Create makes one behind its interface.
#pragma once

#include <lx2/LX2BufferPool.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace lx2 {

class LX2_API LX2GraphicBufferPoolImpl : public LX2GraphicBufferPool {
  public:
    // Shares ownership of pool, which may be null. flag is kept and not consulted.
    LX2GraphicBufferPoolImpl(std::shared_ptr<C2BlockPool> pool, bool flag);
    ~LX2GraphicBufferPoolImpl() override;

    LX2Status registerCallback(std::weak_ptr<LX2BufferDeleteCallback> callback) override;
    LX2Status setResolution(uint32_t width, uint32_t height) override;
    LX2Status setFormat(uint32_t format) override;
    LX2Status setUsage(uint64_t usage) override;
    LX2Status allocate(std::shared_ptr<LX2Buffer>* out) override;
    LX2Status holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer) override;
    LX2Status dropReference(uint64_t id) override;
    LX2Status dropAllReferences() override;
    void counts(uint64_t* held, uint64_t* pending) const override;
    LX2Status allocateWithin(std::shared_ptr<LX2Buffer>* out, std::chrono::milliseconds limit,
                             const std::atomic<bool>* cancel = nullptr) override;

    // Which graphic buffers the component still refers to. Two identities meet here: holds are kept
    // under ids that the component chose, while a fetched buffer is compared with the held ones by
    // the id of its allocation. Every operation is atomic.
    class LX2_API RefTracker {
      public:
        RefTracker() = default;
        // Lets everything go, the held buffers last.
        ~RefTracker();
        RefTracker(const RefTracker&) = delete;
        RefTracker& operator=(const RefTracker&) = delete;

        LX2Status holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer);
        LX2Status dropReference(uint64_t id);

        // Parks a buffer whose allocation is held; tells whether it did.
        bool stashIfReferenced(const std::shared_ptr<LX2Buffer>& buffer);

        // Moves the oldest parked buffer whose hold was dropped into *out, which is reset first.
        // C2_OK; C2_NOT_FOUND; LX2_BAD_ARG for a null out.
        LX2Status getPreFetchedAndAvailable(std::shared_ptr<LX2Buffer>* out);

        // Lets everything go, the held buffers first. C2_OK.
        LX2Status reset();

        uint64_t heldCount() const;
        uint64_t pendingCount() const;

        // How often references were dropped so far.
        uint64_t dropCount() const;

        // Waits until dropCount() is another one than seen, or until the given time. Tells which:
        // true for a drop.
        bool waitForDrop(uint64_t seen, std::chrono::steady_clock::time_point until);

      private:
        // The allocation's id stands beside the buffer: its view may be in use on another thread.
        struct Tracked {
            std::shared_ptr<LX2Buffer> buffer;
            uint64_t platformId;
        };
        // What was tracked, from the last to go to the first, to be released without the lock: the
        // deleters may call back.
        struct Contents {
            std::unordered_map<uint64_t, Tracked> held;
            std::list<Tracked> stashed, available;
        };
        LX2_LOCAL Contents takeAll();
        LX2_LOCAL LX2Status takeHeld(uint64_t id, Tracked* out);
        LX2_LOCAL void noteDrop();

        mutable std::mutex mLock;
        std::unordered_map<uint64_t, Tracked> mHeld;
        std::list<Tracked> mStashed;
        std::list<Tracked> mAvailable;
        uint64_t mDrops = 0;
        std::condition_variable mDropped;
    };

  private:
    LX2_LOCAL LX2Status allocateOnce(std::shared_ptr<LX2Buffer>* out, bool* parked);
    bool fits(const LX2Buffer::Graphic& view) const;
    bool takeRecycled(std::shared_ptr<LX2Buffer>* out);
    LX2Status fetch(std::shared_ptr<C2GraphicBlock>* block);
    std::shared_ptr<LX2Buffer> wrap(std::shared_ptr<C2GraphicBlock> block) const;

    [[maybe_unused]] const bool mFlag;
    uint32_t mWidth = 0;
    uint32_t mHeight = 0;
    uint32_t mFormat = 0;
    uint64_t mUsage = 0;
    std::shared_ptr<C2BlockPool> mPool;
    RefTracker mRefTracker;
    std::weak_ptr<LX2BufferDeleteCallback> mDeleteCallback;
    bool mCompressed = false;  // the format that was set is a compressed one
};

}  // namespace lx2
