// DMA-BUF memory on a workstation, and what a test may know of its cache synchronisation.
//
// The memory comes from memfd_create, so it is truly shared: written through one mapping, read
// through another, in another process too once the descriptor is passed on. Such memory doesn't
// answer DMA_BUF_IOCTL_SYNC, and its pages come one by one as they are touched. So the host library
// exports an ioctl that answers for this memory, and an mmap and munmap that put all pages in place
// at once and refuse, with EINVAL, what reaches beyond its last page; every other call goes to the
// kernel.
#pragma once

#include <lx2host/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace lx2::host {

// A descriptor of size bytes of zeroed memory, or -1. The caller owns it. The memory is named after
// what it is for and the thread that allocated it; /proc and OpenResources show the name.
LX2_HOST_API int AllocateDmaBuf(size_t size, const char* what = "memory");

// Whether fd is such memory, whichever process allocated it.
LX2_HOST_API bool IsDmaBuf(int fd);

// Where a range of this process's addresses lies in the memory behind fd, in bytes; nothing unless
// all of it is mapped from that memory in one piece.
LX2_HOST_API std::optional<uint64_t> OffsetInDmaBuf(int fd, const void* start, size_t length);

struct SyncCounts {
    uint64_t starts = 0;
    uint64_t ends = 0;
    uint64_t open = 0;       // starts whose end is still to come
    uint64_t unmatched = 0;  // ends without a start of the same access on the same memory
};

// What this process has synchronised so far.
LX2_HOST_API SyncCounts GetSyncCounts();

// Whether a synchronisation of this memory is open: an access by the CPU has not ended.
LX2_HOST_API bool IsBeingAccessed(int fd);
LX2_HOST_API void ResetSyncCounts();

// Sees each synchronisation of a DMA-BUF with its dma_buf_sync flags and gives the result: 0, or an
// errno value that the caller then finds the request failed with. An empty one always succeeds.
// Called under a lock: it must neither synchronise or map a DMA-BUF nor call what is above.
using SyncHook = std::function<int(int fd, uint64_t flags)>;
LX2_HOST_API void SetSyncHook(SyncHook hook);

}  // namespace lx2::host
