#include <C2AllocatorGralloc.h>
#include <C2PlatformSupport.h>
#include <dirent.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Mapper.h>

#include <thread>

#include "Blocks.h"
#include "Fixture.h"

// An unwrapped handle with too few descriptors is left behind by the constructor that refuses it.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    return "leak:android::UnwrapNativeCodec2GrallocHandle\n";
}

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kTag = "LX2Buf";
constexpr const char* kGrallocTag = "LX2GrallocBuffer";
using MapperError = android::hardware::graphics::mapper::V3_0::Error;

size_t OpenDescriptors() {
    size_t count = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (readdir(dir) != nullptr)
        ++count;
    closedir(dir);
    return count;
}

class GrallocTest : public Fixture {
  protected:
    ~GrallocTest() override { host::SetMapperErrors(MapperError::NONE, MapperError::NONE); }

    static void expectInvalid(LX2PlatformBuffer& buffer) {
        EXPECT_EQ(buffer.fd(), -1);
        EXPECT_EQ(buffer.allocSize(), 0u);
        for (uint32_t value : {buffer.offset(), buffer.width(), buffer.height(), buffer.stride(),
                               buffer.sliceHeight(), buffer.flags()})
            EXPECT_EQ(value, 0xFFFFFFFFu);
        EXPECT_EQ(buffer.format(), 0u);
        EXPECT_EQ(buffer.id(), ~uint64_t{0});
    }
};

TEST_F(GrallocTest, ReadsTheRecordThroughAnImportOfItsOwn) {
    const size_t imports = host::LiveImports();
    auto allocation = host::AllocateGraphic(1920, 1080, PixFormat::MIREL_NV12, 0x33);
    auto buffer = LX2PlatformBuffer::Create(allocation->handle());
    EXPECT_EQ(host::LiveImports(), imports + 1);
    EXPECT_NE(buffer->fd(), allocation->handle()->data[0]) << "a descriptor of its own";
    EXPECT_TRUE(host::IsDmaBuf(buffer->fd()));
    EXPECT_EQ(buffer->width(), 1920u);
    EXPECT_EQ(buffer->height(), 1080u);
    EXPECT_EQ(buffer->stride(), 2048u);
    EXPECT_EQ(buffer->sliceHeight(), 1536u);
    EXPECT_EQ(buffer->format(), PixFormat::MIREL_NV12);
    EXPECT_EQ(buffer->flags(), 0x33u);
    EXPECT_EQ(buffer->offset(), 0u);
    EXPECT_EQ(buffer->allocSize(), 2048u * (1536 + 768));
    EXPECT_EQ(buffer->id(), host::BufferId(allocation->handle()));
    buffer.reset();
    EXPECT_EQ(host::LiveImports(), imports);
}

TEST_F(GrallocTest, ResolvesTheAllocatorsFormatByTheCompressionFlag) {
    struct Row {
        uint32_t allocated;
        uint64_t usage;
        uint32_t format;
    };
    constexpr uint64_t kCompressed = host::kUsageCompressed;
    const Row rows[] = {
        {1, 0, PixFormat::RGBA8888},
        {1, kCompressed, PixFormat::RGBA8888_CMPX},
        {0x22, 0, PixFormat::MIREL_NV12},
        {0x22, kCompressed, PixFormat::MIREL_NV12_CMPX},
        {0x102, kCompressed, PixFormat::MIREL_NV12_CMPX},
        {0x7F000789, 0, PixFormat::MIREL_NV12},
        {0x7F000789, kCompressed, PixFormat::MIREL_NV12_CMPX},
        {0x23, kCompressed, 0x23},
        {PixFormat::MIREL_TP10, kCompressed, PixFormat::MIREL_TP10},
    };
    for (const Row& row : rows) {
        LX2GrallocBuffer buffer(host::AllocateGraphic(64, 64, row.allocated, row.usage)->handle());
        EXPECT_EQ(buffer.format(), row.format) << std::hex << row.allocated;
        EXPECT_EQ((buffer.flags() & 0x08000000) != 0, row.usage == kCompressed);
    }
}

