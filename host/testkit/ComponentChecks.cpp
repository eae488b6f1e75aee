#include <C2Config.h>
#include <lx2host/OpenResources.h>

#include <thread>
#include <utility>

#include "CheckSubject.h"

namespace lx2::host {

namespace {

using std::chrono::milliseconds;
using Unit = TestStream::Unit;
using Subject = CheckSubject;

constexpr uint32_t kEnd = C2FrameData::FLAG_END_OF_STREAM;

// Of each work the client checks that it comes back, with its end of the stream where it has one.
class Checks {
  public:
    Checks(const std::shared_ptr<ComponentLibrary>& library, const std::vector<TestStream>& streams,
           milliseconds patience)
        : mLibrary(library), mStreams(streams), mPatience(patience) {
        if (!streams.empty())
            mUnits = streams.front().units;
        else
            mUnits.resize(30);  // pictures, for those that take them
        mMediaType = streams.empty() ? "" : streams.front().mediaType;
    }

    std::vector<ComponentCheck> run(const std::function<void(const ComponentCheck&)>& done,
                                    const std::function<void(const std::string&)>& begin);

  private:
    struct Row {
        const char* name;
        enum Needs { kNothing, kInput, kStream, kPictures } needs;
        void (Checks::*check)(Subject&);
    };
    static const Row kRows[];

    void inspect(void (Checks::*check)(Subject&), ComponentCheck* result);

    void takesStream(Subject& subject);
    void factory(Subject& subject);
    void parameters(Subject& subject);
    void emptyCalls(Subject& subject);
    void startAndStop(Subject& subject);
    void wrongStates(Subject& subject);
    void releases(Subject& subject);
    void stopWithWork(Subject& subject);
    void resetToDefaults(Subject& subject);
    void wholeStream(Subject& subject);
    void endAlone(Subject& subject);
    void endInFirst(Subject& subject);
    void endTwice(Subject& subject);
    void drains(Subject& subject);
    void emptyWorks(Subject& subject);
    void flushes(Subject& subject);
    void flushBehindConfig(Subject& subject);
    void keyFramesAlone(Subject& subject);
    void severalStreams(Subject& subject);
    void dropFrames(Subject& subject);
    void oddSizes(Subject& subject);
    void bitrateChange(Subject& subject);

    size_t keyFrameFrom(size_t at) const {
        if (mStreams.empty())
            return at;
        while (at < mUnits.size() && !mUnits[at].keyFrame)
            ++at;
        return at;
    }
    void expectFrames(Subject& subject, uint64_t frames) {
        if (mFrames && subject.frames != frames)
            subject.fail(std::to_string(subject.frames) + " frames in place of " +
                         std::to_string(frames));
    }

