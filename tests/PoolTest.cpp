#include <lx2/LX2BufferPool.h>
#include <lx2/LX2GrallocBuffer.h>
#include <lx2/LX2GraphicBufferPoolImpl.h>
#include <lx2/PixFormat.h>
#include <lx2host/GraphicPools.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "Blocks.h"
#include "Fixture.h"

namespace lx2::test {

using namespace std::chrono_literals;

constexpr const char* kTag = "LX2Buf";

class LinearPoolTest : public Fixture {
  protected:
    std::shared_ptr<FakePool> c2 = std::make_shared<FakePool>();
    std::shared_ptr<LX2Buffer> buffer;
};

TEST_F(LinearPoolTest, SizesAreRoundedWhenTheyAreSet) {
    LX2LinearBufferPool pool(c2, 0);
    std::weak_ptr<LX2Buffer> former;
    c2->onFetch = [&] { EXPECT_TRUE(former.expired()) << "the former buffer goes first"; };
    const auto fetched = [&] {
        former = buffer;
        EXPECT_EQ(pool.allocate(&buffer), C2_OK);
        EXPECT_EQ(buffer->linear()->capacity(), c2->fetches.back().width);
        return c2->fetches.back().width;
    };
    EXPECT_EQ(fetched(), 4096u);
    pool.setBufferSize(1);
    EXPECT_EQ(pool.setAlignment(4096), C2_OK);
    EXPECT_EQ(fetched(), 1u) << "a size that is set already stays";
    pool.setBufferSize(1);
    EXPECT_EQ(fetched(), 4096u);
    EXPECT_EQ(pool.setAlignment(0), C2_BAD_VALUE);
    EXPECT_THAT(log.take(), ElementsAre(Error(kTag, "Reject 0 alignment")));
    pool.setBufferSize(4097);
    EXPECT_EQ(fetched(), 8192u);
    pool.setAlignment(6);
    pool.setBufferSize(7);
    EXPECT_EQ(fetched(), 8u) << "(7 + 5) & -6";
    pool.setBufferSize(0xFFFFFFFE);
    EXPECT_EQ(fetched(), 2u) << "the sum wraps to 3";
}

TEST_F(LinearPoolTest, UsageKeepsOnlyTheProtectionOfTheFormerOne) {
    const uint64_t rows[][3] = {{2, 1, 3}, {4, 1, 1}, {0, 1ull << 40, 1ull << 40}};
    for (const auto& [constructed, set, used] : rows) {
        LX2LinearBufferPool pool(c2, constructed);
        EXPECT_EQ(pool.setUsage(set), C2_OK);
        EXPECT_EQ(pool.allocate(&buffer), C2_OK);
        EXPECT_EQ(c2->fetches.back().usage, used);
        EXPECT_EQ(buffer->linear()->map() == nullptr, (used & 2) != 0) << "secure or not";
    }
}

TEST_F(LinearPoolTest, FailuresLeaveNoBufferAndOneLine) {
    LX2LinearBufferPool pool(c2, 0x11), none(nullptr, 0);
    EXPECT_EQ(pool.allocate(nullptr), LX2_ERROR);
    EXPECT_THAT(log.take(), IsEmpty());
    const auto expectFailure = [&](LX2LinearBufferPool& from, LX2Status status, const char* error) {
        buffer = LinearBuffer(16);
        EXPECT_EQ(from.allocate(&buffer), status);
        EXPECT_EQ(buffer, nullptr);
        EXPECT_EQ(log.take(), Errors(kTag, {error}));
    };
    c2->statuses = {C2_BLOCKING};
    expectFailure(pool, C2_BLOCKING,
                  "allocate: failed to allocate linear block sz(4096)/usage*(11)");
    pool.setBufferSize(0);
    expectFailure(pool, C2_NO_INIT, "LX2LinearBufferPool::allocate: buffer-size not provided!");
    expectFailure(none, C2_NO_INIT, "LX2LinearBufferPool::allocate: No pool to allocate!");
}

struct Watcher : LX2BufferDeleteCallback {
    void onBufferDeleted(LX2Buffer* buffer) override {
        gone.push_back(buffer);
        EXPECT_TRUE(watched.expired()) << "its block goes back before anyone hears of it";
    }
    std::vector<LX2Buffer*> gone;
    std::weak_ptr<C2GraphicBlock> watched;
};

// As if the allocator had given it this id.
void SetBufferId(const std::shared_ptr<C2GraphicAllocation>& allocation, uint64_t id) {
    auto* record = reinterpret_cast<char*>(const_cast<native_handle_t*>(allocation->handle()));
    memcpy(record + 56, &id, sizeof(id));
}

class GraphicPoolTest : public Fixture {
  protected:
    GraphicPoolTest() { pool->configure(320, 240, PixFormat::MIREL_NV12, 0); }

