#include <base/FormatTable.h>

namespace lx2 {

const char* PixFormat::Str(uint32_t format) {
    return geometry::RowOf(format).name;
}

bool PixFormat::IsCompressed(uint32_t format) {
    return GetUncompressedFor(format) != 0;
}

uint32_t PixFormat::GetUncompressedFor(uint32_t format) {
    return geometry::RowOf(format).uncompressed;
}

}  // namespace lx2
