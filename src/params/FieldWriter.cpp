#include "FieldWriter.h"

#include <base/ParamHeader.h>

#include <C2ParamInternal.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace lx2 {
namespace {

constexpr uint64_t kMaxParamSize = 0x7FFFFFFF;

uint8_t* BytesOf(C2Param* param) {
    return reinterpret_cast<uint8_t*>(param);
}

// A parameter of size bytes whose body is zero; null when there is no memory.
std::unique_ptr<C2Param> AllocateParam(uint64_t size, uint32_t index) {
    void* memory = ::operator new(size, std::nothrow);
    if (memory == nullptr)
        return nullptr;
    memset(memory, 0, size);
    std::unique_ptr<C2Param> param(static_cast<C2Param*>(memory));
    WriteHeader(param.get(), {static_cast<uint32_t>(size), index});
    return param;
}

// Puts a longer parameter with the old one's body into the slot; tells whether it could.
bool Grow(std::unique_ptr<C2Param>* slot, uint64_t size) {
    C2Param* old = slot->get();
    std::unique_ptr<C2Param> grown = AllocateParam(size, old->index());
    if (grown == nullptr)
        return false;
    if (old->size() > sizeof(C2Param))
        memcpy(BytesOf(grown.get()) + sizeof(C2Param), BytesOf(old) + sizeof(C2Param),
               old->size() - sizeof(C2Param));
    *slot = std::move(grown);
    return true;
}

}  // namespace

LX2Status WriteField(std::unique_ptr<C2Param>* slot, const C2FieldDescriptor& field,
                     size_t baseOffset, const void* value, size_t size) {
    // A parameter's size is a 32-bit number: nothing lies beyond it, and the sums can't wrap.
    constexpr uint64_t kBeyond = std::numeric_limits<uint32_t>::max();
    if (baseOffset > kBeyond || size > kBeyond)
        return C2_CORRUPTED;
    const uint64_t offset =
        uint64_t{baseOffset} + _C2ParamInspector::GetOffset(field) + sizeof(C2Param);
    const uint64_t end = offset + size;
    const uint64_t present = (*slot)->size();
    if (field.extent() != 0) {
        if (end > present)
            return C2_CORRUPTED;  // the parameter is shorter than its descriptor says
    } else if (end > present) {
        if (end > kMaxParamSize)
            return C2_CORRUPTED;
        if (!Grow(slot, end))
            return C2_NO_MEMORY;
    } else {
        WriteHeader(slot->get(), {static_cast<uint32_t>(end), (*slot)->index()});
    }
    memcpy(BytesOf(slot->get()) + offset, value, size);
    return C2_OK;
}

}  // namespace lx2
