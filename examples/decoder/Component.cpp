#include "Component.h"

#include <C2AllocatorGralloc.h>
#include <C2Config.h>
#include <C2PlatformSupport.h>
#include <dlfcn.h>
#include <lx2/BufFlag.h>
#include <lx2/LX2StreamParser.h>
#include <lx2/PixFormat.h>
#include <lx2host/VideoCore.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <utility>

namespace lx2::example {

namespace {

// Stamps a buffer with its presentation time in the display's metadata, as the video hardware does
// through the library that the process has loaded for that.
bool StampFrame(const C2Handle* handle, uint64_t timestamp) {
    using SetMetadata = int (*)(void* handle, int type, void* data);
    constexpr int kAvTimestampType = 1;
    auto set = reinterpret_cast<SetMetadata>(dlsym(RTLD_DEFAULT, "setMetaDataAndUnmap"));
    native_handle_t* record = android::UnwrapNativeCodec2GrallocHandle(handle);
    const bool stamped =
        set != nullptr && record != nullptr && set(record, kAvTimestampType, &timestamp) == 0;
    if (record != nullptr)
        native_handle_delete(record);
    return stamped;
}

uint64_t ResidentKiB() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stoull(line.substr(6));
    }
    return 0;
}

using FindHeaders = LX2Status (*)(const uint8_t*, uint32_t, uint32_t*);

FindHeaders HeaderFinder(Codec codec) {
    switch (codec) {
        case Codec::Avc:
            return &LX2AVCStreamParser::FindCodecConfig;
        case Codec::Hevc:
            return &LX2HEVCStreamParser::FindCodecConfig;
        default:
            return nullptr;  // VP8 and VP9 have their headers in every frame
    }
}

}  // namespace

class Component::DeletionCounter : public LX2BufferDeleteCallback {
  public:
    void onBufferDeleted(LX2Buffer*) override { ++count; }
    std::atomic<uint64_t> count{0};
};

Component::Component(const InputStream& input, const Settings& settings,
                     const DefaultColor& defaults, std::shared_ptr<C2BlockPool> surface,
                     Framework* framework, FrameOutput* output)
    : mInput(input),
      mSettings(settings),
      mDefaults(defaults),
      mFramework(framework),
      mOutput(output),
      mHardware(input.codec()),
      mOutputPool(LX2GraphicBufferPool::Create(std::move(surface))),
      mDeletions(std::make_shared<DeletionCounter>()) {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &blocks);
    mInputPool = std::make_unique<LX2LinearBufferPool>(
        blocks, C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    mInputPool->setAlignment(4096);
    mInputPool->setBufferSize(input.largestUnit());
    mOutputPool->registerCallback(mDeletions);
    if (!mHardware.isReady())
        fail("", "the video hardware has no decoder for " + input.mime());
}

Component::~Component() {
    mOutputPool->dropAllReferences();
}

void Component::fail(const std::string& where, const std::string& what) {
    mStatistics.errors.add(where, what);
    mOutput->log((where + what).c_str());
}

void Component::note(const char* what, const std::shared_ptr<LX2Buffer>& buffer) {
    const std::string line = DescribeBuffer(what, buffer);
    mOutput->log(line.c_str());
    if (mSettings.verbose)
        printf("%s\n", line.c_str());
}

void Component::attachHeaders(const std::shared_ptr<LX2Buffer>& buffer, const uint8_t* data,
                              uint32_t size) {
    auto headers = C2StreamInitDataInfo::input::AllocShared(size);
    if (headers == nullptr)
        return;
    memcpy(headers->m.value, data, size);
    buffer->addInfo(headers);
    mStatistics.headerBytes += size;
}

