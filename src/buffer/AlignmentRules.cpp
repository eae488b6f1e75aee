#include <base/FormatTable.h>
#include <lx2/LX2Buffer.h>
#include <lx2/Log.h>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

namespace {

uint32_t Apply(geometry::SizeRules::Rule geometry::SizeRules::*rule, uint32_t size, uint32_t format,
               const char* function) {
    const geometry::FormatRow& row = geometry::RowOf(format);
    if (row.aligned.*rule != nullptr)
        return (row.aligned.*rule)(size);
    LX2_LOGE("%s: unsupported color format, %s", function, row.name);
    return 0;
}

}  // namespace

uint32_t LX2Buffer::Graphic::GetAlignedWidth(uint32_t width, uint32_t format) {
    return Apply(&geometry::SizeRules::width, width, format, "GetAlignedWidth");
}

uint32_t LX2Buffer::Graphic::GetAlignedHeight(uint32_t height, uint32_t format) {
    return Apply(&geometry::SizeRules::height, height, format, "GetAlignedHeight");
}

}  // namespace lx2
