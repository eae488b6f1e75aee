#include <C2Config.h>
#include <C2PlatformSupport.h>
#include <base/FrameGeometry.h>
#include <fcntl.h>
#include <lx2/LX2FileDump.h>
#include <lx2/PixFormat.h>
#include <lx2host/Mapper.h>
#include <lx2host/VideoCore.h>

#include "Blocks.h"
#include "FileDumpImpl.h"
#include "Fixture.h"
#include "TempDir.h"
#include "TestClock.h"

namespace {

constexpr char kDirectory[] = "/data/vendor/media/lx2//";
std::string gRedirected;                  // where files of that directory lie instead
std::shared_ptr<C2BlockPool> gBasicPool;  // the platform's basic graphic pool
int gPoolRequests = 0;

}  // namespace

// The library is linked statically, so its calls of these arrive here.
extern "C" FILE* fopen(const char* path, const char* mode) {
    const std::string name = path;
    if (name.rfind(kDirectory, 0) != 0)
        return fopen64(path, mode);
    return fopen64((gRedirected + "/" + name.substr(strlen(kDirectory))).c_str(), mode);
}

c2_status_t android::GetCodec2BlockPool(C2BlockPool::local_id_t id,
                                        std::shared_ptr<const C2Component> component,
                                        std::shared_ptr<C2BlockPool>* pool) {
    EXPECT_EQ(id, 1u);
    EXPECT_EQ(component, nullptr);
    ++gPoolRequests;
    *pool = gBasicPool;
    return gBasicPool != nullptr ? C2_OK : C2_NOT_FOUND;
}

namespace lx2::test {

using namespace std::string_literals;
using ::testing::Not;
using Bytes = std::vector<uint8_t>;
using Impl = LX2FileDump::Impl;

constexpr char kVp8[] = "video/x-vnd.on2.vp8", kVp9[] = "video/x-vnd.on2.vp9";

class FileDumpTest : public Fixture {
  protected:
    FileDumpTest() {
        gRedirected = dir / ".";
        SetClock(1794746077, "XYZ-5:30");  // 15 November 2026, 18:04:37 there
    }
    void TearDown() override {
        gBasicPool.reset();
        EXPECT_EQ(OpenFiles(), filesBefore) << "a file stayed open";
        Fixture::TearDown();
    }
    // A dump into the one file that path names.
    std::unique_ptr<LX2FileDump> fixedDump(const std::string& mime) {
        std::unique_ptr<LX2FileDump> dump;
        EXPECT_EQ(LX2FileDump::Create(mime, path, &dump), C2_OK);
        return dump;
    }
    // What a dump makes of one buffer, which it only reads.
    template <typename Buffer>
    Bytes dumped(const std::shared_ptr<Buffer>& buffer) {
        std::vector<uint64_t> accesses;
        host::SetSyncHook([&](int, uint64_t flags) { return accesses.push_back(flags), 0; });
        EXPECT_EQ(fixedDump("video/raw")->write(buffer), C2_OK);
        host::SetSyncHook(nullptr);
        EXPECT_THAT(accesses, ElementsAre(1, 5));
        return ReadAll(path);
    }
    // What dumps logged since the last call, each line behind the letter of its priority.
    std::vector<std::string> logged() {
        std::vector<std::string> lines;
        for (const LogLine& line : log.take()) {
            if (line.tag == "FileDump")
                lines.push_back(std::string(1, "??VDIWEF"[line.priority]) + " " + line.text);
        }
        return lines;
    }

    const size_t filesBefore = OpenFiles();
    TempDir dir;
    const std::string path = dir / "dump";
};

// Tells every byte of a buffer from its neighbours.
uint8_t Noise(size_t i) {
    return static_cast<uint8_t>(i * 2654435761u >> 24);
}

std::shared_ptr<LX2Buffer> Bitstream(const Bytes& bytes) {
    auto buffer = LinearBuffer(static_cast<uint32_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), buffer->linear()->map()->data());
    return buffer;
}

std::shared_ptr<LX2Buffer> NoisyFrame(uint32_t format, uint32_t width, uint32_t height) {
    auto buffer = GraphicBuffer(width, height, format);
    const auto mapping = buffer->graphic()->map();
    for (uint32_t i = 0; i < mapping->size(); ++i)
        mapping->data()[i] = Noise(i);
    return buffer;
}

