// libavcodec's own decoder of a clip.
#pragma once

#include <cstdint>
#include <memory>

#include "Input.h"

namespace lx2::example {

class AvDecoder {
  public:
    // Null when libavcodec does not decode what the input holds.
    static std::unique_ptr<AvDecoder> Open(const Input& input);

    // The next unit of the input; null at its end.
    void send(AVPacket* unit);
    // The next picture in the order of display; null until more units are sent, and at the end.
    Picture next();

    uint64_t damaged() const { return mDamaged; }  // units and pictures

  private:
    Context mContext;
    uint64_t mDamaged = 0;
};

}  // namespace lx2::example
