// libavcodec and the host's video core in the part of the video hardware.
#include "EncoderHardware.h"

#include <lx2host/VideoCore.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <deque>
#include <utility>

#include "../component/AvColor.h"
#include "../component/AvPointers.h"

namespace lx2::example {

namespace {

// Pictures leave in the order in which they come, and key frames are where the component wants
// them.
struct CodecRow {
    const char* mediaType;
    const char* encoder;
    const char* preset;
    const char* parameters;  // name of the encoder's own list
    bool takesPairs;         // chroma as NV12 has it
    bool takesTenBits;
};
constexpr CodecRow kCodecs[] = {
    {"video/avc", "libx264", "veryfast", "x264-params", true, false},
    {"video/hevc", "libx265", "ultrafast", "x265-params", false, true},
};
constexpr int kNoKeyFrames = 1 << 20;  // of the encoder's own choice

// The rate of film and television is a multiple of 1000/1001.
AVRational Rational(float rate) {
    const double whole = std::round(rate), broadcast = std::round(rate * 1.001);
    if (std::abs(rate - whole) < 1e-3)
        return {static_cast<int>(whole), 1};
    if (std::abs(rate - broadcast / 1.001) < 2e-3)
        return {static_cast<int>(broadcast) * 1000, 1001};
    return av_d2q(rate, 1000);
}

// H.265 carries the mastering display, in steps of 0.00002 and 0.0001 cd/m2, and the light levels
// in whole cd/m2.
std::string HdrText(const C2HdrStaticMetadataStruct& hdr) {
    const auto chroma = [](float value) { return std::lround(value * 50000); };
    const auto light = [](float value) { return std::lround(value * 10000); };
    const C2MasteringDisplayColorVolumeStruct& display = hdr.mastering;
    char text[240];
    snprintf(text, sizeof(text),
             ":master-display=G(%ld,%ld)B(%ld,%ld)R(%ld,%ld)WP(%ld,%ld)L(%ld,%ld):max-cll=%ld,%ld",
             chroma(display.green.x), chroma(display.green.y), chroma(display.blue.x),
             chroma(display.blue.y), chroma(display.red.x), chroma(display.red.y),
             chroma(display.white.x), chroma(display.white.y), light(display.maxLuminance),
             light(display.minLuminance), std::lround(hdr.maxCll), std::lround(hdr.maxFall));
    return text;
}

bool operator==(const EncoderSetup& a, const EncoderSetup& b) {
    return a.rate == b.rate && a.bitrate == b.bitrate && a.qpMin == b.qpMin && a.qpMax == b.qpMax &&
           memcmp(&a.aspects, &b.aspects, sizeof(a.aspects)) == 0 &&
           a.hdr.has_value() == b.hdr.has_value() &&
           (!a.hdr || memcmp(&*a.hdr, &*b.hdr, sizeof(*a.hdr)) == 0);
}

// What the crop shows, even-sized.
struct Window {
    size_t left, top;
    int width, height;
};

Window WindowOf(const LX2Buffer::Graphic& view) {
    const uint32_t width = view.effectiveWidth(), height = view.effectiveHeight();
    return {view.crop().left & ~1u, view.crop().top & ~1u, static_cast<int>(width + width % 2),
            static_cast<int>(height + height % 2)};
}

// What lies beyond the samples repeats the last column and row.
template <typename Sample>
void CopyPlane(const std::vector<uint16_t>& samples, size_t width, size_t left, size_t top,
               AVFrame* frame, int plane) {
    const int shift = plane == 0 ? 0 : 1;
    const size_t rows = samples.size() / width;
    for (size_t y = 0; y < static_cast<size_t>(frame->height >> shift); ++y) {
        const uint16_t* from = &samples[std::min((top >> shift) + y, rows - 1) * width];
        auto* to = reinterpret_cast<Sample*>(frame->data[plane] +
                                             static_cast<ptrdiff_t>(y) * frame->linesize[plane]);
        for (size_t x = 0; x < static_cast<size_t>(frame->width >> shift); ++x)
            to[x] = static_cast<Sample>(from[std::min((left >> shift) + x, width - 1)]);
    }
}

template <typename Sample>
void CopyPicture(const host::Frame& picture, const Window& window, AVFrame* frame) {
    CopyPlane<Sample>(picture.y, picture.width, window.left, window.top, frame, 0);
    CopyPlane<Sample>(picture.cb, picture.chromaWidth(), window.left, window.top, frame, 1);
    CopyPlane<Sample>(picture.cr, picture.chromaWidth(), window.left, window.top, frame, 2);
}

class Hardware final : public EncoderHardware {
  public:
    explicit Hardware(const CodecRow& codec)
        : mCodec(codec), mEncoder(avcodec_find_encoder_by_name(codec.encoder)) {}
    bool isReady() const { return mEncoder != nullptr; }

