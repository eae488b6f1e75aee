#pragma once

#include <lx2/Export.h>

#include <cstddef>

namespace lx2 {

// Copies count bytes from src to dst, which has room for dstSize bytes; the two must not overlap.
// Returns 0 on success. A count larger than dstSize, or a null pointer with a non-zero count,
// copies nothing and returns ERANGE or EINVAL.
LX2_API int memcpy_s(void* dst, size_t dstSize, const void* src, size_t count);

}  // namespace lx2
