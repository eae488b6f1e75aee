#include "EncoderHardware.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <cstdio>
#include <cstring>
#include <utility>

#include "../common/StreamColor.h"

namespace lx2::example {

namespace {

struct EncoderRow {
    Codec codec;
    const char* name;
    std::vector<std::pair<const char*, const char*>> options;
};

// Pictures leave in the order in which they come, and key frames are where this hardware wants
// them.
const EncoderRow& RowOf(Codec codec) {
    using Options = std::vector<std::pair<const char*, const char*>>;
    static const Options kVpx = {
        {"deadline", "realtime"}, {"cpu-used", "6"}, {"lag-in-frames", "0"}, {"auto-alt-ref", "0"}};
    static const EncoderRow kRows[] = {
        {Codec::Avc,
         "libx264",
         {{"preset", "veryfast"},
          {"tune", "zerolatency"},
          {"forced-idr", "1"},
          {"x264-params", "scenecut=0"}}},
        {Codec::Hevc,
         "libx265",
         {{"preset", "ultrafast"}, {"tune", "zerolatency"}, {"forced-idr", "1"}}},
        {Codec::Vp8, "libvpx", kVpx},
        {Codec::Vp9, "libvpx-vp9", kVpx},
    };
    return kRows[static_cast<size_t>(codec)];
}

constexpr int kNoKeyFrames = 1 << 20;  // of the encoder's own choice

template <typename P>
const P* Find(const std::vector<std::unique_ptr<C2Param>>& params) {
    for (const auto& param : params) {
        if (const P* found = P::From(param.get()))
            return found;
    }
    return nullptr;
}

bool SameColor(const CodedColor& a, const CodedColor& b) {
    return memcmp(&a.aspects, &b.aspects, sizeof(a.aspects)) == 0 &&
           a.hdr.has_value() == b.hdr.has_value() &&
           (!a.hdr || memcmp(&*a.hdr, &*b.hdr, sizeof(*a.hdr)) == 0);
}

bool TakesTenBits(const AVCodec* encoder) {
    for (const AVPixelFormat* format = encoder->pix_fmts;
         format != nullptr && *format != AV_PIX_FMT_NONE; ++format) {
        if (*format == AV_PIX_FMT_YUV420P10LE)
            return true;
    }
    return false;
}

// H.265 carries the mastering display, in steps of 0.00002 and 0.0001 cd/m2.
std::string X265Parameters(const CodedColor& color) {
    std::string text = "log-level=none:pools=none:frame-threads=1:scenecut=0:keyint=-1";
    if (!color.hdr)
        return text;
    const auto chroma = [](float value) { return static_cast<unsigned>(value * 50000 + 0.5f); };
    const auto light = [](float value) { return static_cast<unsigned>(value * 10000 + 0.5f); };
    const C2MasteringDisplayColorVolumeStruct& display = color.hdr->mastering;
    char hdr[240];
    snprintf(hdr, sizeof(hdr),
             ":master-display=G(%u,%u)B(%u,%u)R(%u,%u)WP(%u,%u)L(%u,%u):max-cll=%u,%u",
             chroma(display.green.x), chroma(display.green.y), chroma(display.blue.x),
             chroma(display.blue.y), chroma(display.red.x), chroma(display.red.y),
             chroma(display.white.x), chroma(display.white.y), light(display.maxLuminance),
             light(display.minLuminance), static_cast<unsigned>(color.hdr->maxCll),
             static_cast<unsigned>(color.hdr->maxFall));
    return text + hdr;
}

std::string ErrorText(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE];
    return av_make_error_string(text, sizeof(text), error);
}

template <typename Sample>
void CopyPlane(const std::vector<uint16_t>& samples, size_t width, uint8_t* plane, int pitch) {
    for (size_t y = 0; y * width < samples.size(); ++y, plane += pitch)
        for (size_t x = 0; x < width; ++x) {
            const auto sample = static_cast<Sample>(samples[y * width + x]);
            memcpy(plane + x * sizeof(Sample), &sample, sizeof(Sample));
        }
}

template <typename Sample>
void CopyPicture(const host::Frame& picture, const AVFrame& frame) {
    CopyPlane<Sample>(picture.y, picture.width, frame.data[0], frame.linesize[0]);
    CopyPlane<Sample>(picture.cb, picture.chromaWidth(), frame.data[1], frame.linesize[1]);
    CopyPlane<Sample>(picture.cr, picture.chromaWidth(), frame.data[2], frame.linesize[2]);
}

}  // namespace

void EncoderHardware::Free::operator()(AVCodecContext* context) const {
    avcodec_free_context(&context);
}

void EncoderHardware::Free::operator()(AVFrame* frame) const {
    av_frame_free(&frame);
}

void EncoderHardware::Free::operator()(AVPacket* packet) const {
    av_packet_free(&packet);
}

EncoderHardware::EncoderHardware(Codec codec, uint32_t rate)
    : mCodec(codec), mRate(rate), mEncoder(avcodec_find_encoder_by_name(RowOf(codec).name)) {
    av_log_set_level(AV_LOG_QUIET);  // faults are told by this component, in its own lines
}

