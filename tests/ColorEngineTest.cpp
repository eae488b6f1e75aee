#include <dlfcn.h>
#include <lx2/PixFormat.h>
#include <lx2/Platform.h>

#include <cstring>
#include <numeric>

#include "Blocks.h"
#include "Engine.h"
#include "Fixture.h"
#include "RecordingBlit.h"
#include "SoftwareConvert.h"
#include "TempDir.h"

namespace lx2::test {

using ::testing::_;
struct Inside : LX2ColorConverter {
    using LX2ColorConverter::Engine;
};
using Engine = Inside::Engine;
using Format = LX2ColorConverter::Format;

constexpr char kTag[] = "LX2GBXEngine";

using Library = std::unique_ptr<void, int (*)(void*)>;

RecordingBlit* Record(const Library& library) {
    return reinterpret_cast<RecordingBlitFunction>(dlsym(library.get(), kRecordingSymbol))();
}

class ColorEngineTest : public Fixture {
  protected:
    // Names of the calls since the last time, unmappings with what they unmap.
    std::string takeCalls() {
        std::string names;
        for (const std::string& call : std::exchange(blit->calls, {}))
            names += call.substr(0, call.find("UnMapAddr") == 0 ? call.npos : call.find(' ')) + " ";
        return names;
    }

    // One frame at addresses that nobody reads; the recording library gives GPU addresses n << 24.
    static int32_t convert(Engine& engine) {
        return engine.convert(5, reinterpret_cast<uint8_t*>(0x10000), 64, 1 << 20, 6,
                              reinterpret_cast<uint8_t*>(0x20000), 32, 1 << 20);
    }