TEST_F(GrallocTest, HandlesOfAnotherShapeGiveTheInvalidObject) {
    using Handle = std::unique_ptr<native_handle_t, int (*)(native_handle_t*)>;
    const auto wrapped = [](int fds, int ints) {
        Handle plain(native_handle_create(fds, ints), native_handle_delete);
        for (int i = 0; i < fds; ++i)
            plain->data[i] = STDERR_FILENO;
        return Handle(android::WrapNativeCodec2GrallocHandle(plain.get(), 8, 8, 1, 0, 8),
                      native_handle_delete);
    };
    const std::string invalid = "LX2GrallocBuffer: invalid handle";
    const std::vector<std::string> refused = {"Failed to import buffer from mapper 2",
                                              "Failed to import buffer",
                                              "Failed to import buffer after unwrapping"};
    LX2GrallocBuffer none(nullptr);
    expectInvalid(none);
    EXPECT_THAT(log.take(), ElementsAre(Error(kGrallocTag, invalid)));

    Handle bare(native_handle_create(2, 15), native_handle_delete);
    struct Row {
        Handle handle;
        std::vector<std::string> texts;
    };
    Row rows[] = {
        {Handle(native_handle_create(0, 0), native_handle_delete), {invalid}},
        {std::move(bare), {invalid}},  // not wrapped
        {wrapped(0, 15), {invalid}},
        {wrapped(2, 14), refused},
        {wrapped(3, 15), refused},
        {wrapped(2, 15), refused},  // the right shape, another allocator's
    };
    for (const Row& row : rows) {
        LX2GrallocBuffer buffer(row.handle.get());
        expectInvalid(buffer);
        std::vector<LogLine> expected;
        for (const auto& text : row.texts)
            expected.push_back(Error(kGrallocTag, text));
        EXPECT_EQ(log.take(), expected);
    }
}

TEST_F(GrallocTest, MapperFailuresAreLogged) {
    auto allocation = host::AllocateGraphic(64, 64, PixFormat::NV12, 0);
    host::SetMapperErrors(MapperError::NO_RESOURCES, MapperError::NONE);
    LX2GrallocBuffer failed(allocation->handle());
    expectInvalid(failed);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kGrallocTag, "Failed to import buffer from mapper 5"),
                            Error(kGrallocTag, "Failed to import buffer"),
                            Error(kGrallocTag, "Failed to import buffer after unwrapping")));
    host::SetMapperErrors(MapperError::NONE, MapperError::NONE);

    LX2Mapper3Helper helper;
    EXPECT_EQ(helper.importBuffer(nullptr), nullptr);
    helper.freeBuffer(nullptr);
    EXPECT_THAT(log.take(), ElementsAre(Error(kGrallocTag, "Invalid handle to import"),
                                        Error(kGrallocTag, "Invalid handle to free")));

    native_handle_t* plain = android::UnwrapNativeCodec2GrallocHandle(allocation->handle());
    native_handle_t* imported = helper.importBuffer(plain);
    ASSERT_NE(imported, nullptr);
    char text[128];
    snprintf(text, sizeof(text), "Buffer %p imported as %p", static_cast<void*>(plain),
             static_cast<void*>(imported));
    EXPECT_THAT(log.take(), ElementsAre(Info(kGrallocTag, text)));
    helper.freeBuffer(plain);
    snprintf(text, sizeof(text), "Failed to free buffer %p, err 2", static_cast<void*>(plain));
    EXPECT_THAT(log.take(), ElementsAre(Error(kGrallocTag, text)));
    helper.freeBuffer(imported);
    EXPECT_THAT(log.take(), IsEmpty());
    native_handle_delete(plain);
}

TEST_F(GrallocTest, MissingServiceFailsEachImport) {
    host::SetMapperProvider([] { return host::MapperService(); });
    LX2Mapper3Helper helper;
    host::SetMapperProvider(nullptr);
    EXPECT_THAT(log.take(), ElementsAre(Error(kGrallocTag, "Failed to get mapper service")));
    native_handle_t* handle = native_handle_create(2, 0);
    EXPECT_EQ(helper.importBuffer(handle), nullptr);
    EXPECT_THAT(log.take(), ElementsAre(Error(kGrallocTag, "Failed to import buffer")));
    helper.freeBuffer(handle);
    EXPECT_THAT(log.take(), IsEmpty());
    native_handle_delete(handle);
    EXPECT_EQ(LX2Mapper3Helper::Get(), LX2Mapper3Helper::Get());
}

