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

constexpr uint64_t kHeaderSize = sizeof(ParamHeader);
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
    if (old->size() > kHeaderSize)
        memcpy(BytesOf(grown.get()) + kHeaderSize, BytesOf(old) + kHeaderSize,
               old->size() - kHeaderSize);
    *slot = std::move(grown);
    return true;
}

void WriteFixed(C2Param* param, uint64_t offset, const void* value, uint64_t size) {
    if (offset + size <= param->size())  // else it is shorter than its descriptor says
        memcpy(BytesOf(param) + offset, value, size);
}

void WriteToEnd(std::unique_ptr<C2Param>* slot, uint64_t offset, const void* value, uint64_t size) {
    const uint64_t needed = offset + size;
    C2Param* param = slot->get();
    if (needed > param->size()) {
        if (offset > kMaxParamSize || kMaxParamSize - offset < size || !Grow(slot, needed))
            return;
    } else if (needed < param->size() && *param && needed >= kHeaderSize) {
        WriteHeader(param, {static_cast<uint32_t>(needed), param->index()});
    }
    memcpy(BytesOf(slot->get()) + offset, value, size);
}

}  // namespace

void WriteField(std::unique_ptr<C2Param>* slot, const C2FieldDescriptor& field, size_t baseOffset,
                const void* value, size_t size) {
    // A parameter's size is a 32-bit number: nothing lies beyond it, and the sums can't wrap.
    constexpr uint64_t kBeyond = std::numeric_limits<uint32_t>::max();
    if (baseOffset > kBeyond || size > kBeyond)
        return;
    const uint64_t offset =
        uint64_t{baseOffset} + _C2ParamInspector::GetOffset(field) + kHeaderSize;
    if (field.extent() != 0)
        WriteFixed(slot->get(), offset, value, size);
    else
        WriteToEnd(slot, offset, value, size);
}

}  // namespace lx2
