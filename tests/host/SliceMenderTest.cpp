#include "host/repair/SliceMender.h"

#include <cerrno>

#include "host/HostError.h"
#include "tests/host/SliceFixture.h"
#include "tests/support/FaultCalls.h"

namespace fs = std::filesystem;

namespace {

class SliceMenderTest : public SliceFixture {
 protected:
  [[nodiscard]] std::string damaged() const { return contents(files_.prefix + "F0.damaged"); }

  const std::string first_ = key(NOON_MS);
  const std::string second_ = delta(NOON_MS + 40);
};

}  // namespace

TEST_F(SliceMenderTest, LeavesASoundSliceAlone) {
  const std::string path = slice(0, first_ + second_);
  const auto written = fs::last_write_time(path);
  const SliceMender::Result result = SliceMender::mend(path);
  EXPECT_EQ(0U, result.cutBytes + result.movedBytes);
  EXPECT_EQ(first_ + second_, contents(path));
  EXPECT_EQ(written, fs::last_write_time(path));
}

TEST_F(SliceMenderTest, CutsATornTail) {
  const std::string path = slice(0, first_ + second_.substr(0, 9));
  EXPECT_EQ(9U, SliceMender::mend(path).cutBytes);
  EXPECT_EQ(first_, contents(path));
  EXPECT_FALSE(fs::exists(files_.prefix + "F0.damaged"));
}

TEST_F(SliceMenderTest, MovesGarbageAsideInItsOrder) {
  const std::string path = slice(0, "one, " + first_ + "two" + second_ + std::string(20, '\0'));
  const SliceMender::Result result = SliceMender::mend(path);
  EXPECT_EQ(8U, result.movedBytes);
  EXPECT_EQ(20U, result.cutBytes);
  EXPECT_EQ(first_ + second_, contents(path));
  EXPECT_EQ("one, two", damaged());
  EXPECT_FALSE(fs::exists(path + ".unfinished"));
}

TEST_F(SliceMenderTest, ASliceIsTheOldOneUntilItIsTheNewOne) {
  const std::string bytes = first_ + "garbage" + second_;
  const std::string path = slice(0, bytes);
  FaultCalls faults;
  faults.fail("rename", path, EIO);
  EXPECT_THROW((void)SliceMender::mend(path), HostError);
  EXPECT_EQ(bytes, contents(path));
  EXPECT_EQ("garbage", damaged());
  EXPECT_EQ(7U, SliceMender::mend(path).movedBytes);
  EXPECT_EQ(first_ + second_, contents(path));
}

TEST_F(SliceMenderTest, WhatCannotBeReadIsNotTouched) {
  const std::string bytes = first_ + "garbage" + second_;
  const std::string path = slice(0, bytes);
  FaultCalls faults;
  faults.fail("pread", path, EIO, {1, FaultCalls::ALWAYS});
  EXPECT_TRUE(SliceMender::mend(path).unreadable);
  faults.restore();
  EXPECT_EQ(bytes, contents(path));
  EXPECT_FALSE(fs::exists(files_.prefix + "F0.damaged"));
}
