#include <android/log.h>
#include <lx2host/LogSink.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace {

// Leaked on purpose: libraries log while the process takes its static objects down.
std::mutex& SinkLock() {
    static auto* lock = new std::mutex;
    return *lock;
}

lx2::host::LogSink& Sink() {
    static auto* sink = new lx2::host::LogSink;
    return *sink;
}

// logcat's brief form: priority letter, tag, process.
void PrintBrief(int priority, const char* tag, const char* text) {
    static const char kLetters[] = "??VDIWEFS";
    const bool known = priority >= 0 && priority < static_cast<int>(sizeof(kLetters)) - 1;
    fprintf(stderr, "%c/%s(%5d): %s\n", known ? kLetters[priority] : '?', tag, getpid(), text);
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* fmt, va_list args) {
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(nullptr, 0, fmt, args);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        vsnprintf(text.data(), text.size() + 1, fmt, again);
    va_end(again);
    return text;
}

}  // namespace

namespace lx2::host {

void SetLogSink(LogSink sink) {
    std::lock_guard<std::mutex> lock(SinkLock());
    Sink() = std::move(sink);
}

}  // namespace lx2::host

extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    const std::string text = Format(fmt, args);
    va_end(args);
    std::lock_guard<std::mutex> lock(SinkLock());
    if (Sink())
        Sink()(prio, tag, text.c_str());
    else
        PrintBrief(prio, tag, text.c_str());
    return static_cast<int>(text.size());
}
