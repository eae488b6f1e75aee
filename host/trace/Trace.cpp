#include <Trace.h>
#include <cutils/trace.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace lx2::host::trace {

struct Row {
    uint32_t number;
    bool busy;
};

struct Track {
    uint32_t number;
    bool busy;
    std::map<std::string, Row> rows;
    std::string content;  // the memory
    ino_t inode;
    uint32_t id;  // its lower half
};

struct OpenSlice {
    uint32_t row;
    std::vector<bool*> busy;  // until this ends
    uint64_t bytes;           // of memory that is allocated until then
    std::string event;        // name and arguments
};

namespace {

constexpr uint32_t kStep = 1 << 12;  // of the numbers of tracks; rows are numbered in between

struct State {
    const char* path = getenv("LX2_TRACE");
    FILE* file = path != nullptr && *path != '\0' ? fopen(path, "we") : nullptr;
    const char* separator = "[";
    std::recursive_mutex lock;  // a slice that can't be kept ends at once
    std::map<std::string, Track> tracks;
    Track* program = nullptr;
    Track* other = nullptr;  // of memory that is not allocated here
    uint64_t bytes = 0;      // allocated
    std::multimap<std::pair<std::string, int32_t>, Slice> unnested;  // by name and cookie
};

// Made when the library is loaded, and left to those who end slices while the process goes down.
State* gState = nullptr;
std::atomic<bool> gOn{false};

void GiveUp() {
    gOn = false;
    fprintf(stderr, "lx2host: LX2_TRACE=%s: %s; nothing more is traced\n", gState->path,
            strerror(errno));
}

double Now() {
    static const auto start = std::chrono::steady_clock::now();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
        .count();
}

std::string Member(const std::string& key, const std::string& value) {
    return '"' + key + "\":\"" + value + '"';
}

std::string Event(const std::string& name, const std::string& arguments) {
    return Member("name", name) + ",\"args\":{" + arguments + "}";
}

void Write(char phase, uint32_t row, const std::string& event, double time = Now()) {
    if (gOn && fprintf(gState->file, "%s\n{\"ph\":\"%c\",\"pid\":%u,\"tid\":%u,\"ts\":%.3f,%s}",
                       std::exchange(gState->separator, ","), phase, row / kStep, row, time,
                       event.c_str()) < 0)
        GiveUp();
}

template <typename Number>
void Count(const std::string& what, Number value) {
    Write('C', kStep, Event(what, '"' + what + "\":" + std::to_string(value)));
}

// What JSON would take for more than text is replaced.
std::string Plain(std::string text) {
    const auto isOther = [](unsigned char c) { return c == '"' || c == '\\' || c < ' '; };
    std::replace_if(text.begin(), text.end(), isOther, '_');
    return text;
}

std::string ThreadName() {
    char name[16] = "";
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return Plain(name);
}

// The first lane of a kind that is free, which is busy from now on. event: names a new one.
template <typename Lane>
Lane* Take(std::map<std::string, Lane>* lanes, const std::string& kind, const char* event,
           uint32_t base, uint32_t step) {
    std::string name = kind;
    for (uint32_t further = 2;; name = kind + ' ' + std::to_string(further++)) {
        const auto [found, isNew] = lanes->try_emplace(name);
        Lane& lane = found->second;
        if (isNew) {
            lane.number = base + step * static_cast<uint32_t>(lanes->size());
            Write('M', lane.number, Event(event, Member("name", name)));
        }
        if (!std::exchange(lane.busy, true))
            return &lane;
    }
}

Track* TakeTrack(const char* kind) {
    return Take(&gState->tracks, Plain(kind), "process_name", 0, kStep);
}

Row* TakeRow(Track* track, const std::string& kind) {
    return Take(&track->rows, Plain(kind), "thread_name", track->number, 1);
}

template <typename Value>
Track* TrackWith(Value Track::*member, Value value) {
    for (auto& [name, track] : gState->tracks) {
        if (track.busy && track.*member == value)
            return &track;
    }
    return gState->other;
}

Slice Start(uint32_t row, std::vector<bool*> busy, const std::string& text, uint64_t bytes = 0) {
    std::string name, arguments;
    for (size_t at = 0, end = 0; end != std::string::npos; at = end + 1) {
        end = text.find(' ', at);
        const std::string word = text.substr(at, end - at);
        const size_t equals = word.find('=');
        if (equals == std::string::npos)
            name += (name.empty() ? "" : " ") + word;
        else
            arguments += Member(word.substr(0, equals), word.substr(equals + 1)) + ',';
    }
    const std::string event =
        Event(name, arguments + Member("thread", ThreadName() + ' ' + std::to_string(gettid())));
    Slice started(new OpenSlice{row, std::move(busy), bytes, event});
    Write('B', row, event);
    return started;
}

// Runs an action on the state, when it is traced. Its caller expects no exception.
template <typename Action>
auto Locked(Action action) noexcept -> decltype(action()) {
    using Result = decltype(action());
    if (!gOn.load(std::memory_order_relaxed))
        return Result();
    try {
        std::lock_guard<std::recursive_mutex> guard(gState->lock);
        return action();
    } catch (const std::bad_alloc&) {
        return Result();
    }
}

// What a thread does on its row.
struct Thread {
    uint32_t row = 0;
    Slice whole;
    std::vector<Slice> nested;
};
thread_local Thread tThread;

__attribute__((constructor)) void StartIfAsked() {
    gState = new State;
    if (gState->path == nullptr || *gState->path == '\0')
        return;
    if (gState->file == nullptr)
        return GiveUp();
    setvbuf(gState->file, nullptr, _IONBF, 0);  // a program that crashes leaves all events
    gOn = true;
    pthread_atfork(nullptr, nullptr, [] { gOn = false; });
    gState->program = TakeTrack(program_invocation_short_name);
    gState->other = TakeTrack("other memory");
}

__attribute__((destructor)) void Finish() {
    Locked([] {
        gOn = false;
        fprintf(gState->file, "\n]\n");
        fclose(gState->file);
    });
}

}  // namespace

