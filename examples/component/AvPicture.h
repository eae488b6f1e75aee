// A picture of libavcodec for the video core.
#pragma once

#include <lx2host/VideoCore.h>

extern "C" {
#include <libavutil/frame.h>
}

namespace lx2::example {

// The frame is 4:2:0 in three planes, of 8 bits or of 10.
inline host::PictureView ViewOf(const AVFrame& frame) {
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

}  // namespace lx2::example