    Library blitLibrary{dlopen("libGBX2.so", RTLD_NOW), dlclose};
    Library utilityLibrary{dlopen("libferrum_utils.so", RTLD_NOW), dlclose};
    RecordingBlit* blit = Record(blitLibrary);
    RecordingBlit* utility = Record(utilityLibrary);
};

using ColorUnboundTest = Fixture;

// Each library that can't be opened, or lacks a symbol, is put in front of the recording ones.
TEST_F(ColorUnboundTest, SaysWhatIsMissingAndFailsEveryConversion) {
    const auto buffer = GraphicBuffer(64, 64, PixFormat::NV12);
    size_t variants = 0;
    for (const auto& variant : std::filesystem::directory_iterator(LX2_BROKEN_LIBRARIES)) {
        const TempDir dir;
        std::filesystem::copy(variant, dir / ".");
        std::filesystem::current_path(dir / ".");
        log.take();
        LX2ColorConverter converter;
        const std::string name = variant.path().filename();
        const bool opens = name.find(".so") == name.npos;
        EXPECT_THAT(
            log.takeTexts(),
            ElementsAre(MatchesRegex(opens ? "Engine: dlsym " + name + " failed, disable gbx engine"
                                           : "Engine: s?open " + name + " failed .*" + name +
                                                 ".*gbx disabled")));
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(converter.convert(buffer->graphic(), buffer->graphic()), -1);
        EXPECT_THAT(log.takeTexts(),
                    ElementsAre("configure: configure failed, gbx disabled",
                                "convert: configure gbx engine failed",
                                "convert:  can't do color conversion now (enable 0, config 0)",
                                "convert: convert failed"));
        ++variants;
    }
    EXPECT_EQ(variants, 13u);
}

TEST_F(ColorEngineTest, ClosesTheBlitLibraryFirst) {
    std::string closed;
    auto engine = std::make_unique<Engine>();
    blit->onClose = [&] { closed += "blit "; };
    utility->onClose = [&] { closed += "utility "; };
    utilityLibrary.reset();
    blitLibrary.reset();
    EXPECT_EQ(closed, "");
    engine.reset();
    EXPECT_EQ(closed, "blit utility ");
}

// The figures were worked out apart from the code, with a script from the rules of each layout.
TEST_F(ColorEngineTest, KnowsCodeStrideLumaAndFrameSizeOfEveryFormat) {
    const struct {
        uint32_t format, code, width, height, stride, luma, size;
    } rows[] = {
        {PixFormat::NV12, 0x98, 0, 7, 0, 0, 0},
        {PixFormat::NV12, 0x98, 32, 1000, 32, 32000, 65536},
        {PixFormat::NV12, 0x98, 1919, 1081, 1920, 2075520, 3112960},
        {PixFormat::YV12, 0xAC, 32, 1000, 32, 32000, 49152},
        {PixFormat::YV12, 0xAC, 1919, 1081, 1920, 2075520, 3112960},
        {PixFormat::I420, 0xAD, 36, 1000, 48, 48000, 81920},
        {PixFormat::MIREL_NV12, 0x98, 0, 0, 0, 0, 0},
        {PixFormat::MIREL_NV12, 0x98, 1, 1, 512, 262144, 262144},
        {PixFormat::MIREL_NV12, 0x98, 1919, 1081, 2048, 3145728, 4718592},
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 0, 7, 0, 0, 0},
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 1, 1, 128, 8192, 32768},
        // room for two fields up to 1920 a side and 2088959 pixels
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 1920, 1080, 1920, 2101248, 3219456},
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 1920, 1088, 1920, 2101248, 3153920},
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 1921, 720, 2048, 1515520, 2306048},
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 1087, 1920, 1152, 2228224, 3342336},
        {PixFormat::MIREL_NV12_CMPX, 0x800098, 1080, 1921, 1152, 2265088, 3416064},
        {PixFormat::MIREL_TP10, 0x8000BF, 0, 7, 0, 0, 0},
        {PixFormat::MIREL_TP10, 0x8000BF, 1, 1, 256, 8192, 16384},
        {PixFormat::MIREL_TP10, 0x8000BF, 1919, 1081, 2560, 2805760, 4210688},
        {PixFormat::MIREL_TP10, 0x8000BF, 1087, 1920, 1536, 2981888, 4472832},
    };
    Engine engine;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(PixFormat::Str(row.format)) + " " + std::to_string(row.width));
        EXPECT_EQ(engine.getGBXColorFormat(row.format), row.code);
        EXPECT_EQ(engine.calcStride(row.format, row.width, true), row.stride);
        EXPECT_EQ(engine.calcYSize(row.format, row.width, row.height), row.luma);
        EXPECT_EQ(engine.calcSize(row.format, row.width, row.height, true), row.size);
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
    // 48 rows and one of metadata, padded to whole pages
    EXPECT_EQ(engine.calcSize(PixFormat::RGBA8888_CMPX, 100, 40, false), 28672u);
    EXPECT_EQ(engine.calcSize(PixFormat::RGBA8888, 100, 40, true), 32768u);
    EXPECT_EQ(utility->calls.back(), "Align 64 28 0 1c 1 0 0 200");
    // The sizes of both sides come before their luma.
    const std::string size = "calcSize: alignedw 128, alignedh 49";
    const std::string luma = "calcYSize: unsupported or RGB color format, RGBA8888(1)";
    const Format rgba{100, 40, PixFormat::RGBA8888, 160, 0};
    EXPECT_THAT(textsAt(0x01000002, [&] { engine.configure(rgba, rgba); }),
                ElementsAre(size, size, luma, luma, "configure: configure successfully"));
}

TEST_F(ColorEngineTest, RefusesFormatsThatItDoesNotKnow) {
    const Engine engine;
    EXPECT_EQ(engine.getGBXColorFormat(PixFormat::MIREL_P010), 0xFFFFFFFFu);
    EXPECT_EQ(engine.calcStride(PixFormat::MIREL_P010, 64, true), 0u);
    EXPECT_EQ(engine.calcYSize(PixFormat::RGBA8888, 64, 64), 0u);
    EXPECT_THAT(
        log.take(),
        ElementsAre(
            Error(kTag, "getGBXColorFormat: unsupported color format, MIREL_P010(2141391882)"),
            Error(kTag, "calcStride: unsupported color format, MIREL_P010(2141391882)"),
            Info(kTag, "calcYSize: unsupported or RGB color format, RGBA8888(1)")));
}

