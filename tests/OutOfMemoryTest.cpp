// What is left when there is no memory for one more object.
#include <lx2/IVFHeaders.h>
#include <lx2/LX2ColorConverter.h>
#include <lx2/LX2FileDump.h>
#include <lx2/PixFormat.h>
#include <lx2/ReflectedParamUpdater.h>
#include <lx2host/OpenResources.h>

#include <cstdlib>
#include <new>
#include <utility>

#include "Blocks.h"
#include "Fixture.h"
#include "TempDir.h"

namespace {
// Which of the next allocations fails, counted from 1; none when 0.
int gFailing = 0;  // of those that the library asks for with nothrow, wherever it can go on without
int gThrowing = 0;  // of all others
}  // namespace

void* operator new(size_t size) {
    void* memory = gThrowing > 0 && --gThrowing == 0 ? nullptr : malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
// Not inline: the compiler would see free() take what its own operator new gave, and warn.
__attribute__((noinline)) void operator delete(void* memory) noexcept {
    free(memory);
}
__attribute__((noinline)) void operator delete(void* memory, size_t) noexcept {
    free(memory);
}

// A sanitizer's own do not come here.
void* operator new[](size_t size) {
    return ::operator new(size);
}
__attribute__((noinline)) void operator delete[](void* memory) noexcept {
    free(memory);
}
__attribute__((noinline)) void operator delete[](void* memory, size_t) noexcept {
    free(memory);
}

void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return gFailing > 0 && --gFailing == 0 ? nullptr : malloc(size);
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
    return ::operator new(size, tag);
}

namespace lx2::test {

using OutOfMemoryTest = Fixture;

constexpr char kEngine[] = "LX2GBXEngine", kConverter[] = "LX2ColorConverter";

TEST_F(OutOfMemoryTest, AConverterSaysWhatItLacksAndConvertsTheNextGeometry) {
    const auto yuv = GraphicBuffer(64, 64, PixFormat::NV12);
    const auto rgb = GraphicBuffer(64, 64, PixFormat::RGBA8888);
    log.take();
    gFailing = 1;
    LX2ColorConverter none;
    EXPECT_EQ(none.convert(yuv->graphic(), rgb->graphic()), -1);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kConverter, "convert: gbx engine has not been created")));
    const char* const lacking[] = {"getDummySurfaceDef: surfaceYUVDef allocation falied",
                                   "getDummySurfaceDef: surfaceRGBDef allocation failed"};
    for (int i = 0; i < 2; ++i) {
        LX2ColorConverter converter;
        gFailing = i + 1;
        EXPECT_EQ(converter.convert(yuv->graphic(), rgb->graphic()), -1);
        std::vector<LogLine> lines = log.take();
        lines.erase(lines.begin(), lines.end() - 3);  // which say that RGB has no luma
        EXPECT_THAT(lines, ElementsAre(Error(kEngine, lacking[i]),
                                       Error(kEngine, "configure: configure failed"),
                                       Error(kConverter, "convert: configure gbx engine failed")));
        EXPECT_EQ(converter.convert(rgb->graphic(), yuv->graphic()), 0);
    }
}

// Of all allocations on the way the library itself throws those of its two mappings only.
TEST_F(OutOfMemoryTest, AConversionThatLacksMemoryLeavesNothingOpen) {
    LX2ColorConverter().convert(nullptr, nullptr);  // loads what stays loaded
    const host::OpenResources before;
    bool failed = true;
    int thrown = 0;
    for (int failing = 1; failed; ++failing) {
        {
            const auto yuv = GraphicBuffer(64, 64, PixFormat::NV12);
            const auto rgb = GraphicBuffer(64, 64, PixFormat::RGBA8888);
            LX2ColorConverter converter;
            gThrowing = failing;
            try {
                converter.convert(yuv->graphic(), rgb->graphic());
            } catch (const std::bad_alloc&) {
                ++thrown;
            }
            failed = std::exchange(gThrowing, 0) == 0;
        }
        host::ResetSyncCounts();  // of brackets whose start had no memory
        EXPECT_THAT(before.leftOpen(), IsEmpty()) << failing;
    }
    EXPECT_EQ(thrown, 2);
}

TEST_F(OutOfMemoryTest, AFileLoggerThatCannotBeMadeSaysSoAndADumpGoesOn) {
    TempDir dir;
    const size_t before = OpenFiles();
    gC2FileLogLevel = 1;
    for (const int failing : {1, 2}) {
        std::unique_ptr<LX2FileLogger> logger;
        gFailing = failing;
        EXPECT_EQ(LX2FileLogger::Create(dir / "log.txt", &logger), C2_NO_MEMORY);
        EXPECT_EQ(logger, nullptr);
        EXPECT_EQ(OpenFiles(), before);
        EXPECT_THAT(log.take(),
                    ElementsAre(Error(
                        "FileLog", "No memory for the logger of log file : " + dir / "log.txt")));
    }
    std::unique_ptr<LX2FileDump> dump;
    ASSERT_EQ(LX2FileDump::Create("video/avc", dir / "dump", &dump), C2_OK);
    const auto buffer = LinearBuffer(4);
    gFailing = 1;  // the stream's buffer: it is written without
    EXPECT_EQ(dump->write(buffer), C2_OK);
    EXPECT_EQ(gFailing, 0);
    EXPECT_EQ(ReadAll(dir / "dump").size(), 4u);
}

TEST_F(OutOfMemoryTest, BytesThatCannotBeMadeLeaveTheFormerOnes) {
    auto bytes = std::make_unique<uint8_t[]>(1);
    gThrowing = 1;
    EXPECT_THROW(IVFStreamHeader().toBytes(&bytes), std::bad_alloc);
    EXPECT_NE(bytes, nullptr);
}

TEST_F(OutOfMemoryTest, AParameterThatCannotGrowStaysAsItIs) {
    constexpr uint32_t kIndex = 0xA0000001;
    const std::vector<C2FieldDescriptor> fields = {{C2FieldDescriptor::STRING, 0, "t", 0, 1}};
    ReflectedParamUpdater updater;
    updater.addParamDesc(std::make_shared<C2ParamDescriptor>(false, "p", kIndex), {1u, fields},
                         nullptr, false);
    uint32_t memory[] = {8, kIndex};
    std::vector<std::unique_ptr<C2Param>> params;
    params.push_back(C2Param::Copy(*C2Param::From(memory, sizeof(memory))));
    const C2Param* before = params[0].get();
    for (const uint32_t size : {8, 13}) {
        gFailing = size == 8;
        updater.updateParamsFromMessage({{"p.t", "text"}}, &params);
        EXPECT_EQ(params[0]->size(), size);
        EXPECT_EQ(params[0].get() == before, size == 8);
    }
}

}  // namespace lx2::test
