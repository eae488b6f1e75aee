#include <base/FormatTable.h>
#include <base/LogModules.h>
#include <lx2/LX2GrallocBuffer.h>

#include <C2AllocatorGralloc.h>
#include <android/hardware/graphics/mapper/3.0/IMapper.h>
#include <lx2device/PrivateHandle.h>

#include <limits>

#include "DisplayMetadata.h"

namespace lx2 {

constexpr LogModule kLog = kGrallocLog;

// Destroyed at unload in the reverse order: the lock, the helper, then the loader.
LX2LXDMetadata LX2LXDMetadata::sLibrary;
std::unique_ptr<LX2Mapper3Helper> LX2Mapper3Helper::sMapperHelper;
std::mutex LX2Mapper3Helper::sLock;

namespace {

constexpr uint32_t kInvalid = std::numeric_limits<uint32_t>::max();

PrivateHandle* Record(native_handle_t* handle) {
    return reinterpret_cast<PrivateHandle*>(handle);
}

}  // namespace

LX2PlatformBuffer::~LX2PlatformBuffer() = default;

std::unique_ptr<LX2PlatformBuffer> LX2PlatformBuffer::Create(const native_handle_t* handle) {
    return std::make_unique<LX2GrallocBuffer>(handle);
}

LX2GrallocBuffer::LX2GrallocBuffer(const native_handle_t* handle) {
    native_handle_t* unwrapped = android::UnwrapNativeCodec2GrallocHandle(handle);
    if (unwrapped == nullptr || unwrapped->numFds <= 1) {
        // An unwrapped copy with too few descriptors is not deleted here.
        LX2_LOGE("%s: invalid handle", kLog.tag);
        return;
    }
    mHandle = LX2Mapper3Helper::Get()->importBuffer(unwrapped);
    // Frees the record only; the import has descriptors of its own.
    native_handle_delete(unwrapped);
    if (mHandle == nullptr) {
        LX2_LOGE("Failed to import buffer after unwrapping");
        return;
    }
    mValid = true;
}

LX2GrallocBuffer::~LX2GrallocBuffer() {
    if (mHandle == nullptr)
        return;
    LX2Mapper3Helper::Get()->freeBuffer(mHandle);
    mHandle = nullptr;
}

int LX2GrallocBuffer::fd() {
    return mValid ? Record(mHandle)->fd : -1;
}

uint32_t LX2GrallocBuffer::allocSize() {
    return mValid ? Record(mHandle)->size : 0;
}

uint32_t LX2GrallocBuffer::offset() {
    return mValid ? Record(mHandle)->offset : kInvalid;
}

uint32_t LX2GrallocBuffer::width() {
    return mValid ? Record(mHandle)->width : kInvalid;
}

uint32_t LX2GrallocBuffer::height() {
    return mValid ? Record(mHandle)->height : kInvalid;
}

uint32_t LX2GrallocBuffer::stride() {
    return mValid ? Record(mHandle)->alignedWidth : kInvalid;
}

uint32_t LX2GrallocBuffer::sliceHeight() {
    return mValid ? Record(mHandle)->alignedHeight : kInvalid;
}

uint32_t LX2GrallocBuffer::format() {
    if (!mValid)
        return 0;
    const bool compressed = (flags() & kAllocatedCompressed) != 0;
    return geometry::LayoutFormatOf(Record(mHandle)->format, compressed);
}

uint32_t LX2GrallocBuffer::flags() {
    return mValid ? Record(mHandle)->flags : kInvalid;
}

uint64_t LX2GrallocBuffer::id() {
    return mValid ? Record(mHandle)->id : std::numeric_limits<uint64_t>::max();
}

}  // namespace lx2
