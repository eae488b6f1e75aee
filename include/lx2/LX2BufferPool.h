// Pools that fetch blocks from a C2 block pool and hand them out as LX2Buffers.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Buffer.h>
#include <lx2/Export.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2Status.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

namespace lx2 {

// Hands out linear buffers of one size. Keeps none of its own: every call fetches a new block.
//
// Set the alignment first, then the size, then allocate: the alignment applies only when the size
// is set. No locking: setters must not run while another thread allocates.
class LX2_API LX2LinearBufferPool {
  public:
    // Shares ownership of pool, which may be null. usage: C2MemoryUsage bits. A pool used at once
    // hands out 4096 bytes.
    LX2LinearBufferPool(std::shared_ptr<C2BlockPool> pool, uint64_t usage);

    // Bytes of each buffer, rounded up by the alignment set so far, in 32 bits: a size within an
    // alignment of 2^32 wraps to 0, and the next allocate says that no size was given. C2_OK
    // always.
    LX2Status setBufferSize(uint32_t size);

    // Alignment of sizes set from now on, in bytes; a power of two.
    // C2_OK; C2_BAD_VALUE, logged, for 0 (the old alignment stays).
    LX2Status setAlignment(uint32_t alignment);

    // C2MemoryUsage bits of buffers fetched from now on. The bit of value 2 (read-protected) stays
    // set once it was given. C2_OK always.
    LX2Status setUsage(uint64_t usage);

    // Fetches a block into *out, whose former buffer is released first.
    // C2_OK; LX2_ERROR for a null out; C2_NO_INIT, logged, without a C2 pool or with size 0; else
    // the C2 pool's status, logged. *out is empty after a failure.
    LX2Status allocate(std::shared_ptr<LX2Buffer>* out);

  private:
    std::shared_ptr<C2BlockPool> mPool;
    uint64_t mUsage;
    uint32_t mBufferSize = 4096;
    uint32_t mAlignment = 1;
};

// Is told of buffers that are gone. Implemented by components.
class LX2_API LX2BufferDeleteCallback {
  public:
    virtual ~LX2BufferDeleteCallback();

    // buffer: the address that the destroyed buffer had, an identity and nothing more. Called on
    // the thread that released the last reference, with no lock of the pool's held: references may
    // be held and dropped from here. A pool that is being destroyed has none left to drop, and
    // nothing may be held in it any more.
    virtual void onBufferDeleted(LX2Buffer* buffer) = 0;
};

// Hands out graphic buffers of one resolution, format and usage, and keeps track of those that the
// component still refers to: a buffer that the C2 pool offers again while the component holds it is
// parked, and handed out once the hold is dropped.
//
// Set the format before the usage, or call configure(). References may be held and dropped on any
// thread while another allocates; setters and registerCallback must not run while another thread
// allocates.
//
// The first graphic buffer of a process makes the connection to the mapper service. Let one thread
// have one, or call LX2Mapper3Helper::Get(), before several start: of two that race for it the
// later replaces the earlier's, which may still be in use.
class LX2_API LX2GraphicBufferPool {
  public:
    // A pool over a C2 block pool, shared, which may be null. flag is kept and not consulted.
    static std::unique_ptr<LX2GraphicBufferPool> Create(std::shared_ptr<C2BlockPool> pool,
                                                        bool flag = false);

    LX2GraphicBufferPool() = default;
    virtual ~LX2GraphicBufferPool();
    LX2GraphicBufferPool(const LX2GraphicBufferPool&) = delete;
    LX2GraphicBufferPool& operator=(const LX2GraphicBufferPool&) = delete;

    // Tells callback of each buffer allocated from now on when it is gone. Each call is noted in
    // the log, at error priority although nothing is wrong. C2_OK.
    virtual LX2Status registerCallback(std::weak_ptr<LX2BufferDeleteCallback> callback) = 0;

    // Sets format, usage and resolution, in the order that they need. The size is that of the
    // picture, in pixels and rows; the allocator adds the padding of the format. C2_OK.
    LX2Status configure(uint32_t width, uint32_t height, uint32_t format, uint64_t usage);

    // The size of the picture, in pixels and rows, without padding. C2_OK.
    virtual LX2Status setResolution(uint32_t width, uint32_t height) = 0;

    // A PixFormat value; a compressed one makes the pool ask for the compressed layout. C2_OK.
    virtual LX2Status setFormat(uint32_t format) = 0;

    // C2MemoryUsage bits. While the format is a compressed one, the request for the compressed
    // layout is not taken back. C2_OK.
    virtual LX2Status setUsage(uint64_t usage) = 0;

    // Hands out a parked buffer whose hold was dropped and whose geometry still fits, or fetches
    // one, into *out, whose former buffer is released first. C2_OK; C2_TIMED_OUT when none can be
    // had now (try again later); LX2_ERROR for a null out; C2_NO_INIT, logged, without a C2 pool,
    // resolution or format; else the C2 pool's status, logged. *out is empty after a failure.
    //
    // A parked buffer fits if width, height and format() of its view are those that were set. In
    // two cases they never are, and parked buffers are given back instead: RGBA8888_CMPX, which the
    // pool keeps as RGBA8888, and the allocator's own codes for NV12 (0x22, 0x102, 0x7F000789),
    // which a view reports as MIREL_NV12 or MIREL_NV12_CMPX.
    virtual LX2Status allocate(std::shared_ptr<LX2Buffer>* out) = 0;

    // Keeps a graphic buffer under an id of the component's choice.
    // C2_OK; LX2_BAD_ARG for a null or not graphic buffer; C2_CANNOT_DO for an id in use, which
    // keeps its buffer.
    virtual LX2Status holdReference(uint64_t id, std::shared_ptr<LX2Buffer> buffer) = 0;

    // Lets the buffer of an id go, and with it one of the buffers that are parked because of its
    // allocation: the next allocate may hand that one out, even while the same allocation is still
    // held under another id. C2_OK; C2_CANNOT_DO for an unknown id.
    virtual LX2Status dropReference(uint64_t id) = 0;

    // Lets all held and parked buffers go. C2_OK.
    virtual LX2Status dropAllReferences() = 0;

    // Buffers held, and buffers parked or waiting to be handed out again; either pointer may be
    // null. A snapshot.
    virtual void counts(uint64_t* held, uint64_t* pending) const = 0;

    // Like allocate(), but waits for a buffer: until one can be had, limit is over, or *cancel is
    // true, which another thread may set at any time (for a flush or a stop). Asks again at once
    // after a buffer was parked and after a reference was dropped by another thread, and else every
    // 5 ms, since the C2 pool does not tell when it gets a buffer back. With a limit of 0 or less
    // it asks once. The C2 pool's own waiting, if it has any, comes on top.
    // As allocate(): C2_TIMED_OUT after limit. Additionally C2_CANCELED when *cancel is true, also
    // if a buffer could be had. cancel may be null.
    virtual LX2Status allocateWithin(std::shared_ptr<LX2Buffer>* out,
                                     std::chrono::milliseconds limit,
                                     const std::atomic<bool>* cancel = nullptr);
};

}  // namespace lx2