std::shared_ptr<LX2Buffer> Component::prepareInput(const InputUnit& unit) {
    std::shared_ptr<LX2Buffer> buffer;
    if (mInputPool->allocate(&buffer) != C2_OK)
        return nullptr;
    auto mapping = buffer->linear()->map();
    if (!LX2Buffer::Mapping::IsUsable(mapping) || mapping->size() < unit.size)
        return nullptr;
    memcpy(mapping->data(), unit.data, unit.size);

    uint32_t headerSize = 0;
    uint64_t flags = unit.index + 1 == mInput.units().size() ? BufFlag::END_OF_STREAM : 0;
    const FindHeaders findHeaders = HeaderFinder(mInput.codec());
    if (findHeaders != nullptr && findHeaders(mapping->data(), unit.size, &headerSize) == C2_OK) {
        attachHeaders(buffer, mapping->data(), headerSize);
        flags |= headerSize == unit.size ? BufFlag::CODEC_CONFIG : 0;
    }
    buffer->linear()->setRange(headerSize, unit.size - headerSize);
    buffer->setTimestamp(unit.timestamp);
    buffer->setInputIndex(unit.index);
    buffer->setFlags(flags);
    return buffer;
}

// The hardware reads the buffer, headers first.
std::string Component::submit(const LX2Buffer& buffer, const InputUnit& unit) {
    auto mapping = buffer.linear()->mapReadOnly();
    if (!LX2Buffer::Mapping::IsUsable(mapping))
        return "the input buffer can't be read";
    return mHardware.submit(mapping->data(), unit.size, unit.timestamp, unit.shown);
}

bool Component::decode(const InputUnit& unit) {
    if (!mHardware.isReady() || mHardware.refuses())
        return false;
    ++mStatistics.units;
    mStatistics.inputBytes += unit.size;
    mStatistics.pictures += unit.shown ? 1 : 0;
    const std::string name = "access unit " + std::to_string(unit.index) + ": ";
    auto buffer = prepareInput(unit);
    if (buffer == nullptr) {
        fail(name, "no input buffer");
        return true;
    }
    note("in ", buffer);
    const std::string undumped = mOutput->writeInput(buffer);
    if (!undumped.empty())
        fail(name, undumped);
    const std::string error = submit(*buffer, unit);
    if (!error.empty())
        fail(name, error);
    deliverFinished();
    if (unit.endsSequence) {
        drain();
        mHardware.restart();
    }
    return true;
}

void Component::finish() {
    if (mHardware.isReady() && !mHardware.refuses()) {
        drain();
        compareCounts();
    }
    mStatistics.memoryLate = ResidentKiB();
    while (!mReferences.empty())
        dropOldestReference();
    mOutputPool->dropAllReferences();
    mFramework->releaseAll();
    mStatistics.deleted = mDeletions->count;
}

void Component::drain() {
    const std::string error = mHardware.drain();
    if (!error.empty())
        fail("end of a sequence: ", error);
    deliverFinished();
}

void Component::deliverFinished() {
    for (;;) {
        std::string error;
        const auto frame = mHardware.nextFrame(&error);
        if (frame)
            deliver(*frame);
        else if (!error.empty())
            fail("frame " + std::to_string(mStatistics.frames) + ": ", error);
        if (mHardware.refuses() || (!frame && error.empty()))
            return;
    }
}

// A decoder that keeps a picture to itself is the fault that is seen the least.
void Component::compareCounts() {
    if (mStatistics.frames != mStatistics.pictures)
        fail("", std::to_string(mStatistics.pictures) + " pictures went in and " +
                     std::to_string(mStatistics.frames) + " frames came out");
}

