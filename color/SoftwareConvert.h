// The conversion that the CPU does itself.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lx2::color {

// Converts a planar frame with Cr before Cb to the video core's NV12, from and to the start of the
// buffers, whose sizes are in bytes. 0; 12, logged, with nothing written, when one is too small.
int32_t ConvertYv12ToMirelNv12(const uint8_t* src, uint32_t srcSize, uint8_t* dst, uint32_t dstSize,
                               uint32_t width, uint32_t height);

// Writes count pairs: a byte of first, a byte of second. The ranges don't overlap.
void Interleave(const uint8_t* first, const uint8_t* second, uint8_t* pairs, size_t count);

// The same in its plain form, which the above must equal.
void InterleavePlain(const uint8_t* first, const uint8_t* second, uint8_t* pairs, size_t count);

}  // namespace lx2::color
