// What every C2 parameter begins with.
#pragma once

#include <lx2/C2Prelude.h>

#include <C2Param.h>

#include <cstdint>

namespace lx2 {

struct ParamHeader {
    uint32_t size;  // of the whole parameter, bytes
    uint32_t index;
};
static_assert(sizeof(ParamHeader) == 8 && sizeof(C2Param) == sizeof(ParamHeader));

inline void WriteHeader(C2Param* param, const ParamHeader& header) {
    memcpy(static_cast<void*>(param), &header, sizeof(header));
}

}  // namespace lx2
