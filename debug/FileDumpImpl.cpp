#include "FileDumpImpl.h"

#include <SafeRange.h>
#include <lx2/FrameGeometry.h>

#include <algorithm>

#include "DumpLog.h"

namespace lx2 {

namespace {

bool IsGraphic(const LX2Buffer& buffer) {
    return buffer.type() == C2BufferData::GRAPHIC;
}

// As far as there is memory: a mapping beyond that would be refused.
uint32_t VideoCoreSize(const LX2Buffer::Graphic& view) {
    if (view.platformBuffer() == nullptr)
        return 0;
    const auto size =
        geometry::VideoCoreFrameSize<uint32_t>(view.format(), view.width(), view.height());
    return static_cast<uint32_t>(std::min<uint64_t>(size, MemoryBehind(view.fd()).value_or(size)));
}

}  // namespace

LX2Status LX2FileDump::Impl::write(const std::shared_ptr<C2Buffer>& buffer) {
    if (buffer == nullptr)
        return LX2_BAD_ARG;
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
    if (IsGraphic(*wrapped))
        wrapped->graphic()->setAllocSize(VideoCoreSize(*wrapped->graphic()));
    return write(wrapped);
}

LX2Status LX2FileDump::Impl::write(const std::shared_ptr<LX2Buffer>& buffer) {
    if (buffer == nullptr) {
        LX2_LOGW("Invalid buffer");
        return LX2_ERROR;
    }
    const bool graphic = IsGraphic(*buffer);
    if (mFrameCount == 0)
        mGraphic = graphic;
    if (graphic != mGraphic) {
        LX2_LOGW("Incompatible buffer");
        return LX2_ERROR;
    }
    const LX2Status status = graphic ? writeGraphic(buffer->graphic()) : writeLinear(*buffer);
    mFile.flush();
    return status;
}

}  // namespace lx2
