// A long life of the pools: one thread fetches buffers and holds them, another drops the holds, and
// the surface offers some buffers again while they are held, so that they are parked and recycled.
// Memory, descriptors and the time that a buffer costs must be the same at the end as at the start.
// pool_soak [buffers]
#include <C2PlatformSupport.h>
#include <android/log.h>
#include <lx2/LX2BufferPool.h>
#include <lx2/Log.h>
#include <lx2/PixFormat.h>
#include <lx2host/GraphicPools.h>
#include <lx2host/OpenResources.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace {

using namespace lx2;

constexpr size_t kSlots = 8;
constexpr unsigned long long kFewest = 100000;

// The ids of held buffers on their way from the thread that fetches to the one that drops.
class Queue {
  public:
    void push(uint64_t id) {
        std::lock_guard<std::mutex> guard(mLock);
        mIds.push_back(id);
        mChanged.notify_one();
    }
    uint64_t pop() {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return !mIds.empty(); });
        const uint64_t id = mIds.front();
        mIds.pop_front();
        return id;
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    std::deque<uint64_t> mIds;
};

double ProcessorSeconds() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

long ResidentKiB() {
    long all = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

bool gPassed = true;

void Expect(bool holds, const std::string& what) {
    if (holds)
        return;
    gPassed = false;
    printf("FAIL  %s\n", what.c_str());
}

class Soak {
  public:
    explicit Soak(uint64_t buffers) : mBuffers(buffers) {
        mPool->configure(64, 64, PixFormat::MIREL_NV12, 0);
        std::shared_ptr<C2BlockPool> linear;
        android::GetCodec2BlockPool(C2BlockPool::BASIC_LINEAR, nullptr, &linear);
        mLinear = std::make_unique<LX2LinearBufferPool>(std::move(linear), 0);
    }

    void run() {
        // Waits meanwhile. References cost more in a process that has ever had two threads.
        std::thread dropper([this] { drop(); });
        const double early = cost();
        long memory = 0;
        for (uint64_t i = 0; i < mBuffers; ++i) {
            if (i == mBuffers / 4)
                memory = ResidentKiB();
            fetch(i);
        }
        dropper.join();
        const long lastMemory = ResidentKiB();
        uint64_t held = 0, pending = 0;
        mPool->counts(&held, nullptr);
        mPool->dropAllReferences();  // lets the parked ones go
        mPool->counts(nullptr, &pending);
        Expect(held + pending + mSurface->slotsOut() == 0, "every buffer is back");
        const double late = cost();
        Expect(mFailures == 0, "every call succeeded");
        Expect(mParks >= mBuffers / 100, "buffers were parked");
        Expect(late <= early * 1.3, "a buffer costs the same time");
        printf("%llu buffers, %llu parked: %.2f us each, then %.2f us; %ld KiB, then %ld KiB\n",
               static_cast<unsigned long long>(mBuffers),
               static_cast<unsigned long long>(mParks.load()), early, late, memory, lastMemory);
        if (mBuffers >= kFewest)
            Expect(lastMemory <= memory + 512, "memory is flat");
        else
            printf("memory can't be judged by so few: %llu and more tell\n", kFewest);
    }

  private:
    void fetch(uint64_t id) {
        gC2LogLevel = id % 2 * 0x02000000;  // as a client may at any time
        std::shared_ptr<LX2Buffer> buffer;
        if (id % 16 == 0) {
            count(mLinear->allocate(&buffer));
            return;
        }
        count(mPool->allocateWithin(&buffer, std::chrono::seconds(10)));
        if (buffer == nullptr)
            return;
        const uint64_t bufferId = buffer->graphic()->id();
        count(mPool->holdReference(id, std::move(buffer)));
        // Parked, unless one is there to be recycled or the other thread was faster.
        if (id % 8 == 1 && mSurface->offerAgain(bufferId))
            mParks += mPool->allocate(&buffer) == C2_TIMED_OUT;
        mQueue.push(id);
    }

    void drop() {
        for (uint64_t i = 0; i < mBuffers; ++i) {
            if (i % 16 == 0)
                continue;
            uint64_t held = 0, pending = 0;
            mPool->counts(&held, &pending);
            mFailures += held > kSlots || pending > kSlots;
            count(mPool->dropReference(mQueue.pop()));
        }
    }

    void count(LX2Status status) { mFailures += status != C2_OK; }

    // Microseconds of processor time for a buffer, on one thread: of two the waits for each other
    // would count, which differ from run to run.
    double cost() {
        constexpr uint64_t kBuffers = 10000;
        double least = 1e9;
        for (int round = 0; round < 5; ++round) {
            const double start = ProcessorSeconds();
            for (uint64_t id = 0; id < kBuffers; ++id) {
                std::shared_ptr<LX2Buffer> buffer;
                count(mPool->allocate(&buffer));
                count(mPool->holdReference(id, std::move(buffer)));
                count(mPool->dropReference(id));
            }
            least = std::min(least, ProcessorSeconds() - start);
        }
        return least * 1e6 / kBuffers;
    }

    const uint64_t mBuffers;
    const std::shared_ptr<host::SlotGraphicPool> mSurface =
        std::make_shared<host::SlotGraphicPool>(kSlots);
    const std::unique_ptr<LX2GraphicBufferPool> mPool = LX2GraphicBufferPool::Create(mSurface);
    std::unique_ptr<LX2LinearBufferPool> mLinear;
    Queue mQueue;
    std::atomic<uint64_t> mFailures{0}, mParks{0};
};

}  // namespace

int main(int argc, char** argv) {
    const uint64_t buffers = argc > 1 ? strtoull(argv[1], nullptr, 10) : 1000000;
    if (buffers == 0) {
        fputs("usage: pool_soak [buffers]\n", stderr);
        return 2;
    }
    __android_log_set_minimum_priority(ANDROID_LOG_WARN);
    const host::OpenResources before;
    Soak(buffers).run();
    for (const std::string& open : before.leftOpen())
        Expect(false, "left open: " + open);
    puts(gPassed ? "pool soak: all good" : "pool soak: failed");
    return gPassed ? 0 : 1;
}