    // What the pool asks for, whatever comes of it.
    Fetch fetched() {
        pool->allocate(&buffer);
        return c2->fetches.back();
    }
    static std::shared_ptr<C2GraphicAllocation> allocation(uint32_t width = 320) {
        return host::AllocateGraphic(width, 240, PixFormat::MIREL_NV12, 0);
    }
    // A block of it that is known by the width of its crop.
    static std::shared_ptr<C2GraphicBlock> block(const std::shared_ptr<C2GraphicAllocation>& of,
                                                 uint32_t cropWidth = 1) {
        const C2Rect crop(cropWidth, 1);
        return _C2BlockFactory::CreateGraphicBlock(of, nullptr, crop);
    }
    // Lets the pool fetch this block, and holds what it hands out.
    LX2Buffer* hold(uint64_t id, std::shared_ptr<C2GraphicBlock> offered) {
        c2->offered = {std::move(offered)};
        EXPECT_EQ(pool->allocate(&buffer), C2_OK);
        LX2Buffer* held = buffer.get();
        EXPECT_EQ(pool->holdReference(id, std::move(buffer)), C2_OK);
        return held;
    }
    void park(std::shared_ptr<C2GraphicBlock> offered) {
        c2->offered = {std::move(offered)};
        buffer = GraphicBuffer(16, 16, PixFormat::NV12);
        EXPECT_EQ(pool->allocate(&buffer), C2_TIMED_OUT);
        EXPECT_EQ(buffer, nullptr);
    }
    // Holds a new buffer with another of the same allocation parked behind it.
    LX2Buffer* holdAndPark(uint64_t id) {
        const auto memory = allocation();
        LX2Buffer* held = hold(id, block(memory));
        park(block(memory));
        return held;
    }
    std::pair<uint64_t, uint64_t> counts() {
        std::pair<uint64_t, uint64_t> result;
        pool->counts(&result.first, &result.second);
        return result;
    }

