// BT.601 limited range, in fixed point with rounding.
#pragma once

#include <algorithm>
#include <cstdint>

namespace lx2::host::bt601 {

struct Rgb {
    int r, g, b;
};
struct Yuv {
    int y, cb, cr;
};

constexpr int Clamp(int value) {
    return std::clamp(value, 0, 255);
}

constexpr Rgb ToRgb(Yuv in) {
    const int y = 76309 * (in.y - 16);  // 255 / 219, in 16.16 like the others
    const int cb = in.cb - 128;
    const int cr = in.cr - 128;
    const auto round = [](int value) { return Clamp((value + 32768) >> 16); };
    return {round(y + 104597 * cr), round(y - 25675 * cb - 53279 * cr), round(y + 132201 * cb)};
}

constexpr int Luma(Rgb in) {
    return Clamp(((16829 * in.r + 33039 * in.g + 6416 * in.b + 32768) >> 16) + 16);
}

// Chroma of count pixels, from their sums.
constexpr Yuv Chroma(Rgb sum, int count) {
    const int64_t cb = -9714ll * sum.r - 19070ll * sum.g + 28784ll * sum.b;
    const int64_t cr = 28784ll * sum.r - 24103ll * sum.g - 4681ll * sum.b;
    const int64_t one = 65536ll * count;
    const auto round = [one](int64_t value) {
        return Clamp(static_cast<int>((value + 128 * one + one / 2) / one));
    };
    return {0, round(cb), round(cr)};
}

}  // namespace lx2::host::bt601
