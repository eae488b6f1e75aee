// Captures the log of the process: priority, tag, text, in order.
#pragma once

#include <android/log.h>
#include <lx2host/LogSink.h>

#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace lx2::test {

struct LogLine {
    int priority;
    std::string tag;
    std::string text;

    bool operator==(const LogLine& other) const {
        return priority == other.priority && tag == other.tag && text == other.text;
    }
};
inline std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << "{" << line.priority << " " << line.tag << ": " << line.text << "}";
}

// Owns the log sink from construction to destruction.
class CapturedLog {
  public:
    CapturedLog() {
        host::SetLogSink([this](int priority, const char* tag, const char* text) {
            std::lock_guard<std::mutex> lock(mLock);
            mLines.push_back({priority, tag, text});
        });
    }
    ~CapturedLog() { host::SetLogSink(nullptr); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The lines since the last call.
    std::vector<LogLine> take() {
        std::lock_guard<std::mutex> lock(mLock);
        return std::exchange(mLines, {});
    }
    std::vector<std::string> takeTexts() {
        std::vector<std::string> texts;
        for (LogLine& line : take())
            texts.push_back(std::move(line.text));
        return texts;
    }

  private:
    std::mutex mLock;
    std::vector<LogLine> mLines;
};

}  // namespace lx2::test
