// Graphic-buffer handles of any shape and content.
#include <lx2/LX2Buffer.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2host/DmaBuf.h>
#include <lx2host/Mapper.h>
#include <sanitizer/lsan_interface.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>

#include "HandleMaker.h"

namespace lx2::fuzz {
namespace {

// What is allocated in its life is left out of the search for leaks: a handle with less than two
// descriptors leaves its unwrapped copy behind, as is wanted.
class WantedLeak {
  public:
    explicit WantedLeak(const native_handle_t* handle)
        : mWanted(handle != nullptr && handle->numFds < 2) {
        if (mWanted)
            __lsan_disable();
    }
    ~WantedLeak() {
        if (mWanted)
            __lsan_enable();
    }

  private:
    const bool mWanted;
};

// One that is open for as long as the fuzzer runs, or none.
int AnyDescriptor(Input* input) {
    static const int memory = host::AllocateDmaBuf(4096);
    return input->ConsumeBool() ? memory : -1;
}

// With the descriptors of the handle, not with copies of them, which nobody would close.
HandleRecord Wrapped(const native_handle_t& handle) {
    HandleRecord wrapped(android::WrapNativeCodec2GrallocHandle(&handle, 1, 2, 3, 4, 5));
    for (int i = 0; wrapped != nullptr && i < wrapped->numFds; ++i)
        close(std::exchange(wrapped->data[i], handle.data[i]));
    return wrapped;
}

HandleRecord AnyHandle(Input* input) {
    const int fds = input->ConsumeIntegralInRange<int>(0, 4);
    const int ints = input->ConsumeIntegralInRange<int>(0, 32);
    HandleRecord handle(native_handle_create(fds, ints));
    for (int i = 0; i < fds; ++i)
        handle->data[i] = AnyDescriptor(input);
    for (int i = 0; i < ints; ++i)
        handle->data[fds + i] = static_cast<int>(AnyNumber(input));
    if (fds + ints > 2 && input->ConsumeBool())
        handle->data[2] = static_cast<int>(host::kAllocatorMagic);
    return input->ConsumeBool() ? Wrapped(*handle) : std::move(handle);
}

// The real handle with some integers that it never had.
HandleRecord Altered(Input* input, const native_handle_t& real) {
    HandleRecord handle = CopyOf(real);
    for (int i = input->ConsumeIntegralInRange<int>(0, 5); i > 0; --i) {
        const int at = input->ConsumeIntegralInRange<int>(0, handle->numInts - 1);
        handle->data[handle->numFds + at] = static_cast<int>(AnyNumber(input));
    }
    if (input->ConsumeIntegralInRange<int>(0, 7) == 0)
        handle->version = static_cast<int>(AnyNumber(input));
    if (input->ConsumeIntegralInRange<int>(0, 7) == 0)
        handle->numInts = input->ConsumeIntegralInRange<int>(0, handle->numInts);
    if (input->ConsumeIntegralInRange<int>(0, 7) == 0)
        handle->numFds = input->ConsumeIntegralInRange<int>(0, handle->numFds);
    return handle;
}

// What the accessors say, as a buffer that could not be imported says it or as its record does.
void Ask(const native_handle_t* handle) {
    std::unique_ptr<LX2PlatformBuffer> buffer;
    {
        const WantedLeak leak(handle);
        buffer = LX2PlatformBuffer::Create(handle);
    }
    FUZZ_CHECK(buffer != nullptr);
    constexpr uint32_t kUnknown = std::numeric_limits<uint32_t>::max();
    const uint32_t format = buffer->format();
    if (buffer->fd() < 0) {
        FUZZ_CHECK(buffer->allocSize() == 0 && buffer->offset() == kUnknown &&
                   buffer->width() == kUnknown && buffer->height() == kUnknown &&
                   buffer->stride() == kUnknown && buffer->sliceHeight() == kUnknown &&
                   format == 0 && buffer->flags() == kUnknown &&
                   buffer->id() == std::numeric_limits<uint64_t>::max());
        return;
    }
    const auto* record = reinterpret_cast<const PrivateHandle*>(handle);
    FUZZ_CHECK(buffer->fd() != record->fd && buffer->allocSize() == record->size &&
               buffer->offset() == record->offset && buffer->width() == record->width &&
               buffer->height() == record->height && buffer->stride() == record->alignedWidth &&
               buffer->sliceHeight() == record->alignedHeight && buffer->flags() == record->flags &&
               buffer->id() == record->id);
}

// A mapping is as long as the record says; the memory behind it is as long as it is.
void Map(const std::shared_ptr<LX2Buffer>& buffer) {
    for (const bool writable : {false, true}) {
        const auto mapping = buffer->graphic()->mapInternal(writable);
        FUZZ_CHECK(mapping != nullptr && mapping->isWritable() == writable);
        struct stat memory {};
        if (mapping->data() == nullptr || fstat(buffer->graphic()->fd(), &memory) != 0)
            continue;
        const auto there = std::min<uint64_t>(mapping->size(), memory.st_size);
        Touch(mapping->data(), std::min<uint64_t>(there, 4096));
        if (writable && there > 0)
            mapping->data()[there - 1] = 1;
    }
}

void UseAsBuffer(std::shared_ptr<C2GraphicAllocation> real, HandleRecord handle) {
    const WantedLeak leak(handle.get());
    const auto block = _C2BlockFactory::CreateGraphicBlock(
        std::make_shared<Disguised>(std::move(real), std::move(handle)));
    const auto buffer = std::make_shared<LX2Buffer>(block);
    Map(buffer);
    char text[256];
    Touch(LX2Buffer::AsString(buffer, text, sizeof(text)), 1);
    Touch(LX2Buffer::AsString(buffer->getSharedBuffer(), text, sizeof(text)), 1);
}

}  // namespace
}  // namespace lx2::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lx2::fuzz;
    Input input(data, size);
    if (input.ConsumeBool()) {
        const HandleRecord handle = AnyHandle(&input);
        Ask(handle.get());
    } else if (auto real = AnyAllocation(&input, 64)) {
        HandleRecord handle = Altered(&input, *real->handle());
        Ask(handle.get());
        UseAsBuffer(std::move(real), std::move(handle));
    }
    FUZZ_CHECK(lx2::host::LiveImports() == 0);
    const lx2::host::SyncCounts counts = lx2::host::GetSyncCounts();
    FUZZ_CHECK(counts.open == 0 && counts.unmatched == 0);
    return 0;
}
