// Plays the client of an encoder: puts frames into buffers of a graphic pool, in the format that
// was asked for and with the colors that the display keeps with a buffer.
#pragma once

#include <C2Buffer.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2host/VideoCore.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace lx2::example {

class Camera {
  public:
    // Frames of one size. infos: color aspects, and HDR static info where there is one.
    Camera(uint32_t width, uint32_t height, uint32_t format,
           std::vector<std::shared_ptr<C2Info>> infos);

    // A buffer with the frame; null, with what is wrong in *error, when it can't be made.
    std::shared_ptr<C2Buffer> shoot(const host::Frame& frame, uint64_t timestamp,
                                    std::string* error);

    uint64_t conversions() const { return mConversions; }

  private:
    // A linear format is written by the CPU; others are converted to, by the blit library.
    uint32_t mFormat;
    uint32_t mWrittenFormat;
    std::vector<std::shared_ptr<C2Info>> mInfos;
    std::unique_ptr<LX2GraphicBufferPool> mPool;         // of the format
    std::unique_ptr<LX2GraphicBufferPool> mWrittenPool;  // of what the CPU writes
    LX2ColorConverter mConverter;
    uint64_t mConversions = 0;
};

}  // namespace lx2::example
