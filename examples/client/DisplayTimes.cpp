#include "DisplayTimes.h"

#include <algorithm>
#include <set>
#include <utility>

namespace lx2::example {

namespace {

// Decoders reorder 16 pictures at most, which may have two fields each.
constexpr size_t kWindow = 33;

}  // namespace

DisplayTimes::DisplayTimes(AVCodecID codec, AVRational rate)
    : mParser(av_parser_init(codec), &av_parser_close),
      mContext(avcodec_alloc_context3(avcodec_find_decoder(codec))),
      mRate(rate) {
    if (mParser != nullptr)
        mParser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
}

void DisplayTimes::put(Packet packet) {
    uint8_t* parsed = nullptr;
    int size = 0;
    if (mParser != nullptr)
        av_parser_parse2(mParser.get(), mContext.get(), &parsed, &size, packet->data, packet->size,
                         AV_NOPTS_VALUE, AV_NOPTS_VALUE, -1);
    const int64_t order = mParser != nullptr ? mParser->output_picture_number : 0;
    // A key frame that is shown before pictures read earlier is counted from zero.
    const bool first = (packet->flags & AV_PKT_FLAG_KEY) != 0 && order <= mLargest;
    mLargest = first ? order : std::max(mLargest, order);
    mUnits.push_back({std::move(packet), first || mUnits.empty(), order});
}

// Looks at the units of the sequence that are there: how far apart pictures are, and how many come
// before the key frame.
void DisplayTimes::beginSequence() {
    std::set<int64_t> orders;
    for (size_t i = 0; i < mUnits.size() && (i == 0 || !mUnits[i].first); ++i)
        orders.insert(mUnits[i].order);
    mStep = INT64_MAX;
    for (auto next = std::next(orders.begin()); next != orders.end(); ++next)
        mStep = std::min(mStep, *next - *std::prev(next));
    mStep = mStep == INT64_MAX ? 1 : mStep;
    mBase = mShown - *orders.begin() / mStep;
}

Packet DisplayTimes::take(bool atEnd) {
    if (mUnits.empty() || (!atEnd && mUnits.size() < kWindow))
        return nullptr;
    if (mUnits.front().first)
        beginSequence();
    Unit unit = std::move(mUnits.front());
    mUnits.pop_front();
    const int64_t shown = mBase + unit.order / mStep;
    mShown = std::max(mShown, shown + 1);
    unit.packet->pts = av_rescale_q(shown, {mRate.den, mRate.num}, {1, 1000000});
    return std::move(unit.packet);
}

}  // namespace lx2::example
