#include "FrameRows.h"

#include <lx2/FrameGeometry.h>
#include <lx2/PixFormat.h>

namespace lx2 {

std::optional<FrameRows> FrameRowsOf(uint32_t format, uint64_t width, uint64_t height,
                                     uint64_t stride) {
    const auto align16 = [](uint64_t value) { return geometry::Align<uint64_t>(value, 16); };
    const auto align512 = [](uint64_t value) { return geometry::Align<uint64_t>(value, 512); };
    switch (format) {
        case PixFormat::RGBA8888:
            return FrameRows{{0, height, width * 4, stride * 4}, {}};
        case PixFormat::I420:  // a row of chroma here is one row of each plane, or two of one
        case PixFormat::NV12:
            return FrameRows{{0, height, width, width}, {height * width, height / 2, width, width}};
        case PixFormat::YV12:  // the rows of both chroma planes
            return FrameRows{
                {0, height, width, align16(width)},
                {height * align16(width), height, width / 2, align16(width / 2)},
            };
        case PixFormat::MIREL_NV12:
            return FrameRows{
                {0, height, width, align512(width)},
                {align512(height) * align512(width), height / 2, width, align512(width)},
            };
        default:
            return std::nullopt;
    }
}

}  // namespace lx2
