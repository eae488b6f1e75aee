#include "Decoder.h"

#include <C2PlatformSupport.h>
#include <lx2/BufFlag.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>

#include <chrono>
#include <cstring>
#include <utility>

#include "../component/Factory.h"
#include "../component/ParameterSets.h"
#include "DecoderParams.h"

namespace lx2::example {

namespace {

constexpr LogModule kLog{"LX2Decoder", LogGroup::Buffer};

constexpr uint64_t kCpu = C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE};

constexpr std::chrono::milliseconds kShortWait{4};
constexpr std::chrono::milliseconds kLongestWait = std::chrono::hours(1);

bool IsSameHdr(const std::optional<C2HdrStaticMetadataStruct>& a,
               const std::optional<C2HdrStaticMetadataStruct>& b) {
    return a.has_value() == b.has_value() && (!a || memcmp(&*a, &*b, sizeof(*a)) == 0);
}

bool IsSameShape(const DecodedUnit& a, const DecodedUnit& b) {
    return a.width == b.width && a.height == b.height && a.bitDepth == b.bitDepth &&
           memcmp(&a.aspects, &b.aspects, sizeof(a.aspects)) == 0 && IsSameHdr(a.hdr, b.hdr);
}

uint32_t NativeFormat(const DecodedUnit& decoded) {
    return decoded.bitDepth == 10 ? PixFormat::MIREL_TP10 : PixFormat::MIREL_NV12_CMPX;
}

// Sizes are even: an odd picture has its last column and row twice, beyond the crop.
void Configure(LX2GraphicBufferPool* pool, const DecodedUnit& decoded, uint32_t format) {
    pool->configure(decoded.width + decoded.width % 2, decoded.height + decoded.height % 2, format,
                    kCpu);
}

}  // namespace

c2_status_t Decoder::start() {
    Settings& settings = mHost.settings();
    mMediaType = TextOf(settings.get<C2PortMediaTypeSetting::input>());
    const auto format = settings.get<C2StreamPixelFormatInfo::output>();
    const auto tuning = settings.get<C2DecoderTuning>();
    const auto hdr = settings.get<C2StreamHdrStaticInfo::output>();
    const auto delay = settings.get<C2PortActualDelayTuning::output>();
    if (format == nullptr || tuning == nullptr || hdr == nullptr || delay == nullptr)
        return C2_CORRUPTED;
    mWantedFormat = format->value;
    mMostReferences = tuning->references;
    mDefaultHdr = *hdr;
    mHardware = DecoderHardware::Open(mMediaType, tuning->hardware.threads);
    if (mHardware == nullptr) {
        LX2_LOGE("no decoder for %s", mMediaType.c_str());
        return C2_BAD_VALUE;
    }
    mDelay = delay->value;
    openDumps(TextOf(settings.get<C2DecoderDumpSetting>()));
    return C2_OK;
}

void Decoder::openDumps(const std::string& folder) {
    if (folder.empty())
        return;
    const bool vpx = mMediaType.find("on2") != std::string::npos;
    const std::string extension = vpx ? "ivf" : mMediaType == "video/hevc" ? "265" : "264";
    LX2FileDump::Create(mMediaType, folder + "/bitstream." + extension, &mUnitDump);
    LX2FileDump::Create("video/raw", folder + "/frames.yuv", &mFrameDump, true);
}

void Decoder::stop() {
    flush();
    mHardware.reset();
    mPool.reset();
    mScratchPool.reset();
    mConverter.reset();
    mUnitDump.reset();
    mFrameDump.reset();
    mHeaders.clear();
    mShape = {};
    mInfos.clear();
}

void Decoder::flush() {
    if (mHardware != nullptr)
        mHardware->flush();
    if (mPool != nullptr)
        mPool->dropAllReferences();
    mReferences.clear();
    mUnits.clear();
    mHeadersDue = !mHeaders.empty();
}

void Decoder::process(const Input& input) {
    const auto buffer = LX2Buffer::CreateFromC2Buffer(input.buffer);
    buffer->setTimestamp(input.ordinal.timestamp.peekull());
    buffer->setInputIndex(input.ordinal.frameIndex.peekull());
    if (!buffer->linear()->isValid() || buffer->linear()->size() == 0) {
        Output output;
        output.result = buffer->linear()->isValid() ? C2_OK : C2_BAD_VALUE;
        mHost.finish(input.key, std::move(output));
        return;
    }
    if (mUnitDump != nullptr)
        mUnitDump->write(buffer);
    const auto mapping = buffer->linear()->mapReadOnly();
    const auto bytes = buffer->linear()->bytes(mapping);
    if (bytes) {
        submit(input, bytes);
    } else {
        Output output;
        output.result = C2_CANNOT_DO;
        mHost.finish(input.key, std::move(output));
    }
}

