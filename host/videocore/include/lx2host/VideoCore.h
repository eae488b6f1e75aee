// The video core's hands, for examples and tests: writes a planar frame into the memory of a
// graphic buffer of any format, as the decoder hardware would, and reads one back.
#pragma once

#include <lx2host/DmaBuf.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace lx2::host {

struct FrameLayout;

// A planar 4:2:0 frame. Rows lie one behind the other without padding.
struct LX2_HOST_API Frame {
    Frame() = default;
    // A black frame; bitDepth is 8 or 10.
    Frame(uint32_t frameWidth, uint32_t frameHeight, uint32_t depth);

    uint32_t chromaWidth() const { return width / 2 + width % 2; }
    uint32_t chromaHeight() const { return height / 2 + height % 2; }

    // The same frame with values of another depth. Eight bits become ten by a shift to the left,
    // ten become eight by a shift to the right, which rounds down: there and back changes nothing.
    Frame withBitDepth(uint32_t depth) const;

    bool operator==(const Frame& other) const;

    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitDepth = 8;     // how many bits of the values count
    std::vector<uint16_t> y;   // width x height
    std::vector<uint16_t> cb;  // chromaWidth() x chromaHeight()
    std::vector<uint16_t> cr;
};

// Writes a frame into size bytes at base, laid out as the allocator does for format. The values
// are converted to the format's depth as withBitDepth does, and for RGBA to BT.601 limited range
// from the chroma sample of each 2 x 2 pixels. Of an odd size, the linear YUV formats have no room
// for the last chroma column or row, which are dropped.
// False, with nothing written, for another format, an incomplete frame, or too few bytes.
LX2_HOST_API bool WriteFrame(uint8_t* base, size_t size, uint32_t format, const Frame& frame);

// Reads a frame of the format's depth (8 for RGBA, whose chroma is the mean of each 2 x 2 pixels).
// The chroma column or row that a linear format of an odd size lacks repeats its neighbour, or is
// neutral where there is none. Nothing for another format, an empty size, or too few bytes.
LX2_HOST_API std::optional<Frame> ReadFrame(const uint8_t* base, size_t size, uint32_t format,
                                            uint32_t width, uint32_t height);

// The same for a frame that is placed otherwise. The memory behind frame reaches to layout.end();
// the frame has the layout's size.
LX2_HOST_API void WriteFrame(uint8_t* memory, const FrameLayout& layout, const Frame& frame);
LX2_HOST_API Frame ReadFrame(const uint8_t* memory, const FrameLayout& layout);

// Frame number index of a moving picture: drifting gradients with a bright square that travels
// over them. Every index of the first few hundred gives another picture.
LX2_HOST_API Frame TestFrame(uint32_t width, uint32_t height, uint32_t bitDepth, uint32_t index);

}  // namespace lx2::host
