#include <fcntl.h>
#include <linux/dma-buf.h>
#include <lx2/BufFlag.h>
#include <lx2/LX2VendorParams.h>
#include <lx2/PixFormat.h>
#include <sys/mman.h>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

using ::testing::SizeIs;
using Other = ValueInfo<0x0A02>::output;

constexpr const char* kTag = "LX2Buf";

std::shared_ptr<ValueInfo<0x0A01>::output> AnInfo(uint32_t value) {
    return std::make_shared<ValueInfo<0x0A01>::output>(0u, value);
}

// A C2Buffer that the library has no single view of.
template <typename Block>
std::shared_ptr<LX2Buffer> WrappedTwice(const Block& block) {
    return LX2Buffer::CreateFromC2Buffer(
        std::make_shared<AnyC2Buffer>(std::vector<Block>{block, block}));
}

std::shared_ptr<LX2Buffer> BufferOver(uint32_t capacity, const std::vector<int>& fds) {
    return std::make_shared<LX2Buffer>(
        _C2BlockFactory::CreateLinearBlock(std::make_shared<LinearAllocation>(capacity, fds)), 0);
}

class BufferTest : public Fixture {
  protected:
    std::shared_ptr<LX2Buffer> buffer = LinearBuffer(4096);
};

TEST_F(BufferTest, ValuesReadZeroUntilSetAndThenTheLastOneSet) {
    struct Row {
        const char* key;
        uint64_t (LX2Buffer::*get)() const;
        void (LX2Buffer::*set)(uint64_t);
    };
    const Row rows[] = {
        {"timestamp", &LX2Buffer::timestamp, &LX2Buffer::setTimestamp},
        {"input-index", &LX2Buffer::inputIndex, &LX2Buffer::setInputIndex},
        {"output-index", &LX2Buffer::outputIndex, &LX2Buffer::setOutputIndex},
        {"custom-ordinal", &LX2Buffer::customOrdinal, &LX2Buffer::setCustomOrdinal},
        {"flags", &LX2Buffer::flags, &LX2Buffer::setFlags},
    };
    uint64_t value = 1ull << 40;
    for (const Row& row : rows) {
        EXPECT_FALSE(buffer->hasBufferInfo(row.key));
        EXPECT_EQ((buffer.get()->*row.get)(), 0u) << row.key;
        (buffer.get()->*row.set)(5);
        (buffer.get()->*row.set)(++value);
        EXPECT_TRUE(buffer->hasBufferInfo(row.key));
    }
    for (const Row& row : rows)
        EXPECT_EQ((buffer.get()->*row.get)(), ++value - std::size(rows)) << row.key;
    EXPECT_EQ(buffer->bufferInfo<uint64_t>(LX2Buffer::kFlags), buffer->flags());
    EXPECT_EQ(buffer->setBufferInfo(LX2Buffer::kFlags, std::string("odd")), C2_OK);
    EXPECT_EQ(buffer->bufferInfo<std::string>("flags"), "odd");
    EXPECT_EQ(buffer->bufferInfo<uint64_t>("flags"), std::nullopt) << "another type is a miss";
    EXPECT_EQ(buffer->flags(), 0u);
    EXPECT_EQ(buffer->bufferInfo<double>("none"), std::nullopt);
}

