// libavcodec and the host's video core in the part of the video hardware.
#include "DecoderHardware.h"

#include <C2AllocatorGralloc.h>
#include <dlfcn.h>
#include <lx2/LX2StreamParser.h>
#include <lx2host/VideoCore.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <map>
#include <utility>

#include "../component/AvColor.h"
#include "../component/AvPicture.h"
#include "../component/AvPointers.h"

namespace lx2::example {

namespace {

// A unit that nothing has been told of. Every picture that was begun of it shares it: once none is
// left, none is going to be shown.
struct Unit {
    bool damaged = false;
};

struct CodecRow {
    const char* mediaType;
    AVCodecID id;
    bool reorders;
};
constexpr CodecRow kCodecs[] = {
    {"video/avc", AV_CODEC_ID_H264, true},
    {"video/hevc", AV_CODEC_ID_HEVC, true},
    {"video/x-vnd.on2.vp8", AV_CODEC_ID_VP8, false},
    {"video/x-vnd.on2.vp9", AV_CODEC_ID_VP9, false},
};

// How far back a drained stream can be taken up again.
constexpr size_t kMostUnitsKept = 600;
constexpr int64_t kReplayed = -1;  // in place of a unit's number

bool IsKnown(int format) {
    return format == AV_PIX_FMT_YUV420P || format == AV_PIX_FMT_YUVJ420P ||
           format == AV_PIX_FMT_YUV420P10LE;
}

// Whether no picture may come of a unit: one that leads a random access point and refers to what
// was before (RASL), or the end of a sequence alone. libavcodec tells of neither these nor of units
// in which damage has left no picture.
bool MaySkip(const uint8_t* data, size_t size) {
    for (const LX2NalUnit& unit :
         LX2NalUnits<LX2HEVCStreamParser>(data, static_cast<uint32_t>(size))) {
        if (unit.type == 8 || unit.type == 9 || unit.type == 36 || unit.type == 37)
            return true;
    }
    return false;
}

// The picture with its last column and row of luma once more; chroma has as many of an even size.
Picture EvenSized(const AVFrame& frame, size_t sampleBytes) {
    Picture even(av_frame_alloc());
    if (even == nullptr)
        return nullptr;
    even->format = frame.format;
    even->width = frame.width + frame.width % 2;
    even->height = frame.height + frame.height % 2;
    if (av_frame_get_buffer(even.get(), 0) < 0 || av_frame_copy(even.get(), &frame) < 0)
        return nullptr;
    const size_t rowBytes = static_cast<size_t>(frame.width) * sampleBytes;
    uint8_t* row = even->data[0];
    for (int y = 0; y < frame.height; ++y, row += even->linesize[0])
        if (frame.width % 2 != 0)
            memcpy(row + rowBytes, row + rowBytes - sampleBytes, sampleBytes);
    if (frame.height % 2 != 0)
        memcpy(row, row - even->linesize[0], static_cast<size_t>(even->width) * sampleBytes);
    return even;
}

class Hardware final : public DecoderHardware {
  public:
    bool open(const CodecRow& codec, uint32_t threads);

    void submit(const uint8_t* data, size_t size, uint64_t unit) override;
    std::optional<DecodedUnit> next() override;
    uint32_t delay() const override;
    void drain(bool endsStream) override;
    void flush() override;
    bool write(const DecodedUnit& decoded, const LX2Buffer::Graphic& target) override;
    void stamp(const C2Buffer& buffer, uint64_t timestamp) override;

  private:
    static int GetBuffer(AVCodecContext* context, AVFrame* frame, int flags);
    static void NoteComplaint(void* object, int level, const char* format, va_list arguments);

    void collect();
    void tell(Picture frame);
    void settle();
    void replay();
    void forgetUnitsBefore(int64_t number);

