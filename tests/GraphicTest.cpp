#include <C2AllocatorGralloc.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/PixFormat.h>
#include <lx2host/Mapper.h>

#include <numeric>
#include <sstream>

#include "Blocks.h"
#include "Fixture.h"

// Of the leak checker, where there is one.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace lx2::test {

using ::testing::Each;

constexpr const char* kTag = "LX2Buf";
constexpr const char* kGrallocTag = "LX2GrallocBuffer";
using MapperError = android::hardware::graphics::mapper::V3_0::Error;

template <class Record>
std::vector<uint32_t> Figures(Record& record) {
    return {record.width(),       record.height(), record.stride(),
            record.sliceHeight(), record.offset(), record.flags()};
}

class GrallocTest : public Fixture {
  protected:
    ~GrallocTest() override { host::SetMapperErrors(MapperError::NONE, MapperError::NONE); }

    // The handle gives the invalid object and these errors.
    void expectInvalid(const C2Handle* handle, const std::vector<std::string>& errors) {
        LX2GrallocBuffer buffer(handle);
        EXPECT_EQ(log.take(), Errors(kGrallocTag, errors));
        EXPECT_EQ(buffer.fd(), -1);
        EXPECT_EQ(buffer.allocSize(), 0u);
        EXPECT_THAT(Figures(buffer), Each(0xFFFFFFFFu));
        EXPECT_EQ(buffer.format(), 0u);
        EXPECT_EQ(buffer.id(), ~uint64_t{0});
    }
    static std::vector<std::string> refusedWith(int error) {
        return {"Failed to import buffer from mapper " + std::to_string(error),
                "Failed to import buffer", "Failed to import buffer after unwrapping"};
    }
};

// The record's bytes are written out here and nowhere else: a mistake that both sides share would
// not show otherwise.
TEST_F(GrallocTest, ReadsTheRecordThroughAnImportOfItsOwn) {
    const int pixels = host::AllocateDmaBuf(4096), metadata = host::AllocateDmaBuf(16384);
    const int32_t words[20] = {12,         2,    15, pixels, metadata, 0x4C583247,
                               0x08000024, 28,   32, 36,     40,
                               0x22,              // at 44, the allocator's format
                               -1,         -1,    //
                               56,         0x3C,  // at 56, the id
                               -1,         -1,    //
                               4096,       76};   // at 72, the size, and the offset
    native_handle_t* plain = native_handle_create(2, 15);
    memcpy(plain, words, sizeof(words));
    C2Handle* wrapped = android::WrapNativeCodec2GrallocHandle(plain, 36, 40, 0x22, 0, 28);
    const size_t imports = host::LiveImports();
    auto buffer = LX2PlatformBuffer::Create(wrapped);
    EXPECT_EQ(host::LiveImports(), imports + 1);
    EXPECT_NE(buffer->fd(), wrapped->data[0]) << "a descriptor of its own";
    EXPECT_TRUE(host::IsDmaBuf(buffer->fd()));
    EXPECT_THAT(Figures(*buffer), ElementsAre(36, 40, 28, 32, 76, 0x08000024));
    EXPECT_EQ(buffer->format(), 0x7FA30C06u);
    EXPECT_EQ(buffer->id(), 0x3C00000038u);
    EXPECT_EQ(buffer->allocSize(), 4096u);
    buffer.reset();
    EXPECT_EQ(host::LiveImports(), imports);
    for (native_handle_t* handle : {plain, wrapped}) {
        native_handle_close(handle);
        native_handle_delete(handle);
    }
}

TEST_F(GrallocTest, ResolvesTheAllocatorsFormatByTheCompressionFlag) {
    const struct {
        uint32_t allocated;
        bool compressed;
        uint32_t format;
    } rows[] = {{1, false, PixFormat::RGBA8888},
                {1, true, PixFormat::RGBA8888_CMPX},
                {0x22, false, PixFormat::MIREL_NV12},
                {0x102, true, PixFormat::MIREL_NV12_CMPX},
                {0x7F000789, false, PixFormat::MIREL_NV12},
                {0x7F000789, true, PixFormat::MIREL_NV12_CMPX},
                {0x23, true, 0x23}};
    for (const auto& row : rows) {
        const uint64_t usage = row.compressed ? host::kUsageCompressed : 0;
        LX2GrallocBuffer buffer(host::AllocateGraphic(64, 64, row.allocated, usage)->handle());
        EXPECT_EQ(buffer.format(), row.format) << std::hex << row.allocated;
    }
}

