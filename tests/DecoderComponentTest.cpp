// The decoder component as a client has it: loaded from its library, and driven with work.
#include <C2Component.h>
#include <C2ComponentFactory.h>
#include <C2Config.h>
#include <C2PlatformSupport.h>
#include <dlfcn.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/PixFormat.h>
#include <lx2/ReflectedParamUpdater.h>
#include <lx2host/BlockPools.h>
#include <lx2host/GraphicPools.h>
#include <lx2host/OpenResources.h>
#include <lx2host/VideoCore.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <random>
#include <thread>

#include "Fixture.h"
#include "decoder/DecoderParams.h"

namespace lx2::test {

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<uint8_t>;
constexpr auto kLongest = std::chrono::seconds(30);
constexpr uint32_t kEos = C2FrameData::FLAG_END_OF_STREAM;
constexpr uint32_t kConfig = C2FrameData::FLAG_CODEC_CONFIG;
constexpr uint32_t kIncomplete = C2FrameData::FLAG_INCOMPLETE;

struct Clip {
    std::string mediaType;
    std::vector<Bytes> units;
    std::vector<size_t> keys;  // units that are key frames
    std::vector<host::Frame> frames;
};

host::Frame FrameOf(const AVFrame& from) {
    host::Frame frame(from.width, from.height, from.format == AV_PIX_FMT_YUV420P10LE ? 10 : 8);
    const auto copy = [&](int plane, uint32_t width, uint32_t height, std::vector<uint16_t>* to) {
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const uint8_t* row = from.data[plane] + y * from.linesize[plane];
                (*to)[y * width + x] =
                    frame.bitDepth == 8 ? row[x] : reinterpret_cast<const uint16_t*>(row)[x];
            }
    };
    copy(0, frame.width, frame.height, &frame.y);
    copy(1, frame.chromaWidth(), frame.chromaHeight(), &frame.cb);
    copy(2, frame.chromaWidth(), frame.chromaHeight(), &frame.cr);
    return frame;
}

// A sample, cut into units by libavformat and decoded by libavcodec alone.
Clip ReadClip(const char* name) {
    Clip clip;
    AVFormatContext* file = nullptr;
    const std::string path = std::string(LX2_SAMPLES_DIR) + "/" + name;
    if (avformat_open_input(&file, path.c_str(), nullptr, nullptr) != 0)
        return clip;
    avformat_find_stream_info(file, nullptr);
    const AVCodecID id = file->streams[0]->codecpar->codec_id;
    clip.mediaType = id == AV_CODEC_ID_H264   ? "video/avc"
                     : id == AV_CODEC_ID_HEVC ? "video/hevc"
                     : id == AV_CODEC_ID_VP8  ? "video/x-vnd.on2.vp8"
                                              : "video/x-vnd.on2.vp9";
    AVCodecContext* decoder = avcodec_alloc_context3(avcodec_find_decoder(id));
    avcodec_open2(decoder, nullptr, nullptr);
    AVPacket* packet = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    const auto decode = [&](const AVPacket* unit) {
        avcodec_send_packet(decoder, unit);
        while (avcodec_receive_frame(decoder, frame) == 0)
            clip.frames.push_back(FrameOf(*frame));
    };
    while (av_read_frame(file, packet) == 0) {
        if ((packet->flags & AV_PKT_FLAG_KEY) != 0)
            clip.keys.push_back(clip.units.size());
        clip.units.emplace_back(packet->data, packet->data + packet->size);
        decode(packet);
        av_packet_unref(packet);
    }
    decode(nullptr);
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&decoder);
    avformat_close_input(&file);
    return clip;
}

const Clip& ClipOf(const char* name) {
    static std::map<std::string, Clip> clips;
    auto& clip = clips[name];
    if (clip.units.empty())
        clip = ReadClip(name);
    return clip;
}

// What came back.
struct Returned {
    uint64_t index = 0;
    uint64_t timestamp = 0;
    uint32_t flags = 0;
    c2_status_t result = C2_OK;
    std::shared_ptr<C2Buffer> buffer;
    std::vector<uint32_t> updates;  // indices
};

