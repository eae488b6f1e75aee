#include <lx2/LX2GrallocBuffer.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>

#include <new>

#include "Engine.h"

namespace lx2 {

namespace {

constexpr LogModule kLog{"LX2ColorConverter", LogGroup::Buffer};

LX2ColorConverter::Format FormatOf(const LX2Buffer::Graphic& view) {
    return {view.width(), view.height(), view.format(), view.stride(), view.flags()};
}

uint8_t* WritableBase(const LX2Buffer::Mapping& mapping) {
    return mapping.isWritable() ? mapping.data() : nullptr;
}

}  // namespace

bool LX2ColorConverter::Format::operator==(const Format& other) const {
    return width == other.width && height == other.height && format == other.format &&
           stride == other.stride && flags == other.flags;
}

LX2ColorConverter::LX2ColorConverter() : mEngine(new (std::nothrow) Engine) {}

LX2ColorConverter::~LX2ColorConverter() = default;

const LX2ColorConverter::Capabilities& LX2ColorConverter::QueryCapabilities() {
    return Engine::QueryCapabilities();
}

int32_t LX2ColorConverter::convert(LX2Buffer::Graphic* src, LX2Buffer::Graphic* dst) {
    std::lock_guard<std::mutex> lock(mLock);
    if (mEngine == nullptr) {
        LX2_LOGE("%s: gbx engine has not been created", "convert");
        return -1;
    }
    if (src == nullptr || dst == nullptr) {
        LX2_LOGE("%s: invalid buffers", "convert");
        return LX2_BAD_ARG;
    }
    dst->setCrop(src->crop());

    const Format from = FormatOf(*src);
    const Format to = FormatOf(*dst);
    LX2_LOGD("Convert: %s[%ux%u] --> %s[%ux%u]", PixFormat::Str(from.format), from.width,
             from.height, PixFormat::Str(to.format), to.width, to.height);
    if (from.height != to.height || from.width != to.width) {
        LX2_LOGE(
            "%s: configure gbx engine failed, input and output buffer has different dimensions",
            "convert");
        return -1;
    }
    if (!(from == mSrc) || !(to == mDst)) {
        // Kept even when the engine refuses them, so that it is not asked again for every frame.
        mSrc = from;
        mDst = to;
        if (mEngine->configure(mSrc, mDst) != 0) {
            LX2_LOGE("%s: configure gbx engine failed", "convert");
            return -1;
        }
    }

    // The target's is released first.
    const auto srcMapping = src->mapInternal(true);
    const auto dstMapping = dst->mapInternal(true);
    if (srcMapping == nullptr || dstMapping == nullptr) {
        LX2_LOGE("%s: failed to map buffer from Graphic buffer (src %p, dst %p)", "convert",
                 static_cast<void*>(srcMapping.get()), static_cast<void*>(dstMapping.get()));
        return -1;
    }
    uint8_t* srcBase = WritableBase(*srcMapping);
    uint8_t* dstBase = WritableBase(*dstMapping);
    if (srcBase == nullptr || dstBase == nullptr) {
        LX2_LOGE("%s: failed to get buffer base addr (src %p, dst %p)", "convert",
                 static_cast<void*>(srcBase), static_cast<void*>(dstBase));
        return -1;
    }
    if (mEngine->convert(src->fd(), srcBase, src->offset(), src->allocSize(), dst->fd(), dstBase,
                         dst->offset(), dst->allocSize()) != 0) {
        LX2_LOGE("%s: convert failed", "convert");
        return -1;
    }
    return 0;
}

}  // namespace lx2
