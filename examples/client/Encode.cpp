#include <lx2/LX2BufferPool.h>
#include <lx2/LX2FileDump.h>
#include <lx2/PixFormat.h>
#include <lx2host/GraphicPools.h>

#include "../component/AvColor.h"
#include "Pictures.h"
#include "Session.h"

namespace lx2::example {

namespace {

// Pictures ahead of those that the encoder holds back.
constexpr size_t kAhead = 4;
// As many as a camera's surface has.
constexpr size_t kSlots = 64;

struct Extension {
    const char* mediaType;
    const char* extension;
};
constexpr Extension kExtensions[] = {{"video/avc", "264"},
                                     {"video/hevc", "265"},
                                     {"video/x-vnd.on2.vp8", "ivf"},
                                     {"video/x-vnd.on2.vp9", "ivf"}};

class Encoding {
  public:
    Encoding(const Options& options, host::Client* client, Report* report)
        : mOptions(options), mClient(client), mReport(report) {}

    void run(Pictures* pictures);
    void summarize(const Pictures& pictures);

  private:
    std::shared_ptr<C2Buffer> fill(const AVFrame& picture, const Pictures& pictures);
    void queue(std::shared_ptr<C2Buffer> buffer, uint64_t timestamp, uint32_t flags);
    bool takeOne();
    void write(const std::shared_ptr<C2Buffer>& unit);

