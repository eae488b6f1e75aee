#include "Encoder.h"

#include <C2PlatformSupport.h>
#include <lx2/BufFlag.h>
#include <lx2/Log.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>
#include <utility>

#include "../component/Factory.h"
#include "../component/ParameterSets.h"
#include "EncoderParams.h"

namespace lx2::example {

namespace {

constexpr LogModule kLog{"LX2Encoder", LogGroup::Buffer};

constexpr uint64_t kCpu = C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE};
constexpr std::chrono::milliseconds kPoll{5};

template <typename P>
const P* Find(const std::vector<std::unique_ptr<C2Param>>& params) {
    for (const auto& param : params)
        if (const P* found = P::From(param.get()))
            return found;
    return nullptr;
}

// Zero is unspecified.
template <typename Aspect>
void Prefer(Aspect known, Aspect* aspect) {
    *aspect = known != Aspect{} ? known : *aspect;
}

}  // namespace

c2_status_t Encoder::start() {
    Settings& settings = mHost.settings();
    mMediaType = TextOf(settings.get<C2PortMediaTypeSetting::output>());
    mHardware = EncoderHardware::Open(mMediaType);
    if (mHardware == nullptr) {
        LX2_LOGE("no encoder for %s", mMediaType.c_str());
        return C2_BAD_VALUE;
    }
    const std::string folder = TextOf(settings.get<C2EncoderDumpSetting>());
    if (!folder.empty()) {
        LX2FileDump::Create("video/raw", folder + "/frames.yuv", &mFrameDump, true);
        LX2FileDump::Create(
            mMediaType, folder + (mMediaType == "video/avc" ? "/bitstream.264" : "/bitstream.265"),
            &mUnitDump);
    }
    return C2_OK;
}

void Encoder::stop() {
    flush();
    mHardware.reset();
    mPool.reset();
    mFrameDump.reset();
    mUnitDump.reset();
    mHeaders.clear();
}

void Encoder::flush() {
    if (mHardware != nullptr)
        mHardware->flush();
    mSinceKeyFrame = 0;
}

void Encoder::drain(bool) {
    mHardware->drain();
    deliver();
    mSinceKeyFrame = 0;
}

void Encoder::process(const Input& input) {
    Output output;
    const bool hasPicture =
        (input.flags & (C2FrameData::FLAG_DROP_FRAME | C2FrameData::FLAG_CODEC_CONFIG)) == 0;
    if (hasPicture)
        output.result = encode(input);
    if (hasPicture && output.result == C2_OK)
        deliver();
    else
        mHost.finish(input.key, std::move(output));
}

// The hardware has the picture, or why it does not.
c2_status_t Encoder::encode(const Input& input) {
    const auto buffer = LX2Buffer::CreateFromC2Buffer(input.buffer);
    LX2Buffer::Graphic* view = buffer->graphic();
    if (!view->isValid()) {
        LX2_LOGE("no picture in a work's buffer");
        return C2_BAD_VALUE;
    }
    buffer->setTimestamp(input.ordinal.timestamp.peekull());
    buffer->setInputIndex(input.ordinal.frameIndex.peekull());
    if (mFrameDump != nullptr)
        mFrameDump->write(buffer);
    EncoderSetup setup;
    if (!readSetup(view, &setup))
        return C2_CORRUPTED;
    const std::string problem =
        mHardware->encode(*view, setup, input.key, isKeyFrameDue(setup.rate));
    if (problem.empty())
        return C2_OK;
    LX2_LOGE("picture %llu: %s", static_cast<unsigned long long>(input.key), problem.c_str());
    return C2_CANNOT_DO;
}

// The colors are the buffer's, and the client's where it has none.
bool Encoder::readSetup(LX2Buffer::Graphic* view, EncoderSetup* setup) {
    Settings& settings = mHost.settings();
    const auto rate = settings.get<C2StreamFrameRateInfo::output>();
    const auto bitrate = settings.get<C2StreamBitrateInfo::output>();
    const auto tuning = settings.get<C2EncoderTuning>();
    const auto color = settings.get<C2StreamColorAspectsInfo::input>();
    const auto wantedHdr = settings.get<C2StreamHdrStaticInfo::input>();
    if (rate == nullptr || bitrate == nullptr || tuning == nullptr || color == nullptr ||
        wantedHdr == nullptr)
        return false;
    std::vector<std::unique_ptr<C2Param>> infos, updates;
    if (view->getPrivateMetadata(&infos, &updates) != C2_OK) {
        LX2_LOGE("the metadata of a picture can't be read");
        return false;
    }
    setup->rate = rate->value;
    setup->bitrate = bitrate->value;
    setup->qpMin = tuning->qpMin;
    setup->qpMax = tuning->qpMax;
    setup->aspects = *color;
    if (const auto* shown = Find<C2StreamColorAspectsInfo::input>(updates)) {
        Prefer(shown->range, &setup->aspects.range);
        Prefer(shown->primaries, &setup->aspects.primaries);
        Prefer(shown->transfer, &setup->aspects.transfer);
        Prefer(shown->matrix, &setup->aspects.matrix);
    }
    const auto* hdr = Find<C2StreamHdrStaticInfo::input>(updates);
    if (hdr != nullptr || *wantedHdr != C2StreamHdrStaticInfo::input())
        setup->hdr = hdr != nullptr ? *hdr : *wantedHdr;
    C2StreamColorAspectsInfo::output coded(0u, setup->aspects);
    C2StreamHdrStaticInfo::output codedHdr(0u, setup->hdr.value_or(C2HdrStaticMetadataStruct{}));
    mHost.update({&coded, &codedHdr}, {C2StreamColorAspectsInfo::output::PARAM_TYPE,
                                       C2StreamHdrStaticInfo::output::PARAM_TYPE});
    return true;
}

