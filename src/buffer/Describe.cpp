#include <lx2/BufFlag.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>

#include <cstdio>

namespace lx2 {

namespace {

void DescribeLinear(const LX2Buffer& buffer, char* out, uint32_t outSize) {
    const LX2Buffer::Linear& view = *buffer.linear();
    snprintf(out, outSize, "Linear{ts=%d fd=%d sz=%u range(%u, %u) flags=%s}",
             static_cast<int32_t>(buffer.timestamp()), view.fd(), view.capacity(), view.offset(),
             view.size(), BufFlag::Str(buffer.flags()).c_str());
}

void DescribeGraphic(const LX2Buffer& buffer, char* out, uint32_t outSize) {
    const LX2Buffer::Graphic& view = *buffer.graphic();
    const C2Rect& crop = view.crop();
    snprintf(out, outSize, "Gfx{ts=%d fd=%d [%ux%u]<%ux%u> f=%s crop=(%u, %u)[%ux%u]}",
             static_cast<int32_t>(buffer.timestamp()), view.fd(), view.width(), view.height(),
             view.stride(), view.sliceHeight(), PixFormat::Str(view.format()), crop.left, crop.top,
             crop.width, crop.height);
}

void DescribeLinear(const C2ConstLinearBlock& block, char* out, uint32_t outSize) {
    const C2Handle* handle = block.handle();
    const int fd = handle != nullptr && handle->numFds > 0 ? handle->data[0] : -1;
    snprintf(out, outSize, "Linear{fd=%d sz=%u range(%u, %u)}", fd, block.capacity(),
             block.offset(), block.size());
}

void DescribeGraphic(const C2ConstGraphicBlock& block, char* out, uint32_t outSize) {
    LX2GrallocBuffer buffer(block.handle());
    const char* name = PixFormat::Str(buffer.format());
    // The format's name stands twice, bare and in parentheses; readers of the line expect both.
    char again[32];
    snprintf(again, sizeof(again), "(%s)", name);
    const C2Rect crop = block.crop();
    snprintf(out, outSize, "Gfx{fd=%d [%ux%u]<%ux%u> f=%s%s crop=(%u, %u)[%ux%u]}", buffer.fd(),
             buffer.width(), buffer.height(), buffer.stride(), buffer.sliceHeight(), name, again,
             crop.left, crop.top, crop.width, crop.height);
}

}  // namespace

char* LX2Buffer::AsString(std::shared_ptr<LX2Buffer> buffer, char* out, uint32_t outSize) {
    if (out == nullptr)
        return nullptr;
    if (buffer == nullptr)
        snprintf(out, outSize, "EMPTY");
    else if (buffer->type() == C2BufferData::LINEAR)
        DescribeLinear(*buffer, out, outSize);
    else if (buffer->type() == C2BufferData::GRAPHIC)
        DescribeGraphic(*buffer, out, outSize);
    // Any other kind leaves the array as it was: callers pass a cleared one.
    return out;
}

char* LX2Buffer::AsString(std::shared_ptr<C2Buffer> buffer, char* out, uint32_t outSize) {
    if (out == nullptr)
        return nullptr;
    if (buffer == nullptr) {
        snprintf(out, outSize, "EMPTY");
        return out;
    }
    const C2BufferData data = buffer->data();
    if (data.type() == C2BufferData::LINEAR && data.linearBlocks().size() == 1)
        DescribeLinear(data.linearBlocks().front(), out, outSize);
    else if (data.type() == C2BufferData::GRAPHIC && data.graphicBlocks().size() == 1)
        DescribeGraphic(data.graphicBlocks().front(), out, outSize);
    else
        snprintf(out, outSize, "Invalid");
    return out;
}

}  // namespace lx2
