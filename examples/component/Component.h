// A Codec 2.0 component around a codec: its states, its queue of work, its worker thread, and the
// way of each work back to the client.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Component.h>
#include <C2Work.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <initializer_list>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "Codec.h"
#include "Settings.h"

namespace lx2::example {

class Component final : public C2Component,
                        public std::enable_shared_from_this<Component>,
                        private CodecHost {
  public:
    using MakeCodec = std::unique_ptr<Codec> (*)(CodecHost&);

    Component(std::shared_ptr<Settings> settings, MakeCodec makeCodec);
    ~Component() override;

    c2_status_t setListener_vb(const std::shared_ptr<Listener>& listener,
                               c2_blocking_t mayBlock) override;
    c2_status_t queue_nb(std::list<std::unique_ptr<C2Work>>* const items) override;
    c2_status_t announce_nb(const std::vector<C2WorkOutline>&) override { return C2_OMITTED; }
    c2_status_t flush_sm(flush_mode_t mode,
                         std::list<std::unique_ptr<C2Work>>* const flushedWork) override;
    c2_status_t drain_nb(drain_mode_t mode) override;
    c2_status_t start() override;
    c2_status_t stop() override;
    c2_status_t reset() override;
    c2_status_t release() override;
    std::shared_ptr<C2ComponentInterface> intf() override { return mSettings; }

  private:
    // Failed: after a fatal fault.
    enum class State {
        Stopped,
        Running,
        Failed,
        Released,
        Starting,
        Stopping,
        Resetting,
        Releasing
    };

    struct Pending {
        std::unique_ptr<C2Work> work;
        bool endsStream = false;
        bool started = false;        // the codec had it
        c2_status_t result = C2_OK;  // of one that ends the stream, and waits for the others
    };
    using PendingWork = std::map<uint64_t, Pending>;  // by key

    // key: the work's, or of a drain or a flush the last one's before it.
    struct Task {
        enum Kind { kWork, kDrain, kDrainToEnd, kFlush } kind;
        uint64_t key = 0;
    };

    Settings& settings() override { return *mSettings; }
    void update(const std::vector<C2Param*>& params,
                const std::vector<C2Param::Index>& watched) override;
    void announce(std::unique_ptr<C2Param> param) override { mUpdates.push_back(std::move(param)); }
    void finish(uint64_t key, Output output) override;
    void fill(C2Work* work, const Output& output, uint32_t flags);
    void fail(c2_status_t status) override { mFault = status; }
    const std::atomic<bool>& interrupted() const override { return mInterrupted; }
    std::shared_ptr<C2BlockPool> outputPool(C2BlockPool::local_id_t basic) override;

    bool isWorker() const { return mWorkerId == std::this_thread::get_id(); }
    c2_status_t enter(std::initializer_list<State> from, State through);
    void leave(State to);
    void halt();

    void run();
    void perform(const Task& task);
    void process(uint64_t key);
    void drain(uint64_t last, bool endsStream);
    void finishRest(uint64_t last);
    void giveUp();
    template <typename Call>
    void tellListener(Call call);

    const std::shared_ptr<Settings> mSettings;
    std::unique_ptr<Codec> mCodec;
    std::thread mWorker;
    // The worker's, while there is one.
    c2_status_t mFault = C2_OK;
    std::vector<std::unique_ptr<C2Param>> mUpdates;  // that no output took along yet

    std::mutex mLock;  // of what follows
    std::condition_variable mWake;
    State mState = State::Stopped;
    std::thread::id mWorkerId;
    std::deque<Task> mTasks;
    PendingWork mPending;  // queued, or with the codec
    uint64_t mLastKey = 0;
    uint64_t mPartOut = 0;  // the work of which the client is given a part; 0: none
    bool mHalting = false;
    std::atomic<bool> mInterrupted{false};  // changed under the lock

    // Held during a callback. The client may take the listener away from within one.
    std::recursive_mutex mCallback;
    std::shared_ptr<Listener> mListener;
};

}  // namespace lx2::example
