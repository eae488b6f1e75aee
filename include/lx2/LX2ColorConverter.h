// Converts graphic buffers between pixel formats with the device's 2-D blit library, and one pair
// of formats (YV12 to the video core's NV12) in software.
//
// A converter is made once and used for every frame: it sets the blit library up on the first one
// and again only when the geometry of its buffers changes.
#pragma once

#include <lx2/Export.h>
#include <lx2/LX2Buffer.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace lx2 {

class LX2_API LX2ColorConverter {
  public:
    // One side's geometry.
    struct Format {
        uint32_t width = 0;   // pixels
        uint32_t height = 0;  // rows
        uint32_t format = 0;  // a PixFormat value
        uint32_t stride = 0;  // pixels
        uint32_t flags = 0;   // usage flags of the allocation

        bool operator==(const Format& other) const;
    };

    struct Capabilities {
        uint64_t reserved = 0;
        std::map<uint32_t, std::vector<uint32_t>> targets;  // by source format
    };

    // Opens the blit library. Without it every conversion fails.
    LX2ColorConverter();
    ~LX2ColorConverter();

    LX2ColorConverter(const LX2ColorConverter&) = delete;
    LX2ColorConverter& operator=(const LX2ColorConverter&) = delete;

    // Converts src into dst, which has the same width and height, and gives dst the crop of src,
    // also when the conversion then fails. The crop limits nothing: frames are converted whole.
    // Both buffers are mapped for writing, the source too, and must be owned by a shared_ptr. Safe
    // to call from several threads, which take turns. 0; -2 for a null view; -1 for every other
    // failure, which is logged.
    int32_t convert(LX2Buffer::Graphic* src, LX2Buffer::Graphic* dst);

    // The conversions that components count on. It is a list and not a limit: convert() refuses
    // only what the blit library does. The one object lives until the process ends.
    static const Capabilities& QueryCapabilities();

  protected:
    class LX2_LOCAL Engine;

  private:
    std::unique_ptr<Engine> mEngine;
    Format mSrc;
    Format mDst;
    std::mutex mLock;
};

}  // namespace lx2