    std::atomic<bool> canceled{false};
    std::shared_ptr<FakePool> c2 = std::make_shared<FakePool>();
    std::unique_ptr<LX2GraphicBufferPool> pool = LX2GraphicBufferPool::Create(c2);
    std::shared_ptr<LX2Buffer> buffer;
};

TEST_F(GraphicPoolTest, FormatAndUsageDecideOnTheCompressedLayout) {
    EXPECT_EQ(fetched(), (Fetch{320, 240, PixFormat::MIREL_NV12, 0}));
    pool->setFormat(PixFormat::MIREL_NV12_CMPX);
    pool->setUsage(3 | 1ull << 40);
    EXPECT_EQ(fetched(), (Fetch{320, 240, PixFormat::MIREL_NV12_CMPX, 0x10000003 | 1ull << 40}));
    pool->setUsage(0);
    EXPECT_EQ(fetched().usage, 0x10000000u) << "the request for the layout stays";
    pool->setFormat(PixFormat::RGBA8888_CMPX);
    pool->setUsage(0);
    EXPECT_EQ(fetched(), (Fetch{320, 240, PixFormat::RGBA8888, 0x10000000}));
    EXPECT_EQ(buffer->graphic()->format(), PixFormat::RGBA8888_CMPX);
    pool->setUsage(5);
    pool->setFormat(PixFormat::MIREL_NV12);
    EXPECT_EQ(fetched(), (Fetch{320, 240, PixFormat::MIREL_NV12, 5}));
    pool->setUsage(0x10000000);
    pool->setUsage(1);
    EXPECT_EQ(fetched().usage, 1u) << "of a linear format the caller's usage is all there is";
    EXPECT_EQ(pool->configure(64, 32, PixFormat::MIREL_TP10, 3), C2_OK);
    EXPECT_EQ(fetched(), (Fetch{64, 32, PixFormat::MIREL_TP10, 0x10000003}));
}

TEST_F(GraphicPoolTest, FailuresLeaveNoBuffer) {
    EXPECT_EQ(pool->allocate(nullptr), LX2_ERROR);
    const auto expectFailure = [this](LX2Status status, const std::vector<LogLine>& lines) {
        buffer = GraphicBuffer(16, 16, PixFormat::NV12);
        log.take();
        EXPECT_EQ(pool->allocate(&buffer), status);
        EXPECT_EQ(buffer, nullptr);
        EXPECT_EQ(log.take(), lines);
    };
    for (c2_status_t busy : {C2_TIMED_OUT, C2_BLOCKING}) {
        c2->statuses = {busy, busy};
        gC2LogLevel = 0;
        expectFailure(C2_TIMED_OUT, {});
        gC2LogLevel = 1;
        expectFailure(C2_TIMED_OUT, {Debug(kTag, "allocate: timed out allocating graphic block")});
    }
    c2->statuses = {C2_NO_MEMORY};
    expectFailure(C2_NO_MEMORY,
                  Errors(kTag, {"allocate: failed to alloc graphic block w(320)/h(240)/"
                                "f(7fa30c04)/usage(0)"}));
    for (const Fetch& missing : {Fetch{0, 240, 1, 0}, Fetch{320, 0, 1, 0}, Fetch{320, 240, 0, 0}}) {
        pool->setResolution(missing.width, missing.height);
        pool->setFormat(missing.format);
        expectFailure(C2_NO_INIT, Errors(kTag, {"LX2GraphicBufferPoolImpl::allocate: resolution "
                                                "and pixel-format not specified!"}));
    }
    pool = LX2GraphicBufferPool::Create(nullptr);
    expectFailure(C2_NO_INIT,
                  Errors(kTag, {"LX2GraphicBufferPoolImpl::allocate: No pool to allocate!"}));
}

TEST_F(GraphicPoolTest, HeldBufferIsParkedAndHandedOutOnceTheHoldIsDropped) {
    const auto memory = allocation();
    const std::string id = std::to_string(host::BufferId(memory->handle()));
    gC2LogLevel = 0x02000002;
    hold(7, block(memory));
    EXPECT_EQ(pool->holdReference(7, GraphicBuffer(16, 16, PixFormat::NV12)), C2_CANNOT_DO);
    park(block(memory));
    EXPECT_EQ(counts(), std::make_pair(uint64_t{1}, uint64_t{1}));
    EXPECT_EQ(pool->dropReference(7), C2_OK);
    EXPECT_EQ(counts(), std::make_pair(uint64_t{0}, uint64_t{1}));
    EXPECT_EQ(pool->allocate(&buffer), C2_OK);
    EXPECT_EQ(c2->fetches.size(), 2u) << "recycled, not fetched";
    EXPECT_EQ(std::to_string(buffer->graphic()->id()), id);
    EXPECT_EQ(counts(), std::make_pair(uint64_t{0}, uint64_t{0}));

    std::vector<std::string> lines;
    for (const LogLine& line : log.take()) {
        if (line.text.rfind("REF: ", 0) == 0)
            lines.push_back(line.text);
        EXPECT_TRUE(line == Debug(kTag, line.text) || line.tag != kTag);
    }
    EXPECT_THAT(lines, ElementsAre("REF: Added Ref for graphic buf with id:" + id,
                                   ::testing::StartsWith("REF: Added Ref for graphic buf with id:"),
                                   "REF: Allocated buf with id = " + id + " is still referenced",
                                   "REF: Released Ref for graphic buf with id : " + id,
                                   "REF: Recycled graphic buf with id : " + id));
}

TEST_F(GraphicPoolTest, DropReleasesTheOldestParkedBufferOfItsAllocation) {
    // Allocations are told apart by all 64 bits of their ids, holds by theirs.
    const auto a = allocation(), b = allocation();
    SetBufferId(b, host::BufferId(a->handle()) ^ 1ull << 50);
    hold(1, block(a));
    hold(1 | 1ull << 32, block(b));
    hold(2, block(allocation()));
    EXPECT_EQ(pool->holdReference(3, std::make_shared<LX2Buffer>(block(a))), C2_OK);
    park(block(b, 11));
    park(block(a, 22));
    park(block(a, 33));
    const auto expectNext = [this](uint32_t cropWidth, uint64_t pending) {
        EXPECT_EQ(pool->allocate(&buffer), C2_OK);
        EXPECT_EQ(buffer->graphic()->crop().width, cropWidth);
        EXPECT_EQ(counts().second, pending);
    };
    pool->dropReference(2);
    expectNext(320, 3);  // nothing is parked behind that one: fetched
    pool->dropReference(1);
    expectNext(22, 2);  // handed out although another hold of its allocation stands
    expectNext(320, 2);
    pool->dropReference(3);
    pool->dropReference(1 | 1ull << 32);
    expectNext(33, 1);
    expectNext(11, 0);
}

TEST_F(GraphicPoolTest, RecycledBuffersThatDoNotFitAreDropped) {
    for (const Fetch& wanted :
         {Fetch{640, 240, PixFormat::MIREL_NV12, 0}, Fetch{320, 480, PixFormat::MIREL_NV12, 0},
          Fetch{320, 240, PixFormat::NV12, 0}}) {
        pool->setResolution(320, 240);
        pool->setFormat(PixFormat::MIREL_NV12);
        holdAndPark(1);
        pool->dropReference(1);
        EXPECT_EQ(counts().second, 1u);
        pool->setResolution(wanted.width, wanted.height);
        pool->setFormat(wanted.format);
        EXPECT_EQ(fetched(), wanted);
        EXPECT_EQ(counts().second, 0u);
    }
    // The search goes on to one that fits.
    pool->setFormat(PixFormat::MIREL_NV12);
    for (uint32_t width : {64, 128, 640}) {
        const auto memory = allocation(width);
        hold(width, block(memory));
        park(block(memory, 9));
    }
    for (uint32_t width : {64, 128, 640})
        pool->dropReference(width);
    pool->setResolution(640, 240);
    EXPECT_EQ(pool->allocate(&buffer), C2_OK);
    EXPECT_EQ(buffer->graphic()->crop().width, 9u) << "recycled";
}

TEST_F(GraphicPoolTest, WaitEndsWithABufferAnErrorTheLimitOrACancel) {
    constexpr auto kLong = 60s;
    const auto memory = allocation();
    hold(1, block(memory));
    const auto wait = [this](std::chrono::milliseconds limit, std::deque<c2_status_t> answers) {
        buffer = GraphicBuffer(16, 16, PixFormat::NV12);
        c2->fetches.clear();
        c2->statuses = std::move(answers);
        return pool->allocateWithin(&buffer, limit, &canceled);
    };
    const std::deque<c2_status_t> busy(10000, C2_BLOCKING);
    c2->offered.assign(400, block(memory));
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(wait(kLong, {}), C2_OK) << "asks again after each park";
    EXPECT_EQ(c2->fetches.size(), 401u);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 400 * 5ms) << "at once";
    EXPECT_EQ(wait(kLong, {C2_BLOCKING, C2_TIMED_OUT}), C2_OK) << "the C2 pool got one back";
    EXPECT_EQ(wait(kLong, {C2_BLOCKING, C2_NO_MEMORY}), C2_NO_MEMORY);
    for (int limit : {-1, 0, 20}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(wait(std::chrono::milliseconds(limit), busy), C2_TIMED_OUT);
        EXPECT_EQ(buffer, nullptr);
        EXPECT_EQ(c2->fetches.size() > 1, limit > 0);
        EXPECT_GE(std::chrono::steady_clock::now(), start + std::chrono::milliseconds(limit));
    }
    c2->onFetch = [&] {
        if (c2->fetches.size() == 3)
            pool->dropReference(1);
    };
    EXPECT_EQ(wait(std::chrono::milliseconds::max(), busy), C2_OK) << "one that was parked";
    EXPECT_EQ(c2->fetches.size(), 3u);
    c2->onFetch = [&] { canceled = c2->fetches.size() == 3; };
    EXPECT_EQ(wait(kLong, busy), C2_CANCELED);
    EXPECT_EQ(wait(kLong, {}), C2_CANCELED) << "before it asks";
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(c2->fetches.size(), 0u);
    EXPECT_EQ(pool->allocateWithin(nullptr, kLong, &canceled), C2_CANCELED);
    EXPECT_EQ(pool->allocateWithin(nullptr, kLong), LX2_ERROR);
}

