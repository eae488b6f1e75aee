// Frames that nobody encoded yet: a Y4M file, raw NV12 or YV12, or a moving picture made here.
#pragma once

#include <lx2host/VideoCore.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace lx2::example {

enum class RawLayout { None, Nv12, Yv12, I420 };

struct RawShape {
    RawLayout layout = RawLayout::None;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t rate = 25;  // frames a second
};

constexpr uint32_t kLargestSide = 8192;

class RawVideo {
  public:
    // Reads a file. shape: of raw frames; Y4M tells its own. Null when there is nothing to encode,
    // with what is wrong in *error.
    static std::unique_ptr<RawVideo> Open(const std::string& path, const RawShape& shape,
                                          std::string* error);

    // The moving picture.
    static std::unique_ptr<RawVideo> Make(uint32_t width, uint32_t height, uint32_t frames);

    size_t frames() const { return mCount; }
    const RawShape& shape() const { return mShape; }

    // What is wrong with the file behind the frames that are there; empty if nothing is.
    const std::string& damage() const { return mDamage; }

    // A frame of an even size: the last column and row of an odd one come twice.
    host::Frame frame(size_t index) const;

  private:
    RawVideo() = default;
    std::string cutRaw();
    std::string cutY4m();
    std::string readY4mHeader(const std::string& header);
    uint64_t frameBytes() const;

    RawShape mShape;
    std::vector<uint8_t> mBytes;
    std::vector<size_t> mOffsets;
    size_t mCount = 0;
    std::string mDamage;
};

}  // namespace lx2::example
