#include "host/check/SessionStart.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "tests/host/SliceFixture.h"

namespace fs = std::filesystem;

namespace {

constexpr long DAY = 86400;

class SessionStartTest : public SliceFixture {
 protected:
  /** Says when a slice was written last. */
  static void setWritten(const std::string& path, long seconds) {
    const timespec times[] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0));
  }
  [[nodiscard]] std::optional<long> start(long row = 0, std::optional<long> indexed = {}) const {
    return SessionStart::of(files_, {row, indexed});
  }
};

}  // namespace

TEST_F(SessionStartTest, KnowsTheNoonOfADirectory) {
  EXPECT_EQ(NOON, SessionStart::noonOf("/video/cam/2026/01/01/"));
  for (const char* other :
       {"/video/cam/2026/01/01", "2026/01/01/", "/video/cam/2026/1/01/", "/video/2026/01-01/",
        "/video/cam/2026/-1/01/", "/video/cam/2026/ 1/01/", "/video/cam/20x6/01/01/", "/", ""}) {
    EXPECT_EQ(std::nullopt, SessionStart::noonOf(other)) << other;
  }
}

TEST_F(SessionStartTest, IsTheTimeOfTheFirstFrameOnTheDayOfTheRow) {
  slice(0, key(NOON_MS + 5000));
  EXPECT_EQ(NOON + 5, start(NOON + 4));
}

TEST_F(SessionStartTest, ARowOfAnotherTimeIsNotBelieved) {
  slice(0, key(NOON_MS));
  EXPECT_EQ(NOON, start(NOON - 5000, NOON + 1));
  EXPECT_EQ(NOON, start(NOON + 3 * DAY, NOON + 1)) << "the directory is of another day";
}

TEST_F(SessionStartTest, TheDirectoryTellsTheDayWithoutAnyRow) {
  setWritten(slice(0, key(NOON_MS)), NOON + 90 * DAY);
  EXPECT_EQ(NOON, start());
}

TEST_F(SessionStartTest, TheTimeOfTheFileTellsWhichSideOfMidnight) {
  const std::string path = slice(0, key(DAY * 1000 - 1000) + delta(DAY * 1000 - 500));
  setWritten(path, NOON - DAY / 2);
  EXPECT_EQ(NOON - DAY / 2 - 1, start());
  setWritten(path, NOON + DAY / 2);
  EXPECT_EQ(NOON + DAY / 2 - 1, start());
}

TEST_F(SessionStartTest, WhatIsLeftOfALongSessionIsOfTheDayOfItsFile) {
  setWritten(slice(3, key(NOON_MS)), NOON + 5 * DAY + 100);
  EXPECT_EQ(NOON + 5 * DAY, start());
}

TEST_F(SessionStartTest, AStrayFirstStampIsPassedOver) {
  slice(0, key(5000) + key(NOON_MS + 1000) + key(NOON_MS + 2000));
  EXPECT_EQ(NOON + 1, start(NOON));
}

TEST_F(SessionStartTest, SlicesWithoutAFrameTellNothing) {
  slice(0, "");
  EXPECT_EQ(std::nullopt, start(NOON));
  slice(1, key(NOON_MS));
  EXPECT_EQ(NOON, start(NOON));
}
