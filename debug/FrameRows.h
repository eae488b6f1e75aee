// Where the rows of an uncompressed frame lie that a dump writes, without their padding.
#pragma once

#include <cstdint>
#include <optional>

namespace lx2 {

// Equally spaced rows. In bytes, and in 64 bits since every figure comes from a handle.
struct RowBlock {
    uint64_t start = 0;  // of the first row in the buffer
    uint64_t count = 0;
    uint64_t length = 0;  // of each row
    uint64_t pitch = 0;   // from row to row

    // Where the last row ends; 0 without rows.
    uint64_t end() const { return count == 0 ? 0 : start + (count - 1) * pitch + length; }
};

struct FrameRows {
    RowBlock luma;  // or all of an RGBA frame
    RowBlock chroma;
};

// Nothing for a format without a rule, whose whole buffer is written. width and stride in pixels.
std::optional<FrameRows> FrameRowsOf(uint32_t format, uint64_t width, uint64_t height,
                                     uint64_t stride);

}  // namespace lx2
