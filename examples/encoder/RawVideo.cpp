#include "RawVideo.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <sstream>

#include "../common/ReadFile.h"

namespace lx2::example {

namespace {

constexpr char kY4m[] = "YUV4MPEG2";

bool IsSide(uint32_t side) {
    return side > 0 && side <= kLargestSide;
}

// A plane of rows without padding into one of an even size.
void Spread(const uint8_t* samples, size_t step, uint32_t width, uint32_t height,
            std::vector<uint16_t>* plane, uint32_t planeWidth) {
    const size_t rows = plane->size() / planeWidth;
    for (size_t y = 0; y < rows; ++y) {
        const uint8_t* row = samples + std::min<size_t>(y, height - 1) * width * step;
        for (size_t x = 0; x < planeWidth; ++x)
            (*plane)[y * planeWidth + x] = row[std::min<size_t>(x, width - 1) * step];
    }
}

}  // namespace

uint64_t RawVideo::frameBytes() const {
    const uint64_t chroma = uint64_t{(mShape.width + 1) / 2} * ((mShape.height + 1) / 2);
    return uint64_t{mShape.width} * mShape.height + 2 * chroma;
}

std::string RawVideo::cutRaw() {
    if (mShape.layout == RawLayout::None || !IsSide(mShape.width) || !IsSide(mShape.height))
        return "is no Y4M file: raw frames need --size and --pixels";
    const uint64_t size = frameBytes();
    for (uint64_t at = 0; at + size <= mBytes.size(); at += size)
        mOffsets.push_back(at);
    const uint64_t rest = mBytes.size() % size;
    return rest == 0 ? ""
                     : "the last frame has " + std::to_string(rest) + " of " +
                           std::to_string(size) + " bytes and is left out";
}

std::string RawVideo::readY4mHeader(const std::string& header) {
    mShape = {RawLayout::I420, 0, 0, 25};
    std::istringstream words(header);
    for (std::string word; words >> word;) {
        const char* end = word.data() + word.size();
        uint32_t value = 0;
        const auto number = std::from_chars(word.data() + 1, end, value);
        if (word[0] == 'W')
            mShape.width = value;
        else if (word[0] == 'H')
            mShape.height = value;
        else if (word[0] == 'F' && number.ptr != end && *number.ptr == ':') {
            uint32_t divisor = 1;
            std::from_chars(number.ptr + 1, end, divisor);
            mShape.rate = std::clamp(value / std::max(divisor, 1u), 1u, 1000u);
        } else if (word[0] == 'C' && (word.rfind("C420", 0) != 0 || word.find('p', 4) == 4) &&
                   word != "C420paldv")
            return "has " + word.substr(1) + " pixels, and only 4:2:0 of 8 bit is taken";
    }
    if (!IsSide(mShape.width) || !IsSide(mShape.height))
        return "has no frame size from 1 to " + std::to_string(kLargestSide);
    return "";
}

std::string RawVideo::cutY4m() {
    const auto end = std::find(mBytes.begin(), mBytes.end(), '\n');
    const std::string problem = readY4mHeader({mBytes.begin() + strlen(kY4m), end});
    if (!problem.empty())
        return problem;
    const uint64_t size = frameBytes();
    for (auto at = end; at != mBytes.end();) {
        const auto line = at + 1;
        if (line == mBytes.end())
            break;
        const auto body = std::find(line, mBytes.end(), '\n');
        const size_t number = mOffsets.size();
        if (std::string(line, body).rfind("FRAME", 0) != 0)
            return "no FRAME line before frame " + std::to_string(number);
        const uint64_t left = body == mBytes.end() ? 0 : mBytes.end() - body - 1;
        if (left < size)
            return "the last frame has " + std::to_string(left) + " of " + std::to_string(size) +
                   " bytes and is left out";
        mOffsets.push_back(body + 1 - mBytes.begin());
        at = body + static_cast<ptrdiff_t>(size);
        if (at + 1 == mBytes.end())
            break;
    }
    return "";
}

std::unique_ptr<RawVideo> RawVideo::Open(const std::string& path, const RawShape& shape,
                                         std::string* error) {
    std::unique_ptr<RawVideo> video(new RawVideo);
    video->mShape = shape;
    std::string problem = ReadFile(path, &video->mBytes);
    if (problem.empty()) {
        const bool y4m = video->mBytes.size() > strlen(kY4m) &&
                         memcmp(video->mBytes.data(), kY4m, strlen(kY4m)) == 0;
        problem = y4m ? video->cutY4m() : video->cutRaw();
    }
    video->mCount = video->mOffsets.size();
    if (video->mCount == 0) {
        *error = path + ": " + (problem.empty() ? "holds no frame" : problem);
        return nullptr;
    }
    video->mDamage = problem.empty() ? "" : path + ": " + problem;
    return video;
}

std::unique_ptr<RawVideo> RawVideo::Make(uint32_t width, uint32_t height, uint32_t frames) {
    std::unique_ptr<RawVideo> video(new RawVideo);
    video->mShape = {RawLayout::None, width, height, 25};
    video->mCount = frames;
    return video;
}

host::Frame RawVideo::frame(size_t index) const {
    const uint32_t evenWidth = mShape.width + mShape.width % 2;
    const uint32_t evenHeight = mShape.height + mShape.height % 2;
    if (mOffsets.empty())
        return host::TestFrame(evenWidth, evenHeight, 8, static_cast<uint32_t>(index));
    host::Frame frame(evenWidth, evenHeight, 8);
    const uint32_t halfWidth = frame.chromaWidth();
    const uint32_t halfHeight = frame.chromaHeight();
    const size_t chroma = size_t{halfWidth} * halfHeight;
    const uint8_t* luma = mBytes.data() + mOffsets[index];
    const uint8_t* first = luma + size_t{mShape.width} * mShape.height;
    const bool pairs = mShape.layout == RawLayout::Nv12;
    const uint8_t* second = first + (pairs ? 1 : chroma);
    if (mShape.layout == RawLayout::Yv12)
        std::swap(first, second);
    const size_t step = pairs ? 2 : 1;
    Spread(luma, 1, mShape.width, mShape.height, &frame.y, evenWidth);
    Spread(first, step, halfWidth, halfHeight, &frame.cb, halfWidth);
    Spread(second, step, halfWidth, halfHeight, &frame.cr, halfWidth);
    return frame;
}

}  // namespace lx2::example
