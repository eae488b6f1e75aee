#include <lx2/Memory.h>

#include <cerrno>
#include <cstring>

namespace lx2 {

int memcpy_s(void* dst, size_t dstSize, const void* src, size_t count) {
    if (count == 0)
        return 0;
    if (dst == nullptr || src == nullptr)
        return EINVAL;
    if (count > dstSize)
        return ERANGE;
    memcpy(dst, src, count);
    return 0;
}

}  // namespace lx2
