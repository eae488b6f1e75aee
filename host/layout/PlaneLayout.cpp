// Reading and writing the rows of a plane.
#include <base/FrameGeometry.h>
#include <lx2host/FrameLayout.h>

#include <algorithm>
#include <cstring>

namespace lx2::host {

namespace {

constexpr uint8_t kTileWritten = 1;
constexpr uint32_t kMask10 = 0x3FF;

void Unpack(const uint8_t* from, uint16_t* values, uint32_t count) {
    for (; count > 0; from += 4) {
        uint32_t word;
        memcpy(&word, from, sizeof(word));
        const uint32_t here = std::min(count, 3u);
        for (uint32_t i = 0; i < here; ++i)
            *values++ = static_cast<uint16_t>(word >> 10 * i & kMask10);
        count -= here;
    }
}

void Pack(const uint16_t* values, uint32_t count, uint8_t* to) {
    for (; count > 0; to += 4) {
        const uint32_t here = std::min(count, 3u);
        uint32_t word = 0;
        for (uint32_t i = 0; i < here; ++i)
            word |= (*values++ & kMask10) << 10 * i;
        memcpy(to, &word, sizeof(word));
        count -= here;
    }
}

// Ten bits above six zeros.
void ReadUpperBits(const uint8_t* from, uint16_t* values, uint32_t count) {
    for (; count > 0; --count, from += 2)
        *values++ = static_cast<uint16_t>((from[0] | from[1] << 8) >> 6);
}

void WriteUpperBits(const uint16_t* values, uint32_t count, uint8_t* to) {
    for (; count > 0; --count, ++values) {
        *to++ = static_cast<uint8_t>(*values << 6);
        *to++ = static_cast<uint8_t>(*values >> 2);
    }
}

// Pieces of a row, kPiece bytes of each tile: copies of a fixed size, which take one or two
// instructions each.
template <uint32_t kPiece>
void Gather(const uint8_t* tiles, uint8_t* row, uint32_t count) {
    for (; count >= kPiece; count -= kPiece, row += kPiece, tiles += PlaneLayout::kTileSize)
        memcpy(row, tiles, kPiece);
    memcpy(row, tiles, count);
}

template <uint32_t kPiece>
void Scatter(const uint8_t* row, uint8_t* tiles, uint32_t count) {
    for (; count >= kPiece; count -= kPiece, row += kPiece, tiles += PlaneLayout::kTileSize)
        memcpy(tiles, row, kPiece);
    memcpy(tiles, row, count);
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
    return packed ? geometry::CeilDiv<uint32_t>(values(), 3) * 4 : values() * valueBytes;
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
        else if (valueBytes == 2)
            ReadUpperBits(frame + at, values + first, count);
        else
            std::copy_n(frame + at, count, values + first);
    });
}

void PlaneLayout::write(uint8_t* frame, uint32_t row, const uint16_t* values) const {
    ForEachRun(*this, row, [&](uint64_t at, uint32_t first, uint32_t count) {
        if (packed)
            Pack(values + first, count, frame + at);
        else if (valueBytes == 2)
            WriteUpperBits(values + first, count, frame + at);
        else
            std::transform(values + first, values + first + count, frame + at,
                           [](uint16_t value) { return static_cast<uint8_t>(value); });
    });
    markWritten(frame, row);
}

void PlaneLayout::read(const uint8_t* frame, uint32_t row, uint8_t* values) const {
    const uint8_t* from = frame + byteAt(0, row);
    switch (tileBytes) {
        case 0:
            std::copy_n(from, rowBytes(), values);  // of one column no chroma: none
            break;
        case 32:
            Gather<32>(from, values, rowBytes());
            break;
        default:
            Gather<64>(from, values, rowBytes());
            break;
    }
}

void PlaneLayout::write(uint8_t* frame, uint32_t row, const uint8_t* values) const {
    uint8_t* to = frame + byteAt(0, row);
    switch (tileBytes) {
        case 0:
            std::copy_n(values, rowBytes(), to);
            break;
        case 32:
            Scatter<32>(values, to, rowBytes());
            break;
        default:
            Scatter<64>(values, to, rowBytes());
            break;
    }
    markWritten(frame, row);
}

void PlaneLayout::markWritten(uint8_t* frame, uint32_t row) const {
    if (isTiled())
        std::fill_n(frame + metadataAt(0, row), (rowBytes() - 1) / tileBytes + 1, kTileWritten);
}

}  // namespace lx2::host
