#include "host/check/RowCheck.h"

#include <gmock/gmock.h>

#include "tests/host/SliceFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/** Two slices of three key frames each, one a second. */
class RowCheckTest : public SliceFixture {
 protected:
  RowCheckTest() {
    slice(0, key(NOON_MS) + key(NOON_MS + 1000) + key(NOON_MS + 2000));
    slice(1, key(NOON_MS + 3000) + key(NOON_MS + 4000) + key(NOON_MS + 5000));
    subject_.id = 7;
    subject_.files = &files_;
    subject_.row = RecorderTables::Session{};
    subject_.row->end = NOON + 5;
  }
  static RecorderTables::IndexRow row(unsigned int slice, size_t record, long second) {
    return {static_cast<uint32_t>(record * key(0).size()), static_cast<uint32_t>(NOON + second),
            slice};
  }
  /** What is found, as "rows-behind-end 1: 2 rows". */
  std::vector<std::string> check(const RowCheck::Rows& first, const RowCheck::Rows& second,
                                 CheckLevel level = CheckLevel::Index) {
    std::vector<std::string> found;
    RowCheck check(subject_, NOON, [&](const Finding& each) {
      found.push_back(std::string(each.name()) + " " + std::to_string(*each.slice) + ": " +
                      std::to_string(each.count));
      removes_ += each.removes;
    });
    check.check(0, first, level, frameTimes_);
    check.check(1, second, level, frameTimes_);
    lastSound_ = check.lastSound();
    return found;
  }

  CheckSubject subject_;
  const std::set<long>* frameTimes_ = nullptr;
  std::optional<RecorderTables::IndexRow> lastSound_;
  uint64_t removes_ = 0;
};

}  // namespace

TEST_F(RowCheckTest, RowsOfTheirFramesAreSound) {
  EXPECT_THAT(check({row(0, 0, 0), row(0, 1, 1), row(0, 2, 2)}, {row(1, 1, 4)}), IsEmpty());
  ASSERT_TRUE(lastSound_);
  EXPECT_EQ(NOON + 4, lastSound_->time);
  EXPECT_EQ(1U, lastSound_->slice);
}

TEST_F(RowCheckTest, RowsOfASliceChangeAreSound) {
  EXPECT_THAT(check({row(0, 0, 0)}, {row(1, 2, 2)}), IsEmpty()) << "the last key frame of slice 0";
  EXPECT_THAT(check({row(0, 0, 0)}, {row(1, 2, 3)}), IsEmpty()) << "the first one of slice 1";
}

TEST_F(RowCheckTest, FindsRowsBehindTheEnd) {
  const RowCheck::Rows rows{row(1, 3, 6), row(1, 9, 7)};
  for (const CheckLevel level : {CheckLevel::Files, CheckLevel::Index, CheckLevel::Full}) {
    EXPECT_THAT(check({row(0, 0, 0)}, rows, level), ElementsAre("rows-behind-end 1: 2"));
  }
  subject_.live = true;
  EXPECT_THAT(check({row(0, 0, 0)}, rows), IsEmpty()) << "they are not flushed yet";
}

TEST_F(RowCheckTest, FindsRowsAtNoRecord) {
  RecorderTables::IndexRow askew = row(0, 1, 1);
  ++askew.offset;
  EXPECT_THAT(check({askew}, {}), ElementsAre("rows-at-no-record 0: 1"));
  EXPECT_THAT(check({askew}, {}, CheckLevel::Files), IsEmpty());
  EXPECT_FALSE(lastSound_);
}

TEST_F(RowCheckTest, FindsRowsOfAnotherTime) {
  EXPECT_THAT(check({row(0, 1, 2)}, {}), ElementsAre("rows-with-wrong-time 0: 1"));
  EXPECT_THAT(check({row(0, 0, 0), row(0, 1, 1 - 86400)}, {}),
              ElementsAre("rows-with-wrong-time 0: 1"));
}

TEST_F(RowCheckTest, AClockThatWasPutForwardByADayIsBelieved) {
  subject_.row->end = NOON + 86400 + 5;
  EXPECT_THAT(check({row(0, 0, 0), row(0, 1, 86401)}, {row(1, 1, 86404)}), IsEmpty());
}

TEST_F(RowCheckTest, FindsRowsInTheWrongSlice) {
  EXPECT_THAT(check({row(0, 1, 4)}, {}), ElementsAre("rows-in-wrong-slice 0: 1"));
  EXPECT_THAT(check({row(0, 0, 0)}, {row(1, 1, 1)}), ElementsAre("rows-in-wrong-slice 1: 1"));
}

TEST_F(RowCheckTest, CountsRowsThatCanOnlyBeRemoved) {
  const std::set<long> times{NOON + 1};
  frameTimes_ = &times;
  RecorderTables::IndexRow askew = row(0, 1, 1);
  ++askew.offset;
  EXPECT_THAT(check({askew, row(0, 7, 77)}, {}),
              ElementsAre("rows-at-no-record 0: 1", "rows-behind-end 0: 1"));
  EXPECT_EQ(1U, removes_);
}
