#include <C2PlatformSupport.h>
#include <lx2/LX2BufferPool.h>
#include <lx2host/BlockPools.h>
#include <lx2host/Client.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "OutputChecks.h"

namespace lx2::host {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

std::shared_ptr<C2Buffer> LinearBuffer(const uint8_t* bytes, size_t size) {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &blocks);
    LX2LinearBufferPool pool(blocks, C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    pool.setBufferSize(static_cast<uint32_t>(std::max<size_t>(size, 1)));
    std::shared_ptr<LX2Buffer> buffer;
    if (pool.allocate(&buffer) != C2_OK)
        return nullptr;
    if (const auto mapping = buffer->linear()->map(); LX2Buffer::Mapping::IsUsable(mapping))
        std::copy_n(bytes, size, mapping->data());
    buffer->linear()->setRange(0, static_cast<uint32_t>(size));
    return buffer->getSharedBuffer();
}

// What is out, and what came back. Its component's threads and the client's share it.
class Client::Listener : public C2Component::Listener {
  public:
    void onWorkDone_nb(std::weak_ptr<C2Component>,
                       std::list<std::unique_ptr<C2Work>> works) override {
        const bool alone = !mCalling.exchange(true);
        std::lock_guard<std::mutex> guard(mLock);
        if (!alone)
            fail("callbacks overlap");
        for (auto& work : works)
            take(std::move(work), false);
        mCalling = false;
        mChanged.notify_all();
    }
    void onTripped_nb(std::weak_ptr<C2Component>,
                      std::vector<std::shared_ptr<C2SettingResult>>) override {
        std::lock_guard<std::mutex> guard(mLock);
        fail("the component tripped");
    }
    void onError_nb(std::weak_ptr<C2Component>, uint32_t code) override {
        std::lock_guard<std::mutex> guard(mLock);
        if (mFatal != C2_OK)
            fail("a fatal error was told twice");
        mFatal = static_cast<c2_status_t>(code);
        mChanged.notify_all();
    }

    void begin(const Client& client) {
        std::lock_guard<std::mutex> guard(mLock);
        mChecks.emplace(client);
        mRunning = true;
        mFatal = C2_OK;
    }
    // Of work that was abandoned, nothing comes back.
    void end() {
        std::map<uint64_t, Queued> abandoned;
        std::lock_guard<std::mutex> guard(mLock);
        mRunning = false;
        mQueued.swap(abandoned);
        mOutputs.clear();
        for (const auto& [index, queued] : abandoned) {
            for (const auto& input : queued.buffers)
                if (!input.expired())
                    mKept.emplace_back(index, input);
        }
    }
    // Buffers that are still held some time after they should have been let go.
    void checkKept() {
        std::lock_guard<std::mutex> guard(mLock);
        for (const auto& [index, buffer] : mKept)
            if (!buffer.expired())
                failWork(index, "its input buffer is kept after the stop");
        mKept.clear();
    }

    void add(const C2Work& work) {
        std::lock_guard<std::mutex> guard(mLock);
        Queued queued{&work, work.input.ordinal, work.input.flags, {}};
        for (const auto& buffer : work.input.buffers)
            queued.buffers.push_back(buffer);
        mQueued[work.input.ordinal.frameIndex.peekull()] = std::move(queued);
    }
    void answered(uint64_t index, c2_status_t status, bool taken) {
        std::lock_guard<std::mutex> guard(mLock);
        if (status != C2_OK)
            mQueued.erase(index);
        else if (!taken)
            failWork(index, "queue leaves it in the list");
    }
    void takeFlushed(std::list<std::unique_ptr<C2Work>> works) {
        std::lock_guard<std::mutex> guard(mLock);
        for (auto& work : works)
            take(std::move(work), true);
        mOutputs.clear();
        mDrains = std::min(mDrains, mQueued.size());  // some may be on their way
        if (mChecks)
            mChecks->restart();
    }
    // The last work that is out is the stream's end now.
    void endStream() {
        std::lock_guard<std::mutex> guard(mLock);
        ++mDrains;
    }

    std::optional<Output> next(milliseconds limit) {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait_for(lock, limit, [this] {
            return !mOutputs.empty() || mQueued.empty() || mFatal != C2_OK;
        });
        if (mOutputs.empty())
            return std::nullopt;
        Output output = std::move(mOutputs.front());
        mOutputs.pop_front();
        return output;
    }
    size_t pending() const {
        std::lock_guard<std::mutex> guard(mLock);
        return mQueued.size();
    }
    c2_status_t fatal() const {
        std::lock_guard<std::mutex> guard(mLock);
        return mFatal;
    }
    std::vector<std::string> failures() const {
        std::lock_guard<std::mutex> guard(mLock);
        return mFailures;
    }
    std::vector<std::string> warnings() const {
        std::lock_guard<std::mutex> guard(mLock);
        return mWarnings;
    }

