#include "Camera.h"

#include <C2PlatformSupport.h>
#include <lx2/PixFormat.h>

#include <utility>

namespace lx2::example {

namespace {

std::unique_ptr<LX2GraphicBufferPool> MakePool(uint32_t width, uint32_t height, uint32_t format) {
    std::shared_ptr<C2BlockPool> blocks;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &blocks);
    auto pool = LX2GraphicBufferPool::Create(blocks);
    pool->setFormat(format);
    pool->setUsage(C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    pool->setResolution(width, height);
    return pool;
}

bool IsLinearYuv(uint32_t format) {
    return format == PixFormat::NV12 || format == PixFormat::YV12 ||
           format == PixFormat::MIREL_NV12;
}

void PutRow(const uint16_t* samples, size_t count, size_t step, uint8_t* row) {
    for (size_t x = 0; x < count; ++x)
        row[x * step] = static_cast<uint8_t>(samples[x]);
}

// False if the rows reach beyond the memory.
bool Write(const host::Frame& frame, const FramePlanes& planes,
           const std::unique_ptr<LX2Buffer::Mapping>& to) {
    if (!LX2Buffer::Mapping::IsUsable(to) || planes.count < 2 || planes.size() > to->size())
        return false;
    const bool pairs = planes.count == 2;
    const uint32_t chroma = frame.chromaWidth();
    for (uint64_t y = 0; y < planes[0].rows; ++y)
        PutRow(&frame.y[y * frame.width], frame.width, 1,
               to->data() + planes[0].offset + y * planes[0].pitch);
    for (uint64_t y = 0; y < planes[1].rows; ++y) {
        uint8_t* first = to->data() + planes[1].offset + y * planes[1].pitch;
        uint8_t* second = pairs ? first + 1 : to->data() + planes[2].offset + y * planes[2].pitch;
        // YV12 has Cr before Cb.
        PutRow(&(pairs ? frame.cb : frame.cr)[y * chroma], chroma, pairs ? 2 : 1, first);
        PutRow(&(pairs ? frame.cr : frame.cb)[y * chroma], chroma, pairs ? 2 : 1, second);
    }
    return true;
}

}  // namespace

Camera::Camera(uint32_t width, uint32_t height, uint32_t format,
               std::vector<std::shared_ptr<C2Info>> infos)
    : mFormat(format),
      mWrittenFormat(IsLinearYuv(format) ? format : PixFormat::MIREL_NV12),
      mInfos(std::move(infos)),
      mPool(MakePool(width, height, format)),
      mWrittenPool(MakePool(width, height, mWrittenFormat)) {}

std::shared_ptr<C2Buffer> Camera::shoot(const host::Frame& frame, uint64_t timestamp,
                                        std::string* error) {
    std::shared_ptr<LX2Buffer> written;
    std::shared_ptr<LX2Buffer> buffer;
    if (mWrittenPool->allocate(&written) != C2_OK) {
        *error = "no buffer";
        return nullptr;
    }
    LX2Buffer::Graphic* view = written->graphic();
    if (const auto mapping = view->map(); !Write(frame, view->planes(), mapping)) {
        *error = "the buffer can't be written";
        return nullptr;
    }
    if (mWrittenFormat == mFormat) {
        buffer = written;
    } else if (mPool->allocate(&buffer) != C2_OK) {
        *error = "no buffer to convert to";
        return nullptr;
    } else if (mConverter.convert(view, buffer->graphic()) != 0) {
        *error = "not converted";
        return nullptr;
    } else {
        ++mConversions;
    }
    buffer->graphic()->setCrop(C2Rect(frame.width, frame.height));
    buffer->graphic()->setPrivateMetadata(mInfos);
    buffer->setTimestamp(timestamp);
    return buffer->getSharedBuffer();
}

}  // namespace lx2::example
