// Where the planes of a frame of a linear format lie.
#pragma once

#include <lx2/FrameGeometry.h>

#include <algorithm>
#include <cstdint>

namespace lx2 {

// Equally spaced rows. In bytes, and in 64 bits since the figures may come from any handle.
struct FramePlane {
    uint64_t offset = 0;    // of the first row
    uint64_t pitch = 0;     // from row to row
    uint64_t rowBytes = 0;  // of a row without its padding
    uint64_t rows = 0;

    // Where the last row ends; 0 without rows.
    constexpr uint64_t end() const {
        return rows == 0 ? 0 : offset + (rows - 1) * pitch + rowBytes;
    }
};

// The planes in the order in which they lie: Y, Cr, Cb of YV12; Y, Cb, Cr of I420; Y and pairs of
// Cb and Cr of NV12, MIREL_NV12 and MIREL_P010 (two bytes a sample); the pixels of RGBA8888. None
// of any other format. An odd last column or row has no chroma.
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

namespace geometry {

// Offsets count from the start of the frame. width, height and stride in pixels; stride matters to
// RGBA8888 only, the pitch of the others is a rule's.
constexpr FramePlanes PlanesOf(uint32_t format, uint64_t width, uint64_t height, uint64_t stride) {
    if (format == PixFormat::RGBA8888)
        return {{{0, stride * 4, width * 4, height}}, 1};
    const LinearYuv rule = LinearYuvOf(format);
    if (rule.sampleBytes == 0)
        return {};
    const uint64_t pitch = rule.stride(width);
    const uint64_t chroma = rule.lumaSize(width, height);
    const FramePlane luma{0, pitch, width * rule.sampleBytes, height};
    const uint64_t rowBytes = width / 2 * rule.sampleBytes;
    if (!rule.planar)
        return {{luma, {chroma, pitch, rowBytes * 2, height / 2}}, 2};
    const uint64_t half = rule.stride(width / 2);
    return {{luma,
             {chroma, half, rowBytes, height / 2},
             // With an odd height half a row further than the rows before it need.
             {chroma + half * height / 2, half, rowBytes, height / 2}},
            3};
}

}  // namespace geometry

}  // namespace lx2