void EndSlice::operator()(OpenSlice* slice) const noexcept {
    const std::unique_ptr<OpenSlice> ended(slice);
    Locked([slice] {
        Write('E', slice->row, slice->event);
        for (bool* busy : slice->busy)
            *busy = false;
        if (slice->bytes > 0)
            Count("bytes", gState->bytes -= slice->bytes);
    });
}

Slice Allocated(int fd, const char* kind, uint64_t id, uint64_t bytes, const char* name) noexcept {
    return Locked([&]() -> Slice {
        struct stat info {};
        if (fstat(fd, &info) != 0)
            return nullptr;
        Track* track = TakeTrack(kind);
        track->content = Plain(name);
        track->inode = info.st_ino;
        track->id = static_cast<uint32_t>(id);
        Row* row = TakeRow(track, "memory");
        Count("bytes", gState->bytes += bytes);
        return Start(row->number, {&row->busy, &track->busy},
                     track->content + " inode=" + std::to_string(info.st_ino) +
                         " bytes=" + std::to_string(bytes),
                     bytes);
    });
}

Track* TrackOf(int fd) noexcept {
    return Locked([fd] {
        struct stat info {};
        return fstat(fd, &info) == 0 ? TrackWith(&Track::inode, info.st_ino) : gState->other;
    });
}

Slice Begin(Track* track, const char* row, const char* name) noexcept {
    return Locked([&]() -> Slice {
        if (track == nullptr)
            return nullptr;
        Row* taken = TakeRow(track, row);
        return Start(taken->number, {&taken->busy}, Plain(name));
    });
}

std::pair<Slice, Slice> Blit(Track* from, Track* to) noexcept {
    return Locked([&] {
        if (from == nullptr || to == nullptr)
            return std::pair<Slice, Slice>();
        return std::pair(Begin(from, "blit", ("blit to " + to->content).c_str()),
                         Begin(to, "blit", ("blit from " + from->content).c_str()));
    });
}

Slice OnThread(const char* name) noexcept {
    return Locked([&] {
        if (tThread.row == 0) {
            Row* row = TakeRow(gState->program, ThreadName());
            tThread.row = row->number;
            tThread.whole = Start(row->number, {&row->busy}, "thread");
        }
        return Start(tThread.row, {}, Plain(name));
    });
}

}  // namespace lx2::host::trace

// The platform's tracing. The dynamic linker finds these before libcutils's own, which do nothing
// here, since this library is loaded before that one.
extern "C" {

using namespace lx2::host::trace;

LX2_HOST_API uint64_t atrace_get_enabled_tags() {
    return gOn ? ATRACE_TAG_VALID_MASK : ATRACE_TAG_NEVER;
}

LX2_HOST_API void atrace_begin_body(const char* name) {
    Locked([&] { tThread.nested.push_back(OnThread(name)); });
}

LX2_HOST_API void atrace_end_body() {
    if (!tThread.nested.empty())
        tThread.nested.pop_back();
}

LX2_HOST_API void atrace_async_begin_body(const char* name, int32_t cookie) {
    Locked([&] {
        const std::string row(name, strcspn(name, " "));
        Track* track = TrackWith(&Track::id, static_cast<uint32_t>(cookie));
        gState->unnested.emplace(std::pair(name, cookie), Begin(track, row.c_str(), name));
    });
}

LX2_HOST_API void atrace_async_end_body(const char* name, int32_t cookie) {
    Locked([&] {
        const auto found = gState->unnested.find({name, cookie});
        if (found != gState->unnested.end())
            gState->unnested.erase(found);
    });
}

LX2_HOST_API void atrace_int_body(const char* name, int32_t value) {
    Locked([&] { Count(Plain(name), value); });
}

LX2_HOST_API void atrace_int64_body(const char* name, int64_t value) {
    Locked([&] { Count(Plain(name), value); });
}

}  // extern "C"