TEST_F(GrallocTest, HandlesOfAnotherShapeGiveTheInvalidObject) {
    using Handle = std::unique_ptr<native_handle_t, int (*)(native_handle_t*)>;
    const auto bare = [](int fds, int ints) {
        Handle handle(native_handle_create(fds, ints), native_handle_delete);
        std::fill_n(handle->data, fds, STDERR_FILENO);
        return handle;
    };
    const auto wrapped = [&](int fds, int ints) {
        return Handle(android::WrapNativeCodec2GrallocHandle(bare(fds, ints).get(), 8, 8, 1, 0, 8),
                      native_handle_delete);
    };
    const std::vector<std::string> invalid = {"LX2GrallocBuffer: invalid handle"};
    expectInvalid(nullptr, invalid);
    expectInvalid(bare(0, 0).get(), invalid);
    expectInvalid(bare(2, 15).get(), invalid);
    // An unwrapped handle with too few descriptors is left behind by the constructor that refuses
    // it.
    if (__lsan_disable != nullptr)
        __lsan_disable();
    expectInvalid(wrapped(1, 15).get(), invalid);
    if (__lsan_enable != nullptr)
        __lsan_enable();
    // The last one has the right shape and is another allocator's.
    for (const auto& [fds, ints] : {std::pair(2, 14), std::pair(3, 15), std::pair(2, 15)})
        expectInvalid(wrapped(fds, ints).get(), refusedWith(2));
    host::SetMapperErrors(MapperError::NO_RESOURCES, MapperError::NONE);
    expectInvalid(host::AllocateGraphic(64, 64, PixFormat::NV12, 0)->handle(), refusedWith(5));
}

TEST_F(GrallocTest, MapperFailuresAreLogged) {
    const auto allocation = host::AllocateGraphic(64, 64, PixFormat::NV12, 0);
    native_handle_t* plain = android::UnwrapNativeCodec2GrallocHandle(allocation->handle());
    const auto text = [](const auto&... parts) {
        std::ostringstream out;
        (out << ... << parts);
        return out.str();
    };
    LX2Mapper3Helper helper;
    EXPECT_EQ(helper.importBuffer(nullptr), nullptr);
    helper.freeBuffer(nullptr);
    helper.freeBuffer(plain);
    EXPECT_EQ(log.take(), Errors(kGrallocTag, {"Invalid handle to import", "Invalid handle to free",
                                               text("Failed to free buffer ", plain, ", err 2")}));
    native_handle_t* imported = helper.importBuffer(plain);
    ASSERT_NE(imported, nullptr);
    helper.freeBuffer(imported);
    EXPECT_THAT(log.take(),
                ElementsAre(Info(kGrallocTag, text("Buffer ", plain, " imported as ", imported))));

    host::SetMapperProvider([] { return host::MapperService(); });
    LX2Mapper3Helper orphan;
    host::SetMapperProvider(nullptr);
    EXPECT_EQ(orphan.importBuffer(plain), nullptr);
    orphan.freeBuffer(plain);
    EXPECT_EQ(log.take(),
              Errors(kGrallocTag, {"Failed to get mapper service", "Failed to import buffer"}));
    native_handle_delete(plain);
    EXPECT_EQ(LX2Mapper3Helper::Get(), LX2Mapper3Helper::Get());
}

class GraphicViewTest : public Fixture {};

