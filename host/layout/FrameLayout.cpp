#include <lx2/FrameGeometry.h>
#include <lx2host/FrameLayout.h>

namespace lx2::host {

namespace {

using geometry::Align;
using geometry::CmpxNv12;
using geometry::CmpxTp10;

// Rows of whole 128-byte units. A compressed frame keeps a metadata byte for each tile of 16 x 4
// pixels below the picture: one row of them for each 256 rows.
FrameAllocation RgbaAllocation(uint32_t width, uint32_t height) {
    const uint32_t stride = Align<uint32_t>(width, 32);
    const uint32_t rows = Align<uint32_t>(height, 16);
    const uint32_t aligned = rows + geometry::CeilDiv<uint32_t>(rows, 256);
    return {stride, aligned, geometry::RgbaFrameSize<uint64_t>(stride, aligned)};
}

}  // namespace

FrameAllocation AllocationOf(uint32_t format, uint32_t width, uint32_t height) {
    const uint64_t size = geometry::FrameSize<uint64_t>(format, width, height);
    switch (format) {
        case PixFormat::RGBA8888:
        case PixFormat::RGBA8888_CMPX:
            return RgbaAllocation(width, height);
        case PixFormat::I420:
        case PixFormat::YV12:
        case PixFormat::NV12:
            return {Align<uint32_t>(width, 16), height, size};
        case PixFormat::MIREL_NV12:
            return {Align<uint32_t>(width, 512), Align<uint32_t>(height, 512), size};
        case PixFormat::MIREL_NV12_CMPX:
            return {Align<uint32_t>(width, 128), CmpxNv12<uint32_t>::TileRows(height), size};
        case PixFormat::MIREL_TP10:
            return {CmpxTp10<uint32_t>::Stride(width) * 3 / 4, CmpxTp10<uint32_t>::TileRows(height),
                    size};
        case PixFormat::MIREL_P010: {
            const uint64_t stride = Align<uint64_t>(width, 128);
            const uint64_t rows = Align<uint64_t>(height, 32);
            return {static_cast<uint32_t>(stride), static_cast<uint32_t>(rows),
                    stride * 2 * (rows + rows / 2)};
        }
        default:
            return {};
    }
}

}  // namespace lx2::host
