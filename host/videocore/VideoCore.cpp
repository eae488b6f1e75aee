#include <base/FrameGeometry.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/HardwareMemory.h>
#include <lx2host/VideoCore.h>

#include <algorithm>
#include <cstring>

#include "Strips.h"

namespace lx2::host {

namespace {

bool IsComplete(const Frame& frame) {
    const size_t chroma = size_t{frame.chromaWidth()} * frame.chromaHeight();
    return frame.y.size() == size_t{frame.width} * frame.height && frame.cb.size() == chroma &&
           frame.cr.size() == chroma;
}

bool IsKnown(const PictureView& picture) {
    return picture.bitDepth == 8 ? picture.sampleBytes == 1 || picture.sampleBytes == 2
                                 : picture.bitDepth == 10 && picture.sampleBytes == 2;
}

// The rows of a picture from one with an even number on, two or the last one.
PictureView StripOf(const PictureView& picture, uint32_t row) {
    PictureView strip = picture;
    strip.height = std::min(2u, picture.height - row);
    for (uint32_t i = 0; i < strip.planes.size(); ++i)
        strip.planes[i].data +=
            static_cast<ptrdiff_t>(i == 0 ? row : row / 2) * strip.planes[i].pitch;
    return strip;
}

template <typename Sample>
void WriteStrips(uint8_t* memory, const FrameLayout& layout, const PictureView& picture) {
    StripWriter<Sample> writer(memory, layout);
    for (uint32_t row = 0; row < picture.height; row += 2)
        writer.write(row, StripOf(picture, row));
}

void Write(uint8_t* memory, const FrameLayout& layout, const PictureView& picture) {
    if (layout.bitDepth == 8)
        WriteStrips<uint8_t>(memory, layout, picture);
    else
        WriteStrips<uint16_t>(memory, layout, picture);
}

template <typename Sample>
void CopyRow(const PictureView& strip, uint32_t plane, uint32_t row, uint16_t* to, uint32_t count) {
    const auto* from = reinterpret_cast<const Sample*>(
        strip.planes[plane].data + static_cast<ptrdiff_t>(row) * strip.planes[plane].pitch);
    std::copy_n(from, count, to);
}

template <typename Sample>
void ReadStrips(const uint8_t* memory, const FrameLayout& layout, Frame* frame) {
    StripReader<Sample> reader(memory, layout);
    const uint32_t chroma = frame->chromaWidth();
    for (uint32_t row = 0; row < frame->height; row += 2) {
        const PictureView strip = reader.read(row);
        for (uint32_t i = 0; i < strip.height; ++i)
            CopyRow<Sample>(strip, 0, i, &frame->y[size_t{row + i} * frame->width], frame->width);
        CopyRow<Sample>(strip, 1, 0, &frame->cb[size_t{row / 2} * chroma], chroma);
        CopyRow<Sample>(strip, 2, 0, &frame->cr[size_t{row / 2} * chroma], chroma);
    }
}

template <typename From, typename To>
void CopyStrips(const uint8_t* from, const FrameLayout& source, uint8_t* to,
                const FrameLayout& target) {
    StripReader<From> reader(from, source);
    StripWriter<To> writer(to, target);
    for (uint32_t row = 0; row < source.height; row += 2)
        writer.write(row, reader.read(row));
}

// Planes that differ in where their rows lie, but not in what is in them.
bool AreAlike(const FrameLayout& a, const FrameLayout& b) {
    for (uint32_t i = 0; i < a.planes.size(); ++i) {
        const PlaneLayout &left = a.planes[i], &right = b.planes[i];
        if (left.width != right.width || left.height != right.height ||
            left.channels != right.channels || left.packed != right.packed ||
            left.valueBytes != right.valueBytes || a.channels[i].plane != b.channels[i].plane)
            return false;
    }
    return a.planeCount == b.planeCount;
}

template <typename Value>
void CopyPlane(const uint8_t* from, const PlaneLayout& source, uint8_t* to,
               const PlaneLayout& target) {
    std::vector<Value> row(source.values());
    for (uint32_t y = 0; y < source.height; ++y) {
        source.read(from, y, row.data());
        target.write(to, y, row.data());
    }
}

// What the hardware sees from an offset on; nothing if that is not there.
struct Window {
    Window(int fd, uint32_t offset) : memory(HardwareMemory::Of(fd)) {
        if (memory == nullptr || offset > memory->size())
            return;
        base = memory->data() + offset;
        size = memory->size() - offset;
    }
    std::shared_ptr<HardwareMemory> memory;
    uint8_t* base = nullptr;
    size_t size = 0;
};

bool WriteWithin(uint8_t* base, size_t size, uint32_t format, const PictureView& picture) {
    const auto layout = LayoutOf(format, picture.width, picture.height);
    if (base == nullptr || !layout || layout->end() > size || !IsKnown(picture))
        return false;
    Write(base, *layout, picture);
    return true;
}

}  // namespace

void WriteFrame(uint8_t* memory, const FrameLayout& layout, const Frame& frame) {
    Write(memory, layout, frame.view());
}

Frame ReadFrame(const uint8_t* memory, const FrameLayout& layout) {
    Frame frame(layout.width, layout.height, layout.bitDepth);
    if (layout.bitDepth == 8)
        ReadStrips<uint8_t>(memory, layout, &frame);
    else
        ReadStrips<uint16_t>(memory, layout, &frame);
    return frame;
}

void CopyFrame(const uint8_t* from, const FrameLayout& source, uint8_t* to,
               const FrameLayout& target) {
    if (AreAlike(source, target)) {
        for (uint32_t i = 0; i < source.planeCount; ++i) {
            if (source.bitDepth > 8)
                CopyPlane<uint16_t>(from, source.planes[i], to, target.planes[i]);
            else
                CopyPlane<uint8_t>(from, source.planes[i], to, target.planes[i]);
        }
    } else if (source.bitDepth == 8) {
        target.bitDepth == 8 ? CopyStrips<uint8_t, uint8_t>(from, source, to, target)
                             : CopyStrips<uint8_t, uint16_t>(from, source, to, target);
    } else {
        target.bitDepth == 8 ? CopyStrips<uint16_t, uint8_t>(from, source, to, target)
                             : CopyStrips<uint16_t, uint16_t>(from, source, to, target);
    }
}

bool WriteFrame(uint8_t* base, size_t size, uint32_t format, const Frame& frame) {
    return IsComplete(frame) && WriteWithin(base, size, format, frame.view());
}

bool WriteFrame(int fd, uint32_t offset, uint32_t format, const PictureView& picture) {
    const Window window(fd, offset);
    return WriteWithin(window.base, window.size, format, picture);
}

std::optional<Frame> ReadFrame(const uint8_t* base, size_t size, uint32_t format, uint32_t width,
                               uint32_t height) {
    const auto layout = LayoutOf(format, width, height);
    if (base == nullptr || !layout || layout->end() > size)
        return std::nullopt;
    return ReadFrame(base, *layout);
}

std::optional<Frame> ReadFrame(int fd, uint32_t offset, uint32_t format, uint32_t width,
                               uint32_t height) {
    const Window window(fd, offset);
    return ReadFrame(window.base, window.size, format, width, height);
}

}  // namespace lx2::host
