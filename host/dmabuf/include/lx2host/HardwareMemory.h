// How stand-in hardware reaches DMA-BUF memory: through one mapping of its own, made once, as
// behind an IOMMU. It stays while anything in this process holds the memory.
#pragma once

#include <cutils/native_handle.h>
#include <lx2host/DmaBuf.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace lx2::host {

class LX2_HOST_API HardwareMemory {
  public:
    // The memory behind fd, which may be used for as long as the result is kept. Null when fd is no
    // DMA-BUF or it can't be mapped.
    static std::shared_ptr<HardwareMemory> Of(int fd);

    HardwareMemory(uint8_t* data, size_t size) : mData(data), mSize(size) {}
    ~HardwareMemory();
    HardwareMemory(const HardwareMemory&) = delete;
    HardwareMemory& operator=(const HardwareMemory&) = delete;

    uint8_t* data() const { return mData; }
    size_t size() const { return mSize; }  // bytes

    // Between these a handle holds the memory behind each of its descriptors: who owns descriptors
    // calls the first once they are open and the second before they are closed.
    static void Hold(const native_handle_t* handle);
    static void Drop(const native_handle_t* handle);

  private:
    uint8_t* mData;
    size_t mSize;
};

}  // namespace lx2::host
