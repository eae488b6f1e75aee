// What a dump writes of linear buffers and of frames.
#include "FileDumpImpl.h"

#include <C2Config.h>
#include <base/FrameGeometry.h>
#include <base/LogModules.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <optional>

namespace lx2 {

constexpr LogModule kLog = kFileDumpLog;

namespace {

using Graphic = LX2Buffer::Graphic;
using Mapping = LX2Buffer::Mapping;

constexpr uint64_t kLargestSize = std::numeric_limits<uint32_t>::max();

// The core index of codec-specific data, with its flexible flag.
constexpr uint32_t kCodecConfig = 0x10809;
static_assert((C2StreamInitDataInfo::output::PARAM_TYPE & 0x1FFFF) == kCodecConfig);

// The rows to write, none of a frame that is written whole. They are the format's planes, but for
// what tools that read dumps rely on.
FramePlanes RowsOf(const Graphic& view) {
    const uint64_t width = view.width();
    const uint64_t height = view.height();
    FramePlanes rows = geometry::PlanesOf(view.format(), width, height, view.stride());
    switch (view.format()) {
        case PixFormat::I420:
        case PixFormat::NV12:  // the width is taken for the pitch, and for the end of the luma
            rows.plane[0] = {0, width, width, height + height / 2};
            rows.count = 1;
            break;
        case PixFormat::YV12:  // one run of rows through both planes of chroma
            rows.plane[1].rows = height;
            rows.count = 2;
            break;
        case PixFormat::MIREL_NV12:  // of an odd width, half a pair at the end of a row
            rows.plane[1].rowBytes = width;
            break;
        case PixFormat::MIREL_P010:
            rows.count = 0;
            break;
        default:
            break;
    }
    return rows;
}

// Bytes of the memory behind a DMA-BUF.
std::optional<uint64_t> MemoryBehind(int fd) {
    const off_t end = lseek(fd, 0, SEEK_END);
    lseek(fd, 0, SEEK_SET);
    return end >= 0 ? std::optional<uint64_t>(end) : std::nullopt;
}

// Writes rows as far as the mapping reaches.
void WriteRows(DumpFile* file, const FramePlane& plane, const Mapping& mapping) {
    const uint64_t readable = mapping.size();
    if (plane.rowBytes == 0)
        return;
    uint64_t start = plane.offset;
    for (uint64_t row = 0; row < plane.rows && start < readable; ++row, start += plane.pitch)
        file->write(mapping.data() + start, std::min(plane.rowBytes, readable - start));
}

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
        // Of an info that has no room for its header, there is no copy.
        if (info == nullptr || info->coreIndex().coreIndex() != kCodecConfig)
            continue;
        const size_t size = info->size() - sizeof(C2Param);
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

uint32_t LX2FileDump::Impl::assumedSize(const Graphic& view) {
    const auto size =
        geometry::VideoCoreFrameSize<uint32_t>(view.format(), view.width(), view.height());
    if (size == 0 || view.platformBuffer() == nullptr)
        return 0;
    // A descriptor that doesn't say how much there is gets the rule's size.
    const uint64_t there = MemoryBehind(view.fd()).value_or(size);
    const uint64_t needed = std::max<uint64_t>(size, RowsOf(view).size());
    return static_cast<uint32_t>(std::min({needed, there, kLargestSize}));
}

bool LX2FileDump::Impl::continuesFile(const Graphic& view) const {
    return mFile.isOpen() && view.width() == mWidth && view.height() == mHeight &&
           view.format() == mSourceFormat;
}

LX2Status LX2FileDump::Impl::startGraphicFile(const Graphic& view) {
    mWidth = view.width();
    mHeight = view.height();
    mSourceFormat = view.format();
    mWrittenFormat = mSourceFormat;
    if (mForceLinear)
        mWrittenFormat = mConversion.prepare(mPrefix, mSourceFormat, mWidth, mHeight);
    closeFile();
    generateFileName();
    return openFile();
}

LX2Status LX2FileDump::Impl::writeGraphic(Graphic* view) {
    if (!continuesFile(*view)) {
        if (const LX2Status status = startGraphicFile(*view); status != C2_OK)
            return status;
    }
    if (!PixFormat::IsCompressed(view->format()))
        return dumpGraphicUnCompressed(view);
    const Graphic* converted = mConversion.convert(mPrefix, view);
    return converted != nullptr ? dumpGraphicUnCompressed(converted) : dumpGraphicCompressed(view);
}

LX2Status LX2FileDump::Impl::dumpGraphicUnCompressed(const Graphic* view) {
    const auto mapping = view->mapInternal(false);
    if (!LX2Buffer::Mapping::IsUsable(mapping))
        return LX2_ERROR;
    const FramePlanes rows = RowsOf(*view);
    for (const FramePlane& plane : rows)
        WriteRows(&mFile, plane, *mapping);
    if (rows.count == 0)
        mFile.write(mapping->data(), mapping->size());
    ++mFrameCount;
    LX2_LOGD("Dump Graphic buf of fmt : %s", PixFormat::Str(view->format()));
    return C2_OK;
}

LX2Status LX2FileDump::Impl::dumpGraphicCompressed(const Graphic* view) {
    const auto mapping = view->mapInternal(false);
    if (!LX2Buffer::Mapping::IsUsable(mapping))
        return LX2_ERROR;
    const uint64_t frame = Platform::MirelBufferLayout::CompressedFrameSize(
        view->format(), view->width(), view->height());
    const uint32_t size = frame == 0
                              ? mapping->size()
                              : static_cast<uint32_t>(std::min<uint64_t>(frame, mapping->size()));
    mFile.write(mapping->data(), size);
    LX2_LOGD("Dump graphic buffer: format = %s : %u bytes", PixFormat::Str(view->format()), size);
    ++mFrameCount;
    return C2_OK;
}

}  // namespace lx2
