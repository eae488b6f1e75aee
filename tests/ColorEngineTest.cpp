#include <dlfcn.h>
#include <lx2/PixFormat.h>

#include <cstring>
#include <random>

#include "Engine.h"
#include "Fixture.h"
#include "RecordingBlit.h"
#include "SoftwareConvert.h"

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Engine = LX2ColorConverter::Engine;
using Format = LX2ColorConverter::Format;

constexpr char kTag[] = "LX2GBXEngine";

// A record put together from offsets.
struct Bytes : std::vector<uint8_t> {
    explicit Bytes(size_t size) : std::vector<uint8_t>(size) {}
    Bytes& u32(size_t at, uint32_t value) { return put(at, value); }
    Bytes& u64(size_t at, uint64_t value) { return put(at, value); }

    template <typename T>
    Bytes& put(size_t offset, T value) {
        memcpy(&at(offset), &value, sizeof(value));
        return *this;
    }
};

class ColorEngineTest : public Fixture {
  protected:
    ColorEngineTest() : mLibrary(dlopen("libGBX2.so", RTLD_NOW)) {
        const auto get = reinterpret_cast<RecordingBlitFunction>(dlsym(mLibrary, kRecordingSymbol));
        blit = get();
        blit->reset();
    }
    ~ColorEngineTest() override { dlclose(mLibrary); }

    // Names of the calls since the last time, unmappings with what they unmap.
    std::vector<std::string> takeCalls() {
        std::vector<std::string> names;
        for (const BlitCall& call : blit->calls)
            names.push_back(call.name == "UnMapAddr"
                                ? call.name + " " + std::to_string(call.arguments[0] >> 24)
                                : call.name);
        blit->calls.clear();
        return names;
    }

    // One frame with the bases below; the recording library gives GPU addresses n << 24.
    int32_t convert(Engine& engine, uint32_t size = 1 << 20) {
        return engine.convert(5, src, 64, size, 6, dst, 32, size);
    }

    void* mLibrary;
    RecordingBlit* blit;
    uint8_t src[4096] = {};
    uint8_t dst[4096] = {};
};