TEST_F(GraphicPoolTest, DropOnAnotherThreadEndsTheWaitForOne) {
    LX2GraphicBufferPoolImpl::RefTracker tracker;
    EXPECT_FALSE(tracker.waitForDrop(tracker.dropCount(), std::chrono::steady_clock::now() + 1ms));
    for (const bool all : {false, true}) {
        tracker.holdReference(1, GraphicBuffer(16, 16, PixFormat::NV12));
        const uint64_t drops = tracker.dropCount();
        std::thread dropper([&] {
            std::this_thread::sleep_for(10ms);
            all ? tracker.reset() : tracker.dropReference(1);
        });
        const auto limit = std::chrono::steady_clock::now() + 60s;
        EXPECT_TRUE(tracker.waitForDrop(drops, limit));
        EXPECT_LT(std::chrono::steady_clock::now(), limit);
        dropper.join();
    }
}

TEST_F(GraphicPoolTest, HoldsAreRefusedAsTheyShould) {
    pool->allocate(&buffer);
    EXPECT_EQ(pool->holdReference(1, nullptr), LX2_BAD_ARG);
    EXPECT_EQ(pool->holdReference(1, LinearBuffer(16)), LX2_BAD_ARG);
    const auto one = buffer->getSharedBuffer()->data().graphicBlocks().front();
    const auto two = std::make_shared<AnyC2Buffer>(std::vector{one, one});
    EXPECT_EQ(pool->holdReference(1, LX2Buffer::CreateFromC2Buffer(two)), LX2_BAD_ARG);
    EXPECT_EQ(pool->holdReference(1, buffer), C2_OK);
    EXPECT_EQ(pool->holdReference(1, GraphicBuffer(16, 16, PixFormat::NV12)), C2_CANNOT_DO);
    EXPECT_EQ(pool->dropReference(2), C2_CANNOT_DO);
    EXPECT_EQ(counts().first, 1u);
    std::weak_ptr<LX2Buffer> watch = buffer;
    buffer.reset();
    EXPECT_FALSE(watch.expired()) << "the first buffer is the one that is held";
    EXPECT_EQ(pool->dropAllReferences(), C2_OK);
    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(LX2GraphicBufferPoolImpl::RefTracker().getPreFetchedAndAvailable(nullptr),
              LX2_BAD_ARG);
}

