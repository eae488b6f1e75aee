#include "CapturedLog.h"

#include <lx2host/LogSink.h>

#include <utility>

namespace lx2::test {

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << "{" << line.priority << " " << line.tag << ": " << line.text << "}";
}

CapturedLog::CapturedLog() {
    host::SetLogSink([this](int priority, const char* tag, const char* text) {
        std::lock_guard<std::mutex> lock(mLock);
        mLines.push_back({priority, tag, text});
    });
}

CapturedLog::~CapturedLog() {
    host::SetLogSink(nullptr);
}

std::vector<LogLine> CapturedLog::take() {
    std::lock_guard<std::mutex> lock(mLock);
    return std::exchange(mLines, {});
}

std::vector<std::string> CapturedLog::takeTexts() {
    std::vector<std::string> texts;
    for (LogLine& line : take())
        texts.push_back(std::move(line.text));
    return texts;
}

}  // namespace lx2::test