std::string Opened(const std::string& name) {
    return "I Opened file " + (kDirectory + name) + " for writing";
}

TEST_F(FileDumpTest, NamesFilesAfterTheCreationAndFramesAfterTheirGeometryToo) {
    std::unique_ptr<LX2FileDump> bits, frames;
    ASSERT_EQ(LX2FileDump::Create("video/avc", 7, "c2.dec", &bits, false), C2_OK);
    ASSERT_EQ(LX2FileDump::Create("video/raw", ~0u, "out", &frames, false), C2_OK);
    SetClock(1798761599, "UTC");  // names keep the time of creation
    EXPECT_EQ(bits->path(), "");
    EXPECT_EQ(bits->write(Bitstream({1, 2})), C2_OK);
    EXPECT_EQ(bits->write(Bitstream({3})), C2_OK);
    EXPECT_EQ(bits->path(), kDirectory + std::string("20261115_180437_7_c2.dec.264"));
    const std::pair<uint32_t, uint32_t> sizes[] = {{64, 48}, {64, 48}, {66, 48}, {66, 50}};
    for (const auto& [width, height] : sizes)
        EXPECT_EQ(frames->write(NoisyFrame(PixFormat::NV12, width, height)), C2_OK);
    EXPECT_EQ(frames->write(NoisyFrame(PixFormat::RGBA8888, 66, 50)), C2_OK);
    EXPECT_EQ(frames->write(std::make_shared<LX2Buffer>(std::shared_ptr<C2GraphicBlock>())),
              LX2_ERROR);
    EXPECT_THAT(
        logged(),
        ElementsAre("I Created File dump(c2.dec_20261115_180437) for mime(video/avc)",
                    "I Created File dump(out_20261115_180437) for mime(video/raw)",
                    Opened("20261115_180437_7_c2.dec.264"),
                    Opened("20261115_180437_-1_out_64_x_48_NV12_0.yuv"),
                    Opened("20261115_180437_-1_out_66_x_48_NV12_2.yuv"),
                    Opened("20261115_180437_-1_out_66_x_50_NV12_3.yuv"),
                    Opened("20261115_180437_-1_out_66_x_50_RGBA8888_4.rgb"),
                    Opened("20261115_180437_-1_out_4294967295_x_4294967295_UNKNOWN_5.yuv")));
    EXPECT_EQ(ReadAll(dir / "20261115_180437_7_c2.dec.264"), (Bytes{1, 2, 3}));
    EXPECT_EQ(ReadAll(dir / "20261115_180437_-1_out_64_x_48_NV12_0.yuv").size(), 2 * 64 * 72u);
}

TEST_F(FileDumpTest, CutsLongNamesAndEndsThemByTheExactMimeType) {
    std::string extensions;
    for (const char* mime : {"video/avc", "video/hevc", kVp8, kVp9, "video/mpeg2", "video/mp4v-es",
                             "image/vnd.android.heic", "video/raw", "video/AVC"})
        extensions += Impl::extForMime(mime) + std::string(" ");
    EXPECT_EQ(extensions, "264 265 ivf ivf ps m4v heic yuv bin ");
    Impl longName("video/avc", 0, true, std::string(200, 'p'), "", false);
    longName.generateFileName();
    EXPECT_EQ(longName.filePath(), kDirectory + ("20261115_180437_0_" + std::string(85, 'p')));
}

TEST_F(FileDumpTest, StartsItsFixedFileAnewWhenTheFramesChangeAndTellsTheFirstShortWrite) {
    for (const std::string& name : {path, std::string("/dev/full")}) {
        Impl dump("video/raw", 0, false, "", name, false);
        EXPECT_EQ(dump.openFile(), C2_OK);
        EXPECT_EQ(dump.openFile(), C2_REFUSED);
        for (const uint32_t height :
             {480, 480, 50})  // more than the stream's buffer holds, and less
            EXPECT_EQ(dump.write(NoisyFrame(PixFormat::NV12, 640, height)), C2_OK);
        EXPECT_EQ(dump.closeFile() + dump.closeFile(), C2_OK);
        const std::string opened = "I Opened file " + name + " for writing";
        std::vector<std::string> expected = {"I Created File dump: " + name, opened,
                                             "W File already open !", opened, opened};
        if (name != path) {
            const char* full = "E Failed to write all of /dev/full : No space left on device";
            expected.insert(expected.begin() + 4, full);
            expected.push_back(full);
        }
        EXPECT_EQ(logged(), expected);
    }
    EXPECT_EQ(ReadAll(path).size(), 640 * 75u);
}