    // Says when a call took longer than the platform allows.
    void timed(const char* call, milliseconds limit, Clock::time_point start) {
        const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
        std::lock_guard<std::mutex> guard(mLock);
        if (took > limit)
            add(&mWarnings, std::string(call) + " took " + std::to_string(took.count()) + " of " +
                                std::to_string(limit.count()) + " ms");
    }

  private:
    struct Queued {
        const C2Work* work;
        C2WorkOrdinalStruct ordinal;
        uint32_t flags;
        std::vector<std::weak_ptr<C2Buffer>> buffers;
    };

    static void add(std::vector<std::string>* lines, std::string line) {
        constexpr size_t kKept = 10;
        if (lines->size() < kKept)
            lines->push_back(std::move(line));
    }
    void fail(std::string what) { add(&mFailures, std::move(what)); }
    void failWork(uint64_t index, const std::string& what) {
        fail("work " + std::to_string(index) + ": " + what);
    }

    void take(std::unique_ptr<C2Work> work, bool flushed) {
        if (work == nullptr || work->worklets.size() != 1 || work->worklets.front() == nullptr)
            return fail("a work without its worklet came back");
        const uint64_t index = work->input.ordinal.frameIndex.peekull();
        if (!mRunning)
            return failWork(index, "came back after the component was stopped");
        const auto found = mQueued.find(index);
        if (found == mQueued.end())
            return failWork(index, "came back, and is not out");
        if (!flushed)
            deliver(*work, found->second);
        const bool whole =
            flushed || (work->worklets.front()->output.flags & C2FrameData::FLAG_INCOMPLETE) == 0;
        if (whole && work.get() != found->second.work)
            failWork(index, "another object came back than was queued");
        if (whole)
            mQueued.erase(found);
    }

    void deliver(const C2Work& work, const Queued& queued) {
        C2FrameData& filled = work.worklets.front()->output;
        Output output{queued.ordinal.frameIndex.peekull(),
                      queued.ordinal.timestamp.peekull(),
                      filled.flags,
                      work.result,
                      nullptr,
                      {}};
        const uint64_t index = output.frameIndex;
        if (filled.ordinal.frameIndex != queued.ordinal.frameIndex ||
            filled.ordinal.timestamp != queued.ordinal.timestamp ||
            filled.ordinal.customOrdinal != queued.ordinal.customOrdinal)
            failWork(index, "the output's ordinal is not the input's");
        if (work.result == C2_OK && work.workletsProcessed != 1)
            failWork(index, "workletsProcessed is " + std::to_string(work.workletsProcessed));
        if (filled.buffers.size() > 1)
            failWork(index, "has several output buffers");
        if (!filled.buffers.empty())
            output.buffer = filled.buffers.front();
        for (const auto& buffer : work.input.buffers)
            if (buffer != nullptr)
                failWork(index, "came back with its input buffer");
        for (auto& update : filled.configUpdate)
            if (update != nullptr)
                output.updates.push_back(std::move(update));
        checkEnd(queued, output);
        for (const std::string& fault : mChecks->check(output))
            failWork(index, fault);
        mOutputs.push_back(std::move(output));
    }

    // END_OF_STREAM comes back with the work that had it, as its last output.
    void checkEnd(const Queued& queued, const Output& output) {
        const uint32_t kEnd = C2FrameData::FLAG_END_OF_STREAM;
        const bool given = (queued.flags & kEnd) != 0 || mDrains > 0;
        const bool whole = (output.flags & C2FrameData::FLAG_INCOMPLETE) == 0;
        if ((output.flags & kEnd) != 0 && !given)
            failWork(output.frameIndex, "ends a stream that was not to end");
        if ((queued.flags & kEnd) != 0 && whole && output.result == C2_OK &&
            (output.flags & kEnd) == 0)
            failWork(output.frameIndex, "came back without the end of the stream");
        if ((output.flags & kEnd) != 0) {
            mChecks->restart();
            mDrains -= (queued.flags & kEnd) == 0 && mDrains > 0 ? 1 : 0;
        }
    }

