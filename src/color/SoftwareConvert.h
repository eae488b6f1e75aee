// The conversion that the CPU does itself.
#pragma once

#include <cstdint>

namespace lx2::color {

// Converts a planar frame with Cr before Cb to the video core's NV12, from and to the start of the
// buffers, whose sizes are in bytes. 0; 12, logged, with nothing written, when one is too small.
int32_t ConvertYv12ToMirelNv12(const uint8_t* src, uint32_t srcSize, uint8_t* dst, uint32_t dstSize,
                               uint32_t width, uint32_t height);

}  // namespace lx2::color
