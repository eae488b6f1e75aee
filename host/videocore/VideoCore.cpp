#include <lx2/FrameGeometry.h>
#include <lx2host/FrameLayout.h>
#include <lx2host/VideoCore.h>

#include <algorithm>

#include "Bt601.h"

namespace lx2::host {

namespace {

constexpr uint32_t kOpaque = 255;

bool IsComplete(const Frame& frame) {
    const size_t chroma = size_t{frame.chromaWidth()} * frame.chromaHeight();
    return (frame.bitDepth == 8 || frame.bitDepth == 10) &&
           frame.y.size() == size_t{frame.width} * frame.height && frame.cb.size() == chroma &&
           frame.cr.size() == chroma;
}

const std::vector<uint16_t>& Channel(const Frame& frame, uint32_t channel) {
    return channel == 0 ? frame.y : channel == 1 ? frame.cb : frame.cr;
}

std::vector<uint16_t>& Channel(Frame* frame, uint32_t channel) {
    return const_cast<std::vector<uint16_t>&>(Channel(*frame, channel));
}

uint32_t ChannelWidth(const Frame& frame, uint32_t channel) {
    return channel == 0 ? frame.width : frame.chromaWidth();
}

// One row of a plane with the channels that lie in it.
struct PlaneRow {
    PlaneRow(const FrameLayout& layout, uint32_t index)
        : frame(layout), number(index), plane(layout.planes[index]), values(plane.values()) {}

    template <typename Each>  // each(channel, position of its first value in the row)
    void forEachChannel(Each each) const {
        for (uint32_t channel = 0; channel < frame.channels.size(); ++channel) {
            if (frame.channels[channel].plane == number)
                each(channel, frame.channels[channel].channel);
        }
    }

