// What happened to the buffers and what waited: with LX2_TRACE=FILE in the environment the
// stand-ins write trace events there, as JSON that Perfetto and speedscope open. What others trace
// through <cutils/trace.h> goes there too.
//
// Tracks are numbered as processes. The program is one, with a row for each thread. Each memory has
// a track while it is allocated; the next memory of its kind takes the first one that is free, so
// there are never more tracks than there were buffers at once. A track has a row for each kind of
// slice, and further rows where slices of a kind overlap.
//
// Words "key=value" in a slice's name become its arguments. Off, a call costs a load and a branch.
// Nothing throws; safe to use from several threads. A child of fork() is not traced.
#pragma once

#include <lx2host/Export.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace lx2::host::trace {

// What goes on until its owner lets it go. Null when tracing is off.
struct OpenSlice;
struct LX2_HOST_API EndSlice {
    void operator()(OpenSlice* slice) const noexcept;
};
using Slice = std::unique_ptr<OpenSlice, EndSlice>;

// The memory behind fd is allocated. kind names its track. The lower half of id is the cookie of
// those who trace the buffer by the platform's means.
LX2_HOST_API Slice Allocated(int fd, const char* kind, uint64_t id, uint64_t bytes,
                             const char* name) noexcept;

// The track of the memory behind a descriptor; null when tracing is off.
struct Track;
LX2_HOST_API Track* TrackOf(int fd) noexcept;

// A slice on a row of a track.
LX2_HOST_API Slice Begin(Track* track, const char* row, const char* name) noexcept;

// One on the tracks of both memories.
LX2_HOST_API std::pair<Slice, Slice> Blit(Track* from, Track* to) noexcept;

// A slice on the calling thread's row.
LX2_HOST_API Slice OnThread(const char* name) noexcept;

}  // namespace lx2::host::trace
