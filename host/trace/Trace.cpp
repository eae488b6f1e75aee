#include <PrivateRecord.h>
#include <Trace.h>
#include <fcntl.h>
#include <lx2/PixFormat.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace lx2::host::trace {

std::atomic<bool> gOn{false};

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kRowNames[kKinds] = {"memory", "pool", "import", "CPU", "blit"};

// What is counted of the slices of a kind that are open.
constexpr const char* kCounters[kKinds] = {"bytes", "buffers out", "imports", nullptr, nullptr};

// Tracks are numbered as processes. These two come first.
constexpr uint32_t kProgram = 1;
constexpr uint32_t kOtherMemory = 2;

struct Row {
    uint32_t number;  // as a thread, unique in the file
    bool busy;
};

struct Track {
    uint64_t id = 0;      // of the allocation
    uint32_t format = 0;  // 0: not allocated here
    std::array<std::vector<Row>, kKinds> rows;
};

struct State {
    std::mutex lock;
    const char* path = nullptr;
    int file = -1;
    Clock::time_point start = Clock::now();
    bool first = true;
    std::vector<Track> tracks;  // from number 1 on
    std::unordered_map<ino_t, uint32_t> trackOf;
    uint32_t lastRow = 0;
    std::array<uint64_t, kKinds> open{};  // slices, of memory bytes

    Track& at(uint32_t number) { return tracks[number - 1]; }
};

// Made when the library is loaded, and left to those who end slices while the process goes down.
State* gState = nullptr;

void GiveUp(const char* path) {
    gOn = false;
    fprintf(stderr, "lx2host: LX2_TRACE=%s: %s; nothing more is traced\n", path, strerror(errno));
}

void WriteOut(State* state, const char* text, size_t size) {
    while (size > 0) {
        const ssize_t written = write(state->file, text, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return GiveUp(state->path);
        text += written;
        size -= static_cast<size_t>(written);
    }
}

// One event, the members of its object as printf takes them.
__attribute__((format(printf, 2, 3))) void Write(State* state, const char* format, ...) {
    if (!IsOn())
        return;
    char members[384];
    char line[400];
    va_list args;
    va_start(args, format);
    vsnprintf(members, sizeof(members), format, args);
    va_end(args);
    const int length =
        snprintf(line, sizeof(line), "%s{%s}", state->first ? "[\n" : ",\n", members);
    state->first = false;
    WriteOut(state, line, static_cast<size_t>(length));
}

double Microseconds(const State& state) {
    return std::chrono::duration<double, std::micro>(Clock::now() - state.start).count();
}

void NameTrack(State* state, uint32_t number, const char* name) {
    Write(state, R"("ph":"M","name":"process_name","pid":%u,"args":{"name":"%s"})", number, name);
    Write(state, R"("ph":"M","name":"process_sort_index","pid":%u,"args":{"sort_index":%u})",
          number, number);
}

// A free row, which is busy from now on; 0 when there is no memory for another.
uint32_t TakeRow(State* state, uint32_t track, Kind kind) try {
    std::vector<Row>& rows = state->at(track).rows[static_cast<size_t>(kind)];
    auto row = std::find_if(rows.begin(), rows.end(), [](const Row& r) { return !r.busy; });
    if (row == rows.end()) {
        row = rows.insert(rows.end(), {state->lastRow + 1, false});
        ++state->lastRow;
        const size_t count = rows.size();
        char further[24] = "";
        if (count > 1)
            snprintf(further, sizeof(further), " %zu", count);
        Write(state, R"("ph":"M","name":"thread_name","pid":%u,"tid":%u,"args":{"name":"%s%s"})",
              track, row->number, kRowNames[static_cast<size_t>(kind)], further);
    }
    row->busy = true;
    return row->number;
} catch (const std::bad_alloc&) {
    return 0;
}

void Count(State* state, Kind kind, uint64_t change, double now) {
    const auto index = static_cast<size_t>(kind);
    state->open[index] += change;
    if (kCounters[index] != nullptr)
        Write(state, R"("ph":"C","name":"%s","pid":%u,"ts":%.3f,"args":{"%s":%)" PRIu64 "}",
              kCounters[index], kProgram, now, kCounters[index], state->open[index]);
}

void Start(const char* path) {
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (file < 0)
        return GiveUp(path);
    auto* state = new State;
    state->path = path;
    state->file = file;
    state->tracks.resize(kOtherMemory);
    gState = state;
    gOn = true;
    pthread_atfork(nullptr, nullptr, [] { gOn = false; });
    char program[64];
    snprintf(program, sizeof(program), "%s", program_invocation_short_name);
    for (char* at = program; *at != '\0'; ++at) {
        if (*at == '"' || *at == '\\' || static_cast<unsigned char>(*at) < ' ')
            *at = '_';
    }
    NameTrack(state, kProgram, program);
    NameTrack(state, kOtherMemory, "linear and other memory");
}

__attribute__((constructor)) void StartIfAsked() {
    const char* path = getenv("LX2_TRACE");
    if (path != nullptr && *path != '\0')
        Start(path);
}

__attribute__((destructor)) void Finish() {
    if (!IsOn())
        return;
    std::lock_guard<std::mutex> guard(gState->lock);
    if (!gOn.exchange(false))
        return;
    WriteOut(gState, "\n]\n", 3);
    close(gState->file);
}

const char* NameOf(State* state, uint32_t track, uint32_t format) {
    const uint32_t allocated = state->at(track).format;
    return PixFormat::Str(allocated != 0 ? allocated : format);
}

}  // namespace

