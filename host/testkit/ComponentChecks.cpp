#include <C2Config.h>
#include <lx2/LX2Buffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Client.h>
#include <lx2host/ComponentChecks.h>
#include <lx2host/Gralloc.h>
#include <lx2host/OpenResources.h>
#include <lx2host/VideoCore.h>

#include <C2BlockInternal.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <thread>
#include <utility>

namespace lx2::host {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Unit = TestStream::Unit;

constexpr uint32_t kEnd = C2FrameData::FLAG_END_OF_STREAM;
constexpr size_t kSlots = 32;
// The platform allows 500 ms for what a flush leaves behind; a loaded machine takes longer.
constexpr milliseconds kFlushPatience{5000};
constexpr milliseconds kShortPatience{2000};
constexpr size_t kMostFaults = 10;  // of a check; the first tell enough

// The frame that a component with graphic input gets.
std::shared_ptr<C2Buffer> PictureBuffer(uint32_t width, uint32_t height, uint32_t index) {
    LX2Buffer buffer(_C2BlockFactory::CreateGraphicBlock(
        AllocateGraphic(width + width % 2, height + height % 2, PixFormat::NV12, 0)));
    LX2Buffer::Graphic& view = *buffer.graphic();
    if (!WriteFrame(view.fd(), view.offset(), view.format(),
                    TestFrame(view.width(), view.height(), 8, index).view()))
        return nullptr;
    view.setCrop(C2Rect(width, height));
    view.setPrivateMetadata({std::make_shared<C2StreamColorAspectsInfo::output>(
        0u, C2Color::RANGE_LIMITED, C2Color::PRIMARIES_BT709, C2Color::TRANSFER_170M,
        C2Color::MATRIX_BT709)});
    return buffer.getSharedBuffer();
}

using Values = std::map<std::string, std::unique_ptr<C2Param>>;

// Those of all parameters that have one, by name.
Values ValuesOf(const C2ComponentInterface& interface) {
    Values values;
    std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors;
    interface.querySupportedParams_nb(&descriptors);
    for (const auto& descriptor : descriptors) {
        std::vector<std::unique_ptr<C2Param>> value;
        interface.query_vb({}, {descriptor->index()}, C2_MAY_BLOCK, &value);
        if (value.size() == 1 && value.front() != nullptr)
            values[descriptor->name()] = std::move(value.front());
    }
    return values;
}

// A component for one check, and what the check finds.
class Subject {
  public:
    Subject(const std::shared_ptr<ComponentLibrary>& library, const std::string& mediaType,
            milliseconds* patience, ComponentCheck* check)
        : mCheck(check), mPatience(patience), mClient(library->createComponent()) {
        if (!mediaType.empty()) {
            const auto type = C2PortMediaTypeSetting::input::AllocUnique(mediaType.size() + 1);
            memcpy(type->m.value, mediaType.c_str(), mediaType.size() + 1);
            mClient.config({type.get()});
            if (const auto taken = MediaTypeOf(*mClient.component()->intf()); taken != mediaType)
                fail("takes " + taken + ", not " + mediaType);
        }
        const auto input = mClient.query<C2StreamBufferTypeSetting::input>();
        mTakesPictures = input && input->value == C2BufferData::GRAPHIC;
        useSurface(kSlots);
    }
    ~Subject() {
        mClient.stop();
        const auto isKept = [](const auto& output) { return !output.expired(); };
        if (std::any_of(mOutputs.begin(), mOutputs.end(), isKept))
            fail("an output buffer is kept after the stop");
        expect("stop and release", mClient.release() != C2_BAD_STATE);
        for (const std::string& failure : mClient.failures())
            fail(failure);
        for (const std::string& warning : mClient.warnings())
            mCheck->warnings.push_back(warning);
    }