    bool mReorders = false;
    Context mContext;
    Picture mFrame;
    std::atomic<bool> mComplained{false};  // libavcodec did, in its log
    std::shared_ptr<Unit> mCurrent;        // that is being decoded
    std::map<int64_t, std::shared_ptr<Unit>> mUnits;
    std::deque<DecodedUnit> mDone;
    // Since the key frame before the last one: pictures that lead a key frame refer to that one.
    std::deque<Packet> mKept;
    int64_t mKeyFrame = 0;
};

// Of damaged H.265 libavcodec conceals what it can and tells nothing but its log.
void Hardware::NoteComplaint(void* object, int level, const char*, va_list) {
    if (object == nullptr || level > AV_LOG_ERROR ||
        *static_cast<const AVClass* const*>(object) != avcodec_get_class())
        return;
    const auto* context = static_cast<const AVCodecContext*>(object);
    if (context->opaque != nullptr && context->codec_id == AV_CODEC_ID_HEVC)
        static_cast<Hardware*>(context->opaque)->mComplained = true;
}

// Ties a picture to its unit.
int Hardware::GetBuffer(AVCodecContext* context, AVFrame* frame, int flags) {
    const int error = avcodec_default_get_buffer2(context, frame, flags);
    if (error < 0)
        return error;
    auto* shared = new std::shared_ptr<Unit>(static_cast<Hardware*>(context->opaque)->mCurrent);
    const auto release = [](void* pointer, uint8_t*) {
        delete static_cast<std::shared_ptr<Unit>*>(pointer);
    };
    frame->opaque_ref =
        av_buffer_create(reinterpret_cast<uint8_t*>(shared), sizeof(*shared), release, shared, 0);
    if (frame->opaque_ref == nullptr)
        release(shared, nullptr);
    return 0;
}

bool Hardware::open(const CodecRow& codec, uint32_t threads) {
    av_log_set_callback(&NoteComplaint);
    mReorders = codec.reorders;
    const AVCodec* decoder = avcodec_find_decoder(codec.id);
    mContext.reset(avcodec_alloc_context3(decoder));
    mFrame.reset(av_frame_alloc());
    if (decoder == nullptr || mContext == nullptr || mFrame == nullptr)
        return false;
    mContext->opaque = this;
    mContext->thread_count = static_cast<int>(threads);
    mContext->thread_type = FF_THREAD_SLICE;  // no thread holds a unit back
    if (mReorders)
        mContext->get_buffer2 = &GetBuffer;
    // Where an H.264 stream does not say how long pictures wait for their turn they wait as long as
    // its level allows: after a guess that is too short, pictures that come late are dropped.
    mContext->strict_std_compliance = FF_COMPLIANCE_STRICT;
    return avcodec_open2(mContext.get(), decoder, nullptr) == 0;
}

void Hardware::submit(const uint8_t* data, size_t size, uint64_t number) {
    mCurrent = std::make_shared<Unit>();
    mUnits[static_cast<int64_t>(number)] = mCurrent;
    mComplained = false;
    Packet packet(av_packet_alloc());
    int error = AVERROR(ENOMEM);
    if (packet != nullptr && av_new_packet(packet.get(), static_cast<int>(size)) == 0) {
        memcpy(packet->data, data, size);
        packet->pts = static_cast<int64_t>(number);
        error = avcodec_send_packet(mContext.get(), packet.get());
        if (mReorders)
            mKept.push_back(std::move(packet));
        if (mKept.size() > kMostUnitsKept)
            mKept.clear();
    }
    mCurrent->damaged = error < 0 || mComplained;
    const bool begun = mCurrent.use_count() > 2;  // beside this and the unit itself
    if (!begun && mContext->codec_id == AV_CODEC_ID_HEVC && !MaySkip(data, size))
        mCurrent->damaged = true;
    collect();
    mCurrent.reset();
    settle();
}

void Hardware::collect() {
    while (avcodec_receive_frame(mContext.get(), mFrame.get()) == 0) {
        Picture frame(av_frame_alloc());
        if (frame != nullptr) {
            av_frame_move_ref(frame.get(), mFrame.get());
            tell(std::move(frame));
        }
        av_frame_unref(mFrame.get());
    }
}

void Hardware::tell(Picture frame) {
    const int64_t number = frame->pts;
    const bool again = !mDone.empty() && mDone.back().unit == static_cast<uint64_t>(number);
    const auto found = mUnits.find(number);
    if (found == mUnits.end() && !again)
        return;
    if (again)
        mDone.back().more = true;
    DecodedUnit decoded;
    decoded.unit = static_cast<uint64_t>(number);
    decoded.keyFrame = frame->key_frame != 0;
    decoded.damaged = (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 ||
                      frame->decode_error_flags != 0 ||
                      (found != mUnits.end() && found->second->damaged);
    decoded.width = static_cast<uint32_t>(frame->width);
    decoded.height = static_cast<uint32_t>(frame->height);
    decoded.bitDepth = frame->format == AV_PIX_FMT_YUV420P10LE ? 10 : 8;
    decoded.aspects = AspectsOf(*frame);
    decoded.hdr = HdrOf(*frame);
    if (decoded.keyFrame)
        forgetUnitsBefore(std::exchange(mKeyFrame, number));
    if (IsKnown(frame->format))
        decoded.picture = std::shared_ptr<AVFrame>(std::move(frame));
    else
        decoded.status = C2_OMITTED;
    if (found != mUnits.end())
        mUnits.erase(found);
    mDone.push_back(std::move(decoded));
}

void Hardware::forgetUnitsBefore(int64_t number) {
    while (!mKept.empty() && mKept.front()->pts < number)
        mKept.pop_front();
}

// Tells of units of which no picture is left.
void Hardware::settle() {
    for (auto each = mUnits.begin(); each != mUnits.end();) {
        if (each->second.use_count() > 1) {
            ++each;
            continue;
        }
        DecodedUnit none;
        none.unit = static_cast<uint64_t>(each->first);
        none.status = each->second->damaged ? C2_CORRUPTED : C2_OK;
        mDone.push_back(std::move(none));
        each = mUnits.erase(each);
    }
}

std::optional<DecodedUnit> Hardware::next() {
    if (mDone.empty())
        return std::nullopt;
    DecodedUnit decoded = std::move(mDone.front());
    mDone.pop_front();
    return decoded;
}

// Beside the pictures that wait there is one whose second field is still to come.
uint32_t Hardware::delay() const {
    return mReorders ? static_cast<uint32_t>(mContext->has_b_frames) + 1 : 0;
}

void Hardware::drain(bool endsStream) {
    if (!endsStream && mUnits.empty())
        return;
    avcodec_send_packet(mContext.get(), nullptr);
    collect();
    avcodec_flush_buffers(mContext.get());
    settle();
    if (endsStream)
        mKept.clear();
    else
        replay();
}

// libavcodec gives out what waits at the end of a stream alone. To go on it gets the units that are
// kept again, whose pictures are known already.
void Hardware::replay() {
    for (const Packet& packet : mKept) {
        const int64_t number = std::exchange(packet->pts, kReplayed);
        avcodec_send_packet(mContext.get(), packet.get());
        collect();
        packet->pts = number;
    }
}

void Hardware::flush() {
    avcodec_flush_buffers(mContext.get());
    mUnits.clear();
    mDone.clear();
    mKept.clear();
}

// The video core writes through its own mapping: the CPU has no part in it.
bool Hardware::write(const DecodedUnit& decoded, const LX2Buffer::Graphic& target) {
    const auto* frame = static_cast<const AVFrame*>(decoded.picture.get());
    Picture even;
    if (frame->width % 2 != 0 || frame->height % 2 != 0) {
        even = EvenSized(*frame, decoded.bitDepth == 10 ? 2 : 1);
        frame = even.get();
    }
    return frame != nullptr &&
           host::WriteFrame(target.fd(), target.offset(), target.format(), ViewOf(*frame));
}

// Through the library that the process has loaded for the display's metadata.
void Hardware::stamp(const C2Buffer& buffer, uint64_t timestamp) {
    using SetMetadata = int (*)(void* handle, int type, void* data);
    constexpr int kAvTimestampType = 1;
    const auto set = reinterpret_cast<SetMetadata>(dlsym(RTLD_DEFAULT, "setMetaDataAndUnmap"));
    native_handle_t* record =
        android::UnwrapNativeCodec2GrallocHandle(buffer.data().graphicBlocks().front().handle());
    if (set != nullptr && record != nullptr)
        set(record, kAvTimestampType, &timestamp);
    if (record != nullptr)
        native_handle_delete(record);
}

}  // namespace

std::unique_ptr<DecoderHardware> DecoderHardware::Open(const std::string& mediaType,
                                                       uint32_t threads) {
    for (const CodecRow& codec : kCodecs) {
        if (mediaType == codec.mediaType) {
            auto hardware = std::make_unique<Hardware>();
            return hardware->open(codec, threads) ? std::move(hardware) : nullptr;
        }
    }
    return nullptr;
}

}  // namespace lx2::example
