#include <cerrno>

#include "tests/faults/FaultFixture.h"

namespace {

using testing::ElementsAreArray;

/** Each error that a write may end with, at each moment at which frames are written. */
class WriteErrorsTest : public FaultFixture, public testing::WithParamInterface<int> {
 protected:
  void failWrites(unsigned int first) {
    faults_.fail("pwrite", slice(0), GetParam(), {first, FaultCalls::ALWAYS});
  }
  void expectDropped(unsigned int records) const {
    expectError("writeKTRData: NULL res:-1 , " + std::to_string(records * recordSize()) + " bytes");
  }
};

TEST_P(WriteErrorsTest, AFailedFlushCostsWhatWasBufferedAndEndsTheSession) {
  failWrites(2);
  roll();
  film(40);
  EXPECT_TRUE(ended());
  EXPECT_EQ(elapsed(), 22);
  finish();
  expectDropped(11);
  expectError("Saving error !!! fileindex:0 record:2 offset:" + std::to_string(22 * recordSize()));
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 12)));
  EXPECT_EQ(index(2), (Index{3, 1}));
  expectNextSessionWorks();
}

TEST_P(WriteErrorsTest, WhatStillFoundRoomIsPlayed) {
  faults_.shorten("pwrite", slice(0), 3 * recordSize() + 10, {2, 1});
  failWrites(3);
  roll();
  film(40);
  EXPECT_TRUE(ended());
  finish();
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 15)));
  expectNextSessionWorks();
}

TEST_P(WriteErrorsTest, AFailedFlushAtTheEndCostsWhatWasBuffered) {
  failWrites(2);
  roll();
  film(FLUSH + 7);
  finish();
  expectDropped(6);
  EXPECT_THAT(played(), ElementsAreArray(seconds(0, 12)));
  expectNextSessionWorks();
}

TEST_P(WriteErrorsTest, AFailedFlushAtACutGoesOnInTheNextSlice) {
  KTRStreamRecordParams byEvents = params();
  byEvents.recordMode = KTRStreamRecordParams::ByEvents;
  byEvents.preEventKeyFrames = 8;
  failWrites(2);
  roll(byEvents);
  film(18);  // a cut at second 15
  send(KTRMessageType::EventConfirmed);
  settle();
  EXPECT_FALSE(ended());
  finish();
  expectDropped(4);
  std::vector<int> kept = seconds(0, 12);
  kept.insert(kept.end(), {16, 17});
  EXPECT_THAT(played(), ElementsAreArray(kept));
  expectNextSessionWorks();
}

INSTANTIATE_TEST_SUITE_P(, WriteErrorsTest, testing::Values(ENOSPC, EIO, EDQUOT, EROFS));

}  // namespace
