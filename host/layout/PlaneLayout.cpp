// Reading and writing the rows of a plane.
#include <lx2/FrameGeometry.h>
#include <lx2host/FrameLayout.h>

#include <algorithm>
#include <cstring>

namespace lx2::host {

namespace {

constexpr uint8_t kTileWritten = 1;
constexpr uint32_t kMask10 = 0x3FF;

void Unpack(const uint8_t* from, uint16_t* values, uint32_t count) {
    for (uint32_t done = 0; done < count; from += 4) {
        uint32_t word;
        memcpy(&word, from, sizeof(word));
        for (uint32_t shift = 0; shift < 30 && done < count; shift += 10)
            values[done++] = static_cast<uint16_t>(word >> shift & kMask10);
    }
}

void Pack(const uint16_t* values, uint32_t count, uint8_t* to) {
    for (uint32_t done = 0; done < count; to += 4) {
        uint32_t word = 0;
        for (uint32_t shift = 0; shift < 30 && done < count; shift += 10)
            word |= (values[done++] & kMask10) << shift;
        memcpy(to, &word, sizeof(word));
    }
}

// Calls run(byte offset in the frame, first value, number of values) for each stretch of a row
// that lies in one piece.
template <typename Run>
void ForEachRun(const PlaneLayout& plane, uint32_t row, Run run) {
    const uint32_t total = plane.values();
    if (!plane.isTiled()) {
        run(plane.byteAt(0, row), 0u, total);
        return;
    }
    const uint32_t perTile = plane.packed ? plane.tileBytes / 4 * 3 : plane.tileBytes;
    uint64_t at = plane.byteAt(0, row);
    for (uint32_t first = 0; first < total; first += perTile, at += PlaneLayout::kTileSize)
        run(at, first, std::min(perTile, total - first));
}

}  // namespace

uint32_t PlaneLayout::rowBytes() const {
    return packed ? geometry::CeilDiv<uint32_t>(values(), 3) * 4 : values();
}

uint64_t PlaneLayout::byteAt(uint32_t column, uint32_t row) const {
    if (!isTiled())
        return offset + uint64_t{row} * stride + column;
    const uint32_t rowOfTiles = row / tileRows();
    return offset + uint64_t{rowOfTiles} * tileRows() * stride +
           uint64_t{column / tileBytes} * kTileSize + uint64_t{row % tileRows()} * tileBytes +
           column % tileBytes;
}

uint64_t PlaneLayout::metadataAt(uint32_t column, uint32_t row) const {
    return metadata + uint64_t{row / tileRows()} * metadataStride + column / tileBytes;
}

uint64_t PlaneLayout::end() const {
    if (values() == 0 || height == 0)
        return offset;
    const uint32_t lastColumn = rowBytes() - 1;
    if (!isTiled())
        return byteAt(lastColumn, height - 1) + 1;
    const uint32_t firstOfTile = lastColumn / tileBytes * tileBytes;
    const uint32_t firstRow = (height - 1) / tileRows() * tileRows();
    return std::max(byteAt(firstOfTile, firstRow) + kTileSize,
                    metadataAt(lastColumn, height - 1) + 1);
}

void PlaneLayout::read(const uint8_t* frame, uint32_t row, uint16_t* values) const {
    ForEachRun(*this, row, [&](uint64_t at, uint32_t first, uint32_t count) {
        if (packed)
            Unpack(frame + at, values + first, count);
        else
            std::copy_n(frame + at, count, values + first);
    });
}

void PlaneLayout::write(uint8_t* frame, uint32_t row, const uint16_t* values) const {
    ForEachRun(*this, row, [&](uint64_t at, uint32_t first, uint32_t count) {
        if (packed)
            Pack(values + first, count, frame + at);
        else
            std::transform(values + first, values + first + count, frame + at,
                           [](uint16_t value) { return static_cast<uint8_t>(value); });
    });
    if (isTiled())
        std::fill_n(frame + metadataAt(0, row), (rowBytes() - 1) / tileBytes + 1, kTileWritten);
}

}  // namespace lx2::host