EncoderHardware::~EncoderHardware() = default;

void EncoderHardware::tune(const Tuning& tuning) {
    const bool restarts = tuning.bitrate != mTuning.bitrate || tuning.qpMin != mTuning.qpMin ||
                          tuning.qpMax != mTuning.qpMax;
    mTuning = tuning;
    if (restarts && mContext != nullptr) {
        drain();
        mContext.reset();
    }
}

CodedColor EncoderHardware::readColor(LX2Buffer::Graphic* frame) const {
    std::vector<std::unique_ptr<C2Param>> infos;
    std::vector<std::unique_ptr<C2Param>> updates;
    frame->getPrivateMetadata(&infos, &updates);
    CodedColor color;
    if (const auto* aspects = Find<C2StreamColorAspectsInfo::input>(updates))
        color.aspects = *aspects;
    if (const auto* hdr = Find<C2StreamHdrStaticInfo::input>(updates))
        color.hdr = *hdr;
    return color;
}

std::string EncoderHardware::open(uint32_t width, uint32_t height, uint32_t bitDepth) {
    std::unique_ptr<AVCodecContext, Free> context(avcodec_alloc_context3(mEncoder));
    if (context == nullptr)
        return "no memory";
    context->width = static_cast<int>(width);
    context->height = static_cast<int>(height);
    context->pix_fmt = bitDepth == 10 ? AV_PIX_FMT_YUV420P10LE : AV_PIX_FMT_YUV420P;
    context->time_base = {1, static_cast<int>(mRate)};
    context->framerate = {static_cast<int>(mRate), 1};
    context->bit_rate = mTuning.bitrate;
    context->gop_size = kNoKeyFrames;
    context->max_b_frames = 0;
    context->qmin = mTuning.qpMin;
    context->qmax = mTuning.qpMax;
    context->thread_count = 1;
    SetAspects(mColor.aspects, context.get());
    for (const auto& [name, value] : RowOf(mCodec).options)
        av_opt_set(context->priv_data, name, value, 0);
    if (mCodec == Codec::Hevc)
        av_opt_set(context->priv_data, "x265-params", X265Parameters(mColor).c_str(), 0);
    const int error = avcodec_open2(context.get(), mEncoder, nullptr);
    if (error < 0)
        return "the encoder can't be opened: " + ErrorText(error);
    mContext = std::move(context);
    mSinceKeyFrame = 0;
    return "";
}

std::string EncoderHardware::send(const AVFrame* frame) {
    const int error = avcodec_send_frame(mContext.get(), frame);
    if (error < 0)
        return ErrorText(error);
    const std::unique_ptr<AVPacket, Free> packet(av_packet_alloc());
    while (packet != nullptr && avcodec_receive_packet(mContext.get(), packet.get()) == 0) {
        mUnits.push_back({{packet->data, packet->data + packet->size},
                          static_cast<uint64_t>(packet->pts),
                          (packet->flags & AV_PKT_FLAG_KEY) != 0});
        av_packet_unref(packet.get());
    }
    return packet == nullptr ? "no memory" : "";
}

std::string EncoderHardware::encode(LX2Buffer::Graphic* view, uint64_t index) {
    auto picture =
        host::ReadFrame(view->fd(), view->offset(), view->format(), view->width(), view->height());
    if (!picture)
        return "the frame can't be read";
    if (picture->bitDepth == 10 && !TakesTenBits(mEncoder))
        picture = picture->withBitDepth(8);
    const CodedColor color = readColor(view);
    if (mContext != nullptr && !SameColor(color, mColor)) {
        drain();
        mContext.reset();
    }
    mColor = color;
    if (mContext == nullptr) {
        std::string problem = open(picture->width, picture->height, picture->bitDepth);
        if (!problem.empty())
            return problem;
    }
    const std::unique_ptr<AVFrame, Free> frame(av_frame_alloc());
    if (frame == nullptr)
        return "no memory";
    frame->format = mContext->pix_fmt;
    frame->width = mContext->width;
    frame->height = mContext->height;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return "no memory";
    if (picture->bitDepth == 10)
        CopyPicture<uint16_t>(*picture, *frame);
    else
        CopyPicture<uint8_t>(*picture, *frame);
    frame->pts = static_cast<int64_t>(index);
    const bool key = mSinceKeyFrame == 0 || mSinceKeyFrame >= mTuning.keyFrameInterval;
    frame->pict_type = key ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    mSinceKeyFrame = key ? 1 : mSinceKeyFrame + 1;
    return send(frame.get());
}

std::string EncoderHardware::drain() {
    return mContext == nullptr ? "" : send(nullptr);
}

std::optional<EncodedUnit> EncoderHardware::nextUnit() {
    if (mUnits.empty())
        return std::nullopt;
    EncodedUnit unit = std::move(mUnits.front());
    mUnits.pop_front();
    return unit;
}

}  // namespace lx2::example
