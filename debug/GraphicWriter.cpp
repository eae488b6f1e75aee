#include <SafeRange.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>
#include <sys/mman.h>

#include <algorithm>
#include <limits>

#include "DumpLog.h"
#include "FileDumpImpl.h"
#include "FrameRows.h"

namespace lx2 {

namespace {

using Graphic = LX2Buffer::Graphic;
using Mapping = LX2Buffer::Mapping;

std::optional<FrameRows> RowsOf(const Graphic& view) {
    return FrameRowsOf(view.format(), view.width(), view.height(), view.stride());
}

// The allocation size of a framework buffer's view is a rule's and not its memory's: rows may reach
// beyond it. They are mapped too, as far as there is memory.
std::unique_ptr<Mapping> MapWithRows(Graphic* view, const std::optional<FrameRows>& rows) {
    const uint32_t size = view->allocSize();
    const uint64_t wanted = rows ? std::max(rows->luma.end(), rows->chroma.end()) : 0;
    const uint64_t there = std::min(wanted, MemoryBehind(view->fd()).value_or(0));
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
void WriteRows(DumpFile* file, const RowBlock& rows, const uint8_t* base, uint64_t readable) {
    if (rows.length == 0)
        return;
    uint64_t start = rows.start;
    for (uint64_t row = 0; row < rows.count && start < readable; ++row, start += rows.pitch)
        file->write(base + start, std::min(rows.length, readable - start));
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
    if (rows) {
        WriteRows(&mFile, rows->luma, mapping->data(), readable);
        WriteRows(&mFile, rows->chroma, mapping->data(), readable);
    } else {
        mFile.write(mapping->data(), readable);
    }
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