    void comparePicture(const Client::Output& output) {
        const auto unit = mCoded.find(output.timestamp);
        if (!comparesPictures || unit == mCoded.end())
            return;
        const auto buffer = LX2Buffer::CreateFromC2Buffer(output.buffer);
        const LX2Buffer::Graphic& view = *buffer->graphic();
        const auto frame =
            ReadFrame(view.fd(), view.offset(), view.format(), view.width(), view.height());
        const bool rgb =
            view.format() == PixFormat::RGBA8888 || view.format() == PixFormat::RGBA8888_CMPX;
        if (!frame || frame->bitDepth != unit->second->bitDepth || rgb)
            return;
        PictureView shown = frame->view();
        const C2Rect crop = view.crop();
        for (size_t i = 0; i < shown.planes.size(); ++i) {
            const uint32_t step = i == 0 ? 1 : 2;
            shown.planes[i].data +=
                crop.top / step * shown.planes[i].pitch + crop.left / step * shown.sampleBytes;
        }
        shown.width = crop.width;
        shown.height = crop.height;
        if (ChecksumOf(shown) != unit->second->checksum)
            fail("work " + std::to_string(output.frameIndex) + ": the picture is not the stream's");
    }

    Client& client() { return mClient; }
    bool takesPictures() const { return mTakesPictures; }

    void fail(const std::string& what) {
        if (mCheck->faults.size() < kMostFaults)
            mCheck->faults.push_back(what);
    }
    void expect(const std::string& what, bool good) {
        if (!good)
            fail(what + " failed");
    }
    void expect(const std::string& what, c2_status_t status, c2_status_t wanted) {
        if (status != wanted)
            fail(what + ": " + std::to_string(status) + " in place of " + std::to_string(wanted));
    }

    // For its output, where that is pictures.
    void useSurface(size_t slots) {
        if (!mTakesPictures)
            mSurface = mClient.useSurface(slots);
    }

    void start() { expect("start", mClient.start(), C2_OK); }

    // Queues one unit or picture, behind those queued before; without bytes an empty work.
    void queue(const Unit* unit, uint32_t flags = 0) {
        Client::Input input;
        input.timestamp = mNextTime;
        mNextTime += 40000;
        input.flags = flags;
        if (mTakesPictures && unit != nullptr) {
            input.buffer = PictureBuffer(mWidth, mHeight, mPictures++);
        } else if (unit != nullptr) {
            // Presentation times differ from the order of decoding; those of another stream follow.
            input.timestamp = mBase + unit->timestamp;
            mNextTime = std::max(mNextTime, input.timestamp + 40000);
            input.buffer = LinearBuffer(unit->bytes.data(), unit->bytes.size());
            if (unit->checksum)
                mCoded[input.timestamp] = unit;
            if (unit->config)
                input.flags |= C2FrameData::FLAG_CODEC_CONFIG;
        }
        // What is behind the last frame has its time.
        expect("queue", mClient.queue(std::move(input)), C2_OK);
        while (!mLosesWork && mClient.pending() > kSlots && collect(*mPatience)) {
        }
    }
    void queue(const std::vector<Unit>& units, size_t from, size_t to, uint32_t lastFlags = 0) {
        mBase = mNextTime;
        for (size_t i = from; i < to; ++i)
            queue(&units[i], i + 1 == to ? lastFlags : 0);
    }

    // Takes one output; false when none comes.
    bool collect(milliseconds patience) {
        const auto output = mClient.next(patience);
        if (!output) {
            // A component that loses work does so in most checks: they would take minutes.
            mLosesWork = mClient.pending() != 0;
            if (mLosesWork)
                *mPatience = std::min(*mPatience, kShortPatience);
            return false;
        }
        if (output->buffer != nullptr) {
            ++frames;
            comparePicture(*output);
            fromSurface = fromSurface && (mSurface == nullptr || mSurface->slotsOut() > 0);
            mOutputs.emplace_back(output->buffer);
        }
        for (const auto& update : output->updates)
            mUpdates[update->index()] = update;
        if (output->result != C2_OK)
            fail("work " + std::to_string(output->frameIndex) + " failed with " +
                 std::to_string(output->result));
        return true;
    }
    // Takes all outputs that come; all works have to.
    void finish() { finish(*mPatience); }
    void finish(milliseconds patience) {
        while (collect(patience)) {
        }
        if (mClient.pending() != 0)
            fail(std::to_string(mClient.pending()) + " works did not come back");
        if (mClient.fatalError() != C2_OK)
            fail("fatal error " + std::to_string(mClient.fatalError()));
    }
    void flush() {
        expect("flush", mClient.flush(), C2_OK);
        finish(std::min(*mPatience, kFlushPatience));
    }
    void setSize(uint32_t width, uint32_t height) {
        mWidth = width;
        mHeight = height;
        C2StreamPictureSizeInfo::input size(0u, width, height);
        mClient.config({&size});
    }

