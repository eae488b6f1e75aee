#include "AvDecoder.h"

namespace lx2::example {

std::unique_ptr<AvDecoder> AvDecoder::Open(const Input& input) {
    const AVCodec* codec = avcodec_find_decoder(input.codec().codec_id);
    auto decoder = std::make_unique<AvDecoder>();
    decoder->mContext.reset(avcodec_alloc_context3(codec));
    AVCodecContext* context = decoder->mContext.get();
    avcodec_parameters_to_context(context, &input.codec());
    context->pkt_timebase = {1, 1000000};
    if (codec == nullptr || avcodec_open2(context, codec, nullptr) < 0)
        return nullptr;
    return decoder;
}

void AvDecoder::send(AVPacket* unit) {
    if (unit != nullptr)
        unit->dts = AV_NOPTS_VALUE;  // pts alone is in the unit that the decoder is told
    if (avcodec_send_packet(mContext.get(), unit) < 0)
        ++mDamaged;
}

Picture AvDecoder::next() {
    Picture frame(av_frame_alloc());
    int status;
    while ((status = avcodec_receive_frame(mContext.get(), frame.get())) != 0) {
        if (status == AVERROR_EOF || status == AVERROR(EAGAIN))
            return nullptr;
        ++mDamaged;
    }
    mDamaged += (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0;
    return frame;
}

}  // namespace lx2::example
