#include <C2AllocatorGralloc.h>
#include <PrivateRecord.h>
#include <Trace.h>
#include <lx2/PixFormat.h>
#include <lx2device/PrivateHandle.h>
#include <lx2host/Allocations.h>
#include <lx2host/DmaBuf.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/Gralloc.h>
#include <lx2host/HardwareMemory.h>
#include <unistd.h>

#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <limits>
#include <utility>

namespace lx2::host {

namespace {

// Unique among the processes that may share a buffer.
uint64_t NextId() {
    static std::atomic<uint32_t> counter{0};
    return static_cast<uint64_t>(getpid()) << 32 | ++counter;
}

class GrallocAllocation : public GraphicMemory {
  public:
    GrallocAllocation(uint32_t width, uint32_t height, OwnedHandle handle, trace::Slice life)
        : GraphicMemory(width, height), mHandle(std::move(handle)), mLife(std::move(life)) {
        HardwareMemory::Hold(mHandle.get());
    }

    const C2Handle* handle() const override { return mHandle.get(); }

  private:
    OwnedHandle mHandle;
    trace::Slice mLife;
};

void CloseIfOpen(int fd) {
    if (fd >= 0)
        close(fd);
}

}  // namespace

std::shared_ptr<C2GraphicAllocation> AllocateGraphic(uint32_t width, uint32_t height,
                                                     uint32_t format, uint64_t usage,
                                                     const char* track) {
    const bool compressed = (usage & kUsageCompressed) != 0;
    const FrameAllocation frame = AllocationOf(LayoutFormatOf(format, compressed), width, height);
    if (width == 0 || height == 0 || frame.size == 0 ||
        frame.size > std::numeric_limits<uint32_t>::max())
        return nullptr;

    PrivateHandle record{};
    record.header = {sizeof(native_handle_t), PrivateHandle::kNumFds, PrivateHandle::kNumInts, {}};
    record.reserved0 = kAllocatorMagic;
    record.flags = static_cast<uint32_t>(usage) & ~kAllocatedCompressed;
    if (compressed)
        record.flags |= kAllocatedCompressed;
    record.alignedWidth = frame.stride;
    record.alignedHeight = frame.sliceHeight;
    record.width = width;
    record.height = height;
    record.format = format;
    record.id = NextId();
    record.size = static_cast<uint32_t>(frame.size);
    char pixels[100], metadata[40];
    snprintf(pixels, sizeof(pixels), "graphic 0x%" PRIx64 " %s %ux%u", record.id,
             PixFormat::Str(LayoutFormatOf(format, compressed)), width, height);
    snprintf(metadata, sizeof(metadata), "metadata of 0x%" PRIx64, record.id);
    record.fd = AllocateDmaBuf(record.size, pixels);
    record.metadataFd = AllocateDmaBuf(kMetadataSize, metadata);

    OwnedHandle wrapped;
    if (record.fd >= 0 && record.metadataFd >= 0)
        wrapped.reset(android::WrapNativeCodec2GrallocHandle(&record.header, width, height, format,
                                                             usage, frame.stride));
    trace::Slice life;
    if (wrapped != nullptr)
        life = trace::Allocated(record.fd, track, record.id, record.size, pixels);
    // The handle has descriptors of its own.
    CloseIfOpen(record.fd);
    CloseIfOpen(record.metadataFd);
    if (wrapped == nullptr)
        return nullptr;
    return std::make_shared<GrallocAllocation>(width, height, std::move(wrapped), std::move(life));
}

uint64_t BufferId(const C2Handle* handle) {
    return reinterpret_cast<const PrivateHandle*>(handle)->id;
}

}  // namespace lx2::host
