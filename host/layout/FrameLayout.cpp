#include <base/FrameGeometry.h>
#include <lx2host/FrameLayout.h>

#include <algorithm>

namespace lx2::host {

namespace {

using geometry::Align;
using geometry::CmpxNv12;
using geometry::CmpxTp10;

constexpr uint32_t kLargestSide = 65536;

constexpr uint32_t kTileBytes8 = 32;     // 32 samples, or 16 pairs
constexpr uint32_t kTileBytes10 = 64;    // 48 samples, or 24 pairs, in 16 words
constexpr uint32_t kTileBytesRgba = 64;  // 16 pixels

bool IsLaidOut(uint32_t format, uint32_t width, uint32_t height) {
    return geometry::RowOf(format).color != geometry::Color::None && width != 0 && height != 0 &&
           width <= kLargestSide && height <= kLargestSide;
}

// Where the allocator puts the planes.
PlanePlacements Placements(uint32_t format, uint32_t width, uint32_t height) {
    const uint32_t stride = geometry::Stride(format, width);
    const FramePlanes linear = geometry::PlanesOf(format, width, height, stride / 4);
    if (linear.count == 0)
        return {{{0, stride}, {geometry::LumaSize<uint64_t>(format, width, height), stride}, {}}};
    PlanePlacements placements;
    for (uint32_t i = 0; i < linear.count; ++i)
        placements[i] = {linear[i].offset, static_cast<uint32_t>(linear[i].pitch)};
    return placements;
}

PlaneLayout Linear(uint32_t width, uint32_t height, uint32_t channels,
                   const PlanePlacement& placement) {
    PlaneLayout plane;
    plane.width = width;
    plane.height = height;
    plane.channels = channels;
    plane.offset = placement.offset;
    plane.stride = placement.stride;
    return plane;
}

// A plane of tiles behind their metadata.
PlaneLayout Tiled(PlaneLayout plane, uint32_t tileBytes, uint32_t metadataStride,
                  uint32_t metadataSize) {
    plane.tileBytes = tileBytes;
    plane.packed = tileBytes == kTileBytes10;
    plane.metadata = plane.offset;
    plane.metadataStride = metadataStride;
    plane.offset += metadataSize;
    return plane;
}

// The other way round: the tiles of whole 16 rows, and the metadata in the rows below.
PlaneLayout TiledRgba(PlaneLayout plane) {
    plane.tileBytes = kTileBytesRgba;
    plane.metadata = plane.offset + uint64_t{Align<uint32_t>(plane.height, 16)} * plane.stride;
    plane.metadataStride = plane.stride / kTileBytesRgba;
    return plane;
}

template <typename Geometry>
void AddCompressedPlanes(FrameLayout* frame, uint32_t tileBytes, const PlanePlacements& at) {
    const uint32_t width = frame->width;
    const uint32_t height = frame->height;
    const uint32_t pairs = geometry::CeilDiv<uint32_t>(width, 2);
    const uint32_t rows = geometry::CeilDiv<uint32_t>(height, 2);
    frame->planeCount = 2;
    frame->planes[0] = Tiled(Linear(width, height, 1, at[0]), tileBytes,
                             Geometry::MetaStride(width), Geometry::LumaMetaSize(width, height));
    frame->planes[1] = Tiled(Linear(pairs, rows, 2, at[1]), tileBytes, Geometry::MetaStride(width),
                             Geometry::ChromaMetaSize(width, height));
    frame->channels = {{{0, 0}, {1, 0}, {1, 1}}};
}

void AddLinearPlanes(FrameLayout* frame, const geometry::LinearYuv& rule,
                     const PlanePlacements& at) {
    const uint32_t channels = rule.isPlanar() ? 1 : 2;
    frame->planeCount = 4 - channels;
    frame->planes[0] = Linear(frame->width, frame->height, 1, at[0]);
    for (uint32_t i = 1; i < frame->planeCount; ++i)
        frame->planes[i] = Linear(frame->width / 2, frame->height / 2, channels, at[i]);
    for (PlaneLayout& plane : frame->planes)
        plane.valueBytes = rule.sampleBytes;
    if (rule.isPlanar())
        frame->channels = {{{0, 0}, {1, 0}, {2, 0}}};
    else
        frame->channels = {{{0, 0}, {1, 0}, {1, 1}}};
    if (rule.chroma == geometry::Chroma::CrFirst)
        std::swap(frame->channels[1], frame->channels[2]);
}

// A row fits its stride, and a stride is whole tiles.
bool Fits(const PlaneLayout& plane) {
    if (!plane.isTiled())
        return plane.rowBytes() <= plane.stride;
    return plane.stride % plane.tileBytes == 0 &&
           Align<uint32_t>(plane.rowBytes(), plane.tileBytes) <= plane.stride;
}

}  // namespace

// Rows of whole 128-byte units. A compressed frame keeps a metadata byte for each tile of 16 x 4
// pixels below the picture: one row of them for each 256 rows.
RgbaAlignment AlignRgba(uint32_t width, uint32_t height) {
    const uint32_t rows = Align<uint32_t>(height, 16);
    return {Align<uint32_t>(width, 32), rows + geometry::CeilDiv<uint32_t>(rows, 256)};
}

std::optional<FrameLayout> LayoutAt(uint32_t format, uint32_t width, uint32_t height,
                                    const PlanePlacements& at) {
    if (!IsLaidOut(format, width, height))
        return std::nullopt;
    FrameLayout frame;
    frame.format = format;
    frame.width = width;
    frame.height = height;
    frame.bitDepth = geometry::RowOf(format).bitDepth;
    switch (format) {
        case PixFormat::RGBA8888:
        case PixFormat::RGBA8888_CMPX:
            frame.planeCount = 1;
            frame.planes[0] = Linear(width, height, 4, at[0]);
            if (format == PixFormat::RGBA8888_CMPX)
                frame.planes[0] = TiledRgba(frame.planes[0]);
            frame.channels = {{{0, 0}, {0, 1}, {0, 2}}};
            break;
        case PixFormat::MIREL_NV12_CMPX:
            AddCompressedPlanes<CmpxNv12<uint32_t>>(&frame, kTileBytes8, at);
            break;
        case PixFormat::MIREL_TP10:
            AddCompressedPlanes<CmpxTp10<uint32_t>>(&frame, kTileBytes10, at);
            break;
        default:
            AddLinearPlanes(&frame, geometry::RowOf(format).linear, at);
            break;
    }
    for (uint32_t i = 0; i < frame.planeCount; ++i) {
        if (!Fits(frame.planes[i]))
            return std::nullopt;
    }
    return frame;
}

std::optional<FrameLayout> LayoutOf(uint32_t format, uint32_t width, uint32_t height) {
    if (!IsLaidOut(format, width, height))
        return std::nullopt;
    return LayoutAt(format, width, height, Placements(format, width, height));
}

uint64_t FrameLayout::end() const {
    uint64_t end = 0;
    for (uint32_t i = 0; i < planeCount; ++i)
        end = std::max(end, planes[i].end());
    return end;
}

FrameAllocation AllocationOf(uint32_t format, uint32_t width, uint32_t height) {
    if (!IsLaidOut(format, width, height))
        return {};
    const geometry::FormatRow& row = geometry::RowOf(format);
    if (row.color == geometry::Color::Rgb) {
        const RgbaAlignment aligned = AlignRgba(width, height);
        return {aligned.width, aligned.height,
                geometry::RgbaFrameSize<uint64_t>(aligned.width, aligned.height)};
    }
    const geometry::LinearYuv& linear = row.linear;
    auto size = geometry::FrameSize<uint64_t>(format, width, height);
    if (linear.isPlanar()) {
        // With an odd height, half a row more for each chroma plane than they use.
        const uint64_t rows = linear.stride<uint64_t>(width) + linear.stride<uint64_t>(width / 2);
        size = std::max(size, Align<uint64_t>(rows * height, 4096));
    }
    const bool isLinear = linear.sampleBytes != 0;
    return {row.aligned.width(width),
            isLinear ? Align<uint32_t>(height, linear.heightUnit) : row.aligned.height(height),
            size};
}

}  // namespace lx2::host
