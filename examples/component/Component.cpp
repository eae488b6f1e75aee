#define ATRACE_TAG ATRACE_TAG_VIDEO
#include "Component.h"

#include <C2Config.h>
#include <C2PlatformSupport.h>
#include <utils/Trace.h>

#include <algorithm>
#include <string>
#include <utility>

namespace lx2::example {

namespace {

bool IsWhole(const std::unique_ptr<C2Work>& work) {
    return work != nullptr && work->worklets.size() == 1 && work->worklets.front() != nullptr;
}

// For an output that is not the last of its work.
std::unique_ptr<C2Work> Clone(const C2Work& work) {
    auto clone = std::make_unique<C2Work>();
    clone->input.flags = work.input.flags;
    clone->input.ordinal = work.input.ordinal;
    clone->worklets.push_back(std::make_unique<C2Worklet>());
    clone->worklets.front()->component = work.worklets.front()->component;
    return clone;
}

void LetInputGo(C2Work* work) {
    for (auto& buffer : work->input.buffers)
        buffer.reset();
}

// Shows in the system's trace which component works on which frame.
std::string TraceName(const C2ComponentInterface& component, const Input& input) {
    return "process frame=" + std::to_string(input.ordinal.frameIndex.peekull()) +
           " time=" + std::to_string(input.ordinal.timestamp.peekll()) +
           " component=" + component.getName() + " id=" + std::to_string(component.getId());
}

}  // namespace

Component::Component(std::shared_ptr<Settings> settings, MakeCodec makeCodec)
    : mSettings(std::move(settings)), mCodec(makeCodec(*this)) {}

Component::~Component() {
    if (mWorker.joinable())
        halt();
}

// Not from a callback, which would wait for itself.
c2_status_t Component::enter(std::initializer_list<State> from, State through) {
    std::lock_guard<std::mutex> guard(mLock);
    if (mState == through)
        return C2_DUPLICATE;
    if (std::find(from.begin(), from.end(), mState) == from.end() || isWorker())
        return C2_BAD_STATE;
    mState = through;
    return C2_OK;
}

void Component::leave(State to) {
    std::lock_guard<std::mutex> guard(mLock);
    mState = to;
    mWake.notify_all();
}

c2_status_t Component::start() {
    c2_status_t status = enter({State::Stopped}, State::Starting);
    if (status != C2_OK)
        return status;
    status = mCodec->start();
    if (status != C2_OK) {
        mCodec->stop();
        leave(State::Stopped);
        return status;
    }
    mFault = C2_OK;
    mWorker = std::thread([this] { run(); });
    leave(State::Running);
    return C2_OK;
}

c2_status_t Component::stop() {
    const c2_status_t status = enter({State::Running}, State::Stopping);
    if (status != C2_OK)
        return status;
    halt();
    leave(State::Stopped);
    return C2_OK;
}

c2_status_t Component::reset() {
    {
        std::unique_lock<std::mutex> lock(mLock);
        if (isWorker())
            return C2_BAD_STATE;
        mWake.wait(lock, [this] {
            return mState != State::Starting && mState != State::Stopping &&
                   mState != State::Releasing;
        });
        if (mState == State::Resetting || mState == State::Released)
            return mState == State::Released ? C2_BAD_STATE : C2_DUPLICATE;
        mState = State::Resetting;
    }
    halt();
    mSettings->reset();
    leave(State::Stopped);
    return C2_OK;
}

c2_status_t Component::release() {
    const c2_status_t status = enter({State::Stopped, State::Failed}, State::Releasing);
    if (status != C2_OK) {
        std::lock_guard<std::mutex> guard(mLock);
        return mState == State::Released ? C2_DUPLICATE : status;
    }
    halt();
    mSettings->close();
    setListener_vb(nullptr, C2_MAY_BLOCK);
    leave(State::Released);
    return C2_OK;
}

// Ends the worker and abandons all work.
void Component::halt() {
    {
        std::lock_guard<std::mutex> guard(mLock);
        mHalting = true;
        mInterrupted = true;
        mWake.notify_all();
    }
    if (mWorker.joinable())
        mWorker.join();
    mCodec->stop();
    PendingWork abandoned;
    std::lock_guard<std::mutex> guard(mLock);
    mTasks.clear();
    mUpdates.clear();
    mPending.swap(abandoned);
    mHalting = false;
    mInterrupted = false;
    mWorkerId = {};
}

c2_status_t Component::setListener_vb(const std::shared_ptr<Listener>& listener,
                                      c2_blocking_t mayBlock) {
    {
        std::lock_guard<std::mutex> guard(mLock);
        if (mState == State::Released || (listener != nullptr && mState != State::Stopped))
            return C2_BAD_STATE;
    }
    std::unique_lock<std::recursive_mutex> callback(mCallback, std::defer_lock);
    if (mayBlock == C2_MAY_BLOCK)
        callback.lock();
    else if (!callback.try_lock())
        return C2_BLOCKING;
    mListener = listener;
    return C2_OK;
}

template <typename Call>
void Component::tellListener(Call call) {
    std::lock_guard<std::recursive_mutex> guard(mCallback);
    if (const std::shared_ptr<Listener> listener = mListener)
        call(*listener);
}

c2_status_t Component::queue_nb(std::list<std::unique_ptr<C2Work>>* const items) {
    if (items == nullptr)
        return C2_BAD_VALUE;
    std::lock_guard<std::mutex> guard(mLock);
    if (mState != State::Running)
        return C2_BAD_STATE;
    if (!std::all_of(items->begin(), items->end(), IsWhole))
        return C2_CANNOT_DO;
    for (auto& work : *items) {
        const bool ends = (work->input.flags & C2FrameData::FLAG_END_OF_STREAM) != 0;
        mTasks.push_back({Task::kWork, ++mLastKey});
        mPending[mLastKey] = {std::move(work), ends};
    }
    items->clear();
    mWake.notify_all();
    return C2_OK;
}

// All work goes back at once, but for codec configuration that the codec has not seen, which what
// is queued next may need, and a work of which a part is on its way to the client.
c2_status_t Component::flush_sm(flush_mode_t,
                                std::list<std::unique_ptr<C2Work>>* const flushedWork) {
    if (flushedWork == nullptr)
        return C2_BAD_VALUE;
    std::lock_guard<std::mutex> guard(mLock);
    if (mState != State::Running)
        return C2_BAD_STATE;
    mTasks = {{Task::kFlush, mLastKey}};
    for (auto each = mPending.begin(); each != mPending.end();) {
        Pending& pending = each->second;
        if (!pending.started && (pending.work->input.flags & C2FrameData::FLAG_CODEC_CONFIG) != 0) {
            mTasks.push_back({Task::kWork, each->first});
            ++each;
        } else if (each->first == mPartOut) {
            ++each;
        } else {
            flushedWork->push_back(std::move(pending.work));
            each = mPending.erase(each);
        }
    }
    mInterrupted = true;
    mWake.notify_all();
    return C2_OK;
}

c2_status_t Component::drain_nb(drain_mode_t mode) {
    std::lock_guard<std::mutex> guard(mLock);
    if (mState != State::Running)
        return C2_BAD_STATE;
    if (mode != DRAIN_COMPONENT_WITH_EOS && mode != DRAIN_COMPONENT_NO_EOS)
        return C2_BAD_VALUE;
    const bool ends = mode == DRAIN_COMPONENT_WITH_EOS;
    if (ends && !mPending.empty())
        mPending.rbegin()->second.endsStream = true;
    mTasks.push_back({ends ? Task::kDrainToEnd : Task::kDrain, mLastKey});
    mWake.notify_all();
    return C2_OK;
}

std::shared_ptr<C2BlockPool> Component::outputPool(C2BlockPool::local_id_t basic) {
    const auto ids = mSettings->get<C2PortBlockPoolsTuning::output>();
    const bool named = ids != nullptr && ids->flexCount() > 0;
    std::shared_ptr<C2BlockPool> pool;
    if (!named || android::GetCodec2BlockPool(ids->m.values[0], shared_from_this(), &pool) != C2_OK)
        android::GetCodec2BlockPool(basic, shared_from_this(), &pool);
    return pool;
}

void Component::update(const std::vector<C2Param*>& params,
                       const std::vector<C2Param::Index>& watched) {
    for (auto& changed : mSettings->update(params, watched))
        announce(std::move(changed));
}

void Component::fill(C2Work* work, const Output& output, uint32_t flags) {
    C2FrameData& filled = work->worklets.front()->output;
    filled.flags = static_cast<C2FrameData::flags_t>(output.flags | flags);
    filled.ordinal = work->input.ordinal;
    filled.buffers.clear();
    if (output.buffer != nullptr && output.result == C2_OK)
        filled.buffers.push_back(output.buffer);
    filled.configUpdate = std::exchange(mUpdates, {});
    work->workletsProcessed = 1;
    work->result = output.result;
    LetInputGo(work);
}

// A work that ends the stream goes back as the last one: what comes of it while others wait travels
// in a clone.
void Component::finish(uint64_t key, Output output) {
    std::list<std::unique_ptr<C2Work>> done;
    {
        std::lock_guard<std::mutex> guard(mLock);
        const auto found = mPending.find(key);
        if (found == mPending.end())
            return;
        Pending& pending = found->second;
        if (pending.endsStream && !output.more && found != mPending.begin()) {
            pending.result = output.result;
            if (output.buffer == nullptr)
                return;
            output.more = true;
        }
        if (output.result == C2_OK)
            output.result = pending.result;
        if (output.more) {
            done.push_back(Clone(*pending.work));
            fill(done.back().get(), output, C2FrameData::FLAG_INCOMPLETE);
            mPartOut = key;
        } else {
            done.push_back(std::move(pending.work));
            fill(done.back().get(), output,
                 pending.endsStream ? uint32_t{C2FrameData::FLAG_END_OF_STREAM} : 0);
            mPending.erase(found);
        }
    }
    tellListener(
        [&](Listener& listener) { listener.onWorkDone_nb(weak_from_this(), std::move(done)); });
    std::lock_guard<std::mutex> guard(mLock);
    mPartOut = 0;
}

// Of the works up to this one, those that the codec had and has nothing for.
void Component::finishRest(uint64_t last) {
    std::vector<uint64_t> rest;
    {
        std::lock_guard<std::mutex> guard(mLock);
        for (const auto& [key, pending] : mPending)
            if (key <= last && pending.started)
                rest.push_back(key);
    }
    for (const uint64_t key : rest)
        finish(key, {});
}

void Component::run() {
    {
        std::lock_guard<std::mutex> guard(mLock);
        mWorkerId = std::this_thread::get_id();
    }
    while (mFault == C2_OK) {
        Task task;
        {
            std::unique_lock<std::mutex> lock(mLock);
            mWake.wait(lock, [this] { return mHalting || !mTasks.empty(); });
            if (mHalting)
                return;
            task = mTasks.front();
            mTasks.pop_front();
            if (task.kind == Task::kFlush)
                mInterrupted = false;
        }
        perform(task);
    }
    giveUp();
}

void Component::perform(const Task& task) {
    if (task.kind == Task::kWork) {
        process(task.key);
    } else if (task.kind == Task::kFlush) {
        mCodec->flush();
        finishRest(task.key);
    } else {
        drain(task.key, task.kind == Task::kDrainToEnd);
    }
}

void Component::process(uint64_t key) {
    Input input;
    std::vector<std::unique_ptr<C2Param>> changes;
    bool ends = false;
    {
        std::lock_guard<std::mutex> guard(mLock);
        const auto found = mPending.find(key);
        if (found == mPending.end())
            return;
        found->second.started = true;
        const C2FrameData& given = found->second.work->input;
        ends = (given.flags & C2FrameData::FLAG_END_OF_STREAM) != 0;
        input = {key, static_cast<uint32_t>(given.flags), given.ordinal,
                 given.buffers.empty() ? nullptr : given.buffers.front()};
        for (const auto& param : given.configUpdate)
            changes.push_back(param == nullptr ? nullptr : C2Param::Copy(*param));
    }
    ATRACE_NAME(ATRACE_ENABLED() ? TraceName(*mSettings, input).c_str() : "");
    std::vector<C2Param*> params;
    for (const auto& change : changes)
        params.push_back(change.get());
    std::vector<std::unique_ptr<C2SettingResult>> failures;
    if (!params.empty())
        mSettings->config_vb(params, C2_MAY_BLOCK, &failures);

    if (input.buffer != nullptr)
        mCodec->process(input);
    else if (!ends)
        finish(key, {});
    input.buffer.reset();
    {
        std::lock_guard<std::mutex> guard(mLock);
        const auto found = mPending.find(key);
        if (found != mPending.end())
            LetInputGo(found->second.work.get());
    }
    if (ends && mFault == C2_OK)
        drain(key, true);
}

void Component::drain(uint64_t last, bool endsStream) {
    mCodec->drain(endsStream);
    if (mFault == C2_OK)
        finishRest(last);
}

void Component::giveUp() {
    std::list<std::unique_ptr<C2Work>> failed;
    {
        std::lock_guard<std::mutex> guard(mLock);
        for (auto& [key, pending] : mPending) {
            Output output;
            output.result = mFault;
            fill(pending.work.get(), output, 0);
            failed.push_back(std::move(pending.work));
        }
        mPending.clear();
        mTasks.clear();
        if (mState == State::Running)
            mState = State::Failed;
    }
    tellListener([&](Listener& listener) {
        if (!failed.empty())
            listener.onWorkDone_nb(weak_from_this(), std::move(failed));
        listener.onError_nb(weak_from_this(), static_cast<uint32_t>(mFault));
    });
}

}  // namespace lx2::example