    std::string encode(LX2Buffer::Graphic& view, const EncoderSetup& setup, uint64_t unit,
                       bool keyFrame) override;
    std::optional<EncodedUnit> next() override;
    void drain() override;
    void flush() override;

  private:
    Picture copy(LX2Buffer::Graphic& view, const Window& window) const;
    std::string open(const AVFrame& frame, const EncoderSetup& setup);
    std::string send(AVFrame* frame, const EncoderSetup& setup, uint64_t unit, bool keyFrame);
    void collect();

    const CodecRow& mCodec;
    const AVCodec* const mEncoder;
    EncoderSetup mSetup;
    Context mContext;
    int64_t mPictures = 0;          // in the sequence
    std::deque<uint64_t> mWaiting;  // units that the encoder has
    std::deque<EncodedUnit> mDone;
};

std::string Hardware::open(const AVFrame& frame, const EncoderSetup& setup) {
    drain();
    Context context(avcodec_alloc_context3(mEncoder));
    if (context == nullptr)
        return "no memory";
    context->width = frame.width;
    context->height = frame.height;
    context->pix_fmt = static_cast<AVPixelFormat>(frame.format);
    context->framerate = Rational(setup.rate);
    context->time_base = av_inv_q(context->framerate);
    context->bit_rate = setup.bitrate;
    context->gop_size = kNoKeyFrames;
    context->max_b_frames = 0;
    context->qmin = static_cast<int>(setup.qpMin);
    context->qmax = static_cast<int>(setup.qpMax);
    context->thread_count = 1;
    context->log_level_offset = AV_LOG_TRACE;  // beyond what is printed
    SetAspects(setup.aspects, context.get());
    av_opt_set(context->priv_data, "preset", mCodec.preset, 0);
    av_opt_set(context->priv_data, "tune", "zerolatency", 0);
    av_opt_set(context->priv_data, "forced-idr", "1", 0);
    const std::string parameters =
        mCodec.takesTenBits ? "log-level=none:pools=none:frame-threads=1:scenecut=0:keyint=-1" +
                                  (setup.hdr ? HdrText(*setup.hdr) : "")
                            : "scenecut=0";
    av_opt_set(context->priv_data, mCodec.parameters, parameters.c_str(), 0);
    char error[AV_ERROR_MAX_STRING_SIZE];
    if (const int status = avcodec_open2(context.get(), mEncoder, nullptr); status < 0)
        return std::string("the encoder can't be opened: ") +
               av_make_error_string(error, sizeof(error), status);
    mContext = std::move(context);
    mSetup = setup;
    mPictures = 0;
    return "";
}

Picture Hardware::copy(LX2Buffer::Graphic& view, const Window& window) const {
    auto picture =
        host::ReadFrame(view.fd(), view.offset(), view.format(), view.width(), view.height());
    if (!picture)
        return nullptr;
    if (picture->bitDepth == 10 && !mCodec.takesTenBits)
        picture = picture->withBitDepth(8);
    Picture frame(av_frame_alloc());
    if (frame == nullptr)
        return nullptr;
    frame->format = picture->bitDepth == 10 ? AV_PIX_FMT_YUV420P10LE : AV_PIX_FMT_YUV420P;
    frame->width = window.width;
    frame->height = window.height;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    if (picture->bitDepth == 10)
        CopyPicture<uint16_t>(*picture, window, frame.get());
    else
        CopyPicture<uint8_t>(*picture, window, frame.get());
    return frame;
}

std::string Hardware::encode(LX2Buffer::Graphic& view, const EncoderSetup& setup, uint64_t unit,
                             bool keyFrame) {
    const Window window = WindowOf(view);
    const bool inside = window.left + static_cast<size_t>(window.width) <= view.width() &&
                        window.top + static_cast<size_t>(window.height) <= view.height();
    const auto planes =
        mCodec.takesPairs && inside ? view.mapPlanesReadOnly() : LX2Buffer::Planes();
    if (planes.count() != 2 || planes[0].rowBytes != view.width()) {
        const Picture frame = copy(view, window);
        return frame == nullptr ? "the picture can't be read"
                                : send(frame.get(), setup, unit, keyFrame);
    }
    // The encoder reads the client's memory, and is done with it when the call returns.
    const Picture frame(av_frame_alloc());
    if (frame == nullptr)
        return "no memory";
    frame->format = AV_PIX_FMT_NV12;
    frame->width = window.width;
    frame->height = window.height;
    frame->data[0] = planes[0].row(window.top) + window.left;
    frame->data[1] = planes[1].row(window.top / 2) + window.left;
    for (uint32_t i = 0; i < 2; ++i)
        frame->linesize[i] = static_cast<int>(planes[i].pitch);
    frame->buf[0] = av_buffer_create(
        frame->data[0], 1, [](void*, uint8_t*) {}, nullptr, 0);
    return frame->buf[0] == nullptr ? "no memory" : send(frame.get(), setup, unit, keyFrame);
}

std::string Hardware::send(AVFrame* frame, const EncoderSetup& setup, uint64_t unit,
                           bool keyFrame) {
    const bool fits = mContext != nullptr && setup == mSetup && mContext->width == frame->width &&
                      mContext->height == frame->height && mContext->pix_fmt == frame->format;
    if (!fits) {
        std::string problem = open(*frame, setup);
        if (!problem.empty())
            return problem;
    }
    frame->pict_type = keyFrame || mPictures == 0 ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    frame->pts = mPictures++;
    mWaiting.push_back(unit);
    if (avcodec_send_frame(mContext.get(), frame) < 0) {
        mWaiting.pop_back();
        return "the encoder refuses the picture";
    }
    collect();
    return "";
}

void Hardware::collect() {
    const Packet packet(av_packet_alloc());
    while (packet != nullptr && avcodec_receive_packet(mContext.get(), packet.get()) == 0) {
        mDone.push_back({mWaiting.front(),
                         {packet->data, packet->data + packet->size},
                         (packet->flags & AV_PKT_FLAG_KEY) != 0});
        mWaiting.pop_front();
        av_packet_unref(packet.get());
    }
}

std::optional<EncodedUnit> Hardware::next() {
    if (mDone.empty())
        return std::nullopt;
    EncodedUnit unit = std::move(mDone.front());
    mDone.pop_front();
    return unit;
}

void Hardware::drain() {
    if (mContext != nullptr && avcodec_send_frame(mContext.get(), nullptr) == 0)
        collect();
    mContext.reset();
    mWaiting.clear();
}

void Hardware::flush() {
    mContext.reset();
    mWaiting.clear();
    mDone.clear();
}

}  // namespace

std::unique_ptr<EncoderHardware> EncoderHardware::Open(const std::string& mediaType) {
    for (const CodecRow& codec : kCodecs) {
        if (mediaType == codec.mediaType) {
            auto hardware = std::make_unique<Hardware>(codec);
            return hardware->isReady() ? std::move(hardware) : nullptr;
        }
    }
    return nullptr;
}

}  // namespace lx2::example
