// libavcodec in the part of the video hardware: access units in, planar frames out.
#pragma once

#include <lx2host/VideoCore.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "../common/VideoColor.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace lx2::example {

enum class Codec { Avc, Hevc, Vp8, Vp9 };

struct DecodedFrame {
    std::shared_ptr<const AVFrame> owner;  // of the picture's memory
    host::PictureView picture;
    uint64_t timestamp = 0;
    bool keyFrame = false;
    bool corrupt = false;
    CodedColor color;
};

class VideoHardware {
  public:
    explicit VideoHardware(Codec codec);
    ~VideoHardware();

    // Whether the codec could be opened.
    bool isReady() const { return mContext != nullptr; }

    // Takes one access unit; size 0 drains. Empty on success, else what is wrong in a few words.
    std::string submit(const uint8_t* data, size_t size, uint64_t timestamp);

    // The next finished frame; none when more input is needed or the stream is drained.
    // A frame that can't be delivered is told in *error.
    std::optional<DecodedFrame> nextFrame(std::string* error);

  private:
    struct Free {
        void operator()(AVCodecContext* context) const;
        void operator()(AVFrame* frame) const;
        void operator()(AVPacket* packet) const;
    };
    std::unique_ptr<AVCodecContext, Free> mContext;
    std::unique_ptr<AVFrame, Free> mFrame;
    std::unique_ptr<AVPacket, Free> mPacket;
};

}  // namespace lx2::example
