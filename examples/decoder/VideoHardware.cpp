#include "VideoHardware.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mastering_display_metadata.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace lx2::example {

namespace {

AVCodecID CodecId(Codec codec) {
    switch (codec) {
        case Codec::Avc:
            return AV_CODEC_ID_H264;
        case Codec::Hevc:
            return AV_CODEC_ID_HEVC;
        case Codec::Vp8:
            return AV_CODEC_ID_VP8;
        case Codec::Vp9:
            return AV_CODEC_ID_VP9;
    }
    return AV_CODEC_ID_NONE;
}

std::string ErrorText(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE];
    return av_make_error_string(text, sizeof(text), error);
}

template <typename Value>
struct ColorRow {
    int coded;  // as H.273 numbers it
    Value value;
};

constexpr ColorRow<C2Color::primaries_t> kPrimaries[] = {
    {AVCOL_PRI_BT709, C2Color::PRIMARIES_BT709},
    {AVCOL_PRI_BT470M, C2Color::PRIMARIES_BT470_M},
    {AVCOL_PRI_BT470BG, C2Color::PRIMARIES_BT601_625},
    {AVCOL_PRI_SMPTE170M, C2Color::PRIMARIES_BT601_525},
    {AVCOL_PRI_SMPTE240M, C2Color::PRIMARIES_BT601_525},
    {AVCOL_PRI_FILM, C2Color::PRIMARIES_GENERIC_FILM},
    {AVCOL_PRI_BT2020, C2Color::PRIMARIES_BT2020},
    {AVCOL_PRI_SMPTE431, C2Color::PRIMARIES_RP431},
    {AVCOL_PRI_SMPTE432, C2Color::PRIMARIES_EG432},
    {AVCOL_PRI_EBU3213, C2Color::PRIMARIES_EBU3213},
};
constexpr ColorRow<C2Color::transfer_t> kTransfers[] = {
    {AVCOL_TRC_BT709, C2Color::TRANSFER_170M},
    {AVCOL_TRC_GAMMA22, C2Color::TRANSFER_GAMMA22},
    {AVCOL_TRC_GAMMA28, C2Color::TRANSFER_GAMMA28},
    {AVCOL_TRC_SMPTE170M, C2Color::TRANSFER_170M},
    {AVCOL_TRC_SMPTE240M, C2Color::TRANSFER_240M},
    {AVCOL_TRC_LINEAR, C2Color::TRANSFER_LINEAR},
    {AVCOL_TRC_IEC61966_2_4, C2Color::TRANSFER_XVYCC},
    {AVCOL_TRC_BT1361_ECG, C2Color::TRANSFER_BT1361},
    {AVCOL_TRC_IEC61966_2_1, C2Color::TRANSFER_SRGB},
    {AVCOL_TRC_BT2020_10, C2Color::TRANSFER_170M},
    {AVCOL_TRC_BT2020_12, C2Color::TRANSFER_170M},
    {AVCOL_TRC_SMPTE2084, C2Color::TRANSFER_ST2084},
    {AVCOL_TRC_SMPTE428, C2Color::TRANSFER_ST428},
    {AVCOL_TRC_ARIB_STD_B67, C2Color::TRANSFER_HLG},
};
constexpr ColorRow<C2Color::matrix_t> kMatrices[] = {
    {AVCOL_SPC_BT709, C2Color::MATRIX_BT709},
    {AVCOL_SPC_FCC, C2Color::MATRIX_FCC47_73_682},
    {AVCOL_SPC_BT470BG, C2Color::MATRIX_BT601},
    {AVCOL_SPC_SMPTE170M, C2Color::MATRIX_BT601},
    {AVCOL_SPC_SMPTE240M, C2Color::MATRIX_240M},
    {AVCOL_SPC_BT2020_NCL, C2Color::MATRIX_BT2020},
    {AVCOL_SPC_BT2020_CL, C2Color::MATRIX_BT2020_CONSTANT},
};
constexpr ColorRow<C2Color::range_t> kRanges[] = {
    {AVCOL_RANGE_MPEG, C2Color::RANGE_LIMITED},
    {AVCOL_RANGE_JPEG, C2Color::RANGE_FULL},
};

// What a table doesn't list is unspecified.
template <typename Value, size_t N>
Value Translate(const ColorRow<Value> (&rows)[N], int coded) {
    for (const auto& row : rows) {
        if (row.coded == coded)
            return row.value;
    }
    return Value{};
}

