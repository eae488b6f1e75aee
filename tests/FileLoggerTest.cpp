#include <lx2/LX2FileDump.h>

#include "Fixture.h"
#include "TempDir.h"
#include "TestClock.h"

namespace lx2::test {
namespace {

using FileLoggerTest = Fixture;

TEST_F(FileLoggerTest, AppendsLinesWithTheLocalTimeAtOnceOrHasNoFile) {
    TempDir dir;
    const std::string path = dir / "log.txt", missing = dir / "missing/log.txt";
    std::unique_ptr<LX2FileLogger> logger;
    gC2FileLogLevel = 1;
    SetClock(1772694423, "XYZ-2");  // 5 March 2026, 09:07:03 there
    EXPECT_EQ(LX2FileLogger::Create(path, nullptr), LX2_BAD_ARG);
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    EXPECT_EQ(logger->write("x"), C2_OK);
    EXPECT_EQ(LX2FileLogger::Create(missing, &logger), LX2_ERROR);
    EXPECT_EQ(logger, nullptr);
    EXPECT_THAT(log.take(),
                ::testing::ElementsAre(Error("FileLog", "Failed to open log file : " + missing)));

    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    gC2FileLogLevel = 0;  // counts at creation only
    SetClock(1798761599, "UTC");
    EXPECT_EQ(logger->write("%s %d", "frame", 3), C2_OK);
    logger->write("%s", std::string(300, 'a').c_str());
    const auto bytes = ReadAll(path);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "03-05 09:07:03 : x\n12-31 23:59:59 : frame 3\n12-31 23:59:59 : " +
                  std::string(255, 'a') + "\n");
    EXPECT_EQ(LX2FileLogger::Create(dir / "other.txt", &logger), C2_CANNOT_DO);
    EXPECT_EQ(logger, nullptr);
    EXPECT_FALSE(std::filesystem::exists(dir / "other.txt"));
    EXPECT_EQ(LX2FileLogger().write("into the void"), C2_OK);
}

}  // namespace
}  // namespace lx2::test
