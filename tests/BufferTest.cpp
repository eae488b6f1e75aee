#include <linux/dma-buf.h>
#include <sys/mman.h>
#include <sys/wait.h>

#include <thread>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kTag = "LX2Buf";

std::shared_ptr<ValueInfo<0x0A01>::output> AnInfo(uint32_t value) {
    return std::make_shared<ValueInfo<0x0A01>::output>(0u, value);
}

class BufferTest : public Fixture {};

TEST_F(BufferTest, ValuesReadZeroUntilSetAndThenTheLastOneSet) {
    auto buffer = LinearBuffer(64);
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
}

TEST_F(BufferTest, KindDecidesWhichViewIsValid) {
    auto linear = LinearBuffer(64);
    EXPECT_EQ(linear->type(), 1u);
    EXPECT_TRUE(linear->linear()->isValid());
    EXPECT_FALSE(linear->graphic()->isValid());
    EXPECT_EQ(linear->graphic()->id(), ~uint64_t{0});
    EXPECT_EQ(linear->graphic()->map(), nullptr);

    auto block = LinearBlock(64);
    auto shared = block->share(0, 64, C2Fence());
    auto two = LX2Buffer::CreateFromC2Buffer(
        std::make_shared<AnyC2Buffer>(std::vector<C2ConstLinearBlock>{shared, shared}));
    EXPECT_EQ(two->type(), 1u);
    EXPECT_FALSE(two->linear()->isValid());
    EXPECT_FALSE(two->graphic()->isValid());
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(BufferTest, NullC2BufferGivesAnInvalidBufferAndOneLine) {
    auto buffer = LX2Buffer::CreateFromC2Buffer(nullptr);
    EXPECT_THAT(log.take(), ElementsAre(Error(kTag, "LX2Buffer: cannot wrap an invalid C2Buffer")));
    EXPECT_EQ(buffer->type(), 2u);
    EXPECT_FALSE(buffer->linear()->isValid());
    EXPECT_EQ(buffer->linear()->map(), nullptr);
    EXPECT_EQ(buffer->graphic()->mapReadOnly(), nullptr);
    EXPECT_EQ(buffer->getSharedBuffer(), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(BufferTest, InfoOfTheSameCoreIndexReplacesAndOthersAppend) {
    auto buffer = LinearBuffer(64);
    EXPECT_EQ(buffer->addInfo(nullptr), LX2_BAD_ARG);
    EXPECT_EQ(buffer->addInfo(std::make_shared<ValueInfo<0x0A01>::input>(0u, 1u)), C2_OK);
    EXPECT_EQ(buffer->addInfo(std::make_shared<ValueInfo<0x0A02>::output>(0u, 2u)), C2_OK);
    EXPECT_EQ(buffer->addInfo(AnInfo(3)), C2_OK);
    auto infos = buffer->infos();
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_TRUE(*infos[0] == *AnInfo(3));
    EXPECT_EQ(infos[1]->index(), ValueInfo<0x0A02>::output::PARAM_TYPE);
    EXPECT_NE(infos[0], buffer->infos()[0]) << "copies, not the infos themselves";
    buffer->clearInfos();
    EXPECT_THAT(buffer->infos(), IsEmpty());
}

TEST_F(BufferTest, InfosOfAWrappedBufferAreTheFrameworksOnly) {
    auto source = LinearBuffer(64);
    source->addInfo(AnInfo(7));
    auto wrapped = LX2Buffer::CreateFromC2Buffer(source->getSharedBuffer());
    wrapped->addInfo(std::make_shared<ValueInfo<0x0A02>::output>(0u, 2u));
    auto infos = wrapped->infos();
    ASSERT_EQ(infos.size(), 1u);
    EXPECT_TRUE(*infos[0] == *AnInfo(7));
    wrapped->clearInfos();
    EXPECT_EQ(wrapped->infos().size(), 1u);
}

TEST_F(BufferTest, InfoOfNoSizeIsKeptAsANullEntry) {
    auto buffer = LinearBuffer(64);
    auto empty = AnInfo(1);
    memset(static_cast<void*>(empty.get()), 0, sizeof(uint32_t));
    buffer->addInfo(empty);
    buffer->addInfo(std::make_shared<ValueInfo<0x0A02>::output>(0u, 2u));
    auto infos = buffer->infos();
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_EQ(infos[0], nullptr);
    EXPECT_NE(infos[1], nullptr);
}

TEST_F(BufferTest, CopyKeepsTheTargetsValuesAndSharesInfosAndUpdates) {
    auto source = LinearBuffer(64);
    auto target = LinearBuffer(64);
    auto info = AnInfo(1);
    std::shared_ptr<C2Param> update = AnInfo(2);
    source->setTimestamp(5);
    source->setInputIndex(6);
    source->addInfo(info);
    source->addConfigUpdates({update});
    target->setTimestamp(9);
    target->addInfo(AnInfo(3));
    target->addConfigUpdates({AnInfo(4)});

    EXPECT_EQ(source->copyBufInfoTo(nullptr), LX2_BAD_ARG);
    EXPECT_EQ(source->copyBufInfoTo(target), C2_OK);
    EXPECT_EQ(target->timestamp(), 9u);
    EXPECT_EQ(target->inputIndex(), 6u);
    ASSERT_EQ(target->infos().size(), 1u);
    EXPECT_TRUE(*target->infos()[0] == *info);
    ASSERT_EQ(target->configUpdates().size(), 2u);
    EXPECT_EQ(target->configUpdates().back(), update);

    EXPECT_EQ(source->copyBufInfoTo(source), C2_OK);
    EXPECT_EQ(source->infos().size(), 1u);
    EXPECT_THAT(source->configUpdates(), ElementsAre(update, update));
    EXPECT_EQ(source->addConfigUpdates({}), LX2_BAD_ARG);
    EXPECT_EQ(source->configUpdates().size(), 2u);
}

class LinearTest : public Fixture {};

TEST_F(LinearTest, RangeIsCheckedTrimmedAndLogged) {
    auto buffer = LinearBuffer(4096);
    LX2Buffer::Linear& view = *buffer->linear();
    EXPECT_EQ(view.capacity(), 4096u);
    EXPECT_EQ(view.size(), 4096u) << "a fresh block is whole";
    struct Row {
        uint32_t offset, size;
        LX2Status status;
        uint32_t setOffset, setSize;
        const char* text;
    };
    const Row rows[] = {
        {0, 4096, C2_OK, 0, 4096, nullptr},
        {4000, 200, C2_OK, 4000, 96,
         "LX2Buffer::Linear: range(4000, 200) exceeds 4096 ...trimming size to 96"},
        {4096, 0, C2_OK, 4096, 0, nullptr},
        {4097, 0, C2_CANNOT_DO, 4096, 0, "LX2Buffer::Linear: offset(4097) exceeds capacity 4096"},
        {16, 0xFFFFFFF8, C2_OK, 16, 0xFFFFFFF8, nullptr},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(view.setRange(row.offset, row.size), row.status);
        EXPECT_EQ(view.offset(), row.setOffset);
        EXPECT_EQ(view.size(), row.setSize);
        if (row.text == nullptr)
            EXPECT_THAT(log.take(), IsEmpty());
        else
            EXPECT_THAT(log.take(), ElementsAre(Error(kTag, row.text)));
    }
}

TEST_F(LinearTest, FrameworkBufferRefusesARangeButMapsForWriting) {
    auto source = LinearBuffer(4096);
    source->linear()->setRange(100, 200);
    auto wrapped = LX2Buffer::CreateFromC2Buffer(source->getSharedBuffer());
    EXPECT_EQ(wrapped->linear()->offset(), 100u);
    EXPECT_EQ(wrapped->linear()->size(), 200u);
    EXPECT_EQ(wrapped->linear()->setRange(0, 10), C2_CANNOT_DO);
    EXPECT_THAT(log.take(), ElementsAre(Error(kTag,
                                              "LX2Buffer::Linear: cannot update range on a "
                                              "read-only buffer")));
    EXPECT_EQ(wrapped->linear()->size(), 200u);
    auto mapping = wrapped->linear()->map();
    ASSERT_NE(mapping->data(), nullptr);
    EXPECT_TRUE(mapping->isWritable());
    EXPECT_EQ(mapping->size(), 4096u);
    mapping->data()[4095] = 1;
    EXPECT_EQ(wrapped->linear()->share(), nullptr);
}

TEST_F(LinearTest, SecureBufferTellsItsSizeAndIsNotMapped) {
    auto buffer = LinearBuffer(4096, C2MemoryUsage::READ_PROTECTED);
    EXPECT_TRUE(buffer->linear()->isValid());
    EXPECT_GE(buffer->linear()->fd(), 0);
    EXPECT_EQ(buffer->linear()->map(), nullptr);
    EXPECT_EQ(buffer->linear()->mapReadOnly(), nullptr);
    const auto refused = Error(kTag, "LX2Buffer::Mapping: Cannot map a secure buffer");
    EXPECT_THAT(log.take(), ElementsAre(refused, refused));
    EXPECT_EQ(host::GetSyncCounts().starts, 0u);
}

TEST_F(LinearTest, HandleWithoutDescriptorsInvalidatesTheView) {
    auto block = _C2BlockFactory::CreateLinearBlock(
        std::make_shared<LinearAllocation>(64, std::vector<int>{}));
    auto buffer = std::make_shared<LX2Buffer>(block, 0);
    EXPECT_THAT(log.take(), ElementsAre(Error(kTag, "init: invalid handle")));
    EXPECT_FALSE(buffer->linear()->isValid());
    EXPECT_EQ(buffer->linear()->fd(), -1);
    EXPECT_EQ(buffer->linear()->map(), nullptr);
    EXPECT_EQ(buffer->getSharedBuffer(), nullptr);
    buffer->linear()->init(LinearBlock(32)->share(0, 32, C2Fence()));
    EXPECT_EQ(buffer->linear()->capacity(), 64u) << "an invalid view ignores init";
    EXPECT_EQ(buffer->linear()->setRange(8, 8), C2_OK) << "ranges do not ask for validity";
}

TEST_F(LinearTest, SharedBufferHasTheRangeOfTheMomentAndTheInfos) {
    auto buffer = LinearBuffer(4096);
    buffer->linear()->setRange(100, 200);
    buffer->addInfo(AnInfo(1));
    auto shared = buffer->getSharedBuffer();
    buffer->linear()->setRange(0, 1);
    buffer.reset();
    ASSERT_EQ(shared->data().linearBlocks().size(), 1u);
    EXPECT_EQ(shared->data().linearBlocks()[0].offset(), 100u);
    EXPECT_EQ(shared->data().linearBlocks()[0].size(), 200u);
    EXPECT_TRUE(shared->hasInfo(uint32_t{ValueInfo<0x0A01>::output::PARAM_TYPE}));

    auto wrapped = LX2Buffer::CreateFromC2Buffer(shared);
    wrapped->addInfo(AnInfo(2));
    EXPECT_EQ(wrapped->getSharedBuffer(), shared);
    EXPECT_EQ(shared->info().size(), 1u);
    EXPECT_TRUE(*shared->info()[0] == *AnInfo(1));
}

class MappingTest : public Fixture {
  protected:
    MappingTest() {
        host::SetSyncHook([this](int, uint64_t flags) {
            flagsSeen.push_back(flags);
            return syncError;
        });
    }
    std::vector<uint64_t> flagsSeen;
    int syncError = 0;
};

TEST_F(MappingTest, BracketsItsAccess) {
    auto buffer = LinearBuffer(4096);
    buffer->linear()->mapReadOnly();
    EXPECT_THAT(flagsSeen, ElementsAre(1, 5));
    flagsSeen.clear();
    auto mapping = buffer->linear()->map();
    mapping->syncCache(DMA_BUF_SYNC_END | DMA_BUF_SYNC_RW);
    mapping->syncCache(DMA_BUF_SYNC_START | DMA_BUF_SYNC_RW);
    mapping->unmap(nullptr, 4096);
    mapping.reset();
    EXPECT_THAT(flagsSeen, ElementsAre(3, 7, 3, 7));
}

TEST_F(MappingTest, FailedSynchronisationIsLoggedAndIgnored) {
    auto buffer = LinearBuffer(4096);
    syncError = EIO;
    auto mapping = buffer->linear()->map();
    ASSERT_NE(mapping->data(), nullptr);
    mapping->data()[0] = 1;
    mapping->syncCache(6);
    mapping->syncCache(1);
    mapping.reset();
    const std::string failed = "LX2Buffer::Mapping: Failed to sync cache: ";
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, failed + "start-rw"), Error(kTag, failed + "end-rw"),
                            Error(kTag, failed + "start-r"), Error(kTag, failed + "end-rw")));
}