TEST_F(ColorEngineTest, HandsTheBlitLibraryItsRecordsByteByByte) {
    {
        Engine engine;
        ASSERT_EQ(engine.configure({100, 40, PixFormat::RGBA8888, 160, 0},
                                   {100, 40, PixFormat::MIREL_NV12_CMPX, 0, 0}),
                  0);
        EXPECT_THAT(blit->calls,
                    ElementsAre("CreateSurface 1 19 | 6400000a14 28 aaaaaaaa aaaaaaaa 280",
                                "CreateSurface 2 1b | 6400800098 28 aaaaaaaa aaaaaaaa 80 "
                                "aaaaaaaa aaaaaaaa 80 0 0 80"));
        blit->statuses["Finish"] = {13};  // nobody's business
        EXPECT_EQ(convert(engine), 0);
        blit->calls.clear();
        // The source becomes planar, the target RGB; each side's record is the old one anew.
        ASSERT_EQ(engine.configure({100, 40, PixFormat::I420, 160, 0},
                                   {100, 40, PixFormat::RGBA8888_CMPX, 0, 0}),
                  0);
        EXPECT_EQ(convert(engine), 0);
    }
    // The offset counts on both sides of YUV, on the CPU's only of RGB; luma is 112 x 40 bytes and
    // chroma 64 x 40 / 2.
    EXPECT_THAT(
        blit->calls,
        ElementsAre("DestroySurface 1",
                    "CreateSurface 1 1b | 64000000ad 28 aaaaaaaa aaaaaaaa 70 "
                    "aaaaaaaa aaaaaaaa 40 0 aaaaaaaa 40",
                    "DestroySurface 2", "CreateSurface 2 19 | 6400800a14 28 aaaaaaaa aaaaaaaa 200",
                    "MapAddr 5 10040 2000 0 3",
                    "UpdateSurface 3 1 b | 64000000ad 28 10040 4000040 70 "
                    "111c0 40011c0 40 116c0 40016c0 40",
                    "MapAddr 6 20020 7000 0 3",
                    "UpdateSurface 4 2 9 | 6400800a14 28 20020 5000000 200",
                    "Draw 4 0 0 0 0 1 | 3 0 200c010 64000000000000 280000 64000000000000 280000 "
                    "0 0 0 0 0 0",
                    "Finish 4", "UnMapAddr 4000000", "UnMapAddr 5000000", "DestroySurface 3",
                    "DestroySurface 4"));
}

