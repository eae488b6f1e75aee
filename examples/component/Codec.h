// What a codec is to the component around it, and the component to its codec.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Buffer.h>
#include <C2Work.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "Settings.h"

namespace lx2::example {

// One work as a codec sees it.
struct Input {
    uint64_t key = 0;    // names the work towards the host; rises from work to work
    uint32_t flags = 0;  // C2FrameData::FLAG_ bits
    C2WorkOrdinalStruct ordinal;
    std::shared_ptr<C2Buffer> buffer;  // never null
};

// What comes of a work.
struct Output {
    c2_status_t result = C2_OK;
    uint32_t flags = 0;                // C2FrameData::FLAG_CORRUPT or none
    std::shared_ptr<C2Buffer> buffer;  // null: none
    bool more = false;                 // another output of this work follows
};

// The component. A codec calls it from within its own calls, on their thread.
class CodecHost {
  public:
    virtual Settings& settings() = 0;

    // Sets what the codec found out, and tells the client with the next output that it gets which
    // of the watched parameters changed by it.
    virtual void update(const std::vector<C2Param*>& params,
                        const std::vector<C2Param::Index>& watched) = 0;
    // Gives the client a parameter with the next output that it gets.
    virtual void announce(std::unique_ptr<C2Param> param) = 0;

    // Gives an output of a work to the client, and the work with its last one. Nothing is done for
    // a work that the client has back already.
    virtual void finish(uint64_t key, Output output) = 0;

    // Tells the client of a fault after which nothing works, once the codec's call returns. All
    // work goes back with that status.
    virtual void fail(c2_status_t status) = 0;

    // True as soon as the client has flushed or stops: what the codec waits for is of no use any
    // more, and its call is to return.
    virtual const std::atomic<bool>& interrupted() const = 0;

    // The client's output pool, or the basic one of this id where the client named none.
    virtual std::shared_ptr<C2BlockPool> outputPool(C2BlockPool::local_id_t basic) = 0;

  protected:
    ~CodecHost() = default;
};

// A codec. start() and stop() are called by the client's threads while there is no worker thread,
// the others by the one worker thread.
class Codec {
  public:
    virtual ~Codec() = default;

    // Reads the settings and gets ready. C2_OK; C2_NO_MEMORY; C2_BAD_VALUE for settings that it
    // can't work with.
    virtual c2_status_t start() = 0;

    // Lets all memory and buffers go. Called after a start that failed, too.
    virtual void stop() = 0;

    // Takes one work, and finishes it now, in a later call, or in drain().
    virtual void process(const Input& input) = 0;

    // Finishes what it still has. What it leaves is returned without a buffer. endsStream: what
    // comes next refers to nothing before.
    virtual void drain(bool endsStream) = 0;

    // Forgets what it still has: the client has it back.
    virtual void flush() = 0;
};

}  // namespace lx2::example
