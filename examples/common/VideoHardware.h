// libavcodec in the part of the video hardware: access units in, planar frames out.
#pragma once

#include <lx2host/VideoCore.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "VideoColor.h"

struct AVCodecContext;
struct AVFrame;
struct AVPacket;

namespace lx2::example {

enum class Codec { Avc, Hevc, Vp8, Vp9 };

struct StreamKind {
    Codec codec = Codec::Avc;
    const char* mime = "";
    const char* extension = "";
};
const StreamKind& KindOf(Codec codec);

struct DecodedFrame {
    std::shared_ptr<const AVFrame> owner;  // of the picture's memory
    host::PictureView picture;  // of an even size: the last column and row of an odd one come twice
    uint32_t width = 0;         // as the stream has it
    uint32_t height = 0;
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

    // Takes one access unit. A shown one makes a frame, for which timestamp is kept. Empty on
    // success, else what is wrong in a few words.
    std::string submit(const uint8_t* data, size_t size, uint64_t timestamp, bool shown);

    // Says that the sequence ends, so that frames which still wait for their turn come out.
    std::string drain();

    // Begins another sequence, once all frames came out.
    void restart();

    // The next finished frame in the order of presentation, with the earliest of the timestamps
    // that were kept. None, with *error empty, when more input is needed or the stream is drained;
    // none for a frame that can't be delivered, told in *error.
    std::optional<DecodedFrame> nextFrame(std::string* error);

    // Whether a frame had a pixel format of which this hardware makes nothing.
    bool refuses() const { return mRefuses; }

  private:
    struct Free {
        void operator()(AVCodecContext* context) const;
        void operator()(AVFrame* frame) const;
        void operator()(AVPacket* packet) const;
    };
    uint64_t takeTimestamp();

    std::string mComplaint;  // what libavcodec says beside its statuses, to its very end
    std::unique_ptr<AVCodecContext, Free> mContext;
    std::unique_ptr<AVFrame, Free> mFrame;
    std::unique_ptr<AVPacket, Free> mPacket;
    std::multiset<uint64_t> mTimestamps;  // of the pictures that went in and have not come out
    bool mRefuses = false;
};

}  // namespace lx2::example