    const Options& mOptions;
    host::Client* const mClient;
    Report* const mReport;
    const std::unique_ptr<LX2GraphicBufferPool> mPool =
        LX2GraphicBufferPool::Create(std::make_shared<host::SlotGraphicPool>(kSlots));
    std::string mMediaType, mFile;
    std::unique_ptr<LX2FileDump> mStream;
    uint64_t mFrames = 0, mUnits = 0, mKeyFrames = 0, mBytes = 0, mConfigBytes = 0;
    size_t mDelay = 0;
};

// A buffer with the picture, and what is known of its colors where the display keeps it.
std::shared_ptr<C2Buffer> Encoding::fill(const AVFrame& picture, const Pictures& pictures) {
    const std::string name = "picture " + std::to_string(mFrames);
    const auto width = static_cast<uint32_t>(picture.width);
    const auto height = static_cast<uint32_t>(picture.height);
    mPool->configure(width, height,
                     picture.format == AV_PIX_FMT_P010LE ? PixFormat::MIREL_P010 : PixFormat::NV12,
                     C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
    std::shared_ptr<LX2Buffer> buffer;
    LX2Status status = mPool->allocate(&buffer);
    while (status == C2_BLOCKING && takeOne())
        status = mPool->allocate(&buffer);
    if (status != C2_OK) {
        mReport->error(name, "there is no buffer for it");
        return nullptr;
    }
    LX2Buffer::Graphic* view = buffer->graphic();
    if (const auto planes = view->mapPlanes()) {
        for (uint32_t i = 0; i < planes.count(); ++i)
            planes.copyFrom(i, picture.data[i], picture.linesize[i]);
    } else {
        mReport->error(name, "its buffer can't be mapped");
        return nullptr;
    }
    view->setCrop(
        C2Rect(static_cast<uint32_t>(pictures.width()), static_cast<uint32_t>(pictures.height())));
    std::vector<std::shared_ptr<C2Info>> infos;
    const C2ColorAspectsStruct aspects = AspectsOf(picture);
    infos.push_back(std::make_shared<C2StreamColorAspectsInfo::output>(
        0u, aspects.range, aspects.primaries, aspects.transfer, aspects.matrix));
    if (const auto hdr = HdrOf(picture))
        infos.push_back(std::make_shared<C2StreamHdrStaticInfo::output>(0u, *hdr));
    if (view->setPrivateMetadata(infos) != C2_OK ||
        view->setPresentationTime(static_cast<uint64_t>(picture.pts)) != C2_OK)
        mReport->error(name, "its metadata can't be written");
    return buffer->getSharedBuffer();
}

void Encoding::queue(std::shared_ptr<C2Buffer> buffer, uint64_t timestamp, uint32_t flags) {
    const c2_status_t status = mClient->queue({std::move(buffer), flags, timestamp});
    if (status != C2_OK)
        mReport->error("work " + std::to_string(mFrames), "not taken: " + std::to_string(status));
}

bool Encoding::takeOne() {
    auto output = mClient->next();
    if (!output)
        return false;
    mReport->check(*output);
    for (const auto& update : output->updates) {
        if (const auto* delay = C2PortActualDelayTuning::output::From(update.get()))
            mDelay = delay->value;
        if (const auto* header = C2StreamInitDataInfo::output::From(update.get())) {
            write(host::LinearBuffer(header->m.value, header->flexCount()));
            mConfigBytes += header->flexCount();
        }
    }
    if (output->buffer == nullptr)
        return true;
    write(output->buffer);
    ++mUnits;
    mReport->progress("unit", mUnits);
    for (const auto& info : output->buffer->info()) {
        const auto* type = C2StreamPictureTypeMaskInfo::output::From(info.get());
        mKeyFrames += type != nullptr && (type->value & C2Config::SYNC_FRAME) != 0 ? 1 : 0;
    }
    return true;
}

void Encoding::write(const std::shared_ptr<C2Buffer>& unit) {
    for (const C2ConstLinearBlock& block : unit->data().linearBlocks())
        mBytes += block.size();
    if (mStream != nullptr && mStream->write(unit) != C2_OK)
        mReport->error("unit " + std::to_string(mUnits), "not written");
}

void Encoding::run(Pictures* pictures) {
    mMediaType = host::MediaTypeOf(*mClient->component()->intf(), true);
    for (const Extension& row : kExtensions)
        mFile = mMediaType == row.mediaType ? std::string("bitstream.") + row.extension : mFile;
    if (mFile.empty())
        mFile = "bitstream.bin";
    if (!mOptions.out.empty())
        LX2FileDump::Create(mMediaType, mOptions.out + "/" + mFile, &mStream);
    bool comes = true;
    while (comes && mClient->fatalError() == C2_OK) {
        const Picture picture = pictures->next();
        if (picture == nullptr)
            break;
        auto buffer = fill(*picture, *pictures);
        if (buffer != nullptr)
            queue(std::move(buffer), static_cast<uint64_t>(picture->pts), 0);
        ++mFrames;
        while (comes && mClient->pending() > mDelay + kAhead)
            comes = takeOne();
    }
    if (mClient->fatalError() == C2_OK)
        queue(nullptr, 0, C2FrameData::FLAG_END_OF_STREAM);
    while (takeOne()) {
    }
    mReport->check(*mClient);
    mReport->errors(pictures->name(), pictures->problems());
    if (mUnits != mFrames)
        mReport->error("the component", "made " + std::to_string(mUnits) + " units of " +
                                            std::to_string(mFrames) + " pictures");
}

void Encoding::summarize(const Pictures& pictures) {
    const AVRational rate = pictures.rate();
    const std::string size =
        std::to_string(pictures.width()) + "x" + std::to_string(pictures.height());
    printf("%s, %s, %d/%d frames a second\n", mMediaType.c_str(), size.c_str(), rate.num, rate.den);
    Report::count("frames", mFrames);
    if (pictures.interlaced() > 0)
        Report::text("interlaced",
                     std::to_string(pictures.interlaced()) + " frames, encoded as progressive");
    if (pictures.scaled() > 0)
        Report::text("scaled", std::to_string(pictures.scaled()) + " frames, to " + size);
    mReport->color(*mClient);
    Report::count("access units", mUnits);
    Report::count("key frames", mKeyFrames);
    Report::count("codec config, bytes", mConfigBytes);
    Report::count("bytes", mBytes);
    if (mUnits > 0)
        Report::count("bits a second",
                      static_cast<uint64_t>(static_cast<double>(mBytes) * 8 * av_q2d(rate) /
                                            static_cast<double>(mUnits)));
    mReport->speed(mFrames);
    mStream.reset();
    if (mOptions.out.empty())
        return;
    const std::string path = mOptions.out + "/" + mFile;
    mReport->checkFile(path, mBytes);
    Report::text("wrote", mFile);
    Report::text("play", "ffplay '" + path + "'");
}

}  // namespace

bool Encode(const Options& options, Parameters* parameters, host::Client* client, Report* report,
            std::string* error) {
    const auto pictures = Pictures::Open(options.file, error);
    if (pictures == nullptr)
        return false;
    const AVRational rate = pictures->rate();
    C2StreamPictureSizeInfo::input size(0u, static_cast<uint32_t>(pictures->width()),
                                        static_cast<uint32_t>(pictures->height()));
    C2StreamFrameRateInfo::output frameRate(0u, static_cast<float>(av_q2d(rate)));
    // The display's record of a buffer does not tell every transfer.
    const C2ColorAspectsStruct aspects = AspectsOf(pictures->first());
    C2StreamColorAspectsInfo::input color(0u, aspects.range, aspects.primaries, aspects.transfer,
                                          aspects.matrix);
    client->config({&size, &frameRate, &color});
    *error = parameters->set(client->component()->intf().get(), options.settings);
    if (!error->empty())
        return false;
    if (const c2_status_t status = client->start(); status != C2_OK) {
        *error = pictures->name() + ": the component does not start for " +
                 std::to_string(size.width) + "x" + std::to_string(size.height) + ": " +
                 std::to_string(status);
        return false;
    }
    Encoding encoding(options, client, report);
    encoding.run(pictures.get());
    encoding.summarize(*pictures);
    return true;
}

}  // namespace lx2::example
