#include <android/log.h>
#include <lx2host/LogSink.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>

namespace lx2::host {

namespace {

struct SinkState {
    std::mutex lock;
    LogSink sink;
};

// Leaked on purpose: libraries log while the process takes its static objects down.
SinkState& State() {
    static auto* state = new SinkState;
    return *state;
}

// logcat's brief form: priority letter, tag, process.
void PrintBrief(const __android_logger_data& message, const char* text) {
    static const char kLetters[] = "??VDIWEFS";
    const int priority = message.priority;
    const bool known = priority >= 0 && priority < static_cast<int>(sizeof(kLetters)) - 1;
    fprintf(stderr, "%c/%s(%5d): %s\n", known ? kLetters[priority] : '?', message.tag, getpid(),
            text);
}

void Log(const __android_logger_data* message, const char* text) noexcept {
    try {
        SinkState& state = State();
        std::lock_guard<std::mutex> guard(state.lock);
        if (state.sink)
            return state.sink(message->priority, message->tag, text);
    } catch (...) {
        // Who logs expects no exception.
    }
    PrintBrief(*message, text);
}

// By itself liblog leaves debug messages out: which of them are printed is gC2LogLevel's to say.
__attribute__((constructor)) void TakeLog() {
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
    __android_log_set_logger(Log);
}

}  // namespace

void SetLogSink(LogSink sink) {
    SinkState& state = State();
    std::lock_guard<std::mutex> guard(state.lock);
    state.sink.swap(sink);
}

}  // namespace lx2::host
