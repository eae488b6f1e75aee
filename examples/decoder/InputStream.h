// A compressed stream as access units.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "VideoHardware.h"

namespace lx2::example {

struct InputUnit {
    const uint8_t* data = nullptr;
    uint32_t size = 0;
    uint64_t index = 0;
    uint64_t timestamp = 0;  // microseconds
};

class InputStream {
  public:
    // Reads a file: raw H.264 or H.265 with four-byte start codes, or VP8 or VP9 in IVF.
    // Null, with *error in one line, for a file that is missing, empty, or none of these.
    static std::unique_ptr<InputStream> Open(const std::string& path, std::string* error);

    Codec codec() const { return mCodec; }
    const std::string& mime() const { return mMime; }
    const std::string& extension() const { return mExtension; }
    const std::vector<InputUnit>& units() const { return mUnits; }
    uint32_t largestUnit() const;

    // What is wrong with the end of the file, when it was cut short; else empty.
    const std::string& damage() const { return mDamage; }

  private:
    InputStream() = default;
    // What is wrong with the file, or empty.
    std::string readIvf(const std::string& path);
    std::string readByteStream(const std::string& path);
    void setCodec(const char* mime, const char* extension, Codec codec);
    void add(size_t offset, uint32_t size, uint64_t timestamp);

    std::vector<uint8_t> mBytes;
    std::vector<InputUnit> mUnits;
    Codec mCodec = Codec::Avc;
    std::string mMime;
    std::string mExtension;
    std::string mDamage;
};

}  // namespace lx2::example
