// libferrum_utils.so: how the GPU aligns a surface. It knows the one kind that is asked for, 32-bit
// RGBA; the results for any other stay as they were.
#include <lx2/Export.h>
#include <lx2host/FrameLayout.h>

#include <limits>

namespace {

constexpr int kRgbaFormat = 28;
constexpr uint32_t kLargest = std::numeric_limits<int32_t>::max();

}  // namespace

extern "C" LX2_API void compute_fmt_aligned_width_and_height(
    int width, int height, int /*planeId*/, int format, int /*samples*/, int /*tileMode*/,
    int /*rasterMode*/, int /*paddingThreshold*/, int32_t* alignedWidth, int32_t* alignedHeight) {
    if (format != kRgbaFormat || width <= 0 || height <= 0 || alignedWidth == nullptr ||
        alignedHeight == nullptr)
        return;
    const auto aligned =
        lx2::host::AlignRgba(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    if (aligned.width > kLargest || aligned.height > kLargest)
        return;
    *alignedWidth = static_cast<int32_t>(aligned.width);
    *alignedHeight = static_cast<int32_t>(aligned.height);
}
