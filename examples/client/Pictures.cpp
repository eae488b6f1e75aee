#include "Pictures.h"

#include <lx2host/VideoCore.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstring>
#include <utility>

namespace lx2::example {

namespace {

constexpr int kMadeWidth = 320, kMadeHeight = 192;
constexpr uint64_t kMadePictures = 60;

// Repeats the last column of an odd width and the last row of an odd height. Chroma has as many
// samples as the even size.
void PadLuma(AVFrame* picture, int width, int height, int sampleBytes) {
    const auto bytes = static_cast<size_t>(sampleBytes);
    uint8_t* row = picture->data[0];
    for (int y = 0; y < height; ++y, row += picture->linesize[0])
        if (width % 2 != 0)
            memcpy(row + width * sampleBytes, row + (width - 1) * sampleBytes, bytes);
    if (height % 2 != 0)
        memcpy(row, row - picture->linesize[0], static_cast<size_t>(width + width % 2) * bytes);
}

}  // namespace

std::unique_ptr<Pictures> Pictures::Open(const std::string& file, std::string* error) {
    auto pictures = std::make_unique<Pictures>();
    pictures->mName = file.empty() ? "a moving picture" : file;
    if (!file.empty()) {
        pictures->mInput = Input::Open(file, error);
        if (pictures->mInput == nullptr)
            return nullptr;
        pictures->mDecoder = AvDecoder::Open(*pictures->mInput);
        if (pictures->mDecoder == nullptr) {
            *error = file + ": holds " + pictures->mInput->codecName() +
                     ", which libavcodec does not decode";
            return nullptr;
        }
        pictures->mRate = pictures->mInput->rate();
    }
    pictures->mAhead = pictures->next();
    if (pictures->mAhead != nullptr)
        return pictures;
    *error = file + ": no picture can be decoded";
    return nullptr;
}

Picture Pictures::make() {
    if (mCount == kMadePictures)
        return nullptr;
    const auto made = host::TestFrame(kMadeWidth, kMadeHeight, 8, static_cast<uint32_t>(mCount));
    Picture frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = kMadeWidth;
    frame->height = kMadeHeight;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        return nullptr;
    const std::vector<uint16_t>* planes[] = {&made.y, &made.cb, &made.cr};
    for (int plane = 0; plane < 3; ++plane) {
        const int width = plane == 0 ? kMadeWidth : kMadeWidth / 2;
        const uint16_t* samples = planes[plane]->data();
        for (int y = 0; y < (plane == 0 ? kMadeHeight : kMadeHeight / 2); ++y, samples += width)
            std::transform(samples, samples + width,
                           frame->data[plane] + y * frame->linesize[plane],
                           [](uint16_t sample) { return static_cast<uint8_t>(sample); });
    }
    frame->best_effort_timestamp =
        av_rescale_q(static_cast<int64_t>(mCount), av_inv_q(mRate), {1, 1000000});
    return frame;
}

Picture Pictures::decode() {
    for (;;) {
        Picture frame = mDecoder->next();
        if (frame != nullptr || mAtEnd)
            return frame;
        const Packet packet = mInput->read();
        mAtEnd = packet == nullptr;
        mDecoder->send(packet.get());
    }
}

// Makes a scaler that leaves the range of the samples as it is.
bool Pictures::prepare(const AVFrame& frame) {
    const bool same = mScaler != nullptr && mSource.format == frame.format &&
                      mSource.width == frame.width && mSource.height == frame.height &&
                      mSource.range == frame.color_range;
    if (same)
        return true;
    mSource = {frame.format, frame.width, frame.height, frame.color_range};
    const auto format = static_cast<AVPixelFormat>(frame.format);
    mScaler.reset(sws_getContext(frame.width, frame.height, format, mWidth, mHeight, mFormat,
                                 SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr));
    if (mScaler == nullptr)
        return false;
    const bool rgb = (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const int full = frame.color_range == AVCOL_RANGE_JPEG && !rgb ? 1 : 0;
    const int* rule = sws_getCoefficients(SWS_CS_DEFAULT);
    sws_setColorspaceDetails(mScaler.get(), rule, full, rule, full, 0, 1 << 16, 1 << 16);
    return true;
}

Picture Pictures::convert(const AVFrame& frame) {
    if (mFormat == AV_PIX_FMT_NONE) {
        const auto* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
        mFormat = pixels->comp[0].depth > 8 ? AV_PIX_FMT_P010LE : AV_PIX_FMT_NV12;
        mWidth = frame.width;
        mHeight = frame.height;
    }
    mScaled += frame.width != mWidth || frame.height != mHeight ? 1 : 0;
    mInterlaced += frame.interlaced_frame != 0 ? 1 : 0;
    Picture picture(av_frame_alloc());
    picture->format = mFormat;
    picture->width = mWidth + mWidth % 2;
    picture->height = mHeight + mHeight % 2;
    if (!prepare(frame) || av_frame_get_buffer(picture.get(), 0) < 0 ||
        av_frame_copy_props(picture.get(), &frame) < 0)
        return nullptr;
    if (frame.colorspace == AVCOL_SPC_RGB) {  // converted by the scaler's own rule
        picture->colorspace = AVCOL_SPC_SMPTE170M;
        picture->color_range = AVCOL_RANGE_MPEG;
    }
    sws_scale(mScaler.get(), frame.data, frame.linesize, 0, frame.height, picture->data,
              picture->linesize);
    PadLuma(picture.get(), mWidth, mHeight, mFormat == AV_PIX_FMT_P010LE ? 2 : 1);
    // Without a time of its own, or with one that goes back, it follows the one before.
    const int64_t step = av_rescale_q(1, av_inv_q(mRate), {1, 1000000});
    const int64_t time = frame.best_effort_timestamp;
    picture->pts =
        time == AV_NOPTS_VALUE || time <= mLastTime ? mLastTime + std::max<int64_t>(step, 1) : time;
    mLastTime = picture->pts;
    return picture;
}

Picture Pictures::next() {
    if (mAhead != nullptr)
        return std::move(mAhead);
    const Picture frame = mInput == nullptr ? make() : decode();
    if (frame == nullptr)
        return nullptr;
    ++mCount;
    return convert(*frame);
}

std::vector<std::string> Pictures::problems() const {
    std::vector<std::string> problems;
    if (mDecoder != nullptr && mDecoder->damaged() > 0)
        problems.push_back(std::to_string(mDecoder->damaged()) + " pictures are damaged");
    if (mInput != nullptr && !mInput->problem().empty())
        problems.push_back(mInput->problem());
    return problems;
}

}  // namespace lx2::example
