#include <lx2host/HardwareMemory.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <map>
#include <mutex>
#include <new>
#include <utility>

namespace lx2::host {

namespace {

struct Held {
    size_t holds = 0;
    std::shared_ptr<HardwareMemory> mapping;  // once it was asked for
};

using Memory = std::pair<dev_t, ino_t>;

struct HeldMemory {
    std::mutex lock;
    std::map<Memory, Held> all;
};

// Leaked on purpose: handles are freed while the process takes its static objects down.
HeldMemory& State() {
    static auto* state = new HeldMemory;
    return *state;
}

std::shared_ptr<HardwareMemory> MapAll(int fd, size_t size) {
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED)
        return nullptr;
    try {
        return std::make_shared<HardwareMemory>(static_cast<uint8_t*>(memory), size);
    } catch (const std::bad_alloc&) {
        munmap(memory, size);
        return nullptr;
    }
}

}  // namespace

HardwareMemory::~HardwareMemory() {
    munmap(mData, mSize);
}

std::shared_ptr<HardwareMemory> HardwareMemory::Of(int fd) {
    struct stat info {};
    if (!IsDmaBuf(fd) || fstat(fd, &info) != 0)
        return nullptr;
    const auto size = static_cast<size_t>(info.st_size);
    HeldMemory& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    const auto held = state.all.find({info.st_dev, info.st_ino});
    if (held == state.all.end())
        return MapAll(fd, size);
    std::shared_ptr<HardwareMemory>& mapping = held->second.mapping;
    if (mapping == nullptr || mapping->size() != size)
        mapping = MapAll(fd, size);
    return mapping;
}

void HardwareMemory::Hold(const native_handle_t* handle) {
    HeldMemory& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    for (int i = 0; i < handle->numFds; ++i) {
        struct stat info {};
        if (fstat(handle->data[i], &info) == 0)
            ++state.all[{info.st_dev, info.st_ino}].holds;
    }
}

void HardwareMemory::Drop(const native_handle_t* handle) {
    HeldMemory& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    for (int i = 0; i < handle->numFds; ++i) {
        struct stat info {};
        if (fstat(handle->data[i], &info) != 0)
            continue;
        const auto held = state.all.find({info.st_dev, info.st_ino});
        if (held != state.all.end() && --held->second.holds == 0)
            state.all.erase(held);
    }
}

}  // namespace lx2::host
