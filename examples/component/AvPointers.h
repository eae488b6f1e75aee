// Objects of libavcodec that are freed with their pointer.
#pragma once

#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace lx2::example {

template <auto kFree>
struct FreeAv {
    template <typename T>
    void operator()(T* object) const {
        kFree(&object);
    }
};
using Context = std::unique_ptr<AVCodecContext, FreeAv<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, FreeAv<av_packet_free>>;
using Picture = std::unique_ptr<AVFrame, FreeAv<av_frame_free>>;

}  // namespace lx2::example
