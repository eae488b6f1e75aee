// Conversion of compressed frames for a dump: the pool, the target and the converter.
#pragma once

#include <lx2/LX2BufferPool.h>
#include <lx2/LX2ColorConverter.h>

#include <memory>
#include <string>

namespace lx2 {

class ForceLinear {
  public:
    // Makes everything ready for frames of this geometry. The format in which they are to be
    // written: format itself unless it is compressed, and after a failure, which is logged.
    uint32_t prepare(const std::string& prefix, uint32_t format, uint32_t width, uint32_t height);

    // The frame converted, until the next call; null, logged, without a target or after a failure.
    LX2Buffer::Graphic* convert(const std::string& prefix, LX2Buffer::Graphic* view);

  private:
    bool createPool();
    bool allocateTarget(uint32_t format, uint32_t width, uint32_t height);

    std::shared_ptr<LX2Buffer> mTarget;
    std::unique_ptr<LX2GraphicBufferPool> mPool;
    std::unique_ptr<LX2ColorConverter> mConverter;
};

}  // namespace lx2
