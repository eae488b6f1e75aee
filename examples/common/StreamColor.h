// A frame's colors between libavcodec's terms and Codec 2.0's.
#pragma once

#include "VideoColor.h"

struct AVCodecContext;
struct AVFrame;

namespace lx2::example {

CodedColor ColorOf(const AVFrame& frame);

// The other way, for an encoder.
void SetAspects(const C2ColorAspectsStruct& aspects, AVCodecContext* context);

}  // namespace lx2::example
