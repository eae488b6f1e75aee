#include "Input.h"

#include <sys/stat.h>

extern "C" {
#include <libavutil/common.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace lx2::example {

namespace {

const struct {
    AVCodecID codec;
    const char* mediaType;
    const char* filter;  // to units as a component takes them
} kCodecs[] = {
    {AV_CODEC_ID_H264, "video/avc", "h264_mp4toannexb"},
    {AV_CODEC_ID_HEVC, "video/hevc", "hevc_mp4toannexb"},
    {AV_CODEC_ID_VP8, "video/x-vnd.on2.vp8", "null"},
    {AV_CODEC_ID_VP9, "video/x-vnd.on2.vp9", "null"},
    {AV_CODEC_ID_AV1, "video/av01", "null"},
    {AV_CODEC_ID_MPEG4, "video/mp4v-es", "null"},
    {AV_CODEC_ID_MPEG2VIDEO, "video/mpeg2", "null"},
    {AV_CODEC_ID_H263, "video/3gpp", "null"},
};

const auto* RowOf(AVCodecID codec) {
    for (const auto& row : kCodecs)
        if (row.codec == codec)
            return &row;
    return static_cast<decltype(&kCodecs[0])>(nullptr);
}

std::string CheckFile(const std::string& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0)
        return strerror(errno);
    if (S_ISDIR(info.st_mode))
        return "is a folder";
    if (S_ISREG(info.st_mode) && info.st_size == 0)
        return "is empty";
    return "";
}

}  // namespace

std::string ErrorText(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE];
    return av_make_error_string(text, sizeof(text), error);
}

std::unique_ptr<Input> Input::Open(const std::string& path, std::string* error) {
    std::unique_ptr<Input> input(new Input);
    input->mPath = path;
    std::string problem = CheckFile(path);
    if (problem.empty())
        problem = input->open(path);
    if (problem.empty())
        return input;
    *error = path + ": " + problem;
    return nullptr;
}

std::string Input::open(const std::string& path) {
    AVFormatContext* file = nullptr;
    // Without the protocol a name with a colon would be taken for a URL.
    const int failure = avformat_open_input(&file, ("file:" + path).c_str(), nullptr, nullptr);
    mFile.reset(file);
    if (failure < 0)
        return failure == AVERROR_INVALIDDATA ? "holds nothing that can be read"
                                              : ErrorText(failure);
    avformat_find_stream_info(file, nullptr);
    mVideo = av_find_best_stream(file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (mVideo < 0)
        return "holds no video";
    const AVCodecParameters* coded = stream().codecpar;
    if (coded->codec_id == AV_CODEC_ID_NONE)
        return "holds video of an unknown codec";
    if (coded->width == 0 || coded->height == 0)
        return "holds no picture that can be decoded";
    for (unsigned i = 0; i < file->nb_streams; ++i)
        file->streams[i]->discard =
            static_cast<int>(i) == mVideo ? AVDISCARD_DEFAULT : AVDISCARD_ALL;

    AVBSFContext* filter = nullptr;
    const auto* row = RowOf(coded->codec_id);
    if (av_bsf_list_parse_str(row == nullptr ? "null" : row->filter, &filter) < 0)
        return "the bitstream filter is missing in libavcodec";
    mFilter.reset(filter);
    avcodec_parameters_copy(filter->par_in, coded);
    filter->time_base_in = stream().time_base;
    const int opened = av_bsf_init(filter);
    return opened < 0 ? "is damaged: " + ErrorText(opened) : "";
}

std::string Input::mediaType() const {
    const auto* row = RowOf(stream().codecpar->codec_id);
    return row == nullptr ? "" : row->mediaType;
}

int Input::bitDepth() const {
    const auto* pixels = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(codec().format));
    return pixels == nullptr ? 8 : pixels->comp[0].depth;
}

AVRational Input::rate() const {
    const AVRational rate = av_guess_frame_rate(mFile.get(), mFile->streams[mVideo], nullptr);
    return rate.num > 0 && rate.den > 0 ? rate : AVRational{25, 1};
}

// From the file through the filter.
Packet Input::nextFiltered() {
    Packet packet(av_packet_alloc());
    for (;;) {
        const int filtered = av_bsf_receive_packet(mFilter.get(), packet.get());
        if (filtered == 0)
            return packet;
        if (filtered != AVERROR(EAGAIN))
            return nullptr;
        int status = av_read_frame(mFile.get(), packet.get());
        if (status < 0 && status != AVERROR_EOF)
            mProblem = "is damaged: " + ErrorText(status);
        if (status == 0 && packet->stream_index != mVideo) {
            av_packet_unref(packet.get());
            continue;
        }
        if (status == 0 && (packet->flags & AV_PKT_FLAG_CORRUPT) != 0)
            mProblem = "is cut short or damaged";
        // The last frame of plain pictures is left out without a word when it is not whole.
        const bool plain = stream().codecpar->codec_id == AV_CODEC_ID_RAWVIDEO;
        if (plain && status == AVERROR_EOF && avio_tell(mFile->pb) > mRead)
            mProblem = "the last frame is cut short";
        mRead = packet->pos + packet->size;
        status = av_bsf_send_packet(mFilter.get(), status == 0 ? packet.get() : nullptr);
        if (status < 0) {
            mProblem = "is damaged: " + ErrorText(status);
            av_packet_unref(packet.get());
        }
    }
}

Packet Input::readUnit() {
    const AVRational microseconds{1, 1000000};
    for (;;) {
        if (mTimes != nullptr) {
            if (Packet unit = mTimes->take(false))
                return unit;
        }
        Packet packet = nextFiltered();
        if (packet == nullptr)
            return mTimes == nullptr ? nullptr : mTimes->take(true);
        if (packet->size == 0)
            continue;  // a frame that the encoder dropped
        const AVCodecID codec = stream().codecpar->codec_id;
        const bool reorders = codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
        // Where pictures are reordered the first one waits for its turn: with one time for both it
        // has the time of decoding alone, as programs that copy a raw stream leave it.
        const bool timed = packet->pts != AV_NOPTS_VALUE &&
                           (packet->pts != packet->dts || stream().codecpar->video_delay == 0);
        if (mTimes == nullptr && reorders && !timed && mLastTime == 0)
            mTimes = std::make_unique<DisplayTimes>(codec, rate());
        if (mTimes != nullptr) {
            mTimes->put(std::move(packet));
            continue;
        }
        const int64_t time = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        // Below zero where pictures come before it.
        const int64_t start = stream().start_time == AV_NOPTS_VALUE ? 0 : stream().start_time;
        packet->pts = time == AV_NOPTS_VALUE
                          ? mLastTime + 1
                          : av_rescale_q(av_sat_sub64(time, std::min<int64_t>(start, 0)),
                                         mFilter->time_base_out, microseconds);
        return packet;
    }
}

Packet Input::read() {
    Packet packet = readUnit();
    if (packet != nullptr)
        mLastTime = packet->pts;
    return packet;
}

}  // namespace lx2::example
