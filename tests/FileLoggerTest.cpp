#include <lx2/LX2FileDump.h>

#include "Fixture.h"
#include "TempDir.h"
#include "TestClock.h"

namespace lx2::test {
namespace {

class FileLoggerTest : public Fixture {
  protected:
    FileLoggerTest() {
        gC2FileLogLevel = 1;
        SetClock(2026, 3, 5, 7, 7, 3, "XYZ-2");
    }
    std::string text() {
        const auto bytes = ReadAll(path);
        return {bytes.begin(), bytes.end()};
    }

    TempDir dir;
    const std::string path = dir / "log.txt";
    std::unique_ptr<LX2FileLogger> logger;
};

TEST_F(FileLoggerTest, AppendsLinesWithTheLocalTimeAtOnce) {
    std::ofstream(path) << "before\n";
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    EXPECT_EQ(logger->write("x"), C2_OK);
    EXPECT_EQ(text(), "before\n03-05 09:07:03 : x\n");
    SetClock(2026, 12, 31, 23, 59, 59);
    gC2FileLogLevel = 0;  // counts at creation only
    EXPECT_EQ(logger->write("%s %d", "frame", 3), C2_OK);
    EXPECT_EQ(text(), "before\n03-05 09:07:03 : x\n12-31 23:59:59 : frame 3\n");
}

TEST_F(FileLoggerTest, CutsAMessageAt255Characters) {
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    logger->write("%s", std::string(300, 'a').c_str());
    EXPECT_EQ(text(), "03-05 09:07:03 : " + std::string(255, 'a') + "\n");
}

TEST_F(FileLoggerTest, IsCreatedOnlyWhileFileLoggingIsOn) {
    EXPECT_EQ(LX2FileLogger::Create(path, nullptr), LX2_BAD_ARG);
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    gC2FileLogLevel = 0;
    EXPECT_EQ(LX2FileLogger::Create(dir / "other.txt", &logger), C2_CANNOT_DO);
    EXPECT_EQ(logger, nullptr);
    EXPECT_FALSE(std::filesystem::exists(dir / "other.txt"));
}

TEST_F(FileLoggerTest, ReportsAPathThatCannotBeOpened) {
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    const std::string missing = dir / "missing/log.txt";
    EXPECT_EQ(LX2FileLogger::Create(missing, &logger), LX2_ERROR);
    EXPECT_EQ(logger, nullptr);
    EXPECT_THAT(log.take(),
                ::testing::ElementsAre(Error("FileLog", "Failed to open log file : " + missing)));
    EXPECT_EQ(LX2FileLogger().write("into the void"), C2_OK);
}

}  // namespace
}  // namespace lx2::test
