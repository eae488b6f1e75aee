#include <Trace.h>
#include <fcntl.h>
#include <linux/dma-buf.h>
#include <lx2host/DmaBuf.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <tuple>
#include <utility>
#include <vector>

namespace lx2::host {

namespace {

constexpr const char* kLinkPrefix = "/memfd:lx2-dmabuf ";

// One kind of bracket: the memory, by its inode, and the access that the bracket opened.
using Bracket = std::tuple<dev_t, ino_t, uint64_t>;

struct Open {
    uint64_t count = 0;
    std::vector<trace::Slice> slices;  // of those, when they are traced
};

struct SyncState {
    std::mutex lock;
    SyncCounts counts;
    std::map<Bracket, Open> open;
    SyncHook hook;
};

// Leaked on purpose: mappings may close while the process takes its static objects down.
SyncState& State() {
    static auto* state = new SyncState;
    return *state;
}

const char* NameOf(uint64_t access) {
    return access == DMA_BUF_SYNC_READ    ? "read"
           : access == DMA_BUF_SYNC_WRITE ? "write"
                                          : "read and write";
}

void Count(SyncState* state, const Bracket& bracket, int fd, bool end) {
    Open& open = state->open[bracket];
    if (!end) {
        if (auto slice = trace::Begin(trace::TrackOf(fd), "CPU", NameOf(std::get<2>(bracket))))
            open.slices.push_back(std::move(slice));
        ++state->counts.starts;
        ++state->counts.open;
        ++open.count;
    } else {
        if (!open.slices.empty())
            open.slices.pop_back();
        ++state->counts.ends;
        if (open.count > 0) {
            --state->counts.open;
            --open.count;
        } else {
            ++state->counts.unmatched;
        }
    }
    if (open.count == 0)
        state->open.erase(bracket);
}

int Sync(int fd, const dma_buf_sync* sync) {
    struct stat info;
    if (sync == nullptr ||
        (sync->flags & ~static_cast<uint64_t>(DMA_BUF_SYNC_VALID_FLAGS_MASK)) != 0 ||
        (sync->flags & DMA_BUF_SYNC_RW) == 0 || fstat(fd, &info) != 0) {
        errno = EINVAL;
        return -1;
    }
    SyncState& state = State();
    std::lock_guard<std::mutex> lock(state.lock);
    const int error = state.hook ? state.hook(fd, sync->flags) : 0;
    if (error != 0) {
        errno = error;
        return -1;
    }
    try {
        Count(&state, {info.st_dev, info.st_ino, sync->flags & DMA_BUF_SYNC_RW}, fd,
              (sync->flags & DMA_BUF_SYNC_END) != 0);
    } catch (const std::bad_alloc&) {  // nothing leaves an ioctl but its errno
        errno = ENOMEM;
        return -1;
    }
    return 0;
}

}  // namespace

int AllocateDmaBuf(size_t size, const char* what) {
    char thread[16] = "";
    pthread_getname_np(pthread_self(), thread, sizeof(thread));
    char name[200];
    snprintf(name, sizeof(name), "lx2-dmabuf %s by %s", what, thread);
    const int fd = memfd_create(name, MFD_CLOEXEC);
    if (fd >= 0 && ftruncate(fd, static_cast<off_t>(size)) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

bool IsDmaBuf(int fd) {
    // What has no seals isn't in memory: most files are told apart without their names.
    if (fcntl(fd, F_GET_SEALS) < 0)
        return false;
    char path[32];
    char target[64] = {};
    snprintf(path, sizeof(path), "/proc/self/fd/%d", fd);
    const ssize_t length = readlink(path, target, sizeof(target) - 1);
    return length > 0 && strncmp(target, kLinkPrefix, strlen(kLinkPrefix)) == 0;
}

SyncCounts GetSyncCounts() {
    SyncState& state = State();
    std::lock_guard<std::mutex> lock(state.lock);
    return state.counts;
}

bool IsBeingAccessed(int fd) {
    struct stat info;
    if (fstat(fd, &info) != 0)
        return false;
    std::lock_guard<std::mutex> lock(State().lock);
    const auto first = State().open.lower_bound({info.st_dev, info.st_ino, 0});
    return first != State().open.end() && std::get<0>(first->first) == info.st_dev &&
           std::get<1>(first->first) == info.st_ino;
}

void ResetSyncCounts() {
    SyncState& state = State();
    std::lock_guard<std::mutex> lock(state.lock);
    state.counts = {};
    state.open.clear();
}

void SetSyncHook(SyncHook hook) {
    SyncState& state = State();
    std::lock_guard<std::mutex> lock(state.lock);
    state.hook = std::move(hook);
}

}  // namespace lx2::host

// Found by the dynamic linker before the C library's, since this library is loaded before that one.
// A sanitizer's is found before this one, and calls it.
extern "C" LX2_HOST_API int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list args;
    va_start(args, request);
    void* argument = va_arg(args, void*);
    va_end(args);
    if (request == DMA_BUF_IOCTL_SYNC && lx2::host::IsDmaBuf(fd))
        return lx2::host::Sync(fd, static_cast<const dma_buf_sync*>(argument));
    return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}
