#include <base/ParamHeader.h>
#include <lx2/LX2Buffer.h>

#include <C2Config.h>

namespace lx2 {

namespace {

// Bits of an index that say where a parameter belongs.
constexpr uint32_t kPlaceMask = 0x30000000;
constexpr uint32_t kInput = 0;
constexpr uint32_t kOutput = 0x10000000;
static_assert((C2StreamCropRectInfo::input::PARAM_TYPE & kPlaceMask) == kInput &&
              (C2StreamCropRectInfo::output::PARAM_TYPE & kPlaceMask) == kOutput);

// Gives dst a copy of an info. What came in with one buffer goes out with another.
void Give(const C2Info& info, LX2Buffer* dst) {
    const std::shared_ptr<C2Param> copy = C2Param::Copy(info);
    if (copy == nullptr)
        return;
    const uint32_t index = copy->index();
    if ((index & kPlaceMask) == kInput)
        WriteHeader(copy.get(), {static_cast<uint32_t>(copy->size()), index | kOutput});
    dst->addInfo(std::static_pointer_cast<C2Info>(copy));
}

}  // namespace

LX2Status LX2Buffer::copyPropertiesTo(const std::shared_ptr<LX2Buffer>& dst,
                                      std::vector<C2Param::Index>* omitted) const {
    if (dst == nullptr)
        return LX2_BAD_ARG;
    if (dst->mC2Buffer != nullptr)
        return C2_CANNOT_DO;
    if (omitted != nullptr)
        omitted->clear();
    if (dst.get() == this)
        return C2_OK;
    for (const auto& [key, item] : mInfo)
        dst->mInfo.put(key, item);
    if (mC2Buffer != nullptr) {
        for (const auto& info : mC2Buffer->info())
            Give(*info, dst.get());
    }
    for (const auto& info : mInfos)
        Give(*info, dst.get());
    dst->mConfigUpdates.insert(dst->mConfigUpdates.end(), mConfigUpdates.begin(),
                               mConfigUpdates.end());
    if (!mGraphic->isValid() || !dst->mGraphic->isValid())
        return C2_OK;
    if (dst->mGraphic->setCrop(mGraphic->crop()) != C2_OK && omitted != nullptr)
        omitted->emplace_back(C2StreamCropRectInfo::output::PARAM_TYPE);
    return mGraphic->copyPrivateMetadataTo(dst->mGraphic.get(), omitted);
}

}  // namespace lx2
