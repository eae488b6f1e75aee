#include <C2Config.h>
#include <SafeRange.h>
#include <lx2/IVFHeaders.h>

#include "DumpLog.h"
#include "FileDumpImpl.h"

namespace lx2 {

namespace {

constexpr const char* kMimeVp8 = "video/x-vnd.on2.vp8";
constexpr const char* kMimeVp9 = "video/x-vnd.on2.vp9";

// The core index of codec-specific data, with its flexible flag.
constexpr uint32_t kCodecConfig = 0x10809;
static_assert((C2StreamInitDataInfo::output::PARAM_TYPE & 0x1FFFF) == kCodecConfig);

}  // namespace

bool LX2FileDump::Impl::isVp9() const {
    return mMime == kMimeVp9;
}

bool LX2FileDump::Impl::isIvf() const {
    return isVp9() || mMime == kMimeVp8;
}

LX2Status LX2FileDump::Impl::writeLinear(const LX2Buffer& buffer) {
    if (!mFile.isOpen()) {
        generateFileName();
        if (openFile() != C2_OK)
            return LX2_ERROR;
    }
    dumpCodecConfig(buffer);
    return dumpLinear(buffer.linear());
}

void LX2FileDump::Impl::dumpCodecConfig(const LX2Buffer& buffer) {
    for (const auto& info : buffer.infos()) {
        if (info == nullptr || info->coreIndex().coreIndex() != kCodecConfig)
            continue;
        const size_t size = info->size() < sizeof(C2Param) ? 0 : info->size() - sizeof(C2Param);
        LX2_LOGD("Dumping CSD of %zu bytes", size);
        mFile.write(reinterpret_cast<const uint8_t*>(info.get()) + sizeof(C2Param), size);
    }
}

// Whatever the stream's size and rate, the header says what it says by default: players read both
// from the stream.
void LX2FileDump::Impl::dumpStreamHeader() {
    LX2_LOGD("Writing IVF File header..");
    IVFStreamHeader header;
    if (isVp9())
        header.fourcc[2] = '9';
    std::unique_ptr<uint8_t[]> bytes;
    const size_t size = header.toBytes(&bytes);
    if (size == 0) {
        LX2_LOGE("Failed to generate IVF frame header !");
        return;
    }
    LX2_LOGD("Witing IVF file header of %zu bytes", size);
    mFile.write(bytes.get(), size);
}

LX2Status LX2FileDump::Impl::dumpLinear(const LX2Buffer::Linear* view) {
    const auto mapping = view->mapInternal(false);
    if (mapping == nullptr || mapping->data() == nullptr)
        return LX2_ERROR;
    if (isIvf() && mFrameCount == 0)
        dumpStreamHeader();
    // Once for the attempt and once more for its success, which spaces the time stamps of frames
    // by two.
    ++mFrameCount;
    // In 64 bits: the sum of a range that nobody checked may wrap around.
    if (uint64_t{view->offset()} + view->size() > ReadableBytes(*mapping, view->fd())) {
        LX2_LOGE("dumpLinear: Avoiding unsafe read.. buffer range exceeds it's capacity !!");
        return LX2_ERROR;
    }
    if (isIvf()) {
        IVFFrameHeader header;
        header.frameSize = view->size();
        header.timestamp = mFrameCount;
        mFile.write(&header, sizeof(header));
    }
    mFile.write(mapping->data() + view->offset(), view->size());
    LX2_LOGD("Dump linear buffer: %u bytes", view->size());
    ++mFrameCount;
    return C2_OK;
}

}  // namespace lx2
