// The graphics allocator.
#pragma once

#include <C2Buffer.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace lx2::host {

// Bytes behind the second descriptor, where the display-metadata library keeps its records.
constexpr size_t kMetadataSize = 16384;

// The usage bit of a request that asks for the bandwidth-compressed layout.
constexpr uint64_t kUsageCompressed = 0x10000000;

// Marks the allocator's own records; foreign handles have something else there.
constexpr uint32_t kAllocatorMagic = 0x4C583247;

// A buffer of zeroed pixels with a private handle, wrapped for Codec 2.0. format is a PixFormat
// value or one of the allocator's own codes for the video core's NV12. Null for a format or size
// that it can't lay out, or when memory is out. track: where LX2_TRACE shows the buffer.
LX2_HOST_API std::shared_ptr<C2GraphicAllocation> AllocateGraphic(
    uint32_t width, uint32_t height, uint32_t format, uint64_t usage,
    const char* track = "graphic buffer");

// The id in an allocation's private handle.
LX2_HOST_API uint64_t BufferId(const C2Handle* handle);

}  // namespace lx2::host
