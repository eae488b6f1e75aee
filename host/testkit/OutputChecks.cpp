#include "OutputChecks.h"

#include <lx2/LX2Buffer.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2VendorParams.h>
#include <lx2host/DmaBuf.h>

#include <cstring>

namespace lx2::host {

namespace {

using Params = std::vector<std::unique_ptr<C2Param>>;

template <typename P, typename List>
auto* Find(const List& params) {
    decltype(P::From(std::declval<const C2Param*>())) found = nullptr;
    for (const auto& param : params)
        found = found != nullptr ? found : P::From(static_cast<const C2Param*>(param.get()));
    return found;
}

template <typename A, typename B>
bool SameBody(const A& a, const B& b) {
    static_assert(sizeof(A) == sizeof(B));
    constexpr size_t kHeader = sizeof(C2Param);
    return memcmp(reinterpret_cast<const uint8_t*>(&a) + kHeader,
                  reinterpret_cast<const uint8_t*>(&b) + kHeader, sizeof(A) - kHeader) == 0;
}

// The display's record has fewer words for colors than C2: what comes back of them.
C2StreamColorAspectsInfo::input AsDisplayed(const C2StreamColorAspectsInfo::output& aspects) {
    lxd::ColorMetaData record{};
    C2StreamColorAspectsInfo::input back;
    LX2GrallocMetadataTranslater::convertAspectsToMetaData(aspects, &record);
    LX2GrallocMetadataTranslater::convertMetaDataToAspects(record, &back);
    return back;
}

std::string Text(const C2Rect& rect) {
    return std::to_string(rect.width) + "x" + std::to_string(rect.height) + " at " +
           std::to_string(rect.left) + "," + std::to_string(rect.top);
}

template <typename P>
void Take(const std::vector<std::shared_ptr<C2Param>>& updates, std::optional<P>* value) {
    if (const P* found = Find<P>(updates))
        *value = *found;
}

}  // namespace

OutputChecks::OutputChecks(const Client& client)
    : mSize(client.query<C2StreamPictureSizeInfo::output>()),
      mCrop(client.query<C2StreamCropRectInfo::output>()),
      mAspects(client.query<C2StreamColorAspectsInfo::output>()),
      mHdr(client.query<C2StreamHdrStaticInfo::output>()) {}

void OutputChecks::follow(const Client::Output& output) {
    Take(output.updates, &mSize);
    Take(output.updates, &mCrop);
    Take(output.updates, &mAspects);
    Take(output.updates, &mHdr);
}

std::vector<std::string> OutputChecks::check(const Client::Output& output) {
    std::vector<std::string> faults;
    follow(output);
    if (output.result != C2_OK && output.buffer != nullptr)
        faults.push_back("a failed work has a buffer");
    if ((output.flags & C2FrameData::FLAG_CODEC_CONFIG) != 0 && output.buffer != nullptr)
        faults.push_back("codec configuration has a frame");
    if (output.buffer != nullptr && output.buffer->data().type() == C2BufferData::GRAPHIC)
        checkFrame(output, &faults);
    return faults;
}

void OutputChecks::checkFrame(const Client::Output& output, std::vector<std::string>* faults) {
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(output.buffer);
    LX2Buffer::Graphic& view = *wrapped->graphic();
    if (!view.isValid() || view.fd() < 0)
        return faults->push_back("the picture can't be imported");
    if (IsBeingAccessed(view.fd()))
        faults->push_back("the buffer is still mapped");
    if (++mFrames > 1 && output.timestamp <= mLastTimestamp)
        faults->push_back("shown at " + std::to_string(output.timestamp) +
                          " us, the frame before it at " + std::to_string(mLastTimestamp));
    mLastTimestamp = output.timestamp;

    const C2Rect crop = view.crop();
    const C2Rect announced = mCrop ? C2Rect(mCrop->width, mCrop->height).at(mCrop->left, mCrop->top)
                             : mSize ? C2Rect(mSize->width, mSize->height)
                                     : crop;
    if (crop != announced)
        faults->push_back("the picture is " + Text(crop) + ", announced was " + Text(announced));

    const auto infos = output.buffer->info();
    Params fetched, updates;
    // A buffer that nobody described has none.
    if (view.getPrivateMetadata(&fetched, &updates) != C2_OK && mAspects)
        faults->push_back("the display's metadata can't be read");
    const auto* aspects = Find<C2StreamColorAspectsInfo::output>(infos);
    if (aspects != nullptr && mAspects && !SameBody(*aspects, *mAspects))
        faults->push_back("the buffer's color is not the announced one");
    const auto* shown = Find<C2StreamColorAspectsInfo::input>(updates);
    if (mAspects && shown != nullptr && !SameBody(*shown, AsDisplayed(*mAspects)))
        faults->push_back("the display's color is not the announced one");
    const auto* hdr = Find<C2StreamHdrStaticInfo::output>(infos);
    if (hdr != nullptr && mHdr && !SameBody(*hdr, *mHdr))
        faults->push_back("the buffer's HDR info is not the announced one");
    if ((Find<C2StreamHdrStaticInfo::input>(updates) != nullptr) != (hdr != nullptr))
        faults->push_back(hdr != nullptr ? "the display has no HDR info"
                                         : "the display has an HDR info that was not announced");
    Params times;
    view.getPrivateMetadata({C2Param::Type(C2StreamAvTimestampTuning::input::PARAM_TYPE)}, &times);
    const auto* time = Find<C2StreamAvTimestampTuning>(times);
    if (time != nullptr && time->timestamp != output.timestamp)
        faults->push_back("the display's time stamp is " + std::to_string(time->timestamp) +
                          ", the work's " + std::to_string(output.timestamp));
}

}  // namespace lx2::host
