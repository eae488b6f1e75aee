// Plays the media framework around a component: queues work, takes back what comes of it, and
// checks each of the things that a framework relies on. For tests of components, in lx2::testkit
// (-llx2testkit):
//
//     lx2::host::Client client(component);
//     client.start();
//     client.queue({lx2::host::LinearBuffer(bytes), 0, timestamp});
//     while (const auto output = client.next()) ...
//     client.stop();
//     EXPECT_THAT(client.failures(), IsEmpty());
//
// Used by one thread at a time; the component calls back from threads of its own.
#pragma once

#include <C2Component.h>
#include <C2Config.h>
#include <lx2host/GraphicPools.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace lx2::host {

// A finished linear buffer with these bytes; null without memory.
std::shared_ptr<C2Buffer> LinearBuffer(const uint8_t* bytes, size_t size);

class Client {
  public:
    struct Input {
        std::shared_ptr<C2Buffer> buffer;                          // null: none
        uint32_t flags = 0;                                        // C2FrameData::FLAG_ bits
        uint64_t timestamp = 0;                                    // microseconds
        std::vector<std::shared_ptr<const C2Param>> updates = {};  // set before it is worked on
    };

    // What came of a work: the whole work, or a part of it (FLAG_INCOMPLETE).
    struct Output {
        uint64_t frameIndex = 0;
        uint64_t timestamp = 0;
        uint32_t flags = 0;
        c2_status_t result = C2_OK;
        std::shared_ptr<C2Buffer> buffer;  // null: none
        std::vector<std::shared_ptr<C2Param>> updates;
    };

    // Becomes the component's listener.
    explicit Client(std::shared_ptr<C2Component> component);
    // Stops and releases the component.
    ~Client();

    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // The component's answers. A call that takes longer than the platform allows is a warning.
    c2_status_t start();
    c2_status_t stop();
    c2_status_t reset();
    c2_status_t release();
    c2_status_t drain(C2Component::drain_mode_t mode);
    c2_status_t queue(Input input);
    c2_status_t flush();
    c2_status_t config(const std::vector<C2Param*>& params);

    // Gives the component a pool of so many slots for its output, as a surface has.
    std::shared_ptr<SlotGraphicPool> useSurface(size_t slots);

    // The component's present value of P; nothing when it has no such parameter.
    template <typename P>
    std::optional<P> query() const {
        P param;
        const c2_status_t status =
            mComponent->intf()->query_vb({&param}, {}, C2_MAY_BLOCK, nullptr);
        return status == C2_OK ? std::optional<P>(param) : std::nullopt;
    }

    // The next output. Nothing when no work is pending, after a fatal error, and when none comes
    // within the limit.
    std::optional<Output> next(std::chrono::milliseconds limit = std::chrono::seconds(30));

    // Works that are not back yet.
    size_t pending() const;
    // What onError_nb() said; C2_OK before.
    c2_status_t fatalError() const;

    // One line for each thing that a framework can't work with, and for what took too long. The
    // first ten of each.
    std::vector<std::string> failures() const;
    std::vector<std::string> warnings() const;

    const std::shared_ptr<C2Component>& component() const { return mComponent; }

  private:
    class Listener;

    const std::shared_ptr<C2Component> mComponent;
    const std::shared_ptr<Listener> mListener;
    uint64_t mNextIndex = 0;
};

}  // namespace lx2::host
