// Times of display for a stream that carries none: counted from the order in which its pictures are
// shown, at the rate of the stream.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "../component/AvPointers.h"

namespace lx2::example {

class DisplayTimes {
  public:
    DisplayTimes(AVCodecID codec, AVRational rate);

    // Takes the units in the order of decoding, and gives them back in it with pts set, in
    // microseconds. Units are kept back until the order of those around them is known.
    void put(Packet unit);
    // Null when further units are needed first; at the end of the stream call it until it is null.
    Packet take(bool atEnd);

  private:
    struct Unit {
        Packet packet;
        bool first;     // of a sequence that is counted anew
        int64_t order;  // of display within the sequence
    };
    void beginSequence();

    const std::unique_ptr<AVCodecParserContext, decltype(&av_parser_close)> mParser;
    const Context mContext;
    const AVRational mRate;
    std::deque<Unit> mUnits;
    int64_t mLargest = INT64_MIN;  // order in the sequence that is read
    int64_t mStep = 1;             // from picture to picture in the one that is given
    int64_t mBase = 0;             // pictures shown before it, less its lowest order
    int64_t mShown = 0;            // and up to the last one that was given
};

}  // namespace lx2::example