    const std::shared_ptr<ComponentLibrary> mLibrary;
    const std::vector<TestStream> mStreams;
    milliseconds mPatience;
    std::vector<Unit> mUnits;
    std::string mMediaType;
    bool mPictures = false;           // are what it takes
    std::optional<uint64_t> mFrames;  // of the whole stream, once it was run
};

const Checks::Row Checks::kRows[] = {
    {"a component for the stream", Row::kNothing, &Checks::takesStream},
    {"the factory", Row::kNothing, &Checks::factory},
    {"parameters are queried and set back", Row::kNothing, &Checks::parameters},
    {"flush without work, and an empty list of work", Row::kNothing, &Checks::emptyCalls},
    {"ten times start and stop, ten times reset", Row::kNothing, &Checks::startAndStop},
    {"calls in the wrong state are refused", Row::kNothing, &Checks::wrongStates},
    {"release, and again", Row::kNothing, &Checks::releases},
    {"a whole stream, with its end", Row::kInput, &Checks::wholeStream},
    {"end of stream without a buffer", Row::kNothing, &Checks::endAlone},
    {"end of stream in the first buffer", Row::kInput, &Checks::endInFirst},
    {"end of stream twice", Row::kInput, &Checks::endTwice},
    {"drain, with and without an end", Row::kInput, &Checks::drains},
    {"empty works in between", Row::kInput, &Checks::emptyWorks},
    {"flush at the start, in the middle, at the end", Row::kInput, &Checks::flushes},
    {"flush between configuration and first frame", Row::kStream, &Checks::flushBehindConfig},
    {"key frames alone", Row::kStream, &Checks::keyFramesAlone},
    {"streams one after another", Row::kStream, &Checks::severalStreams},
    {"frames that are not to be given out", Row::kStream, &Checks::dropFrames},
    {"odd sizes", Row::kPictures, &Checks::oddSizes},
    {"another bit rate on the way", Row::kPictures, &Checks::bitrateChange},
    {"flush, stop and reset abandon work, and end a wait for a buffer", Row::kInput,
     &Checks::stopWithWork},
    {"reset brings the defaults back", Row::kInput, &Checks::resetToDefaults},
};

// Each object that the loader's deleters come with keeps the library.
void Checks::factory(Subject& subject) {
    const auto owners = mLibrary.use_count();
    const auto component = mLibrary->createComponent();
    const auto interface = mLibrary->createInterface();
    subject.expect("createInterface", interface != nullptr);
    if (component == nullptr || interface == nullptr)
        return;
    if (mLibrary.use_count() < owners + 2)
        subject.fail("a deleter is not used: the library is unloaded too early");
    const std::string name = component->intf()->getName();
    if (name.empty() || name != interface->getName())
        subject.fail("the component's name is \"" + name + "\", its interface's \"" +
                     interface->getName() + "\"");
    if (!subject.takesPictures() && MediaTypeOf(*interface).empty())
        subject.fail("input.media-type has no value");
    component->release();
}

void Checks::parameters(Subject& subject) {
    C2ComponentInterface& intf = *subject.client().component()->intf();
    std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors;
    subject.expect("querySupportedParams", intf.querySupportedParams_nb(&descriptors), C2_OK);
    const auto values = ValuesOf(intf);
    for (const auto& descriptor : descriptors) {
        if (values.count(descriptor->name()) == 0)
            subject.fail(descriptor->name() + " has no value");
    }
    for (const auto& [name, value] : values) {
        std::vector<std::unique_ptr<C2SettingResult>> failures;
        subject.expect(name + " set to its own value",
                       intf.config_vb({value.get()}, C2_MAY_BLOCK, &failures), C2_OK);
        if (!failures.empty())
            subject.fail(name + " is refused its own value");
    }
}

void Checks::emptyCalls(Subject& subject) {
    subject.start();
    subject.flush();
    std::list<std::unique_ptr<C2Work>> none;
    subject.expect("an empty list", subject.client().component()->queue_nb(&none), C2_OK);
}

void Checks::startAndStop(Subject& subject) {
    for (int i = 0; i < 10; ++i) {
        subject.start();
        subject.expect("stop", subject.client().stop(), C2_OK);
    }
    for (int i = 0; i < 10; ++i)
        subject.expect("reset", subject.client().reset(), C2_OK);
}

void Checks::wrongStates(Subject& subject) {
    C2Component& component = *subject.client().component();
    std::list<std::unique_ptr<C2Work>> works;
    const auto idle = [&](const std::string& when) {
        subject.expect("stop " + when, component.stop(), C2_BAD_STATE);
        subject.expect("queue " + when, component.queue_nb(&works), C2_BAD_STATE);
        subject.expect("flush " + when, component.flush_sm(C2Component::FLUSH_COMPONENT, &works),
                       C2_BAD_STATE);
        subject.expect("drain " + when, component.drain_nb(C2Component::DRAIN_COMPONENT_WITH_EOS),
                       C2_BAD_STATE);
    };
    idle("before the start");
    subject.start();
    subject.expect("start while running", component.start(), C2_BAD_STATE);
    subject.expect("release while running", component.release(), C2_BAD_STATE);
    subject.expect("stop", subject.client().stop(), C2_OK);
    idle("after the stop");
    subject.start();
    subject.expect("reset", subject.client().reset(), C2_OK);
    idle("after the reset");
}

void Checks::releases(Subject& subject) {
    subject.expect("release", subject.client().release(), C2_OK);
    subject.expect("release again", subject.client().release(), C2_DUPLICATE);
    C2Component& component = *subject.client().component();
    subject.expect("start after it", component.start(), C2_BAD_STATE);
    subject.expect("reset after it", component.reset(), C2_BAD_STATE);
}

void Checks::wholeStream(Subject& subject) {
    subject.comparesPictures = true;
    subject.start();
    subject.queue(mUnits, 0, mUnits.size(), kEnd);
    subject.finish();
    if (subject.frames == 0)
        subject.fail("no frame");
    if (!subject.fromSurface)
        subject.fail("pictures are not from the pool in output.buffers.pool-ids");
    subject.expectUpdatesKept();
    mFrames = subject.frames;
}

void Checks::endAlone(Subject& subject) {
    subject.start();
    subject.queue(nullptr, kEnd);
    subject.finish();
}

void Checks::endInFirst(Subject& subject) {
    subject.start();
    subject.queue(mUnits, 0, 1, kEnd);
    subject.finish();
}

void Checks::endTwice(Subject& subject) {
    subject.start();
    subject.queue(mUnits, 0, mUnits.size());
    subject.queue(nullptr, kEnd);
    subject.queue(nullptr, kEnd);
    subject.finish();
    expectFrames(subject, mFrames.value_or(0));
}

void Checks::drains(Subject& subject) {
    subject.start();
    subject.queue(mUnits, 0, mUnits.size());
    subject.expect("drain", subject.client().drain(C2Component::DRAIN_COMPONENT_NO_EOS), C2_OK);
    subject.finish();
    expectFrames(subject, mFrames.value_or(0));
    subject.queue(mUnits, 0, mUnits.size());
    subject.expect("drain", subject.client().drain(C2Component::DRAIN_COMPONENT_WITH_EOS), C2_OK);
    subject.finish();
    expectFrames(subject, 2 * mFrames.value_or(0));
}

void Checks::emptyWorks(Subject& subject) {
    subject.start();
    const Unit empty;
    for (size_t i = 0; i < mUnits.size(); ++i) {
        subject.queue(&mUnits[i]);
        if (i % 5 == 2)
            subject.queue(nullptr);
    }
    if (!subject.takesPictures())
        subject.queue(&empty);
    subject.queue(nullptr, kEnd);
    subject.finish();
    expectFrames(subject, mFrames.value_or(0));
}

void Checks::flushes(Subject& subject) {
    subject.start();
    subject.flush();
    subject.queue(mUnits, 0, mUnits.size() / 2);
    subject.flush();
    const size_t key = keyFrameFrom(mUnits.size() / 2);
    if (key < mUnits.size()) {
        subject.queue(mUnits, key, mUnits.size(), kEnd);
        subject.finish();
    }
    subject.flush();
    const uint64_t before = subject.frames;
    subject.queue(mUnits, 0, mUnits.size(), kEnd);
    subject.finish();
    expectFrames(subject, before + mFrames.value_or(0));
    subject.flush();
}

void Checks::flushBehindConfig(Subject& subject) {
    const auto picture =
        std::find_if(mUnits.begin(), mUnits.end(), [](const Unit& unit) { return !unit.config; });
    const auto configs = static_cast<size_t>(picture - mUnits.begin());
    subject.start();
    subject.queue(mUnits, 0, configs);
    subject.flush();
    subject.queue(mUnits, configs, mUnits.size(), kEnd);
    subject.finish();
    expectFrames(subject, mFrames.value_or(0));
}

void Checks::keyFramesAlone(Subject& subject) {
    subject.start();
    uint64_t keys = 0;
    for (const Unit& unit : mUnits) {
        if (unit.config || unit.keyFrame)
            subject.queue(&unit);
        keys += unit.keyFrame ? 1 : 0;
    }
    subject.queue(nullptr, kEnd);
    subject.finish();
    expectFrames(subject, keys);
}

void Checks::severalStreams(Subject& subject) {
    subject.comparesPictures = true;
    subject.start();
    for (const TestStream& stream : mStreams) {
        const uint64_t before = subject.frames;
        subject.queue(stream.units, 0, stream.units.size(), kEnd);
        subject.finish();
        subject.expect("frames of each stream", subject.frames > before);
    }
}

void Checks::dropFrames(Subject& subject) {
    subject.start();
    for (const Unit& unit : mUnits)
        subject.queue(&unit, unit.config ? 0 : uint32_t{C2FrameData::FLAG_DROP_FRAME});
    subject.queue(nullptr, kEnd);
    subject.finish();
    expectFrames(subject, 0);
}

void Checks::oddSizes(Subject& subject) {
    for (const auto& [width, height] : {std::pair{175u, 143u}, {2u, 2u}, {33u, 64u}}) {
        subject.setSize(width, height);
        subject.start();
        subject.queue(mUnits, 0, 3, kEnd);
        subject.finish();
        subject.expect("stop", subject.client().stop(), C2_OK);
    }
    subject.expect("three frames of each", subject.frames >= 9);
}

void Checks::bitrateChange(Subject& subject) {
    subject.start();
    subject.queue(mUnits, 0, mUnits.size() / 2);
    C2StreamBitrateInfo::output bitrate(0u, 100000);
    const c2_status_t status = subject.client().config({&bitrate});
    if (status != C2_BAD_INDEX)  // it has one
        subject.expect("config", status, C2_OK);
    subject.queue(mUnits, mUnits.size() / 2, mUnits.size(), kEnd);
    subject.finish();
    expectFrames(subject, mFrames.value_or(0));
}

void Checks::stopWithWork(Subject& subject) {
    for (int i = 0; i < 4; ++i) {
        subject.useSurface(2);  // the client keeps both pictures
        subject.start();
        subject.queue(mUnits, 0, std::min<size_t>(mUnits.size(), 10));
        std::this_thread::sleep_for(milliseconds(10 * i));
        if (i == 2)
            subject.flush();
        if (i % 2 == 0)
            subject.expect("stop", subject.client().stop(), C2_OK);
        else
            subject.expect("reset", subject.client().reset(), C2_OK);
    }
    while (subject.collect(milliseconds(0))) {
    }
}

void Checks::resetToDefaults(Subject& subject) {
    const auto fresh = mLibrary->createComponent();
    subject.start();
    subject.queue(mUnits, 0, mUnits.size(), kEnd);
    subject.finish();
    subject.expect("reset", subject.client().reset(), C2_OK);
    const auto defaults = ValuesOf(*fresh->intf());
    for (const auto& [name, value] : ValuesOf(*subject.client().component()->intf())) {
        const auto found = defaults.find(name);
        if (found == defaults.end() || *found->second != *value)
            subject.fail(name + " has another value than in the beginning");
    }
    fresh->release();
}

// With a component of its own, which is to be gone with all of its buffers afterwards.
void Checks::inspect(void (Checks::*check)(Subject&), ComponentCheck* result) {
    const OpenResources before;
    auto component = mLibrary->createComponent();
    if (component == nullptr)
        return result->faults.push_back("the factory makes no component");
    const std::weak_ptr<C2Component> left = component;
    {
        Subject subject(std::move(component), mMediaType, &mPatience, result);
        (this->*check)(subject);
    }
    if (!left.expired())
        result->faults.push_back("the component is not let go: something refers to it");
    for (const std::string& line : before.leftOpen())
        result->faults.push_back("left open: " + line);
}

void Checks::takesStream(Subject& subject) {
    mPictures = subject.takesPictures();
}

std::vector<ComponentCheck> Checks::run(const std::function<void(const ComponentCheck&)>& done,
                                        const std::function<void(const std::string&)>& begin) {
    std::vector<ComponentCheck> results;
    for (const Row& row : kRows) {
        const bool possible = row.needs == Row::kNothing ||
                              (row.needs == Row::kPictures && mPictures) ||
                              (row.needs == Row::kInput && (mPictures || !mStreams.empty())) ||
                              (row.needs == Row::kStream && !mPictures && !mStreams.empty());
        if (!possible)
            continue;
        ComponentCheck result;
        result.name = row.name;
        if (begin)
            begin(result.name);
        inspect(row.check, &result);
        if (done)
            done(result);
        results.push_back(std::move(result));
        if (results.size() == 1 && !results.front().faults.empty())
            break;  // nothing that follows would tell more
    }
    return results;
}

}  // namespace

std::vector<ComponentCheck> CheckComponent(const std::shared_ptr<ComponentLibrary>& library,
                                           const std::vector<TestStream>& streams,
                                           const std::function<void(const ComponentCheck&)>& done,
                                           milliseconds patience,
                                           const std::function<void(const std::string&)>& begin) {
    return Checks(library, streams, patience).run(done, begin);
}

}  // namespace lx2::host
