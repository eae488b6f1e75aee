// Captures the log of the process: priority, tag, text, in order.
#pragma once

#include <android/log.h>

#include <mutex>
#include <ostream>
#include <string>
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
std::ostream& operator<<(std::ostream& out, const LogLine& line);

// Owns the log sink from construction to destruction.
class CapturedLog {
  public:
    CapturedLog();
    ~CapturedLog();
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    // The lines since the last call.
    std::vector<LogLine> take();
    std::vector<std::string> takeTexts();

  private:
    std::mutex mLock;
    std::vector<LogLine> mLines;
};

}  // namespace lx2::test
