#include <base/FrameGeometry.h>
#include <dlfcn.h>
#include <lx2/Platform.h>
#include <lx2device/GpuUtility.h>

#include <limits>

namespace lx2 {

namespace {

// Opened on first use and kept to the end of the process, as its one function is.
gpuutility::AlignFunction RgbaAlignment() {
    static const auto align = [] {
        void* library = dlopen(gpuutility::kLibrary, RTLD_NOW);
        void* symbol = library != nullptr ? dlsym(library, gpuutility::kAlignFunction) : nullptr;
        return reinterpret_cast<gpuutility::AlignFunction>(symbol);
    }();
    return align;
}

uint64_t CompressedRgbaSize(uint64_t width, uint64_t height) {
    constexpr uint64_t kLargest = std::numeric_limits<int32_t>::max();
    const auto align = RgbaAlignment();
    if (align == nullptr || width == 0 || height == 0 || width > kLargest || height > kLargest)
        return 0;
    const auto aligned =
        gpuutility::AlignRgba(align, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    if (aligned.width <= 0 || aligned.height <= 0)
        return 0;
    return geometry::RgbaFrameSize<uint64_t>(static_cast<uint64_t>(aligned.width),
                                             static_cast<uint64_t>(aligned.height));
}

}  // namespace

uint64_t Platform::MirelBufferLayout::CompressedFrameSize(uint32_t format, uint64_t width,
                                                          uint64_t height) {
    if (!PixFormat::IsCompressed(format))
        return 0;
    if (geometry::IsRgb(format))
        return CompressedRgbaSize(width, height);
    return geometry::FrameSize<uint64_t>(format, width, height);
}

}  // namespace lx2
