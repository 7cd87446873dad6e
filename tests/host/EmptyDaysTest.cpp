#include "host/retain/EmptyDays.h"

#include <filesystem>
#include <fstream>

#include "tests/host/UtcZone.h"
#include "tests/support/TempDir.h"

namespace fs = std::filesystem;

namespace {

constexpr long NOW = 1767348000;  // 2026-01-02 10:00:00 UTC

class EmptyDaysTest : public UtcZone {
 protected:
  std::string make(const std::string& path) const {
    fs::create_directories(dir_.path() + "/" + path);
    return dir_.path() + "/" + path;
  }
  [[nodiscard]] bool exists(const std::string& path) const {
    return fs::exists(dir_.path() + "/" + path);
  }
  void remove() const { EmptyDays::removeBelow(dir_.path(), NOW); }

  TempDir dir_;
};

}  // namespace

TEST_F(EmptyDaysTest, RemovesDaysMonthsAndYears) {
  make("2024/05/06");
  make("2024/05/07");
  remove();
  EXPECT_FALSE(exists("2024"));
  EXPECT_TRUE(exists(""));
}

TEST_F(EmptyDaysTest, KeepsWhatHoldsAFile) {
  make("2025/05/06");
  std::ofstream(make("2025/05/07") + "/any") << "x";
  remove();
  EXPECT_FALSE(exists("2025/05/06"));
  EXPECT_TRUE(exists("2025/05/07/any"));
}

TEST_F(EmptyDaysTest, KeepsTodayAndYesterday) {
  make("2026/01/02");
  make("2026/01/01");
  make("2025/12/31");
  remove();
  EXPECT_TRUE(exists("2026/01/02"));
  EXPECT_TRUE(exists("2026/01/01"));
  EXPECT_FALSE(exists("2025"));
}

TEST_F(EmptyDaysTest, KeepsTheMonthInWhichTodayWillBeMade) {
  make("2026/01");
  remove();
  EXPECT_TRUE(exists("2026/01"));
}

TEST_F(EmptyDaysTest, LeavesDirectoriesOfOtherNamesAlone) {
  make("notes");
  make("2024/05/06/deep");
  make("2024/may");
  remove();
  EXPECT_TRUE(exists("notes"));
  EXPECT_TRUE(exists("2024/05/06/deep"));
  EXPECT_TRUE(exists("2024/may"));
}

TEST_F(EmptyDaysTest, FollowsNoLink) {
  const TempDir elsewhere;
  fs::create_directories(elsewhere.path() + "/05/06");
  fs::create_directory_symlink(elsewhere.path(), dir_.path() + "/2024");
  remove();
  EXPECT_TRUE(fs::exists(elsewhere.path() + "/05/06"));
}

TEST_F(EmptyDaysTest, ManagesWithoutTheDirectory) {
  EmptyDays::removeBelow("/nowhere/at/all", NOW);
}
