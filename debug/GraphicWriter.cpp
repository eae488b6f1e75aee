#include <SafeRange.h>
#include <lx2/FramePlanes.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>
#include <sys/mman.h>

#include <algorithm>
#include <limits>

#include "DumpLog.h"
#include "FileDumpImpl.h"

namespace lx2 {

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

// The allocation size of a framework buffer's view is a rule's and not its memory's: rows may reach
// beyond it. They are mapped too, as far as there is memory.
std::unique_ptr<Mapping> MapWithRows(Graphic* view, const FramePlanes& rows) {
    const uint32_t size = view->allocSize();
    const uint64_t there = std::min(rows.size(), MemoryBehind(view->fd()).value_or(0));
    if (size == 0 || there <= size || there > std::numeric_limits<uint32_t>::max())
        return view->mapInternal(false);
    view->setAllocSize(static_cast<uint32_t>(there));
    auto mapping = view->mapInternal(false);
    view->setAllocSize(size);
    return mapping;
}

// Maps the pages of a frame at once, instead of by a fault every few rows, which takes longer than
// the copying. Only a hint: DMA-BUF drivers that map their pages with the buffer refuse it.
void Prefault([[maybe_unused]] const Mapping& mapping, [[maybe_unused]] uint64_t readable) {
#ifdef MADV_POPULATE_READ
    madvise(mapping.data(), readable, MADV_POPULATE_READ);
#endif
}

// Writes rows as far as the memory at base reaches.
void WriteRows(DumpFile* file, const FramePlane& plane, const uint8_t* base, uint64_t readable) {
    if (plane.rowBytes == 0)
        return;
    uint64_t start = plane.offset;
    for (uint64_t row = 0; row < plane.rows && start < readable; ++row, start += plane.pitch)
        file->write(base + start, std::min(plane.rowBytes, readable - start));
}

}  // namespace

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
    // Without conversion the frames are written as they are.
    initColorConversionIfNeeded();
    closeFile();
    generateFileName();
    return openFile() == C2_OK ? LX2Status{C2_OK} : LX2_ERROR;
}

LX2Status LX2FileDump::Impl::writeGraphic(Graphic* view) {
    if (!continuesFile(*view) && startGraphicFile(*view) != C2_OK)
        return LX2_ERROR;
    if (!PixFormat::IsCompressed(view->format()))
        return dumpGraphicUnCompressed(view);
    if (mConverter != nullptr && mTarget != nullptr) {
        if (mConverter->convert(view, mTarget->graphic()) == 0)
            return dumpGraphicUnCompressed(mTarget->graphic());
        LX2_LOGE("[%s] Failed to dump uncompressed !", mPrefix.c_str());
    }
    return dumpGraphicCompressed(view);
}

LX2Status LX2FileDump::Impl::dumpGraphicUnCompressed(Graphic* view) {
    const auto rows = RowsOf(*view);
    const auto mapping = MapWithRows(view, rows);
    if (mapping == nullptr || mapping->data() == nullptr)
        return LX2_ERROR;
    const uint64_t readable = ReadableBytes(*mapping, view->fd());
    Prefault(*mapping, readable);
    for (const FramePlane& plane : rows)
        WriteRows(&mFile, plane, mapping->data(), readable);
    if (rows.count == 0)
        mFile.write(mapping->data(), readable);
    ++mFrameCount;
    LX2_LOGD("Dump Graphic buf of fmt : %s", PixFormat::Str(view->format()));
    return C2_OK;
}

LX2Status LX2FileDump::Impl::dumpGraphicCompressed(const Graphic* view) {
    const auto mapping = view->mapInternal(false);
    if (mapping == nullptr || mapping->data() == nullptr)
        return LX2_ERROR;
    const uint64_t readable = ReadableBytes(*mapping, view->fd());
    const uint64_t size = Platform::MirelBufferLayout::CompressedFrameSize(
        view->format(), view->width(), view->height());
    const uint64_t written = size == 0 ? readable : std::min(size, readable);
    Prefault(*mapping, written);
    mFile.write(mapping->data(), written);
    LX2_LOGD("Dump graphic buffer: format = %s : %u bytes", PixFormat::Str(view->format()),
             static_cast<uint32_t>(written));
    ++mFrameCount;
    return C2_OK;
}

}  // namespace lx2
