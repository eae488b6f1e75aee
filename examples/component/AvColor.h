// Colors between libavcodec's terms and Codec 2.0's, for the hardware that stands behind the
// example components.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Config.h>

#include <optional>

struct AVCodecContext;
struct AVFrame;

namespace lx2::example {

// What a frame leaves open is unspecified.
C2ColorAspectsStruct AspectsOf(const AVFrame& frame);

// What a frame says of its mastering display and its light levels; none when it says neither.
std::optional<C2HdrStaticMetadataStruct> HdrOf(const AVFrame& frame);

// The other way, for an encoder.
void SetAspects(const C2ColorAspectsStruct& aspects, AVCodecContext* context);

}  // namespace lx2::example
