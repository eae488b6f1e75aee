#include "DecoderParams.h"

#include <C2Component.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>

#include <algorithm>
#include <string>

#include "../component/Settings.h"

namespace lx2::example {

const std::vector<C2FieldDescriptor> C2DecoderHardwareStruct::FieldList() {
    return {DESCRIBE_C2FIELD(threads, "threads")};
}
const std::vector<C2FieldDescriptor> C2DecoderStruct::FieldList() {
    return {DESCRIBE_C2FIELD(references, "references") DESCRIBE_C2FIELD(hardware, "hardware")};
}

namespace {

// Of H.264, which may reorder as many pictures, and one whose second field is still to come.
constexpr uint32_t kLongestDelay = 17;

class DecoderParams : public C2InterfaceHelper {
  public:
    explicit DecoderParams(const std::shared_ptr<C2ReflectorHelper>& reflector);

  private:
    using Size = C2StreamPictureSizeInfo::output;
    using Crop = C2StreamCropRectInfo::output;
    using DefaultColor = C2StreamColorAspectsTuning::output;
    using CodedColor = C2StreamColorAspectsInfo::input;
    using Color = C2StreamColorAspectsInfo::output;
    using MediaType = C2PortMediaTypeSetting::input;
    using Hdr = C2StreamHdrStaticInfo::output;
    using Delay = C2PortActualDelayTuning::output;
    using Pools = C2PortBlockPoolsTuning::output;

    template <typename P>
    void addConstant(std::shared_ptr<P>& param, const char* key, std::shared_ptr<P> value) {
        addParameter(DefineParam(param, key).withConstValue(value).build());
    }
    // Fields may have any values.
    template <typename P, typename... Others>
    void add(std::shared_ptr<P>& param, const char* key, std::shared_ptr<P> value,
             C2R (*setter)(bool, C2P<P>&, const C2P<Others>&...),
             std::shared_ptr<Others>&... others) {
        addParameter(
            DefineParam(param, key).withDefault(value).withSetter(setter, others...).build());
    }
    void addStream();
    void addColor();
    void addVendor();

    // Takes a value as it is.
    template <typename P>
    static C2R Take(bool, C2P<P>&) {
        return C2R::Ok();
    }
    // What the stream says and what the client wants where it is silent, as the library weighs it.
    static C2R SettleColor(bool, C2P<Color>& me, const C2P<DefaultColor>& defaults,
                           const C2P<CodedColor>& coded, const C2P<MediaType>& mediaType);
    static C2R CheckFormat(bool, const C2P<C2StreamPixelFormatInfo::output>& old,
                           C2P<C2StreamPixelFormatInfo::output>& me);
    static C2R CalcInputSize(bool, C2P<C2StreamMaxBufferSizeInfo::input>& me,
                             const C2P<Size>& size);

