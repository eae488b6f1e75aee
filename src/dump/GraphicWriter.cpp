#include <base/FrameGeometry.h>
#include <base/LogModules.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>
#include <unistd.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "FileDumpImpl.h"

namespace lx2 {

constexpr LogModule kLog = kFileDumpLog;

namespace {

using Graphic = LX2Buffer::Graphic;
using Mapping = LX2Buffer::Mapping;

// The rows to write, none of a frame that is written whole. They are the format's planes, but for
// what tools that read dumps rely on.
FramePlanes RowsOf(const Graphic& view) {
    const uint64_t width = view.width();
    const uint64_t height = view.height();
    const FramePlanes planes = geometry::PlanesOf(view.format(), width, height, view.stride());
    const FramePlane& chroma = planes[1];
    switch (view.format()) {
        case PixFormat::I420:
        case PixFormat::NV12:  // the width is taken for the pitch, and for the end of the luma
            return {{{0, width, width, height + height / 2}}, 1};
        case PixFormat::YV12:  // one run of rows through both planes of chroma
            return {{planes[0], {chroma.offset, chroma.pitch, chroma.rowBytes, height}}, 2};
        case PixFormat::MIREL_NV12:  // of an odd width, half a pair at the end of a row
            return {{planes[0], {chroma.offset, chroma.pitch, width, chroma.rows}}, 2};
        case PixFormat::MIREL_P010:
            return {};
        default:
            return planes;
    }
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

uint32_t LX2FileDump::Impl::assumedSize(const Graphic& view) {
    const auto size =
        geometry::VideoCoreFrameSize<uint32_t>(view.format(), view.width(), view.height());
    if (size == 0 || view.platformBuffer() == nullptr)
        return 0;
    // A descriptor that doesn't say how much there is gets the rule's size.
    const uint64_t there = MemoryBehind(view.fd()).value_or(size);
    return static_cast<uint32_t>(std::min<uint64_t>({std::max<uint64_t>(size, RowsOf(view).size()),
                                                     there, std::numeric_limits<uint32_t>::max()}));
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
    mTarget.reset();
    initColorConversionIfNeeded();
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
    if (mConverter != nullptr && mTarget != nullptr) {
        if (mConverter->convert(view, mTarget->graphic()) == 0)
            return dumpGraphicUnCompressed(mTarget->graphic());
        LX2_LOGE("[%s] Failed to dump uncompressed !", mPrefix.c_str());
    }
    return dumpGraphicCompressed(view);
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
