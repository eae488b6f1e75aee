// The video core's hands, for examples and tests: writes a planar frame into the memory of a
// graphic buffer of any format, as the decoder hardware would, and reads one back.
//
// With a descriptor they work as hardware does, through a mapping that is made once and neither
// needs nor gives the CPU one; with an address they use the caller's mapping.
#pragma once

#include <lx2host/DmaBuf.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace lx2::host {

struct FrameLayout;

// Where the planes of a 4:2:0 picture lie, as a software decoder leaves them.
struct PictureView {
    struct Plane {
        const uint8_t* data = nullptr;
        ptrdiff_t pitch = 0;  // bytes from one row to the next
    };

    uint32_t width = 0;  // the chroma planes have half of it, rounded up
    uint32_t height = 0;
    uint32_t bitDepth = 8;        // 8 or 10
    uint32_t sampleBytes = 1;     // 1, of 8 bit only, or 2, little-endian with zeros above
    std::array<Plane, 3> planes;  // Y, Cb, Cr
};

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

    // Of this frame's own planes.
    PictureView view() const;

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
LX2_HOST_API bool WriteFrame(int fd, uint32_t offset, uint32_t format, const PictureView& picture);

// Reads a frame of the format's depth (8 for RGBA, whose chroma is the mean of each 2 x 2 pixels).
// The chroma column or row that a linear format of an odd size lacks repeats its neighbour, or is
// neutral where there is none. Nothing for another format, an empty size, or too few bytes.
LX2_HOST_API std::optional<Frame> ReadFrame(const uint8_t* base, size_t size, uint32_t format,
                                            uint32_t width, uint32_t height);
LX2_HOST_API std::optional<Frame> ReadFrame(int fd, uint32_t offset, uint32_t format,
                                            uint32_t width, uint32_t height);

// The same for a frame that is placed otherwise. The memory behind frame reaches to layout.end();
// the frame has the layout's size.
LX2_HOST_API void WriteFrame(uint8_t* memory, const FrameLayout& layout, const Frame& frame);
LX2_HOST_API Frame ReadFrame(const uint8_t* memory, const FrameLayout& layout);

// The picture of one layout in another of the same size, as if it were read and written. From one
// RGB format to another the alpha channel goes along.
LX2_HOST_API void CopyFrame(const uint8_t* from, const FrameLayout& source, uint8_t* to,
                            const FrameLayout& target);

// Frame number index of a moving picture: drifting gradients with a bright square that travels
// over them. Every index of the first few hundred gives another picture.
LX2_HOST_API Frame TestFrame(uint32_t width, uint32_t height, uint32_t bitDepth, uint32_t index);

}  // namespace lx2::host
