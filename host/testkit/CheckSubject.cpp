#include "CheckSubject.h"

#include <C2Config.h>
#include <lx2/LX2Buffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Gralloc.h>
#include <lx2host/VideoCore.h>

#include <C2BlockInternal.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace lx2::host {

namespace {

using std::chrono::milliseconds;

constexpr size_t kSlots = 32;
constexpr size_t kMostFaults = 10;  // of a check; the first tell enough
// The platform allows 500 ms for what a flush leaves behind; a loaded machine takes longer.
constexpr milliseconds kFlushPatience{5000};
constexpr milliseconds kShortPatience{2000};

// The frame that a component with graphic input gets.
std::shared_ptr<C2Buffer> PictureBuffer(uint32_t width, uint32_t height, uint32_t index) {
    LX2Buffer buffer(_C2BlockFactory::CreateGraphicBlock(
        AllocateGraphic(width + width % 2, height + height % 2, PixFormat::NV12, 0)));
    LX2Buffer::Graphic& view = *buffer.graphic();
    if (!WriteFrame(view.fd(), view.offset(), view.format(),
                    TestFrame(view.width(), view.height(), 8, index).view()))
        return nullptr;
    view.setCrop(C2Rect(width, height));
    view.setPrivateMetadata({std::make_shared<C2StreamColorAspectsInfo::output>(
        0u, C2Color::RANGE_LIMITED, C2Color::PRIMARIES_BT709, C2Color::TRANSFER_170M,
        C2Color::MATRIX_BT709)});
    return buffer.getSharedBuffer();
}

// The part of the picture that is shown.
PictureView Cropped(PictureView picture, const C2Rect& crop) {
    for (size_t i = 0; i < picture.planes.size(); ++i) {
        const uint32_t step = i == 0 ? 1 : 2;
        picture.planes[i].data +=
            crop.top / step * picture.planes[i].pitch + crop.left / step * picture.sampleBytes;
    }
    picture.width = crop.width;
    picture.height = crop.height;
    return picture;
}

}  // namespace

uint64_t ChecksumOf(const PictureView& picture) {
    uint64_t sum = 0;
    for (size_t i = 0; i < picture.planes.size(); ++i) {
        const uint32_t width = i == 0 ? picture.width : (picture.width + 1) / 2;
        const uint32_t height = i == 0 ? picture.height : (picture.height + 1) / 2;
        for (uint32_t y = 0; y < height; ++y) {
            const uint8_t* row = picture.planes[i].data + y * picture.planes[i].pitch;
            for (uint32_t x = 0; x < width; ++x) {
                const uint32_t sample =
                    picture.sampleBytes == 1 ? row[x] : row[2 * x] | row[2 * x + 1] << 8;
                sum = (sum ^ sample) * 0x100000001b3;  // FNV-1a, a sample a step
            }
        }
    }
    return sum;
}

std::map<std::string, std::unique_ptr<C2Param>> ValuesOf(const C2ComponentInterface& interface) {
    std::map<std::string, std::unique_ptr<C2Param>> values;
    std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors;
    interface.querySupportedParams_nb(&descriptors);
    for (const auto& descriptor : descriptors) {
        std::vector<std::unique_ptr<C2Param>> value;
        interface.query_vb({}, {descriptor->index()}, C2_MAY_BLOCK, &value);
        if (value.size() == 1 && value.front() != nullptr)
            values[descriptor->name()] = std::move(value.front());
    }
    return values;
}

CheckSubject::CheckSubject(std::shared_ptr<C2Component> component, const std::string& mediaType,
                           milliseconds* patience, ComponentCheck* check)
    : mCheck(check), mPatience(patience), mClient(std::move(component)) {
    if (!mediaType.empty()) {
        const auto type = C2PortMediaTypeSetting::input::AllocUnique(mediaType.size() + 1);
        memcpy(type->m.value, mediaType.c_str(), mediaType.size() + 1);
        mClient.config({type.get()});
        if (const auto taken = MediaTypeOf(*mClient.component()->intf()); taken != mediaType)
            fail("takes " + taken + ", not " + mediaType);
    }
    const auto input = mClient.query<C2StreamBufferTypeSetting::input>();
    mTakesPictures = input && input->value == C2BufferData::GRAPHIC;
    useSurface(kSlots);
}

CheckSubject::~CheckSubject() {
    mClient.stop();
    const auto isKept = [](const auto& output) { return !output.expired(); };
    if (std::any_of(mOutputs.begin(), mOutputs.end(), isKept))
        fail("an output buffer is kept after the stop");
    expect("stop and release", mClient.release() != C2_BAD_STATE);
    for (const std::string& failure : mClient.failures())
        fail(failure);
    for (const std::string& warning : mClient.warnings())
        mCheck->warnings.push_back(warning);
}

