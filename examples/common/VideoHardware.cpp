#include "VideoHardware.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "StreamColor.h"

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

const StreamKind& KindOf(Codec codec) {
    static constexpr StreamKind kKinds[] = {
        {Codec::Avc, "video/avc", "264"},
        {Codec::Hevc, "video/hevc", "265"},
        {Codec::Vp8, "video/x-vnd.on2.vp8", "ivf"},
        {Codec::Vp9, "video/x-vnd.on2.vp9", "ivf"},
    };
    return kKinds[static_cast<size_t>(codec)];
}

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
