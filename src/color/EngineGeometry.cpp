// How the blit library sees each pixel format: code, stride and sizes.
#include <base/FrameGeometry.h>
#include <base/LogModules.h>

#include "Engine.h"

namespace lx2 {

constexpr LogModule kLog = kEngineLog;

bool LX2ColorConverter::Engine::isYUVSurface(uint32_t format) {
    const geometry::FormatRow& row = geometry::RowOf(format);
    return row.color == geometry::Color::Yuv && row.blitCode != 0;
}

bool LX2ColorConverter::Engine::isRGBSurface(uint32_t format) {
    return geometry::IsRgb(format);
}

uint32_t LX2ColorConverter::Engine::getGBXColorFormat(uint32_t format) {
    if (const uint32_t code = geometry::RowOf(format).blitCode; code != 0)
        return code;
    LX2_LOGE("%s: unsupported color format, %s(%d)", "getGBXColorFormat", PixFormat::Str(format),
             static_cast<int>(format));
    return 0xFFFFFFFF;
}

uint32_t LX2ColorConverter::Engine::calcStride(uint32_t format, uint32_t width,
                                               bool isSource) const {
    if (isRGBSurface(format) && isSource && mSrcStride != 0)
        return mSrcStride * 4;
    if (!isRGBSurface(format) && !isYUVSurface(format)) {
        LX2_LOGE("%s: unsupported color format, %s(%d)", "calcStride", PixFormat::Str(format),
                 static_cast<int>(format));
        return 0;
    }
    return geometry::Stride<uint32_t>(format, width);
}

uint32_t LX2ColorConverter::Engine::calcYSize(uint32_t format, uint32_t width,
                                              uint32_t height) const {
    if (!isYUVSurface(format)) {
        LX2_LOGI("%s: unsupported or RGB color format, %s(%d)", "calcYSize", PixFormat::Str(format),
                 static_cast<int>(format));
        return 0;
    }
    return geometry::LumaSize<uint32_t>(format, width, height);
}

uint32_t LX2ColorConverter::Engine::calcSize(uint32_t format, uint32_t width, uint32_t height,
                                             bool isSource) const {
    if (isYUVSurface(format))
        return geometry::FrameSize<uint32_t>(format, width, height);
    if (!isRGBSurface(format)) {
        LX2_LOGE("%s: unsupported color format, %s(%d)", "calcSize", PixFormat::Str(format),
                 static_cast<int>(format));
        return 0;
    }
    const gpuutility::Aligned aligned = gpuutility::AlignRgba(mAlign, width, height);
    LX2_LOGT("%s: alignedw %d, alignedh %d", "calcSize", aligned.width, aligned.height);
    const uint32_t stride =
        isSource && mSrcStride != 0 ? mSrcStride : static_cast<uint32_t>(aligned.width);
    return geometry::RgbaFrameSize<uint32_t>(stride, static_cast<uint32_t>(aligned.height));
}

}  // namespace lx2