    const FrameLayout& frame;
    uint32_t number;
    const PlaneLayout& plane;
    std::vector<uint16_t> values;
};

void WriteYuv(uint8_t* memory, const FrameLayout& layout, const Frame& frame) {
    for (uint32_t index = 0; index < layout.planeCount; ++index) {
        PlaneRow row(layout, index);
        const PlaneLayout& plane = row.plane;
        for (uint32_t y = 0; y < plane.height; ++y) {
            row.forEachChannel([&](uint32_t channel, uint32_t first) {
                const uint16_t* from =
                    Channel(frame, channel).data() + size_t{y} * ChannelWidth(frame, channel);
                for (uint32_t x = 0; x < plane.width; ++x)
                    row.values[x * plane.channels + first] = from[x];
            });
            plane.write(memory, y, row.values.data());
        }
    }
}

// Fills what the plane does not have from its last column and row.
void Extend(std::vector<uint16_t>* values, uint32_t width, uint32_t height, uint32_t haveWidth,
            uint32_t haveHeight) {
    if (haveWidth == 0 || haveHeight == 0)
        return;
    for (uint32_t y = 0; y < haveHeight && haveWidth < width; ++y)
        (*values)[size_t{y} * width + haveWidth] = (*values)[size_t{y} * width + haveWidth - 1];
    if (haveHeight < height)
        std::copy_n(values->begin() + size_t{haveHeight - 1} * width, width,
                    values->begin() + size_t{haveHeight} * width);
}

void ReadYuv(const uint8_t* memory, const FrameLayout& layout, Frame* frame) {
    for (uint32_t index = 0; index < layout.planeCount; ++index) {
        PlaneRow row(layout, index);
        const PlaneLayout& plane = row.plane;
        for (uint32_t y = 0; y < plane.height; ++y) {
            plane.read(memory, y, row.values.data());
            row.forEachChannel([&](uint32_t channel, uint32_t first) {
                uint16_t* to =
                    Channel(frame, channel).data() + size_t{y} * ChannelWidth(*frame, channel);
                for (uint32_t x = 0; x < plane.width; ++x)
                    to[x] = row.values[x * plane.channels + first];
            });
        }
        row.forEachChannel([&](uint32_t channel, uint32_t) {
            if (channel != 0)
                Extend(&Channel(frame, channel), frame->chromaWidth(), frame->chromaHeight(),
                       plane.width, plane.height);
        });
    }
}

void WriteRgba(uint8_t* memory, const PlaneLayout& plane, const Frame& frame) {
    std::vector<uint16_t> row(plane.values());
    for (uint32_t y = 0; y < frame.height; ++y) {
        const uint16_t* luma = frame.y.data() + size_t{y} * frame.width;
        const size_t chroma = size_t{y / 2} * frame.chromaWidth();
        for (uint32_t x = 0; x < frame.width; ++x) {
            const bt601::Rgb rgb =
                bt601::ToRgb({luma[x], frame.cb[chroma + x / 2], frame.cr[chroma + x / 2]});
            uint16_t* pixel = &row[size_t{x} * 4];
            pixel[0] = static_cast<uint16_t>(rgb.r);
            pixel[1] = static_cast<uint16_t>(rgb.g);
            pixel[2] = static_cast<uint16_t>(rgb.b);
            pixel[3] = kOpaque;
        }
        plane.write(memory, y, row.data());
    }
}

// Two rows of pixels, or the last one alone.
void ReadRgbaRows(const std::vector<uint16_t> (&rows)[2], uint32_t count, uint32_t y,
                  Frame* frame) {
    for (uint32_t i = 0; i < count; ++i) {
        for (uint32_t x = 0; x < frame->width; ++x) {
            const uint16_t* pixel = &rows[i][size_t{x} * 4];
            frame->y[size_t{y + i} * frame->width + x] =
                static_cast<uint16_t>(bt601::Luma({pixel[0], pixel[1], pixel[2]}));
        }
    }
    for (uint32_t x = 0; x < frame->chromaWidth(); ++x) {
        const uint32_t columns = std::min<uint32_t>(2, frame->width - 2 * x);
        bt601::Rgb sum{0, 0, 0};
        for (uint32_t i = 0; i < count; ++i) {
            for (uint32_t column = 0; column < columns; ++column) {
                const uint16_t* pixel = &rows[i][(size_t{x} * 2 + column) * 4];
                sum = {sum.r + pixel[0], sum.g + pixel[1], sum.b + pixel[2]};
            }
        }
        const bt601::Yuv chroma = bt601::Chroma(sum, static_cast<int>(count * columns));
        const size_t at = size_t{y / 2} * frame->chromaWidth() + x;
        frame->cb[at] = static_cast<uint16_t>(chroma.cb);
        frame->cr[at] = static_cast<uint16_t>(chroma.cr);
    }
}

void ReadRgba(const uint8_t* memory, const PlaneLayout& plane, Frame* frame) {
    std::vector<uint16_t> rows[2];
    rows[0].resize(plane.values());
    rows[1].resize(plane.values());
    for (uint32_t y = 0; y < plane.height; y += 2) {
        const uint32_t count = std::min<uint32_t>(2, plane.height - y);
        for (uint32_t i = 0; i < count; ++i)
            plane.read(memory, y + i, rows[i].data());
        ReadRgbaRows(rows, count, y, frame);
    }
}

}  // namespace

void WriteFrame(uint8_t* memory, const FrameLayout& layout, const Frame& frame) {
    if (frame.bitDepth != layout.bitDepth)
        WriteFrame(memory, layout, frame.withBitDepth(layout.bitDepth));
    else if (geometry::IsRgb(layout.format))
        WriteRgba(memory, layout.planes[0], frame);
    else
        WriteYuv(memory, layout, frame);
}

Frame ReadFrame(const uint8_t* memory, const FrameLayout& layout) {
    Frame frame(layout.width, layout.height, layout.bitDepth);
    if (geometry::IsRgb(layout.format))
        ReadRgba(memory, layout.planes[0], &frame);
    else
        ReadYuv(memory, layout, &frame);
    return frame;
}

bool WriteFrame(uint8_t* base, size_t size, uint32_t format, const Frame& frame) {
    const auto layout = LayoutOf(format, frame.width, frame.height);
    if (base == nullptr || !layout || layout->end() > size || !IsComplete(frame))
        return false;
    WriteFrame(base, *layout, frame);
    return true;
}

std::optional<Frame> ReadFrame(const uint8_t* base, size_t size, uint32_t format, uint32_t width,
                               uint32_t height) {
    const auto layout = LayoutOf(format, width, height);
    if (base == nullptr || !layout || layout->end() > size)
        return std::nullopt;
    return ReadFrame(base, *layout);
}

}  // namespace lx2::host
