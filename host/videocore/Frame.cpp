#include <lx2host/VideoCore.h>

#include <algorithm>

namespace lx2::host {

namespace {

constexpr uint16_t kBlack = 16;
constexpr uint16_t kNeutral = 128;
constexpr uint16_t kWhite = 235;

uint16_t Scaled(uint32_t value, uint32_t bitDepth) {
    return static_cast<uint16_t>(value << (bitDepth - 8));
}

}  // namespace

Frame::Frame(uint32_t frameWidth, uint32_t frameHeight, uint32_t depth)
    : width(frameWidth), height(frameHeight), bitDepth(depth) {
    const size_t chroma = size_t{chromaWidth()} * chromaHeight();
    y.assign(size_t{width} * height, Scaled(kBlack, depth));
    cb.assign(chroma, Scaled(kNeutral, depth));
    cr = cb;
}

Frame Frame::withBitDepth(uint32_t depth) const {
    Frame result = *this;
    result.bitDepth = depth;
    for (auto* plane : {&result.y, &result.cb, &result.cr}) {
        for (uint16_t& value : *plane)
            value = static_cast<uint16_t>(depth >= bitDepth ? value << (depth - bitDepth)
                                                            : value >> (bitDepth - depth));
    }
    return result;
}

PictureView Frame::view() const {
    const auto plane = [](const std::vector<uint16_t>& values, uint32_t row) {
        return PictureView::Plane{reinterpret_cast<const uint8_t*>(values.data()),
                                  static_cast<ptrdiff_t>(row * sizeof(uint16_t))};
    };
    return {width,
            height,
            bitDepth,
            sizeof(uint16_t),
            {{plane(y, width), plane(cb, chromaWidth()), plane(cr, chromaWidth())}}};
}

bool Frame::operator==(const Frame& other) const {
    return width == other.width && height == other.height && bitDepth == other.bitDepth &&
           y == other.y && cb == other.cb && cr == other.cr;
}

Frame TestFrame(uint32_t width, uint32_t height, uint32_t bitDepth, uint32_t index) {
    Frame frame(width, height, bitDepth);
    const uint32_t fine = 1u << (bitDepth - 8);  // so that all bits of a value are in use
    for (uint32_t row = 0; row < height; ++row) {
        for (uint32_t x = 0; x < width; ++x)
            frame.y[size_t{row} * width + x] = static_cast<uint16_t>(
                Scaled(kBlack + (x + row + 2 * index) % 200, bitDepth) + (x + row) % fine);
    }
    for (uint32_t row = 0; row < frame.chromaHeight(); ++row) {
        for (uint32_t x = 0; x < frame.chromaWidth(); ++x) {
            const size_t at = size_t{row} * frame.chromaWidth() + x;
            frame.cb[at] = Scaled(64 + (x + index) % 128, bitDepth);
            frame.cr[at] = Scaled(64 + (row + 3 * index) % 128, bitDepth);
        }
    }
    const uint32_t side = std::max(1u, std::min(width, height) / 4);
    const uint32_t left = width > side ? index * 4 % (width - side) : 0;
    const uint32_t top = height > side ? index * 2 % (height - side) : 0;
    for (uint32_t row = top; row < std::min(top + side, height); ++row)
        std::fill_n(frame.y.begin() + size_t{row} * width + left, std::min(side, width - left),
                    Scaled(kWhite, bitDepth));
    return frame;
}

}  // namespace lx2::host
