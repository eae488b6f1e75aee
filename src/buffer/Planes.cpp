#include <lx2/LX2Buffer.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>

#include <cinttypes>
#include <cstring>
#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

LX2Buffer::Planes::Planes(const FramePlanes& planes, std::unique_ptr<Mapping> mapping)
    : mMapping(std::move(mapping)), mCount(planes.count) {
    for (uint32_t i = 0; i < mCount; ++i)
        mPlanes[i] = {planes[i], mMapping->data() + static_cast<size_t>(planes[i].offset)};
}

LX2Status LX2Buffer::Planes::copyFrom(uint32_t index, const uint8_t* memory,
                                      ptrdiff_t pitch) const {
    if (memory == nullptr || index >= mCount)
        return LX2_BAD_ARG;
    if (!isWritable())
        return C2_CANNOT_DO;
    const Plane& plane = mPlanes[index];
    for (uint64_t y = 0; y < plane.rows; ++y)
        memcpy(plane.row(y), memory + static_cast<ptrdiff_t>(y) * pitch, plane.rowBytes);
    return C2_OK;
}

LX2Status LX2Buffer::Planes::copyTo(uint32_t index, uint8_t* memory, ptrdiff_t pitch) const {
    if (memory == nullptr || index >= mCount)
        return LX2_BAD_ARG;
    const Plane& plane = mPlanes[index];
    for (uint64_t y = 0; y < plane.rows; ++y)
        memcpy(memory + static_cast<ptrdiff_t>(y) * pitch, plane.row(y), plane.rowBytes);
    return C2_OK;
}

LX2Buffer::Planes LX2Buffer::Graphic::mapPlanesInternal(bool writable) const {
    if (!mValid)
        return {};
    const FramePlanes planes = this->planes();
    if (planes.count == 0) {
        LX2_LOGE("LX2Buffer::Graphic: no planes in format %s", PixFormat::Str(format()));
        return {};
    }
    if (planes.size() > allocSize()) {
        LX2_LOGE("LX2Buffer::Graphic: planes of %" PRIu64 " bytes exceed the allocation of %u",
                 planes.size(), allocSize());
        return {};
    }
    auto mapping = mapInternal(writable);
    if (!Mapping::IsUsable(mapping))
        return {};
    return {planes, std::move(mapping)};
}

}  // namespace lx2