bool Encoder::isKeyFrameDue(float rate) {
    Settings& settings = mHost.settings();
    const auto interval = settings.get<C2StreamSyncFrameIntervalTuning::output>();
    const auto request = settings.get<C2StreamRequestSyncFrameTuning::output>();
    const bool requested = request != nullptr && request->value != C2_FALSE;
    if (requested) {
        C2StreamRequestSyncFrameTuning::output done(0u, C2_FALSE);
        settings.update({&done}, {});
    }
    // Below zero: the first one alone.
    const bool due =
        interval != nullptr && interval->value >= 0 &&
        static_cast<double>(mSinceKeyFrame) >=
            std::round(static_cast<double>(interval->value) * static_cast<double>(rate) / 1e6);
    const bool key = mSinceKeyFrame == 0 || requested || due;
    mSinceKeyFrame = key ? 1 : mSinceKeyFrame + 1;
    return key;
}

void Encoder::deliver() {
    while (const auto unit = mHardware->next()) {
        Output output = makeOutput(*unit);
        if (output.result == C2_CANCELED)
            return;
        mHost.finish(unit->unit, std::move(output));
    }
}

// New headers go to the client by themselves. Those that it has stay in the stream, which can be
// entered there.
uint32_t Encoder::takeHeaders(const EncodedUnit& unit) {
    const auto total = static_cast<uint32_t>(unit.bytes.size());
    const uint32_t size = ParameterSetSize(mMediaType, unit.bytes.data(), total);
    const auto end = unit.bytes.begin() + size;
    if (size == 0 || std::equal(mHeaders.begin(), mHeaders.end(), unit.bytes.begin(), end))
        return 0;
    mHeaders.assign(unit.bytes.begin(), end);
    auto init = C2StreamInitDataInfo::output::AllocUnique(size, 0u);
    memcpy(init->m.value, mHeaders.data(), size);
    mHost.announce(std::move(init));
    return size;
}

Output Encoder::makeOutput(const EncodedUnit& unit) {
    Output output;
    const uint32_t headers = takeHeaders(unit);
    const auto size = static_cast<uint32_t>(unit.bytes.size()) - headers;
    std::shared_ptr<LX2Buffer> buffer;
    output.result = allocate(size, &buffer);
    if (output.result != C2_OK)
        return output;
    LX2Buffer::Linear* view = buffer->linear();
    if (const auto mapping = view->map(); const auto bytes = view->bytes(mapping)) {
        memcpy(bytes.data, unit.bytes.data() + headers, size);
    } else {
        output.result = C2_CANNOT_DO;
        return output;
    }
    view->setRange(0, size);
    if (unit.keyFrame) {
        buffer->setFlags(BufFlag::SYNC_FRAME);
        buffer->addInfo(
            std::make_shared<C2StreamPictureTypeMaskInfo::output>(0u, C2Config::SYNC_FRAME));
    }
    if (mUnitDump != nullptr)
        mUnitDump->write(buffer);
    output.buffer = buffer->getSharedBuffer();
    return output;
}

// Waits while the client has all buffers.
c2_status_t Encoder::allocate(uint32_t size, std::shared_ptr<LX2Buffer>* buffer) {
    if (mPool == nullptr)
        mPool = std::make_unique<LX2LinearBufferPool>(mHost.outputPool(C2BlockPool::BASIC_LINEAR),
                                                      kCpu);
    mPool->setBufferSize(std::max(size, 1u));
    for (;;) {
        const LX2Status status = mPool->allocate(buffer);
        if (status != C2_BLOCKING && status != C2_TIMED_OUT)
            return static_cast<c2_status_t>(status);
        if (mHost.interrupted())
            return C2_CANCELED;
        std::this_thread::sleep_for(kPoll);
    }
}

namespace {

std::unique_ptr<Codec> MakeEncoder(CodecHost& host) {
    return std::make_unique<Encoder>(host);
}

}  // namespace

}  // namespace lx2::example

extern "C" __attribute__((visibility("default"))) C2ComponentFactory* CreateCodec2Factory() {
    return lx2::example::NewFactory(
        {"lx2.encoder", &lx2::example::MakeEncoderParams, &lx2::example::MakeEncoder});
}

extern "C" __attribute__((visibility("default"))) void DestroyCodec2Factory(
    C2ComponentFactory* factory) {
    delete factory;
}
