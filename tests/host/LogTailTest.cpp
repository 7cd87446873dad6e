#include "host/server/LogTail.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/TempDir.h"

namespace {

class LogTailTest : public testing::Test {
 protected:
  std::string tailOf(const std::string& text) {
    std::ofstream(path_) << text;
    return LogTail::read(path_);
  }

  TempDir dir_;
  std::string path_ = dir_.path() + "/log";
};

}  // namespace

TEST_F(LogTailTest, PrefersTheLastErrors) {
  EXPECT_EQ("2 [ERROR] b | 4 [ERROR] d | 5 [ERROR] e",
            tailOf("1 [ERROR] a\n2 [ERROR] b\n3 [Note] c\n4 [ERROR] d\n5 [ERROR] e\n6 [Note]\n"));
}

TEST_F(LogTailTest, TakesTheLastLinesWithoutErrors) {
  EXPECT_EQ("b | c | d", tailOf("a\nb\n\nc\nd\n"));
}

TEST_F(LogTailTest, SaysSoWhenThereIsNothing) {
  EXPECT_EQ("its log is empty", tailOf(""));
  EXPECT_EQ("its log is empty", LogTail::read(dir_.path() + "/none"));
}
