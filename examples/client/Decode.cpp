#include <lx2/LX2Buffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>

#include <deque>
#include <map>

#include "FrameFiles.h"
#include "Input.h"
#include "Session.h"

namespace lx2::example {

namespace {

// Frames that a display keeps: the one that is shown and the one after it.
constexpr size_t kShown = 2;
// Units ahead of those that the decoder holds back.
constexpr size_t kAhead = 4;

class Decoding {
  public:
    Decoding(const Options& options, host::Client* client, Report* report)
        : mClient(client),
          mReport(report),
          mSurface(client->useSurface(options.slots)),
          mFiles(options.out) {}

    void run(Input* input);
    void summarize(const Input& input);

  private:
    void queue(const AVPacket* packet, uint32_t flags);
    bool takeOne();
    void show(std::shared_ptr<C2Buffer> frame);
    void letGo();

    host::Client* const mClient;
    Report* const mReport;
    const std::shared_ptr<host::SlotGraphicPool> mSurface;
    FrameFiles mFiles;
    std::deque<std::shared_ptr<C2Buffer>> mShown;
    std::map<std::string, uint64_t> mFormats;
    uint64_t mUnits = 0, mBytes = 0, mFrames = 0;
    size_t mDelay = 0;
};

void Decoding::queue(const AVPacket* packet, uint32_t flags) {
    host::Client::Input unit;
    unit.flags = flags;
    if (packet != nullptr) {
        unit.timestamp = static_cast<uint64_t>(packet->pts);
        unit.buffer = host::LinearBuffer(packet->data, static_cast<size_t>(packet->size));
        if ((packet->flags & AV_PKT_FLAG_DISCARD) != 0)  // an edit list leaves it out
            unit.flags |= C2FrameData::FLAG_DROP_FRAME;
        ++mUnits;
        mBytes += static_cast<uint64_t>(packet->size);
    }
    const c2_status_t status = mClient->queue(std::move(unit));
    if (status != C2_OK)
        mReport->error("work " + std::to_string(mUnits), "not taken: " + std::to_string(status));
}

bool Decoding::takeOne() {
    auto output = mClient->next();
    if (!output)
        return false;
    mReport->check(*output);
    for (const auto& update : output->updates)
        if (const auto* delay = C2PortActualDelayTuning::output::From(update.get()))
            mDelay = delay->value;
    if (output->buffer != nullptr)
        show(std::move(output->buffer));
    return true;
}

void Decoding::show(std::shared_ptr<C2Buffer> frame) {
    ++mFrames;
    mReport->progress("frame", mFrames);
    {
        const auto wrapped = LX2Buffer::CreateFromC2Buffer(frame);
        const LX2Buffer::Graphic& view = *wrapped->graphic();
        ++mFormats[std::to_string(view.width()) + "x" + std::to_string(view.height()) + " " +
                   PixFormat::Str(view.format())];
    }
    const std::string problem = mFiles.write(frame);
    if (!problem.empty())
        mReport->error("frame " + std::to_string(mFrames), problem);
    mShown.push_back(std::move(frame));
    if (mShown.size() > kShown)
        letGo();
}

// A surface offers a buffer again as soon as it was shown, whoever else still looks at it.
void Decoding::letGo() {
    const auto blocks = mShown.front()->data().graphicBlocks();
    mSurface->offerAgain(host::BufferId(blocks.front().handle()));
    mShown.pop_front();
}

void Decoding::run(Input* input) {
    if (const auto delay = mClient->query<C2PortActualDelayTuning::output>())
        mDelay = delay->value;
    bool comes = true;
    while (comes && mClient->fatalError() == C2_OK) {
        const Packet packet = input->read();
        if (packet == nullptr)
            break;
        queue(packet.get(), 0);
        while (comes && mClient->pending() > mDelay + kAhead)
            comes = takeOne();
    }
    if (mClient->fatalError() == C2_OK)
        queue(nullptr, C2FrameData::FLAG_END_OF_STREAM);
    while (takeOne()) {
    }
    while (!mShown.empty())
        letGo();
    mReport->check(*mClient);
    if (!input->problem().empty())
        mReport->error(input->path(), input->problem());
}

void Decoding::summarize(const Input& input) {
    const std::string media = input.mediaType();
    printf("%s, %llu access units, %llu bytes\n", media.c_str(),
           static_cast<unsigned long long>(mUnits), static_cast<unsigned long long>(mBytes));
    Report::count("frames", mFrames);
    for (const auto& [format, count] : mFormats)
        printf("    %s %llu\n", format.c_str(), static_cast<unsigned long long>(count));
    Report::color(*mClient);
    mFiles.close(mReport);
    for (const std::string& name : mFiles.names())
        Report::text("wrote", name);
    Report::count("frames shown", mFrames);
    mReport->speed(mFrames);
    if (const std::string play = mFiles.playCommand(); !play.empty())
        Report::text("play", play);
}

}  // namespace

bool Decode(const Options& options, Parameters* parameters, host::Client* client, Report* report,
            std::string* error) {
    const auto input =
        Input::Open(options.file.empty() ? SamplePath("avc.264") : options.file, error);
    if (input == nullptr)
        return false;
    if (input->mediaType().empty()) {
        *error = input->path() + ": holds " + input->codecName() + ", which no component decodes";
        return false;
    }
    SetMediaType<C2PortMediaTypeSetting::input>(client, input->mediaType());
    // Frames for files: linear ones, as far as the component has them.
    C2StreamPixelFormatInfo::output linear(0u, PixFormat::MIREL_NV12);
    if (!options.out.empty() && input->bitDepth() == 8)
        client->config({&linear});
    *error = parameters->set(client->component()->intf().get(), options.settings);
    if (!error->empty())
        return false;
    Decoding decoding(options, client, report);
    if (const c2_status_t status = client->start(); status != C2_OK) {
        *error = input->path() + ": the component does not start for " + input->mediaType() + " (" +
                 input->codecName() + "): " + std::to_string(status);
        return false;
    }
    decoding.run(input.get());
    decoding.summarize(*input);
    return true;
}

}  // namespace lx2::example
