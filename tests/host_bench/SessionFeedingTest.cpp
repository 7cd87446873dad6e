#include "host/bench/SessionFeeding.h"

#include "host/bench/FrameClock.h"
#include "tests/host_bench/BenchFixture.h"

namespace {

constexpr long NOON = 1700049600;
constexpr unsigned int NOON_STAMP = 43'200'000;

class SessionFeedingTest : public BenchFixture {
 protected:
  /** Feeds frames of one stream, the first one given, as fast as it goes. */
  static void feed(SessionFeeding& session, FrameClock& clock, std::uint64_t first,
                   std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
      clock.moveTo(static_cast<std::int64_t>(i * BenchClip::FRAME_MS));
      session.waitForRoom();
      const auto stamp = NOON_STAMP + static_cast<unsigned int>(i * BenchClip::FRAME_MS);
      ASSERT_TRUE(session.commit(place().clip().frame(first + i, stamp)));
    }
  }
};

}  // namespace

TEST_F(SessionFeedingTest, StoresWhatItIsFed) {
  KTR_DB_handle& db = place().recorder("fed");
  FrameClock clock(NOON);
  SessionFeeding session(place(), "fed", 3, NOON);
  feed(session, clock, 0, 300);
  EXPECT_EQ(300U, session.finish());
  KTDLList<KTString> sessions;
  db.getQueryResultList(sessions, "SELECT streamID FROM recordSessions");
  ASSERT_EQ(1U, sessions.count());
  EXPECT_STREQ("3", sessions.begin()->c_str());
}

TEST_F(SessionFeedingTest, StoresNothingBeforeAKeyFrame) {
  (void)place().recorder("delta");
  FrameClock clock(NOON);
  SessionFeeding session(place(), "delta", 1, NOON);
  feed(session, clock, 1, 30);
  EXPECT_EQ(6U, session.finish());
}