TEST_F(GraphicPoolTest, CallbackHearsOfBuffersAllocatedWhileItLived) {
    pool->allocate(&buffer);
    auto early = std::move(buffer);
    auto watcher = std::make_shared<Watcher>();
    log.take();
    EXPECT_EQ(pool->registerCallback(std::weak_ptr<LX2BufferDeleteCallback>()), C2_OK);
    EXPECT_EQ(pool->registerCallback(watcher), C2_OK);
    EXPECT_THAT(log.take(),
                ElementsAre(Error(kTag, "registerCallback graphicBufferPool"),
                            Error(kTag, "registerCallback graphicBufferPool override")));
    c2->offered = {block(allocation())};
    watcher->watched = c2->offered.front();
    pool->allocate(&buffer);
    auto late = buffer->shared_from_this();
    pool->allocate(&buffer);
    auto orphan = std::move(buffer);
    pool->registerCallback({});  // which is an own one, and takes the watcher's place
    pool->allocate(&buffer);
    buffer.reset();
    pool.reset();
    early.reset();
    EXPECT_THAT(watcher->gone, IsEmpty());
    auto* address = late.get();
    late.reset();
    EXPECT_THAT(watcher->gone, ElementsAre(address))
        << "also after the pool, and not for the early one";
    watcher.reset();
    log.take();
    orphan.reset();
    EXPECT_THAT(log.take(), IsEmpty()) << "nobody is left to be told";
}