std::optional<host::Frame> Shown(const std::shared_ptr<C2Buffer>& buffer) {
    const auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer);
    const LX2Buffer::Graphic& view = *wrapped->graphic();
    return host::ReadFrame(view.fd(), view.offset(), view.format(), view.effectiveWidth(),
                           view.effectiveHeight());
}

class Client : public C2Component::Listener {
  public:
    void onWorkDone_nb(std::weak_ptr<C2Component>,
                       std::list<std::unique_ptr<C2Work>> works) override {
        std::lock_guard<std::mutex> guard(mLock);
        for (const auto& work : works)
            take(*work);
        mChanged.notify_all();
    }
    void onTripped_nb(std::weak_ptr<C2Component>,
                      std::vector<std::shared_ptr<C2SettingResult>>) override {}
    void onError_nb(std::weak_ptr<C2Component>, uint32_t code) override {
        std::lock_guard<std::mutex> guard(mLock);
        errors.push_back(code);
        mChanged.notify_all();
    }

    template <typename Condition>
    bool wait(Condition condition) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kLongest, condition);
    }
    // Until so many works have come back as a whole.
    bool waitFor(size_t works) {
        return wait([&] { return whole >= works; });
    }

    std::vector<Returned> returned;
    std::vector<host::Frame> frames;
    std::vector<uint32_t> errors;
    size_t whole = 0;
    size_t kept = 0;  // the first buffers, which the client does not give back

  private:
    void take(const C2Work& work) {
        const C2FrameData& output = work.worklets.front()->output;
        Returned back{output.ordinal.frameIndex.peekull(),
                      output.ordinal.timestamp.peekull(),
                      output.flags,
                      work.result,
                      nullptr,
                      {}};
        EXPECT_EQ(work.workletsProcessed, 1u);
        for (const auto& buffer : work.input.buffers)
            EXPECT_EQ(buffer, nullptr);
        for (const auto& update : output.configUpdate)
            back.updates.push_back(update->index());
        if (!output.buffers.empty()) {
            if (const auto frame = Shown(output.buffers.front()))
                frames.push_back(*frame);
            if (frames.size() <= kept)
                back.buffer = output.buffers.front();
        }
        whole += (back.flags & kIncomplete) == 0 ? 1 : 0;
        returned.push_back(std::move(back));
    }

    std::mutex mLock;
    std::condition_variable mChanged;
};

class DecoderComponentTest : public Fixture {
  protected:
    DecoderComponentTest() {
        void* library = dlopen(LX2_DECODER, RTLD_NOW | RTLD_LOCAL);
        const auto create = reinterpret_cast<C2ComponentFactory::CreateCodec2FactoryFunc>(
            dlsym(library, "CreateCodec2Factory"));
        const auto destroy = reinterpret_cast<C2ComponentFactory::DestroyCodec2FactoryFunc>(
            dlsym(library, "DestroyCodec2Factory"));
        C2ComponentFactory* factory = create();
        EXPECT_EQ(factory->createComponent(1, &component), C2_OK);
        destroy(factory);
        dlclose(library);  // the component needs it still
        EXPECT_EQ(component->setListener_vb(client, C2_DONT_BLOCK), C2_OK);
    }

    void open(const Clip& clip) {
        const auto type = C2PortMediaTypeSetting::input::AllocUnique(clip.mediaType.size() + 1);
        memcpy(type->m.value, clip.mediaType.c_str(), clip.mediaType.size() + 1);
        config({type.get()});
        ASSERT_EQ(component->start(), C2_OK);
    }
    // A new client and a new start.
    void again(const Clip& clip) {
        client = std::make_shared<Client>();
        queued = 0;
        EXPECT_EQ(component->setListener_vb(client, C2_DONT_BLOCK), C2_OK);
        open(clip);
    }
    void config(const std::vector<C2Param*>& params) {
        std::vector<std::unique_ptr<C2SettingResult>> failures;
        EXPECT_EQ(component->intf()->config_vb(params, C2_MAY_BLOCK, &failures), C2_OK);
    }