TEST_F(FileDumpTest, RefusesWhatItCannotWriteAndGoesOn) {
    EXPECT_EQ(LX2FileDump::Create("video/avc", path, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(LX2FileDump::Create("video/avc", 0, "", nullptr, false), LX2_BAD_ARG);
    const std::string missing = dir / "sub/dump";
    std::unique_ptr<LX2FileDump> dump;
    LX2FileDump::Create("video/avc", missing, &dump);
    logged();
    const auto frame = NoisyFrame(PixFormat::NV12, 64, 48);
    EXPECT_EQ(dump->write(std::shared_ptr<LX2Buffer>()), LX2_ERROR);
    EXPECT_EQ(dump->write(std::shared_ptr<C2Buffer>()), LX2_BAD_ARG);
    EXPECT_EQ(dump->write(frame), LX2_ERROR);
    EXPECT_EQ(dump->write(Bitstream({1})), LX2_ERROR);
    std::filesystem::create_directory(dir / "sub");
    EXPECT_EQ(dump->write(LinearBuffer(16, C2MemoryUsage::READ_PROTECTED)), LX2_ERROR);
    EXPECT_EQ(dump->write(Bitstream({1})->getSharedBuffer()), C2_OK);
    EXPECT_EQ(dump->write(frame), LX2_ERROR);
    EXPECT_EQ(dump->write(Bitstream({2})), C2_OK);
    const std::string failed = "E Failed to open " + missing + " for writing";
    EXPECT_THAT(logged(),
                ElementsAre("W Invalid buffer", failed, failed,
                            "I Opened file " + missing + " for writing", "W Incompatible buffer"));
    EXPECT_EQ(ReadAll(missing), (Bytes{1, 2}));
    LX2FileDump taker = std::move(*dump);
    EXPECT_EQ(dump->write(Bitstream({3})), C2_NO_INIT);
    EXPECT_EQ(dump->write(Bitstream({3})->getSharedBuffer()), C2_NO_INIT);
    EXPECT_EQ(dump->path(), "");
}

TEST_F(FileDumpTest, WhatCannotBeMappedIsNotWritten) {
    const auto tooShort = NoisyFrame(PixFormat::MIREL_NV12, 64, 48);
    ASSERT_EQ(ftruncate(tooShort->graphic()->fd(), 4096), 0);
    const auto empty = NoisyFrame(PixFormat::MIREL_NV12_CMPX, 64, 48);
    empty->graphic()->setAllocSize(0);
    const auto lying =
        std::make_shared<LinearAllocation>(8192, std::vector<int>{host::AllocateDmaBuf(4096)});
    for (const auto& buffer :
         {tooShort, empty,
          std::make_shared<LX2Buffer>(_C2BlockFactory::CreateLinearBlock(lying), 0)})
        EXPECT_EQ(fixedDump(kVp8)->write(buffer), LX2_ERROR);
    const auto flat = GraphicBlock(64, 48, PixFormat::RGBA8888);
    const_cast<C2Handle*>(flat->handle())->data[6] = 0;  // the width of the record
    const auto framework = std::make_shared<LX2Buffer>(flat)->getSharedBuffer();
    EXPECT_EQ(fixedDump(kVp8)->write(framework), LX2_ERROR);
    EXPECT_TRUE(ReadAll(path).empty());
}

TEST_F(FileDumpTest, WritesCodecConfigAndIvfAndCountsWhatItMustNotRead) {
    const auto first = Bitstream({6, 7, 8, 9}), beyond = LinearBuffer(64);
    first->linear()->setRange(1, 2);
    beyond->linear()->setRange(16, ~0u - 7);                    // the sum wraps around
    auto config = C2StreamInitDataInfo::input::AllocShared(3);  // of either direction
    std::copy_n("csd", 3, config->m.value);
    first->addInfo(config);
    first->addInfo(std::make_shared<ValueInfo<0x123>::output>());
    for (const auto& [mime, version] : {std::pair(kVp8, '8'), std::pair(kVp9, '9')}) {
        auto dump = fixedDump(mime);
        EXPECT_THAT(
            textsAt(0x01000003, [&] { EXPECT_EQ(dump->write(beyond), LX2_ERROR); }),
            ElementsAre(
                "Opened file " + path + " for writing",
                "dumpLinear: Avoiding unsafe read.. buffer range exceeds it's capacity !!"));
        EXPECT_EQ(ReadAll(path).size(), 32u) << "complete after a failed write too";
        EXPECT_THAT(textsAt(0x02000001, [&] { EXPECT_EQ(dump->write(first), C2_OK); }),
                    ElementsAre("Dumping CSD of 3 bytes", "Dump linear buffer: 2 bytes"));
        EXPECT_EQ(dump->write(Bitstream({9})), C2_OK);
        const Bytes file = ReadAll(path);
        EXPECT_EQ(std::string(file.begin(), file.end()),
                  "DKIF\0\0\x20\0VP"s + version + "0\x40\1\xF0\0\x30\x75\0\0\xE8\3"s +
                      std::string(10, '\0') + "csd\2\0\0\0\2\0\0\0\0\0\0\0\7\x8"s +
                      "\1\0\0\0\4\0\0\0\0\0\0\0\x9"s);
    }
    EXPECT_EQ(dumped(first), (Bytes{'c', 's', 'd', 7, 8}));
    config->invalidate();  // of size 0
    EXPECT_EQ(dumped(first), (Bytes{7, 8}));
    EXPECT_THAT(textsAt(0x02000001, [&] { fixedDump(kVp8)->write(Bitstream({9})); }),
                ElementsAre("Created File dump: " + path, "Opened file " + path + " for writing",
                            "Writing IVF File header..", "Witing IVF file header of 32 bytes",
                            "Dump linear buffer: 1 bytes"));
    EXPECT_EQ(ReadAll(path)[36], 1) << "the first time stamp";
    const IVFFrameHeader late = Impl::ivfFrameHeader(0x80000005, 0x80000000);
    EXPECT_EQ(late.timestamp, 0x80000000u);
}

TEST_F(FileDumpTest, WritesTheRowsOfEachFormatWithoutPadding) {
    struct Rows {
        size_t start, count, length, pitch;
        uint8_t at(size_t i) const { return Noise(start + i / length * pitch + i % length); }
    };
    const struct {
        uint32_t format, width, height;
        Rows luma, chroma;
        bool framework = false;  // given as the framework's buffer
    } kCases[] = {
        {PixFormat::RGBA8888, 37, 23, {0, 23, 148, 256}, {}},
        {PixFormat::I420, 37, 23, {0, 23, 37, 37}, {851, 11, 37, 37}},
        {PixFormat::NV12, 37, 23, {0, 23, 37, 37}, {851, 11, 37, 37}},
        {PixFormat::YV12, 37, 23, {0, 23, 37, 48}, {1104, 23, 18, 32}},
        {PixFormat::MIREL_NV12, 37, 23, {0, 23, 37, 512}, {512 * 512, 11, 37, 512}},
        {PixFormat::MIREL_NV12, 640, 514, {0, 514, 640, 1024}, {1024 * 1024, 257, 640, 1024}},
        {PixFormat::NV12, 16, 1, {0, 1, 16, 16}, {}},
        {PixFormat::YV12, 1, 2, {0, 2, 1, 16}, {}},
        // No rule: all of the buffer, and of the framework's what the video core would need.
        {PixFormat::MIREL_P010, 64, 48, {0, 1, 24576, 0}, {}},
        {PixFormat::MIREL_P010, 64, 48, {0, 1, 24576, 0}, {}, true},
        {PixFormat::MIREL_P010, 1920, 1080, {0, 2304, 2048, 2048}, {}, true},
        {PixFormat::MIREL_TP10, 64, 48, {0, 1, 28672, 0}, {}, true},
        {PixFormat::RGBA8888, 1920, 1080, {0, 1080, 7680, 7680}, {}, true},  // more than that
    };
    for (const auto& row : kCases) {
        Bytes expected;
        for (const Rows& rows : {row.luma, row.chroma}) {
            for (size_t i = 0; i < rows.count * rows.length; ++i)
                expected.push_back(rows.at(i));
        }
        const auto frame = NoisyFrame(row.format, row.width, row.height);
        EXPECT_TRUE((row.framework ? dumped(frame->getSharedBuffer()) : dumped(frame)) == expected)
            << PixFormat::Str(row.format) << " " << row.width << " x " << row.height;
        EXPECT_EQ(lseek(frame->graphic()->fd(), 0, SEEK_CUR), 0) << "imports share the position";
    }
    const auto cutShort = NoisyFrame(PixFormat::MIREL_NV12, 64, 48);
    cutShort->graphic()->setAllocSize(512 * 10 + 8);
    EXPECT_EQ(dumped(cutShort).size(), 64 * 10 + 8u);
    const auto roomy = GraphicBlock(64, 96, PixFormat::MIREL_NV12_CMPX);
    const_cast<C2Handle*>(roomy->handle())->data[7] = 48;  // the height of the record
    EXPECT_EQ(dumped(std::make_shared<LX2Buffer>(roomy)).size(), 32768u);
    const auto tiles = NoisyFrame(PixFormat::MIREL_NV12_CMPX, 64, 48);
    tiles->graphic()->setAllocSize(5000);
    EXPECT_EQ(dumped(tiles).size(), 5000u);
    const auto size = geometry::VideoCoreFrameSize<uint32_t>;
    EXPECT_EQ(size(PixFormat::MIREL_NV12_CMPX, 1920, 1088), 3153920u);
    EXPECT_EQ(size(PixFormat::NV12, 512, 513), 512 * (1024 + 512u));
    EXPECT_EQ(size(PixFormat::NV12, 513, 1025), 1024 * (1536 + 768u));
}

class ForceLinearTest : public FileDumpTest {
  protected:
    ForceLinearTest() {
        gBasicPool = pool;
        gPoolRequests = 0;
        EXPECT_EQ(LX2FileDump::Create("video/raw", 0, "p", &dump, true), C2_OK);
    }
    void TearDown() override {
        dump.reset();
        FileDumpTest::TearDown();
    }
    // What lies in the file of that name, which ends as given, after a frame is dumped.
    Bytes converted(const std::shared_ptr<LX2Buffer>& buffer, const std::string& name) {
        logged();
        EXPECT_EQ(dump->write(buffer), C2_OK);
        lines = logged();
        return ReadAll(dir / ("20261115_180437_0_p_64_x_48_" + name));
    }
    static std::shared_ptr<LX2Buffer> picture(uint32_t format) {
        const bool rgba = format == PixFormat::RGBA8888_CMPX;
        auto buffer = GraphicBuffer(64, 48, rgba ? PixFormat::RGBA8888 : format,
                                    rgba ? host::kUsageCompressed : 0);
        const auto mapping = buffer->graphic()->map();
        EXPECT_TRUE(host::WriteFrame(mapping->data(), mapping->size(), format,
                                     host::TestFrame(64, 48, 8, 3)));
        return buffer;
    }

    const std::shared_ptr<FakePool> pool = std::make_shared<FakePool>();
    std::unique_ptr<LX2FileDump> dump;
    std::vector<std::string> lines;
};

TEST_F(ForceLinearTest, ConvertsCompressedFramesToTheirLinearFormat) {
    EXPECT_EQ(converted(picture(PixFormat::MIREL_NV12_CMPX), "MIREL_NV12_0.yuv"),
              dumped(picture(PixFormat::MIREL_NV12)));
    EXPECT_THAT(lines, ElementsAre("I [p] Force MIREL_NV12_CMPX to linear MIREL_NV12",
                                   Opened("20261115_180437_0_p_64_x_48_MIREL_NV12_0.yuv")));
    EXPECT_EQ(converted(picture(PixFormat::MIREL_TP10), "YV12_1.yuv"),
              dumped(picture(PixFormat::YV12)));
    EXPECT_EQ(converted(picture(PixFormat::RGBA8888_CMPX), "RGBA8888_2.rgb"),
              dumped(picture(PixFormat::RGBA8888)));
    EXPECT_EQ(converted(picture(PixFormat::NV12), "NV12_3.yuv"), dumped(picture(PixFormat::NV12)));
    EXPECT_EQ(host::LiveImports(), 0u) << "nothing to convert into is kept";
    EXPECT_THAT(pool->fetches, ElementsAre(Fetch{64, 48, PixFormat::MIREL_NV12, 0x10001},
                                           Fetch{64, 48, PixFormat::YV12, 0x10001},
                                           Fetch{64, 48, PixFormat::RGBA8888, 0x10001}));
    EXPECT_EQ(gPoolRequests, 1);
    std::unique_ptr<LX2FileDump> fixed;
    ASSERT_EQ(LX2FileDump::Create("video/raw", path, &fixed, true), C2_OK);
    EXPECT_EQ(fixed->write(picture(PixFormat::MIREL_NV12_CMPX)), C2_OK);
    EXPECT_EQ(fixed->write(Bitstream({1})), LX2_ERROR) << "of the other kind";
    EXPECT_EQ(fixed->write(picture(PixFormat::MIREL_NV12_CMPX)), C2_OK);
    EXPECT_EQ(ReadAll(path).size(), 2 * 64 * 72u);
    EXPECT_EQ(fixed->write(picture(PixFormat::NV12)), C2_OK);
    EXPECT_THAT(textsAt(0x01000002, [&] { fixed->write(picture(PixFormat::MIREL_NV12_CMPX)); }),
                Not(Contains("configure: configure successfully")))
        << "the converter stays";
}

TEST_F(ForceLinearTest, FallsBackToTheCompressedFrame) {
    const auto compressed = picture(PixFormat::MIREL_NV12_CMPX);
    const Bytes asItIs = dumped(compressed);
    pool->statuses = {C2_NO_MEMORY};
    EXPECT_EQ(converted(compressed, "MIREL_NV12_CMPX_0.yuv"), asItIs);
    EXPECT_THAT(lines, Contains("E [p] Failed to allocate graphic buf for conversion !"));
    gBasicPool.reset();
    const auto rgba = picture(PixFormat::RGBA8888_CMPX);
    EXPECT_EQ(converted(rgba, "RGBA8888_CMPX_1.rgb"), dumped(rgba));
    EXPECT_THAT(lines, Contains("E [p] failed to create graphic buffer pool !"));
    gBasicPool = pool;  // the next change tries again, with a target that is too small
    pool->offered.push_back(GraphicBlock(32, 48, PixFormat::MIREL_NV12));
    EXPECT_EQ(converted(compressed, "MIREL_NV12_2.yuv"), asItIs);
    EXPECT_EQ(lines.back(), "E [p] Failed to dump uncompressed !");
}

using FileLoggerTest = Fixture;

TEST_F(FileLoggerTest, AppendsLinesWithTheLocalTimeAtOnceOrHasNoFile) {
    TempDir dir;
    const std::string path = dir / "log.txt", missing = dir / "missing/log.txt";
    std::unique_ptr<LX2FileLogger> logger;
    gC2FileLogLevel = 1;
    SetClock(1772694423, "XYZ-2");  // 5 March 2026, 09:07:03 there
    EXPECT_EQ(LX2FileLogger::Create(path, nullptr), LX2_BAD_ARG);
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    EXPECT_EQ(logger->write("x"), C2_OK);
    EXPECT_EQ(LX2FileLogger::Create(missing, &logger), LX2_ERROR);
    EXPECT_EQ(logger, nullptr);
    EXPECT_THAT(log.take(), ElementsAre(Error("FileLog", "Failed to open log file : " + missing)));

    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    gC2FileLogLevel = 0;  // counts at creation only
    SetClock(1798761599, "UTC");
    EXPECT_EQ(logger->write("%s %d", "frame", 3), C2_OK);
    logger->write("%s", std::string(300, 'a').c_str());
    const auto bytes = ReadAll(path);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "03-05 09:07:03 : x\n12-31 23:59:59 : frame 3\n12-31 23:59:59 : " +
                  std::string(255, 'a') + "\n");
    EXPECT_EQ(LX2FileLogger::Create(dir / "other.txt", &logger), C2_CANNOT_DO);
    EXPECT_EQ(logger, nullptr);
    EXPECT_FALSE(std::filesystem::exists(dir / "other.txt"));
    EXPECT_EQ(LX2FileLogger().write("into the void"), C2_OK);
}

}  // namespace lx2::test