    // A query answers what the outputs said last.
    void expectUpdatesKept() {
        for (const auto& [name, value] : ValuesOf(*mClient.component()->intf())) {
            const auto update = mUpdates.find(value->index());
            if (update != mUpdates.end() && *update->second != *value)
                fail(name + " is not what the outputs announced");
        }
    }

    uint64_t frames = 0;
    bool fromSurface = true;        // what came out of it
    bool comparesPictures = false;  // beyond a flush a decoder may lack what they refer to

  private:
    ComponentCheck* const mCheck;
    milliseconds* const mPatience;
    Client mClient;
    std::shared_ptr<SlotGraphicPool> mSurface;
    bool mTakesPictures = false;
    bool mLosesWork = false;
    uint32_t mWidth = 320, mHeight = 240;
    uint32_t mPictures = 0;
    std::vector<std::weak_ptr<C2Buffer>> mOutputs;
    std::map<uint32_t, std::shared_ptr<C2Param>> mUpdates;  // the last of each
    std::map<uint64_t, const Unit*> mCoded;                 // by time, those whose picture is known
    uint64_t mNextTime = 0;
    uint64_t mBase = 0;
};

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
    std::optional<uint64_t> mFrames;  // of the whole stream, once it was run
};

const Checks::Row Checks::kRows[] = {
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
    const Values values = ValuesOf(intf);
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
    const Values defaults = ValuesOf(*fresh->intf());
    for (const auto& [name, value] : ValuesOf(*subject.client().component()->intf())) {
        const auto found = defaults.find(name);
        if (found == defaults.end() || *found->second != *value)
            subject.fail(name + " has another value than in the beginning");
    }
    fresh->release();
}

std::vector<ComponentCheck> Checks::run(const std::function<void(const ComponentCheck&)>& done,
                                        const std::function<void(const std::string&)>& begin) {
    std::vector<ComponentCheck> results;
    const auto report = [&](ComponentCheck result) {
        if (done)
            done(result);
        results.push_back(std::move(result));
    };
    ComponentCheck probe;
    probe.name = "the media type of the stream";
    const bool pictures = Subject(mLibrary, mMediaType, &mPatience, &probe).takesPictures();
    if (!probe.faults.empty()) {
        if (begin)
            begin(probe.name);
        report(std::move(probe));
        return results;
    }
    for (const Row& row : kRows) {
        const bool possible = row.needs == Row::kNothing ||
                              (row.needs == Row::kPictures && pictures) ||
                              (row.needs == Row::kInput && (pictures || !mStreams.empty())) ||
                              (row.needs == Row::kStream && !pictures && !mStreams.empty());
        if (!possible)
            continue;
        ComponentCheck result;
        result.name = row.name;
        if (begin)
            begin(result.name);
        const OpenResources before;
        std::weak_ptr<C2Component> component;
        {
            Subject subject(mLibrary, mMediaType, &mPatience, &result);
            component = subject.client().component();
            (this->*row.check)(subject);
        }
        if (!component.expired())
            result.faults.push_back("the component is not let go: something refers to it");
        for (const std::string& left : before.leftOpen())
            result.faults.push_back("left open: " + left);
        report(std::move(result));
    }
    return results;
}

}  // namespace

uint64_t ChecksumOf(const PictureView& picture) {
    uint64_t sum = 0;
    for (size_t i = 0; i < picture.planes.size(); ++i) {
        const uint32_t width = i == 0 ? picture.width : (picture.width + 1) / 2;
        const uint32_t height = i == 0 ? picture.height : (picture.height + 1) / 2;
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t* row = picture.planes[i].data + y * picture.planes[i].pitch;
            for (uint32_t x = 0; x < width; ++x) {
                const uint32_t sample =
                    picture.sampleBytes == 1 ? row[x] : row[2 * x] | row[2 * x + 1] << 8;
                sum = (sum ^ sample) * 0x100000001b3;  // FNV-1a, a sample a step
            }
        }
    }
    return sum;
}

std::vector<ComponentCheck> CheckComponent(const std::shared_ptr<ComponentLibrary>& library,
                                           const std::vector<TestStream>& streams,
                                           const std::function<void(const ComponentCheck&)>& done,
                                           milliseconds patience,
                                           const std::function<void(const std::string&)>& begin) {
    return Checks(library, streams, patience).run(done, begin);
}

}  // namespace lx2::host
