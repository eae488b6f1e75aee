// The fixture of all tests: a captured log, level words back at zero, and no cache bracket left
// open.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lx2/Log.h>
#include <lx2host/DmaBuf.h>

#include <functional>

#include "CapturedLog.h"

namespace lx2::test {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class Fixture : public ::testing::Test {
  protected:
    Fixture() { host::ResetSyncCounts(); }
    ~Fixture() override {
        host::SetSyncHook(nullptr);
        gC2LogLevel = 0;
        gC2FileLogLevel = 0;
    }
    void TearDown() override {
        const host::SyncCounts counts = host::GetSyncCounts();
        EXPECT_EQ(counts.open, 0u) << "a cache synchronisation was started and never ended";
        EXPECT_EQ(counts.unmatched, 0u) << "a cache synchronisation ended that never started";
    }

    // The texts that are logged while action runs under the given level word.
    std::vector<std::string> textsAt(uint32_t level, const std::function<void()>& action) {
        log.take();
        gC2LogLevel = level;
        action();
        gC2LogLevel = 0;
        return log.takeTexts();
    }

    CapturedLog log;
};

inline LogLine Error(const std::string& tag, const std::string& text) {
    return {ANDROID_LOG_ERROR, tag, text};
}
inline LogLine Warning(const std::string& tag, const std::string& text) {
    return {ANDROID_LOG_WARN, tag, text};
}
inline LogLine Info(const std::string& tag, const std::string& text) {
    return {ANDROID_LOG_INFO, tag, text};
}
inline LogLine Debug(const std::string& tag, const std::string& text) {
    return {ANDROID_LOG_DEBUG, tag, text};
}
// The lines of one tag that are all errors.
inline std::vector<LogLine> Errors(const std::string& tag, const std::vector<std::string>& texts) {
    std::vector<LogLine> lines;
    for (const std::string& text : texts)
        lines.push_back(Error(tag, text));
    return lines;
}

}  // namespace lx2::test
