// Plays the media framework behind a component's output: takes finished C2Buffers, checks each
// against what the component promised of it, and keeps it for a while, as a renderer would. For
// tests of components, in lx2::testkit (-llx2testkit):
//
//     lx2::host::Framework framework(2);
//     ... framework.receive(output, {index, timestamp, crop}) for each buffer ...
//     framework.releaseAll();
//     EXPECT_THAT(framework.complaints(), IsEmpty());
//
// Used by one thread at a time.
#pragma once

#include <C2Buffer.h>
#include <C2Config.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace lx2::host {

// The metadata kind of a buffer's presentation time, for requests.
constexpr uint32_t kAvTimestampRequest = 0x42008015;

// What a component says of a buffer that it hands over.
struct Promise {
    uint64_t frameIndex = 0;
    uint64_t timestamp = 0;  // in the buffer's display metadata, later than the frame's before it
    C2Rect crop;
    std::optional<C2ColorAspectsStruct> aspects;  // set in the buffer's display metadata
    bool hdr = false;                             // HDR static info set likewise
    size_t infos = 0;                             // attached to the buffer
};

class Framework {
  public:
    // Keeps a buffer until depth more have come.
    explicit Framework(size_t depth) : mDepth(depth) {}

    // Called with each buffer as the framework lets it go.
    void onRelease(std::function<void(const C2Buffer&)> callback) {
        mOnRelease = std::move(callback);
    }

    // Takes a buffer; complaints() says where it is not what was promised.
    void receive(std::shared_ptr<C2Buffer> buffer, const Promise& promise);

    // Gives the oldest kept buffer back; false when none is kept.
    bool releaseOldest();
    void releaseAll();

    // The first of them, one line each.
    const std::vector<std::string>& complaints() const { return mComplaints; }
    uint64_t received() const { return mReceived; }

  private:
    void check(const std::shared_ptr<C2Buffer>& buffer, const Promise& promise);
    void complain(const Promise& promise, const std::string& what);

    size_t mDepth;
    std::function<void(const C2Buffer&)> mOnRelease;
    uint64_t mReceived = 0;
    uint64_t mLastTimestamp = 0;
    std::deque<std::shared_ptr<C2Buffer>> mKept;
    std::vector<std::string> mComplaints;
};

}  // namespace lx2::host
