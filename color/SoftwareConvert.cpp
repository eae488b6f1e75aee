#include "SoftwareConvert.h"

#include <lx2/FrameGeometry.h>
#include <lx2/LX2Status.h>
#include <lx2/Memory.h>

#include "EngineLog.h"

namespace lx2::color {

namespace {

using geometry::Align;
using geometry::CeilDiv;

// In 64 bits: sizes that would wrap in 32 are too large for any buffer, instead of small.
struct Geometry {
    Geometry(uint64_t w, uint64_t h)
        : width(w),
          height(h),
          srcStride(Align<uint64_t>(w, 16)),
          srcChromaStride(Align<uint64_t>(w / 2, 16)),
          dstStride(Align<uint64_t>(w, 512)),
          dstLumaRows(Align<uint64_t>(h, 512)),
          dstChromaRows(Align<uint64_t>(CeilDiv<uint64_t>(h, 2), 256)) {}

    uint64_t srcNeeds() const { return (srcChromaStride + srcStride) * height; }

    // The chroma plane counts half: buffers exist that are no larger.
    uint64_t dstNeeds() const { return dstLumaRows * dstStride + dstChromaRows * dstStride / 2; }

    // The end of what is written, which can lie behind that.
    uint64_t dstEnd() const {
        if (height < 2)
            return height * width;
        return (dstLumaRows + height / 2 - 1) * dstStride + width / 2 * 2;
    }

    uint64_t width, height;
    uint64_t srcStride, srcChromaStride;
    uint64_t dstStride, dstLumaRows, dstChromaRows;
};

void CopyLuma(const uint8_t* src, uint8_t* dst, const Geometry& frame) {
    for (uint64_t row = 0; row < frame.height; ++row)
        memcpy_s(dst + row * frame.dstStride, frame.width, src + row * frame.srcStride,
                 frame.width);
}

void MergeChroma(const uint8_t* src, uint8_t* dst, const Geometry& frame) {
    const uint8_t* cr = src + frame.srcStride * frame.height;
    const uint8_t* cb = cr + frame.srcChromaStride * frame.height / 2;
    uint8_t* pairs = dst + frame.dstLumaRows * frame.dstStride;
    for (uint64_t row = 0; row < frame.height / 2; ++row)
        Interleave(cb + row * frame.srcChromaStride, cr + row * frame.srcChromaStride,
                   pairs + row * frame.dstStride, frame.width / 2);
}

}  // namespace

int32_t ConvertYv12ToMirelNv12(const uint8_t* src, uint32_t srcSize, uint8_t* dst, uint32_t dstSize,
                               uint32_t width, uint32_t height) {
    const Geometry frame(width, height);
    if (frame.srcNeeds() > srcSize) {
        LX2_LOGE("convertIYUVToNV12Mirel: src buffer size is insufficient");
        return C2_NO_MEMORY;
    }
    if (frame.dstNeeds() > dstSize || frame.dstEnd() > dstSize) {
        LX2_LOGE("convertIYUVToNV12Mirel: dst buffer size is insufficient");
        return C2_NO_MEMORY;
    }
    if (width == 0)
        return 0;  // no buffer is too small for rows of nothing, however many there are
    CopyLuma(src, dst, frame);
    MergeChroma(src, dst, frame);
    return 0;
}

}  // namespace lx2::color