float Number(AVRational value) {
    return value.den != 0 ? static_cast<float>(av_q2d(value)) : 0.0f;
}

C2ColorXyStruct Point(const AVRational (&xy)[2]) {
    C2ColorXyStruct point;
    point.x = Number(xy[0]);
    point.y = Number(xy[1]);
    return point;
}

std::optional<C2HdrStaticMetadataStruct> HdrOf(const AVFrame& frame) {
    const auto* display = av_frame_get_side_data(&frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    const auto* light = av_frame_get_side_data(&frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL);
    if (display == nullptr && light == nullptr)
        return std::nullopt;
    C2HdrStaticMetadataStruct hdr;
    if (display != nullptr) {
        const auto& mastering = *reinterpret_cast<const AVMasteringDisplayMetadata*>(display->data);
        if (mastering.has_primaries != 0) {
            hdr.mastering.red = Point(mastering.display_primaries[0]);
            hdr.mastering.green = Point(mastering.display_primaries[1]);
            hdr.mastering.blue = Point(mastering.display_primaries[2]);
            hdr.mastering.white = Point(mastering.white_point);
        }
        if (mastering.has_luminance != 0) {
            hdr.mastering.maxLuminance = Number(mastering.max_luminance);
            hdr.mastering.minLuminance = Number(mastering.min_luminance);
        }
    }
    if (light != nullptr) {
        const auto& level = *reinterpret_cast<const AVContentLightMetadata*>(light->data);
        hdr.maxCll = static_cast<float>(level.MaxCLL);
        hdr.maxFall = static_cast<float>(level.MaxFALL);
    }
    return hdr;
}

CodedColor ColorOf(const AVFrame& frame) {
    CodedColor color;
    color.aspects.primaries = Translate(kPrimaries, frame.color_primaries);
    color.aspects.transfer = Translate(kTransfers, frame.color_trc);
    color.aspects.matrix = Translate(kMatrices, frame.colorspace);
    color.aspects.range = Translate(kRanges, frame.color_range);
    color.hdr = HdrOf(frame);
    return color;
}

bool IsKnown(int format) {
    return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P ||
           format == AV_PIX_FMT_YUV420P10LE;
}

bool HasOddSize(const AVFrame& frame) {
    return frame.width % 2 != 0 || frame.height % 2 != 0;
}

// The last column and row of luma once more; chroma has as many of an even size.
void Repeat(const AVFrame& frame, size_t sampleBytes, AVFrame* padded) {
    const size_t rowBytes = static_cast<size_t>(frame.width) * sampleBytes;
    uint8_t* row = padded->data[0];
    for (int y = 0; y < frame.height; ++y, row += padded->linesize[0])
        if (frame.width % 2 != 0)
            memcpy(row + rowBytes, row + rowBytes - sampleBytes, sampleBytes);
    if (frame.height % 2 != 0)
        memcpy(row, row - padded->linesize[0], static_cast<size_t>(padded->width) * sampleBytes);
}

// False without memory.
bool CopyToEvenSize(const AVFrame& frame, AVFrame* padded) {
    padded->format = frame.format;
    padded->width = frame.width + frame.width % 2;
    padded->height = frame.height + frame.height % 2;
    if (av_frame_get_buffer(padded, 0) < 0 || av_frame_copy(padded, &frame) < 0)
        return false;
    Repeat(frame, frame.format == AV_PIX_FMT_YUV420P10LE ? 2 : 1, padded);
    return true;
}

host::PictureView ViewOf(const AVFrame& frame) {
    const bool ten = frame.format == AV_PIX_FMT_YUV420P10LE;
    host::PictureView picture;
    picture.width = static_cast<uint32_t>(frame.width);
    picture.height = static_cast<uint32_t>(frame.height);
    picture.bitDepth = ten ? 10 : 8;
    picture.sampleBytes = ten ? 2 : 1;
    for (size_t i = 0; i < picture.planes.size(); ++i)
        picture.planes[i] = {frame.data[i], frame.linesize[i]};
    return picture;
}

// Of damaged H.265 libavcodec conceals what it can and tells nothing but its log.
void KeepComplaint(void* object, int level, const char* format, va_list arguments) {
    if (object == nullptr || level > AV_LOG_ERROR ||
        *static_cast<const AVClass* const*>(object) != avcodec_get_class())
        return;
    const auto* context = static_cast<const AVCodecContext*>(object);
    auto* complaint = static_cast<std::string*>(context->opaque);
    if (complaint == nullptr || !complaint->empty() || context->codec_id != AV_CODEC_ID_HEVC)
        return;
    char line[200];
    vsnprintf(line, sizeof(line), format, arguments);
    complaint->assign(line, strcspn(line, "\n"));
}

}  // namespace

