#pragma once

#include <lx2/Export.h>

#include <cstdint>

namespace lx2 {

class LX2_API Platform {
  public:
    // How the video hardware lays out its compressed frames.
    class LX2_API MirelBufferLayout {
      public:
        // Bytes of a frame of a compressed format, width and height in pixels. 0 for a format that
        // is not compressed, for an empty frame, and for compressed RGBA when the device's GPU
        // utility library, which knows its alignment, cannot be asked.
        static uint64_t CompressedFrameSize(uint32_t format, uint64_t width, uint64_t height);
    };
};

}  // namespace lx2
