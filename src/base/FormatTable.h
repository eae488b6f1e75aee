// What is known of each pixel format: one row each, for the library and the stand-ins alike.
#pragma once

#include <base/CompressedGeometry.h>
#include <lx2/PixFormat.h>
#include <lx2device/BlitLibrary.h>

#include <cstdint>

namespace lx2::geometry {

enum class Color : uint8_t { None, Rgb, Yuv };  // None: the format has a name only, or alignments

enum class Chroma : uint8_t { Pairs, CbFirst, CrFirst };  // one plane of pairs, or two planes

// How a linear YUV format lies in memory: rows padded to a multiple of samples, the luma plane to
// one of rows, and behind it the chroma of every second column and row.
struct LinearYuv {
    uint32_t sampleBytes = 0;  // 0 for any other format
    uint32_t widthUnit = 1;
    uint32_t heightUnit = 1;
    Chroma chroma = Chroma::Pairs;

    constexpr bool isPlanar() const { return chroma != Chroma::Pairs; }

    template <typename T>
    constexpr T stride(T width) const {
        return Align<T>(width, widthUnit) * sampleBytes;
    }
    template <typename T>
    constexpr T lumaSize(T width, T height) const {
        return Align<T>(height, heightUnit) * stride<T>(width);
    }
};

// How a component aligns a picture's size. Every rule leaves 0 at 0.
struct SizeRules {
    using Rule = uint32_t (*)(uint32_t);
    Rule width = nullptr;  // null: not known
    Rule height = nullptr;
};

struct FormatRow {
    uint32_t format;
    const char* name;
    SizeRules aligned = {};
    Color color = Color::None;
    uint32_t bitDepth = 0;
    uint32_t blitCode = 0;  // 0: the blit library does not know the format
    LinearYuv linear = {};
    uint32_t uncompressed = 0;  // 0: the format is not compressed
    // What the allocator makes of a request for the format, without and with the compressed
    // layout; 0: the format itself.
    uint32_t allocated = 0;
    uint32_t allocatedCompressed = 0;
};

namespace rules {

constexpr uint32_t Unchanged(uint32_t size) {
    return size;
}

template <uint32_t N>
constexpr uint32_t AlignTo(uint32_t size) {
    return Align<uint32_t>(size, N);
}

constexpr SizeRules kUnchanged{Unchanged, Unchanged};
constexpr SizeRules kTo16{AlignTo<16>, AlignTo<16>};
constexpr SizeRules kTo512{AlignTo<512>, AlignTo<512>};
constexpr SizeRules kTo128By32{AlignTo<128>, AlignTo<32>};

// Three samples in four bytes, rows of whole 256-byte units.
constexpr SizeRules kPacked10Bit{
    [](uint32_t width) { return CmpxTp10<uint32_t>::Stride(width) * 3 / 4; }, AlignTo<16>};

// Two bytes a sample, rows of whole 256-byte units.
constexpr SizeRules kTwoByteSamples{
    [](uint32_t width) { return ((2 * width + 255) >> 1) & ~uint32_t{0x7F}; }, AlignTo<32>};

}  // namespace rules

constexpr FormatRow AllocatorNv12(uint32_t format, const char* name) {
    FormatRow row{format, name};
    row.allocated = PixFormat::MIREL_NV12;
    row.allocatedCompressed = PixFormat::MIREL_NV12_CMPX;
    return row;
}

// Of formats that share a blit code, the blitter draws the first one. The codes without a constant
// are the allocator's, which a buffer's usage resolves to a format.
// clang-format off
inline constexpr FormatRow kFormats[] = {
    {PixFormat::RGBA8888, "RGBA8888", rules::kUnchanged, Color::Rgb, 8, blit::kCodeRgba,
        {}, 0, 0, PixFormat::RGBA8888_CMPX},
    {PixFormat::RGBA8888_CMPX, "RGBA8888_CMPX", rules::kUnchanged, Color::Rgb, 8,
        blit::kCodeRgba | blit::kCodeCompressed, {}, PixFormat::RGBA8888},
    {PixFormat::I420, "I420", rules::kTo16, Color::Yuv, 8, blit::kCodePlanarCbFirst,
        {1, 16, 1, Chroma::CbFirst}},
    {PixFormat::NV12, "NV12", rules::kTo16, Color::Yuv, 8, blit::kCodeSemiPlanar,
        {1, 16, 1}},
    {PixFormat::YV12, "YV12", rules::kTo16, Color::Yuv, 8, blit::kCodePlanarCrFirst,
        {1, 16, 1, Chroma::CrFirst}},
    {PixFormat::MIREL_NV12, "MIREL_NV12", rules::kTo512, Color::Yuv, 8, blit::kCodeSemiPlanar,
        {1, 512, 512}},
    {PixFormat::MIREL_NV12_CMPX, "MIREL_NV12_CMPX", rules::kTo128By32, Color::Yuv, 8,
        blit::kCodeSemiPlanar | blit::kCodeCompressed, {}, PixFormat::MIREL_NV12},
    {PixFormat::MIREL_TP10, "MIREL_TP10", rules::kPacked10Bit, Color::Yuv, 10,
        blit::kCodePacked10Bit | blit::kCodeCompressed, {}, PixFormat::YV12},
    {PixFormat::MIREL_P010, "MIREL_P010", rules::kTwoByteSamples, Color::Yuv, 10, 0,
        {2, 128, 32}},
    {PixFormat::ALIGN512_114, "ALIGN512_114", rules::kTo512},
    {PixFormat::ALIGN512_125, "ALIGN512_125", rules::kTo512},
    {PixFormat::ALIGN128_126, "ALIGN128_126", rules::kTo128By32},
    {PixFormat::ALIGN128_128, "ALIGN128_128", rules::kTo128By32},
    {PixFormat::ALIGN128_129, "ALIGN128_129", rules::kTo128By32},
    {PixFormat::ALIGN128_130, "ALIGN128_130", rules::kTo128By32},
    AllocatorNv12(0x22, "IMPLEMENTATION_DEFINED"),
    AllocatorNv12(0x102, "ALLOC_NV12_102"),
    AllocatorNv12(0x7F000789, "ALLOC_NV12_789"),
};
// clang-format on

// A linear row is as wide as a component aligns it, and the blit library counts the same planes.
constexpr bool RowsAgree() {
    for (const FormatRow& row : kFormats) {
        const LinearYuv& linear = row.linear;
        if (linear.sampleBytes != 0 && row.aligned.width(1) != linear.widthUnit)
            return false;
        if (row.blitCode != 0 && blit::IsPlanar(row.blitCode) != linear.isPlanar())
            return false;
    }
    return true;
}
static_assert(RowsAgree());

inline constexpr FormatRow kUnknownFormat{0, "UNKNOWN"};

constexpr const FormatRow& RowOf(uint32_t format) {
    for (const FormatRow& row : kFormats) {
        if (row.format == format)
            return row;
    }
    return kUnknownFormat;
}

constexpr bool IsRgb(uint32_t format) {
    return RowOf(format).color == Color::Rgb;
}

// The layout that a request for one of the allocator's formats resolves to.
constexpr uint32_t LayoutFormatOf(uint32_t format, bool compressed) {
    const FormatRow& row = RowOf(format);
    const uint32_t layout = compressed ? row.allocatedCompressed : row.allocated;
    return layout != 0 ? layout : format;
}

}  // namespace lx2::geometry