TEST_F(GraphicPoolTest, CallbackMayDropReferencesItself) {
    struct Dropper : LX2BufferDeleteCallback {
        void onBufferDeleted(LX2Buffer*) override { status = pool->dropReference(2); }
        LX2GraphicBufferPool* pool = nullptr;
        LX2Status status = 0;
    };
    auto dropper = std::make_shared<Dropper>();
    dropper->pool = pool.get();
    pool->registerCallback(dropper);
    const std::function<LX2Status()> lastReferenceGoes[] = {
        [&] { return pool->dropReference(1); }, [&] { return pool->dropAllReferences(); },
        [&] { return pool->holdReference(1, std::move(buffer)); },  // refused: the id is in use
    };
    for (const auto& go : lastReferenceGoes) {
        pool->allocate(&buffer);
        pool->holdReference(1, std::move(buffer));
        pool->allocate(&buffer);
        dropper->status = C2_OK;
        go();
        EXPECT_EQ(dropper->status, C2_CANNOT_DO);
    }
    // A recycled one that does not fit, and has no other owner.
    holdAndPark(4);
    pool->dropReference(4);
    pool->setResolution(640, 240);
    dropper->status = C2_OK;
    pool->allocate(&buffer);
    EXPECT_EQ(dropper->status, C2_CANNOT_DO);
    buffer.reset();
    for (const uint64_t id : {2, 3}) {
        pool->allocate(&buffer);
        pool->holdReference(id, std::move(buffer));
    }
    dropper->status = C2_OK;
    pool.reset();
    EXPECT_EQ(dropper->status, C2_CANNOT_DO) << "none is left to drop in a pool that ends";
}

TEST_F(GraphicPoolTest, HeldBuffersGoFirstWhenDroppedAndLastWithThePool) {
    auto watcher = std::make_shared<Watcher>();
    pool->registerCallback(watcher);
    // One buffer is held, one parked behind it, one parked whose hold was dropped. Gives the first.
    const auto fill = [&] {
        holdAndPark(1);
        LX2Buffer* held = holdAndPark(2);
        pool->dropReference(1);
        watcher->gone.clear();
        return held;
    };
    LX2Buffer* held = fill();
    EXPECT_EQ(pool->dropAllReferences(), C2_OK);
    EXPECT_EQ(watcher->gone.size(), 3u);
    EXPECT_EQ(watcher->gone.front(), held);
    held = fill();
    pool.reset();
    EXPECT_EQ(watcher->gone.size(), 3u);
    EXPECT_EQ(watcher->gone.back(), held);
}

}  // namespace lx2::test