    void usePool(const std::shared_ptr<C2BlockPool>& pool) {
        const auto ids = C2PortBlockPoolsTuning::output::AllocUnique(1);
        ids->m.values[0] = host::RegisterBlockPool(pool, component);
        config({ids.get()});
    }

    // As a framework does with settings that it has as text.
    void set(const ReflectedParamUpdater::Message& message) {
        std::vector<std::shared_ptr<C2ParamDescriptor>> descriptors;
        EXPECT_EQ(component->intf()->querySupportedParams_nb(&descriptors), C2_OK);
        ReflectedParamUpdater updater;
        updater.addParamDesc(android::GetCodec2PlatformComponentStore()->getParamReflector(),
                             descriptors);
        std::vector<C2Param::Index> indices;
        updater.getParamIndicesFromMessage(message, &indices);
        std::vector<std::unique_ptr<C2Param>> params;
        EXPECT_EQ(component->intf()->query_vb({}, indices, C2_MAY_BLOCK, &params), C2_OK);
        updater.updateParamsFromMessage(message, &params);
        std::vector<C2Param*> pointers;
        for (const auto& param : params)
            pointers.push_back(param.get());
        EXPECT_EQ(pointers.size(), message.size() - 1);  // two keys of one
        config(pointers);
    }

    // Queues one work; no buffer without a unit.
    void queue(const Bytes* unit, uint32_t flags = 0) {
        auto work = std::make_unique<C2Work>();
        work->input.flags = C2FrameData::flags_t(flags);
        work->input.ordinal.frameIndex = queued;
        work->input.ordinal.timestamp = 40000 * queued++;
        work->worklets.push_back(std::make_unique<C2Worklet>());
        if (unit != nullptr)
            work->input.buffers.push_back(bufferOf(*unit));
        std::list<std::unique_ptr<C2Work>> list;
        list.push_back(std::move(work));
        ASSERT_EQ(component->queue_nb(&list), C2_OK);
        EXPECT_TRUE(list.empty());
    }
    void queue(const Clip& clip, size_t from, size_t to, uint32_t lastFlags = 0) {
        for (size_t i = from; i < to; ++i)
            queue(&clip.units[i], i + 1 == to ? lastFlags : 0);
    }
    std::shared_ptr<C2Buffer> bufferOf(const Bytes& unit) {
        std::shared_ptr<C2BlockPool> blocks;
        android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &blocks);
        LX2LinearBufferPool pool(blocks,
                                 C2MemoryUsage::CPU_READ | uint64_t{C2MemoryUsage::CPU_WRITE});
        pool.setBufferSize(std::max<uint32_t>(unit.size(), 1));
        std::shared_ptr<LX2Buffer> buffer;
        EXPECT_EQ(pool.allocate(&buffer), C2_OK);
        std::copy(unit.begin(), unit.end(), buffer->linear()->map()->data());
        buffer->linear()->setRange(0, unit.size());
        return buffer->getSharedBuffer();
    }
    size_t flush() {
        std::list<std::unique_ptr<C2Work>> works;
        EXPECT_EQ(component->flush_sm(C2Component::FLUSH_COMPONENT, &works), C2_OK);
        return works.size();
    }
    // Each work once, with what was given with it, the frames in the order of display.
    void expectAll(const Clip& clip) {
        ASSERT_TRUE(client->waitFor(queued)) << client->whole << " of " << queued;
        std::vector<uint64_t> indices;
        for (const Returned& each : client->returned) {
            EXPECT_EQ(each.result, C2_OK);
            EXPECT_EQ(each.timestamp, 40000 * each.index);
            if ((each.flags & kIncomplete) == 0)
                indices.push_back(each.index);
        }
        std::sort(indices.begin(), indices.end());
        EXPECT_EQ(std::adjacent_find(indices.begin(), indices.end()), indices.end());
        EXPECT_EQ(indices.size(), queued);
        EXPECT_TRUE(client->frames == clip.frames)
            << client->frames.size() << " frames for " << clip.frames.size();
    }

    std::shared_ptr<Client> client = std::make_shared<Client>();
    std::shared_ptr<C2Component> component;
    uint64_t queued = 0;
};

