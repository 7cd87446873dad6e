#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

#include "tests/host_recording/FeedFixture.h"
#include "tests/support/FaultCalls.h"

namespace {

/** Slices that cannot be opened once, beneath a feed whose session begins one with each flush. */
class SessionFeedSlicesTest : public FeedFixture, public testing::WithParamInterface<int> {
 protected:
  SessionFeedSlicesTest() {
    SessionFeed::Options small = options();
    small.params.sliceSize = 1;
    make(small);
  }

  void failOpen(const std::string& slice) { faults_.fail("open", slice, GetParam()); }
  /** A frame a second, every fourth a key frame, at the pace of a session until it has ended. */
  void record(int frames) {
    for (int i = 0; i < frames; ++i, pass(1)) {
      feed(i % 4 == 0 ? KTRFrameFormat::Key : KTRFrameFormat::Delta);
      while (endings() == 0 && (feed_->progress().queue != 0 || clock_.waiters() == 0)) {
        std::this_thread::yield();
      }
    }
  }
  [[nodiscard]] unsigned int endings() const {
    return log_.countContaining("has ended before all was stored");
  }
  void expectGoneOn() const {
    EXPECT_EQ(1U, faults_.count());
    EXPECT_EQ(1U, endings());
    EXPECT_EQ(0U, log_.countContaining("has been removed"));
  }

  FaultCalls faults_;
};

INSTANTIATE_TEST_SUITE_P(, SessionFeedSlicesTest, testing::Values(EMFILE, EROFS),
                         [](const auto& error) {
                           return error.param == EMFILE ? "EMFILE" : "EROFS";
                         });

}  // namespace

TEST_P(SessionFeedSlicesTest, TheFirstSliceMayFailToOpen) {
  failOpen("_R1_F0.dat");
  record(40);
  expectAllPlayed();
  expectGoneOn();
  EXPECT_EQ(1U, sessions());
}

TEST_P(SessionFeedSlicesTest, TheNextSliceMayFailToOpen) {
  failOpen("_R1_F1.dat");
  record(40);
  expectAllPlayed();
  expectGoneOn();
  // What the first slice holds, up to the flush at second 11, is not recorded again.
  EXPECT_THAT(rows("SELECT start_time FROM recordSessions ORDER BY id"),
              testing::ElementsAre(std::to_string(START), std::to_string(START + 12)));
}
