// The decoder component with one fault, which LX2_FAULT names: what the checks of components are to
// find. Nothing is wrong without it.
#include <C2Component.h>
#include <C2ComponentFactory.h>
#include <C2Config.h>
#include <C2PlatformSupport.h>
#include <lx2/LX2Buffer.h>
#include <lx2host/BlockPools.h>
#include <lx2host/ComponentLoader.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace {

using Works = std::list<std::unique_ptr<C2Work>>;

bool Has(const char* fault) {
    const char* set = getenv("LX2_FAULT");
    return set != nullptr && std::string(set) == fault;
}

std::unique_ptr<C2Work> CloneOf(const C2Work& work) {
    auto clone = std::make_unique<C2Work>();
    clone->input.ordinal = work.input.ordinal;
    clone->input.flags = work.input.flags;
    clone->worklets.push_back(std::make_unique<C2Worklet>());
    clone->worklets.front()->output.ordinal = work.input.ordinal;
    clone->workletsProcessed = 1;
    return clone;
}

class Faulty : public C2Component,
               public C2Component::Listener,
               public std::enable_shared_from_this<Faulty> {
  public:
    using Listener = C2Component::Listener;

    explicit Faulty(std::shared_ptr<C2Component> real) : mReal(std::move(real)) {}
    ~Faulty() override { mMappings.clear(); }

    void onWorkDone_nb(std::weak_ptr<C2Component>, Works works) override {
        Works extra;
        for (auto& work : works)
            spoil(work, &extra);
        works.remove(nullptr);
        works.splice(works.end(), extra);
        if (const auto listener = mListener.lock())
            listener->onWorkDone_nb(weak_from_this(), std::move(works));
    }
    void onTripped_nb(std::weak_ptr<C2Component>,
                      std::vector<std::shared_ptr<C2SettingResult>>) override {}
    void onError_nb(std::weak_ptr<C2Component>, uint32_t) override {}

    c2_status_t setListener_vb(const std::shared_ptr<Listener>& listener,
                               c2_blocking_t mayBlock) override {
        mListener = listener;
        return mReal->setListener_vb(listener != nullptr ? shared_from_this() : nullptr, mayBlock);
    }
    c2_status_t queue_nb(Works* const items) override {
        if (!items->empty() && Has("frames to drop come"))
            items->front()->input.flags =
                C2FrameData::flags_t(items->front()->input.flags & ~C2FrameData::FLAG_DROP_FRAME);
        const bool any = !items->empty();
        const c2_status_t status = mReal->queue_nb(items);
        if (any && Has("list is not emptied"))
            items->push_back(nullptr);
        return status;
    }
    c2_status_t announce_nb(const std::vector<C2WorkOutline>&) override { return C2_OMITTED; }
    c2_status_t flush_sm(flush_mode_t mode, Works* const flushed) override {
        const c2_status_t status = mReal->flush_sm(mode, flushed);
        if (Has("flush keeps work"))
            flushed->clear();
        return status;
    }
    c2_status_t drain_nb(drain_mode_t mode) override {
        return Has("drain does nothing") ? C2_OK : mReal->drain_nb(mode);
    }
    c2_status_t start() override {
        static bool slept = false;
        if (Has("start is slow") && !std::exchange(slept, true))
            std::this_thread::sleep_for(std::chrono::milliseconds(600));
        static std::shared_ptr<C2Component> kept;
        kept = Has("component is kept") ? shared_from_this() : nullptr;
        const c2_status_t status = mReal->start();
        if (status == C2_OK && !Has("pool is not used"))
            handOnPool();
        return status;
    }
    c2_status_t stop() override {
        const c2_status_t status = mReal->stop();
        if (const auto listener = mListener.lock(); listener != nullptr && mLast != nullptr) {
            Works late;
            late.push_back(std::move(mLast));
            listener->onWorkDone_nb(weak_from_this(), std::move(late));
        }
        return Has("stop twice is taken") ? C2_OK : status;
    }
    c2_status_t reset() override {
        if (Has("reset keeps values"))
            return mReal->stop(), C2_OK;
        return Has("reset fails") ? C2_BAD_STATE : mReal->reset();
    }
    c2_status_t release() override {
        return Has("release is refused") ? C2_BAD_STATE : mReal->release();
    }
    std::shared_ptr<C2ComponentInterface> intf() override { return mReal->intf(); }

  private:
    // A pool is its component's alone: the client's was made for this one.
    void handOnPool() {
        std::vector<std::unique_ptr<C2Param>> ids;
        mReal->intf()->query_vb({}, {uint32_t{C2PortBlockPoolsTuning::output::PARAM_TYPE}},
                                C2_MAY_BLOCK, &ids);
        const auto id = C2PortBlockPoolsTuning::output::From(ids.front().get())->m.values[0];
        std::shared_ptr<C2BlockPool> pool;
        if (android::GetCodec2BlockPool(id, shared_from_this(), &pool) == C2_OK)
            lx2::host::RegisterBlockPool(pool, mReal);
    }
    void spoil(std::unique_ptr<C2Work>& work, Works* extra) {
        C2FrameData& output = work->worklets.front()->output;
        const bool third = work->input.ordinal.frameIndex.peeku() == 2;
        if (Has("size is not announced"))
            output.configUpdate.clear();
        if (Has("update is not kept"))
            output.configUpdate.push_back(C2Param::Copy(C2StreamPixelFormatInfo::output(0u, 1)));
        if (Has("last frame is lost") && (work->input.flags & C2FrameData::FLAG_END_OF_STREAM) != 0)
            output.buffers.clear();
        if (Has("picture is another's") && !output.buffers.empty()) {
            const auto last = std::exchange(mKept, output.buffers.front());
            output.buffers.front() = last != nullptr ? last : mKept;
        }
        if (Has("end is lost"))
            output.flags = C2FrameData::flags_t(output.flags & ~C2FrameData::FLAG_END_OF_STREAM);
        if (Has("buffer is kept") && !output.buffers.empty())
            mKept = output.buffers.front();
        if (Has("buffer stays mapped") && !output.buffers.empty())
            mMappings.push_back(
                lx2::LX2Buffer::CreateFromC2Buffer(output.buffers.front())->graphic()->map());
        if (!third)
            return;
        if (Has("work comes twice"))
            extra->push_back(CloneOf(*work));
        if (Has("ordinal is wrong"))
            output.ordinal.frameIndex += 1000;
        if (Has("time stamp is wrong"))
            output.ordinal.timestamp -= 1;
        if (Has("is not processed"))
            work->workletsProcessed = 0;
        if (Has("input is kept"))
            work->input.buffers.push_back(output.buffers.empty() ? nullptr
                                                                 : output.buffers.front());
        if (Has("fails with a buffer"))
            work->result = C2_CORRUPTED;
        if (Has("callback after stop"))
            mLast = CloneOf(*work);
        if (Has("work is lost"))
            work.reset();
    }

    const std::shared_ptr<C2Component> mReal;
    std::weak_ptr<Listener> mListener;
    std::unique_ptr<C2Work> mLast;
    std::shared_ptr<C2Buffer> mKept;
    std::vector<std::unique_ptr<lx2::LX2Buffer::Mapping>> mMappings;
};

class Factory : public C2ComponentFactory {
  public:
    c2_status_t createComponent(c2_node_id_t, std::shared_ptr<C2Component>* const component,
                                ComponentDeleter deleter) override {
        if (Has("deleter is not used"))
            deleter = std::default_delete<C2Component>();
        *component = std::shared_ptr<Faulty>(new Faulty(mLibrary->createComponent()), deleter);
        return C2_OK;
    }
    c2_status_t createInterface(c2_node_id_t,
                                std::shared_ptr<C2ComponentInterface>* const interface,
                                InterfaceDeleter deleter) override {
        const auto real = mLibrary->createInterface();
        *interface = {real.get(), [real, deleter](C2ComponentInterface*) {}};
        return C2_OK;
    }

  private:
    std::string mError;
    std::shared_ptr<lx2::host::ComponentLibrary> mLibrary =
        lx2::host::ComponentLibrary::Open(LX2_DECODER, &mError);
};

}  // namespace

extern "C" __attribute__((visibility("default"))) C2ComponentFactory* CreateCodec2Factory() {
    return new Factory;
}
extern "C" __attribute__((visibility("default"))) void DestroyCodec2Factory(
    C2ComponentFactory* factory) {
    delete factory;
}
