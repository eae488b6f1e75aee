#include <lx2/LX2FileDump.h>

#include "Fixture.h"
#include "TempDir.h"
#include "TestClock.h"

namespace lx2::test {
namespace {

class FileLoggerTest : public Fixture {
  protected:
    void SetUp() override {
        gC2FileLogLevel = 1;
        SetClock(1772694423, "XYZ-2");  // 5 March 2026, 09:07:03 there
        ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    }

    TempDir dir;
    const std::string path = dir / "log.txt";
    std::unique_ptr<LX2FileLogger> logger;
};

TEST_F(FileLoggerTest, AppendsLinesWithTheLocalTimeAtOnce) {
    EXPECT_EQ(logger->write("x"), C2_OK);
    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    gC2FileLogLevel = 0;  // counts at creation only
    SetClock(1798761599, "UTC");
    EXPECT_EQ(logger->write("%s %d", "frame", 3), C2_OK);
    logger->write("%s", std::string(300, 'a').c_str());
    const auto bytes = ReadAll(path);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "03-05 09:07:03 : x\n12-31 23:59:59 : frame 3\n12-31 23:59:59 : " +
                  std::string(255, 'a') + "\n");
}

TEST_F(FileLoggerTest, ReplacesALoggerByNoneWhereItCannotBeCreated) {
    EXPECT_EQ(LX2FileLogger::Create(path, nullptr), LX2_BAD_ARG);
    const std::string missing = dir / "missing/log.txt";
    EXPECT_EQ(LX2FileLogger::Create(missing, &logger), LX2_ERROR);
    EXPECT_EQ(logger, nullptr);
    EXPECT_THAT(log.take(),
                ::testing::ElementsAre(Error("FileLog", "Failed to open log file : " + missing)));
    EXPECT_EQ(LX2FileLogger().write("into the void"), C2_OK);

    ASSERT_EQ(LX2FileLogger::Create(path, &logger), C2_OK);
    gC2FileLogLevel = 0;
    EXPECT_EQ(LX2FileLogger::Create(dir / "other.txt", &logger), C2_CANNOT_DO);
    EXPECT_EQ(logger, nullptr);
    EXPECT_FALSE(std::filesystem::exists(dir / "other.txt"));
}

}  // namespace
}  // namespace lx2::test
