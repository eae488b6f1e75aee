#include <lx2/LX2Buffer.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2VendorParams.h>
#include <lx2host/Framework.h>

#include <cstring>
#include <utility>

namespace lx2::host {

namespace {

using Params = std::vector<std::unique_ptr<C2Param>>;

template <typename P>
const P* Find(const Params& params) {
    for (const auto& param : params) {
        if (const P* found = P::From(param.get()))
            return found;
    }
    return nullptr;
}

bool operator==(const C2ColorAspectsStruct& a, const C2ColorAspectsStruct& b) {
    return a.range == b.range && a.primaries == b.primaries && a.transfer == b.transfer &&
           a.matrix == b.matrix;
}

// The display's record has fewer words for colors than C2: what comes back of them.
C2ColorAspectsStruct AsDisplayed(const C2ColorAspectsStruct& aspects) {
    lxd::ColorMetaData record{};
    C2StreamColorAspectsInfo::input back;
    LX2GrallocMetadataTranslater::convertAspectsToMetaData(
        C2StreamColorAspectsInfo::output(0u, aspects), &record);
    LX2GrallocMetadataTranslater::convertMetaDataToAspects(record, &back);
    return back;
}

// The time stamp that the display keeps: eight bytes behind another eight of the body.
uint64_t TimestampOf(const Params& params) {
    for (const auto& param : params) {
        uint64_t timestamp = 0;
        if (uint32_t{param->index()} == kAvTimestampProduced && param->size() == 24) {
            memcpy(&timestamp, reinterpret_cast<const uint8_t*>(param.get()) + 16,
                   sizeof(timestamp));
            return timestamp;
        }
    }
    return UINT64_MAX;
}

}  // namespace

void Framework::complain(const Promise& promise, const std::string& what) {
    constexpr size_t kComplaintsKept = 10;
    if (mComplaints.size() < kComplaintsKept)
        mComplaints.push_back("frame " + std::to_string(promise.frameIndex) + ": " + what);
}

void Framework::check(const std::shared_ptr<C2Buffer>& buffer, const Promise& promise) {
    auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
    const LX2Buffer::Graphic& view = *wrapped->graphic();
    if (!view.isValid() || view.fd() < 0)
        return complain(promise, "no picture that can be imported");
    if (view.crop() != promise.crop)
        complain(promise, "another crop than promised");
    if (wrapped->infos().size() != promise.infos)
        complain(promise, "another number of infos than promised");

    Params infos;
    Params updates;
    wrapped->graphic()->getPrivateMetadata(&infos, &updates);
    wrapped->graphic()->getPrivateMetadata({C2Param::Type(kAvTimestampRequest)}, &infos);
    if (TimestampOf(infos) != promise.timestamp)
        complain(promise, "another time stamp than promised");
    if (mReceived > 1 && promise.timestamp <= mLastTimestamp)
        complain(promise, "presented at " + std::to_string(promise.timestamp) +
                              " us, the frame before it at " + std::to_string(mLastTimestamp));
    mLastTimestamp = promise.timestamp;
    const auto* aspects = Find<C2StreamColorAspectsInfo::input>(updates);
    if (promise.aspects && (aspects == nullptr || !(*aspects == AsDisplayed(*promise.aspects))))
        complain(promise, "other colors than promised");
    if ((Find<C2StreamHdrStaticInfo::input>(updates) != nullptr) != promise.hdr)
        complain(promise,
                 promise.hdr ? "no HDR static info" : "HDR static info that nobody promised");
}

void Framework::receive(std::shared_ptr<C2Buffer> buffer, const Promise& promise) {
    if (buffer == nullptr) {
        complain(promise, "no buffer");
        return;
    }
    ++mReceived;
    check(buffer, promise);
    mKept.push_back(std::move(buffer));
    if (mKept.size() > mDepth)
        releaseOldest();
}

bool Framework::releaseOldest() {
    if (mKept.empty())
        return false;
    const std::shared_ptr<C2Buffer> oldest = std::move(mKept.front());
    mKept.pop_front();
    if (mOnRelease)
        mOnRelease(*oldest);
    return true;
}

void Framework::releaseAll() {
    while (releaseOldest()) {
    }
}

}  // namespace lx2::host
