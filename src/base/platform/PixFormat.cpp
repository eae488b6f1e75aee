#include <lx2/PixFormat.h>

namespace lx2 {

namespace {

struct FormatRow {
    uint32_t format;
    const char* name;
    uint32_t uncompressed;  // 0: the format is not compressed
};

// The codes without a constant are the allocator's, which a buffer's usage resolves to a format.
constexpr FormatRow kFormats[] = {
    {PixFormat::RGBA8888, "RGBA8888", 0},
    {PixFormat::RGBA8888_CMPX, "RGBA8888_CMPX", PixFormat::RGBA8888},
    {PixFormat::I420, "I420", 0},
    {PixFormat::NV12, "NV12", 0},
    {PixFormat::YV12, "YV12", 0},
    {PixFormat::MIREL_NV12, "MIREL_NV12", 0},
    {PixFormat::MIREL_NV12_CMPX, "MIREL_NV12_CMPX", PixFormat::MIREL_NV12},
    {PixFormat::MIREL_TP10, "MIREL_TP10", PixFormat::YV12},
    {PixFormat::MIREL_P010, "MIREL_P010", 0},
    {0x22, "IMPLEMENTATION_DEFINED", 0},
    {0x102, "ALLOC_NV12_102", 0},
    {0x7F000789, "ALLOC_NV12_789", 0},
    {PixFormat::ALIGN512_114, "ALIGN512_114", 0},
    {PixFormat::ALIGN512_125, "ALIGN512_125", 0},
    {PixFormat::ALIGN128_126, "ALIGN128_126", 0},
    {PixFormat::ALIGN128_128, "ALIGN128_128", 0},
    {PixFormat::ALIGN128_129, "ALIGN128_129", 0},
    {PixFormat::ALIGN128_130, "ALIGN128_130", 0},
};

const FormatRow* Find(uint32_t format) {
    for (const FormatRow& row : kFormats) {
        if (row.format == format)
            return &row;
    }
    return nullptr;
}

}  // namespace

const char* PixFormat::Str(uint32_t format) {
    const FormatRow* row = Find(format);
    return row != nullptr ? row->name : "UNKNOWN";
}

bool PixFormat::IsCompressed(uint32_t format) {
    return GetUncompressedFor(format) != 0;
}

uint32_t PixFormat::GetUncompressedFor(uint32_t format) {
    const FormatRow* row = Find(format);
    return row != nullptr ? row->uncompressed : 0;
}

}  // namespace lx2