void VideoHardware::Free::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void VideoHardware::Free::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}

void VideoHardware::Free::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}

VideoHardware::VideoHardware(Codec codec) : mFrame(av_frame_alloc()), mPacket(av_packet_alloc()) {
    av_log_set_callback(&KeepComplaint);  // faults are told by this component, in its own lines
    const AVCodec* decoder = avcodec_find_decoder(CodecId(codec));
    if (decoder == nullptr || mFrame == nullptr || mPacket == nullptr)
        return;
    std::unique_ptr<AVCodecContext, Free> context(avcodec_alloc_context3(decoder));
    if (context == nullptr)
        return;
    context->opaque = &mComplaint;
    context->thread_count = 1;
    // Where an H.264 stream does not say how long pictures wait for their turn they wait as long as
    // its level allows: after a guess that is too short, pictures that come late are dropped.
    context->strict_std_compliance = FF_COMPLIANCE_STRICT;
    if (avcodec_open2(context.get(), decoder, nullptr) == 0)
        mContext = std::move(context);
}

VideoHardware::~VideoHardware() = default;

std::string VideoHardware::submit(const uint8_t* data, size_t size, uint64_t timestamp,
                                  bool shown) {
    int error = av_new_packet(mPacket.get(), static_cast<int>(size));
    if (error == 0) {
        memcpy(mPacket->data, data, size);
        error = avcodec_send_packet(mContext.get(), mPacket.get());
    }
    av_packet_unref(mPacket.get());
    const std::string complaint = std::exchange(mComplaint, {});
    if (error < 0)
        return ErrorText(error);
    if (shown)
        mTimestamps.insert(timestamp);
    return complaint;
}

std::string VideoHardware::drain() {
    const int error = avcodec_send_packet(mContext.get(), nullptr);
    return error < 0 ? ErrorText(error) : "";
}

void VideoHardware::restart() {
    avcodec_flush_buffers(mContext.get());
}

// Of a frame that nothing announced it is 0.
uint64_t VideoHardware::takeTimestamp() {
    return mTimestamps.empty() ? 0 : mTimestamps.extract(mTimestamps.begin()).value();
}

std::optional<DecodedFrame> VideoHardware::nextFrame(std::string* error) {
    const int status = avcodec_receive_frame(mContext.get(), mFrame.get());
    if (status != 0) {
        if (status != AVERROR(EAGAIN) && status != AVERROR_EOF)
            *error = ErrorText(status);
        return std::nullopt;
    }
    if (!IsKnown(mFrame->format)) {
        const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(mFrame->format));
        *error = std::string("pixel format ") + (name != nullptr ? name : "unknown") +
                 " is not 4:2:0 of 8 or 10 bit";
        mRefuses = true;
        av_frame_unref(mFrame.get());
        return std::nullopt;
    }
    DecodedFrame frame;
    frame.width = static_cast<uint32_t>(mFrame->width);
    frame.height = static_cast<uint32_t>(mFrame->height);
    frame.timestamp = takeTimestamp();
    frame.keyFrame = mFrame->key_frame != 0;
    frame.corrupt = (mFrame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || mFrame->decode_error_flags != 0;
    frame.color = ColorOf(*mFrame);
    std::unique_ptr<AVFrame, Free> picture(av_frame_alloc());
    if (picture != nullptr && !HasOddSize(*mFrame))
        av_frame_move_ref(picture.get(), mFrame.get());
    else if (picture == nullptr || !CopyToEvenSize(*mFrame, picture.get()))
        *error = "no memory";
    av_frame_unref(mFrame.get());
    if (!error->empty())
        return std::nullopt;
    frame.picture = ViewOf(*picture);
    frame.owner = {picture.release(), Free()};
    return frame;
}

}  // namespace lx2::example