TEST_F(GraphicViewTest, CropIsClampedAndSetAllTheSame) {
    auto buffer = GraphicBuffer(1920, 1080, PixFormat::MIREL_NV12);
    log.take();
    LX2Buffer::Graphic& view = *buffer->graphic();
    EXPECT_EQ(WordsOf(view.crop()), WordsOf(C2Rect(1920, 1080)));
    EXPECT_EQ(view.setCrop(C2Rect(1919, 1079).at(1, 1)), C2_OK);
    EXPECT_EQ(WordsOf(view.crop()), WordsOf(C2Rect(1919, 1079).at(1, 1)))
        << "up to the edges is within";
    const std::pair<C2Rect, C2Rect> clamped[] = {
        {C2Rect(1920, 1080).at(16, 0), C2Rect(1904, 1080).at(16, 0)},
        {C2Rect(10, 10).at(4000, 4000), C2Rect(0, 0).at(1920, 1080)},
        {C2Rect(1920, 1081), C2Rect(1920, 1080)},
        {C2Rect(8, 1000).at(1916, 100), C2Rect(4, 980).at(1916, 100)},
        // the sums wrap: 8 + 2^32 - 4 is 4, less the left edge of 8
        {C2Rect(0xFFFFFFFC, 10).at(8, 0), C2Rect(0xFFFFFFFC, 10).at(8, 0)},
    };
    for (const auto& [asked, set] : clamped) {
        EXPECT_EQ(view.setCrop(asked), C2_CANNOT_DO);
        EXPECT_EQ(WordsOf(view.crop()), WordsOf(set));
    }
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_THAT(textsAt(0x02000001, [&] { view.setCrop(clamped[0].first); }),
                ElementsAre("Adjusted crop to fit from (16,0)[1920x1080] to (16,0)[1904x1080]"));
    auto shared = buffer->getSharedBuffer();
    auto wrapped = LX2Buffer::CreateFromC2Buffer(shared);
    log.take();
    EXPECT_EQ(WordsOf(wrapped->graphic()->crop()), WordsOf(C2Rect(1904, 1080).at(16, 0)));
    EXPECT_EQ(wrapped->graphic()->setCrop(C2Rect(1, 1)), C2_CANNOT_DO);
    EXPECT_EQ(WordsOf(wrapped->graphic()->crop()), WordsOf(C2Rect(1904, 1080).at(16, 0)));
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(wrapped->getSharedBuffer(), shared);
}

TEST_F(GraphicViewTest, EffectiveSizeComesFromTheCropUnlessNoneIsSet) {
    auto buffer = GraphicBuffer(320, 240, PixFormat::NV12);
    const std::pair<C2Rect, C2Rect> rows[] = {
        {C2Rect(0, 0), C2Rect(320, 240)},      {C2Rect(100, 50).at(4, 4), C2Rect(100, 50)},
        {C2Rect(0, 10), C2Rect(0, 10)},        {C2Rect(10, 0), C2Rect(10, 0)},
        {C2Rect(0, 0).at(8, 0), C2Rect(0, 0)}, {C2Rect(0, 0).at(0, 8), C2Rect(0, 0)}};
    for (const auto& [crop, effective] : rows) {
        buffer->graphic()->setCrop(crop);
        EXPECT_EQ(buffer->graphic()->effectiveWidth(), effective.width);
        EXPECT_EQ(buffer->graphic()->effectiveHeight(), effective.height);
    }
}