TEST_F(ColorEngineTest, UnmapsWhatItMappedOnEveryFailure) {
    const std::string steps[] = {"MapAddr ",       "UpdateSurface ", "MapAddr ",
                                 "UpdateSurface ", "Draw ",          "Finish "};
    const std::string unmappings[] = {"", "UnMapAddr 2000000 ",
                                      "UnMapAddr 2000000 UnMapAddr 3000000 "};
    const struct {
        const char* failing;
        uint32_t call;  // of that name
        int32_t status;
        size_t steps, unmappings;  // how many of those above
        const char* texts;
    } rows[] = {
        {"MapAddr", 0, 7, 1, 0,
         "getMappedGPUAddr: gbxMapAddr failed: status 7, fd 5, ptr 0x10040, len 8192, flags 3\n"
         "convert: get mapped src GPU address failed\n"},
        {"UpdateSurface", 0, 8, 2, 1, "convert: Update src surface def failed (8)\n"},
        {"MapAddr", 1, -3, 3, 1,
         "getMappedGPUAddr: gbxMapAddr failed: status -3, fd 6, ptr 0x20020, len 32768, flags 3\n"
         "convert: get mapped dst GPU adress failed\n"},
        {"UpdateSurface", 1, 9, 4, 2, "convert: Update dst surface def failed (9)\n"},
        {"Draw", 0, 10, 6, 2, "convert: GBX draw failed (10)\n"},
        {"UnMapAddr", 1, 11, 6, 2,
         "unmapGPUAddr: gbxUnMapAddr failed: status 11, gpuAddr 0x3000000\n"
         "convert: unmapping GPU address failed (1, 0)\n"},
        {"UnMapAddr", 0, 12, 6, 2,
         "unmapGPUAddr: gbxUnMapAddr failed: status 12, gpuAddr 0x2000000\n"
         "convert: unmapping GPU address failed (0, 1)\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.texts);
        *blit = {};
        Engine engine;
        ASSERT_EQ(engine.configure({100, 40, PixFormat::YV12, 112, 0},
                                   {100, 40, PixFormat::MIREL_NV12_CMPX, 0, 0}),
                  0);
        takeCalls();
        blit->statuses[row.failing].resize(row.call);
        blit->statuses[row.failing].push_back(row.status);
        EXPECT_EQ(convert(engine), -1);
        EXPECT_EQ(takeCalls(), std::accumulate(steps, steps + row.steps, std::string()) +
                                   unmappings[row.unmappings]);
        std::string texts;
        for (const LogLine& line : log.take())
            texts += (line.priority == ANDROID_LOG_ERROR ? "" : "no error: ") + line.text + "\n";
        EXPECT_EQ(texts, row.texts);
        EXPECT_EQ(convert(engine), 0) << "a failed frame spoils no later one";
    }
}

TEST_F(ColorEngineTest, AFailedReconfigurationKeepsTheEngineConfigured) {
    Engine engine;
    const Format nv12{64, 64, PixFormat::NV12, 64, 0};
    blit->statuses["CreateSurface"] = {0, 5};  // either side's failure is one of the whole
    EXPECT_EQ(engine.configure(nv12, {64, 64, PixFormat::YV12, 64, 0}), -1);
    EXPECT_EQ(convert(engine), -1);
    EXPECT_EQ(engine.configure(nv12, {64, 64, PixFormat::MIREL_NV12, 512, 0}), 0);
    // What is drawn stays as it was configured last.
    blit->statuses["CreateSurface"] = {0, 4};
    EXPECT_EQ(engine.configure({32, 32, PixFormat::NV12, 32, 0}, {32, 32, PixFormat::YV12, 32, 0}),
              -1);
    EXPECT_EQ(convert(engine), 0);
    EXPECT_THAT(blit->calls, Contains("Draw 0 0 0 0 0 1 | 4 0 200c010 40000000000000 400000 "
                                      "40000000000000 400000 0 0 0 0 0 0"));
    takeCalls();
    blit->statuses["CreateSurface"] = {4};
    EXPECT_EQ(engine.configure(nv12, {64, 64, PixFormat::MIREL_P010, 64, 0}), -1);
    EXPECT_EQ(convert(engine), -1);
    EXPECT_EQ(takeCalls(),
              "DestroySurface CreateSurface "
              "MapAddr UpdateSurface MapAddr UnMapAddr 4000000 UnMapAddr 5000000 ");
    EXPECT_THAT(log.takeTexts(),
                ElementsAre("configure: configure failed",
                            "convert:  can't do color conversion now (enable 1, config 0)",
                            "configure: configure failed",
                            "calcSize: unsupported color format, MIREL_P010(2141391882)",
                            "calcYSize: unsupported or RGB color format, MIREL_P010(2141391882)",
                            "getDummySurfaceDef: unsupported color format MIREL_P010(2141391882)",
                            "configure: configure failed",
                            "convert: unsupported dst color format MIREL_P010(2141391882)"));
}

TEST_F(ColorEngineTest, RefusesArgumentsThatNoFrameCanHave) {
    Engine engine;
    ASSERT_EQ(engine.configure({64, 64, PixFormat::NV12, 64, 0}, {64, 64, PixFormat::YV12, 64, 0}),
              0);
    takeCalls();
    uint8_t byte = 0, *base = &byte, *none = nullptr;
    const struct {
        int srcFd, dstFd;
        uint8_t *srcBase, *dstBase;
        uint32_t srcSize, dstSize;
    } rows[] = {{-1, 6, base, base, 8192, 8192}, {5, -1, base, base, 8192, 8192},
                {5, 6, none, base, 8192, 8192},  {5, 6, base, none, 8192, 8192},
                {5, 6, base, base, 8191, 8192},  {5, 6, base, base, 8192, 8191}};
    for (const auto& row : rows) {
        log.take();
        EXPECT_EQ(engine.convert(row.srcFd, row.srcBase, 0, row.srcSize, row.dstFd, row.dstBase, 0,
                                 row.dstSize),
                  -1);
        char text[256];
        snprintf(text, sizeof(text),
                 "convert: convert failed, incorrect input parameters: srcFd %d, dstFd %d, "
                 "srcBase %p, dstBase %p, mSrcSize 8192, srcSize %u, mDstSize 8192, dstSize %u",
                 row.srcFd, row.dstFd, static_cast<void*>(row.srcBase),
                 static_cast<void*>(row.dstBase), row.srcSize, row.dstSize);
        EXPECT_THAT(log.take(), ElementsAre(Error(kTag, text)));
    }
    EXPECT_EQ(takeCalls(), "");
    EXPECT_EQ(engine.convert(0, base, 0, 8192, 0, base, 0, 8192), 0) << "descriptors as others";
}

TEST_F(ColorEngineTest, DebugLinesHaveTwoGates) {
    Engine engine;
    const auto frame = [&](uint32_t from, uint32_t to) {
        return [&engine, from, to] {
            engine.configure({16, 0, from, 16, 0}, {16, 0, to, 16, 0});
            convert(engine);
        };
    };
    EXPECT_THAT(textsAt(0x01000002, frame(PixFormat::NV12, PixFormat::I420)),
                ElementsAre("configure: configure successfully",
                            "getMappedGPUAddr: mapping created: gpuaddr 0x2000000, fd 5, "
                            "ptr 0x10040, len 0",
                            _, "unmapGPUAddr: unmapped: gpuaddr 0x2000000",
                            "unmapGPUAddr: unmapped: gpuaddr 0x3000000"));
    takeCalls();
    EXPECT_THAT(textsAt(0x00000001, frame(PixFormat::YV12, PixFormat::MIREL_NV12)),
                ElementsAre("convert: using SW conversion for YV12 --> MIREL_NV12"));
    EXPECT_EQ(takeCalls(), "DestroySurface CreateSurface DestroySurface CreateSurface ");
}

// Guarded source and target of the software path, filled with noise.
struct Buffers {
    Buffers(uint32_t srcSize, uint32_t dstSize) : src(srcSize + 64), dst(dstSize + 64, 0xEE) {
        uint32_t noise = 1;
        for (uint8_t& byte : src)
            byte = static_cast<uint8_t>((noise *= 48271) >> 16);
    }
    std::vector<uint8_t> src, dst;
};

TEST_F(ColorEngineTest, SoftwarePathMergesPlanesAndWritesNothingElse) {
    const std::pair<uint32_t, uint32_t> sizes[] = {{8, 0},  {0, 3},     {1, 2},     {33, 1},
                                                   {67, 3}, {511, 513}, {1280, 720}};
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
    const struct {
        uint32_t srcSize, dstSize, width, height;
        const char* refused;  // the side, if any
    } rows[] = {
        {1382400, 2359296, 1280, 720, nullptr},
        {1382399, 2359296, 1280, 720, "src"},
        {1382400, 1966079, 1280, 720, "dst"},
        // enough for the rule, which counts the chroma half, and for the 360 rows that there are
        {1382400, 1572864 + 359 * 1536 + 1280, 1280, 720, nullptr},
        // enough for the rule, not for the rows
        {1382400, 1572864 + 359 * 1536 + 1279, 1280, 720, "dst"},
        // enough for the rows, not for the rule
        {4096, 327680, 16, 2, nullptr},
        {4096, 327679, 16, 2, "dst"},
        // sizes that wrap to small ones in 32 bits
        {4096, 4096, 0x80000000, 2, "src"},
    };
    for (const auto& row : rows) {
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

TEST_F(ColorEngineTest, SoftwarePathIgnoresOffsetsAndEmptyRowsButNotDescriptors) {
    Engine engine;
    ASSERT_EQ(
        engine.configure({16, 2, PixFormat::YV12, 16, 0}, {16, 2, PixFormat::MIREL_NV12, 512, 0}),
        0);
    Buffers frame(4096, 393216);
    EXPECT_EQ(color::ConvertYv12ToMirelNv12(nullptr, 0, nullptr, 0, 0, 0xFFFFFFFF), 0)
        << "rows without width, as many as there may be";
    EXPECT_EQ(engine.convert(5, frame.src.data(), 0, 4096, -1, frame.dst.data(), 0, 393216), -1);
    EXPECT_EQ(frame.dst[0], 0xEE);
    EXPECT_EQ(engine.convert(5, frame.src.data(), 7, 4096, 6, frame.dst.data(), 9, 393216), 0);
    EXPECT_EQ(memcmp(frame.dst.data(), frame.src.data(), 16), 0);
    EXPECT_EQ(frame.dst[512 * 512], frame.src[48]);
}

// The last one: the platform's sizes keep the utility library open.
TEST_F(ColorEngineTest, ThePlatformTakesNoNegativeAnswerFromTheUtility) {
    const std::tuple<int32_t, int32_t, uint64_t> rows[] = {
        {128, 49, 28672}, {-128, 49, 0}, {128, -49, 0}};
    for (const auto& [width, height, size] : rows) {
        utility->aligned = {width, height};
        EXPECT_EQ(Platform::MirelBufferLayout::CompressedFrameSize(PixFormat::RGBA8888_CMPX, 9, 9),
                  size);
    }
}

}  // namespace lx2::test