TEST_F(DecoderComponentTest, EachCallIsTakenInItsStatesOnly) {
    std::list<std::unique_ptr<C2Work>> none;
    const auto calls = [&] {
        return std::vector<int>{component->queue_nb(&none),
                                component->flush_sm(C2Component::FLUSH_COMPONENT, &none),
                                component->drain_nb(C2Component::DRAIN_COMPONENT_WITH_EOS),
                                component->setListener_vb(client, C2_MAY_BLOCK),
                                component->setListener_vb(nullptr, C2_MAY_BLOCK)};
    };
    const auto taken = ElementsAre(C2_OK, C2_OK, C2_OK, C2_BAD_STATE, C2_OK);
    const auto idle = ElementsAre(C2_BAD_STATE, C2_BAD_STATE, C2_BAD_STATE, C2_OK, C2_OK);
    EXPECT_THAT(calls(), idle);
    EXPECT_EQ(component->stop(), C2_BAD_STATE);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(component->start(), C2_OK);
        EXPECT_EQ(component->start(), C2_BAD_STATE);
        EXPECT_EQ(component->release(), C2_BAD_STATE);
        EXPECT_EQ(component->drain_nb(C2Component::DRAIN_CHAIN), C2_BAD_VALUE);
        EXPECT_THAT(calls(), taken);
        EXPECT_EQ(i < 5 ? component->stop() : component->reset(), C2_OK);
        EXPECT_EQ(component->stop(), C2_BAD_STATE);
        EXPECT_EQ(component->reset(), C2_OK);
        EXPECT_THAT(calls(), idle);
    }
    EXPECT_EQ(component->release(), C2_OK);
    EXPECT_EQ(component->release(), C2_DUPLICATE);
    EXPECT_THAT(calls(), testing::Each(C2_BAD_STATE));
    EXPECT_EQ(component->start(), C2_BAD_STATE);
    EXPECT_EQ(component->reset(), C2_BAD_STATE);
    C2StreamPictureSizeInfo::output size;
    EXPECT_EQ(component->intf()->query_vb({&size}, {}, C2_MAY_BLOCK, nullptr), C2_BAD_STATE);
}

TEST_F(DecoderComponentTest, EveryStreamComesBackWholeInTheOrderOfDisplay) {
    for (const char* name :
         {"avc.264", "hevc.265", "hevc10_hdr.265", "vp8.ivf", "vp9.ivf", "avc_crop.264"}) {
        SCOPED_TRACE(name);
        const Clip& clip = ClipOf(name);
        again(clip);
        queue(clip, 0, clip.units.size(), kEos);
        expectAll(clip);
        EXPECT_EQ(client->returned.back().flags, kEos);
        EXPECT_EQ(component->stop(), C2_OK);
    }
}

// Its end alone, twice, with nothing but the end, and with a unit after it.
TEST_F(DecoderComponentTest, AStreamEndsInEveryWay) {
    const Clip& clip = ClipOf("avc.264");
    again(clip);
    queue(nullptr, kEos);
    ASSERT_TRUE(client->waitFor(1));
    EXPECT_EQ(client->returned.back().flags, kEos);
    queue(&clip.units[0], kEos);
    queue(clip, 0, clip.units.size());
    queue(nullptr);
    queue(nullptr, kEos);
    queue(nullptr, kEos);
    ASSERT_TRUE(client->waitFor(queued));
    std::vector<uint64_t> ends;
    for (const Returned& each : client->returned)
        if (each.flags == kEos)
            ends.push_back(each.index);
    EXPECT_THAT(ends, ElementsAre(0, 1, queued - 2, queued - 1));
    EXPECT_EQ(client->returned.back().index, queued - 1);
    ASSERT_EQ(client->frames.size(), clip.frames.size() + 1);
    EXPECT_EQ(client->frames.front(), clip.frames.front());
    client->frames.erase(client->frames.begin());
    EXPECT_EQ(client->frames, clip.frames);
}