// Parameter sets are kept: after a flush they go before what comes next.
void Decoder::submit(const Input& input, const LX2Buffer::Bytes& bytes) {
    const uint32_t headers = ParameterSetSize(mMediaType, bytes.data, bytes.size);
    if ((input.flags & C2FrameData::FLAG_CODEC_CONFIG) != 0 || headers == bytes.size) {
        if (!mHeadersDue)
            mHeaders.clear();
        mHeaders.insert(mHeaders.end(), bytes.data, bytes.data + headers);
        mHeadersDue = !mHeaders.empty();
        mHost.finish(input.key, {});
        return;
    }
    mUnits[input.key] = {(input.flags & C2FrameData::FLAG_DROP_FRAME) != 0,
                         input.ordinal.timestamp.peekull()};
    if (headers > 0)
        mHeaders.assign(bytes.data, bytes.data + headers);
    if (headers > 0 || !mHeadersDue) {
        mHardware->submit(bytes.data, bytes.size, input.key);
    } else {
        std::vector<uint8_t> whole = mHeaders;
        whole.insert(whole.end(), bytes.data, bytes.data + bytes.size);
        mHardware->submit(whole.data(), whole.size(), input.key);
    }
    mHeadersDue = false;
    announceDelay(input.key);
    deliver();
}

// The client learns at once how many units it has to give before it may wait for one.
void Decoder::announceDelay(uint64_t key) {
    if (mHardware->delay() == mDelay)
        return;
    mDelay = mHardware->delay();
    C2PortActualDelayTuning::output delay(mDelay);
    update({&delay});
    Output output;
    output.more = true;
    mHost.finish(key, std::move(output));
}

void Decoder::drain(bool endsStream) {
    mHardware->drain(endsStream);
    deliver();
    if (endsStream)
        mHeadersDue = !mHeaders.empty();
}

void Decoder::deliver() {
    while (const auto decoded = mHardware->next()) {
        if (decoded->status == C2_OMITTED) {
            LX2_LOGE("neither 4:2:0 nor of 8 or 10 bit");
            return mHost.fail(C2_OMITTED);
        }
        Output output = makeOutput(*decoded);
        if (output.result == C2_CANCELED)
            return;
        if (output.result != C2_OK)
            LX2_LOGE("unit %llu: failed (%d)", static_cast<unsigned long long>(decoded->unit),
                     static_cast<int>(output.result));
        output.more = decoded->more;
        mHost.finish(decoded->unit, std::move(output));
        if (!decoded->more)
            mUnits.erase(decoded->unit);
    }
}

Output Decoder::makeOutput(const DecodedUnit& decoded) {
    Output output;
    output.result = decoded.status;
    output.flags = decoded.damaged ? uint32_t{C2FrameData::FLAG_CORRUPT} : 0;
    const Unit unit = mUnits[decoded.unit];
    if (decoded.picture == nullptr || unit.dropped)
        return output;
    std::shared_ptr<LX2Buffer> buffer;
    output.result = allocate(decoded, &buffer);
    if (output.result == C2_OK)
        output.result = fill(decoded, buffer->graphic());
    if (output.result != C2_OK)
        return output;

    LX2Buffer::Graphic& view = *buffer->graphic();
    if (!IsSameShape(decoded, mShape))
        describe(decoded, view.format());
    view.setCrop(C2Rect(decoded.width, decoded.height));
    view.setPrivateMetadata(mInfos);
    for (const auto& info : mInfos)
        buffer->addInfo(info);
    buffer->setTimestamp(unit.timestamp);
    buffer->setOutputIndex(mPictures++);
    buffer->setFlags((decoded.keyFrame ? BufFlag::SYNC_FRAME : 0) |
                     (decoded.damaged ? BufFlag::CORRUPTED : 0));
    hold(buffer);
    if (mFrameDump != nullptr)
        mFrameDump->write(buffer);
    output.buffer = buffer->getSharedBuffer();
    if (output.buffer != nullptr)
        mHardware->stamp(*output.buffer, unit.timestamp);
    return output;
}

