#include <base/FrameGeometry.h>

namespace lx2::geometry {

FramePlanes PlanesOf(uint32_t format, uint64_t width, uint64_t height, uint64_t stride) {
    if (format == PixFormat::RGBA8888)
        return {{{0, stride * 4, width * 4, height}}, 1};
    const LinearYuv& rule = RowOf(format).linear;
    if (rule.sampleBytes == 0)
        return {};
    const uint64_t pitch = rule.stride(width);
    const uint64_t chroma = rule.lumaSize(width, height);
    const FramePlane luma{0, pitch, width * rule.sampleBytes, height};
    const uint64_t rowBytes = width / 2 * rule.sampleBytes;
    if (!rule.isPlanar())
        return {{luma, {chroma, pitch, rowBytes * 2, height / 2}}, 2};
    const uint64_t half = rule.stride(width / 2);
    return {{luma,
             {chroma, half, rowBytes, height / 2},
             // With an odd height half a row further than the rows before it need.
             {chroma + half * height / 2, half, rowBytes, height / 2}},
            3};
}

}  // namespace lx2::geometry
