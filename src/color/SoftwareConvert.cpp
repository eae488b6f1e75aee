#include "SoftwareConvert.h"

#include <base/FrameGeometry.h>
#include <base/LogModules.h>
#include <lx2/LX2Status.h>
#include <lx2/Memory.h>

namespace lx2::color {

constexpr LogModule kLog = kEngineLog;

namespace {

// In 64 bits: sizes that would wrap in 32 are too large for any buffer, instead of small.
struct FramePair {
    FramePair(uint64_t w, uint64_t h)
        : width(w),
          height(h),
          src(geometry::PlanesOf(PixFormat::YV12, w, h, 0)),
          dst(geometry::PlanesOf(PixFormat::MIREL_NV12, w, h, 0)) {}

    uint64_t srcNeeds() const { return (src[1].pitch + src[0].pitch) * height; }

    // The chroma plane counts half, which components rely on. How far the rows reach is checked
    // apart.
    uint64_t dstNeeds() const {
        const uint64_t rows =
            geometry::Align<uint64_t>(geometry::CeilDiv<uint64_t>(height, 2), 256);
        return dst[1].offset + rows * dst[1].pitch / 2;
    }

    uint64_t width, height;
    FramePlanes src, dst;
};

void CopyLuma(const uint8_t* src, uint8_t* dst, const FramePair& frame) {
    for (uint64_t row = 0; row < frame.height; ++row)
        memcpy_s(dst + row * frame.dst[0].pitch, frame.width, src + row * frame.src[0].pitch,
                 frame.width);
}

// The compiler makes vector code of it that is as fast as what can be written by hand.
inline __attribute__((always_inline)) void InterleavePlain(const uint8_t* __restrict first,
                                                           const uint8_t* __restrict second,
                                                           uint8_t* __restrict pairs,
                                                           uint64_t count) {
    for (uint64_t i = 0; i < count; ++i) {
        pairs[2 * i] = first[i];
        pairs[2 * i + 1] = second[i];
    }
}

#ifdef __x86_64__
__attribute__((target("avx2"))) void InterleaveAvx2(const uint8_t* first, const uint8_t* second,
                                                    uint8_t* pairs, uint64_t count) {
    InterleavePlain(first, second, pairs, count);
}
#endif

void Interleave(const uint8_t* first, const uint8_t* second, uint8_t* pairs, uint64_t count) {
#ifdef __x86_64__
    if (__builtin_cpu_supports("avx2"))
        return InterleaveAvx2(first, second, pairs, count);
#endif
    InterleavePlain(first, second, pairs, count);
}

void MergeChroma(const uint8_t* src, uint8_t* dst, const FramePair& frame) {
    const uint8_t* cr = src + frame.src[1].offset;
    const uint8_t* cb = src + frame.src[2].offset;
    uint8_t* pairs = dst + frame.dst[1].offset;
    const uint64_t pitch = frame.src[1].pitch;
    for (uint64_t row = 0; row < frame.height / 2; ++row)
        Interleave(cb + row * pitch, cr + row * pitch, pairs + row * frame.dst[1].pitch,
                   frame.width / 2);
}

}  // namespace

int32_t ConvertYv12ToMirelNv12(const uint8_t* src, uint32_t srcSize, uint8_t* dst, uint32_t dstSize,
                               uint32_t width, uint32_t height) {
    const FramePair frame(width, height);
    if (frame.srcNeeds() > srcSize) {
        LX2_LOGE("convertIYUVToNV12Mirel: src buffer size is insufficient");
        return C2_NO_MEMORY;
    }
    if (frame.dstNeeds() > dstSize || frame.dst.size() > dstSize) {
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
