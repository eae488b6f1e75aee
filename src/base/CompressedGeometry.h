// The pieces of the video core's compressed frames.
//
// All arithmetic is in the unsigned type T and wraps there: the converter computes in 32 bits, as
// the blit library does, callers with larger figures in 64.
#pragma once

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

}  // namespace lx2::geometry
