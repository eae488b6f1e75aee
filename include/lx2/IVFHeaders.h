// The headers of the IVF container, in which VP8 and VP9 streams are kept.
//
// A file is one IVFStreamHeader and then, for each frame, an IVFFrameHeader and the frame's bytes.
// The records are the bytes of the file: packed, every field little-endian.
#pragma once

#include <lx2/Export.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace lx2 {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the records are the file's bytes");

struct LX2_API __attribute__((packed)) IVFStreamHeader {
    static constexpr char FourCC_VP9[4] = {'V', 'P', '9', '0'};

    char signature[4] = {'D', 'K', 'I', 'F'};
    uint16_t version = 0;
    uint16_t headerSize = 32;  // of this record, bytes
    char fourcc[4] = {'V', 'P', '8', '0'};
    uint16_t width = 320;   // pixels
    uint16_t height = 240;  // rows
    uint32_t rate = 30000;  // a timestamp unit is scale / rate seconds
    uint32_t scale = 1000;
    uint32_t frameCount = 0;
    uint32_t unused = 0;

    // Puts the record's 32 bytes into a new array in *out; an array that was there is freed.
    // Returns the number of bytes: 32, or 0, logged, for a null out.
    size_t toBytes(std::unique_ptr<uint8_t[]>* out) const;

    // The record in the first 32 of size bytes. Signature, version, header size and the reserved
    // field are not read but have their defaults: any 32 bytes are taken for a stream header.
    // Null, logged, for fewer bytes or a null pointer.
    static std::unique_ptr<IVFStreamHeader> FromBytes(size_t size, const uint8_t* bytes);
};

struct LX2_API __attribute__((packed)) IVFFrameHeader {
    uint32_t frameSize = 0;  // bytes that follow, without this record
    uint64_t timestamp = 0;  // in the stream header's units

    // Puts the record's 12 bytes into a new array in *out; an array that was there is freed.
    // Returns the number of bytes: 12, or 0, logged, for a null out.
    size_t toBytes(std::unique_ptr<uint8_t[]>* out) const;

    // The record in the first 12 of size bytes. Of the timestamp only the lower 32 bits are read,
    // although toBytes writes all 64.
    // Null, logged, for fewer bytes or a null pointer.
    static std::unique_ptr<IVFFrameHeader> FromBytes(size_t size, const uint8_t* bytes);
};

}  // namespace lx2
