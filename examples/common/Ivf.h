// Reads IVF files, in which VP8 and VP9 streams are kept.
#pragma once

#include <lx2/IVFHeaders.h>

#include <cstdint>
#include <string>
#include <vector>

namespace lx2::example {

struct IvfFrame {
    size_t offset;  // of the frame's bytes in the file
    uint32_t size;
    uint64_t timestamp;  // in the header's units
};

struct IvfFile {
    std::vector<uint8_t> bytes;
    IVFStreamHeader header;
    std::vector<IvfFrame> frames;
};

bool IsIvf(const std::vector<uint8_t>& bytes);

// Returns what is wrong with the bytes of a file in a few words (not IVF, cut short), or an empty
// string.
std::string ReadIvf(std::vector<uint8_t> content, IvfFile* file);

}  // namespace lx2::example