TEST_F(BufferTest, KindDecidesWhichViewIsValid) {
    EXPECT_EQ(buffer->type(), 1u);
    EXPECT_TRUE(buffer->linear()->isValid());
    EXPECT_EQ(buffer->graphic()->id(), ~uint64_t{0});
    EXPECT_EQ(buffer->graphic()->map(), nullptr);

    const auto picture = GraphicBlock(64, 64, 0x109)->share(C2Rect(64, 64), C2Fence());
    const auto bytes = LinearBlock(64)->share(0, 64, C2Fence());
    log.take();
    for (const auto& [two, kind] :
         {std::pair(WrappedTwice(bytes), 2u), std::pair(WrappedTwice(picture), 4u)}) {
        EXPECT_EQ(two->type(), kind);
        EXPECT_FALSE(two->linear()->isValid());
        EXPECT_FALSE(two->graphic()->isValid());
        EXPECT_EQ(two->getSharedBuffer()->data().type(), kind);
    }
    EXPECT_THAT(log.take(), IsEmpty());

    auto none = LX2Buffer::CreateFromC2Buffer(nullptr);
    EXPECT_EQ(log.take(), Errors(kTag, {"LX2Buffer: cannot wrap an invalid C2Buffer"}));
    EXPECT_EQ(none->type(), 2u);
    EXPECT_EQ(none->linear()->map(), nullptr);
    EXPECT_EQ(none->graphic()->mapReadOnly(), nullptr);
    EXPECT_EQ(none->getSharedBuffer(), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(BufferTest, InfoOfTheSameCoreIndexReplacesAndOthersAppend) {
    EXPECT_EQ(buffer->addInfo(nullptr), LX2_BAD_ARG);
    EXPECT_EQ(buffer->addInfo(std::make_shared<ValueInfo<0x0A01>::input>(0u, 1u)), C2_OK);
    auto sizeless = std::make_shared<Other>(0u, 2u);
    memset(static_cast<void*>(sizeless.get()), 0, sizeof(uint32_t));
    EXPECT_EQ(buffer->addInfo(sizeless), C2_OK);
    EXPECT_EQ(buffer->addInfo(AnInfo(3)), C2_OK);
    // Of the same type but of any length: another core index.
    EXPECT_EQ(
        buffer->addInfo(C2StreamParam<C2Info, C2BlobValue, 0x0A01>::output::AllocShared(3, 0u)),
        C2_OK);
    auto infos = buffer->infos();
    ASSERT_THAT(infos, SizeIs(3));
    EXPECT_EQ(infos[2]->size(), 11u);
    EXPECT_TRUE(*infos[0] == *AnInfo(3));
    EXPECT_EQ(infos[1], nullptr) << "what has no size can't be copied";
    EXPECT_NE(infos[0], buffer->infos()[0]) << "copies, not the infos themselves";
    buffer->clearInfos();
    EXPECT_THAT(buffer->infos(), IsEmpty());
}

TEST_F(BufferTest, CopyKeepsTheTargetsValuesAndSharesInfosAndUpdates) {
    auto target = LinearBuffer(64);
    auto info = AnInfo(1);
    std::shared_ptr<C2Param> update = AnInfo(2), former = AnInfo(4);
    buffer->setTimestamp(5);
    buffer->setInputIndex(6);
    buffer->addInfo(info);
    buffer->addConfigUpdates({update});
    target->setTimestamp(9);
    target->addInfo(AnInfo(3));
    target->addConfigUpdates({former});

    EXPECT_EQ(buffer->copyBufInfoTo(nullptr), LX2_BAD_ARG);
    EXPECT_EQ(buffer->copyBufInfoTo(target), C2_OK);
    EXPECT_EQ(target->timestamp(), 9u);
    EXPECT_EQ(target->inputIndex(), 6u);
    ASSERT_THAT(target->infos(), SizeIs(1));
    EXPECT_TRUE(*target->infos()[0] == *info);
    EXPECT_THAT(target->configUpdates(), ElementsAre(former, update));
    EXPECT_EQ(info.use_count(), 3) << "shared by both buffers";

    // Of a wrapped buffer those that were added, not those inside.
    auto wrapped = LX2Buffer::CreateFromC2Buffer(buffer->getSharedBuffer());
    auto added = std::make_shared<Other>(0u, 2u);
    wrapped->addInfo(added);
    auto another = LinearBuffer(64);
    EXPECT_EQ(wrapped->copyBufInfoTo(another), C2_OK);
    ASSERT_THAT(another->infos(), SizeIs(1));
    EXPECT_TRUE(*another->infos()[0] == *added);

    EXPECT_EQ(buffer->copyBufInfoTo(buffer), C2_OK);
    EXPECT_THAT(buffer->infos(), SizeIs(1));
    EXPECT_EQ(buffer->addConfigUpdates({}), LX2_BAD_ARG);
    EXPECT_THAT(buffer->configUpdates(), ElementsAre(update, update));
}

TEST_F(BufferTest, PropertiesGoFromOnePictureToAnotherAndWhatDoesNotIsListed) {
    using In = ValueInfo<0x0A03>::input;
    const auto decoded = GraphicBuffer(64, 64, PixFormat::NV12);
    decoded->graphic()->setCrop(C2Rect(40, 40).at(8, 8));
    decoded->addInfo(AnInfo(1));
    decoded->addInfo(std::make_shared<In>(3u, 2u));
    EXPECT_EQ(decoded->graphic()->setPresentationTime(1ull << 40), C2_OK);
    const auto source = LX2Buffer::CreateFromC2Buffer(decoded->getSharedBuffer());
    std::shared_ptr<C2Param> update = AnInfo(9);
    source->setTimestamp(7);
    source->setBufferInfo("mine", std::string("text"));
    source->addInfo(std::make_shared<Other>(0u, 3u));
    source->addConfigUpdates({update});

    const auto target = GraphicBuffer(64, 32, PixFormat::MIREL_NV12);
    target->setTimestamp(8);
    target->setOutputIndex(9);
    target->addInfo(AnInfo(4));
    std::vector<C2Param::Index> omitted = {5u};
    EXPECT_EQ(source->copyPropertiesTo(target, &omitted), C2_OK);
    EXPECT_THAT(omitted, ElementsAre(C2StreamCropRectInfo::output::PARAM_TYPE));
    EXPECT_EQ(WordsOf(target->graphic()->crop()), WordsOf(C2Rect(40, 24).at(8, 8)));
    EXPECT_THAT((std::vector{target->timestamp(), target->outputIndex()}), ElementsAre(7, 9));
    EXPECT_EQ(target->bufferInfo<std::string>("mine"), "text");
    EXPECT_THAT(target->configUpdates(), ElementsAre(update));
    const auto infos = target->infos();
    ASSERT_THAT(infos, SizeIs(3));
    EXPECT_TRUE(*infos[0] == *AnInfo(1));
    EXPECT_TRUE(*infos[1] == ValueInfo<0x0A03>::output(3u, 2u)) << "an output's info now";
    EXPECT_TRUE(*infos[2] == Other(0u, 3u));
    EXPECT_TRUE(*source->infos()[1] == In(3u, 2u)) << "the source keeps its own";
    std::vector<std::unique_ptr<C2Param>> metadata;
    EXPECT_EQ(target->graphic()->getPrivateMetadata({C2StreamAvTimestampTuning::input::PARAM_TYPE},
                                                    &metadata),
              C2_OK);
    const auto* time = C2StreamAvTimestampTuning::From(metadata.at(0).get());
    ASSERT_NE(time, nullptr);
    EXPECT_EQ(time->timestamp, 1ull << 40);

    EXPECT_EQ(target->copyPropertiesTo(target, &omitted), C2_OK);
    EXPECT_THAT(omitted, IsEmpty());
    EXPECT_THAT(target->configUpdates(), SizeIs(1)) << "nothing is doubled";
    EXPECT_EQ(source->copyPropertiesTo(GraphicBuffer(64, 64, PixFormat::NV12)), C2_OK);
    EXPECT_EQ(source->copyPropertiesTo(buffer), C2_OK) << "from a picture to bytes";
    EXPECT_EQ(buffer->timestamp(), 7u);
    EXPECT_EQ(buffer->copyPropertiesTo(nullptr), LX2_BAD_ARG);
    EXPECT_EQ(buffer->copyPropertiesTo(source), C2_CANNOT_DO);
}

TEST_F(BufferTest, RangeIsCheckedTrimmedAndLogged) {
    LX2Buffer::Linear& view = *buffer->linear();
    EXPECT_EQ(view.capacity(), 4096u);
    EXPECT_EQ(view.size(), 4096u) << "a fresh block is whole";
    const struct {
        uint32_t offset, size;
        LX2Status status;
        uint32_t setOffset, setSize;
        const char* error;
    } rows[] = {
        {0, 4096, C2_OK, 0, 4096, nullptr},
        {4000, 200, C2_OK, 4000, 96, "range(4000, 200) exceeds 4096 ...trimming size to 96"},
        {4096, 0, C2_OK, 4096, 0, nullptr},
        {4097, 0, C2_CANNOT_DO, 4096, 0, "offset(4097) exceeds capacity 4096"},
        {16, 0xFFFFFFF8, C2_OK, 16, 0xFFFFFFF8, nullptr},  // the sum wraps
    };
    for (const auto& row : rows) {
        EXPECT_EQ(view.setRange(row.offset, row.size), row.status);
        EXPECT_THAT((std::vector{view.offset(), view.size()}),
                    ElementsAre(row.setOffset, row.setSize));
        std::vector<std::string> errors;
        if (row.error != nullptr)
            errors.push_back(std::string("LX2Buffer::Linear: ") + row.error);
        EXPECT_EQ(log.take(), Errors(kTag, errors));
    }
}

TEST_F(BufferTest, SharedBufferHasTheRangeOfTheMomentAndTheInfos) {
    buffer->linear()->setRange(100, 200);
    const auto info = AnInfo(1);
    buffer->addInfo(info);
    auto shared = buffer->getSharedBuffer();
    EXPECT_THAT(shared->info(), ElementsAre(info)) << "the info itself";
    buffer->linear()->setRange(0, 1);
    buffer.reset();
    const C2ConstLinearBlock block = shared->data().linearBlocks().at(0);
    EXPECT_THAT((std::vector{block.offset(), block.size()}), ElementsAre(100, 200));

    // Wrapped, it can be written but not described anew.
    auto wrapped = LX2Buffer::CreateFromC2Buffer(shared);
    EXPECT_EQ(wrapped->linear()->offset(), 100u);
    EXPECT_EQ(wrapped->linear()->setRange(0, 10), C2_CANNOT_DO);
    EXPECT_EQ(log.take(),
              Errors(kTag, {"LX2Buffer::Linear: cannot update range on a read-only buffer"}));
    EXPECT_EQ(wrapped->linear()->size(), 200u);
    wrapped->addInfo(std::make_shared<Other>(0u, 2u));
    wrapped->addInfo(AnInfo(2));
    EXPECT_EQ(wrapped->getSharedBuffer(), shared);
    ASSERT_THAT(wrapped->infos(), SizeIs(1));
    wrapped->clearInfos();
    EXPECT_TRUE(*wrapped->infos().at(0) == *info);
    EXPECT_EQ(wrapped->linear()->share(), nullptr);
    auto mapping = wrapped->linear()->map();
    EXPECT_TRUE(mapping->isWritable());
    ASSERT_EQ(mapping->size(), 4096u);
    mapping->data()[4095] = 1;
}

TEST_F(BufferTest, SecureBufferTellsItsSizeAndIsNotMapped) {
    buffer = LinearBuffer(4096, C2MemoryUsage::READ_PROTECTED | 0x30001ull);
    EXPECT_TRUE(buffer->linear()->isValid());
    EXPECT_EQ(buffer->linear()->capacity(), 4096u);
    EXPECT_GE(buffer->linear()->fd(), 0);
    EXPECT_EQ(buffer->linear()->map(), nullptr);
    EXPECT_EQ(buffer->linear()->mapReadOnly(), nullptr);
    const std::string refused = "LX2Buffer::Mapping: Cannot map a secure buffer";
    EXPECT_EQ(log.take(), Errors(kTag, {refused, refused}));
    EXPECT_EQ(host::GetSyncCounts().starts, 0u);
}

TEST_F(BufferTest, HandleWithoutDescriptorsInvalidatesTheView) {
    struct NoHandle : LinearAllocation {
        NoHandle() : LinearAllocation(64, {}) {}
        const C2Handle* handle() const override { return nullptr; }
    };
    for (const auto& allocation :
         {std::make_shared<LinearAllocation>(64, std::vector<int>{}),
          std::static_pointer_cast<LinearAllocation>(std::make_shared<NoHandle>())}) {
        const auto none = _C2BlockFactory::CreateLinearBlock(allocation);
        buffer = std::make_shared<LX2Buffer>(none, 0);
        EXPECT_EQ(log.take(), Errors(kTag, {"init: invalid handle"}));
        EXPECT_FALSE(buffer->linear()->isValid());
        EXPECT_EQ(buffer->linear()->fd(), -1);
        EXPECT_EQ(buffer->linear()->map(), nullptr);
        EXPECT_EQ(buffer->getSharedBuffer(), nullptr);
        char text[64] = "x";
        const auto shared = std::make_shared<LX2SharedBuffer>(none->share(0, 8, C2Fence()));
        EXPECT_STREQ(LX2Buffer::AsString(shared, text, 0), "x");
        EXPECT_STREQ(LX2Buffer::AsString(shared, text, sizeof(text)),
                     "Linear{fd=-1 sz=64 range(0, 8)}");
        buffer->linear()->init(LinearBlock(32)->share(0, 32, C2Fence()));
        EXPECT_EQ(buffer->linear()->capacity(), 64u) << "an invalid view ignores init";
        EXPECT_EQ(buffer->linear()->setRange(8, 8), C2_OK) << "ranges do not ask for validity";
    }
}

TEST_F(BufferTest, MapsTheFirstDescriptorFromItsStart) {
    const int first = host::AllocateDmaBuf(8192);
    buffer = BufferOver(8192, {first, host::AllocateDmaBuf(1)});
    EXPECT_EQ(buffer->linear()->fd(), first);
    buffer->linear()->setRange(5000, 100);
    auto mapping = buffer->linear()->map();
    mapping->data()[5000] = 7;
    const auto bytes = buffer->linear()->bytes(mapping);
    EXPECT_EQ(bytes.size, 100u);
    EXPECT_EQ(bytes.data, mapping->data() + 5000);
    char at5000 = 0;
    EXPECT_EQ(pread(first, &at5000, 1, 5000), 1);
    EXPECT_EQ(at5000, 7);
    buffer->linear()->setRange(16, 0xFFFFFFF8);
    EXPECT_FALSE(buffer->linear()->bytes(mapping)) << "longer than the memory";
    EXPECT_FALSE(buffer->linear()->bytes(nullptr));

    const std::string path = "/proc/self/fd/" + std::to_string(first);
    auto readOnly = BufferOver(8192, {open(path.c_str(), O_RDONLY | O_CLOEXEC)});
    EXPECT_EQ(readOnly->linear()->mapReadOnly()->data()[5000], 7);
    EXPECT_FALSE(LX2Buffer::Mapping::IsUsable(readOnly->linear()->map()));
    EXPECT_THAT(log.take(), SizeIs(1));
    LX2Buffer unshared(LinearBlock(64), 0);
    EXPECT_THROW(unshared.linear()->map(), std::bad_weak_ptr);
}

TEST_F(BufferTest, MappingBracketsItsAccess) {
    std::vector<uint64_t> flags;
    int answer = 0;
    uint8_t* mapped = nullptr;
    host::SetSyncHook([&](int fd, uint64_t value) {
        EXPECT_EQ(fd, buffer->linear()->fd());
        EXPECT_TRUE(mapped == nullptr || msync(mapped, 4096, MS_ASYNC) == 0) << "still mapped";
        flags.push_back(value);
        return answer;
    });
    buffer->linear()->mapReadOnly();
    auto mapping = buffer->linear()->map();
    mapping->syncCache(DMA_BUF_SYNC_END | DMA_BUF_SYNC_RW);
    mapping->syncCache(DMA_BUF_SYNC_START | DMA_BUF_SYNC_RW);
    mapping->unmap(nullptr, 4096);
    // Other memory, under the mapping's own descriptor.
    const auto other = LinearBuffer(4096);
    mapped = mapping->map(other->linear()->fd(), 0, 4096, PROT_READ);
    ASSERT_NE(mapped, nullptr);
    mapping->unmap(mapped, 4096);
    mapped = mapping->data();
    mapping.reset();
    EXPECT_THAT(flags, ElementsAre(1, 5, 3, 7, 3, 3, 7, 7));
    mapped = nullptr;

    // A synchronisation that fails is logged, and the access goes on.
    answer = EIO;
    mapping = buffer->linear()->map();
    ASSERT_NE(mapping->data(), nullptr);
    mapping->data()[0] = 1;
    mapping->syncCache(6);
    mapping->syncCache(1);
    mapping.reset();
    const std::string failed = "LX2Buffer::Mapping: Failed to sync cache: ";
    EXPECT_EQ(log.take(), Errors(kTag, {failed + "start-rw", failed + "end-rw", failed + "start-r",
                                        failed + "end-rw"}));
}

TEST_F(BufferTest, InvalidDescriptorGivesANullAddressAndThreeLines) {
    const std::pair<const char*, const char*> names[] = {{"r", "R/O"}, {"rw", "R/W"}};
    for (bool writable : {false, true}) {
        const auto [access, protection] = names[writable];
        EXPECT_EQ(LX2Buffer::Mapping(buffer, -1, 16, 4096, writable).data(), nullptr);
        EXPECT_EQ(
            log.take(),
            Errors(kTag, {std::string("LX2Buffer::Mapping: Failed to sync cache: start-") + access,
                          std::string("LX2Buffer::Mapping: Failed to map fd(-1) size(4096) "
                                      "offset(16) as ") +
                              protection,
                          std::string("LX2Buffer::Mapping: Failed to sync cache: end-") + access}));
    }
}

TEST_F(BufferTest, IsDescribedInOneLine) {
    const auto describe = [](const auto& buffer, uint32_t size = 128) -> std::string {
        char text[128] = "untouched";
        EXPECT_EQ(LX2Buffer::AsString(buffer, nullptr, size), nullptr);
        EXPECT_EQ(LX2Buffer::AsString(buffer, text, size), text);
        return text;
    };
    buffer->setTimestamp((1ull << 32) + 33);
    buffer->linear()->setRange(0, 1000);
    const std::string fd = std::to_string(buffer->linear()->fd());
    EXPECT_EQ(describe(buffer), "Linear{ts=33 fd=" + fd + " sz=4096 range(0, 1000) flags=NONE}");
    EXPECT_EQ(describe(buffer, 16), "Linear{ts=33 fd");
    buffer->setFlags(BufFlag::END_OF_STREAM);
    EXPECT_EQ(describe(buffer), "Linear{ts=33 fd=" + fd + " sz=4096 range(0, 1000) flags=" +
                                    BufFlag::Str(BufFlag::END_OF_STREAM) + "}");
    EXPECT_EQ(describe(buffer->getSharedBuffer()), "Linear{fd=" + fd + " sz=4096 range(0, 1000)}");
    buffer->setTimestamp(0xFFFFFFFF);
    EXPECT_EQ(describe(buffer, 14), "Linear{ts=-1 ");

    EXPECT_EQ(describe(std::shared_ptr<LX2Buffer>()), "EMPTY");
    EXPECT_EQ(describe(std::shared_ptr<C2Buffer>()), "EMPTY");
    const auto two = WrappedTwice(LinearBlock(64)->share(0, 64, C2Fence()));
    EXPECT_EQ(describe(two->getSharedBuffer()), "Invalid");
    EXPECT_EQ(describe(two), "untouched");
    EXPECT_EQ(describe(std::make_shared<LX2Buffer>(std::shared_ptr<C2GraphicBlock>())),
              "Gfx{ts=0 fd=-1 [4294967295x4294967295]<4294967295x4294967295> f=UNKNOWN crop=(0, "
              "0)[0x0]}");
}

}  // namespace lx2::test
