#include "host/view/ScanProgress.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/support/ManualClock.h"

namespace {

class ScanProgressTest : public testing::Test {
 protected:
  /** What was written since the last call. */
  std::string written() {
    const std::string text = out_.str();
    out_.str("");
    return text;
  }

  ManualClock clock_;
  std::ostringstream out_;
};

constexpr uint64_t MIB = 1048576;

}  // namespace

TEST_F(ScanProgressTest, PrintsALineEveryTenSeconds) {
  ScanProgress progress(out_, false);
  clock_.advanceSeconds(9);
  progress.update(MIB, 4 * MIB);
  EXPECT_EQ("", written());
  clock_.advanceSeconds(1);
  progress.update(MIB, 4 * MIB);
  EXPECT_EQ("0:00:10 checked 1.0 MiB of 4.0 MiB, 25 %\n", written());
  progress.update(2 * MIB, 4 * MIB);
  EXPECT_EQ("", written());
  clock_.advanceSeconds(10);
  progress.update(4 * MIB, 4 * MIB);
  EXPECT_EQ("0:00:20 checked 4.0 MiB of 4.0 MiB, 100 %\n", written());
  progress.clear();
  EXPECT_EQ("", written());
}

TEST_F(ScanProgressTest, DrawsOneLineOverAndOverOnATerminal) {
  {
    ScanProgress progress(out_, true);
    for (const char* line : {"\r\033[K0:00:00 checked 1.0 MiB of 2.0 MiB, 50 %",
                             "\r\033[K0:00:00 checked 1.0 MiB of 2.0 MiB, 50 %"}) {
      clock_.advance(std::chrono::milliseconds(200));
      progress.update(MIB, 2 * MIB);
      progress.update(MIB, 2 * MIB);
      EXPECT_EQ(line, written());
    }
  }
  EXPECT_EQ("\r\033[K", written()) << "the line is gone at the end";
}

TEST_F(ScanProgressTest, ClearsALineOnce) {
  ScanProgress progress(out_, true);
  progress.clear();
  EXPECT_EQ("", written());
  clock_.advanceSeconds(1);
  progress.update(1, 2);
  (void)written();
  progress.clear();
  progress.clear();
  EXPECT_EQ("\r\033[K", written());
}

TEST_F(ScanProgressTest, ShowsNothingOfNothing) {
  ScanProgress progress(out_, true);
  clock_.advanceSeconds(1);
  progress.update(0, 0);
  EXPECT_EQ("", written());
}
