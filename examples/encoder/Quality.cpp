#include "Quality.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace lx2::example {

void Quality::take(const uint8_t* data, size_t size, bool config) {
    mPending.append(reinterpret_cast<const char*>(data), size);
    if (config || !mDecoder.isReady())
        return;
    const std::string unit = std::exchange(mPending, {});
    const std::string problem =
        mDecoder.submit(reinterpret_cast<const uint8_t*>(unit.data()), unit.size(), mFrames, true);
    if (mProblem.empty())
        mProblem = problem;
    compareFinished();
}

void Quality::finish() {
    if (!mDecoder.isReady())
        return;
    mDecoder.drain();
    compareFinished();
}

void Quality::compareFinished() {
    std::string problem;
    while (const auto frame = mDecoder.nextFrame(&problem)) {
        ++mFrames;
        if (mExpected.empty())
            continue;
        compare(frame->picture, mExpected.front());
        mExpected.pop_front();
    }
    if (mProblem.empty())
        mProblem = problem;
}

void Quality::compare(const host::PictureView& picture, const host::Frame& expected) {
    if (picture.width != expected.width || picture.height != expected.height) {
        mProblem = "decodes to another size";
        return;
    }
    const std::vector<uint16_t>* planes[] = {&expected.y, &expected.cb, &expected.cr};
    const uint32_t widths[] = {expected.width, expected.chromaWidth(), expected.chromaWidth()};
    const double scale = picture.bitDepth == 10 ? 0.25 : 1.0;
    for (size_t i = 0; i < 3; ++i) {
        for (size_t at = 0; at < planes[i]->size(); ++at) {
            const uint8_t* row = picture.planes[i].data +
                                 static_cast<ptrdiff_t>(at / widths[i]) * picture.planes[i].pitch;
            uint16_t sample = 0;
            memcpy(&sample, row + at % widths[i] * picture.sampleBytes, picture.sampleBytes);
            const double difference = sample * scale - (*planes[i])[at];
            mSquares += difference * difference;
        }
        mSamples += planes[i]->size();
    }
}

double Quality::psnr() const {
    constexpr double kEqual = 100;
    if (mSamples == 0)
        return 0;
    const double mean = mSquares / static_cast<double>(mSamples);
    return mean == 0 ? kEqual : std::min(kEqual, 10 * std::log10(255 * 255 / mean));
}

}  // namespace lx2::example