uint32_t TrackOf(int fd) noexcept {
    struct stat info {};
    if (fstat(fd, &info) != 0)
        return kOtherMemory;
    std::lock_guard<std::mutex> guard(gState->lock);
    const auto found = gState->trackOf.find(info.st_ino);
    return found != gState->trackOf.end() ? found->second : kOtherMemory;
}

uint32_t TrackOf(const PrivateHandle& record) noexcept try {
    struct stat info {};
    if (fstat(record.fd, &info) != 0)
        return kOtherMemory;
    std::lock_guard<std::mutex> guard(gState->lock);
    uint32_t& track = gState->trackOf.try_emplace(info.st_ino, kOtherMemory).first->second;
    if (gState->at(track).id == record.id)
        return track;
    Track fresh;
    fresh.id = record.id;
    fresh.format = LayoutFormatOf(record.format, (record.flags & kAllocatedCompressed) != 0);
    gState->tracks.push_back(std::move(fresh));
    track = static_cast<uint32_t>(gState->tracks.size());
    char name[128];
    snprintf(name, sizeof(name), "memory 0x%" PRIx64 " %s %ux%u, %u bytes", record.id,
             PixFormat::Str(gState->at(track).format), record.width, record.height, record.size);
    NameTrack(gState, track, name);
    return track;
} catch (const std::bad_alloc&) {
    return kOtherMemory;
}

Slice::Slice(Kind kind, uint32_t track, const char* name, uint64_t bytes) noexcept
    : mTrack(track), mBytes(bytes), mKind(kind) {
    std::lock_guard<std::mutex> guard(gState->lock);
    mRow = TakeRow(gState, track, kind);
    if (mRow == 0)
        return;
    const double now = Microseconds(*gState);
    Write(gState, R"("ph":"B","name":"%s","cat":"%s","pid":%u,"tid":%u,"ts":%.3f)", name,
          kRowNames[static_cast<size_t>(kind)], track, mRow, now);
    Count(gState, kind, kind == Kind::Memory ? bytes : 1, now);
}

void Slice::end() noexcept {
    if (!IsOn())
        return;
    std::lock_guard<std::mutex> guard(gState->lock);
    for (Row& row : gState->at(mTrack).rows[static_cast<size_t>(mKind)])
        row.busy = row.busy && row.number != mRow;
    const double now = Microseconds(*gState);
    Write(gState, R"("ph":"E","pid":%u,"tid":%u,"ts":%.3f)", mTrack, mRow, now);
    Count(gState, mKind, 0 - (mKind == Kind::Memory ? mBytes : 1), now);
}

void Blit::begin(uint32_t fromTrack, uint32_t fromFormat, uint32_t toTrack,
                 uint32_t toFormat) noexcept {
    char name[64];
    {
        std::lock_guard<std::mutex> guard(gState->lock);
        snprintf(name, sizeof(name), "%s to %s", NameOf(gState, fromTrack, fromFormat),
                 NameOf(gState, toTrack, toFormat));
    }
    mFrom = Slice(Kind::Blit, fromTrack, name);
    mTo = Slice(Kind::Blit, toTrack, name);
}

}  // namespace lx2::host::trace
