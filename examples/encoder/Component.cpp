#include "Component.h"

#include <C2PlatformSupport.h>
#include <lx2/BufFlag.h>
#include <lx2/LX2StreamParser.h>

#include <cstdio>
#include <cstring>
#include <utility>

namespace lx2::example {

namespace {

// The codec configuration that a unit begins with, bytes.
uint32_t ConfigSize(Codec codec, const std::vector<uint8_t>& unit) {
    uint32_t size = 0;
    if (codec == Codec::Avc)
        LX2AVCStreamParser::FindCodecConfig(unit.data(), static_cast<uint32_t>(unit.size()), &size);
    else if (codec == Codec::Hevc)
        LX2HEVCStreamParser::FindCodecConfig(unit.data(), static_cast<uint32_t>(unit.size()),
                                             &size);
    return size;
}

}  // namespace

std::string ReadTuning(const ComponentParams& parameters, Codec codec, Tuning* tuning) {
    constexpr uint32_t kLeastBitrate = 10000;
    constexpr uint32_t kMostBitrate = 500000000;
    const uint32_t bitrate = parameters.get<ComponentParams::Bitrate>()->value;
    const uint32_t interval = parameters.get<ComponentParams::KeyFrameInterval>()->value;
    const auto& qp = *parameters.get<ComponentParams::QpRange>();
    const int most = codec == Codec::Vp8 || codec == Codec::Vp9 ? 63 : 51;
    if (bitrate < kLeastBitrate || bitrate > kMostBitrate)
        return "bitrate.value is from " + std::to_string(kLeastBitrate) + " to " +
               std::to_string(kMostBitrate) + ", not " + std::to_string(bitrate);
    if (interval == 0)
        return "key-frame-interval.value is at least 1";
    if (qp.min < 0 || qp.max > most || qp.min > qp.max)
        return "vendor.qp-range goes from 0 to " + std::to_string(most) + ", not from " +
               std::to_string(qp.min) + " to " + std::to_string(qp.max);
    *tuning = {bitrate, interval, qp.min, qp.max};
    return "";
}

Component::Component(Codec codec, uint32_t rate, uint64_t frames, bool verbose, FrameOutput* output,
                     Client client)
    : mCodec(codec),
      mRate(rate),
      mLast(frames - 1),
      mVerbose(verbose),
      mOutput(output),
      mClient(std::move(client)),
      mHardware(codec, rate) {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &blocks);
    mPool = std::make_unique<LX2LinearBufferPool>(
        blocks, C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    mPool->setAlignment(4096);
}

void Component::fail(const std::string& where, const std::string& what) {
    mStatistics.errors.add(where, what);
    mOutput->log((where + what).c_str());
}

void Component::note(const char* what, const std::shared_ptr<LX2Buffer>& buffer) {
    const std::string line = DescribeBuffer(what, buffer);
    mOutput->log(line.c_str());
    if (mVerbose)
        printf("%s\n", line.c_str());
}

void Component::encode(const std::shared_ptr<C2Buffer>& frame) {
    const std::string where = "frame " + std::to_string(mStatistics.frames) + ": ";
    auto buffer = LX2Buffer::CreateFromC2Buffer(frame);
    note("in ", buffer);
    std::string problem = mOutput->writeFrame(buffer);
    if (!problem.empty())
        fail(where, problem);
    problem = mHardware.encode(buffer->graphic(), mStatistics.frames++);
    if (!problem.empty())
        fail(where, problem);
    deliverFinished();
}

void Component::finish() {
    const std::string problem = mHardware.drain();
    if (!problem.empty())
        fail("end of the stream: ", problem);
    deliverFinished();
    if (mStatistics.units != mStatistics.frames)
        fail("", std::to_string(mStatistics.frames) + " frames went in and " +
                     std::to_string(mStatistics.units) + " access units came out");
}

void Component::deliverFinished() {
    while (const auto unit = mHardware.nextUnit()) {
        const auto size = static_cast<uint32_t>(unit->bytes.size());
        const uint32_t config = ConfigSize(mCodec, unit->bytes);
        if (config > 0)
            deliver(*unit, 0, config, BufFlag::CODEC_CONFIG);
        mStatistics.headerBytes += config;
        mStatistics.headerBuffers += config > 0 ? 1 : 0;
        deliver(*unit, config, size - config,
                (unit->keyFrame ? BufFlag::SYNC_FRAME : 0) |
                    (unit->index == mLast ? BufFlag::END_OF_STREAM : 0));
        ++mStatistics.units;
        mStatistics.keyFrames += unit->keyFrame ? 1 : 0;
        mStatistics.bytes += size;
    }
}

// A part of a unit in a buffer of its own.
void Component::deliver(const EncodedUnit& unit, uint32_t from, uint32_t size, uint64_t flags) {
    const std::string where = "access unit " + std::to_string(unit.index) + ": ";
    std::shared_ptr<LX2Buffer> buffer;
    mPool->setBufferSize(size);
    if (mPool->allocate(&buffer) != C2_OK)
        return fail(where, "no output buffer");
    {
        auto mapping = buffer->linear()->map();
        if (!LX2Buffer::Mapping::IsUsable(mapping) || mapping->size() < size)
            return fail(where, "the output buffer can't be written");
        memcpy(mapping->data(), unit.bytes.data() + from, size);
    }
    buffer->linear()->setRange(0, size);
    buffer->setTimestamp(unit.index * 1000000 / mRate);
    buffer->setOutputIndex(unit.index);
    buffer->setFlags(flags);
    note("out", buffer);
    const std::string problem = mOutput->writeInput(buffer);
    if (!problem.empty())
        fail(where, problem);
    mClient(buffer);
}

}  // namespace lx2::example
