#include <linux/dma-buf.h>
#include <lx2/LX2Buffer.h>
#include <lx2/Log.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

namespace {

uint64_t AccessFlags(bool writable) {
    return writable ? DMA_BUF_SYNC_RW : DMA_BUF_SYNC_READ;
}

LX2Buffer::Bytes Part(const std::unique_ptr<LX2Buffer::Mapping>& mapping, uint64_t offset,
                      uint64_t end) {
    if (!LX2Buffer::Mapping::IsUsable(mapping) || offset > end || end > mapping->size())
        return {};
    return {mapping->data() + offset, static_cast<uint32_t>(end - offset)};
}

}  // namespace

LX2Buffer::Mapping::Mapping(std::shared_ptr<LX2Buffer> buffer, int fd, uint32_t offset,
                            uint32_t size, bool writable)
    : mBuffer(std::move(buffer)), mAddr(nullptr), mSize(size), mWritable(writable), mFd(fd) {
    mAddr = map(fd, offset, size, writable ? PROT_READ | PROT_WRITE : PROT_READ);
}

uint8_t* LX2Buffer::Mapping::map(int fd, uint32_t offset, uint32_t size, int prot) {
    syncCache(DMA_BUF_SYNC_START | AccessFlags(mWritable));
    // Always from the start of the buffer: callers add a view's offset themselves.
    void* addr = mmap(nullptr, size, prot, MAP_SHARED, fd, 0);
    if (addr != MAP_FAILED)
        return static_cast<uint8_t*>(addr);
    LX2_LOGE("LX2Buffer::Mapping: Failed to map fd(%d) size(%u) offset(%u) as %s", fd, size, offset,
             (prot & PROT_WRITE) != 0 ? "R/W" : "R/O");
    syncCache(DMA_BUF_SYNC_END | AccessFlags(mWritable));
    return nullptr;
}

void LX2Buffer::Mapping::syncCache(uint64_t flags) {
    dma_buf_sync sync{};
    sync.flags = flags;
    if (ioctl(mFd, DMA_BUF_IOCTL_SYNC, &sync) != 0)
        LX2_LOGE("LX2Buffer::Mapping: Failed to sync cache: %s-%s",
                 (flags & DMA_BUF_SYNC_END) != 0 ? "end" : "start",
                 (flags & DMA_BUF_SYNC_WRITE) != 0 ? "rw" : "r");
}

void LX2Buffer::Mapping::unmap(uint8_t* addr, uint32_t size) {
    if (addr == nullptr)
        return;
    syncCache(DMA_BUF_SYNC_END | AccessFlags(mWritable));
    munmap(addr, size);
}

LX2Buffer::Mapping::~Mapping() {
    unmap(mAddr, mSize);
}

LX2Buffer::Bytes LX2Buffer::Linear::bytes(const std::unique_ptr<Mapping>& mapping) const {
    return Part(mapping, mOffset, uint64_t{mOffset} + mSize);
}

LX2Buffer::Bytes LX2Buffer::Graphic::bytes(const std::unique_ptr<Mapping>& mapping) const {
    return Part(mapping, offset(), mapping != nullptr ? mapping->size() : 0);
}

}  // namespace lx2