// Waits while the client has all buffers. Before long that the pictures referred to are let go: the
// client may have no more buffers than those.
c2_status_t Decoder::allocate(const DecodedUnit& decoded, std::shared_ptr<LX2Buffer>* buffer) {
    if (mPool == nullptr)
        mPool = LX2GraphicBufferPool::Create(mHost.outputPool(C2BlockPool::BASIC_GRAPHIC));
    const bool native = PixFormat::IsCompressed(mWantedFormat);
    Configure(mPool.get(), decoded, native ? NativeFormat(decoded) : mWantedFormat);
    for (;;) {
        const auto limit = mReferences.empty() ? kLongestWait : kShortWait;
        const LX2Status status = mPool->allocateWithin(buffer, limit, &mHost.interrupted());
        if (status != C2_TIMED_OUT)
            return static_cast<c2_status_t>(status);
        if (!mReferences.empty())
            dropOldestReference();
    }
}

// What the hardware can't write it writes in its own format, for the converter.
c2_status_t Decoder::fill(const DecodedUnit& decoded, LX2Buffer::Graphic* target) {
    if (target->format() != PixFormat::YV12)
        return mHardware->write(decoded, *target) ? C2_OK : C2_CANNOT_DO;
    if (mScratchPool == nullptr) {
        std::shared_ptr<C2BlockPool> blocks;
        android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
        mScratchPool = LX2GraphicBufferPool::Create(blocks);
        mConverter = std::make_unique<LX2ColorConverter>();
    }
    Configure(mScratchPool.get(), decoded, NativeFormat(decoded));
    std::shared_ptr<LX2Buffer> scratch;
    const LX2Status status = mScratchPool->allocate(&scratch);
    if (status != C2_OK)
        return static_cast<c2_status_t>(status);
    return mHardware->write(decoded, *scratch->graphic()) &&
                   mConverter->convert(scratch->graphic(), target) == 0
               ? C2_OK
               : C2_CANNOT_DO;
}

// The first picture that differs from those before: the settings follow the stream.
void Decoder::describe(const DecodedUnit& decoded, uint32_t format) {
    mShape = decoded;
    mShape.picture.reset();
    C2StreamPictureSizeInfo::output size(0u, decoded.width, decoded.height);
    C2StreamCropRectInfo::output crop(0u, C2Rect(decoded.width, decoded.height));
    C2StreamPixelFormatInfo::output pixels(0u, format);
    C2StreamColorAspectsInfo::input coded(0u, decoded.aspects);
    const C2StreamHdrStaticInfo::output codedHdr(0u,
                                                 decoded.hdr.value_or(C2HdrStaticMetadataStruct{}));
    auto hdr = std::make_shared<C2StreamHdrStaticInfo::output>();
    LX2ColorHsi::preferredHsi(mMediaType, codedHdr, mDefaultHdr, hdr.get(),
                              decoded.hdr.has_value());
    update({&size, &crop, &pixels, &coded, hdr.get()});
    mInfos.clear();
    if (const auto aspects = mHost.settings().get<C2StreamColorAspectsInfo::output>())
        mInfos.push_back(std::make_shared<C2StreamColorAspectsInfo::output>(*aspects));
    // A source without a mastering display has nothing to tell the display.
    if (hdr->mastering.red.x != 0.0f)
        mInfos.push_back(hdr);
}

void Decoder::update(const std::vector<C2Param*>& params) {
    mHost.update(
        params,
        {C2StreamPictureSizeInfo::output::PARAM_TYPE, C2StreamCropRectInfo::output::PARAM_TYPE,
         C2StreamPixelFormatInfo::output::PARAM_TYPE, C2StreamColorAspectsInfo::output::PARAM_TYPE,
         C2StreamHdrStaticInfo::output::PARAM_TYPE, C2PortActualDelayTuning::output::PARAM_TYPE});
}

// A decoder predicts from the last pictures: it holds them until newer ones take their place.
void Decoder::hold(const std::shared_ptr<LX2Buffer>& buffer) {
    if (mMostReferences == 0 || mPool->holdReference(mPictures, buffer) != C2_OK)
        return;
    mReferences.push_back(mPictures);
    if (mReferences.size() > mMostReferences)
        dropOldestReference();
}

void Decoder::dropOldestReference() {
    mPool->dropReference(mReferences.front());
    mReferences.pop_front();
}

namespace {

std::unique_ptr<Codec> MakeDecoder(CodecHost& host) {
    return std::make_unique<Decoder>(host);
}

}  // namespace

}  // namespace lx2::example

extern "C" __attribute__((visibility("default"))) C2ComponentFactory* CreateCodec2Factory() {
    return lx2::example::NewFactory(
        {"lx2.decoder", &lx2::example::MakeDecoderParams, &lx2::example::MakeDecoder});
}

extern "C" __attribute__((visibility("default"))) void DestroyCodec2Factory(
    C2ComponentFactory* factory) {
    delete factory;
}
