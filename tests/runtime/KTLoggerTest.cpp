#include "runtime/KTLogger.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "tests/support/LogCapture.h"

namespace {

class KTLoggerTest : public testing::Test {
 protected:
  static KTLogger& logger() { return *KTLogger::instance(); }
};

TEST_F(KTLoggerTest, IsOneForTheWholeProcess) {
  ASSERT_NE(KTLogger::instance(), nullptr);
  EXPECT_EQ(KTLogger::instance(), KTLogger::instance());
}

TEST_F(KTLoggerTest, HasExactlyThreePriorities) {
  static_assert(KTLogger::Information == 16);
  static_assert(KTLogger::Warning == 64);
  static_assert(KTLogger::Error == 128);
}

TEST_F(KTLoggerTest, WritesOneFormattedLineWithItsPriority) {
  const LogCapture log;
  logger().log(KTLogger::Information, "[%u] Mysql Client is COMPILED Thread SAFE ! ", 7U);
  logger().log(KTLogger::Warning, "[ SEEK ] Failed !!! ");
  logger().log(KTLogger::Error, "%s %d", "failed", -1);
  EXPECT_EQ(log.lines(), (std::vector<LogLine>{{16, "[7] Mysql Client is COMPILED Thread SAFE ! "},
                                               {64, "[ SEEK ] Failed !!! "},
                                               {128, "failed -1"}}));
}

TEST_F(KTLoggerTest, LinesHaveNoLengthLimit) {
  const LogCapture log;
  const std::string text(100000, 'x');
  logger().log(KTLogger::Error, "%s", text.c_str());
  EXPECT_TRUE(log.has(128, text));
}

TEST_F(KTLoggerTest, BracesInALineStayAsTheyAre) {
  testing::internal::CaptureStderr();
  logger().log(KTLogger::Error, "a {} b {1} c");
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("a {} b {1} c\n"), std::string::npos) << written;
}

TEST_F(KTLoggerTest, LinesGoToStandardErrorUntilASinkIsSet) {
  testing::internal::CaptureStderr();
  logger().log(KTLogger::Warning, "one line");
  {
    const LogCapture log;
    logger().log(KTLogger::Warning, "captured");
  }
  logger().log(KTLogger::Information, "two lines");
  const std::string written = testing::internal::GetCapturedStderr();
  EXPECT_NE(written.find("[ktr] [warning] one line\n"), std::string::npos) << written;
  EXPECT_NE(written.find("[ktr] [info] two lines\n"), std::string::npos) << written;
  EXPECT_EQ(written.find("captured"), std::string::npos) << written;
}

TEST_F(KTLoggerTest, PutsTheFormerSinkBack) {
  const LogCapture outer;
  const std::shared_ptr<KTLogSink> former = logger().setSink(nullptr);
  EXPECT_NE(logger().setSink(former), nullptr);
  logger().log(KTLogger::Error, "heard");
  EXPECT_TRUE(outer.has(128, "heard"));
}

TEST_F(KTLoggerTest, TakesLinesFromAnyThreadWhileSinksChange) {
  const LogCapture log;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      for (int n = 0; n < 200; ++n) logger().log(KTLogger::Information, "line %d of %d", n, i);
    });
  }
  for (int n = 0; n < 200; ++n) logger().setSink(logger().setSink(nullptr));
  for (std::thread& thread : threads) thread.join();
  EXPECT_LE(log.lines().size(), 800U);
}

}  // namespace
