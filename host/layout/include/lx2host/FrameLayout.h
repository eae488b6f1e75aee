// How a frame of each pixel format lies in memory. One description for the allocator, the blitter
// and the video core.
#pragma once

#include <cstdint>

namespace lx2::host {

// What the allocator records of a frame. All zero for a format that it does not know.
struct FrameAllocation {
    uint32_t stride = 0;       // pixels
    uint32_t sliceHeight = 0;  // rows
    uint64_t size = 0;         // bytes
};

// format: a PixFormat value; width in pixels and height in rows, as requested.
FrameAllocation AllocationOf(uint32_t format, uint32_t width, uint32_t height);

}  // namespace lx2::host