TEST_F(DecoderComponentTest, AfterAFlushItGoesOnFromAKeyFrame) {
    for (const char* name : {"avc.264", "hevc.265", "vp9.ivf"}) {
        SCOPED_TRACE(name);
        const Clip& clip = ClipOf(name);
        again(clip);
        size_t flushed = flush();
        EXPECT_EQ(flushed, 0u);
        queue(clip, 0, 20);
        ASSERT_TRUE(client->waitFor(5));
        flushed += flush();
        queue(clip, 0, clip.units.size(), kEos);
        ASSERT_TRUE(client->waitFor(queued - flushed));
        ASSERT_GE(client->frames.size(), clip.frames.size());
        client->frames.erase(client->frames.begin(),
                             client->frames.end() - static_cast<ptrdiff_t>(clip.frames.size()));
        EXPECT_EQ(client->frames, clip.frames);
        EXPECT_EQ(flush(), 0u);
        EXPECT_EQ(client->whole, queued - flushed);
        component->stop();
    }
}

// Parameter sets as a work of their own, flushed before they are seen, and behind short start
// codes.
TEST_F(DecoderComponentTest, HeadersAreKept) {
    Clip clip = ClipOf("avc.264");
    const Bytes code{0, 0, 0, 1, 0x65};
    Bytes& first = clip.units.front();
    const auto picture = std::search(first.begin(), first.end(), code.begin() + 1, code.end());
    const Bytes headers(first.begin(), picture);
    first.erase(first.begin(), picture);
    again(clip);
    for (int round = 0; round < 3; ++round) {
        if (round == 0)
            queue(&headers, kConfig);
        EXPECT_EQ(flush(), 0u);
        client->frames.clear();
        queue(clip, 0, clip.units.size(), kEos);
        expectAll(clip);
    }
}

TEST_F(DecoderComponentTest, WorkWithoutAFrameComesBackAtOnce) {
    // Two fields of one macroblock of plain samples make a frame; so do the next two.
    const auto field = [](const char* head, size_t size, uint8_t luma) {
        Bytes unit(head, head + size);
        unit.insert(unit.end(), 256, luma);
        unit.insert(unit.end(), 129, 0x80);
        return unit;
    };
    Clip clip{"video/avc", {}, {}, {}};
    clip.units.push_back(
        field("\0\0\0\1\x67\x4d\0\x0a\xda\x64\x80\0\0\0\1\x68\xce\x38\x80\0\0\0\1"
              "\x65\x88\x85\x21\xa0",
              28, 32));
    clip.units.push_back(field("\0\0\1\x61\x88\x86\x86\x80", 8, 64));
    clip.units.push_back(field("\0\0\1\x61\x88\x8c\x86\x80", 8, 96));
    clip.units.push_back(field("\0\0\1\x61\x88\x8e\x86\x80", 8, 160));
    again(clip);
    queue(clip, 0, 4);
    queue(&clip.units[0], C2FrameData::FLAG_DROP_FRAME);
    const Bytes empty;
    queue(&empty);
    queue(nullptr);
    ASSERT_TRUE(client->wait([&] { return client->whole == 4; }));
    EXPECT_TRUE(client->frames.empty());
    queue(nullptr, kEos);
    ASSERT_TRUE(client->waitFor(queued));
    EXPECT_EQ(client->frames.size(), 2u);
}

TEST_F(DecoderComponentTest, ADrainGivesOutWhatWaits) {
    for (const char* name : {"avc.264", "hevc.265", "vp9.ivf"}) {
        SCOPED_TRACE(name);
        const Clip& clip = ClipOf(name);
        again(clip);
        for (size_t at = 0; at < clip.units.size(); at += 9) {
            queue(clip, at, at + 9);
            EXPECT_EQ(component->drain_nb(C2Component::DRAIN_COMPONENT_NO_EOS), C2_OK);
            ASSERT_TRUE(client->waitFor(queued));
            EXPECT_EQ(client->returned.back().flags & kEos, 0u);
        }
        // They came in the order of display between the drains alone.
        EXPECT_TRUE(std::is_permutation(clip.frames.begin(), clip.frames.end(),
                                        client->frames.begin(), client->frames.end()));
        queue(clip, 0, 20);
        EXPECT_EQ(component->drain_nb(C2Component::DRAIN_COMPONENT_WITH_EOS), C2_OK);
        ASSERT_TRUE(client->waitFor(queued));
        // The last work of VP9 is back before.
        EXPECT_TRUE(client->returned.back().flags == kEos || name[0] == 'v');
        component->stop();
    }
}

