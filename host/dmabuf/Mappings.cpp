// The process's mappings of DMA-BUF memory: mmap and munmap as a device answers them.
#include <lx2host/DmaBuf.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <map>
#include <mutex>
#include <new>

namespace lx2::host {

namespace {

constexpr uint64_t kPage = 4096;

uint64_t WholePages(uint64_t size) {
    return (size + kPage - 1) / kPage * kPage;
}

// A stretch of addresses, and the memory that it shows.
struct Mapped {
    uintptr_t end = 0;
    dev_t device = 0;
    ino_t inode = 0;
    uint64_t offset = 0;  // of the first address in the memory
};

struct Mappings {
    std::mutex lock;
    std::map<uintptr_t, Mapped> byStart;
    // Most processes' unmappings have nothing to do with this: those don't take the lock.
    std::atomic<bool> any{false};
};

// Leaked on purpose: mappings may close while the process takes its static objects down.
Mappings& All() {
    static auto* mappings = new Mappings;
    return *mappings;
}

void Remember(const void* start, size_t length, const struct stat& memory, off_t offset) {
    const auto first = reinterpret_cast<uintptr_t>(start);
    Mappings& all = All();
    std::lock_guard<std::mutex> guard(all.lock);
    all.byStart[first] = {first + WholePages(length), memory.st_dev, memory.st_ino,
                          static_cast<uint64_t>(offset)};
    all.any = true;
}

// Forgets a stretch of addresses, which may be parts of mappings.
void Forget(const void* start, size_t length) {
    Mappings& all = All();
    if (!all.any)
        return;
    const auto first = reinterpret_cast<uintptr_t>(start);
    const uintptr_t end = first + WholePages(length);
    std::lock_guard<std::mutex> guard(all.lock);
    auto at = all.byStart.upper_bound(first);
    if (at != all.byStart.begin())
        --at;
    while (at != all.byStart.end() && at->first < end) {
        const auto [begin, mapped] = *at;
        if (mapped.end <= first) {
            ++at;
            continue;
        }
        at = all.byStart.erase(at);
        if (begin < first)
            all.byStart[begin] = {first, mapped.device, mapped.inode, mapped.offset};
        if (mapped.end > end)
            all.byStart[end] = {mapped.end, mapped.device, mapped.inode,
                                mapped.offset + (end - begin)};
    }
}

// Runs what keeps the books of a mapping, whose caller expects no exception.
template <typename Action>
bool Done(Action action) noexcept {
    try {
        action();
        return true;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

void* Map(void* address, size_t length, int protection, int flags, int fd, off_t offset) {
    struct stat memory {};
    const bool dmaBuf = fd >= 0 && (flags & MAP_ANONYMOUS) == 0 && IsDmaBuf(fd);
    if (dmaBuf) {
        const bool there = fstat(fd, &memory) == 0 && offset >= 0;
        const uint64_t size = there ? WholePages(static_cast<uint64_t>(memory.st_size)) : 0;
        const auto start = static_cast<uint64_t>(offset);
        if (!there || start > size || length > size - start) {
            errno = EINVAL;
            return MAP_FAILED;
        }
        flags |= MAP_POPULATE;
    }
    if ((flags & MAP_FIXED) != 0 && !Done([&] { Forget(address, length); }))
        return MAP_FAILED;
    void* mapped =
        reinterpret_cast<void*>(syscall(SYS_mmap, address, length, protection, flags, fd, offset));
    if (dmaBuf && mapped != MAP_FAILED &&
        !Done([&] { Remember(mapped, length, memory, offset); })) {
        syscall(SYS_munmap, mapped, length);
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return mapped;
}

}  // namespace

std::optional<uint64_t> OffsetInDmaBuf(int fd, const void* start, size_t length) {
    struct stat memory {};
    if (fstat(fd, &memory) != 0)
        return std::nullopt;
    const auto first = reinterpret_cast<uintptr_t>(start);
    Mappings& all = All();
    std::lock_guard<std::mutex> guard(all.lock);
    auto next = all.byStart.upper_bound(first);
    if (next == all.byStart.begin())
        return std::nullopt;
    const auto& [begin, mapped] = *--next;
    if (mapped.device != memory.st_dev || mapped.inode != memory.st_ino || first >= mapped.end ||
        length > mapped.end - first)
        return std::nullopt;
    return mapped.offset + (first - begin);
}

}  // namespace lx2::host

// Found by the dynamic linker before the C library's, since this library is loaded before that one.
// A sanitizer's are found before these, and call them.
extern "C" {

LX2_HOST_API void* mmap(void* address, size_t length, int protection, int flags, int fd,
                        off_t offset) noexcept {
    return lx2::host::Map(address, length, protection, flags, fd, offset);
}

LX2_HOST_API void* mmap64(void* address, size_t length, int protection, int flags, int fd,
                          off64_t offset) noexcept {
    return lx2::host::Map(address, length, protection, flags, fd, offset);
}

LX2_HOST_API int munmap(void* address, size_t length) noexcept {
    // First: the addresses may be another's right after. What is no stretch of pages is refused
    // below.
    const bool pages = length != 0 && reinterpret_cast<uintptr_t>(address) % lx2::host::kPage == 0;
    if (pages && !lx2::host::Done([&] { lx2::host::Forget(address, length); }))
        return -1;
    return static_cast<int>(syscall(SYS_munmap, address, length));
}

}  // extern "C"
