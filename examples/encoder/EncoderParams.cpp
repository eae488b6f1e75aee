#include "EncoderParams.h"

#include "../component/Params.h"

namespace lx2::example {

const std::vector<C2FieldDescriptor> C2EncoderStruct::FieldList() {
    return {DESCRIBE_C2FIELD(qpMin, "qp-min") DESCRIBE_C2FIELD(qpMax, "qp-max")};
}

namespace {

constexpr int64_t kSecond = 1000000;  // microseconds

class EncoderParams : public ComponentParams {
  public:
    explicit EncoderParams(const std::shared_ptr<C2ReflectorHelper>& reflector);

  private:
    using Size = C2StreamPictureSizeInfo::input;
    using MediaType = C2PortMediaTypeSetting::output;
    using Rate = C2StreamFrameRateInfo::output;
    using Bitrate = C2StreamBitrateInfo::output;
    using Interval = C2StreamSyncFrameIntervalTuning::output;
    using Request = C2StreamRequestSyncFrameTuning::output;

    // Takes sizes and quantizers within their ranges alone.
    static C2R CheckSize(bool, const C2P<Size>& old, C2P<Size>& me);
    static C2R CheckQp(bool, const C2P<C2EncoderTuning>& old, C2P<C2EncoderTuning>& me);

    std::shared_ptr<C2PortMediaTypeSetting::input> mInputMediaType;
    std::shared_ptr<MediaType> mMediaType;
    std::shared_ptr<C2PortActualDelayTuning::output> mDelay;
    std::shared_ptr<Size> mSize;
    std::shared_ptr<Rate> mRate;
    std::shared_ptr<Bitrate> mBitrate;
    std::shared_ptr<Interval> mInterval;
    std::shared_ptr<Request> mRequest;
    std::shared_ptr<C2StreamColorAspectsInfo::input> mInputColor;
    std::shared_ptr<C2StreamColorAspectsInfo::output> mColor;
    std::shared_ptr<C2StreamHdrStaticInfo::input> mInputHdr;
    std::shared_ptr<C2StreamHdrStaticInfo::output> mHdr;
    std::shared_ptr<C2EncoderTuning> mEncoder;
    std::shared_ptr<C2EncoderDumpSetting> mDump;
};

C2R EncoderParams::CheckSize(bool, const C2P<Size>& old, C2P<Size>& me) {
    if (me.F(me.v.width).supportsAtAll(me.v.width) && me.F(me.v.height).supportsAtAll(me.v.height))
        return C2R::Ok();
    me.set().width = old.v.width;
    me.set().height = old.v.height;
    return C2R(C2SettingResultBuilder::BadValue(me.F(me.v.width)));
}

C2R EncoderParams::CheckQp(bool, const C2P<C2EncoderTuning>& old, C2P<C2EncoderTuning>& me) {
    if (me.F(me.v.qpMax).supportsAtAll(me.v.qpMax) && me.v.qpMin <= me.v.qpMax)
        return C2R::Ok();
    me.set().qpMin = old.v.qpMin;
    me.set().qpMax = old.v.qpMax;
    return C2R(C2SettingResultBuilder::BadValue(me.F(me.v.qpMax)));
}

EncoderParams::EncoderParams(const std::shared_ptr<C2ReflectorHelper>& reflector)
    : ComponentParams(reflector, "lx2.encoder", C2Component::KIND_ENCODER, C2BufferData::GRAPHIC,
                      C2BufferData::LINEAR) {
    addConstant(mInputMediaType, C2_PARAMKEY_INPUT_MEDIA_TYPE,
                TextParam<C2PortMediaTypeSetting::input>("video/raw"));
    add(mMediaType, C2_PARAMKEY_OUTPUT_MEDIA_TYPE, TextParam<MediaType>("video/avc"),
        Take<MediaType>);
    // A picture comes out before the next one goes in.
    addConstant(mDelay, C2_PARAMKEY_OUTPUT_DELAY,
                std::make_shared<C2PortActualDelayTuning::output>(0u));
    addParameter(
        DefineParam(mSize, C2_PARAMKEY_PICTURE_SIZE)
            .withDefault(new Size(0u, 320, 240))
            .withFields({C2F(mSize, width).inRange(1, 8192), C2F(mSize, height).inRange(1, 8192)})
            .withSetter(CheckSize)
            .build());
    addParameter(DefineParam(mRate, C2_PARAMKEY_FRAME_RATE)
                     .withDefault(new Rate(0u, 30.0f))
                     .withFields({C2F(mRate, value).inRange(0.1f, 1000.0f)})
                     .withSetter(TakeSupported<Rate>)
                     .build());
    addParameter(DefineParam(mBitrate, C2_PARAMKEY_BITRATE)
                     .withDefault(new Bitrate(0u, 4000000))
                     .withFields({C2F(mBitrate, value).inRange(10000, 500000000)})
                     .withSetter(TakeSupported<Bitrate>)
                     .build());
    add(mInterval, C2_PARAMKEY_SYNC_FRAME_INTERVAL, std::make_shared<Interval>(0u, kSecond),
        Take<Interval>);
    add(mRequest, C2_PARAMKEY_REQUEST_SYNC_FRAME, std::make_shared<Request>(0u, C2_FALSE),
        Take<Request>);
    add(mInputColor, C2_PARAMKEY_COLOR_ASPECTS, std::make_shared<C2StreamColorAspectsInfo::input>(),
        Take<C2StreamColorAspectsInfo::input>);
    add(mColor, C2_PARAMKEY_VUI_COLOR_ASPECTS, std::make_shared<C2StreamColorAspectsInfo::output>(),
        Take<C2StreamColorAspectsInfo::output>);
    add(mInputHdr, C2_PARAMKEY_HDR_STATIC_INFO, std::make_shared<C2StreamHdrStaticInfo::input>(),
        Take<C2StreamHdrStaticInfo::input>);
    add(mHdr, C2_PARAMKEY_HDR_STATIC_INFO, std::make_shared<C2StreamHdrStaticInfo::output>(),
        Take<C2StreamHdrStaticInfo::output>);
    addParameter(
        DefineParam(mEncoder, "lx2-encoder")
            .withDefault(new C2EncoderTuning())
            .withFields({C2F(mEncoder, qpMin).inRange(0, 51), C2F(mEncoder, qpMax).inRange(0, 51)})
            .withSetter(CheckQp)
            .build());
    add(mDump, "lx2-encoder-dump", TextParam<C2EncoderDumpSetting>(""), Take<C2EncoderDumpSetting>);
}

}  // namespace

std::shared_ptr<C2InterfaceHelper> MakeEncoderParams(
    const std::shared_ptr<C2ReflectorHelper>& reflector) {
    // Nested structures don't come along by themselves.
    reflector->addStructDescriptors<C2MasteringDisplayColorVolumeStruct, C2ColorXyStruct>();
    return std::make_shared<EncoderParams>(reflector);
}

}  // namespace lx2::example