TEST_F(DecoderComponentTest, WhatChangesIsToldBeforeTheFirstFrameOfIt) {
    const Clip& clip = ClipOf("avc_resize.264");
    again(clip);
    queue(clip, 0, clip.units.size(), kEos);
    expectAll(clip);
    size_t told = 0;
    for (const Returned& each : client->returned)
        for (const uint32_t update : each.updates)
            told += update == C2StreamPictureSizeInfo::output::PARAM_TYPE ? 1 : 0;
    EXPECT_EQ(told, 2u);
    EXPECT_EQ(component->stop(), C2_OK);
    C2StreamPictureSizeInfo::output size;
    const auto ask = [&] {
        EXPECT_EQ(component->intf()->query_vb({&size}, {}, C2_MAY_BLOCK, nullptr), C2_OK);
        return C2Rect(size.width, size.height);
    };
    EXPECT_EQ(ask(), C2Rect(clip.frames.back().width, clip.frames.back().height));
    EXPECT_EQ(component->reset(), C2_OK);
    EXPECT_EQ(ask(), C2Rect(320, 240));
}

// The client has all buffers that there are.
TEST_F(DecoderComponentTest, AWaitForABufferEnds) {
    const Clip& clip = ClipOf("avc.264");
    const auto pool = std::make_shared<host::SlotGraphicPool>(2);
    for (int round = 0; round < 3; ++round) {
        usePool(pool);
        again(clip);
        client->kept = 2;
        queue(clip, 0, clip.units.size());
        ASSERT_TRUE(client->wait([&] { return client->frames.size() == 2; }));
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const auto before = Clock::now();
        size_t flushed = round == 0 ? flush() : 0;
        EXPECT_EQ(round < 2 ? component->stop() : component->reset(), C2_OK);
        EXPECT_LT(Clock::now() - before, std::chrono::milliseconds(500));
        EXPECT_EQ(client->frames.size(), 2u);
        EXPECT_EQ(round == 0 ? client->whole + flushed : queued, queued);
        client->returned.clear();
        EXPECT_EQ(pool->slotsOut(), 0u);
    }
    const auto one = std::make_shared<host::SlotGraphicPool>(1);
    usePool(one);
    again(clip);
    queue(clip, 0, clip.units.size(), kEos);
    expectAll(clip);
}

// A macroblock of 4:4:4.
TEST_F(DecoderComponentTest, WhatItCantDecodeAtAllIsToldOnce) {
    const char head[] =
        "\0\0\0\1\x67\xf4\0\x0a\x91\x96\x9c\x40\0\0\0\1\x68\xce\x38\x80\0\0\0\1\x65\x88\x84\x86"
        "\x80";
    Clip clip{"video/avc", {Bytes(head, head + sizeof(head) - 1)}, {}, {}};
    clip.units[0].insert(clip.units[0].end(), 768, 0x40);
    clip.units[0].push_back(0x80);
    again(clip);
    queue(&clip.units[0]);
    queue(&clip.units[0], kEos);
    ASSERT_TRUE(client->wait([&] { return !client->errors.empty(); }));
    EXPECT_THAT(client->errors, ElementsAre(C2_OMITTED));
    EXPECT_EQ(client->whole, queued);
    EXPECT_EQ(client->returned.back().result, C2_OMITTED);
    EXPECT_EQ(component->start(), C2_BAD_STATE);
    EXPECT_EQ(component->stop(), C2_BAD_STATE);
    EXPECT_EQ(component->reset(), C2_OK);
    again(ClipOf("avc.264"));
    queue(ClipOf("avc.264"), 0, ClipOf("avc.264").units.size(), kEos);
    expectAll(ClipOf("avc.264"));
    log.take();
}

