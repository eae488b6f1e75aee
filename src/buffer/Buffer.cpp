#include <lx2/LX2Buffer.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/Log.h>

#include <algorithm>
#include <utility>

namespace lx2 {

constexpr LogModule kLog = kBufferLog;

namespace {

template <typename Info>
std::vector<std::shared_ptr<C2Info>> DeepCopies(const std::vector<std::shared_ptr<Info>>& sources) {
    std::vector<std::shared_ptr<C2Info>> copies;
    copies.reserve(sources.size());
    for (const auto& source : sources) {
        const std::shared_ptr<C2Param> copy = source != nullptr ? C2Param::Copy(*source) : nullptr;
        copies.push_back(std::static_pointer_cast<C2Info>(copy));
    }
    return copies;
}

}  // namespace

LX2Buffer::LX2Buffer(std::shared_ptr<C2LinearBlock> block, uint64_t usage)
    : mType(C2BufferData::LINEAR),
      mLinear(std::make_unique<Linear>(this, std::move(block), usage)),
      mGraphic(std::make_unique<Graphic>(this, nullptr)) {}

LX2Buffer::LX2Buffer(std::shared_ptr<C2GraphicBlock> block)
    : mType(C2BufferData::GRAPHIC),
      mLinear(std::make_unique<Linear>(this, nullptr, 0)),
      mGraphic(std::make_unique<Graphic>(this, std::move(block))) {}

LX2Buffer::LX2Buffer(std::shared_ptr<C2Buffer> buffer)
    : mType(buffer != nullptr ? buffer->data().type() : C2BufferData::LINEAR_CHUNKS),
      mLinear(std::make_unique<Linear>(this, nullptr, 0)),
      mGraphic(std::make_unique<Graphic>(this, nullptr)),
      mC2Buffer(std::move(buffer)) {
    if (mC2Buffer == nullptr) {
        LX2_LOGE("LX2Buffer: cannot wrap an invalid C2Buffer");
        return;
    }
    const C2BufferData data = mC2Buffer->data();
    if (mType == C2BufferData::LINEAR && data.linearBlocks().size() == 1)
        mLinear = std::make_unique<Linear>(this, data.linearBlocks().front());
    else if (mType == C2BufferData::GRAPHIC && data.graphicBlocks().size() == 1)
        mGraphic = std::make_unique<Graphic>(this, data.graphicBlocks().front());
}

LX2Buffer::~LX2Buffer() = default;

std::shared_ptr<LX2Buffer> LX2Buffer::CreateFromC2Buffer(const std::shared_ptr<C2Buffer>& buffer) {
    return std::make_shared<LX2Buffer>(buffer);
}

std::vector<std::shared_ptr<C2Info>> LX2Buffer::infos() const {
    return mC2Buffer != nullptr ? DeepCopies(mC2Buffer->info()) : DeepCopies(mInfos);
}

LX2Status LX2Buffer::addInfo(std::shared_ptr<C2Info> info) {
    if (info == nullptr)
        return LX2_BAD_ARG;
    const auto same = std::find_if(mInfos.begin(), mInfos.end(), [&info](const auto& entry) {
        return entry != nullptr && entry->coreIndex().coreIndex() == info->coreIndex().coreIndex();
    });
    if (same != mInfos.end())
        *same = std::move(info);
    else
        mInfos.push_back(std::move(info));
    return C2_OK;
}

LX2Status LX2Buffer::addConfigUpdates(const std::list<std::shared_ptr<C2Param>>& updates) {
    // Nothing to add is an error of the caller's.
    if (updates.empty())
        return LX2_BAD_ARG;
    // Copied first: the list may be this buffer's own.
    std::list<std::shared_ptr<C2Param>> added = updates;
    mConfigUpdates.splice(mConfigUpdates.end(), added);
    return C2_OK;
}

LX2Status LX2Buffer::copyBufInfoTo(std::shared_ptr<LX2Buffer> dst) {
    if (dst == nullptr)
        return LX2_BAD_ARG;
    // Values that dst already has win, unlike in the setters. A buffer copied to itself has them
    // all, and each info takes its own place.
    for (const auto& [key, item] : mInfo)
        dst->mInfo.emplace(key, item);
    for (const auto& info : mInfos)
        dst->addInfo(info);
    if (!mConfigUpdates.empty())
        dst->addConfigUpdates(mConfigUpdates);
    return C2_OK;
}

}  // namespace lx2
