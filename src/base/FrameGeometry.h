// Strides, plane sizes and frame sizes of the pixel formats of the video core and the blit library.
// Written once, for the converter, the dump, the base layer and the stand-ins alike.
//
// All arithmetic is in the unsigned type T and wraps there: the converter computes in 32 bits, as
// the blit library does, callers with larger figures in 64.
#pragma once

#include <lx2/FramePlanes.h>
#include <lx2/PixFormat.h>

#include <cstdint>

namespace lx2::geometry {

// Rounds up to a multiple of n, a power of two.
template <typename T>
constexpr T Align(T value, T n) {
    return (value + (n - 1)) & ~(n - 1);
}

template <typename T>
constexpr T CeilDiv(T a, T b) {
    return a / b + (a % b != 0 ? 1 : 0);
}

constexpr bool IsRgb(uint32_t format) {
    return format == PixFormat::RGBA8888 || format == PixFormat::RGBA8888_CMPX;
}

// Of those that the blit library knows, which MIREL_P010 is not among.
constexpr bool IsYuv(uint32_t format) {
    switch (format) {
        case PixFormat::I420:
        case PixFormat::NV12:
        case PixFormat::YV12:
        case PixFormat::MIREL_NV12:
        case PixFormat::MIREL_NV12_CMPX:
        case PixFormat::MIREL_TP10:
            return true;
        default:
            return false;
    }
}

// How a linear YUV format lies in memory: rows padded to a multiple of samples, the luma plane to
// one of rows, and behind it the chroma of every second column and row.
struct LinearYuv {
    uint32_t sampleBytes = 0;  // 0 for any other format
    uint32_t widthUnit = 1;
    uint32_t heightUnit = 1;
    bool planar = false;  // two planes of chroma; else pairs in one

