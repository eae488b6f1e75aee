#include <C2Config.h>
#include <C2PlatformSupport.h>
#include <lx2/FrameGeometry.h>
#include <lx2/LX2FileDump.h>
#include <lx2/LX2StreamParser.h>
#include <lx2/PixFormat.h>
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
    *pool = gBasicPool;
    return gBasicPool != nullptr ? C2_OK : C2_NOT_FOUND;
}

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::Not;
using Bytes = std::vector<uint8_t>;
using Impl = LX2FileDump::Impl;

constexpr char kTag[] = "FileDump";
constexpr char kVp8[] = "video/x-vnd.on2.vp8", kVp9[] = "video/x-vnd.on2.vp9";

size_t OpenFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(files), end(files)));
}

class FileDumpTest : public Fixture {
  protected:
    FileDumpTest() {
        gRedirected = dir / ".";
        SetClock(1794746077, "XYZ-5:30");  // 15 November 2026, 18:04:37 there
    }
    void TearDown() override {
        gBasicPool.reset();
        EXPECT_EQ(OpenFiles(), filesBefore) << "a file stayed open";
        const Bytes maps = ReadAll("/proc/self/maps");
        EXPECT_THAT(std::string(maps.begin(), maps.end()), Not(::testing::HasSubstr("lx2-dmabuf")));
        Fixture::TearDown();
    }
    // A dump into the one file that path names.
    std::unique_ptr<LX2FileDump> fixedDump(const std::string& mime) {
        std::unique_ptr<LX2FileDump> dump;
        EXPECT_EQ(LX2FileDump::Create(mime, path, &dump), C2_OK);
        return dump;
    }
    // What a dump makes of one buffer.
    template <typename Buffer>
    Bytes dumped(const std::shared_ptr<Buffer>& buffer) {
        EXPECT_EQ(fixedDump("video/raw")->write(buffer), C2_OK);
        return ReadAll(path);
    }
    // What was logged since the last call, but for the imports of handles.
    std::vector<LogLine> logged() {
        auto lines = log.take();
        lines.erase(
            std::remove_if(lines.begin(), lines.end(),
                           [](const LogLine& line) { return line.tag == "LX2GrallocBuffer"; }),
            lines.end());
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

std::shared_ptr<LX2Buffer> Picture(uint32_t format, const host::Frame& frame) {
    const bool rgba = format == PixFormat::RGBA8888_CMPX;
    auto buffer = GraphicBuffer(frame.width, frame.height, rgba ? PixFormat::RGBA8888 : format,
                                rgba ? host::kUsageCompressed : 0);
    const auto mapping = buffer->graphic()->map();
    EXPECT_TRUE(host::WriteFrame(mapping->data(), mapping->size(), format, frame));
    return buffer;
}

LogLine Opened(const std::string& name) {
    return Info(kTag, "Opened file " + (kDirectory + name) + " for writing");
}

TEST_F(FileDumpTest, ChoosesTheExtensionByTheExactMimeType) {
    const char* const kRows[][2] = {{"video/avc", "264"},
                                    {"video/hevc", "265"},
                                    {kVp8, "ivf"},
                                    {kVp9, "ivf"},
                                    {"video/mpeg2", "ps"},
                                    {"video/mp4v-es", "m4v"},
                                    {"image/vnd.android.heic", "heic"},
                                    {"video/raw", "yuv"},
                                    {"video/AVC", "bin"}};
    for (const auto& [mime, extension] : kRows)
        EXPECT_STREQ(Impl::extForMime(mime), extension) << mime;
}

TEST_F(FileDumpTest, NamesFilesAfterTheCreationAndFramesAfterTheirGeometryToo) {
    std::unique_ptr<LX2FileDump> bits, frames;
    ASSERT_EQ(LX2FileDump::Create("video/avc", 7, "c2.dec", &bits, false), C2_OK);
    ASSERT_EQ(LX2FileDump::Create("video/raw", ~0u, "out", &frames, false), C2_OK);
    SetClock(1798761599, "UTC");  // names keep the time of creation
    EXPECT_EQ(bits->write(Bitstream({1, 2})), C2_OK);
    EXPECT_EQ(bits->write(Bitstream({3})), C2_OK);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(frames->write(NoisyFrame(PixFormat::NV12, 64, 48)), C2_OK);
    EXPECT_EQ(frames->write(NoisyFrame(PixFormat::NV12, 64, 50)), C2_OK);
    EXPECT_EQ(frames->write(NoisyFrame(PixFormat::RGBA8888, 64, 50)), C2_OK);
    const C2ConstGraphicBlock block = GraphicBlock(16, 16, PixFormat::NV12)->share({}, C2Fence());
    EXPECT_EQ(frames->write(std::make_shared<AnyC2Buffer>(std::vector{block, block})), LX2_ERROR);
    EXPECT_THAT(
        logged(),
        ElementsAre(Info(kTag, "Created File dump(c2.dec_20261115_180437) for mime(video/avc)"),
                    Info(kTag, "Created File dump(out_20261115_180437) for mime(video/raw)"),
                    Opened("20261115_180437_7_c2.dec.264"),
                    Opened("20261115_180437_-1_out_64_x_48_NV12_0.yuv"),
                    Opened("20261115_180437_-1_out_64_x_50_NV12_2.yuv"),
                    Opened("20261115_180437_-1_out_64_x_50_RGBA8888_3.rgb"),
                    Opened("20261115_180437_-1_out_4294967295_x_4294967295_UNKNOWN_4.yuv")));
    EXPECT_EQ(ReadAll(dir / "20261115_180437_7_c2.dec.264"), (Bytes{1, 2, 3}));
    EXPECT_EQ(ReadAll(dir / "20261115_180437_-1_out_64_x_48_NV12_0.yuv").size(), 2 * 64 * 72u);
}

TEST_F(FileDumpTest, CutsLongNamesAndKeepsTheFileThatIsOpen) {
    Impl longName("video/avc", 0, true, std::string(200, 'p'), "", false);
    longName.generateFileName();
    EXPECT_EQ(longName.filePath(), kDirectory + ("20261115_180437_0_" + std::string(85, 'p')));

    Impl impl("video/avc", 0, false, "", path, false);
    EXPECT_EQ(impl.openFile(), C2_OK);
    EXPECT_EQ(impl.openFile(), C2_REFUSED);
    EXPECT_EQ(logged().back(), Warning(kTag, "File already open !"));
    EXPECT_EQ(impl.write(Bitstream({5})), C2_OK);
    EXPECT_EQ(impl.closeFile(), C2_OK);
    EXPECT_EQ(impl.closeFile(), C2_OK);
    EXPECT_EQ(ReadAll(path), Bytes{5});
}

TEST_F(FileDumpTest, StartsAFixedFileAnewWhenTheFramesChange) {
    auto dump = fixedDump("video/raw");
    for (const uint32_t height : {48, 48, 50})
        EXPECT_EQ(dump->write(NoisyFrame(PixFormat::NV12, 64, height)), C2_OK);
    EXPECT_EQ(ReadAll(path).size(), 64 * 75u);
    const LogLine opened = Info(kTag, "Opened file " + path + " for writing");
    EXPECT_THAT(logged(), ElementsAre(Info(kTag, "Created File dump: " + path), opened, opened));
}

TEST_F(FileDumpTest, RefusesWhatItCannotWriteAndGoesOn) {
    EXPECT_EQ(LX2FileDump::Create("video/avc", path, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(LX2FileDump::Create("video/avc", 0, "", nullptr, false), LX2_BAD_ARG);
    auto dump = fixedDump("video/avc");
    logged();
    EXPECT_EQ(dump->write(std::shared_ptr<LX2Buffer>()), LX2_ERROR);
    EXPECT_EQ(dump->write(std::shared_ptr<C2Buffer>()), LX2_BAD_ARG);
    EXPECT_EQ(dump->write(LinearBuffer(16, C2MemoryUsage::READ_PROTECTED)), LX2_ERROR);
    EXPECT_EQ(dump->write(Bitstream({1})->getSharedBuffer()), C2_OK);
    EXPECT_EQ(dump->write(NoisyFrame(PixFormat::NV12, 64, 48)), LX2_ERROR);
    EXPECT_EQ(dump->write(Bitstream({2})), C2_OK);
    EXPECT_THAT(logged(),
                ElementsAre(Warning(kTag, "Invalid buffer"),
                            Info(kTag, "Opened file " + path + " for writing"),
                            Error("LX2Buf", "LX2Buffer::Mapping: Cannot map a secure buffer"),
                            Warning(kTag, "Incompatible buffer")));
    EXPECT_EQ(ReadAll(path), (Bytes{1, 2}));
    LX2FileDump taker = std::move(*dump);
    EXPECT_EQ(dump->write(Bitstream({3})), C2_NO_INIT);
    EXPECT_EQ(dump->write(Bitstream({3})->getSharedBuffer()), C2_NO_INIT);
}

TEST_F(FileDumpTest, SurvivesAFullDiskAndAPathThatAppearsLater) {
    Impl full("video/raw", 0, false, "", "/dev/full", false);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(full.write(NoisyFrame(PixFormat::NV12, 640, 480)), C2_OK);
    Impl later("video/avc", 0, false, "", dir / "sub/dump", false);
    logged();
    EXPECT_EQ(later.write(Bitstream({1})), LX2_ERROR);
    EXPECT_THAT(logged(),
                ElementsAre(Error(kTag, "Failed to open " + (dir / "sub/dump") + " for writing")));
    std::filesystem::create_directory(dir / "sub");
    EXPECT_EQ(later.write(NoisyFrame(PixFormat::NV12, 64, 48)), C2_OK);  // no kind is set yet
}

Bytes IvfFile(uint8_t version, const Bytes& frames) {
    Bytes file = {'D',  'K',  'I', 'F', 0,    0, 32, 0, 'V', 'P', version, '0', 0x40, 1, 240, 0,
                  0x30, 0x75, 0,   0,   0xE8, 3, 0,  0, 0,   0,   0,       0,   0,    0, 0,   0};
    file.insert(file.end(), frames.begin(), frames.end());
    return file;
}

TEST_F(FileDumpTest, WritesIvfWithTimestampsOfOddNumbers) {
    auto dump = fixedDump(kVp9);
    EXPECT_THAT(textsAt(1,
                        [&] {
                            EXPECT_EQ(dump->write(Bitstream({7, 8})), C2_OK);
                        }),
                ElementsAre("Opened file " + path + " for writing", "Writing IVF File header..",
                            "Witing IVF file header of 32 bytes", "Dump linear buffer: 2 bytes"));
    EXPECT_EQ(dump->write(Bitstream({9})), C2_OK);
    EXPECT_EQ(ReadAll(path), IvfFile('9', {2, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 7, 8,  //
                                           1, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 9}));
}

TEST_F(FileDumpTest, NeverReadsOutsideALinearBuffer) {
    const int fd = host::AllocateDmaBuf(4096);  // shorter than the capacity that the block claims
    const auto lying = std::make_shared<LX2Buffer>(
        _C2BlockFactory::CreateLinearBlock(
            std::make_shared<LinearAllocation>(1 << 20, std::vector<int>{fd})),
        0);
    const auto wrapping = LinearBuffer(64);
    wrapping->linear()->setRange(16, ~0u - 7);
    auto dump = fixedDump(kVp8);
    for (const auto& buffer : {lying, wrapping}) {
        logged();
        EXPECT_EQ(dump->write(buffer), LX2_ERROR);
        EXPECT_EQ(logged().back(), Error(kTag,
                                         "dumpLinear: Avoiding unsafe read.. buffer range "
                                         "exceeds it's capacity !!"));
    }
    lying->linear()->setRange(4095, 1);
    EXPECT_EQ(dump->write(lying), C2_OK);
    // Each refused buffer counted as one frame.
    EXPECT_EQ(ReadAll(path), IvfFile('8', {1, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(FileDumpTest, WritesTheRowsOfEachFormatWithoutPadding) {
    struct Rows {
        size_t start, count, length, pitch;
    };
    const struct {
        uint32_t format, width, height;
        Rows luma, chroma;
    } kCases[] = {
        {PixFormat::RGBA8888, 37, 23, {0, 23, 148, 256}, {}},
        {PixFormat::I420, 37, 23, {0, 23, 37, 37}, {851, 11, 37, 37}},
        {PixFormat::NV12, 37, 23, {0, 23, 37, 37}, {851, 11, 37, 37}},
        {PixFormat::YV12, 37, 23, {0, 23, 37, 48}, {1104, 23, 18, 32}},
        {PixFormat::MIREL_NV12, 37, 23, {0, 23, 37, 512}, {512 * 512, 11, 37, 512}},
        {PixFormat::MIREL_NV12, 640, 514, {0, 514, 640, 1024}, {1024 * 1024, 257, 640, 1024}},
        {PixFormat::NV12, 16, 1, {0, 1, 16, 16}, {}},
        {PixFormat::YV12, 1, 2, {0, 2, 1, 16}, {}},
        {PixFormat::MIREL_P010, 64, 48, {0, 1, 24576, 0}, {}},  // no rule: all of the buffer
    };
    for (const auto& row : kCases) {
        Bytes expected;
        for (const Rows& rows : {row.luma, row.chroma}) {
            for (size_t i = 0; i < rows.count * rows.length; ++i)
                expected.push_back(
                    Noise(rows.start + i / rows.length * rows.pitch + i % rows.length));
        }
        EXPECT_TRUE(dumped(NoisyFrame(row.format, row.width, row.height)) == expected)
            << PixFormat::Str(row.format) << " " << row.width << " x " << row.height;
    }
}

TEST_F(FileDumpTest, TakesAFrameworkFrameForOneOfTheVideoCoreWithinItsMemory) {
    const auto size = geometry::VideoCoreFrameSize<uint32_t>;
    EXPECT_EQ(size(PixFormat::MIREL_NV12_CMPX, 1920, 1080), 3219456u);  // two fields
    EXPECT_EQ(size(PixFormat::MIREL_NV12_CMPX, 1920, 1088), 3153920u);
    EXPECT_EQ(size(PixFormat::MIREL_P010, 1920, 1080), 2048 * (1536 + 768u));
    EXPECT_EQ(size(PixFormat::NV12, 0, 1080) + size(PixFormat::MIREL_NV12_CMPX, 16, 0), 0u);
    struct {
        uint32_t format, width, height;
        size_t written;
    } const kCases[] = {
        {PixFormat::MIREL_P010, 1920, 1080, 2048 * 2304},            // cut to that size
        {PixFormat::MIREL_P010, 64, 48, 24576},                      // all that there is
        {PixFormat::RGBA8888, 1920, 1080, size_t{1920} * 1080 * 4},  // all rows, beyond that size
        {PixFormat::MIREL_TP10, 64, 48, 28672},
    };
    for (const auto& row : kCases) {
        const Bytes file = dumped(NoisyFrame(row.format, row.width, row.height)->getSharedBuffer());
        EXPECT_EQ(file.size(), row.written);
        size_t i = 0;
        EXPECT_TRUE(
            std::all_of(file.begin(), file.end(), [&](uint8_t byte) { return byte == Noise(i++); }))
            << "at " << i;
    }
}

TEST_F(FileDumpTest, StopsAtTheEndOfAFrameThatIsCutShort) {
    const auto buffer = NoisyFrame(PixFormat::MIREL_NV12, 64, 48);
    ASSERT_EQ(ftruncate(buffer->graphic()->fd(), 512 * 10 + 8), 0);
    EXPECT_EQ(dumped(buffer).size(), 64 * 10 + 8u);
}

class ForceLinearTest : public FileDumpTest {
  protected:
    ForceLinearTest() {
        gBasicPool = pool;
        EXPECT_EQ(LX2FileDump::Create("video/raw", 0, "p", &dump, true), C2_OK);
    }
    void TearDown() override {
        dump.reset();
        FileDumpTest::TearDown();
    }
    // Writes one frame with conversion and gives the name of its file, after the common stem.
    std::string write(const std::shared_ptr<LX2Buffer>& buffer) {
        logged();
        EXPECT_EQ(dump->write(buffer), C2_OK);
        lines = logged();
        for (const LogLine& line : lines) {
            const std::string before = std::string("Opened file ") + kDirectory;
            if (line.text.rfind(before + "20261115_180437_0_p_", 0) == 0)
                file = line.text.substr(before.size(), line.text.rfind(" for ") - before.size());
        }
        const std::string name = file.substr(strlen("20261115_180437_0_p_"));
        file = dir / file;
        return name;
    }

    const std::shared_ptr<FakePool> pool = std::make_shared<FakePool>();
    const host::Frame frame = host::TestFrame(64, 48, 8, 3);
    std::unique_ptr<LX2FileDump> dump;
    std::vector<LogLine> lines;
    std::string file;
};

TEST_F(ForceLinearTest, ConvertsCompressedFramesToTheirLinearFormat) {
    const auto linearDump = [this](uint32_t format) { return dumped(Picture(format, frame)); };
    EXPECT_EQ(write(Picture(PixFormat::MIREL_NV12_CMPX, frame)), "64_x_48_MIREL_NV12_0.yuv");
    EXPECT_THAT(lines,
                ::testing::Contains(Info(kTag, "[p] Force MIREL_NV12_CMPX to linear MIREL_NV12")));
    EXPECT_EQ(ReadAll(file), linearDump(PixFormat::MIREL_NV12));
    EXPECT_EQ(write(Picture(PixFormat::MIREL_TP10, frame)), "64_x_48_YV12_1.yuv");
    EXPECT_EQ(ReadAll(file), linearDump(PixFormat::YV12));
    EXPECT_EQ(write(Picture(PixFormat::RGBA8888_CMPX, frame)), "64_x_48_RGBA8888_2.rgb");
    EXPECT_EQ(ReadAll(file), linearDump(PixFormat::RGBA8888));
    EXPECT_EQ(write(Picture(PixFormat::NV12, frame)), "64_x_48_NV12_3.yuv");
    EXPECT_THAT(pool->fetches, ElementsAre(Fetch{64, 48, PixFormat::MIREL_NV12, 0x10001},
                                           Fetch{64, 48, PixFormat::YV12, 0x10001},
                                           Fetch{64, 48, PixFormat::RGBA8888, 0x10001}));
}

TEST_F(ForceLinearTest, FallsBackToTheCompressedFrameWithoutABufferOrAPool) {
    const auto compressed = Picture(PixFormat::MIREL_NV12_CMPX, frame);
    const Bytes asItIs = dumped(compressed);
    EXPECT_EQ(asItIs.size(), geometry::CmpxNv12<uint32_t>::FrameSize(64, 48));
    pool->statuses = {C2_NO_MEMORY};
    EXPECT_EQ(write(compressed), "64_x_48_MIREL_NV12_CMPX_0.yuv");
    EXPECT_EQ(ReadAll(file), asItIs);
    EXPECT_THAT(lines, ::testing::Contains(
                           Error(kTag, "[p] Failed to allocate graphic buf for conversion !")));
    gBasicPool.reset();
    EXPECT_EQ(write(Picture(PixFormat::RGBA8888_CMPX, frame)), "64_x_48_RGBA8888_CMPX_1.rgb");
    EXPECT_THAT(lines,
                ::testing::Contains(Error(kTag, "[p] failed to create graphic buffer pool !")));
    gBasicPool = pool;  // and the next change tries again
    EXPECT_EQ(write(compressed), "64_x_48_MIREL_NV12_2.yuv");
    EXPECT_EQ(ReadAll(file), dumped(Picture(PixFormat::MIREL_NV12, frame)));
}

TEST_F(ForceLinearTest, FallsBackToTheCompressedFrameWhenConversionFails) {
    pool->offered.push_back(host::AllocateGraphic(32, 48, PixFormat::MIREL_NV12, 0));
    const auto compressed = Picture(PixFormat::MIREL_NV12_CMPX, frame);
    EXPECT_EQ(write(compressed), "64_x_48_MIREL_NV12_0.yuv");
    EXPECT_EQ(lines.back(), Error(kTag, "[p] Failed to dump uncompressed !"));
    EXPECT_EQ(ReadAll(file), dumped(compressed));
}

// What a program prints, by lines.
std::vector<std::string> Output(const std::string& command) {
    std::vector<std::string> lines;
    FILE* output = popen(command.c_str(), "r");
    char line[256];
    while (output != nullptr && fgets(line, sizeof(line), output) != nullptr)
        lines.emplace_back(line, strcspn(line, "\n"));
    EXPECT_EQ(output != nullptr ? pclose(output) : -1, 0) << command;
    return lines;
}

class PlayerTest : public FileDumpTest {
  protected:
    void SetUp() override {
        if (system("command -v ffmpeg ffprobe >/dev/null 2>&1") != 0)
            GTEST_SKIP() << "needs ffmpeg and ffprobe";
    }
    // A hash of each frame that the player decodes, as planar 4:2:0.
    static std::vector<std::string> played(const std::string& input) {
        std::vector<std::string> hashes;
        for (const std::string& line :
             Output("ffmpeg -v error -nostdin -fflags +genpts " + input +
                    " -fps_mode passthrough -pix_fmt yuv420p -f framemd5 -")) {
            if (line[0] != '#')
                hashes.push_back(line.substr(line.rfind(' ')));
        }
        return hashes;
    }
    // The frames of a file as a demuxer cuts it, header bytes in front of each skipped.
    static std::vector<Bytes> packets(const std::string& file, size_t fileHeader, size_t header) {
        const Bytes bytes = ReadAll(file);
        std::vector<Bytes> frames;
        auto at = bytes.begin() + static_cast<ptrdiff_t>(fileHeader);
        for (const auto& size :
             Output("ffprobe -v error -show_entries packet=size -of csv=p=0 " + file)) {
            at += static_cast<ptrdiff_t>(header);
            frames.emplace_back(at, at + std::stol(size));
            at += std::stol(size);
        }
        return frames;
    }
};

TEST_F(PlayerTest, DumpsOfRawStreamsAreTheStreams) {
    const struct {
        const char *name, *mime;
        LX2Status (*findHeaders)(const uint8_t*, uint32_t, uint32_t*);
    } kStreams[] = {
        {"avc.264", "video/avc", LX2AVCStreamParser::FindHeaders},
        {"hevc.265", "video/hevc", LX2HEVCStreamParser::FindHeaders},
    };
    for (const auto& stream : kStreams) {
        const std::string sample = std::string(LX2_SAMPLES_DIR "/") + stream.name;
        std::vector<Bytes> units = packets(sample, 0, 0);
        const auto unitSize = static_cast<uint32_t>(units[0].size());
        const auto first = Bitstream(units[0]);
        units[0].resize(2 * unitSize);  // the room that the search asks for
        uint32_t headers = 0;
        ASSERT_EQ(stream.findHeaders(units[0].data(), unitSize, &headers), C2_OK);
        auto config = C2StreamInitDataInfo::output::AllocShared(headers);
        std::copy_n(units[0].begin(), headers, config->m.value);
        first->addInfo(config);
        first->linear()->setRange(headers, unitSize - headers);

        auto dump = fixedDump(stream.mime);
        EXPECT_THAT(textsAt(1, [&] { EXPECT_EQ(dump->write(first), C2_OK); }),
                    ::testing::Contains("Dumping CSD of " + std::to_string(headers) + " bytes"));
        for (size_t i = 1; i < units.size(); ++i)
            EXPECT_EQ(dump->write(Bitstream(units[i])->getSharedBuffer()), C2_OK);
        EXPECT_TRUE(ReadAll(path) == ReadAll(sample)) << stream.name;
        const std::string demuxer = stream.mime == std::string("video/avc") ? "h264" : "hevc";
        const auto frames = played("-f " + demuxer + " -i " + path);
        EXPECT_EQ(frames.size(), units.size());
        EXPECT_EQ(frames, played("-i " + sample)) << stream.name;
    }
}

TEST_F(PlayerTest, DumpsOfVp8AndVp9AreIvfFilesThatPlay) {
    for (const auto& [name, mime] : {std::pair("vp8.ivf", kVp8), std::pair("vp9.ivf", kVp9)}) {
        const std::string sample = std::string(LX2_SAMPLES_DIR "/") + name;
        const auto frames = packets(sample, 32, 12);
        auto dump = fixedDump(mime);
        for (const Bytes& frame : frames)
            EXPECT_EQ(dump->write(Bitstream(frame)), C2_OK);
        EXPECT_EQ(Output("ffprobe -v error -count_frames -show_entries stream=nb_read_frames "
                         "-of csv=p=0 -f ivf " +
                         path),
                  std::vector{std::to_string(frames.size())});
        EXPECT_EQ(played("-f ivf -i " + path), played("-i " + sample)) << name;
    }
}

TEST_F(PlayerTest, DumpsOfLinearFramesAreRawVideo) {
    const host::Frame frame = host::TestFrame(320, 192, 8, 5);
    std::ofstream planar(dir / "planar", std::ios::binary);
    for (const auto* plane : {&frame.y, &frame.cb, &frame.cr})
        std::copy(plane->begin(), plane->end(), std::ostreambuf_iterator<char>(planar));
    planar.close();
    const std::string raw = "-f rawvideo -s 320x192 -pix_fmt ";
    const auto source = played(raw + "yuv420p -i " + (dir / "planar"));
    host::Frame swapped = frame;  // the player knows planar formats in the order Y, Cb, Cr only
    std::swap(swapped.cb, swapped.cr);
    const std::tuple<uint32_t, const char*, const host::Frame*> kCases[] = {
        {PixFormat::I420, "yuv420p ", &frame},
        {PixFormat::YV12, "yuv420p ", &swapped},
        {PixFormat::NV12, "nv12 ", &frame},
        {PixFormat::MIREL_NV12, "nv12 ", &frame},
    };
    for (const auto& [format, name, picture] : kCases) {
        dumped(Picture(format, *picture));
        EXPECT_EQ(played(raw + name + "-i " + path), source) << PixFormat::Str(format);
    }
}

}  // namespace
}  // namespace lx2::test
