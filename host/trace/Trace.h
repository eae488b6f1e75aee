// What happened to the memory: with LX2_TRACE=FILE in the environment the stand-ins write trace
// events there, as JSON that Perfetto and chrome://tracing open.
//
// A memory with an allocation id is a track of its own, under a process id that is made up; all
// other memory shares one. A track has a row for each kind of slice, and further ones for slices of
// a kind that overlap, so that none ends another. A slice that nobody ends stays open in the file.
//
// Off, all of this is one load and a branch. Nothing here throws; safe to use from several threads.
// A child of fork() is not traced and leaves the file alone.
#pragma once

#include <lx2device/PrivateHandle.h>
#include <lx2host/DmaBuf.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace lx2::host::trace {

enum class Kind : uint8_t { Memory, Out, Import, Cpu, Blit };
constexpr size_t kKinds = 5;

constexpr const char* kOut = "out of the pool";

LX2_HOST_API extern std::atomic<bool> gOn;
inline bool IsOn() {
    return gOn.load(std::memory_order_relaxed);
}

// The track of the memory behind a descriptor, or of a private handle, whose id and format it is
// named after from then on. To be asked for when tracing is on.
LX2_HOST_API uint32_t TrackOf(int fd) noexcept;
LX2_HOST_API uint32_t TrackOf(const PrivateHandle& record) noexcept;

// What goes on for as long as this lives.
class LX2_HOST_API Slice {
  public:
    Slice() = default;
    // bytes: what a memory adds to those that are allocated.
    Slice(Kind kind, uint32_t track, const char* name, uint64_t bytes = 0) noexcept;
    Slice(Slice&& other) noexcept { *this = std::move(other); }
    Slice& operator=(Slice&& other) noexcept {
        std::swap(mRow, other.mRow);
        std::swap(mTrack, other.mTrack);
        std::swap(mBytes, other.mBytes);
        std::swap(mKind, other.mKind);
        return *this;
    }
    ~Slice() {
        if (mRow != 0)
            end();
    }

  private:
    void end() noexcept;

    uint32_t mRow = 0;  // none: nothing goes on
    uint32_t mTrack = 0;
    uint64_t mBytes = 0;
    Kind mKind = Kind::Memory;
};

// A slice of the memory behind a descriptor or a private handle; empty when tracing is off.
template <typename Memory>
Slice Begin(Kind kind, const Memory& memory, const char* name, uint64_t bytes = 0) {
    return IsOn() ? Slice(kind, TrackOf(memory), name, bytes) : Slice();
}

// A blit on the tracks of both memories, told by the formats that they were allocated in; by those
// given where they were not allocated here.
struct Blit {
    Blit(uint32_t fromTrack, uint32_t fromFormat, uint32_t toTrack, uint32_t toFormat) noexcept {
        if (IsOn())
            begin(fromTrack, fromFormat, toTrack, toFormat);
    }

  private:
    LX2_HOST_API void begin(uint32_t fromTrack, uint32_t fromFormat, uint32_t toTrack,
                            uint32_t toFormat) noexcept;
    Slice mFrom;
    Slice mTo;
};

// The allocation of a block that a pool gives out, which is out for as long as the block lives.
template <typename Allocation>
std::shared_ptr<Allocation> WhileOut(std::shared_ptr<Allocation> allocation) {
    if (!IsOn() || allocation == nullptr)
        return allocation;
    struct Out {
        std::shared_ptr<Allocation> allocation;
        Slice slice;
    };
    Slice slice = Begin(Kind::Out, allocation->handle()->data[0], kOut);
    const auto out = std::make_shared<Out>(Out{std::move(allocation), std::move(slice)});
    return {out, out->allocation.get()};
}

}  // namespace lx2::host::trace