    template <typename T>
    constexpr T stride(T width) const {
        return Align<T>(width, widthUnit) * sampleBytes;
    }
    template <typename T>
    constexpr T lumaSize(T width, T height) const {
        return Align<T>(height, heightUnit) * stride<T>(width);
    }
};

constexpr LinearYuv LinearYuvOf(uint32_t format) {
    switch (format) {
        case PixFormat::I420:
        case PixFormat::YV12:
            return {1, 16, 1, true};
        case PixFormat::NV12:
            return {1, 16, 1, false};
        case PixFormat::MIREL_NV12:
            return {1, 512, 512, false};
        case PixFormat::MIREL_P010:
            return {2, 128, 32, false};
        default:
            return {};
    }
}

// The pieces of a compressed frame: a metadata plane with one byte a tile before each of luma and
// chroma, then their tiles. Widths and heights in luma samples; every piece is 0 when its size is.
template <typename T>
struct CmpxNv12 {  // 8 bit: luma tiles of 32 x 8 samples, chroma tiles of 16 pairs x 8 rows
    static constexpr T LumaStride(T width) { return Align<T>(width, 128); }
    static constexpr T MetaStride(T width) { return Align<T>(CeilDiv<T>(width, 32), 64); }
    static constexpr T MetaRows(T rows) { return Align<T>(CeilDiv<T>(rows, 8), 16); }
    static constexpr T TileRows(T rows) { return Align<T>(rows, 32); }
    static constexpr T LumaMetaSize(T width, T height) {
        return Align<T>(MetaRows(height) * MetaStride(width), 4096);
    }
    static constexpr T ChromaMetaSize(T width, T height) {
        return Align<T>(MetaRows(CeilDiv<T>(height, 2)) * MetaStride(width), 4096);
    }
    static constexpr T LumaSize(T width, T height) {
        return LumaMetaSize(width, height) + TileRows(height) * LumaStride(width);
    }
    // Small frames are laid out with room for two fields, each padded by itself.
    static constexpr bool IsFieldCoded(T width, T height) {
        return width < 1921 && height < 1921 && width * height < 2088960;
    }
    static constexpr T FieldCodedSize(T width, T height) {
        const T field = CeilDiv<T>(height, 2);
        const T chroma = CeilDiv<T>(field, 2);
        const T stride = LumaStride(width);
        return Align<T>(2 * (Align<T>(TileRows(field) * stride, 4096) +
                             Align<T>(MetaRows(field) * MetaStride(width), 4096) +
                             Align<T>(TileRows(chroma) * stride, 4096) +
                             Align<T>(MetaRows(chroma) * MetaStride(width), 4096)),
                        4096);
    }
    static constexpr T ProgressiveSize(T width, T height) {
        const T chroma = CeilDiv<T>(height, 2);
        return Align<T>(LumaMetaSize(width, height) +
                            (TileRows(chroma) + TileRows(height)) * LumaStride(width) +
                            ChromaMetaSize(width, height),
                        4096);
    }
    static constexpr T FrameSize(T width, T height) {
        if (width == 0 || height == 0)
            return 0;
        return IsFieldCoded(width, height) ? FieldCodedSize(width, height)
                                           : ProgressiveSize(width, height);
    }
};

template <typename T>
struct CmpxTp10 {  // 10 bit: luma tiles of 48 x 4 samples, chroma tiles of 24 pairs x 4 rows
    static constexpr T Stride(T width) { return Align<T>(CeilDiv<T>(width, 192) * 768 / 3, 256); }
    static constexpr T MetaStride(T width) { return Align<T>(CeilDiv<T>(width, 48), 64); }
    static constexpr T MetaRows(T rows) { return Align<T>(CeilDiv<T>(rows, 4), 16); }
    static constexpr T TileRows(T rows) { return Align<T>(rows, 16); }
    static constexpr T LumaMetaSize(T width, T height) {
        return Align<T>(MetaStride(width) * MetaRows(height), 4096);
    }
    static constexpr T ChromaMetaSize(T width, T height) {
        return Align<T>(MetaRows(CeilDiv<T>(height, 2)) * MetaStride(width), 4096);
    }
    static constexpr T LumaSize(T width, T height) {
        return LumaMetaSize(width, height) + Stride(width) * TileRows(height);
    }
    static constexpr T FrameSize(T width, T height) {
        if (width == 0 || height == 0)
            return 0;
        return LumaMetaSize(width, height) +
               Stride(width) * (TileRows(CeilDiv<T>(height, 2)) + TileRows(height)) +
               ChromaMetaSize(width, height);
    }
};

// Row stride in bytes of the first plane, that of its metadata aside; 0 for an unknown format.
template <typename T>
constexpr T Stride(uint32_t format, T width) {
    switch (format) {
        case PixFormat::RGBA8888:
        case PixFormat::RGBA8888_CMPX:
            return Align<T>(width * 4, 128);
        case PixFormat::MIREL_NV12_CMPX:
            return CmpxNv12<T>::LumaStride(width);
        case PixFormat::MIREL_TP10:
            return CmpxTp10<T>::Stride(width);
        default:
            return LinearYuvOf(format).stride<T>(width);
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
            return LinearYuvOf(format).lumaSize<T>(width, height);
    }
}

// Bytes of a whole YUV frame; 0 for any other format.
template <typename T>
constexpr T FrameSize(uint32_t format, T width, T height) {
    const T evenHeight = height & ~T{1};
    switch (format) {
        case PixFormat::I420:
        case PixFormat::YV12:
            return Align<T>(evenHeight * Align<T>(width / 2, 16) + Align<T>(width, 16) * height,
                            4096);
        case PixFormat::NV12:
            return Align<T>(evenHeight * Align<T>(width / 2, 32) + Align<T>(width, 16) * height,
                            4096);
        case PixFormat::MIREL_NV12:
            return (Align<T>(height / 2, 256) + Align<T>(height, 512)) * Align<T>(width, 512);
        case PixFormat::MIREL_P010:
            return LumaSize<T>(format, width, height) / 2 * 3;
        case PixFormat::MIREL_NV12_CMPX:
            return CmpxNv12<T>::FrameSize(width, height);
        case PixFormat::MIREL_TP10:
            return CmpxTp10<T>::FrameSize(width, height);
        default:
            return 0;
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