TEST_F(MappingTest, InvalidDescriptorGivesANullAddressAndThreeLines) {
    auto buffer = LinearBuffer(4096);
    for (bool writable : {false, true}) {
        LX2Buffer::Mapping mapping(buffer, -1, 16, 4096, writable);
        EXPECT_EQ(mapping.data(), nullptr);
        const std::string access = writable ? "rw" : "r";
        EXPECT_THAT(
            log.take(),
            ElementsAre(Error(kTag, "LX2Buffer::Mapping: Failed to sync cache: start-" + access),
                        Error(kTag, std::string("LX2Buffer::Mapping: Failed to map fd(-1) "
                                                "size(4096) offset(16) as ") +
                                        (writable ? "R/W" : "R/O")),
                        Error(kTag, "LX2Buffer::Mapping: Failed to sync cache: end-" + access)));
    }
    EXPECT_THAT(log.take(), IsEmpty()) << "nothing to take down";
}

TEST_F(MappingTest, KeepsItsBufferAliveAndNeedsASharedOne) {
    auto buffer = LinearBuffer(4096);
    std::weak_ptr<LX2Buffer> watch = buffer;
    auto mapping = buffer->linear()->map();
    buffer.reset();
    EXPECT_FALSE(watch.expired());
    mapping->data()[0] = 1;
    mapping.reset();
    EXPECT_TRUE(watch.expired());
    LX2Buffer alone(LinearBlock(64), 0);
    EXPECT_THROW(alone.linear()->map(), std::bad_weak_ptr);
}

