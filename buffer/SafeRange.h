// How much of a mapping can be read.
#pragma once

#include <lx2/LX2Buffer.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <optional>

namespace lx2 {

// Bytes of the memory behind a descriptor; nothing if it doesn't say. A DMA-BUF does.
inline std::optional<uint64_t> MemoryBehind(int fd) {
    const off_t end = lseek(fd, 0, SEEK_END);
    return end >= 0 ? std::optional<uint64_t>(end) : std::nullopt;
}

// A mapping may be longer than its memory, and a read past the end of that is fatal.
inline uint64_t ReadableBytes(const LX2Buffer::Mapping& mapping, int fd) {
    return std::min<uint64_t>(mapping.size(), MemoryBehind(fd).value_or(mapping.size()));
}

}  // namespace lx2