// The figures were worked out apart from the code, with a script from the rules of each layout.
TEST_F(ColorEngineTest, KnowsStrideLumaAndFrameSizeOfEveryFormat) {
    struct Figures {
        uint32_t stride, luma, size;
    };
    struct Row {
        uint32_t width, height;
        Figures figures[5];
    };
    const uint32_t formats[] = {PixFormat::NV12, PixFormat::YV12, PixFormat::MIREL_NV12,
                                PixFormat::MIREL_NV12_CMPX, PixFormat::MIREL_TP10};
    const Row rows[] = {
        {0, 0, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
        {0, 7, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}},
        {1,
         1,
         {{16, 16, 4096},
          {16, 16, 4096},
          {512, 262144, 262144},
          {128, 8192, 32768},
          {256, 8192, 16384}}},
        {35,
         7,
         {{48, 336, 4096},
          {48, 336, 4096},
          {512, 262144, 393216},
          {128, 8192, 32768},
          {256, 8192, 16384}}},
        {1919,
         1081,
         {{1920, 2075520, 3112960},
          {1920, 2075520, 3112960},
          {2048, 3145728, 4718592},
          {1920, 2101248, 3219456},
          {2560, 2805760, 4210688}}},
        {1920,
         1080,
         {{1920, 2073600, 3112960},
          {1920, 2073600, 3112960},
          {2048, 3145728, 4718592},
          {1920, 2101248, 3219456},
          {2560, 2805760, 4210688}}},
        {1920,
         1088,
         {{1920, 2088960, 3133440},
          {1920, 2088960, 3133440},
          {2048, 3145728, 4718592},
          {1920, 2101248, 3153920},
          {2560, 2805760, 4210688}}},
        {1921,
         720,
         {{1936, 1393920, 2088960},
          {1936, 1393920, 2088960},
          {2048, 2097152, 3145728},
          {2048, 1515520, 2306048},
          {2816, 2039808, 3084288}}},
        {1087,
         1920,
         {{1088, 2088960, 3133440},
          {1088, 2088960, 3133440},
          {1536, 3145728, 4718592},
          {1152, 2228224, 3342336},
          {1536, 2981888, 4472832}}},
        {8192,
         8192,
         {{8192, 67108864, 100663296},
          {8192, 67108864, 100663296},
          {8192, 67108864, 100663296},
          {8192, 67371008, 101056512},
          {11008, 90570752, 135856128}}},
    };
    Engine engine;
    const auto expectFigures = [&](uint32_t format, const Row& row, const Figures& figures) {
        EXPECT_EQ(engine.calcStride(format, row.width, true), figures.stride);
        EXPECT_EQ(engine.calcYSize(format, row.width, row.height), figures.luma);
        EXPECT_EQ(engine.calcSize(format, row.width, row.height, true), figures.size);
    };
    for (const Row& row : rows) {
        for (size_t i = 0; i < std::size(formats); ++i) {
            SCOPED_TRACE(std::string(PixFormat::Str(formats[i])) + " " + std::to_string(row.width) +
                         "x" + std::to_string(row.height));
            expectFigures(formats[i], row, row.figures[i]);
            if (formats[i] == PixFormat::YV12)
                expectFigures(PixFormat::I420, row, row.figures[i]);
        }
    }
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(ColorEngineTest, TakesTheSourcesOwnStrideForRgba) {
    Engine engine;
    EXPECT_EQ(engine.calcStride(PixFormat::RGBA8888, 100, true), 512u);
    ASSERT_EQ(engine.configure({100, 40, PixFormat::RGBA8888, 160, 0},
                               {100, 40, PixFormat::MIREL_NV12, 0, 0}),
              0);
    EXPECT_EQ(engine.calcStride(PixFormat::RGBA8888, 100, true), 640u);
    EXPECT_EQ(engine.calcStride(PixFormat::RGBA8888_CMPX, 100, false), 512u);
    log.take();
    // 48 rows and one of metadata, padded to whole pages
    gC2LogLevel = 0x01000002;
    EXPECT_EQ(engine.calcSize(PixFormat::RGBA8888_CMPX, 100, 40, false), 28672u);
    EXPECT_EQ(engine.calcSize(PixFormat::RGBA8888, 100, 40, true), 32768u);
    EXPECT_THAT(log.take(), ElementsAre(Debug(kTag, "calcSize: alignedw 128, alignedh 49"),
                                        Debug(kTag, "calcSize: alignedw 128, alignedh 49")));
}

TEST_F(ColorEngineTest, RefusesFormatsThatItDoesNotKnow) {
    Engine engine;
    EXPECT_EQ(engine.getGBXColorFormat(PixFormat::MIREL_P010), 0xFFFFFFFFu);
    EXPECT_EQ(engine.calcStride(0, 64, true), 0u);
    EXPECT_EQ(engine.calcYSize(PixFormat::RGBA8888, 64, 64), 0u);
    EXPECT_EQ(engine.calcSize(0x114, 64, 64, false), 0u);
    EXPECT_EQ(engine.getDummySurfaceDef(0x114, 64, 64, false), -1);
    const std::string p010 = "MIREL_P010(" + std::to_string(0x7FA30C0A) + ")";
    EXPECT_THAT(
        log.take(),
        ElementsAre(Error(kTag, "getGBXColorFormat: unsupported color format, " + p010),
                    Error(kTag, "calcStride: unsupported color format, UNKNOWN(0)"),
                    Info(kTag, "calcYSize: unsupported or RGB color format, RGBA8888(1)"),
                    Error(kTag, "calcSize: unsupported color format, ALIGN512_114(276)"),
                    Error(kTag, "getDummySurfaceDef: unsupported color format ALIGN512_114(276)")));
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST_F(ColorEngineTest, HandsTheBlitLibraryItsRecordsByteByByte) {
    constexpr uint64_t kPlaceholder = 0xAAAAAAAA;
    const auto base = reinterpret_cast<uintptr_t>(src) + 64;
    const auto target = reinterpret_cast<uintptr_t>(dst) + 32;
    const auto planes = [](uint32_t code, uint32_t stride, uint32_t chromaStride) {
        return Bytes(88)
            .u32(0, code)
            .u32(4, 100)
            .u32(8, 40)
            .u64(16, kPlaceholder)
            .u64(24, kPlaceholder)
            .u32(32, stride)
            .u64(40, kPlaceholder)
            .u64(48, kPlaceholder)
            .u32(56, chromaStride)
            .u32(80, chromaStride);
    };
    {
        Engine engine;
        ASSERT_EQ(engine.configure({100, 40, PixFormat::RGBA8888, 160, 0},
                                   {100, 40, PixFormat::MIREL_NV12_CMPX, 0, 0}),
                  0);
        ASSERT_EQ(blit->calls.size(), 2u);
        const Bytes rgba = Bytes(40)
                               .u32(0, 0xA14)
                               .u32(4, 100)
                               .u32(8, 40)
                               .u64(16, kPlaceholder)
                               .u64(24, kPlaceholder)
                               .u32(32, 640);
        EXPECT_THAT(blit->calls[0].arguments, ElementsAre(1, 25));
        EXPECT_EQ(blit->calls[0].record, rgba);
        EXPECT_THAT(blit->calls[1].arguments, ElementsAre(2, 27));
        EXPECT_EQ(blit->calls[1].record, planes(0x800098, 128, 128));
        EXPECT_EQ(convert(engine), 0);
        EXPECT_THAT(takeCalls(), ElementsAre("CreateSurface", "CreateSurface", "MapAddr",
                                             "UpdateSurface", "MapAddr", "UpdateSurface", "Draw",
                                             "Finish", "UnMapAddr 2", "UnMapAddr 3"));

        // The source becomes planar, the target RGB; each side's record is the old one anew.
        ASSERT_EQ(engine.configure({100, 40, PixFormat::I420, 160, 0},
                                   {100, 40, PixFormat::RGBA8888_CMPX, 0, 0}),
                  0);
        const auto& calls = blit->calls;
        EXPECT_THAT(calls[0].arguments, ElementsAre(1));  // destroyed
        EXPECT_EQ(calls[1].record, Bytes(planes(0xAD, 112, 64)).u64(72, kPlaceholder));
        EXPECT_THAT(calls[2].arguments, ElementsAre(2));  // destroyed
        EXPECT_THAT(calls[3].arguments, ElementsAre(2, 25));
        EXPECT_EQ(calls[3].record, Bytes(40)
                                       .u32(0, 0x800A14)
                                       .u32(4, 100)
                                       .u32(8, 40)
                                       .u64(16, kPlaceholder)
                                       .u64(24, kPlaceholder)
                                       .u32(32, 512));
        EXPECT_EQ(convert(engine), 0);
        ASSERT_EQ(calls.size(), 12u);
        EXPECT_THAT(calls[4].arguments, ElementsAre(5, base, 8192, 0, 3));
        EXPECT_THAT(calls[5].arguments, ElementsAre(3, 1, 11));
        // luma 112 x 40, chroma 64 x 40 / 2; the offset counts on both sides
        const uint64_t gpu = (4 << 24) + 64;
        EXPECT_EQ(calls[5].record, Bytes(planes(0xAD, 112, 64))
                                       .u64(16, base)
                                       .u64(24, gpu)
                                       .u64(40, base + 4480)
                                       .u64(48, gpu + 4480)
                                       .u64(64, base + 5760)
                                       .u64(72, gpu + 5760));
        EXPECT_THAT(calls[6].arguments, ElementsAre(6, target, 28672, 0, 3));
        EXPECT_THAT(calls[7].arguments, ElementsAre(4, 2, 9));
        // of an RGB surface on the CPU's side only
        EXPECT_EQ(calls[7].record, Bytes(40)
                                       .u32(0, 0x800A14)
                                       .u32(4, 100)
                                       .u32(8, 40)
                                       .u64(16, target)
                                       .u64(24, 5 << 24)
                                       .u32(32, 512));
        EXPECT_THAT(calls[8].arguments, ElementsAre(4, 0, 0, 0, 0, 1));
        EXPECT_EQ(calls[8].record, Bytes(104)
                                       .u32(0, 3)
                                       .u32(16, 0x0200C010)
                                       .u32(28, 100 << 16)
                                       .u32(32, 40 << 16)
                                       .u32(44, 100 << 16)
                                       .u32(48, 40 << 16));
        EXPECT_THAT(calls[9].arguments, ElementsAre(4));
        blit->calls.clear();
    }
    ASSERT_EQ(blit->calls.size(), 2u);
    EXPECT_THAT(blit->calls[0].arguments, ElementsAre(3));
    EXPECT_THAT(blit->calls[1].arguments, ElementsAre(4));
    EXPECT_THAT(takeCalls(), ElementsAre("DestroySurface", "DestroySurface"));
}

TEST_F(ColorEngineTest, UnmapsWhatItMappedOnEveryFailure) {
    struct Row {
        const char* failing;
        std::deque<int32_t> statuses;
        std::vector<std::string> calls;
        std::vector<std::string> texts;
    };
    char address[64];
    snprintf(address, sizeof(address), "%p", static_cast<void*>(src + 64));
    const std::string source = address;
    snprintf(address, sizeof(address), "%p", static_cast<void*>(dst + 32));
    const Row rows[] = {
        {"MapAddr",
         {7},
         {"MapAddr"},
         {"getMappedGPUAddr: gbxMapAddr failed: status 7, fd 5, ptr " + source +
              ", len 8192, flags 3",
          "convert: get mapped src GPU address failed"}},
        {"UpdateSurface",
         {8},
         {"MapAddr", "UpdateSurface", "UnMapAddr 2"},
         {"convert: Update src surface def failed (8)"}},
        {"MapAddr",
         {0, -3},
         {"MapAddr", "UpdateSurface", "MapAddr", "UnMapAddr 2"},
         {"getMappedGPUAddr: gbxMapAddr failed: status -3, fd 6, ptr " + std::string(address) +
              ", len 32768, flags 3",
          "convert: get mapped dst GPU adress failed"}},
        {"UpdateSurface",
         {0, 9},
         {"MapAddr", "UpdateSurface", "MapAddr", "UpdateSurface", "UnMapAddr 2", "UnMapAddr 3"},
         {"convert: Update dst surface def failed (9)"}},
        {"Draw",
         {10},
         {"MapAddr", "UpdateSurface", "MapAddr", "UpdateSurface", "Draw", "Finish", "UnMapAddr 2",
          "UnMapAddr 3"},
         {"convert: GBX draw failed (10)"}},
        {"UnMapAddr",
         {0, 11},
         {"MapAddr", "UpdateSurface", "MapAddr", "UpdateSurface", "Draw", "Finish", "UnMapAddr 2",
          "UnMapAddr 3"},
         {"unmapGPUAddr: gbxUnMapAddr failed: status 11, gpuAddr 0x3000000",
          "convert: unmapping GPU address failed (1, 0)"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.texts.back());
        blit->reset();
        Engine engine;
        ASSERT_EQ(engine.configure({100, 40, PixFormat::YV12, 112, 0},
                                   {100, 40, PixFormat::MIREL_NV12_CMPX, 0, 0}),
                  0);
        takeCalls();
        log.take();
        blit->statuses[row.failing] = row.statuses;
        EXPECT_EQ(convert(engine), -1);
        EXPECT_EQ(takeCalls(), row.calls);
        std::vector<LogLine> lines;
        for (const std::string& text : row.texts)
            lines.push_back(Error(kTag, text));
        EXPECT_EQ(log.take(), lines);
        EXPECT_EQ(convert(engine), 0) << "a failed frame spoils no later one";
    }
}

TEST_F(ColorEngineTest, AFailedReconfigurationKeepsTheEngineConfigured) {
    Engine engine;
    const Format nv12{64, 64, PixFormat::NV12, 64, 0};
    EXPECT_EQ(convert(engine), -1);
    EXPECT_EQ(engine.configure(nv12, {64, 64, PixFormat::MIREL_NV12, 512, 0}), 0);
    blit->statuses["CreateSurface"] = {4};
    EXPECT_EQ(engine.configure(nv12, {64, 64, 0x114, 64, 0}), -1);
    EXPECT_EQ(convert(engine), -1);
    EXPECT_EQ(engine.convert(5, src, 0, 100, -1, dst, 0, 0), -1);
    const std::vector<std::string> texts = log.takeTexts();
    ASSERT_EQ(texts.size(), 7u);
    EXPECT_EQ(texts[0], "convert:  can't do color conversion now (enable 1, config 0)");
    EXPECT_EQ(texts[1], "calcSize: unsupported color format, ALIGN512_114(276)");
    EXPECT_EQ(texts[2], "calcYSize: unsupported or RGB color format, ALIGN512_114(276)");
    EXPECT_EQ(texts[3], "getDummySurfaceDef: unsupported color format ALIGN512_114(276)");
    EXPECT_EQ(texts[4], "configure: configure failed");
    EXPECT_EQ(texts[5], "convert: unsupported dst color format ALIGN512_114(276)");
    char text[256];
    snprintf(text, sizeof(text),
             "convert: convert failed, incorrect input parameters: srcFd 5, dstFd -1, srcBase %p, "
             "dstBase %p, mSrcSize 8192, srcSize 100, mDstSize 0, dstSize 0",
             static_cast<void*>(src), static_cast<void*>(dst));
    EXPECT_EQ(texts[6], text);
}

TEST_F(ColorEngineTest, DebugLinesHaveTwoGates) {
    Engine engine;
    const auto frame = [&](uint32_t from, uint32_t to) {
        return [&engine, from, to, this] {
            engine.configure({16, 0, from, 16, 0}, {16, 0, to, 16, 0});
            convert(engine);
        };
    };
    EXPECT_THAT(textsAt(0x01000002, frame(PixFormat::NV12, PixFormat::I420)),
                ElementsAre("configure: configure successfully", ::testing::_, ::testing::_,
                            "unmapGPUAddr: unmapped: gpuaddr 0x2000000",
                            "unmapGPUAddr: unmapped: gpuaddr 0x3000000"));
    EXPECT_THAT(textsAt(0x00000001, frame(PixFormat::YV12, PixFormat::MIREL_NV12)),
                ElementsAre("convert: using SW conversion for YV12 --> MIREL_NV12"));
    EXPECT_THAT(textsAt(0x02000003, frame(PixFormat::NV12, PixFormat::I420)), IsEmpty());
}

// Guarded source and target of the software path, filled with noise.
struct Buffers {
    Buffers(uint32_t srcSize, uint32_t dstSize) : src(srcSize + 64), dst(dstSize + 64, 0xEE) {
        std::mt19937 random(srcSize);
        for (uint8_t& byte : src)
            byte = static_cast<uint8_t>(random());
    }
    std::vector<uint8_t> src, dst;
};

TEST_F(ColorEngineTest, SoftwarePathMergesPlanesAndWritesNothingElse) {
    const std::pair<uint32_t, uint32_t> sizes[] = {{0, 8},      {8, 0},    {1, 1},   {64, 1},
                                                   {5, 3},      {33, 7},   {97, 31}, {130, 64},
                                                   {1280, 720}, {511, 513}};
    for (const auto& [w, h] : sizes) {
        SCOPED_TRACE(std::to_string(w) + "x" + std::to_string(h));
        const uint32_t luma = (w + 15) / 16 * 16, chroma = (w / 2 + 15) / 16 * 16;
        const uint32_t stride = (w + 511) / 512 * 512, rows = (h + 511) / 512 * 512;
        const uint32_t srcSize = (luma + chroma) * h, dstSize = stride * (rows + rows / 2);
        Buffers buffers(srcSize, dstSize);
        std::vector<uint8_t> expected = buffers.dst;
        for (uint32_t y = 0; y < h; ++y)
            std::copy_n(&buffers.src[y * luma], w, &expected[y * stride]);
        const uint8_t* cr = &buffers.src[luma * h];
        const uint8_t* cb = cr + chroma * h / 2;
        for (uint32_t y = 0; y < h / 2; ++y) {
            for (uint32_t x = 0; x < w / 2; ++x) {
                expected[(rows + y) * stride + 2 * x] = cb[y * chroma + x];
                expected[(rows + y) * stride + 2 * x + 1] = cr[y * chroma + x];
            }
        }
        EXPECT_EQ(color::ConvertYv12ToMirelNv12(buffers.src.data(), srcSize, buffers.dst.data(),
                                                dstSize, w, h),
                  0);
        EXPECT_TRUE(buffers.dst == expected);
    }
}

TEST_F(ColorEngineTest, SoftwarePathRefusesBuffersThatAreTooSmall) {
    struct Row {
        uint32_t srcSize, dstSize, width, height;
        const char* refused;  // the side, if any
    };
    const Row rows[] = {
        {1382400, 2359296, 1280, 720, nullptr},
        {1382399, 2359296, 1280, 720, "src"},
        {1382400, 1966079, 1280, 720, "dst"},
        // enough for the rule, which counts the chroma half, and for the 360 rows that there are
        {1382400, 1572864 + 359 * 1536 + 1280, 1280, 720, nullptr},
        // enough for the rule, not for the rows
        {1382400, 1572864 + 359 * 1536 + 1279, 1280, 720, "dst"},
        // sizes that wrap to small ones in 32 bits
        {4096, 4096, 0xFFFFFFFF, 1, "src"},
        {4096, 4096, 0x80000000, 2, "src"},
        {4096, 4096, 1, 0xFFFFFFFF, "src"},
    };
    for (const Row& row : rows) {
        Buffers buffers(1382400, 2359296);
        const bool refused = row.refused != nullptr;
        EXPECT_EQ(color::ConvertYv12ToMirelNv12(buffers.src.data(), row.srcSize, buffers.dst.data(),
                                                row.dstSize, row.width, row.height),
                  refused ? 12 : 0);
        std::vector<LogLine> lines;
        if (refused)
            lines.push_back(Error(kTag, std::string("convertIYUVToNV12Mirel: ") + row.refused +
                                            " buffer size is insufficient"));
        EXPECT_EQ(log.take(), lines) << row.width << "x" << row.height;
        EXPECT_EQ(buffers.dst[0] == 0xEE && buffers.dst[1] == 0xEE, refused);
        EXPECT_EQ(buffers.dst[row.dstSize], 0xEE);
    }
}

TEST_F(ColorEngineTest, SoftwarePathIgnoresOffsetsAndLeavesTheBlitLibraryAlone) {
    Engine engine;
    ASSERT_EQ(
        engine.configure({16, 2, PixFormat::YV12, 16, 0}, {16, 2, PixFormat::MIREL_NV12, 512, 0}),
        0);
    takeCalls();
    Buffers buffers(4096, 393216);
    EXPECT_EQ(engine.convert(5, buffers.src.data(), 7, 4096, 6, buffers.dst.data(), 9, 393216), 0);
    EXPECT_EQ(memcmp(buffers.dst.data(), buffers.src.data(), 16), 0);
    EXPECT_EQ(buffers.dst[512 * 512], buffers.src[48]);
    EXPECT_EQ(engine.convert(5, buffers.src.data(), 0, 4096, -1, buffers.dst.data(), 0, 393216),
              -1);
    EXPECT_THAT(takeCalls(), IsEmpty());
}

TEST(InterleaveTest, EqualsItsPlainForm) {
    std::mt19937 random(1);
    for (size_t count = 0; count < 200; ++count) {
        std::vector<uint8_t> first(count + 1), second(count + 1);
        for (size_t i = 0; i <= count; ++i)
            first[i] = static_cast<uint8_t>(random()), second[i] = static_cast<uint8_t>(random());
        std::vector<uint8_t> fast(2 * count + 3, 0xEE), plain = fast;
        color::Interleave(&first[1] - count % 2, &second[0], &fast[1], count);
        color::InterleavePlain(&first[1] - count % 2, &second[0], &plain[1], count);
        EXPECT_EQ(fast, plain);
        EXPECT_EQ(fast[0], 0xEE);
        EXPECT_EQ(fast[2 * count + 1], 0xEE);
    }
}

}  // namespace
}  // namespace lx2::test