    std::shared_ptr<C2ComponentNameSetting> mName;
    std::shared_ptr<C2ComponentKindSetting> mKind;
    std::shared_ptr<C2ComponentDomainSetting> mDomain;
    std::shared_ptr<C2StreamBufferTypeSetting::input> mInputType;
    std::shared_ptr<C2StreamBufferTypeSetting::output> mOutputType;
    std::shared_ptr<C2PortMediaTypeSetting::output> mOutputMediaType;
    std::shared_ptr<MediaType> mMediaType;
    std::shared_ptr<Size> mSize;
    std::shared_ptr<Crop> mCrop;
    std::shared_ptr<C2StreamPixelFormatInfo::output> mFormat;
    std::shared_ptr<C2StreamMaxBufferSizeInfo::input> mInputSize;
    std::shared_ptr<Delay> mDelay;
    std::shared_ptr<Pools> mPools;
    std::shared_ptr<DefaultColor> mDefaultColor;
    std::shared_ptr<CodedColor> mCodedColor;
    std::shared_ptr<Color> mColor;
    std::shared_ptr<Hdr> mHdr;
    std::shared_ptr<C2DecoderTuning> mDecoder;
    std::shared_ptr<C2DecoderDumpSetting> mDump;
};

C2R DecoderParams::SettleColor(bool, C2P<Color>& me, const C2P<DefaultColor>& defaults,
                               const C2P<CodedColor>& coded, const C2P<MediaType>& mediaType) {
    const Color stream(0u, coded.v);
    Color settled;
    LX2ColorAspects::preferredColorAspects(mediaType.v.m.value, stream, defaults.v, &settled);
    static_cast<C2ColorAspectsStruct&>(me.set()) = settled;
    return C2R::Ok();
}

C2R DecoderParams::CheckFormat(bool, const C2P<C2StreamPixelFormatInfo::output>& old,
                               C2P<C2StreamPixelFormatInfo::output>& me) {
    if (me.F(me.v.value).supportsAtAll(me.v.value))
        return C2R::Ok();
    me.set().value = old.v.value;
    return C2R(C2SettingResultBuilder::BadValue(me.F(me.v.value)));
}

// No unit is longer than its picture uncompressed, of which a small one may come close.
C2R DecoderParams::CalcInputSize(bool, C2P<C2StreamMaxBufferSizeInfo::input>& me,
                                 const C2P<Size>& size) {
    me.set().value = std::max(size.v.width * size.v.height * 3 / 2, 1u << 20);
    return C2R::Ok();
}

void DecoderParams::addStream() {
    add(mMediaType, C2_PARAMKEY_INPUT_MEDIA_TYPE, TextParam<MediaType>("video/avc"),
        Take<MediaType>);
    addParameter(
        DefineParam(mSize, C2_PARAMKEY_PICTURE_SIZE)
            .withDefault(new Size(0u, 320, 240))
            .withFields({C2F(mSize, width).inRange(1, 8192), C2F(mSize, height).inRange(1, 8192)})
            .withSetter(Take<Size>)
            .build());
    add(mCrop, C2_PARAMKEY_CROP_RECT, std::make_shared<Crop>(0u, C2Rect(320, 240)), Take<Crop>);
    addParameter(
        DefineParam(mFormat, C2_PARAMKEY_PIXEL_FORMAT)
            .withDefault(new C2StreamPixelFormatInfo::output(0u, PixFormat::MIREL_NV12_CMPX))
            .withFields(
                {C2F(mFormat, value)
                     .oneOf({PixFormat::MIREL_NV12_CMPX, PixFormat::MIREL_TP10,
                             PixFormat::MIREL_NV12, PixFormat::MIREL_P010, PixFormat::YV12})})
            .withSetter(CheckFormat)
            .build());
    addParameter(DefineParam(mInputSize, C2_PARAMKEY_INPUT_MAX_BUFFER_SIZE)
                     .withDefault(new C2StreamMaxBufferSizeInfo::input(0u, 1u << 20))
                     .calculatedAs(CalcInputSize, mSize)
                     .build());
    add(mDelay, C2_PARAMKEY_OUTPUT_DELAY, std::make_shared<Delay>(kLongestDelay), Take<Delay>);
    std::shared_ptr<Pools> pools = Pools::AllocShared(1);
    pools->m.values[0] = C2BlockPool::BASIC_GRAPHIC;
    add(mPools, C2_PARAMKEY_OUTPUT_BLOCK_POOLS, pools, Take<Pools>);
}

void DecoderParams::addColor() {
    const C2ColorAspectsStruct defaults(C2Color::RANGE_LIMITED, C2Color::PRIMARIES_BT601_525,
                                        C2Color::TRANSFER_170M, C2Color::MATRIX_BT601);
    add(mDefaultColor, C2_PARAMKEY_DEFAULT_COLOR_ASPECTS,
        std::make_shared<DefaultColor>(0u, defaults), Take<DefaultColor>);
    add(mCodedColor, C2_PARAMKEY_VUI_COLOR_ASPECTS, std::make_shared<CodedColor>(),
        Take<CodedColor>);
    add(mColor, C2_PARAMKEY_COLOR_ASPECTS, std::make_shared<Color>(0u, defaults), SettleColor,
        mDefaultColor, mCodedColor, mMediaType);
    add(mHdr, C2_PARAMKEY_HDR_STATIC_INFO, std::make_shared<Hdr>(), Take<Hdr>);
}

void DecoderParams::addVendor() {
    addParameter(DefineParam(mDecoder, "lx2-decoder")
                     .withDefault(new C2DecoderTuning())
                     .withFields({C2F(mDecoder, references).inRange(0, 16),
                                  C2F(mDecoder, hardware.threads).inRange(1, 16)})
                     .withSetter(Take<C2DecoderTuning>)
                     .build());
    add(mDump, "lx2-decoder-dump", TextParam<C2DecoderDumpSetting>(""), Take<C2DecoderDumpSetting>);
}

DecoderParams::DecoderParams(const std::shared_ptr<C2ReflectorHelper>& reflector)
    : C2InterfaceHelper(reflector) {
    setDerivedInstance(this);
    addConstant(mName, C2_PARAMKEY_COMPONENT_NAME,
                TextParam<C2ComponentNameSetting>("lx2.decoder"));
    addConstant(mKind, C2_PARAMKEY_COMPONENT_KIND,
                std::make_shared<C2ComponentKindSetting>(C2Component::KIND_DECODER));
    addConstant(mDomain, C2_PARAMKEY_COMPONENT_DOMAIN,
                std::make_shared<C2ComponentDomainSetting>(C2Component::DOMAIN_VIDEO));
    addConstant(mInputType, C2_PARAMKEY_INPUT_STREAM_BUFFER_TYPE,
                std::make_shared<C2StreamBufferTypeSetting::input>(0u, C2BufferData::LINEAR));
    addConstant(mOutputType, C2_PARAMKEY_OUTPUT_STREAM_BUFFER_TYPE,
                std::make_shared<C2StreamBufferTypeSetting::output>(0u, C2BufferData::GRAPHIC));
    addConstant(mOutputMediaType, C2_PARAMKEY_OUTPUT_MEDIA_TYPE,
                TextParam<C2PortMediaTypeSetting::output>("video/raw"));
    addStream();
    addColor();
    addVendor();
}

}  // namespace

std::shared_ptr<C2InterfaceHelper> MakeDecoderParams(
    const std::shared_ptr<C2ReflectorHelper>& reflector) {
    // Nested structures don't come along by themselves.
    reflector->addStructDescriptors<C2DecoderHardwareStruct, C2MasteringDisplayColorVolumeStruct,
                                    C2ColorXyStruct>();
    return std::make_shared<DecoderParams>(reflector);
}

}  // namespace lx2::example
