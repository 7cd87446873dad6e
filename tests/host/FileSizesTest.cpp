#include "host/FileSizes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/TempDir.h"

namespace {

class FileSizesTest : public testing::Test {
 protected:
  void add(const std::string& name, size_t bytes) const {
    std::ofstream(dir_.path() + "/" + name) << std::string(bytes, 'x');
  }
  uint64_t bytes(const std::string& prefix) { return sizes_.bytesOf(dir_.path() + "/" + prefix); }

  TempDir dir_;
  FileSizes sizes_;
};

}  // namespace

TEST_F(FileSizesTest, SumsTheFilesThatBeginAlike) {
  add("R1_F0", 10);
  add("R1_F1", 5);
  add("R11_F0", 100);
  EXPECT_EQ(15U, bytes("R1_"));
  EXPECT_EQ(100U, bytes("R11_"));
  EXPECT_EQ(0U, bytes("R2_"));
}

TEST_F(FileSizesTest, ReadsADirectoryOnce) {
  EXPECT_EQ(0U, bytes("R1_"));
  add("R1_F0", 10);
  EXPECT_EQ(0U, bytes("R1_"));
}

TEST_F(FileSizesTest, CountsNothingWhereNothingIs) {
  std::filesystem::create_directory(dir_.path() + "/R1_dir");
  EXPECT_EQ(0U, bytes("R1_"));
  EXPECT_EQ(0U, sizes_.bytesOf("/nowhere/at/all_"));
}
