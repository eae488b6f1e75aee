// The device's GPU utility library, opened by name: the one place that knows how a 32-bit RGBA
// surface is aligned. It writes both results; this library reads them.
#pragma once

#include <cstdint>

namespace lx2::gpuutility {

constexpr const char* kLibrary = "libferrum_utils.so";
constexpr const char* kAlignFunction = "compute_fmt_aligned_width_and_height";

using AlignFunction = void (*)(int width, int height, int planeId, int format, int samples,
                               int tileMode, int rasterMode, int paddingThreshold,
                               int32_t* alignedWidth, int32_t* alignedHeight);

struct Aligned {
    int32_t width = 0;
    int32_t height = 0;
};

// Asks with the fixed arguments for a 32-bit RGBA surface; both results start at 0.
inline Aligned AlignRgba(AlignFunction align, uint32_t width, uint32_t height) {
    constexpr int kRgbaFormat = 28;
    constexpr int kPaddingThreshold = 512;
    Aligned result;
    align(static_cast<int>(width), static_cast<int>(height), 0, kRgbaFormat, 1, 0, 0,
          kPaddingThreshold, &result.width, &result.height);
    return result;
}

}  // namespace lx2::gpuutility