    std::atomic<bool> mCalling{false};
    mutable std::mutex mLock;  // of what follows
    std::condition_variable mChanged;
    std::map<uint64_t, Queued> mQueued;  // by frame index
    std::deque<Output> mOutputs;
    std::optional<OutputChecks> mChecks;
    std::vector<std::pair<uint64_t, std::weak_ptr<C2Buffer>>> mKept;
    bool mRunning = false;
    size_t mDrains = 0;  // whose ends are still to come, as far as works are out
    c2_status_t mFatal = C2_OK;
    std::vector<std::string> mFailures, mWarnings;
};

namespace {

// The platform's limits.
constexpr milliseconds kStateChange{500}, kQuick{1}, kFlush{5};

}  // namespace

Client::Client(std::shared_ptr<C2Component> component)
    : mComponent(std::move(component)), mListener(std::make_shared<Listener>()) {
    mComponent->setListener_vb(mListener, C2_MAY_BLOCK);
}

Client::~Client() {
    stop();
    mComponent->reset();
    mComponent->setListener_vb(nullptr, C2_MAY_BLOCK);
    release();
}

c2_status_t Client::start() {
    mListener->begin(*this);
    const auto time = Clock::now();
    const c2_status_t status = mComponent->start();
    mListener->timed("start", kStateChange, time);
    return status;
}

c2_status_t Client::stop() {
    const auto time = Clock::now();
    const c2_status_t status = mComponent->stop();
    mListener->timed("stop", kStateChange, time);
    if (status == C2_OK) {
        mListener->end();
        mListener->checkKept();
    }
    return status;
}

c2_status_t Client::reset() {
    const auto time = Clock::now();
    const c2_status_t status = mComponent->reset();
    mListener->timed("reset", kStateChange, time);
    if (status == C2_OK) {
        mListener->end();
        mListener->checkKept();
    }
    return status;
}

c2_status_t Client::release() {
    const auto time = Clock::now();
    const c2_status_t status = mComponent->release();
    mListener->timed("release", kStateChange, time);
    return status;
}

c2_status_t Client::drain(C2Component::drain_mode_t mode) {
    if (mode == C2Component::DRAIN_COMPONENT_WITH_EOS)
        mListener->endStream();
    const auto time = Clock::now();
    const c2_status_t status = mComponent->drain_nb(mode);
    mListener->timed("drain", kQuick, time);
    return status;
}

c2_status_t Client::queue(Input input) {
    auto work = std::make_unique<C2Work>();
    work->input.flags = static_cast<C2FrameData::flags_t>(input.flags);
    work->input.ordinal.timestamp = input.timestamp;
    work->input.ordinal.frameIndex = mNextIndex;
    work->input.ordinal.customOrdinal = input.timestamp;
    if (input.buffer != nullptr)
        work->input.buffers.push_back(std::move(input.buffer));
    for (const auto& update : input.updates)
        work->input.configUpdate.push_back(C2Param::Copy(*update));
    work->worklets.push_back(std::make_unique<C2Worklet>());
    mListener->add(*work);
    std::list<std::unique_ptr<C2Work>> works;
    works.push_back(std::move(work));
    const auto time = Clock::now();
    const c2_status_t status = mComponent->queue_nb(&works);
    mListener->timed("queue", kQuick, time);
    mListener->answered(mNextIndex++, status, works.empty());
    return status;
}

c2_status_t Client::flush() {
    std::list<std::unique_ptr<C2Work>> works;
    const auto time = Clock::now();
    const c2_status_t status = mComponent->flush_sm(C2Component::FLUSH_COMPONENT, &works);
    mListener->timed("flush", kFlush, time);
    if (status == C2_OK)
        mListener->takeFlushed(std::move(works));
    return status;
}

c2_status_t Client::config(const std::vector<C2Param*>& params) {
    std::vector<std::unique_ptr<C2SettingResult>> failures;
    return mComponent->intf()->config_vb(params, C2_MAY_BLOCK, &failures);
}

std::shared_ptr<SlotGraphicPool> Client::useSurface(size_t slots) {
    auto pool = std::make_shared<SlotGraphicPool>(slots);
    const auto ids = C2PortBlockPoolsTuning::output::AllocUnique(1);
    ids->m.values[0] = RegisterBlockPool(pool, mComponent);
    config({ids.get()});
    return pool;
}

std::optional<Client::Output> Client::next(milliseconds limit) {
    return mListener->next(limit);
}

size_t Client::pending() const {
    return mListener->pending();
}

c2_status_t Client::fatalError() const {
    return mListener->fatal();
}

std::vector<std::string> Client::failures() const {
    return mListener->failures();
}

std::vector<std::string> Client::warnings() const {
    return mListener->warnings();
}

}  // namespace lx2::host
