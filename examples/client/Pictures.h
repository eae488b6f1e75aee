// The pictures that an encoder is given: those of any clip that libavcodec decodes, or a moving
// picture made here. They are read as they are needed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "AvDecoder.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace lx2::example {

class Pictures {
  public:
    // file: made here when empty. Null, with one line in *error, when there is nothing to show.
    static std::unique_ptr<Pictures> Open(const std::string& file, std::string* error);

    // The next picture: NV12, or P010 of what has more than 8 bits, of the size of the first one
    // padded to even dimensions by repeating the last column and row. Its pts is in microseconds.
    // Null at the end, and after damage.
    Picture next();
    // The first one, as long as next() was not called.
    const AVFrame& first() const { return *mAhead; }

    const std::string& name() const { return mName; }
    AVRational rate() const { return mRate; }  // pictures a second
    int width() const { return mWidth; }       // pixels, of the first picture
    int height() const { return mHeight; }
    uint64_t interlaced() const { return mInterlaced; }  // pictures of two fields
    uint64_t scaled() const { return mScaled; }          // pictures of another size
    // What was wrong with the file as far as it was read.
    std::vector<std::string> problems() const;

  private:
    Picture decode();
    Picture make();
    bool prepare(const AVFrame& frame);
    Picture convert(const AVFrame& frame);

    std::string mName;
    std::unique_ptr<Input> mInput;
    std::unique_ptr<AvDecoder> mDecoder;
    bool mAtEnd = false;
    std::unique_ptr<SwsContext, decltype(&sws_freeContext)> mScaler{nullptr, &sws_freeContext};
    struct {
        int format, width, height;
        AVColorRange range;
    } mSource{};  // that the scaler takes
    AVRational mRate{25, 1};
    int mWidth = 0, mHeight = 0;
    AVPixelFormat mFormat = AV_PIX_FMT_NONE;
    int64_t mLastTime = -1;
    uint64_t mCount = 0, mInterlaced = 0, mScaled = 0;
    Picture mAhead;
};

}  // namespace lx2::example
