// What libavcodec says of a frame's colors, in Codec 2.0 terms.
#pragma once

#include "../common/VideoColor.h"

struct AVFrame;

namespace lx2::example {

CodedColor ColorOf(const AVFrame& frame);

}  // namespace lx2::example
