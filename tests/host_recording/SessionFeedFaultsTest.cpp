#include <gmock/gmock.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "runtime/KTLogger.h"
#include "tests/host_recording/FeedFixture.h"
#include "tests/support/FaultCalls.h"

namespace {

constexpr const char* SLICE = "_R1_F0.dat";

/** Slices whose flushes fail, beneath a feed that has their frames still. */
class SessionFeedFaultsTest : public FeedFixture, public testing::WithParamInterface<int> {
 protected:
  /** From one of the flushes of the first session on, all of them fail. */
  void failFlushes(unsigned int first) {
    faults_.fail("pwrite", SLICE, GetParam(), {first, FaultCalls::ALWAYS});
  }
  /** Groups of pictures at the pace of a session, which flushes every 11 seconds. */
  void record(int groups) {
    for (int i = 0; i < groups; ++i) {
      feedGroups(1);
      settle();
    }
  }
  /** Waits until the session has stored what it was fed, as long as it can. */
  void settle() {
    while (!hasFailed() && (feed_->progress().queue != 0 || clock_.waiters() == 0)) {
      std::this_thread::yield();
    }
  }
  [[nodiscard]] bool hasFailed() const { return faults_.count() != 0; }
  /** What the sessions could not write was given to another. */
  void expectGoneOn() {
    EXPECT_TRUE(hasFailed());
    EXPECT_EQ(2U, sessions());
    EXPECT_LE(1U, log_.countContaining("has ended before all was stored"));
  }

  FaultCalls faults_;
};

INSTANTIATE_TEST_SUITE_P(, SessionFeedFaultsTest, testing::Values(EIO, ENOSPC),
                         [](const auto& error) { return error.param == EIO ? "EIO" : "ENOSPC"; });

}  // namespace

TEST_P(SessionFeedFaultsTest, AFlushThatFailsCostsNothing) {
  failFlushes(2);
  record(10);
  expectAllPlayed();
  expectGoneOn();
  EXPECT_EQ(1U, log_.countContaining("writeKTRData: NULL res:-1"));
}

TEST_P(SessionFeedFaultsTest, TheFirstFlushMayFail) {
  failFlushes(1);
  record(10);
  expectAllPlayed();
  expectGoneOn();
}

TEST_P(SessionFeedFaultsTest, AFlushOfWhichAPartIsWrittenCostsNothing) {
  faults_.shorten("pwrite", SLICE, 100, {2, 1});  // in the middle of a record
  failFlushes(3);
  record(10);
  expectAllPlayed();
  expectGoneOn();
}

TEST_P(SessionFeedFaultsTest, TheFlushAtTheEndOfASessionMayFail) {
  failFlushes(1);
  feedGroups(1);
  settle();
  feed_->endSession();
  while (!hasFailed()) std::this_thread::yield();
  pass(1);
  feedGroups(1);
  expectAllPlayed();
  EXPECT_LE(2U, sessions());
}

TEST_P(SessionFeedFaultsTest, SoundGoesOnInAnotherSessionToo) {
  makeSound();
  failFlushes(2);
  for (int i = 0; i < 40; ++i) {
    feedSound();
    settle();
    pass(1);
  }
  expectAllPlayed();
  expectGoneOn();
}

TEST_P(SessionFeedFaultsTest, WhereTheSpoolFailsTooTheFramesStayInMemory) {
  makeWithSpool(1 << 30);
  faults_.fail("pwrite", ".dat", GetParam(), {1, FaultCalls::ALWAYS});
  faults_.fail("pwrite", ".spool", GetParam(), {1, FaultCalls::ALWAYS});
  record(4);
  while (log_.countContaining("has ended before all was stored") == 0) std::this_thread::yield();
  feedGroups(10);
  EXPECT_EQ(1U, log_.count(KTLogger::Warning, "stream 3: cannot write to " + spoolDirectory() +
                                                  " (" + std::strerror(GetParam()) +
                                                  "): frames wait in memory"));
  faults_.restore();
  pass(30);
  feedGroups(1);
  expectAllPlayed();
}
