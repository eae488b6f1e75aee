// The graphic buffer pool itself, for components that own one directly;
// LX2GraphicBufferPool::Create makes one behind its interface.
#pragma once

#include <lx2/LX2BufferPool.h>

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

    // Which graphic buffers the component still refers to. Two identities meet here: holds are kept
    // under ids that the component chose, while a fetched buffer is compared with the held ones by
    // the id of its allocation. Every operation is atomic; the counts are read without the lock.
    class LX2_API RefTracker {
      public:
        LX2Status holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer);
        LX2Status dropReference(uint64_t id);

        // Parks a buffer whose allocation is held; tells whether it did.
        bool stashIfReferenced(const std::shared_ptr<LX2Buffer>& buffer);

        // Moves the oldest parked buffer whose hold was dropped into *out, which is reset first.
        // C2_OK; C2_NOT_FOUND; LX2_BAD_ARG for a null out.
        LX2Status getPreFetchedAndAvailable(std::shared_ptr<LX2Buffer>* out);

        LX2Status reset();

        // Everything that is tracked. It goes in the reverse order: the held buffers last.
        struct Contents {
            std::unordered_map<uint64_t, std::shared_ptr<LX2Buffer>> held;
            std::list<std::shared_ptr<LX2Buffer>> stashed, available;
        };
        // Takes it out under the lock, to be released after it: the deleters may call back.
        LX2_LOCAL Contents takeAll();

        uint64_t heldCount() const { return mHeld.size(); }
        uint64_t pendingCount() const { return mAvailable.size() + mStashed.size(); }

      private:
        std::mutex mLock;
        std::unordered_map<uint64_t, std::shared_ptr<LX2Buffer>> mHeld;
        std::list<std::shared_ptr<LX2Buffer>> mStashed;
        std::list<std::shared_ptr<LX2Buffer>> mAvailable;
    };

  private:
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
