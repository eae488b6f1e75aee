#include <base/FrameGeometry.h>
#include <lx2/LX2Buffer.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/Log.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

namespace {

constexpr uint32_t kUnknown = std::numeric_limits<uint32_t>::max();

// Whether [start, start + length) lies in [0, limit).
bool Fits(uint32_t start, uint32_t length, uint32_t limit) {
    return uint64_t{start} + length <= limit;
}

C2Rect Clamped(const C2Rect& crop, uint32_t width, uint32_t height) {
    C2Rect clamped;
    clamped.left = std::min(crop.left, width);
    clamped.top = std::min(crop.top, height);
    // 32-bit sums that may wrap, and are stored as they come out.
    clamped.width = std::min(width, crop.left + crop.width) - clamped.left;
    clamped.height = std::min(height, crop.top + crop.height) - clamped.top;
    return clamped;
}

bool IsSet(const C2Rect& crop) {
    return crop.width != 0 || crop.height != 0 || crop.left != 0 || crop.top != 0;
}

// init() makes every view's platform buffer.
LX2GrallocBuffer* GrallocOf(const std::unique_ptr<LX2PlatformBuffer>& buffer) {
    return static_cast<LX2GrallocBuffer*>(buffer.get());
}

// Getters say the same as the setter.
LX2Status NoPlatformBuffer() {
    LX2_LOGW("private handle NULL, cannot set metadata");
    return C2_CANNOT_DO;
}

}  // namespace

LX2Buffer::Graphic::Graphic(LX2Buffer* parent, std::shared_ptr<C2GraphicBlock> block)
    : mParent(parent), mValid(parent->type() == C2BufferData::GRAPHIC), mBlock(std::move(block)) {
    if (mBlock == nullptr) {
        mValid = false;
        return;
    }
    init(mBlock->share(mBlock->crop(), C2Fence()));
}

LX2Buffer::Graphic::Graphic(LX2Buffer* parent, const C2ConstGraphicBlock& block)
    : mParent(parent), mValid(parent->type() == C2BufferData::GRAPHIC) {
    init(block);
}

LX2Buffer::Graphic::~Graphic() = default;

void LX2Buffer::Graphic::init(const C2ConstGraphicBlock& block) {
    if (!mValid)
        return;
    mCrop = block.crop();
    mPlatformBuffer = std::make_unique<LX2GrallocBuffer>(block.handle());
    mAllocSize = mPlatformBuffer->allocSize();
}

int LX2Buffer::Graphic::fd() const {
    return mPlatformBuffer ? mPlatformBuffer->fd() : -1;
}

uint32_t LX2Buffer::Graphic::width() const {
    return mPlatformBuffer ? mPlatformBuffer->width() : kUnknown;
}

uint32_t LX2Buffer::Graphic::height() const {
    return mPlatformBuffer ? mPlatformBuffer->height() : kUnknown;
}

uint32_t LX2Buffer::Graphic::stride() const {
    return mPlatformBuffer ? mPlatformBuffer->stride() : kUnknown;
}

uint32_t LX2Buffer::Graphic::sliceHeight() const {
    return mPlatformBuffer ? mPlatformBuffer->sliceHeight() : kUnknown;
}

uint32_t LX2Buffer::Graphic::format() const {
    return mPlatformBuffer ? mPlatformBuffer->format() : 0;
}

uint32_t LX2Buffer::Graphic::allocSize() const {
    return mAllocSize;
}

uint32_t LX2Buffer::Graphic::offset() const {
    return mPlatformBuffer ? mPlatformBuffer->offset() : kUnknown;
}

uint32_t LX2Buffer::Graphic::flags() const {
    return mPlatformBuffer ? mPlatformBuffer->flags() : kUnknown;
}

uint64_t LX2Buffer::Graphic::id() const {
    return mPlatformBuffer ? mPlatformBuffer->id() : std::numeric_limits<uint64_t>::max();
}

FramePlanes LX2Buffer::Graphic::planes() const {
    FramePlanes planes = geometry::PlanesOf(format(), width(), height(), stride());
    for (FramePlane& plane : planes.plane)
        plane.offset += offset();
    return planes;
}

void LX2Buffer::Graphic::setAllocSize(uint32_t size) {
    if (mPlatformBuffer)
        mAllocSize = size;
}

LX2Status LX2Buffer::Graphic::setCrop(const C2Rect& crop) {
    if (mBlock == nullptr)
        return C2_CANNOT_DO;
    const uint32_t width = mBlock->width();
    const uint32_t height = mBlock->height();
    if (Fits(crop.left, crop.width, width) && Fits(crop.top, crop.height, height)) {
        mCrop = crop;
        return C2_OK;
    }
    const C2Rect requested = crop;
    mCrop = Clamped(requested, width, height);
    LX2_LOGD("Adjusted crop to fit from (%u,%u)[%ux%u] to (%u,%u)[%ux%u]", requested.left,
             requested.top, requested.width, requested.height, mCrop.left, mCrop.top, mCrop.width,
             mCrop.height);
    // Applied all the same: the status says that the crop is not the one that was asked for.
    return C2_CANNOT_DO;
}

// A crop that has but one of its numbers counts: its sides of 0 are the effective ones.
uint32_t LX2Buffer::Graphic::effectiveWidth() const {
    return IsSet(mCrop) ? mCrop.width : width();
}

uint32_t LX2Buffer::Graphic::effectiveHeight() const {
    return IsSet(mCrop) ? mCrop.height : height();
}

LX2Status LX2Buffer::Graphic::getPrivateMetadata(const std::vector<C2Param::Type>& types,
                                                 std::vector<std::unique_ptr<C2Param>>* params) {
    return mPlatformBuffer ? mPlatformBuffer->getMetadata(types, params) : NoPlatformBuffer();
}

LX2Status LX2Buffer::Graphic::getPrivateMetadata(std::vector<std::unique_ptr<C2Param>>* params,
                                                 std::vector<std::unique_ptr<C2Param>>* extra) {
    return mPlatformBuffer ? mPlatformBuffer->getMetadata(params, extra) : NoPlatformBuffer();
}

LX2Status LX2Buffer::Graphic::setPrivateMetadata(
    const std::vector<std::shared_ptr<C2Info>>& infos) {
    return mPlatformBuffer ? mPlatformBuffer->setMetadata(infos) : NoPlatformBuffer();
}

LX2Status LX2Buffer::Graphic::setPresentationTime(uint64_t timestamp) {
    return mPlatformBuffer ? GrallocOf(mPlatformBuffer)->setPresentationTime(timestamp)
                           : NoPlatformBuffer();
}

LX2Status LX2Buffer::Graphic::copyPrivateMetadataTo(Graphic* target,
                                                    std::vector<C2Param::Index>* omitted) const {
    if (target == nullptr)
        return LX2_BAD_ARG;
    if (!mPlatformBuffer || !target->mPlatformBuffer)
        return NoPlatformBuffer();
    return GrallocOf(mPlatformBuffer)->copyMetadataTo(GrallocOf(target->mPlatformBuffer), omitted);
}

std::unique_ptr<LX2Buffer::Mapping> LX2Buffer::Graphic::mapInternal(bool writable) const {
    if (!mValid)
        return nullptr;
    return std::make_unique<Mapping>(mParent->shared_from_this(), fd(), offset(), allocSize(),
                                     writable);
}

}  // namespace lx2