TEST_F(DecoderComponentTest, DamageIsToldWithItsWork) {
    std::mt19937 random(7);
    for (const char* name : {"avc.264", "hevc.265", "vp8.ivf", "vp9.ivf"}) {
        SCOPED_TRACE(name);
        Clip clip = ClipOf(name);
        for (size_t i = 10; i < 30; ++i) {
            Bytes& unit = clip.units[i];
            for (int n = 0; n < 8; ++n)
                unit[random() % unit.size()] ^= 1 << random() % 8;
            unit.resize(i % 4 == 0 ? std::min<size_t>(unit.size(), 9) : unit.size());
        }
        again(clip);
        queue(clip, 0, clip.units.size(), kEos);
        ASSERT_TRUE(client->waitFor(queued));
        size_t damaged = 0;
        size_t shown = 0;
        for (const Returned& each : client->returned) {
            damaged +=
                each.result != C2_OK || (each.flags & C2FrameData::FLAG_CORRUPT) != 0 ? 1 : 0;
            shown += each.result == C2_OK ? 1 : 0;
        }
        EXPECT_GT(damaged, 0u);
        EXPECT_GE(client->frames.size() + damaged, clip.units.size());
        component->stop();
        log.take();
    }
}

TEST_F(DecoderComponentTest, SettingsAreReachedByTheirNames) {
    const Clip& clip = ClipOf("hevc10_hdr.265");
    const std::string folder = testing::TempDir() + "decoder_dump";
    std::filesystem::create_directories(folder);
    set({{"raw.pixel-format.value", std::to_string(PixFormat::YV12)},
         {"vendor.lx2-decoder.references", "2"},
         {"vendor.lx2-decoder.hardware.threads", "2"},
         {"vendor.lx2-decoder-dump.value", folder}});
    again(clip);
    queue(clip, 0, clip.units.size(), kEos);
    ASSERT_TRUE(client->waitFor(queued));
    EXPECT_EQ(component->stop(), C2_OK);
    ASSERT_EQ(client->frames.size(), clip.frames.size());
    for (size_t i = 0; i < clip.frames.size(); ++i)
        EXPECT_EQ(client->frames[i], clip.frames[i].withBitDepth(8)) << i;
    const host::Frame& frame = clip.frames.front();
    EXPECT_EQ(std::filesystem::file_size(folder + "/frames.yuv"),
              clip.frames.size() * frame.width * frame.height * 3 / 2);
    EXPECT_GT(std::filesystem::file_size(folder + "/bitstream.265"), 0u);
    example::C2DecoderTuning tuning;
    const auto ask = [&] {
        EXPECT_EQ(component->intf()->query_vb({&tuning}, {}, C2_MAY_BLOCK, nullptr), C2_OK);
        return std::pair(tuning.references, tuning.hardware.threads);
    };
    EXPECT_EQ(ask(), std::pair(2u, 2u));
    EXPECT_EQ(component->reset(), C2_OK);
    EXPECT_EQ(ask(), std::pair(4u, 1u));
}

TEST_F(DecoderComponentTest, CallsMayComeInAnyOrder) {
    static unsigned seed = 0;  // another one with --gtest_repeat
    std::mt19937 random(++seed);
    for (int round = 0; round < 60; ++round) {
        const char* const names[] = {"avc_crop.264", "hevc.265", "vp9.ivf"};
        const Clip& clip = ClipOf(names[round % 3]);
        again(clip);
        size_t flushed = 0;
        for (int step = 0; step < 6; ++step) {
            const size_t from = random() % clip.units.size();
            queue(clip, from, std::min(clip.units.size(), from + random() % 8),
                  random() % 4 == 0 ? kEos : 0);
            if (random() % 3 == 0)
                std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
            if (random() % 3 == 0)
                flushed += flush();
            if (random() % 4 == 0)
                component->drain_nb(C2Component::drain_mode_t(random() % 2));
        }
        if (round % 2 == 0) {
            queue(nullptr, kEos);
            ASSERT_TRUE(client->waitFor(queued - flushed));
            EXPECT_EQ(client->whole, queued - flushed);
        }
        EXPECT_EQ(round % 5 == 0 ? component->reset() : component->stop(), C2_OK);
        log.take();
    }
}

}  // namespace

}  // namespace lx2::test
