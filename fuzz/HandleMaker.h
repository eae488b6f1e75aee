// Graphic-buffer handles that say anything.
#pragma once

#include <C2AllocatorGralloc.h>
#include <C2BlockInternal.h>
#include <cutils/native_handle.h>
#include <lx2/LX2Buffer.h>
#include <lx2/PixFormat.h>
#include <lx2device/PrivateHandle.h>
#include <lx2host/Allocations.h>
#include <lx2host/Gralloc.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "Support.h"

namespace lx2::fuzz {

constexpr uint32_t kFormats[] = {PixFormat::RGBA8888,
                                 PixFormat::RGBA8888_CMPX,
                                 PixFormat::I420,
                                 PixFormat::NV12,
                                 PixFormat::YV12,
                                 PixFormat::MIREL_NV12,
                                 PixFormat::MIREL_NV12_CMPX,
                                 PixFormat::MIREL_TP10,
                                 PixFormat::MIREL_P010,
                                 0x22};

// Frees the record only; the descriptors in it belong to someone else.
struct DeleteHandle {
    void operator()(native_handle_t* handle) const {
        handle->version = sizeof(native_handle_t);
        native_handle_delete(handle);
    }
};
using HandleRecord = std::unique_ptr<native_handle_t, DeleteHandle>;

inline HandleRecord CopyOf(const native_handle_t& handle) {
    HandleRecord copy(native_handle_create(handle.numFds, handle.numInts));
    std::copy_n(handle.data, handle.numFds + handle.numInts, copy->data);
    return copy;
}

// An allocation under a handle of our own, over the memory of a real one.
class Disguised : public host::GraphicMemory {
  public:
    Disguised(std::shared_ptr<C2GraphicAllocation> real, HandleRecord handle)
        : GraphicMemory(real->width(), real->height()),
          mReal(std::move(real)),
          mHandle(std::move(handle)) {}
    const C2Handle* handle() const override { return mHandle.get(); }

  private:
    std::shared_ptr<C2GraphicAllocation> mReal;
    HandleRecord mHandle;
};

constexpr uint32_t kLargestSide = 96;

inline uint32_t AnyFormat(Input* input) {
    return input->ConsumeIntegralInRange<int>(0, 9) != 0 ? input->PickValueInArray(kFormats)
                                                         : AnyNumber(input);
}

inline uint32_t AnySide(Input* input) {
    return input->ConsumeIntegralInRange<int>(0, 4) != 0
               ? input->ConsumeIntegralInRange<uint32_t>(0, kLargestSide)
               : AnyNumber(input);
}

// A buffer of the allocation, whose handle tells another geometry than it has.
inline std::shared_ptr<LX2Buffer> Disguise(Input* input, std::shared_ptr<C2GraphicAllocation> real,
                                           uint32_t width, uint32_t height) {
    HandleRecord handle = CopyOf(*real->handle());
    auto* record = reinterpret_cast<PrivateHandle*>(handle.get());
    record->width = width;
    record->height = height;
    uint32_t* const fields[] = {&record->alignedWidth, &record->alignedHeight, &record->format,
                                &record->flags,        &record->size,          &record->offset};
    for (int i = input->ConsumeIntegralInRange<int>(0, 3); i > 0; --i)
        *input->PickValueInArray(fields) = AnyNumber(input);
    if (input->ConsumeIntegralInRange<int>(0, 3) == 0)
        record->format = AnyFormat(input);
    return std::make_shared<LX2Buffer>(_C2BlockFactory::CreateGraphicBlock(
        std::make_shared<Disguised>(std::move(real), std::move(handle))));
}

inline std::shared_ptr<C2GraphicAllocation> AnyAllocation(Input* input, uint32_t largestSide) {
    const uint32_t width = input->ConsumeIntegralInRange<uint32_t>(1, largestSide);
    const uint32_t height = input->ConsumeIntegralInRange<uint32_t>(1, largestSide);
    const uint32_t format = input->PickValueInArray(kFormats);
    const uint64_t usage = input->ConsumeBool() ? host::kUsageCompressed : 0;
    return host::AllocateGraphic(width, height, format, usage);
}

}  // namespace lx2::fuzz