TEST_F(GraphicViewTest, ViewWithoutABlockGivesTheDefaults) {
    LX2Buffer buffer{std::shared_ptr<C2GraphicBlock>()};
    LX2Buffer::Graphic& view = *buffer.graphic();
    EXPECT_THAT((std::vector{uint32_t(view.fd()), view.effectiveWidth(), view.effectiveHeight()}),
                Each(0xFFFFFFFFu));
    EXPECT_THAT(Figures(view), Each(0xFFFFFFFFu));
    view.setAllocSize(5);
    EXPECT_EQ(view.format() + view.allocSize(), 0u);
    EXPECT_EQ(view.map(), nullptr);
    EXPECT_EQ(view.setCrop(C2Rect(1, 1)), C2_CANNOT_DO);
    EXPECT_THAT(log.take(), IsEmpty());
    std::vector<std::unique_ptr<C2Param>> params;
    EXPECT_EQ(view.getPrivateMetadata({C2Param::Type(0xC2001809)}, &params), C2_CANNOT_DO);
    EXPECT_EQ(view.getPrivateMetadata(&params, &params), C2_CANNOT_DO);
    EXPECT_EQ(view.setPrivateMetadata({}), C2_CANNOT_DO);
    EXPECT_EQ(view.setPresentationTime(1), C2_CANNOT_DO);
    EXPECT_EQ(view.copyPrivateMetadataTo(&view, nullptr), C2_CANNOT_DO);
    EXPECT_EQ(view.copyPrivateMetadataTo(nullptr, nullptr), LX2_BAD_ARG);
    const auto warning = Warning(kTag, "private handle NULL, cannot set metadata");
    EXPECT_THAT(log.take(), ElementsAre(warning, warning, warning, warning, warning));
    EXPECT_EQ(view.share(), nullptr);
    EXPECT_THAT(log.take(),
                ElementsAre(Warning(kTag, "LX2Buffer::Graphic::share: Source buffer is invalid")));
}

TEST_F(GraphicViewTest, ReportsEachFieldOfItsRecord) {
    const auto allocation = host::AllocateGraphic(100, 50, PixFormat::MIREL_NV12_CMPX, 0x33);
    auto* record = const_cast<native_handle_t*>(allocation->handle());
    record->data[16] = 4096;  // the offset, at byte 76
    const auto block = _C2BlockFactory::CreateGraphicBlock(allocation);
    LX2Buffer buffer(block);
    LX2Buffer::Graphic& view = *buffer.graphic();
    EXPECT_THAT(Figures(view), ElementsAre(100, 50, 128, 64, 4096, 0x33));
    EXPECT_EQ(view.format(), PixFormat::MIREL_NV12_CMPX);
    EXPECT_EQ(view.id(), host::BufferId(record));

    // Read anew, of another block; a view of another kind than its buffer's does not look.
    const auto other = GraphicBlock(164, 32, PixFormat::NV12);
    view.init(other->share(C2Rect(108, 4), C2Fence()));
    EXPECT_EQ(view.id(), host::BufferId(other->handle()));
    EXPECT_EQ(view.allocSize(), view.platformBuffer()->allocSize());
    EXPECT_EQ(view.crop(), C2Rect(108, 4));
    EXPECT_THAT(textsAt(1, [&] { view.setCrop(view.crop()); }),
                ElementsAre("Adjusted crop to fit from (0,0)[108x4] to (0,0)[100x4]"));
    LX2Buffer::Graphic invalid(LinearBuffer(16).get(), block);
    EXPECT_EQ(invalid.id(), ~uint64_t{0});
    EXPECT_NE(invalid.share(), nullptr) << "sharing asks for a block and not for validity";
}

TEST_F(GraphicViewTest, MapsTheWholeAllocationAndNoLongerThanItIs) {
    auto buffer = GraphicBuffer(64, 64, PixFormat::NV12);
    auto writer = buffer->graphic()->map();
    ASSERT_TRUE(LX2Buffer::Mapping::IsUsable(writer));
    EXPECT_EQ(writer->size(), buffer->graphic()->allocSize());
    EXPECT_EQ(buffer->graphic()->bytes(writer).data, writer->data());
    EXPECT_EQ(buffer->graphic()->bytes(writer).size, writer->size());
    EXPECT_FALSE(buffer->graphic()->bytes(nullptr));
    writer->data()[writer->size() - 1] = 9;
    auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer->getSharedBuffer());
    std::weak_ptr<LX2Buffer> watch = wrapped;
    auto reader = wrapped->graphic()->mapReadOnly();
    EXPECT_FALSE(reader->isWritable());
    EXPECT_EQ(reader->data()[writer->size() - 1], 9);
    wrapped->graphic()->setAllocSize(100);
    EXPECT_EQ(wrapped->graphic()->mapReadOnly()->size(), 100u);
    EXPECT_EQ(wrapped->graphic()->platformBuffer()->allocSize(), writer->size());
    wrapped.reset();
    EXPECT_FALSE(watch.expired()) << "a mapping keeps its buffer";
    reader.reset();
    EXPECT_TRUE(watch.expired());
}

