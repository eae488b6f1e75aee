// A clip: the video stream of any file that libavformat reads, as access units.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
}

#include "../component/AvPointers.h"
#include "DisplayTimes.h"

namespace lx2::example {

std::string ErrorText(int error);

class Input {
  public:
    // path names a file or a pipe. Null, with one line in *error, when there is nothing to read.
    static std::unique_ptr<Input> Open(const std::string& path, std::string* error);

    const std::string& path() const { return mPath; }
    // "video/avc" and the like; empty for a codec that Codec 2.0 has no name for.
    std::string mediaType() const;
    std::string codecName() const { return avcodec_get_name(stream().codecpar->codec_id); }
    int bitDepth() const;  // 8 where the file doesn't tell
    // Frames a second; 25 where the file doesn't tell.
    AVRational rate() const;
    // Of the units as read() gives them.
    const AVCodecParameters& codec() const { return *mFilter->par_out; }
    const AVStream& stream() const { return *mFile->streams[mVideo]; }

    // The next unit, with Annex B start codes, and its time of display in microseconds; null at the
    // end, and when the file is damaged.
    Packet read();
    // What was wrong with the file as far as it was read; empty if nothing was.
    const std::string& problem() const { return mProblem; }

  private:
    Input() = default;
    std::string open(const std::string& path);
    Packet readUnit();
    Packet nextFiltered();

    std::string mPath;
    std::unique_ptr<AVFormatContext, FreeAv<avformat_close_input>> mFile;
    std::unique_ptr<AVBSFContext, FreeAv<av_bsf_free>> mFilter;
    int mVideo = -1;
    std::unique_ptr<DisplayTimes> mTimes;  // of a stream that carries none
    int64_t mLastTime = 0;
    int64_t mRead = 0;  // bytes up to the end of the last packet
    std::string mProblem;
};

}  // namespace lx2::example
