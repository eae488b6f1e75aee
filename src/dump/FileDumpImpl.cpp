#include "FileDumpImpl.h"

#include <base/LogModules.h>
#include <cstring>

namespace lx2 {

constexpr LogModule kLog = kFileDumpLog;

namespace {

bool IsGraphic(const LX2Buffer& buffer) {
    return buffer.type() == C2BufferData::GRAPHIC;
}

}  // namespace

LX2Status LX2FileDump::Impl::write(const std::shared_ptr<C2Buffer>& buffer) {
    if (buffer == nullptr)
        return LX2_BAD_ARG;
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
    if (IsGraphic(*wrapped))
        wrapped->graphic()->setAllocSize(assumedSize(*wrapped->graphic()));
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
    if (const int error = mFile.flush(); error != 0)
        LX2_LOGE("Failed to write all of %s : %s", mFilePath, strerror(error));
    return status;
}

}  // namespace lx2
