// libavcodec in the part of the video hardware: frames in the memory of graphic buffers in, access
// units out.
#pragma once

#include <C2Config.h>
#include <lx2/LX2Buffer.h>
#include <lx2host/VideoCore.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../common/VideoColor.h"
#include "../common/VideoHardware.h"

struct AVCodec;

namespace lx2::example {

struct Tuning {
    uint32_t bitrate = 0;           // bits a second
    uint32_t keyFrameInterval = 0;  // frames
    int qpMin = 0;
    int qpMax = 0;
};

struct EncodedUnit {
    std::vector<uint8_t> bytes;
    uint64_t index = 0;  // of the frame
    bool keyFrame = false;
};

class EncoderHardware {
  public:
    // rate: frames a second.
    EncoderHardware(Codec codec, uint32_t rate);
    ~EncoderHardware();

    // Whether the installed library has an encoder for the codec.
    bool isReady() const { return mEncoder != nullptr; }

    // For the frames from the next on. A new bitrate or QP range begins another sequence, with a
    // key frame.
    void tune(const Tuning& tuning);

    // Encodes the frame of a buffer, in any layout that the video core reads, with the color and
    // HDR metadata that the display keeps with it. Empty on success, else what is wrong in a few
    // words.
    std::string encode(LX2Buffer::Graphic* frame, uint64_t index);

    // Says that no frame follows. Likewise.
    std::string drain();

    // The next finished access unit, in order.
    std::optional<EncodedUnit> nextUnit();

    // What the metadata of the last frame said.
    const CodedColor& color() const { return mColor; }

  private:
    struct Free {
        void operator()(AVCodecContext* context) const;
        void operator()(AVFrame* frame) const;
        void operator()(AVPacket* packet) const;
    };
    std::string open(uint32_t width, uint32_t height, uint32_t bitDepth);
    std::string send(const AVFrame* frame);
    CodedColor readColor(LX2Buffer::Graphic* frame) const;

    Codec mCodec;
    uint32_t mRate;
    const AVCodec* mEncoder;
    Tuning mTuning;
    CodedColor mColor;
    uint64_t mSinceKeyFrame = 0;
    std::unique_ptr<AVCodecContext, Free> mContext;
    std::deque<EncodedUnit> mUnits;
};

}  // namespace lx2::example