void CheckSubject::comparePicture(const Client::Output& output) {
    const auto unit = mCoded.find(output.timestamp);
    const auto buffer = LX2Buffer::CreateFromC2Buffer(output.buffer);
    const auto* view = buffer != nullptr ? buffer->graphic() : nullptr;
    if (!comparesPictures || unit == mCoded.end() || view == nullptr)
        return;
    const auto frame =
        ReadFrame(view->fd(), view->offset(), view->format(), view->width(), view->height());
    const C2Rect crop = view->crop();
    const bool rgb =
        view->format() == PixFormat::RGBA8888 || view->format() == PixFormat::RGBA8888_CMPX;
    if (!frame || frame->bitDepth != unit->second->bitDepth || rgb ||
        !C2Rect(frame->width, frame->height).contains(crop))
        return;
    if (ChecksumOf(Cropped(frame->view(), crop)) != unit->second->checksum)
        fail("work " + std::to_string(output.frameIndex) + ": the picture is not the stream's");
}

void CheckSubject::fail(const std::string& what) {
    if (mCheck->faults.size() < kMostFaults)
        mCheck->faults.push_back(what);
}

void CheckSubject::expect(const std::string& what, bool good) {
    if (!good)
        fail(what + " failed");
}

void CheckSubject::expect(const std::string& what, c2_status_t status, c2_status_t wanted) {
    if (status != wanted)
        fail(what + ": " + std::to_string(status) + " in place of " + std::to_string(wanted));
}

void CheckSubject::useSurface(size_t slots) {
    if (!mTakesPictures)
        mSurface = mClient.useSurface(slots);
}

void CheckSubject::setSize(uint32_t width, uint32_t height) {
    mWidth = width;
    mHeight = height;
    C2StreamPictureSizeInfo::input size(0u, width, height);
    mClient.config({&size});
}

void CheckSubject::queue(const Unit* unit, uint32_t flags) {
    Client::Input input;
    input.timestamp = mNextTime;
    mNextTime += 40000;
    input.flags = flags;
    if (mTakesPictures && unit != nullptr) {
        input.buffer = PictureBuffer(mWidth, mHeight, mPictures++);
    } else if (unit != nullptr) {
        // Presentation times differ from the order of decoding; those of another stream follow.
        input.timestamp = mBase + unit->timestamp;
        mNextTime = std::max(mNextTime, input.timestamp + 40000);
        input.buffer = LinearBuffer(unit->bytes.data(), unit->bytes.size());
        if (unit->checksum)
            mCoded[input.timestamp] = unit;
        if (unit->config)
            input.flags |= C2FrameData::FLAG_CODEC_CONFIG;
    }
    // What is behind the last frame has its time.
    expect("queue", mClient.queue(std::move(input)), C2_OK);
    while (!mLosesWork && mClient.pending() > kSlots && collect(*mPatience)) {
    }
}

void CheckSubject::queue(const std::vector<Unit>& units, size_t from, size_t to,
                         uint32_t lastFlags) {
    mBase = mNextTime;
    for (size_t i = from; i < to; ++i)
        queue(&units[i], i + 1 == to ? lastFlags : 0);
}

bool CheckSubject::collect(milliseconds patience) {
    const auto output = mClient.next(patience);
    if (!output) {
        // A component that loses work does so in most checks: they would take minutes.
        mLosesWork = mClient.pending() != 0;
        if (mLosesWork)
            *mPatience = std::min(*mPatience, kShortPatience);
        return false;
    }
    if (output->buffer != nullptr) {
        ++frames;
        comparePicture(*output);
        fromSurface = fromSurface && (mSurface == nullptr || mSurface->slotsOut() > 0);
        mOutputs.emplace_back(output->buffer);
    }
    for (const auto& update : output->updates)
        mUpdates[update->index()] = update;
    if (output->result != C2_OK)
        fail("work " + std::to_string(output->frameIndex) + " failed with " +
             std::to_string(output->result));
    return true;
}

void CheckSubject::finish(milliseconds patience) {
    while (collect(patience)) {
    }
    if (mClient.pending() != 0)
        fail(std::to_string(mClient.pending()) + " works did not come back");
    if (mClient.fatalError() != C2_OK)
        fail("fatal error " + std::to_string(mClient.fatalError()));
}

void CheckSubject::flush() {
    expect("flush", mClient.flush(), C2_OK);
    finish(std::min(*mPatience, kFlushPatience));
}

void CheckSubject::expectUpdatesKept() {
    for (const auto& [name, value] : ValuesOf(*mClient.component()->intf())) {
        const auto update = mUpdates.find(value->index());
        if (update != mUpdates.end() && *update->second != *value)
            fail(name + " is not what the outputs announced");
    }
}

}  // namespace lx2::host