TEST_F(MappingTest, MemoryIsTheSameInEveryMappingAndProcess) {
    auto buffer = LinearBuffer(4096);
    auto writer = buffer->linear()->map();
    writer->data()[10] = 77;
    const pid_t child = fork();
    if (child == 0) {
        void* memory =
            mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, buffer->linear()->fd(), 0);
        auto* bytes = static_cast<uint8_t*>(memory);
        const bool seen = bytes[10] == 77;
        bytes[11] = 78;
        _exit(seen ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(buffer->linear()->mapReadOnly()->data()[11], 78);
}

TEST_F(MappingTest, ThreadsMapOneBufferAtOnce) {
    auto buffer = LinearBuffer(4096);
    const auto count = [&buffer](size_t place) {
        for (int i = 0; i < 200; ++i)
            ++buffer->linear()->map()->data()[place];
    };
    std::thread threads[] = {std::thread(count, 0), std::thread(count, 1), std::thread(count, 2)};
    for (auto& thread : threads)
        thread.join();
    const auto mapping = buffer->linear()->mapReadOnly();
    EXPECT_THAT(std::vector<int>(mapping->data(), mapping->data() + 3), ElementsAre(200, 200, 200));
    EXPECT_EQ(host::GetSyncCounts().starts, 601u);
}

class DescribeTest : public Fixture {
  protected:
    template <typename Buffer>
    std::string describe(const std::shared_ptr<Buffer>& buffer, uint32_t size = 128) {
        char text[128] = "untouched";
        EXPECT_EQ(LX2Buffer::AsString(buffer, text, size), text);
        return text;
    }
};

TEST_F(DescribeTest, LinearBuffers) {
    auto buffer = LinearBuffer(4096);
    buffer->setTimestamp((1ull << 32) + 33);
    buffer->linear()->setRange(0, 1000);
    const std::string fd = std::to_string(buffer->linear()->fd());
    EXPECT_EQ(describe(buffer), "Linear{ts=33 fd=" + fd + " sz=4096 range(0, 1000) flags=NONE}");
    EXPECT_EQ(describe(buffer, 16), "Linear{ts=33 fd");
    EXPECT_EQ(describe(buffer->getSharedBuffer()), "Linear{fd=" + fd + " sz=4096 range(0, 1000)}");
    buffer->setTimestamp(0xFFFFFFFF);
    EXPECT_EQ(describe(buffer, 14), "Linear{ts=-1 ");
}

TEST_F(DescribeTest, WhatIsNoSingleBlock) {
    EXPECT_EQ(describe(std::shared_ptr<LX2Buffer>()), "EMPTY");
    EXPECT_EQ(describe(std::shared_ptr<C2Buffer>()), "EMPTY");
    EXPECT_EQ(LX2Buffer::AsString(std::shared_ptr<LX2Buffer>(), nullptr, 64), nullptr);
    EXPECT_EQ(LX2Buffer::AsString(std::shared_ptr<C2Buffer>(), nullptr, 64), nullptr);
    auto block = LinearBlock(64)->share(0, 64, C2Fence());
    std::shared_ptr<C2Buffer> two =
        std::make_shared<AnyC2Buffer>(std::vector<C2ConstLinearBlock>{block, block});
    EXPECT_EQ(describe(two), "Invalid");
    EXPECT_EQ(describe(LX2Buffer::CreateFromC2Buffer(nullptr)), "untouched");
    EXPECT_EQ(describe(std::make_shared<LX2Buffer>(std::shared_ptr<C2GraphicBlock>())),
              "Gfx{ts=0 fd=-1 [4294967295x4294967295]<4294967295x4294967295> f=UNKNOWN crop=(0, "
              "0)[0x0]}");
}

}  // namespace
}  // namespace lx2::test