TEST_F(GraphicViewTest, PlanesAreCopiedFromAndToMemoryOfAnyPitch) {
    for (const uint32_t format : {PixFormat::RGBA8888, PixFormat::I420, PixFormat::YV12,
                                  PixFormat::NV12, PixFormat::MIREL_NV12, PixFormat::MIREL_P010}) {
        const auto buffer = GraphicBuffer(37, 23, format);
        const FramePlanes expected = buffer->graphic()->planes();
        auto frame = buffer->graphic()->mapPlanes();
        ASSERT_TRUE(frame) << PixFormat::Str(format);
        ASSERT_EQ(frame.count(), expected.count);
        EXPECT_TRUE(frame.isWritable());
        std::vector<uint8_t> memory(37 * 4 * 23 + 23), copy(memory.size());
        for (uint32_t i = 0; i < frame.count(); ++i) {
            std::iota(memory.begin(), memory.end(), static_cast<uint8_t>(i));
            const auto rowBytes = static_cast<ptrdiff_t>(expected[i].rowBytes);
            EXPECT_EQ(frame.copyFrom(i, memory.data(), rowBytes + 1), C2_OK);
            const auto read = buffer->graphic()->mapPlanesReadOnly();
            EXPECT_FALSE(read.isWritable());
            EXPECT_EQ(read.copyFrom(i, memory.data(), rowBytes), C2_CANNOT_DO);
            uint8_t* last = &copy[(expected[i].rows - 1) * expected[i].rowBytes];
            EXPECT_EQ(read.copyTo(i, last, -rowBytes), C2_OK) << "bottom up";
            const auto mapping = buffer->graphic()->mapReadOnly();
            for (uint64_t y = 0; y < expected[i].rows; ++y) {
                const uint8_t* source = &memory[y * (expected[i].rowBytes + 1)];
                EXPECT_EQ(memcmp(read[i].row(y), source, expected[i].rowBytes), 0);
                EXPECT_EQ(memcmp(last - y * expected[i].rowBytes, source, expected[i].rowBytes), 0);
                const uint64_t at = expected[i].offset + y * expected[i].pitch;
                EXPECT_EQ(mapping->data()[at], *source);
            }
            for (const uint32_t index : {i, frame.count()})
                EXPECT_EQ(read.copyTo(index, index == i ? nullptr : last, 1), LX2_BAD_ARG);
        }
        EXPECT_EQ(frame.copyFrom(0, nullptr, 1), LX2_BAD_ARG);
        EXPECT_EQ(frame.copyFrom(frame.count(), memory.data(), 1), LX2_BAD_ARG);
        frame = {};
        EXPECT_EQ(host::GetSyncCounts().open, 0u) << "the access ends";
        EXPECT_FALSE(frame || frame.isWritable());
    }
}

TEST_F(GraphicViewTest, PlanesThatCannotBeWorkedOnAreEmpty) {
    const auto expectEmpty = [this](LX2Buffer& buffer, const std::vector<std::string>& errors) {
        log.take();
        EXPECT_FALSE(buffer.graphic()->mapPlanes());
        EXPECT_EQ(log.take(), Errors(kTag, errors));
    };
    LX2Buffer none{std::shared_ptr<C2GraphicBlock>()};
    expectEmpty(none, {});
    expectEmpty(*GraphicBuffer(64, 64, PixFormat::MIREL_TP10),
                {"LX2Buffer::Graphic: no planes in format MIREL_TP10"});
    const auto small = GraphicBuffer(64, 64, PixFormat::NV12);
    small->graphic()->setAllocSize(64 * 96);
    EXPECT_TRUE(small->graphic()->mapPlanes());
    small->graphic()->setAllocSize(64 * 96 - 1);
    expectEmpty(*small, {"LX2Buffer::Graphic: planes of 6144 bytes exceed the allocation of 6143"});
    const auto block = GraphicBlock(16, 16, PixFormat::RGBA8888);
    auto* words = reinterpret_cast<uint32_t*>(const_cast<C2Handle*>(block->handle()));
    words[28 / 4] = 0x80000000;  // the stride
    words[40 / 4] = 0x80000001;  // the height: the product is a multiple of 2^64
    words[76 / 4] = 0x40000000;  // the offset
    const auto wide = std::make_shared<LX2Buffer>(block);
    EXPECT_FALSE(wide->graphic()->bytes(wide->graphic()->map())) << "beyond the memory";
    expectEmpty(*wide, {"LX2Buffer::Graphic: planes of 18446744073709551615 bytes exceed the "
                        "allocation of " +
                        std::to_string(wide->graphic()->allocSize())});
    small->graphic()->setAllocSize(1 << 30);
    log.take();
    EXPECT_FALSE(small->graphic()->mapPlanes());
    EXPECT_THAT(log.takeTexts(), Contains(HasSubstr("Failed to map")));
}

