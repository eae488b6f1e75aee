// The private record of a graphics-buffer handle. The graphics allocator writes it; the mapper
// copies it at each import; this library, the display stack and the hardware's drivers read it.
#pragma once

#include <cutils/native_handle.h>

#include <cstddef>
#include <cstdint>

namespace lx2 {

struct PrivateHandle {
    native_handle_t header;
    int32_t fd;          // pixels
    int32_t metadataFd;  // display metadata
    uint32_t reserved0;
    uint32_t flags;          // usage of the allocation
    uint32_t alignedWidth;   // row stride in pixels
    uint32_t alignedHeight;  // slice height in rows
    uint32_t width;          // as requested
    uint32_t height;         // as requested
    uint32_t format;         // the allocator's format code
    uint32_t reserved1[2];
    uint64_t id;
    uint64_t reserved2;
    uint32_t size;    // bytes of the allocation
    uint32_t offset;  // of the data in it

    static constexpr int kNumFds = 2;
    static constexpr int kNumInts = 15;
};

static_assert(offsetof(PrivateHandle, header.numFds) == 4);
static_assert(offsetof(PrivateHandle, header.numInts) == 8);
static_assert(offsetof(PrivateHandle, fd) == 12);
static_assert(offsetof(PrivateHandle, metadataFd) == 16);
static_assert(offsetof(PrivateHandle, flags) == 24);
static_assert(offsetof(PrivateHandle, alignedWidth) == 28);
static_assert(offsetof(PrivateHandle, alignedHeight) == 32);
static_assert(offsetof(PrivateHandle, width) == 36);
static_assert(offsetof(PrivateHandle, height) == 40);
static_assert(offsetof(PrivateHandle, format) == 44);
static_assert(offsetof(PrivateHandle, id) == 56);
static_assert(offsetof(PrivateHandle, size) == 72);
static_assert(offsetof(PrivateHandle, offset) == 76);
static_assert(sizeof(PrivateHandle) == 80);
static_assert(sizeof(PrivateHandle) ==
              sizeof(native_handle_t) +
                  sizeof(int32_t) * (PrivateHandle::kNumFds + PrivateHandle::kNumInts));

// The usage that asks the allocator for the bandwidth-compressed layout.
constexpr uint64_t kUsageCompressed = 0x10000000;

// Marks a bandwidth-compressed allocation in the flags.
constexpr uint32_t kAllocatedCompressed = 0x08000000;

}  // namespace lx2
