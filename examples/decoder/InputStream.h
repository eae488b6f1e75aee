// A compressed stream as access units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "../common/VideoHardware.h"

namespace lx2::example {

struct InputUnit {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    uint64_t index = 0;
    uint64_t timestamp = 0;     // microseconds
    bool shown = true;          // a frame comes of it
    bool endsSequence = false;  // what follows refers to nothing before it
};

class InputStream {
  public:
    // Reads a file: raw H.264 or H.265, or VP8 or VP9 in IVF.
    // Null, with *error in one line, for a file that is missing, empty, or none of these.
    static std::unique_ptr<InputStream> Open(const std::string& path, std::string* error);

    Codec codec() const { return mKind.codec; }
    std::string mime() const { return mKind.mime; }
    std::string extension() const { return mKind.extension; }
    const std::vector<InputUnit>& units() const { return mUnits; }
    uint32_t largestUnit() const;

    // What is wrong with the file although it holds units, as an end that was cut off; else empty.
    const std::string& damage() const { return mDamage; }

    // What is odd about the file; mostly empty.
    const std::string& note() const { return mNote; }

  private:
    InputStream() = default;
    // What is wrong with the file, or empty.
    std::string readIvf(std::vector<uint8_t> content);
    std::string readByteStream(std::vector<uint8_t> content, const std::string& path);
    InputUnit& add(size_t offset, uint32_t size, uint64_t timestamp, bool shown);

    std::vector<uint8_t> mBytes;
    std::vector<InputUnit> mUnits;
    StreamKind mKind;
    std::string mDamage;
    std::string mNote;
};

}  // namespace lx2::example