std::shared_ptr<LX2Buffer> Component::allocate(const DecodedFrame& frame) {
    const bool tenBit = frame.picture.bitDepth == 10;
    mOutputPool->setFormat(tenBit ? PixFormat::MIREL_TP10 : PixFormat::MIREL_NV12_CMPX);
    mOutputPool->setUsage(C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    mOutputPool->setResolution(frame.picture.width, frame.picture.height);
    std::shared_ptr<LX2Buffer> buffer;
    uint64_t held = 0;
    uint64_t pendingBefore = 0;
    uint64_t pending = 0;
    // Tries until there is nothing left that could be given back.
    for (;;) {
        mOutputPool->counts(&held, &pendingBefore);
        const LX2Status status = mOutputPool->allocate(&buffer);
        mOutputPool->counts(&held, &pending);
        mStatistics.parked += pending > pendingBefore ? 1 : 0;
        if (status == C2_OK)
            mStatistics.recycled += pending < pendingBefore ? 1 : 0;
        if (status != C2_TIMED_OUT)
            return buffer;
        if (pending > pendingBefore)
            continue;
        ++mStatistics.starved;
        if (mFramework->releaseOldest())
            continue;
        if (mReferences.empty())
            return nullptr;
        dropOldestReference();
    }
}

// The hardware writes through its own mapping: the CPU has no part in it.
bool Component::fill(const std::shared_ptr<LX2Buffer>& buffer, const DecodedFrame& frame) {
    const LX2Buffer::Graphic& view = *buffer->graphic();
    return host::WriteFrame(view.fd(), view.offset(), view.format(), frame.picture);
}

Promise Component::annotate(const std::shared_ptr<LX2Buffer>& buffer, const DecodedFrame& frame) {
    const SettledColor color = Settle(mInput.mime(), frame.color, mDefaults);
    mStatistics.codedColor = Describe(frame.color.aspects);
    mStatistics.color = Describe(color);
    Promise promise;
    promise.frameIndex = mStatistics.frames;
    promise.timestamp = frame.timestamp;
    promise.crop = C2Rect(frame.width, frame.height);
    promise.hdr = color.hdr && buffer->graphic()->format() == PixFormat::MIREL_TP10;
    if (buffer->graphic()->setPrivateMetadata(color.infos) == C2_OK)
        promise.aspects = color.aspects;
    buffer->graphic()->setCrop(promise.crop);
    buffer->setTimestamp(frame.timestamp);
    buffer->setOutputIndex(mStatistics.frames);
    buffer->setFlags((frame.keyFrame ? BufFlag::SYNC_FRAME : 0) |
                     (frame.corrupt ? BufFlag::CORRUPTED : 0));
    for (const auto& info : color.infos)
        buffer->addInfo(info);
    promise.infos = color.infos.size();
    return promise;
}

// A decoder predicts from the last frames: it holds them until newer ones take their place.
void Component::hold(const std::shared_ptr<LX2Buffer>& buffer) {
    if (mOutputPool->holdReference(buffer->outputIndex(), buffer) != C2_OK)
        return;
    ++mStatistics.holds;
    mReferences.push_back(buffer->outputIndex());
    if (mReferences.size() > mSettings.references)
        dropOldestReference();
}

void Component::dropOldestReference() {
    mOutputPool->dropReference(mReferences.front());
    mReferences.pop_front();
}

void Component::deliver(const DecodedFrame& frame) {
    const std::string name = "frame " + std::to_string(mStatistics.frames) + ": ";
    auto buffer = allocate(frame);
    if (buffer == nullptr)
        return fail(name, "no output buffer");
    if (!fill(buffer, frame))
        return fail(name, "the output buffer can't be written");
    const Promise promise = annotate(buffer, frame);
    if (frame.corrupt)
        fail(name, "decoded from damaged data");
    hold(buffer);
    note("out", buffer);
    const std::string error = mOutput->writeFrame(buffer);
    if (!error.empty())
        fail(name, error);
    ++mStatistics.frames;
    if (mStatistics.frames == 1000)
        mStatistics.memoryEarly = ResidentKiB();
    ++mStatistics.formats[std::to_string(frame.width) + "x" + std::to_string(frame.height) + " " +
                          PixFormat::Str(buffer->graphic()->format())];
    auto shared = buffer->getSharedBuffer();
    if (shared != nullptr)
        StampFrame(shared->data().graphicBlocks().front().handle(), frame.timestamp);
    mFramework->receive(std::move(shared), promise);
}

}  // namespace lx2::example
