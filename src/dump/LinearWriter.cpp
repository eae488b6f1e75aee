#include "FileDumpImpl.h"

#include <C2Config.h>
#include <base/LogModules.h>

namespace lx2 {

constexpr LogModule kLog = kFileDumpLog;

namespace {

// The core index of codec-specific data, with its flexible flag.
constexpr uint32_t kCodecConfig = 0x10809;
static_assert((C2StreamInitDataInfo::output::PARAM_TYPE & 0x1FFFF) == kCodecConfig);

}  // namespace

LX2Status LX2FileDump::Impl::writeLinear(const LX2Buffer& buffer) {
    if (!mFile.isOpen()) {
        generateFileName();
        if (const LX2Status status = openFile(); status != C2_OK)
            return status;
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
    header.fourcc[2] = mIvfVersion;
    std::unique_ptr<uint8_t[]> bytes;
    const size_t size = header.toBytes(&bytes);
    if (size == 0) {  // never: only a missing destination gives no bytes
        LX2_LOGE("Failed to generate IVF frame header !");
        return;
    }
    LX2_LOGD("Witing IVF file header of %zu bytes", size);
    mFile.write(bytes.get(), size);
}

IVFFrameHeader LX2FileDump::Impl::ivfFrameHeader(uint32_t size, uint32_t frameCount) {
    IVFFrameHeader header;
    header.frameSize = size;
    header.timestamp = frameCount;
    return header;
}

LX2Status LX2FileDump::Impl::dumpLinear(const LX2Buffer::Linear* view) {
    const auto mapping = view->mapInternal(false);
    if (!LX2Buffer::Mapping::IsUsable(mapping))
        return LX2_ERROR;
    if (mIvfVersion != 0 && mFrameCount == 0)
        dumpStreamHeader();
    // Once for the attempt and once more for its success, which spaces the time stamps of frames
    // by two.
    ++mFrameCount;
    // In 64 bits: the sum of a range that nobody checked may wrap around.
    if (uint64_t{view->offset()} + view->size() > mapping->size()) {
        LX2_LOGE("dumpLinear: Avoiding unsafe read.. buffer range exceeds it's capacity !!");
        return LX2_ERROR;
    }
    if (mIvfVersion != 0) {
        const IVFFrameHeader header = ivfFrameHeader(view->size(), mFrameCount);
        mFile.write(&header, sizeof(header));
    }
    mFile.write(mapping->data() + view->offset(), view->size());
    LX2_LOGD("Dump linear buffer: %u bytes", view->size());
    ++mFrameCount;
    return C2_OK;
}

}  // namespace lx2
