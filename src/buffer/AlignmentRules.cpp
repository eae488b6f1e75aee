#include <base/FrameGeometry.h>
#include <lx2/LX2Buffer.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

namespace {

using Rule = uint32_t (*)(uint32_t);

uint32_t Unchanged(uint32_t size) {
    return size;
}

template <uint32_t N>
uint32_t AlignTo(uint32_t size) {
    return geometry::Align<uint32_t>(size, N);
}

// Three samples in four bytes, rows of whole 256-byte units.
uint32_t Packed10Bit(uint32_t width) {
    return geometry::CmpxTp10<uint32_t>::Stride(width) * 3 / 4;
}

// Two bytes a sample, rows of whole 256-byte units.
uint32_t TwoByteSamples(uint32_t width) {
    return ((2 * width + 255) >> 1) & ~uint32_t{0x7F};
}

// Every rule leaves 0 at 0.
struct AlignmentRow {
    uint32_t format;
    Rule width;
    Rule height;
};

constexpr AlignmentRow kAlignmentRows[] = {
    {PixFormat::RGBA8888, Unchanged, Unchanged},
    {PixFormat::RGBA8888_CMPX, Unchanged, Unchanged},
    {PixFormat::I420, AlignTo<16>, AlignTo<16>},
    {PixFormat::YV12, AlignTo<16>, AlignTo<16>},
    {PixFormat::NV12, AlignTo<16>, AlignTo<16>},
    {PixFormat::ALIGN512_114, AlignTo<512>, AlignTo<512>},
    {PixFormat::ALIGN512_125, AlignTo<512>, AlignTo<512>},
    {PixFormat::MIREL_NV12, AlignTo<512>, AlignTo<512>},
    {PixFormat::ALIGN128_126, AlignTo<128>, AlignTo<32>},
    {PixFormat::ALIGN128_128, AlignTo<128>, AlignTo<32>},
    {PixFormat::ALIGN128_129, AlignTo<128>, AlignTo<32>},
    {PixFormat::ALIGN128_130, AlignTo<128>, AlignTo<32>},
    {PixFormat::MIREL_NV12_CMPX, AlignTo<128>, AlignTo<32>},
    {PixFormat::MIREL_TP10, Packed10Bit, AlignTo<16>},
    {PixFormat::MIREL_P010, TwoByteSamples, AlignTo<32>},
};

uint32_t Apply(Rule AlignmentRow::*rule, uint32_t size, uint32_t format, const char* function) {
    for (const AlignmentRow& row : kAlignmentRows) {
        if (row.format == format)
            return (row.*rule)(size);
    }
    LX2_LOGE("%s: unsupported color format, %s", function, PixFormat::Str(format));
    return 0;
}

}  // namespace

uint32_t LX2Buffer::Graphic::GetAlignedWidth(uint32_t width, uint32_t format) {
    return Apply(&AlignmentRow::width, width, format, "GetAlignedWidth");
}

uint32_t LX2Buffer::Graphic::GetAlignedHeight(uint32_t height, uint32_t format) {
    return Apply(&AlignmentRow::height, height, format, "GetAlignedHeight");
}

}  // namespace lx2
