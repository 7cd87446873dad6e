#include "host/media/BlockOutput.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "tests/support/TempDir.h"

namespace {

constexpr std::size_t BLOCK = 2 << 20;

class BlockOutputTest : public testing::Test {
 protected:
  UniqueFd file() {
    return UniqueFd(open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  }
  std::string contents() {
    std::ifstream stream(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static bool write(BlockOutput& output, const std::string& bytes) {
    return output.write(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  }
  /** Bytes that tell where they belong. */
  static std::string bytes(std::size_t count) {
    std::string text(count, '\0');
    std::minstd_rand random(static_cast<unsigned int>(count));
    for (char& each : text) each = static_cast<char>(random() >> 8);
    return text;
  }

  TempDir dir_;
  const std::string path_ = dir_.path() + "/file";
};

}  // namespace

TEST_F(BlockOutputTest, PiecesOfAllSizesStandOneBehindTheOther) {
  std::string expected;
  BlockOutput output(file(), BlockOutput::InBlocks);
  for (const std::size_t count :
       {std::size_t{48}, std::size_t{7}, BLOCK, 3 * BLOCK + 11, std::size_t{1}, BLOCK - 1}) {
    expected += bytes(count);
    ASSERT_TRUE(write(output, bytes(count)));
    EXPECT_EQ(static_cast<off_t>(expected.size()), output.place());
    EXPECT_EQ(static_cast<off_t>(expected.size()), output.size());
  }
  EXPECT_TRUE(output.close());
  EXPECT_TRUE(expected == contents());
}

TEST_F(BlockOutputTest, CollectsUntilABlockIsFull) {
  BlockOutput output(file(), BlockOutput::InBlocks);
  ASSERT_TRUE(write(output, bytes(BLOCK - 1)));
  EXPECT_EQ(0U, std::filesystem::file_size(path_));
  ASSERT_TRUE(write(output, "ab"));
  EXPECT_EQ(BLOCK, std::filesystem::file_size(path_));
  ASSERT_TRUE(output.flush());
  EXPECT_EQ(BLOCK + 1, std::filesystem::file_size(path_));
}

TEST_F(BlockOutputTest, AtOnceCollectsNothing) {
  BlockOutput output(file(), BlockOutput::AtOnce);
  ASSERT_TRUE(write(output, "abc"));
  EXPECT_EQ("abc", contents());
  EXPECT_EQ(3, output.place());
}

TEST_F(BlockOutputTest, GoesBackAndOn) {
  for (const BlockOutput::Pace pace : {BlockOutput::AtOnce, BlockOutput::InBlocks}) {
    std::string expected = bytes(2 * BLOCK + 100);
    BlockOutput output(file(), pace);
    ASSERT_TRUE(write(output, expected));
    ASSERT_TRUE(output.seek(4090));
    ASSERT_TRUE(write(output, "twelve bytes"));
    EXPECT_EQ(static_cast<off_t>(expected.size()), output.size());
    ASSERT_TRUE(output.seek(output.size()));
    ASSERT_TRUE(write(output, "end"));
    EXPECT_TRUE(output.close());
    expected = expected.replace(4090, 12, "twelve bytes") + "end";
    EXPECT_TRUE(expected == contents());
  }
}

TEST_F(BlockOutputTest, WhatWasCollectedIsWrittenInTheEnd) {
  {
    BlockOutput output(file(), BlockOutput::InBlocks);
    ASSERT_TRUE(write(output, "abc"));
  }
  EXPECT_EQ("abc", contents());
}

TEST_F(BlockOutputTest, PipeIsWrittenAtOnceAndHasNoPlaces) {
  int ends[2];
  ASSERT_EQ(0, pipe(ends));
  const UniqueFd reading(ends[0]);
  BlockOutput output(UniqueFd(ends[1]), BlockOutput::InBlocks);
  EXPECT_FALSE(output.seekable());
  EXPECT_EQ(-1, output.size());
  EXPECT_FALSE(output.seek(0));
  ASSERT_TRUE(write(output, "abc"));
  char room[4] = "";
  EXPECT_EQ(3, read(reading.get(), room, 3));
  EXPECT_STREQ("abc", room);
}

TEST_F(BlockOutputTest, FullDiskIsToldWithItsReason) {
  BlockOutput output(UniqueFd(open("/dev/full", O_WRONLY)), BlockOutput::InBlocks);
  EXPECT_FALSE(write(output, "abc"));
  EXPECT_EQ(ENOSPC, errno);
}