TEST_F(GraphicViewTest, AlignsAsEachFormatRequires) {
    const struct {
        std::vector<uint32_t> formats;
        uint32_t width, alignedWidth, height, alignedHeight;
    } rows[] = {
        {{1, 0xC2000000}, 1919, 1919, 1079, 1079},
        {{35}, 17, 32, 17, 32},
        {{0x109, 0x32315659}, 1, 16, 1080, 1088},
        {{0x114, 0x125, 0x7FA30C04}, 1, 512, 513, 1024},
        {{0x126, 0x128, 0x129, 0x130, 0x7FA30C06}, 129, 256, 33, 64},
        {{0x7FA30C09}, 1, 192, 1, 16},
        {{0x7FA30C09}, 4096, 4224, 0, 0},
        {{0x7FA30C09}, 0, 0, 0, 0},
        {{0x7FA30C0A}, 128, 128, 1, 32},
    };
    for (const auto& row : rows)
        for (uint32_t format : row.formats) {
            EXPECT_EQ(LX2Buffer::Graphic::GetAlignedWidth(row.width, format), row.alignedWidth)
                << std::hex << format;
            EXPECT_EQ(LX2Buffer::Graphic::GetAlignedHeight(row.height, format), row.alignedHeight)
                << std::hex << format;
        }
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(LX2Buffer::Graphic::GetAlignedWidth(100, 0x10A), 0u);
    EXPECT_EQ(LX2Buffer::Graphic::GetAlignedHeight(100, 0x10A), 0u);
    EXPECT_EQ(log.take(), Errors(kTag, {"GetAlignedWidth: unsupported color format, UNKNOWN",
                                        "GetAlignedHeight: unsupported color format, UNKNOWN"}));
}

TEST_F(GraphicViewTest, IsDescribedInOneLine) {
    auto buffer = GraphicBuffer(320, 238, PixFormat::MIREL_NV12_CMPX);
    buffer->setTimestamp(5);
    buffer->graphic()->setCrop(C2Rect(100, 50).at(2, 4));
    char text[160] = {};
    const std::string fd = std::to_string(buffer->graphic()->fd());
    EXPECT_EQ(LX2Buffer::AsString(buffer, text, sizeof(text)),
              "Gfx{ts=5 fd=" + fd + " [320x238]<384x256> f=MIREL_NV12_CMPX crop=(2, 4)[100x50]}");
    const size_t imports = host::LiveImports();
    EXPECT_THAT(LX2Buffer::AsString(buffer->getSharedBuffer(), text, sizeof(text)),
                MatchesRegex("Gfx\\{fd=[0-9]+ \\[320x238\\]<384x256> f=MIREL_NV12_CMPX"
                             "\\(MIREL_NV12_CMPX\\) crop=\\(2, 4\\)\\[100x50\\]\\}"));
    EXPECT_EQ(host::LiveImports(), imports) << "the temporary import is freed";
    const auto two = buffer->getSharedBuffer()->data().graphicBlocks();
    EXPECT_STREQ(LX2Buffer::AsString(std::make_shared<AnyC2Buffer>(std::vector{two[0], two[0]}),
                                     text, sizeof(text)),
                 "Invalid");
}

}  // namespace lx2::test
