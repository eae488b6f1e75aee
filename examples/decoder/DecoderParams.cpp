#include "DecoderParams.h"

#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>

#include <algorithm>
#include <string>

#include "../component/Params.h"

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

class DecoderParams : public ComponentParams {
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

    void addStream();
    void addColor();
    void addVendor();

    // What the stream says and what the client wants where it is silent, as the library weighs it.
    static C2R SettleColor(bool, C2P<Color>& me, const C2P<DefaultColor>& defaults,
                           const C2P<CodedColor>& coded, const C2P<MediaType>& mediaType);
    static C2R CalcInputSize(bool, C2P<C2StreamMaxBufferSizeInfo::input>& me,
                             const C2P<Size>& size);

    std::shared_ptr<C2PortMediaTypeSetting::output> mOutputMediaType;
    std::shared_ptr<MediaType> mMediaType;
    std::shared_ptr<Size> mSize;
    std::shared_ptr<Crop> mCrop;
    std::shared_ptr<C2StreamPixelFormatInfo::output> mFormat;
    std::shared_ptr<C2StreamMaxBufferSizeInfo::input> mInputSize;
    std::shared_ptr<Delay> mDelay;
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
            .withSetter(TakeSupported<C2StreamPixelFormatInfo::output>)
            .build());
    addParameter(DefineParam(mInputSize, C2_PARAMKEY_INPUT_MAX_BUFFER_SIZE)
                     .withDefault(new C2StreamMaxBufferSizeInfo::input(0u, 1u << 20))
                     .calculatedAs(CalcInputSize, mSize)
                     .build());
    add(mDelay, C2_PARAMKEY_OUTPUT_DELAY, std::make_shared<Delay>(kLongestDelay), Take<Delay>);
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
    : ComponentParams(reflector, "lx2.decoder", C2Component::KIND_DECODER, C2BufferData::LINEAR,
                      C2BufferData::GRAPHIC) {
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
