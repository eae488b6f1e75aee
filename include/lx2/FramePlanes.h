// Where the planes of a frame of a linear format lie.
#pragma once

#include <lx2/PixFormat.h>

#include <algorithm>
#include <cstdint>
#include <limits>

namespace lx2 {

// Equally spaced rows. In bytes, and in 64 bits since the figures may come from any handle.
// 32-bit dimensions can still give a product beyond 64 bits.
struct FramePlane {
    uint64_t offset = 0;    // of the first row
    uint64_t pitch = 0;     // from row to row
    uint64_t rowBytes = 0;  // of a row without its padding
    uint64_t rows = 0;

    // Where the last row ends; 0 without rows. The largest number when 64 bits can't hold it.
    constexpr uint64_t end() const {
        uint64_t end = 0;
        if (rows == 0)
            return 0;
        const bool wraps = __builtin_mul_overflow(rows - 1, pitch, &end) ||
                           __builtin_add_overflow(end, rowBytes, &end) ||
                           __builtin_add_overflow(end, offset, &end);
        return wraps ? std::numeric_limits<uint64_t>::max() : end;
    }
};

// The planes in the order in which they lie: Y, Cr, Cb of YV12; Y, Cb, Cr of I420; Y and pairs of
// Cb and Cr of NV12, MIREL_NV12 and MIREL_P010; the pixels of RGBA8888. None of any other format.
// An odd last column or row has no chroma. A sample of MIREL_P010 has two bytes, little-endian,
// with its ten bits in the upper ten and zeros below.
struct FramePlanes {
    FramePlane plane[3];
    uint32_t count = 0;

    constexpr const FramePlane& operator[](uint32_t index) const { return plane[index]; }
    constexpr const FramePlane* begin() const { return plane; }
    constexpr const FramePlane* end() const { return plane + count; }

    // How far the rows reach; 0 without any.
    constexpr uint64_t size() const {
        uint64_t size = 0;
        for (const FramePlane& rows : *this)
            size = std::max(size, rows.end());
        return size;
    }
};

}  // namespace lx2
