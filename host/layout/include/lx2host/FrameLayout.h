// How a frame of each pixel format lies in memory. One description for the allocator, the blitter
// and the video core.
//
// Every plane is rows of values. A linear plane stores a row at once. A compressed one stores it
// in tiles of 256 bytes, with one metadata byte a tile that says whether the tile was written.
#pragma once

#include <lx2host/DmaBuf.h>

#include <array>
#include <cstdint>
#include <optional>

namespace lx2::host {

// What the allocator records of a frame. All zero for a format that it does not know.
struct FrameAllocation {
    uint32_t stride = 0;       // pixels
    uint32_t sliceHeight = 0;  // rows
    uint64_t size = 0;         // bytes
};

// format: a PixFormat value; width in pixels and height in rows, as requested.
LX2_HOST_API FrameAllocation AllocationOf(uint32_t format, uint32_t width, uint32_t height);

// A 32-bit RGBA surface as the GPU aligns it, in pixels and rows.
struct RgbaAlignment {
    uint32_t width = 0;
    uint32_t height = 0;
};
LX2_HOST_API RgbaAlignment AlignRgba(uint32_t width, uint32_t height);

// One plane. Offsets in bytes from the start of the frame.
struct LX2_HOST_API PlaneLayout {
    static constexpr uint32_t kTileSize = 256;

    uint32_t width = 0;           // positions in a row
    uint32_t height = 0;          // rows
    uint32_t channels = 1;        // values that lie side by side at each position
    bool packed = false;          // three 10-bit values in a 32-bit word, the first in bits 0 to 9
    uint32_t valueBytes = 1;      // if not packed; of 2, little endian, bits 6 to 15 are the value
    uint64_t offset = 0;          // of the rows or tiles
    uint32_t stride = 0;          // bytes that a row of values takes up, tiled or not
    uint32_t tileBytes = 0;       // bytes of a row within a tile; 0 for a linear plane
    uint64_t metadata = 0;        // of the metadata bytes; tiled planes only
    uint32_t metadataStride = 0;  // metadata bytes of a row of tiles

    bool isTiled() const { return tileBytes != 0; }
    uint32_t tileRows() const { return kTileSize / tileBytes; }
    uint32_t values() const { return width * channels; }  // of a row
    uint32_t rowBytes() const;  // of a row, from its first value to its last
    uint64_t byteAt(uint32_t column, uint32_t row) const;  // column in bytes along the row
    uint64_t metadataAt(uint32_t column, uint32_t row) const;

    // The first byte of those that hold a value: of the whole word in a packed plane.
    uint64_t valueAt(uint32_t x, uint32_t channel, uint32_t row) const {
        const uint32_t value = x * channels + channel;
        return byteAt(packed ? value / 3 * 4 : value * valueBytes, row);
    }
    // The end of all that belongs to the plane, metadata included.
    uint64_t end() const;

    // Copies one row of values() values from or to the frame in memory.
    void read(const uint8_t* frame, uint32_t row, uint16_t* values) const;
    void write(uint8_t* frame, uint32_t row, const uint16_t* values) const;

    // The same in bytes, for planes with values of eight bits.
    void read(const uint8_t* frame, uint32_t row, uint8_t* values) const;
    void write(uint8_t* frame, uint32_t row, const uint8_t* values) const;

  private:
    void markWritten(uint8_t* frame, uint32_t row) const;
};

// Where a plane begins and how long its rows are, in bytes. A compressed YUV plane begins with its
// metadata.
struct PlanePlacement {
    uint64_t offset = 0;
    uint32_t stride = 0;
};
using PlanePlacements = std::array<PlanePlacement, 3>;

// Where a channel's values are.
struct ChannelPosition {
    uint32_t plane = 0;
    uint32_t channel = 0;  // among those of the plane
};

struct LX2_HOST_API FrameLayout {
    uint32_t format = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitDepth = 8;
    uint32_t planeCount = 0;
    std::array<PlaneLayout, 3> planes;
    std::array<ChannelPosition, 3> channels;  // Y, Cb, Cr; or R, G, B, with A behind them

    uint64_t end() const;
};

// A frame as the allocator places it, or placed otherwise. None for an unknown format, an empty or
// an oversized frame, or rows that don't fit their stride.
LX2_HOST_API std::optional<FrameLayout> LayoutOf(uint32_t format, uint32_t width, uint32_t height);
LX2_HOST_API std::optional<FrameLayout> LayoutAt(uint32_t format, uint32_t width, uint32_t height,
                                                 const PlanePlacements& placements);

}  // namespace lx2::host