TEST_F(GrallocTest, ManyThreadsImportAndFreeAtOnce) {
    LX2Mapper3Helper::Get();
    const size_t imports = host::LiveImports();
    auto allocation = host::AllocateGraphic(64, 64, PixFormat::NV12, 0);
    std::thread threads[4];
    for (auto& thread : threads) {
        thread = std::thread([&allocation] {
            for (int i = 0; i < 200; ++i)
                EXPECT_EQ(LX2GrallocBuffer(allocation->handle()).width(), 64u);
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(host::LiveImports(), imports);
}

TEST_F(GrallocTest, NothingIsLeftAfterTenThousandRounds) {
    std::shared_ptr<C2BlockPool> basic;
    android::GetCodec2BlockPool(C2BlockPool::BASIC_GRAPHIC, nullptr, &basic);
    auto pool = LX2GraphicBufferPool::Create(basic);
    pool->setResolution(64, 64);
    pool->setFormat(PixFormat::MIREL_NV12_CMPX);
    const size_t descriptors = OpenDescriptors();
    const size_t imports = host::LiveImports();
    std::shared_ptr<LX2Buffer> buffer;
    for (int i = 0; i < 10000; ++i) {
        ASSERT_EQ(pool->allocate(&buffer), C2_OK);
        log.take();
    }
    buffer.reset();
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(host::LiveImports(), imports);
}

class GraphicViewTest : public Fixture {};

TEST_F(GraphicViewTest, CropIsClampedAndSetAllTheSame) {
    auto buffer = GraphicBuffer(1920, 1080, PixFormat::MIREL_NV12);
    log.take();
    LX2Buffer::Graphic& view = *buffer->graphic();
    EXPECT_EQ(view.crop(), C2Rect(1920, 1080));
    struct Row {
        C2Rect asked;
        C2Rect set;
    };
    const Row fitting[] = {{C2Rect(1920, 1080), C2Rect(1920, 1080)},
                           {C2Rect(0, 0, 1920, 1080), C2Rect(0, 0, 1920, 1080)}};
    for (const Row& row : fitting) {
        EXPECT_EQ(view.setCrop(row.asked), C2_OK);
        EXPECT_EQ(view.crop(), row.set);
    }
    const Row clamped[] = {
        {C2Rect(1920, 1080, 16, 0), C2Rect(1904, 1080, 16, 0)},
        {C2Rect(10, 10, 4000, 4000), C2Rect(0, 0, 1920, 1080)},
        {C2Rect(1920, 1081), C2Rect(1920, 1080)},
        // the sums wrap: 8 + 2^32 - 4 is 4, less the left edge of 8
        {C2Rect(0xFFFFFFFC, 10, 8, 0), C2Rect(0xFFFFFFFC, 10, 8, 0)},
    };
    for (const Row& row : clamped) {
        EXPECT_THAT(textsAt(1, [&] { EXPECT_EQ(view.setCrop(row.asked), C2_CANNOT_DO); }),
                    ElementsAre(HasSubstr("Adjusted crop to fit from (")));
        EXPECT_EQ(view.crop(), row.set) << row.asked.left << "," << row.asked.width;
    }
    EXPECT_THAT(textsAt(0x02000001, [&] { view.setCrop(clamped[0].asked); }),
                ElementsAre("Adjusted crop to fit from (16,0)[1920x1080] to (16,0)[1904x1080]"));
    auto shared = buffer->getSharedBuffer();
    EXPECT_EQ(shared->data().graphicBlocks()[0].crop(), C2Rect(1904, 1080, 16, 0));

    auto wrapped = LX2Buffer::CreateFromC2Buffer(shared);
    log.take();
    EXPECT_EQ(wrapped->graphic()->crop(), C2Rect(1904, 1080, 16, 0));
    EXPECT_EQ(wrapped->graphic()->setCrop(C2Rect(1, 1)), C2_CANNOT_DO);
    EXPECT_EQ(wrapped->graphic()->crop(), C2Rect(1904, 1080, 16, 0));
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(wrapped->getSharedBuffer(), shared);
}

TEST_F(GraphicViewTest, EffectiveSizeComesFromTheCropUnlessNoneIsSet) {
    auto buffer = GraphicBuffer(320, 240, PixFormat::NV12);
    struct Row {
        C2Rect crop;
        uint32_t width, height;
    };
    const Row rows[] = {
        {C2Rect(0, 0, 0, 0), 320, 240}, {C2Rect(100, 50, 4, 4), 100, 50},
        {C2Rect(0, 10, 0, 0), 0, 10},   {C2Rect(10, 0, 0, 0), 10, 0},
        {C2Rect(0, 0, 8, 0), 0, 0},     {C2Rect(0, 0, 0, 8), 0, 0},
    };
    for (const Row& row : rows) {
        buffer->graphic()->setCrop(row.crop);
        EXPECT_EQ(buffer->graphic()->effectiveWidth(), row.width);
        EXPECT_EQ(buffer->graphic()->effectiveHeight(), row.height);
    }
}

TEST_F(GraphicViewTest, ViewWithoutABlockGivesTheDefaults) {
    LX2Buffer buffer{std::shared_ptr<C2GraphicBlock>()};
    LX2Buffer::Graphic& view = *buffer.graphic();
    EXPECT_EQ(buffer.type(), 3u);
    EXPECT_FALSE(view.isValid());
    EXPECT_EQ(view.fd(), -1);
    EXPECT_EQ(view.format(), 0u);
    EXPECT_EQ(view.allocSize(), 0u);
    for (uint32_t value :
         {view.width(), view.height(), view.stride(), view.sliceHeight(), view.offset(),
          view.flags(), view.effectiveWidth(), view.effectiveHeight()})
        EXPECT_EQ(value, 0xFFFFFFFFu);
    EXPECT_EQ(view.map(), nullptr);
    EXPECT_EQ(view.setCrop(C2Rect(1, 1)), C2_CANNOT_DO);
    EXPECT_THAT(log.take(), IsEmpty());
    std::vector<std::unique_ptr<C2Param>> params;
    EXPECT_EQ(view.getPrivateMetadata({C2Param::Type(0xC2001809)}, &params), C2_CANNOT_DO);
    EXPECT_EQ(view.getPrivateMetadata(&params, &params), C2_CANNOT_DO);
    EXPECT_EQ(view.setPrivateMetadata({}), C2_CANNOT_DO);
    const auto warning = Warning(kTag, "private handle NULL, cannot set metadata");
    EXPECT_THAT(log.take(), ElementsAre(warning, warning, warning));
    EXPECT_EQ(view.share(), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre(Warning(kTag, "LX2Buffer::Graphic::share: Source buffer is invalid")));
}

TEST_F(GraphicViewTest, MapsTheWholeAllocationAndNoLongerThanItIs) {
    auto buffer = GraphicBuffer(64, 64, PixFormat::NV12);
    {
        auto writer = buffer->graphic()->map();
        ASSERT_NE(writer->data(), nullptr);
        EXPECT_EQ(writer->size(), buffer->graphic()->allocSize());
        writer->data()[writer->size() - 1] = 9;
        auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer->getSharedBuffer());
        EXPECT_EQ(wrapped->graphic()->mapReadOnly()->data()[writer->size() - 1], 9);
        wrapped->graphic()->setAllocSize(100);
        EXPECT_EQ(wrapped->graphic()->mapReadOnly()->size(), 100u);
        EXPECT_EQ(buffer->graphic()->allocSize(), writer->size()) << "another import";
    }
    buffer->graphic()->setCompressedSize(123);
    EXPECT_EQ(buffer->graphic()->compressedSize(), 123u);
}

TEST_F(GraphicViewTest, AlignsAsEachFormatRequires) {
    struct Row {
        uint32_t format, width, alignedWidth, height, alignedHeight;
    };
    const Row rows[] = {
        {1, 1919, 1919, 1079, 1079},
        {0xC2000000, 1919, 1919, 1079, 1079},
        {35, 17, 32, 17, 32},
        {0x32315659, 16, 16, 1080, 1088},
        {0x109, 1, 16, 0, 0},
        {0x114, 1, 512, 513, 1024},
        {0x125, 0, 0, 0, 0},
        {0x7FA30C04, 1920, 2048, 1080, 1536},
        {0x126, 129, 256, 33, 64},
        {0x128, 129, 256, 33, 64},
        {0x129, 129, 256, 33, 64},
        {0x130, 0, 0, 0, 0},
        {0x7FA30C06, 1920, 1920, 1080, 1088},
        {0x7FA30C09, 1, 192, 1, 16},
        {0x7FA30C09, 4096, 4224, 1088, 1088},
        {0x7FA30C09, 0, 0, 0, 0},
        {0x7FA30C0A, 1, 128, 1, 32},
        {0x7FA30C0A, 129, 256, 0, 0},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(LX2Buffer::Graphic::GetAlignedWidth(row.width, row.format), row.alignedWidth)
            << std::hex << row.format;
        EXPECT_EQ(LX2Buffer::Graphic::GetAlignedHeight(row.height, row.format), row.alignedHeight)
            << std::hex << row.format;
    }
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(LX2Buffer::Graphic::GetAlignedWidth(100, 0x10A), 0u);
    EXPECT_EQ(LX2Buffer::Graphic::GetAlignedHeight(100, 0x10A), 0u);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, "GetAlignedWidth: unsupported color format, UNKNOWN"),
                            Error(kTag, "GetAlignedHeight: unsupported color format, UNKNOWN")));
}

TEST_F(GraphicViewTest, IsDescribedInOneLine) {
    auto buffer = GraphicBuffer(320, 240, PixFormat::NV12);
    buffer->setTimestamp(5);
    buffer->graphic()->setCrop(C2Rect(100, 50, 2, 4));
    char text[160] = {};
    const std::string fd = std::to_string(buffer->graphic()->fd());
    EXPECT_EQ(LX2Buffer::AsString(buffer, text, sizeof(text)),
              "Gfx{ts=5 fd=" + fd + " [320x240]<320x240> f=NV12 crop=(2, 4)[100x50]}");
    const size_t imports = host::LiveImports();
    EXPECT_THAT(LX2Buffer::AsString(buffer->getSharedBuffer(), text, sizeof(text)),
                ::testing::AllOf(::testing::StartsWith("Gfx{fd="),
                                 ::testing::EndsWith(" [320x240]<320x240> f=NV12(NV12) crop=(2, "
                                                     "4)[100x50]}")));
    EXPECT_EQ(host::LiveImports(), imports) << "the temporary import is freed";
}

}  // namespace
}  // namespace lx2::test
