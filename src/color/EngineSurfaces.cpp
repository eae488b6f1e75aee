// How the blit library sees each pixel format: code, stride and sizes, and the definition records
// of the source and the target surface.
#include <base/FrameGeometry.h>
#include <base/LogModules.h>

#include <new>

#include "Engine.h"

namespace lx2 {

constexpr LogModule kLog = kEngineLog;

namespace {

// Not zero: the blit library takes the record for one with memory behind it.
constexpr uint64_t kPlaceholder = 0xAAAAAAAA;

uint64_t Address(const uint8_t* base, uint32_t offset) {
    return reinterpret_cast<uintptr_t>(base) + offset;
}

}  // namespace

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

int32_t LX2ColorConverter::Engine::createSurface(Side* side, uint32_t type) {
    return mBlit.createSurface(&side->surface, side->bits, type, side->def.get());
}

int32_t LX2ColorConverter::Engine::updateSurface(const Side& side, uint32_t type) {
    return mBlit.updateSurface(side.surface, side.bits, type, side.def.get());
}

void LX2ColorConverter::Engine::destroySurface(Side* side) {
    if (side->surface != 0)
        mBlit.destroySurface(side->surface);
    side->surface = 0;
}

int32_t LX2ColorConverter::Engine::getDummySurfaceDef(uint32_t format, uint32_t width,
                                                      uint32_t height, bool isSource) {
    Side& side = this->side(isSource);
    destroySurface(&side);
    const bool rgb = isRGBSurface(format);
    if (!rgb && !isYUVSurface(format)) {
        LX2_LOGE("%s: unsupported color format %s(%d)", "getDummySurfaceDef",
                 PixFormat::Str(format), static_cast<int>(format));
        return -1;
    }
    // It has room for either kind, since it stays when the side changes between RGB and YUV.
    if (side.def == nullptr)
        side.def.reset(new (std::nothrow) blit::SurfaceDef{});
    blit::SurfaceDef* def = side.def.get();
    if (def == nullptr) {
        if (rgb)
            LX2_LOGE("%s: surfaceRGBDef allocation failed", "getDummySurfaceDef");
        else
            LX2_LOGE("%s: surfaceYUVDef allocation falied", "getDummySurfaceDef");
        return -1;
    }
    const uint32_t stride = calcStride(format, width, isSource);
    def->code = getGBXColorFormat(format);
    def->width = width;
    def->height = height;
    def->planes[0] = {kPlaceholder, kPlaceholder, stride, 0};
    if (rgb)
        return createSurface(&side, blit::kCreateRgb);
    def->planes[1] = {kPlaceholder, kPlaceholder, stride, 0};
    def->planes[2] = {0, 0, stride, 0};
    if (blit::IsPlanar(def->code)) {
        const uint32_t chromaStride = calcStride(format, width / 2, isSource);
        def->planes[1].stride = chromaStride;
        // The CPU address of the third plane stays 0, unlike the GPU's.
        def->planes[2] = {0, kPlaceholder, chromaStride, 0};
    }
    return createSurface(&side, blit::kCreateYuv);
}

int32_t LX2ColorConverter::Engine::updateYUVSurfaceDef(uint64_t gpuAddress, uint8_t* cpuBase,
                                                       uint32_t offset, bool isSource) {
    const Side& side = this->side(isSource);
    blit::SurfaceDef* def = side.def.get();
    auto& planes = def->planes;
    planes[0].cpu = Address(cpuBase, offset);
    planes[0].gpu = gpuAddress + offset;
    planes[1].cpu = planes[0].cpu + side.lumaSize;
    planes[1].gpu = planes[0].gpu + side.lumaSize;
    if (blit::IsPlanar(def->code)) {
        const uint32_t chromaSize =
            side.height * calcStride(side.format, side.width / 2, isSource) / 2;
        planes[2].cpu = planes[1].cpu + chromaSize;
        planes[2].gpu = planes[1].gpu + chromaSize;
    }
    return updateSurface(side, blit::kUpdateYuv);
}

int32_t LX2ColorConverter::Engine::updateRGBSurfaceDef(uint64_t gpuAddress, uint8_t* cpuBase,
                                                       uint32_t offset, bool isSource) {
    const Side& side = this->side(isSource);
    blit::SurfaceDef* def = side.def.get();
    def->planes[0].cpu = Address(cpuBase, offset);
    // The mapping was made of the address with the offset: here it already is in.
    def->planes[0].gpu = gpuAddress;
    return updateSurface(side, blit::kUpdateRgb);
}

}  // namespace lx2
