// Strides, plane sizes and frame sizes of the pixel formats of the video core and the blit library.
// Written once, for the converter, the dump, the base layer and the stand-ins alike.
//
// All arithmetic is in the unsigned type T and wraps there: the converter computes in 32 bits, as
// the blit library does, callers with larger figures in 64.
#pragma once

#include <base/FormatTable.h>
#include <lx2/FramePlanes.h>

#include <cstdint>

namespace lx2::geometry {

// Row stride in bytes of the first plane, that of its metadata aside; 0 for an unknown format.
template <typename T>
constexpr T Stride(uint32_t format, T width) {
    switch (format) {
        case PixFormat::MIREL_NV12_CMPX:
            return CmpxNv12<T>::LumaStride(width);
        case PixFormat::MIREL_TP10:
            return CmpxTp10<T>::Stride(width);
        default:
            return IsRgb(format) ? Align<T>(width * 4, 128) : RowOf(format).linear.stride<T>(width);
    }
}

// Bytes of the luma part of a YUV frame, which is where its chroma begins; 0 for any other format.
template <typename T>
constexpr T LumaSize(uint32_t format, T width, T height) {
    switch (format) {
        case PixFormat::MIREL_NV12_CMPX:
            return CmpxNv12<T>::LumaSize(width, height);
        case PixFormat::MIREL_TP10:
            return CmpxTp10<T>::LumaSize(width, height);
        default:
            return RowOf(format).linear.lumaSize<T>(width, height);
    }
}

// Bytes of a whole YUV frame; 0 for any other format.
template <typename T>
constexpr T FrameSize(uint32_t format, T width, T height) {
    const T evenHeight = height & ~T{1};
    const LinearYuv& linear = RowOf(format).linear;
    const T luma = linear.lumaSize<T>(width, height);
    switch (format) {
        case PixFormat::NV12:
            return Align<T>(evenHeight * Align<T>(width / 2, 32) + luma, 4096);
        case PixFormat::MIREL_NV12:
            return Align<T>(height / 2, 256) * linear.stride<T>(width) + luma;
        case PixFormat::MIREL_NV12_CMPX:
            return CmpxNv12<T>::FrameSize(width, height);
        case PixFormat::MIREL_TP10:
            return CmpxTp10<T>::FrameSize(width, height);
        default:
            return linear.isPlanar()
                       ? Align<T>(evenHeight * linear.stride<T>(width / 2) + luma, 4096)
                       : luma / 2 * 3;
    }
}

// Bytes that the video core reserves for a frame of any format; 0 for an empty one. Every layout
// but the compressed NV12 gets the room of an 8-bit frame with planes aligned to 512.
template <typename T>
constexpr T VideoCoreFrameSize(uint32_t format, T width, T height) {
    if (format == PixFormat::MIREL_NV12_CMPX)
        return CmpxNv12<T>::FrameSize(width, height);
    return Align<T>(
        Align<T>(width, 512) * (Align<T>(height, 512) + Align<T>(CeilDiv<T>(height, 2), 256)),
        4096);
}

// Bytes of an RGBA frame, from the dimensions that the GPU utility library aligned.
template <typename T>
constexpr T RgbaFrameSize(T alignedWidth, T alignedHeight) {
    return Align<T>(alignedHeight * alignedWidth * 4, 4096);
}

// Offsets count from the start of the frame. width, height and stride in pixels; stride matters to
// RGBA8888 only, the pitch of the others is a rule's.
LX2_API FramePlanes PlanesOf(uint32_t format, uint64_t width, uint64_t height, uint64_t stride);

}  // namespace lx2::geometry
